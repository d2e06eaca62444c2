// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The validator-driven renderings of a value tree: JSON-like and display text.

#include <cstdio>
#include <sstream>
#include <string>

#include "corvane/config_value.h"
#include "corvane/msg_cat.h"
#include "corvane/validator.h"

namespace corvane {
namespace config {

namespace {

using validator::Base;

// The text of `simple`, replaced by its display text when `schema` is an enumeration that
// maps it.
std::string const& shownText(SimpleValue const* simple, Base const* schema) {
  if (auto enumeration = dynamic_cast<validator::Enum const*>(schema)) {
    if (std::string const* shown = enumeration->display(simple->text())) return *shown;
  }
  return simple->text();
}

void writeJSON(Value const* value, Base const* schema, std::ostream& out) {
  if (auto simple = dynamic_cast<SimpleValue const*>(value)) {
    // Quotes and backslashes in the text are not escaped: validators keep them out.
    out << '"' << shownText(simple, schema) << "\"\n";
  } else if (auto object = dynamic_cast<StructValue const*>(value)) {
    auto structure = dynamic_cast<validator::Struct const*>(schema);
    if (structure == nullptr) return;
    out << "{\n";
    // No commas between members: every simple member ends its own line; this is the format
    // the readers of this output expect.
    for (auto const& member : object->members()) {
      Base const* memberSchema = structure->member(member.first);
      if (member.second == nullptr || memberSchema == nullptr) continue;
      out << '"';
      if (member.second->mustUnderstand() || memberSchema->mustUnderstand()) out << '!';
      out << member.first << "\": ";
      writeJSON(member.second, memberSchema, out);
    }
    out << "}\n";
  } else if (auto array = dynamic_cast<ArrayValue const*>(value)) {
    auto list = dynamic_cast<validator::Array const*>(schema);
    if (list == nullptr || list->element() == nullptr) return;
    out << '[';
    bool first = true;
    for (Value const* element : array->elements()) {
      if (!first) out << ", ";
      first = false;
      writeJSON(element, list->element(), out);
    }
    out << "]\n";
  }
}

constexpr size_t kLabelSize = 256;

// The display label of member `name`: its validator's "label" expanded, else the name.
void labelOf(Base const* schema, std::string const& name, multiCat& catalog,
             char (&label)[kLabelSize]) {
  std::string const* key = schema->property("label");
  if (key == nullptr || key->empty() ||
      !catalog.expand(key->c_str(), label, kLabelSize, 0, nullptr)) {
    snprintf(label, kLabelSize, "%s", name.c_str());
  }
  label[kLabelSize - 1] = '\0';  // an expansion that fills the buffer is not terminated
}

void writeText(Value const* value, Base const* schema, std::ostream& out, multiCat& catalog,
               int indent);

void writeTextStruct(StructValue const* object, validator::Struct const* structure,
                     std::ostream& out, multiCat& catalog, int indent) {
  std::string const pad(indent > 0 ? 2 * static_cast<size_t>(indent) : 0, ' ');
  for (std::string const& name : structure->order()) {
    Base const* memberSchema = structure->member(name);
    Value const* member = object->find(name);
    if (memberSchema == nullptr || member == nullptr) continue;
    char label[kLabelSize];
    labelOf(memberSchema, name, catalog, label);
    if (auto simple = dynamic_cast<SimpleValue const*>(member)) {
      out << pad << label << " \"" << shownText(simple, memberSchema) << "\"\n";
    } else if (dynamic_cast<StructValue const*>(member) != nullptr) {
      out << pad << label << '\n';
      writeText(member, memberSchema, out, catalog, indent + 1);
      out << pad << "end " << label << '\n';
    } else if (auto array = dynamic_cast<ArrayValue const*>(member)) {
      auto const& elements = array->elements();
      if (elements.empty() || dynamic_cast<SimpleValue const*>(elements.front()) != nullptr) {
        out << pad << label;
        for (Value const* element : elements) {
          if (auto text = dynamic_cast<SimpleValue const*>(element)) {
            out << " \"" << text->text() << '"';
          }
        }
        out << '\n';
      } else {
        auto list = dynamic_cast<validator::Array const*>(memberSchema);
        if (list == nullptr || list->element() == nullptr) continue;
        for (Value const* element : elements) {
          out << pad << label << '\n';
          writeText(element, list->element(), out, catalog, indent + 1);
          out << pad << "end " << label << '\n';
        }
      }
    }
  }
}

void writeText(Value const* value, Base const* schema, std::ostream& out, multiCat& catalog,
               int indent) {
  auto object = dynamic_cast<StructValue const*>(value);
  auto structure = dynamic_cast<validator::Struct const*>(schema);
  if (object != nullptr && structure != nullptr) {
    writeTextStruct(object, structure, out, catalog, indent);
  }
}

}  // namespace

void Value::asJSON(std::ostream& out, validator::Base const* schema) const {
  writeJSON(this, schema, out);
}

std::string Value::asJSON(validator::Base const* schema) const {
  std::ostringstream out;
  writeJSON(this, schema, out);
  return out.str();
}

void Value::asText(std::ostream& out, validator::Base const* schema, multiCat& catalog,
                   int indent) const {
  writeText(this, schema, out, catalog, indent);
}

std::string Value::asText(validator::Base const* schema, multiCat& catalog) const {
  std::ostringstream out;
  writeText(this, schema, out, catalog, 0);
  return out.str();
}

}  // namespace config
}  // namespace corvane
