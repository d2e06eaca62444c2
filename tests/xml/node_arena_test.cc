// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Lifetime of parsed trees whose nodes share a per-document arena: nodes that outlive their
// parse, trees mixed with heap nodes, reuse of a `Config`.

#include "corvane/xml.h"

#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace corvane {
namespace XML {
namespace {

std::string printed(Config const& doc, Element const* e) {
  std::ostringstream out;
  doc.Print(out, e);
  return out.str();
}

bool parseText(Config& doc, std::string const& text) {
  std::istringstream in(text);
  return doc.Parse(in);
}

// Large enough to span several arena blocks.
std::string bigDocument(char mark) {
  std::string doc = "<r>";
  for (int i = 0; i < 5000; ++i) {
    doc += "<e k=\"" + std::to_string(i) + "\">" + std::string(20, mark) + "</e>";
  }
  return doc + "</r>";
}

TEST(NodeArenaTest, NodesOutliveTheirParseAndTheConfig) {
  auto doc = std::make_unique<Config>();
  std::string const first = bigDocument('a');
  ASSERT_TRUE(parseText(*doc, first));
  std::unique_ptr<Element> released(doc->releaseRoot());
  // A detached subtree of the next tree keeps its arena alive through two more parses.
  ASSERT_TRUE(parseText(*doc, "<r><keep x='1'>kept text of some length</keep><drop/></r>"));
  std::unique_ptr<Node> detached(doc->root()->mChildren.front());
  doc->root()->mChildren.erase(doc->root()->mChildren.begin());
  std::string const second = bigDocument('b');
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(parseText(*doc, second));
    EXPECT_TRUE(second == printed(*doc, doc->root())) << "round " << round;
  }
  // Heap nodes mixed into a parsed tree, and a released tree deleted on another thread
  // while the `Config` parses again.
  doc->root()->mChildren.push_back(new Node(Node::kText, 0, 0, 0, "heap text of some length"));
  doc->root()->mChildren.push_back(new Element(0, doc->id("e"), 5));
  std::unique_ptr<Element> moved(doc->releaseRoot());
  std::thread other([&] { moved.reset(); });
  ASSERT_TRUE(parseText(*doc, first));
  other.join();
  EXPECT_TRUE(first == printed(*doc, released.get()));
  EXPECT_EQ("<keep x=\"1\">kept text of some length</keep>",
            printed(*doc, static_cast<Element*>(detached.get())));
  doc.reset();
  released.reset();
  detached.reset();

  // Placement construction still compiles and works.
  alignas(Node) unsigned char buffer[sizeof(Node)];
  Node* placed = new (buffer) Node(Node::kText, 0, 0, 0, "placed");
  EXPECT_EQ("placed", placed->mValue);
  placed->~Node();
}

#if defined(__SANITIZE_ADDRESS__)
TEST(NodeArenaDeathTest, UseAfterDeleteIsReported) {
  Config doc;
  ASSERT_TRUE(parseText(doc, "<a><b>text</b></a>"));
  Node* gone = doc.root()->mChildren.front();
  doc.root()->mChildren.clear();
  delete gone;
  EXPECT_DEATH(
      {
        volatile int kind = gone->mKind;
        (void)kind;
      },
      "AddressSanitizer: use-after-poison");
}
#endif

}  // namespace
}  // namespace XML
}  // namespace corvane
