// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: value trees read from XML, all their renderings, and the property that the XML
// rendering of a structure, once it parses again, is stable: rendering what it reads back
// gives it again.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

#include "corvane/config_value.h"
#include "corvane/msg_cat.h"
#include "corvane/validator.h"
#include "corvane/xml.h"

using namespace corvane;
using config::Value;

namespace {

std::unique_ptr<Value> read(std::string const& text) {
  std::istringstream in(text);
  XML::Config doc;
  if (!doc.Parse(in)) return nullptr;
  return std::unique_ptr<Value>(Value::parseXML(doc));
}

// A schema that reaches every kind of validator the renderers look at.
struct Schema {
  config::validator::String text{"text"};
  config::validator::Array list{"list", &text};
  config::validator::Struct inner{"inner"};
  config::validator::Struct root{"root"};
  Schema() {
    inner.addMember("a", &text).addMember("I", &text);
    root.addMember("name", &text).addMember("list", &list).addMember("inner", &inner);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  static Schema schema;
  static multiCat catalog("corvane", "en_US");
  std::unique_ptr<Value> value = read(std::string(reinterpret_cast<char const*>(data), size));
  if (value == nullptr) return 0;
  std::string xml = value->asXML();
  (void)value->asJSON(&schema.root);
  (void)value->asJSON(nullptr);
  (void)value->asText(&schema.root, catalog);
  config::ValueList list;
  value->asThrift(list, "top");
  std::unique_ptr<Value> copy(value->clone());
  if (copy->asXML() != xml) std::abort();

  // Only a structure is wrapped ("<object>") at the top: an array or a text renders without a
  // document element of its own and reads back as something else, by design.
  if (dynamic_cast<config::StructValue*>(value.get()) == nullptr) return 0;
  // An entity in a text is decoded by every reading and never written back, and what it
  // decodes to may read as markup the next time: no fixed point then.
  if (xml.find('&') != std::string::npos) return 0;
  std::unique_ptr<Value> again = read(xml);
  if (again == nullptr) return 0;  // texts are written unescaped: not every rendering parses
  std::string second = again->asXML();
  std::unique_ptr<Value> third = read(second);
  if (third != nullptr && third->asXML() != second) std::abort();
  return 0;
}
