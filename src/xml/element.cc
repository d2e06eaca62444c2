// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Document tree nodes. Deep trees come from untrusted files, so teardown and copying walk
// the tree with an explicit work list instead of recursing.

#include <typeinfo>
#include <utility>

#include "corvane/xml.h"
#include "xml/node_arena.h"

namespace corvane {
namespace XML {

namespace {

// Deletes nodes one by one, but settles the references of nodes from an arena once per run
// instead of once per node: teardown of a large tree is otherwise dominated by atomics.
class Disposer {
 public:
  Disposer() = default;
  Disposer(Disposer const&) = delete;
  Disposer& operator=(Disposer const&) = delete;
  ~Disposer() { settle(); }

  // `node` is an `Element` when `element` is set, else a plain `Node`.
  void dispose(Node* node, bool element) {
    NodeArena* arena = NodeArena::of(node);
    if (arena == nullptr) {
      delete node;
      return;
    }
    if (arena != mArena) {
      settle();
      mArena = arena;
    }
    node->~Node();
    NodeArena::forget(node, element ? sizeof(Element) : sizeof(Node));
    ++mCount;
  }

 private:
  void settle() {
    if (mCount != 0) mArena->unref(mCount);
    mCount = 0;
  }

  NodeArena* mArena = nullptr;
  long mCount = 0;
};

// `node` as an element, or null. The exact type is the usual case and cheaper to test.
Element* asElement(Node* node) {
  if (node->isText()) return nullptr;
  if (typeid(*node) == typeid(Element)) return static_cast<Element*>(node);
  return dynamic_cast<Element*>(node);
}

}  // namespace

Element::~Element() {
  Disposer disposer;
  for (Node* attribute : mAttributes) {
    disposer.dispose(attribute, typeid(*attribute) != typeid(Node));
  }
  if (mChildren.empty()) return;
  // Depth-first from the last child: the work list never holds more than one path, and
  // no child list is copied or regrown while the tree comes down.
  std::vector<Element*> path{this};
  while (!path.empty()) {
    Element* top = path.back();
    if (top->mChildren.empty()) {
      path.pop_back();
      if (top != this) disposer.dispose(top, true);  // its children are gone: no descent
      continue;
    }
    Node* child = top->mChildren.back();
    top->mChildren.pop_back();
    Element* element = asElement(child);
    if (element != nullptr && !element->mChildren.empty()) {
      path.push_back(element);
    } else {
      disposer.dispose(child, element != nullptr);
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
