// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Configuration values: ownership, the flat list and XML forms both ways, and the
// validator-driven JSON and text forms, byte for byte.

#include "corvane/config_value.h"

#include <memory>
#include <sstream>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "corvane/msg_cat.h"
#include "corvane/validator.h"
#include "corvane/xml.h"

namespace corvane {
namespace config {
namespace {

using Tree = std::unique_ptr<Value>;
using namespace validator;

StructValue* object(Value* v) { return static_cast<StructValue*>(v); }

// The flat list form of `value`, empty for no value.
ValueList listOf(Value const* value, char const* name = "") {
  ValueList list;
  if (value != nullptr) value->asThrift(list, name);
  return list;
}

// A flat list spelt compactly: per entry its bracket or "=" ("?" for a type nobody knows),
// "!" for the flag, the name, and ":" with the text. Texts hold no blanks.
ValueList unspell(std::string const& spelt) {
  ValueList list;
  std::istringstream in(spelt);
  for (std::string word; in >> word;) {
    size_t from = word.size() > 1 && word[1] == '!' ? 2 : 1, colon = word.find(':', from);
    j2t::j2tValue e;
    e.mType = word[0] | (from == 2 ? 0x80 : 0);
    e.mName = word.substr(from, colon == std::string::npos ? colon : colon - from);
    e.mValue = colon == std::string::npos ? "" : word.substr(colon + 1);
    list.push_back(e);
  }
  return list;
}
Tree build(std::string const& spelt) { return Tree(Value::parseThrift(unspell(spelt))); }

// A structure holding an array holding structures, flags on every level.
constexpr char kSample[] = "{obj =!a:x {empty }empty [!list { =n:1 } {! =!m:2 } =:t ]list }obj";

TEST(ThriftFormTest, OwnershipCopiesAndTheListFormBothWays) {
  // Re-inserting a member keeps it alive (replaced members are deleted: the sanitizers check).
  Tree tree = build(kSample);
  Value* same = object(tree.get())->find("a");
  object(tree.get())->insert("a", same);
  EXPECT_EQ(same, object(tree.get())->find("a"));

  // Clones are deep; the list form writes every kind, flag and closing name.
  Tree copy(tree->clone());
  object(tree.get())->insert("a", new SimpleValue("changed"));
  ValueList list;
  copy->asThrift(list, "obj");
  SimpleValue("v").asThrift(list, nullptr);  // appends; null name is empty
  EXPECT_EQ(unspell(kSample + std::string(" =:v")), list);

  // Reading: (list, tree, index the iterator is left on or -1 for the end).
  std::tuple<char const*, char const*, int> const cases[] = {
      {kSample, "{ =!a:x {empty }empty [!list { =n:1 } {! =!m:2 } =:t ]list }", 13},
      {"", "", -1},
      {"?x:v", "", 0},
      {"=!a:1 =b:2", "=!:1", 0},
      {"[l =:1 =:2", "[ =:1 =:2 ]", -1},
      {"[l }l =:1 ]l =:z", "[ =:1 ]", 3},
      {"{ ]x ?z =a:1 }", "{ =a:1 }", 4},
      {"{! =a:1 =a:2 }", "{! =a:2 }", 3},
      {"{ [!l { =x:1", "{ [!l { =x:1 } ]l }", -1},
  };
  for (auto const& [spelt, expected, stop] : cases) {
    ValueList const entries = unspell(spelt);
    Tree whole(Value::parseThrift(entries));
    auto it = entries.begin();
    Tree part(Value::parseThrift(it, entries.end()));
    EXPECT_EQ(unspell(expected), listOf(whole.get())) << spelt;
    EXPECT_EQ(unspell(expected), listOf(part.get())) << spelt;
    EXPECT_EQ(stop, it == entries.end() ? -1 : it - entries.begin()) << spelt;
  }
}

TEST(ThriftFormTest, HostileNestingIsCutWithoutLosingPlace) {
  // Arrays in arrays, then structures in structures (members "s"), all flagged: skipping the
  // part below the cut without seeing a flagged opener would close every level above early.
  for (std::string open : {"[!s", "{!s"}) {
    std::string close = open[0] == '[' ? " ]" : " }", spelt = open;
    for (int i = 0; i < 100000; ++i) spelt += " " + open;
    for (int i = 0; i < 100000; ++i) spelt += close;
    ValueList const list = listOf(build(spelt + " =z:x" + close).get());
    ASSERT_EQ(2u * Value::kMaxDepth + 1, list.size()) << open;
    EXPECT_EQ("x", list[list.size() - 2].mValue) << open;
  }
}

TEST(XMLFormTest, WritesExactTextAndReadsKindsFromChildElements) {
  Tree root = build("{ =name:a<b&c>\"d' [list =:p =:q ]list =!flagged:1 {!inner =x:<< }inner }");
  object(root.get())->insert("skipped", nullptr);
  EXPECT_EQ(
      "<object>\n<flagged mustUnderstand='true'>1</flagged>\n"
      "<inner mustUnderstand='true'>\n<x>&lt;&lt;</x>\n</inner>\n"
      "<list>\n<I>p</I>\n<I>q</I>\n</list>\n<name>a&lt;b&c>\"d'</name>\n</object>\n",
      root->asXML());

  // The last case comes back from our own output; array elements carry no flag in this form.
  std::pair<std::string, char const*> const cases[] = {
      {"<object><a>x</a><b><I>1</I><I>2</I></b></object>", "{ =a:x [b =:1 =:2 ]b }"},
      {"<e>x&amp;y</e>", "=:x&y"},
      {"<e>a<I>1</I>b<I><k>v</k></I></e>", "[ =:1 { =k:v } ]"},
      {"<e mustUnderstand='TRUE'>v</e>", "=!:v"},
      {"<e mustUnderstand='yes'>v</e>", "=:v"},
      {"<e xmlns:p='urn:p' p:mustUnderstand='true'>v</e>", "=:v"},
      {"<e xmlns:p='urn:p'><p:I>1</p:I><p:I>2</p:I></e>", "{ =I:2 }"},
      {"<e xmlns:p='urn:p'><p:a>1</p:a><b mustUnderstand='True'><I/></b></e>",
       "{ =a:1 [!b =: ]b }"},
      {build("{ =!a:<tag>'q'\"x\" [!list { =n:1 } {! =!m:2 } =:t ]list }")->asXML(),
       "{ =!a:<tag>'q'\"x\" [!list { =n:1 } { =!m:2 } =:t ]list }"},
  };
  auto parse = [](std::string const& text) {
    XML::Config doc;
    std::istringstream in(text);
    EXPECT_TRUE(doc.Parse(in)) << text;
    return Tree(Value::parseXML(doc));
  };
  for (auto const& c : cases) EXPECT_EQ(unspell(c.second), listOf(parse(c.first).get())) << c.first;
  SimpleValue blanks("  two\n lines ");  // texts are kept as they stand
  EXPECT_EQ(listOf(&blanks), listOf(parse("<e>  two\n lines </e>").get()));
  EXPECT_EQ(nullptr, Value::parseXML(XML::Config()));
}

TEST(RenderingTest, JSONAndTextFollowTheValidator) {
  // Members declared in an order unlike name order, with labels of every kind: `enabled`
  // takes its label from the shared properties, `name` overrides it with one that expands to
  // nothing.
  Properties defaults{{"label", "@kwEnabled"}};
  Boolean enabled{"enabled", &defaults};
  Enum mode{"mode", {"slow"}};
  String name{"name", &defaults}, address{"address"};
  Struct route{"route"}, root{"root"};
  Array addresses{"addresses", &address}, routes{"routes", &route}, bare{"bare", nullptr};
  mode.insert("fast", "Fast mode");
  enabled.setMustUnderstand(true);
  name.setProperty("label", "@no_such_label_anywhere");
  mode.setProperty("label", "Speed");
  addresses.setProperty("label", "");
  route.addMember("gw", &address).addMember("dst", &address);
  root.addMember("name", &name).addMember("enabled", &enabled).addMember("mode", &mode);
  root.addMember("addresses", &addresses).addMember("routes", &routes);
  root.addMember("inner", &route).addMember("bare", &bare).addMember("none", nullptr);

  Tree tree = build(
      "{ =name:eth0 =enabled:on =!mode:fast [addresses =:10.0.0.1 =:10.0.0.2 ]addresses "
      "[routes { =dst:0.0.0.0 =gw:10.0.0.254 } ]routes {inner =gw:g }inner "
      "[bare =:b { } =:c ]bare =unknown:u =none:n }");
  Value *bareValue = object(tree.get())->find("bare"), *eth0 = object(tree.get())->find("name");
  // A member the validator cannot render leaves its key alone on the line, as designed.
  EXPECT_EQ(
      "{\n\"addresses\": [\"10.0.0.1\"\n, \"10.0.0.2\"\n]\n\"bare\": \"!enabled\": \"true\"\n"
      "\"inner\": {\n\"gw\": \"g\"\n}\n\"!mode\": \"Fast mode\"\n\"name\": \"eth0\"\n"
      "\"routes\": [{\n\"dst\": \"0.0.0.0\"\n\"gw\": \"10.0.0.254\"\n}\n]\n}\n",
      tree->asJSON(&root));
  EXPECT_EQ("", tree->asJSON(&name));
  EXPECT_EQ("", bareValue->asJSON(&name));
  EXPECT_EQ("\"eth0\"\n", eth0->asJSON(&mode));

  // One level in; a simple array shows only its simple elements.
  multiCat catalog("corvane", "en_US");
  std::ostringstream out;
  tree->asText(out, &root, catalog, 1);
  EXPECT_EQ(
      "  name \"eth0\"\n  Enabled \"true\"\n  Speed \"Fast mode\"\n"
      "  addresses \"10.0.0.1\" \"10.0.0.2\"\n"
      "  routes\n    gw \"10.0.0.254\"\n    dst \"0.0.0.0\"\n  end routes\n"
      "  inner\n    gw \"g\"\n  end inner\n  bare \"b\" \"c\"\n",
      out.str());
  EXPECT_EQ("", tree->asText(&routes, catalog));
  EXPECT_EQ("", eth0->asText(&root, catalog));

  // The label buffer holds 255 bytes and a terminator.
  std::string longName(300, 'n');
  Struct schema("s");
  schema.addMember(longName, &name);
  object(tree.get())->insert(longName, new SimpleValue("v"));
  EXPECT_EQ(std::string(255, 'n') + " \"v\"\n", tree->asText(&schema, catalog));
}

}  // namespace
}  // namespace config
}  // namespace corvane
