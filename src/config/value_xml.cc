// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Reading value trees from parsed XML documents.

#include <strings.h>

#include <memory>
#include <vector>

#include "corvane/config_value.h"
#include "corvane/xml.h"

namespace corvane {
namespace config {

namespace {

struct Names {
  int item;            // "I", 0 when the document never used it
  int mustUnderstand;  // likewise
};

Value* readXML(XML::Config const& doc, XML::Element const* element, Names const& names, int depth) {
  if (element == nullptr || depth >= Value::kMaxDepth) return nullptr;

  bool flag = false;
  for (XML::Node const* attribute : element->mAttributes) {
    if (attribute->mNamespace == 0 && attribute->mName == names.mustUnderstand &&
        names.mustUnderstand != 0) {
      flag = strcasecmp(attribute->mValue.c_str(), "true") == 0;
      break;
    }
  }

  std::vector<XML::Element const*> children;
  bool allItems = true;
  for (XML::Node const* child : element->mChildren) {
    auto childElement = dynamic_cast<XML::Element const*>(child);
    if (childElement == nullptr) continue;
    children.push_back(childElement);
    if (childElement->mNamespace != 0 || childElement->mName != names.item) allItems = false;
  }

  // An element without child elements is text, so an empty element is an empty text.
  if (children.empty()) return new SimpleValue(element->text(), flag);

  if (allItems) {
    auto array = std::make_unique<ArrayValue>(flag);
    for (XML::Element const* child : children) {
      if (Value* value = readXML(doc, child, names, depth + 1)) array->append(value);
    }
    return array.release();
  }

  auto object = std::make_unique<StructValue>(flag);
  for (XML::Element const* child : children) {
    char const* name = doc.text(child->mName);  // the namespace is ignored
    Value* value = readXML(doc, child, names, depth + 1);
    if (value != nullptr) object->insert(name == nullptr ? "" : name, value);
  }
  return object.release();
}

}  // namespace

Value* Value::parseXML(XML::Config const& doc, XML::Element const* element) {
  Names names{doc.id("I"), doc.id("mustUnderstand")};
  return readXML(doc, element, names, 0);
}

Value* Value::parseXML(XML::Config const& doc) { return parseXML(doc, doc.root()); }

}  // namespace config
}  // namespace corvane
