// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Parsing and printing of XML documents with interned names.

#include "corvane/xml.h"

#include <expat.h>

#include <memory>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace corvane {
namespace XML {
namespace {

using testing::writeFile;

std::string printed(Config const& doc, Element const* e) {
  std::ostringstream out;
  doc.Print(out, e);
  return out.str();
}

bool parseText(Config& doc, std::string const& text) {
  std::istringstream in(text);
  return doc.Parse(in);
}

// What printing hides: "(ns:name@line attributes children)" per element, "[text@line]" per
// text node, so that identifiers, lines and node boundaries show.
std::string shape(Node const* node) {
  auto element = dynamic_cast<Element const*>(node);
  if (element == nullptr) return "[" + node->mValue + "@" + std::to_string(node->mLine) + "]";
  std::string out = "(" + std::to_string(node->mNamespace) + ":" + std::to_string(node->mName) +
                    "@" + std::to_string(node->mLine);
  for (Node const* a : element->mAttributes)
    out += " " + std::to_string(a->mName) + "=" + a->mValue;
  for (Node const* c : element->mChildren) out += shape(c);
  return out + ")";
}

TEST(ConfigTest, PrintsCompactAndUnescaped) {
  std::pair<char const*, char const*> const cases[] = {
      {"<a>x\n <b/>\t<c> </c>z</a>", "<a>x\n <b></b>\t<c> </c>z</a>"},
      {"<a>1 &lt; 2 &amp;&amp; 3 &gt; 2<![CDATA[<&>]]></a>", "<a>1 < 2 && 3 > 2<&></a>"},
      // Double quotes; apostrophes for a value with a double quote; "&quot;" when it has both.
      {"<a x=\"a&lt;b&amp;c\" y='say \"hi\"' z=\"it's &quot;so&quot;\"/>",
       "<a x=\"a<b&c\" y='say \"hi\"' z=\"it's &quot;so&quot;\"></a>"},
      // Namespaced end tags carry no slash (deliberate); prefixes number the URIs as declared.
      {"<r xmlns=\"urn:a\" xmlns:q=\"urn:b\"><q:c q:at=\"1\" plain=\"2\">t</q:c><d/></r>",
       "<ns1:r xmlns:ns1=\"urn:a\" xmlns:ns2=\"urn:b\"><ns2:c ns2:at=\"1\" plain=\"2\">t"
       "<ns2:c><ns1:d><ns1:d><ns1:r>"},
      {"<r><q:c xmlns:q=\"urn:'q'\"/></r>", "<r xmlns:ns1=\"urn:'q'\"><ns1:c><ns1:c></r>"},
  };
  for (auto const& c : cases) {
    Config doc;
    ASSERT_TRUE(parseText(doc, c.first)) << c.first << ": " << doc.GetParseError();
    EXPECT_EQ(c.second, printed(doc, doc.root())) << c.first;
  }

  // A namespace never declared is numbered 0.
  Config doc;
  int ns = 0, name = 0;
  doc.ParseName("urn:x\tnode", ns, name);
  Element namespaced(ns, name, 1);
  namespaced.mChildren.push_back(new Node(Node::kText, 0, 0, 0, "<&>"));
  EXPECT_EQ("<ns0:node><&><ns0:node>", printed(doc, &namespaced));
}

TEST(ConfigTest, BuildsTheTreeWithMergedTextAndSeededNames) {
  char const* const keywords[] = {"urn:b", "list", "item", "list", nullptr};
  Config doc(keywords);
  // The entity and the run longer than one read chunk both arrive in several pieces; urn:a
  // is the first name not seeded: a repeated keyword keeps its first identifier.
  std::string const longRun(20000, 'x');
  ASSERT_TRUE(parseText(doc,
                        "<list xmlns='urn:a' xmlns:q='urn:b' xmlns:z='urn:b'>\n"
                        "<item b='2' a='1'>one&amp;two</item>" +
                            longRun + "<new/></list>"));
  Element const* root = doc.root();
  EXPECT_EQ("(4:2@1[\n@0](4:3@2 5=2 6=1[one&two@0])[" + longRun + "@0](4:7@2))", shape(root));
  EXPECT_EQ("\n" + longRun, root->text());
  EXPECT_EQ("1",
            static_cast<Element const*>(root->mChildren[1])->attribute(0, doc.id("a"))->mValue);
  // urn:b has identifier 1 but was declared second; a repeated URI keeps its number.
  EXPECT_EQ(0u, printed(doc, root).find("<ns1:list xmlns:ns2=\"urn:b\" xmlns:ns1=\"urn:a\">"));
}

TEST(ConfigTest, FailedParseLeavesNoTreeAndKeepsTheError) {
  // The first fails inside open elements: what was built is freed (the leak check watches).
  std::pair<char const*, XML_Error> const cases[] = {
      {"<a><b>t<c x='1'>u<d/>v</c><e>w</a>", XML_ERROR_TAG_MISMATCH}, {"", XML_ERROR_NO_ELEMENTS}};
  Config doc;
  for (auto const& c : cases) {
    ASSERT_TRUE(parseText(doc, "<ok/>"));
    EXPECT_FALSE(parseText(doc, c.first)) << c.first;
    EXPECT_EQ(nullptr, doc.root()) << c.first;
    EXPECT_EQ(c.second, doc.GetParseErrorCode()) << c.first;
    EXPECT_STREQ(XML_ErrorString(c.second), doc.GetParseError()) << c.first;
  }
  std::istringstream failed("<a/>");
  failed.setstate(std::ios::failbit);
  EXPECT_FALSE(doc.Parse(failed)) << "must not spin on a failed stream";
  EXPECT_EQ(nullptr, doc.root());
}

TEST(ConfigTest, ParsesFilesWithAndWithoutLineDirectives) {
  char const path[] = "/tmp/config_test.xml";
  int descriptors = testing::openDescriptorCount();
  Config plain, filtered;
  writeFile(path, "# 0 \"users.xml\"\n<a>\n# 42\n<b>#1\n</b>\n</a>\n");
  ASSERT_TRUE(filtered.Parse(path, true));
  // Lines as the parser counts them, without the directives; the last directive's number
  // minus one is kept.
  EXPECT_EQ("(0:1@1[\n@0](0:2@2[#1\n@0])[\n@0])", shape(filtered.root()));
  EXPECT_EQ(41, filtered.lineOverride());

  // An unopenable file leaves the earlier tree in both forms.
  writeFile(path, "<kept/>\n");
  ASSERT_TRUE(plain.Parse(path, false));
  EXPECT_FALSE(plain.Parse("/tmp/no-such-file.xml", false));
  EXPECT_FALSE(filtered.Parse("/tmp/no-such-file.xml", true));
  EXPECT_TRUE(plain.root() != nullptr && filtered.root() != nullptr);

  // Deliberate: a last line without a newline ends the filtered parse before a final chunk,
  // and the elements still open keep their children.
  writeFile(path, "<a x='1'>\n<b>t</b><c><d/>\n<e>u</e>");
  ASSERT_TRUE(filtered.Parse(path, true));
  EXPECT_EQ("<a x=\"1\">\n<b>t</b><c><d></d>\n<e>u</e></c></a>",
            printed(filtered, filtered.root()));
  writeFile(path, "<a>\n<b>\n");
  EXPECT_FALSE(filtered.Parse(path, true));
  writeFile(path, nullptr);
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

TEST(ConfigTest, ClonesAreDeepAndOutliveTheirDocumentWithABorrowedTable) {
  types::Stringtable table;
  std::unique_ptr<Element> copy;
  {
    Config doc(&table, true);
    ASSERT_TRUE(parseText(doc, "<a k=\"v\">t<b x='\"'>u<c/></b>w</a>"));
    copy.reset(doc.root()->clone());
  }
  Config printer(&table, true);
  EXPECT_EQ("<a k=\"v\">t<b x='\"'>u<c></c></b>w</a>", printed(printer, copy.get()));
  EXPECT_EQ("(0:1@-1 2=v[t@0](0:3@-1 4=\"[u@0](0:5@-1))[w@0])", shape(copy.get()));

  // Deep documents need no recursion to build, clone, print or throw away.
  int const depth = 200000;
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<d>";
  for (int i = 0; i < depth; ++i) text += "</d>";
  Config doc;
  ASSERT_TRUE(parseText(doc, text));
  copy.reset(doc.root()->clone());
  EXPECT_TRUE(printed(doc, copy.get()) == text);
  EXPECT_FALSE(parseText(doc, text.substr(0, text.size() - 4)));
}

TEST(StringtableTest, InternsCopiesOnceAndPrintsInIdentifierOrder) {
  char const* const keywords[] = {"cmdlist", "cli", "cmdlist", nullptr};
  types::Stringtable table(keywords);
  char text[] = "new";
  EXPECT_EQ(3, table.Add(text));
  text[0] = 'X';                       // the table keeps its own copy
  EXPECT_EQ(0, table.Find("absent"));  // and does not add what it only looks up
  std::ostringstream out;
  table.Print(out);
  EXPECT_EQ("\t1=cmdlist\n\t2=cli\n\t3=new\n", out.str());
}

}  // namespace
}  // namespace XML
}  // namespace corvane
