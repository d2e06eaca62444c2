// Parsing and printing of XML documents with interned names.

#include "corvane/xml.h"

#include <expat.h>
#include <unistd.h>

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace corvane {
namespace XML {
namespace {

using corvane::testing::openDescriptorCount;
using corvane::testing::writeFile;

std::string printed(Config const& doc, Element const* e) {
  std::ostringstream out;
  doc.Print(out, e);
  return out.str();
}

bool parseText(Config& doc, std::string const& text) {
  std::istringstream in(text);
  return doc.Parse(in);
}

Element const* childElement(Element const* parent, size_t index) {
  return dynamic_cast<Element const*>(parent->mChildren.at(index));
}

struct RoundTrip {
  char const* input;
  char const* output;
};

TEST(ConfigTest, PrintsDocumentsBackCompactAndUnescaped) {
  RoundTrip const cases[] = {
      {"<a>hello</a>", "<a>hello</a>"},
      {"<a/>", "<a></a>"},
      {"<?xml version=\"1.0\"?>\n<a>x<b>y</b>z</a>\n", "<a>x<b>y</b>z</a>"},
      {"<a>\n  <b/>\n\t<c> </c>\n</a>", "<a>\n  <b></b>\n\t<c> </c>\n</a>"},
      {"<a>1 &lt; 2 &amp;&amp; 3 &gt; 2</a>", "<a>1 < 2 && 3 > 2</a>"},
      {"<a><![CDATA[<raw & cdata>]]></a>", "<a><raw & cdata></a>"},
      {"<a x=\"1\" y='two'/>", "<a x=\"1\" y=\"two\"></a>"},
      {"<a x='say \"hi\"'/>", "<a x='say \"hi\"'></a>"},
      {"<a x=\"it's &quot;so&quot;\"/>", "<a x=\"it's &quot;so&quot;\"></a>"},
      {"<a x=\"it's\"/>", "<a x=\"it's\"></a>"},
      {"<a x=\"a&lt;b&amp;c&gt;\"/>", "<a x=\"a<b&c>\"></a>"},
      {"<r xmlns=\"urn:a\" xmlns:q=\"urn:b\"><q:c q:at=\"1\" plain=\"2\">t</q:c><d/></r>",
       "<ns1:r xmlns:ns1=\"urn:a\" xmlns:ns2=\"urn:b\"><ns2:c ns2:at=\"1\" plain=\"2\">t"
       "<ns2:c><ns1:d><ns1:d><ns1:r>"},
      {"<r><q:c xmlns:q=\"urn:'q'\"/></r>",
       "<r xmlns:ns1=\"urn:'q'\"><ns1:c><ns1:c></r>"},
  };
  for (RoundTrip const& c : cases) {
    Config doc;
    ASSERT_TRUE(parseText(doc, c.input)) << c.input << ": " << doc.GetParseError();
    EXPECT_EQ(c.output, printed(doc, doc.root())) << c.input;
  }
}

TEST(ConfigTest, MergesCharacterDataIntoOneTextNode) {
  Config doc;
  // Entity references and a run longer than one read chunk both arrive in several pieces.
  std::string longRun(20000, 'x');
  ASSERT_TRUE(parseText(doc, "<a>one&amp;two<b/>" + longRun + "</a>"));
  Element const* root = doc.root();
  ASSERT_EQ(3u, root->mChildren.size());
  EXPECT_EQ(Node::kText, root->mChildren[0]->mKind);
  EXPECT_EQ("one&two", root->mChildren[0]->mValue);
  EXPECT_NE(nullptr, childElement(root, 1));
  EXPECT_EQ(longRun, root->mChildren[2]->mValue);
  EXPECT_EQ(0, root->mChildren[2]->mName);
  EXPECT_EQ(0, root->mChildren[2]->mLine);
}

TEST(ConfigTest, RecordsNamesLinesAndAttributesInOrder) {
  Config doc;
  ASSERT_TRUE(parseText(doc, "<root>\n<item b=\"2\" a=\"1\">v</item>\n\n<item/></root>"));
  Element const* root = doc.root();
  EXPECT_EQ(1, root->mLine);
  EXPECT_STREQ("root", doc.text(root->mName));
  ASSERT_EQ(4u, root->mChildren.size());  // text, item, text, item
  EXPECT_EQ("\n\n", root->mChildren[2]->mValue);
  Element const* first = childElement(root, 1);
  Element const* second = childElement(root, 3);
  ASSERT_NE(nullptr, first);
  ASSERT_NE(nullptr, second);
  EXPECT_EQ(2, first->mLine);
  EXPECT_EQ(4, second->mLine);
  EXPECT_EQ(first->mName, second->mName);
  ASSERT_EQ(2u, first->mAttributes.size());
  EXPECT_STREQ("b", doc.text(first->mAttributes[0]->mName));
  EXPECT_EQ("2", first->mAttributes[0]->mValue);
  EXPECT_EQ(Node::kNamed, first->mAttributes[0]->mKind);
  EXPECT_EQ("1", first->attribute(0, doc.id("a"))->mValue);
  EXPECT_EQ(nullptr, first->attribute(0, doc.id("root")));
  EXPECT_EQ("v", first->text());
  EXPECT_EQ(0, doc.id("nowhere"));
}

TEST(ConfigTest, SeededIdentifiersComeFirstAndNewNamesFollow) {
  char const* const keywords[] = {"filelist", "file", "glob", "file", nullptr};
  Config doc(keywords);
  EXPECT_EQ(1, doc.id("filelist"));
  EXPECT_EQ(2, doc.id("file"));
  EXPECT_EQ(3, doc.id("glob"));
  EXPECT_EQ(3, doc.table()->Count());
  ASSERT_TRUE(parseText(doc, "<filelist><extra/><glob/><file/></filelist>"));
  EXPECT_EQ(1, doc.root()->mName);
  EXPECT_EQ(4, childElement(doc.root(), 0)->mName);
  EXPECT_EQ(3, childElement(doc.root(), 1)->mName);
  EXPECT_EQ(2, childElement(doc.root(), 2)->mName);
  EXPECT_STREQ("extra", doc.text(4));
}

TEST(ConfigTest, DeclarationsPrintInIdentifierOrderWithPrefixesInDeclarationOrder) {
  char const* const keywords[] = {"urn:b", nullptr};
  Config doc(keywords);
  ASSERT_TRUE(parseText(doc, "<r xmlns=\"urn:a\" xmlns:q=\"urn:b\" xmlns:z=\"urn:b\"/>"));
  // urn:b has identifier 1 but was declared second; a repeated URI keeps its number.
  EXPECT_EQ("<ns1:r xmlns:ns2=\"urn:b\" xmlns:ns1=\"urn:a\"><ns1:r>", printed(doc, doc.root()));
  int ns = 0;
  int name = 0;
  char const expatName[] = "urn:b\tleaf";
  doc.ParseName(expatName, ns, name);
  EXPECT_EQ(1, ns);
  EXPECT_STREQ("leaf", doc.text(name));
  EXPECT_STREQ("urn:b\tleaf", expatName);
  doc.ParseName("bare", ns, name);
  EXPECT_EQ(0, ns);
  EXPECT_STREQ("bare", doc.text(name));
}

TEST(ConfigTest, FailedParseLeavesNoTreeAndKeepsTheError) {
  Config doc;
  ASSERT_TRUE(parseText(doc, "<ok/>"));
  struct Bad {
    char const* text;
    XML_Error code;
  } const cases[] = {
      {"<a><b></a>", XML_ERROR_TAG_MISMATCH},
      {"<a>", XML_ERROR_NO_ELEMENTS},
      {"", XML_ERROR_NO_ELEMENTS},
      {"<a x=\"1\" x=\"2\"/>", XML_ERROR_DUPLICATE_ATTRIBUTE},
      {"<a>&nosuch;</a>", XML_ERROR_UNDEFINED_ENTITY},
      {"<a/><b/>", XML_ERROR_JUNK_AFTER_DOC_ELEMENT},
      {"<q:a/>", XML_ERROR_UNBOUND_PREFIX},
  };
  for (Bad const& c : cases) {
    EXPECT_FALSE(parseText(doc, c.text)) << c.text;
    EXPECT_EQ(nullptr, doc.root()) << c.text;
    EXPECT_EQ(c.code, doc.GetParseErrorCode()) << c.text;
    EXPECT_STREQ(XML_ErrorString(c.code), doc.GetParseError()) << c.text;
  }
  ASSERT_TRUE(parseText(doc, "<again/>"));
  EXPECT_EQ(0, doc.GetParseErrorCode());
}

// Hands out its text, then fails the way a disk read error does.
class FailingBuffer : public std::streambuf {
 public:
  explicit FailingBuffer(std::string text) : mText(std::move(text)) {
    setg(&mText[0], &mText[0], &mText[0] + mText.size());
  }

 protected:
  int_type underflow() override { throw std::runtime_error("read error"); }

 private:
  std::string mText;
};

TEST(ConfigTest, StreamGoingBadFailsTheParse) {
  Config doc;
  ASSERT_TRUE(parseText(doc, "<ok/>"));
  FailingBuffer buffer("<a><b>partial");
  std::istream in(&buffer);
  EXPECT_FALSE(doc.Parse(in));
  EXPECT_EQ(nullptr, doc.root());

  std::istringstream failed("<a/>");
  failed.setstate(std::ios::failbit);
  EXPECT_FALSE(doc.Parse(failed));
}

TEST(ConfigTest, ParsesFilesWithAndWithoutLineDirectives) {
  char const path[] = "/tmp/config_test.xml";
  int descriptors = openDescriptorCount();

  writeFile(path, "<a>\n<b/>\n</a>\n");
  Config plain;
  ASSERT_TRUE(plain.Parse(path, false));
  EXPECT_EQ("<a>\n<b></b>\n</a>", printed(plain, plain.root()));
  EXPECT_FALSE(plain.Parse("/tmp/no-such-file.xml", false));
  EXPECT_NE(nullptr, plain.root()) << "an unopenable file leaves the earlier tree";

  writeFile(path, "# 42 \"users.xml\"\n<a>\n# 7\n<b>#1\n</b>\n</a>\n");
  Config filtered;
  ASSERT_TRUE(filtered.Parse(path, true));
  EXPECT_EQ(6, filtered.lineOverride());
  EXPECT_EQ("<a>\n<b>#1\n</b>\n</a>", printed(filtered, filtered.root()));
  EXPECT_EQ(1, filtered.root()->mLine);
  EXPECT_EQ(2, childElement(filtered.root(), 1)->mLine);
  EXPECT_FALSE(plain.Parse(path, false)) << "directives are not XML";
  EXPECT_EQ(nullptr, plain.root());

  writeFile(path, "# 42\n<a/>\n");
  ASSERT_TRUE(filtered.Parse(path, true));
  EXPECT_EQ(41, filtered.lineOverride());
  writeFile(path, "# 0\n<a/>\n");
  ASSERT_TRUE(filtered.Parse(path, true));
  EXPECT_EQ(0, filtered.lineOverride());

  writeFile(path, "<a>\n</b>\n");
  EXPECT_FALSE(filtered.Parse(path, true));
  EXPECT_EQ(nullptr, filtered.root());
  EXPECT_EQ(XML_ERROR_TAG_MISMATCH, filtered.GetParseErrorCode());

  writeFile(path, "<kept/>\n");
  ASSERT_TRUE(filtered.Parse(path, true));
  EXPECT_FALSE(filtered.Parse("/tmp/no-such-file.xml", true));
  EXPECT_NE(nullptr, filtered.root());

  // The filtered reader stops at a last line without a newline before the final chunk.
  writeFile(path, "<a>\n<b>");
  EXPECT_TRUE(filtered.Parse(path, true));
  writeFile(path, "<a>\n<b>\n");
  EXPECT_FALSE(filtered.Parse(path, true));

  writeFile(path, nullptr);
  EXPECT_EQ(descriptors, openDescriptorCount());
}

TEST(ConfigTest, ClonesAreDeepAndOutliveTheirDocumentWithABorrowedTable) {
  types::Stringtable table;
  std::unique_ptr<Element> copy;
  std::string original;
  {
    Config doc(&table, true);
    ASSERT_TRUE(parseText(doc, "<a k=\"v\">t<b x='\"'>u<c/></b>w</a>"));
    original = printed(doc, doc.root());
    copy.reset(doc.root()->clone());
    doc.root()->mAttributes[0]->mValue = "changed";
    doc.root()->mChildren[0]->mValue = "changed";
    static_cast<Element*>(doc.root()->mChildren[1])->mChildren.push_back(
        new Node(Node::kText, 0, 0, 0, "added"));
  }
  Config printer(&table, true);
  EXPECT_EQ(original, printed(printer, copy.get()));
  EXPECT_EQ(-1, copy->mLine);
  Element const* b = childElement(copy.get(), 1);
  ASSERT_NE(nullptr, b);
  EXPECT_EQ(-1, b->mLine);
  EXPECT_EQ(-1, childElement(b, 1)->mLine);
  EXPECT_EQ(Node::kText, copy->mChildren[0]->mKind);
  EXPECT_EQ(0, copy->mChildren[0]->mLine);
  EXPECT_EQ(Node::kNamed, b->mAttributes[0]->mKind);
  EXPECT_STREQ("x", table.Text(b->mAttributes[0]->mName));
}

TEST(ConfigTest, PrintFlagsUnknownIdentifiersAndNumbersUndeclaredNamespacesZero) {
  Config doc;
  Element orphan(0, 999, 1);
  std::ostringstream out;
  doc.Print(out, &orphan);
  EXPECT_TRUE(out.fail());

  int ns = 0;
  int name = 0;
  doc.ParseName("urn:x\tnode", ns, name);
  Element namespaced(ns, name, 1);
  namespaced.mChildren.push_back(new Node(Node::kText, 0, 0, 0, "<&>"));
  EXPECT_EQ("<ns0:node><&><ns0:node>", printed(doc, &namespaced));
}

TEST(ConfigTest, DeepDocumentsParsePrintCloneAndDieWithoutRecursion) {
  int const depth = 200000;
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<d>";
  for (int i = 0; i < depth; ++i) text += "</d>";
  Config doc;
  ASSERT_TRUE(parseText(doc, text));
  std::unique_ptr<Element> copy(doc.root()->clone());
  EXPECT_TRUE(printed(doc, copy.get()) == text);
  EXPECT_TRUE(parseText(doc, text.substr(0, text.size() - 4)) == false);
}

TEST(StringtableTest, InternsOnceAndPrintsInIdentifierOrder) {
  char const* const keywords[] = {"cmdlist", "cli", "cmd", "failsafe", nullptr};
  types::Stringtable table(keywords);
  EXPECT_EQ(4, table.Count());
  EXPECT_EQ(2, table.Add("cli"));
  EXPECT_EQ(5, table.Add("new"));
  EXPECT_EQ(5, table.Find("new"));
  EXPECT_EQ(0, table.Find("absent"));
  EXPECT_EQ(0, table.Find(nullptr));
  EXPECT_EQ(5, table.Count()) << "Find must not add";
  EXPECT_EQ(nullptr, table.Text(0));
  EXPECT_EQ(nullptr, table.Text(6));
  std::ostringstream out;
  table.Print(out);
  EXPECT_EQ("\t1=cmdlist\n\t2=cli\n\t3=cmd\n\t4=failsafe\n\t5=new\n", out.str());

  char text[] = "mutable";
  int id = table.Add(text);
  text[0] = 'X';
  EXPECT_STREQ("mutable", table.Text(id)) << "the table keeps its own copy";
}

}  // namespace
}  // namespace XML
}  // namespace corvane
