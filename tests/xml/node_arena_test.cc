// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Parsed trees share a per-document arena: their nodes outlive the parse and the `Config`, mix
// with heap nodes, and once deleted stay visible to AddressSanitizer.

#include "corvane/xml.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace corvane {
namespace XML {
namespace {

bool parseText(Config& doc, std::string const& text) {
  std::istringstream in(text);
  return doc.Parse(in);
}

TEST(NodeArenaTest, NodesOutliveTheirParseAndTheConfig) {
  // Large enough to span several arena blocks; the second differs in every text.
  std::string first = "<r>";
  for (int i = 0; i < 5000; ++i) first += "<e k=\"" + std::to_string(i) + "\">aaaaaaaaaaaa</e>";
  first += "</r>";
  std::string second = first;
  std::replace(second.begin(), second.end(), 'a', 'b');
  auto doc = std::make_unique<Config>();
  auto printed = [&](Node const* e) {
    std::ostringstream out;
    doc->Print(out, static_cast<Element const*>(e));
    return out.str();
  };
  ASSERT_TRUE(parseText(*doc, first));
  std::unique_ptr<Element> released(doc->releaseRoot());
  // A detached subtree of the next tree keeps its arena alive through two more parses.
  ASSERT_TRUE(parseText(*doc, "<r><keep x='1'>kept text of some length</keep><drop/></r>"));
  std::unique_ptr<Node> detached(doc->root()->mChildren.front());
  doc->root()->mChildren.erase(doc->root()->mChildren.begin());
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(parseText(*doc, second));
    EXPECT_TRUE(second == printed(doc->root())) << "round " << round;
  }
  // Heap nodes mixed into a parsed tree, and a released tree deleted on another thread
  // while the `Config` parses again.
  doc->root()->mChildren.push_back(new Node(Node::kText, 0, 0, 0, "heap text of some length"));
  doc->root()->mChildren.push_back(new Element(0, doc->id("e"), 5));
  std::unique_ptr<Element> moved(doc->releaseRoot());
  std::thread other([&] { moved.reset(); });
  ASSERT_TRUE(parseText(*doc, first));
  other.join();
  EXPECT_TRUE(first == printed(released.get()));
  EXPECT_EQ("<keep x=\"1\">kept text of some length</keep>", printed(detached.get()));
  doc.reset();
}

#if defined(__SANITIZE_ADDRESS__)
TEST(NodeArenaDeathTest, UseAfterDeleteIsReported) {
  Config doc;
  ASSERT_TRUE(parseText(doc, "<a><b>text</b></a>"));
  Node* gone = doc.root()->mChildren.front();
  doc.root()->mChildren.clear();
  delete gone;
  EXPECT_DEATH((void)*static_cast<int volatile*>(&gone->mKind),
               "AddressSanitizer: use-after-poison");
}
#endif

}  // namespace
}  // namespace XML
}  // namespace corvane
