// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Value tree ownership, copying, and the XML writer and flat value-list form.

#include "corvane/config_value.h"

#include <cstdint>
#include <memory>
#include <sstream>
#include <utility>

namespace corvane {
namespace config {

namespace {

// Entry types of the flat list: the bracket or equals sign, plus 128 for must-understand.
constexpr int32_t kSimple = '=';
constexpr int32_t kArrayBegin = '[';
constexpr int32_t kArrayEnd = ']';
constexpr int32_t kStructBegin = '{';
constexpr int32_t kStructEnd = '}';
constexpr int32_t kFlag = 128;

int32_t typeOf(int32_t base, bool mustUnderstand) { return mustUnderstand ? base + kFlag : base; }

void appendEntry(ValueList& list, int32_t type, std::string const& name, std::string const& value) {
  list.emplace_back();
  j2t::j2tValue& entry = list.back();
  entry.mType = type;
  entry.mName = name;
  entry.mValue = value;
}

void writeThrift(Value const* value, ValueList& list, std::string const& name) {
  static std::string const kEmpty;
  if (auto simple = dynamic_cast<SimpleValue const*>(value)) {
    appendEntry(list, typeOf(kSimple, simple->mustUnderstand()), name, simple->text());
  } else if (auto array = dynamic_cast<ArrayValue const*>(value)) {
    appendEntry(list, typeOf(kArrayBegin, array->mustUnderstand()), name, kEmpty);
    for (Value const* element : array->elements()) writeThrift(element, list, kEmpty);
    appendEntry(list, kArrayEnd, name, kEmpty);
  } else if (auto object = dynamic_cast<StructValue const*>(value)) {
    appendEntry(list, typeOf(kStructBegin, object->mustUnderstand()), name, kEmpty);
    for (auto const& member : object->members()) writeThrift(member.second, list, member.first);
    appendEntry(list, kStructEnd, name, kEmpty);
  }
}

// Entries `writeThrift` will append for `value`.
size_t countEntries(Value const* value) {
  if (auto array = dynamic_cast<ArrayValue const*>(value)) {
    size_t count = 2;
    for (Value const* element : array->elements()) count += countEntries(element);
    return count;
  }
  if (auto object = dynamic_cast<StructValue const*>(value)) {
    size_t count = 2;
    for (auto const& member : object->members()) count += countEntries(member.second);
    return count;
  }
  return dynamic_cast<SimpleValue const*>(value) != nullptr ? 1 : 0;
}

bool isBegin(int32_t type) {
  return type == kArrayBegin || type == kArrayBegin + kFlag || type == kStructBegin ||
         type == kStructBegin + kFlag;
}

// Consumes the container opened at `it` without building it, tracking which kind each open
// level is so that a stray closing entry of the other kind is skipped as the reader would.
void skipContainer(ValueList::const_iterator& it, ValueList::const_iterator end) {
  std::vector<bool> arrays;  // open levels, true for an array
  arrays.push_back((it->mType & ~kFlag) == kArrayBegin);
  while (it != end) {
    ++it;
    if (it == end) return;
    int32_t type = it->mType;
    if (isBegin(type)) {
      arrays.push_back((type & ~kFlag) == kArrayBegin);
    } else if ((type == kArrayEnd && arrays.back()) || (type == kStructEnd && !arrays.back())) {
      arrays.pop_back();
      if (arrays.empty()) return;
    }
  }
}

Value* readThrift(ValueList::const_iterator& it, ValueList::const_iterator end, int depth) {
  int32_t type = it->mType;
  switch (type) {
    case kSimple:
    case kSimple + kFlag:
      return new SimpleValue(it->mValue, type == kSimple + kFlag);
    case kArrayBegin:
    case kArrayBegin + kFlag:
    case kStructBegin:
    case kStructBegin + kFlag:
      break;
    default:
      return nullptr;
  }
  if (depth >= Value::kMaxDepth) {
    skipContainer(it, end);
    return nullptr;
  }
  bool flag = type >= kFlag;
  if (type == kArrayBegin || type == kArrayBegin + kFlag) {
    auto array = std::make_unique<ArrayValue>(flag);
    while (it != end) {
      ++it;
      if (it == end || it->mType == kArrayEnd) break;
      if (Value* element = readThrift(it, end, depth + 1)) array->append(element);
    }
    return array.release();
  }
  auto object = std::make_unique<StructValue>(flag);
  while (it != end) {
    ++it;
    if (it == end || it->mType == kStructEnd) break;
    std::string const& name = it->mName;
    if (Value* member = readThrift(it, end, depth + 1)) object->insert(name, member);
  }
  return object.release();
}

void writeXML(Value const* value, std::ostream& out, bool top) {
  if (auto simple = dynamic_cast<SimpleValue const*>(value)) {
    // Only "<" is escaped; "&", ">" and quotes go out as they are, deliberately.
    std::string const& text = simple->text();
    size_t start = 0;
    for (size_t lt = text.find('<'); lt != std::string::npos; lt = text.find('<', start)) {
      out.write(text.data() + start, static_cast<std::streamsize>(lt - start));
      out << "&lt;";
      start = lt + 1;
    }
    out.write(text.data() + start, static_cast<std::streamsize>(text.size() - start));
  } else if (auto array = dynamic_cast<ArrayValue const*>(value)) {
    for (Value const* element : array->elements()) {
      out << "<I>";
      writeXML(element, out, false);
      out << "</I>" << std::endl;
    }
  } else if (auto object = dynamic_cast<StructValue const*>(value)) {
    if (top) out << "<object>\n";
    for (auto const& member : object->members()) {
      Value const* child = member.second;
      if (child == nullptr) continue;
      out << '<' << member.first;
      if (child->mustUnderstand()) out << " mustUnderstand='true'";
      out << '>';
      if (dynamic_cast<SimpleValue const*>(child) == nullptr) out << '\n';
      writeXML(child, out, false);
      out << "</" << member.first << ">\n";
    }
    if (top) out << "</object>\n";
  }
}

}  // namespace

Value::~Value() = default;

void Value::asXML(std::ostream& out, bool top) const { writeXML(this, out, top); }

std::string Value::asXML() const {
  std::ostringstream out;
  writeXML(this, out, true);
  return out.str();
}

void Value::asThrift(ValueList& list, char const* name) const {
  // Entries have no move constructor; growing the list step by step would copy them all.
  list.reserve(list.size() + countEntries(this));
  writeThrift(this, list, name == nullptr ? std::string() : std::string(name));
}

Value* Value::parseThrift(ValueList const& list) {
  if (list.empty()) return nullptr;
  ValueList::const_iterator it = list.begin();
  return parseThrift(it, list.end());
}

Value* Value::parseThrift(ValueList::const_iterator& it, ValueList::const_iterator end) {
  if (it == end) return nullptr;
  return readThrift(it, end, 0);
}

SimpleValue::SimpleValue(std::string text, bool mustUnderstand)
    : Value(mustUnderstand), mText(std::move(text)) {}

SimpleValue::~SimpleValue() = default;

SimpleValue* SimpleValue::clone() const { return new SimpleValue(mText, mMustUnderstand); }

StructValue::StructValue(bool mustUnderstand) : Value(mustUnderstand) {}

StructValue::~StructValue() {
  for (auto& member : mMembers) delete member.second;
}

StructValue* StructValue::clone() const {
  auto copy = std::make_unique<StructValue>(mMustUnderstand);
  for (auto const& member : mMembers) {
    copy->insert(member.first, member.second == nullptr ? nullptr : member.second->clone());
  }
  return copy.release();
}

void StructValue::insert(std::string const& name, Value* value) {
  std::unique_ptr<Value> owned(value);
  // Names mostly arrive in order (parsed lists and documents), so try the end first.
  Members::iterator hint = mMembers.end();
  if (!mMembers.empty() && !(mMembers.rbegin()->first < name)) {
    hint = mMembers.lower_bound(name);
    if (hint != mMembers.end() && hint->first == name) {
      if (hint->second == value) {  // re-inserting the member itself changes nothing
        owned.release();
        return;
      }
      delete hint->second;
      hint = mMembers.erase(hint);
    }
  }
  mMembers.emplace_hint(hint, name, owned.get());
  owned.release();
}

Value* StructValue::find(std::string const& name) const {
  auto it = mMembers.find(name);
  return it == mMembers.end() ? nullptr : it->second;
}

ArrayValue::ArrayValue(bool mustUnderstand) : Value(mustUnderstand) {}

ArrayValue::~ArrayValue() {
  for (Value* element : mElements) delete element;
}

ArrayValue* ArrayValue::clone() const {
  auto copy = std::make_unique<ArrayValue>(mMustUnderstand);
  copy->mElements.reserve(mElements.size());
  for (Value const* element : mElements) {
    copy->append(element == nullptr ? nullptr : element->clone());
  }
  return copy.release();
}

void ArrayValue::append(Value* value) {
  std::unique_ptr<Value> owned(value);
  mElements.push_back(owned.get());
  owned.release();
}

}  // namespace config
}  // namespace corvane
