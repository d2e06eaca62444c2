// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The validator kinds: enumerations, booleans, bit masks, strings, arrays and structures.

#include "corvane/validator.h"

#include <pcre.h>
#include <pcrecpp.h>

#include <memory>

#include "corvane/config_value.h"
#include "corvane/log.h"

namespace corvane {
namespace config {
namespace validator {

namespace {

bool isSeparator(char c) { return c == '\t' || c == ' ' || c == '+' || c == ','; }

// PCRE's matcher recurses once per repetition of a group, on the caller's stack, so a long
// value matching `(ab)*` can exhaust any stack; catastrophic backtracking can run for minutes.
// Every pattern is therefore matched with a recursion depth that fits a fixed stack budget
// and a cap on the matcher's total steps. A value that reaches either bound is refused.
constexpr long kMatchStackBudget = 512 * 1024;
constexpr int kMatchLimit = 1000000;

int matchRecursionLimit() {
  // pcre_exec reports the size of one recursion frame of this build for this magic call.
  static int const limit = [] {
    int frame = -pcre_exec(nullptr, nullptr, nullptr, -999, -999, 0, nullptr, 0);
    if (frame < 64) frame = 1024;  // an older PCRE without the query: assume a large frame
    return static_cast<int>(kMatchStackBudget / frame);
  }();
  return limit;
}

pcrecpp::RE_Options boundedOptions() {
  pcrecpp::RE_Options options;
  options.set_match_limit(kMatchLimit);
  options.set_match_limit_recursion(matchRecursionLimit());
  return options;
}

// pcrecpp folds "limit reached" into "no match"; this repeats the full match with the raw
// matcher and the same bounds to tell them apart. Only called after a refusal.
bool hitsMatchBound(std::string const& pattern, std::string const& text) {
  char const* error = nullptr;
  int offset = 0;
  // The same anchoring FullMatch uses.
  std::unique_ptr<pcre, void (*)(void*)> re(
      pcre_compile(("(?:" + pattern + ")\\z").c_str(), 0, &error, &offset, nullptr), pcre_free);
  if (!re) return false;
  pcre_extra extra = {};
  extra.flags = PCRE_EXTRA_MATCH_LIMIT | PCRE_EXTRA_MATCH_LIMIT_RECURSION;
  extra.match_limit = kMatchLimit;
  extra.match_limit_recursion = static_cast<unsigned long>(matchRecursionLimit());
  int rc = pcre_exec(re.get(), &extra, text.data(), static_cast<int>(text.size()), 0,
                     PCRE_ANCHORED, nullptr, 0);
  return rc == PCRE_ERROR_MATCHLIMIT || rc == PCRE_ERROR_RECURSIONLIMIT;
}

}  // namespace

Base::Base(char const* name, Properties const* defaultProperties)
    : mMustUnderstand(false), mCustomValidator(nullptr), mDefaultProperties(defaultProperties) {
  mProperties["name"] = name == nullptr ? "" : name;
}

Base::~Base() = default;

Value* Base::createDefaultValue() const {
  auto it = mProperties.find("default");
  if (it == mProperties.end()) return nullptr;
  return new SimpleValue(it->second, mMustUnderstand);
}

bool Base::CheckCustom(Value const* value) const {
  if (mCustomValidator == nullptr) return true;
  log::trace(7, "calling custom validator (%p)", static_cast<void const*>(mCustomValidator));
  if (mCustomValidator->Valid(value)) return true;
  // An empty message leaves ours as it was.
  if (!mCustomValidator->message().empty()) mMessage = mCustomValidator->message();
  return false;
}

std::string const* Base::property(std::string const& key) const {
  auto own = mProperties.find(key);
  if (own != mProperties.end()) return &own->second;
  if (mDefaultProperties != nullptr) {
    auto shared = mDefaultProperties->find(key);
    if (shared != mDefaultProperties->end()) return &shared->second;
  }
  return nullptr;
}

Enum::Enum(char const* name, std::vector<std::string> const& accepted,
           Properties const* defaultProperties)
    : Base(name, defaultProperties), mAccepted(accepted.begin(), accepted.end()) {}

Enum::~Enum() = default;

bool Enum::Valid(Value const* value) const {
  auto simple = dynamic_cast<SimpleValue const*>(value);
  if (simple == nullptr) {
    mMessage = "@prop_enum_expected";
    return false;
  }
  if (!accepts(simple->text())) {
    mMessage = "@prop_enum_unknown";
    return false;
  }
  return CheckCustom(value);
}

Enum& Enum::insert(char const* text, char const* standsFor) {
  std::string key = text == nullptr ? "" : text;
  mAccepted.insert(key);
  mDisplay[key] = standsFor == nullptr ? "" : standsFor;
  return *this;
}

std::string const* Enum::display(std::string const& text) const {
  auto it = mDisplay.find(text);
  return it == mDisplay.end() ? nullptr : &it->second;
}

Boolean::Boolean(char const* name, Properties const* defaultProperties)
    : Enum(name, {"true", "false"}, defaultProperties) {
  insert("t", "true");
  insert("f", "false");
  insert("yes", "true");
  insert("no", "false");
  insert("on", "true");
  insert("off", "false");
}

Boolean::~Boolean() = default;

bool Boolean::Valid(Value const* value) const {
  if (Enum::Valid(value)) return true;
  // Deliberate: a boolean only ever reports this one message, even over a custom one.
  mMessage = "@prop_bool_bad";
  return false;
}

Bitmask::Bitmask(char const* name, std::vector<std::string> const& flags,
                 Properties const* defaultProperties)
    : Enum(name, flags, defaultProperties) {}

Bitmask::~Bitmask() = default;

bool Bitmask::Valid(Value const* value) const {
  auto simple = dynamic_cast<SimpleValue const*>(value);
  if (simple == nullptr) {
    mMessage = "@prop_bitmask_expected";
    return false;
  }
  std::string const& text = simple->text();
  size_t pos = 0;
  while (pos < text.size() && isSeparator(text[pos])) ++pos;
  // The empty mask is accepted without consulting the custom validator.
  if (pos == text.size()) return true;
  while (pos < text.size()) {
    size_t start = pos;
    while (pos < text.size() && !isSeparator(text[pos])) ++pos;
    if (!accepts(text.substr(start, pos - start))) {
      mMessage = "@prop_bitmask_unknown";
      return false;
    }
    while (pos < text.size() && isSeparator(text[pos])) ++pos;
  }
  return CheckCustom(value);
}

std::vector<std::string>* Bitmask::Split(std::string const& text) {
  auto tokens = std::make_unique<std::vector<std::string>>();
  size_t pos = 0;
  while (pos < text.size()) {
    while (pos < text.size() && isSeparator(text[pos])) ++pos;
    size_t start = pos;
    while (pos < text.size() && !isSeparator(text[pos])) ++pos;
    if (pos > start) tokens->push_back(text.substr(start, pos - start));
  }
  return tokens.release();
}

String::String(char const* name, Properties const* defaultProperties)
    : Base(name, defaultProperties),
      mHasMinLength(false),
      mMinLength(0),
      mHasMaxLength(false),
      mMaxLength(0) {}

String::~String() {
  for (pcrecpp::RE* pattern : mPatterns) delete pattern;
}

bool String::Valid(Value const* value) const {
  auto simple = dynamic_cast<SimpleValue const*>(value);
  if (simple == nullptr) {
    mMessage = "@prop_string_expected";
    return false;
  }
  size_t length = simple->text().size();
  if (mHasMinLength && length < mMinLength) {
    mMessage = "@prop_string_too_short";
    return false;
  }
  // The maximum is exclusive on purpose: a text exactly that long is refused.
  if (mHasMaxLength && length >= mMaxLength) {
    mMessage = "@prop_string_too_long";
    return false;
  }
  if (!mPatterns.empty() && !Matches(simple->text())) {
    for (pcrecpp::RE const* pattern : mPatterns) {
      if (pattern->error().empty() && hitsMatchBound(pattern->pattern(), simple->text())) {
        log::trace(4, "string validator %s: value of %zu bytes exceeds the matcher's bounds "
                   "for pattern %s; refused", property("name") ? property("name")->c_str() : "",
                   length, pattern->pattern().c_str());
        break;
      }
    }
    mMessage = "@prop_string_no_match";
    return false;
  }
  return CheckCustom(value);
}

String& String::addPattern(char const* pattern) {
  auto compiled =
      std::make_unique<pcrecpp::RE>(pattern == nullptr ? "" : pattern, boundedOptions());
  mPatterns.push_back(compiled.get());
  compiled.release();
  return *this;
}

bool String::Matches(std::string const& text) const {
  for (pcrecpp::RE const* pattern : mPatterns) {
    // A pattern that failed to compile has an error text and must not match anything.
    if (pattern->error().empty() && pattern->FullMatch(text)) return true;
  }
  return false;
}

String& String::setMinLength(unsigned bytes) {
  mHasMinLength = true;
  mMinLength = bytes;
  return *this;
}

String& String::setMaxLength(unsigned bytes) {
  mHasMaxLength = true;
  mMaxLength = bytes;
  return *this;
}

Array::Array(char const* name, Base const* element, Properties const* defaultProperties)
    : Base(name, defaultProperties), mElement(element) {}

Array::~Array() = default;

bool Array::Valid(Value const* value) const {
  auto array = dynamic_cast<ArrayValue const*>(value);
  if (array == nullptr) {
    mMessage = "@prop_array_expected";
    return false;
  }
  if (mElement != nullptr) {
    for (Value const* element : array->elements()) {
      if (mElement->Valid(element)) continue;
      if (!mElement->message().empty()) mMessage = mElement->message();
      return false;
    }
  }
  return CheckCustom(value);
}

Struct::Struct(char const* name, Properties const* defaultProperties)
    : Base(name, defaultProperties) {}

Struct::~Struct() = default;

bool Struct::Valid(Value const* value) const {
  auto object = dynamic_cast<StructValue const*>(value);
  if (object == nullptr) {
    mMessage = "@prop_struct_expected";
    return false;
  }
  for (std::string const& name : mOrder) {
    Base const* memberSchema = mMembers.find(name)->second;
    Value const* member = object->find(name);
    if (memberSchema == nullptr || member == nullptr) continue;
    if (memberSchema->Valid(member)) continue;
    if (!memberSchema->message().empty()) mMessage = memberSchema->message();
    return false;
  }
  return CheckCustom(value);
}

Struct& Struct::addMember(std::string const& name, Base const* member) {
  auto inserted = mMembers.emplace(name, member);
  if (inserted.second) {
    mOrder.push_back(name);
  } else {
    inserted.first->second = member;
  }
  return *this;
}

Base const* Struct::member(std::string const& name) const {
  auto it = mMembers.find(name);
  return it == mMembers.end() ? nullptr : it->second;
}

}  // namespace validator
}  // namespace config
}  // namespace corvane
