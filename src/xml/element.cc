// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Document tree nodes. Deep trees come from untrusted files, so teardown and copying walk
// the tree with an explicit work list instead of recursing.

#include <utility>

#include "corvane/xml.h"

namespace corvane {
namespace XML {

Element::~Element() {
  for (Node* attribute : mAttributes) delete attribute;
  if (mChildren.empty()) return;
  // Depth-first from the last child: the work list never holds more than one path, and
  // no child list is copied or regrown while the tree comes down.
  std::vector<Element*> path{this};
  while (!path.empty()) {
    Element* top = path.back();
    if (top->mChildren.empty()) {
      path.pop_back();
      if (top != this) delete top;  // its own children are gone: no further descent
      continue;
    }
    Node* child = top->mChildren.back();
    top->mChildren.pop_back();
    // Text nodes, about half of a document, need no type check.
    Element* element = child->isText() ? nullptr : dynamic_cast<Element*>(child);
    if (element != nullptr && !element->mChildren.empty()) {
      path.push_back(element);
    } else {
      delete child;
    }
  }
}

namespace {

Element* shallowCopy(Element const& source) {
  Element* copy = new Element(source.mNamespace, source.mName, -1);
  copy->mKind = source.mKind;
  for (Node const* attribute : source.mAttributes) {
    copy->mAttributes.push_back(
        new Node(Node::kNamed, attribute->mNamespace, attribute->mName, 0, attribute->mValue));
  }
  return copy;
}

}  // namespace

Element* Element::clone() const {
  Element* top = shallowCopy(*this);
  std::vector<std::pair<Element const*, Element*>> work{{this, top}};
  while (!work.empty()) {
    auto [source, copy] = work.back();
    work.pop_back();
    for (Node const* child : source->mChildren) {
      if (Element const* element = dynamic_cast<Element const*>(child)) {
        Element* childCopy = shallowCopy(*element);
        copy->mChildren.push_back(childCopy);
        work.emplace_back(element, childCopy);
      } else {
        copy->mChildren.push_back(new Node(kText, 0, 0, 0, child->mValue));
      }
    }
  }
  return top;
}

Node const* Element::attribute(int ns, int name) const {
  for (Node const* a : mAttributes) {
    if (a->mNamespace == ns && a->mName == name) return a;
  }
  return nullptr;
}

std::string Element::text() const {
  std::string joined;
  for (Node const* child : mChildren) {
    if (child->isText()) joined += child->mValue;
  }
  return joined;
}

}  // namespace XML
}  // namespace corvane
