// Configuration values: ownership, the flat list and XML forms both ways, and the
// validator-driven JSON and text forms, byte for byte.

#include "corvane/config_value.h"

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "corvane/msg_cat.h"
#include "corvane/validator.h"
#include "corvane/xml.h"

namespace corvane {
namespace config {
namespace {

using Tree = std::unique_ptr<Value>;
using namespace validator;

SimpleValue* text(char const* t, bool flag = false) { return new SimpleValue(t, flag); }
Value* find(Value* v, char const* name) { return static_cast<StructValue*>(v)->find(name); }

// A flat list spelt compactly: per entry its bracket or "=", "!" for the flag, the name, and
// ":" with the text for simple values.
std::string spell(ValueList const& list) {
  std::string out;
  for (auto const& e : list) {
    out += (out.empty() ? "" : " ") + std::string(1, static_cast<char>(e.mType & 0x7F));
    out += (e.mType & 0x80 ? "!" : "") + e.mName;
    if ((e.mType & 0x7F) == '=') out += ":" + e.mValue;
  }
  return out;
}
std::string spell(Value const* value, char const* name = "") {
  if (value == nullptr) return "null";
  ValueList list;
  value->asThrift(list, name);
  return spell(list);
}

j2t::j2tValue entry(int type, char const* name, char const* value = "") {
  j2t::j2tValue e;
  e.mType = type;
  e.mName = name;
  e.mValue = value;
  return e;
}

// A structure holding an array holding structures, flags on every level.
Tree sampleTree() {
  auto first = new StructValue();
  first->insert("n", text("1"));
  auto second = new StructValue(true);
  second->insert("m", text("2", true));
  auto list = new ArrayValue(true);
  list->append(first);
  list->append(second);
  list->append(text("t"));
  auto root = std::make_unique<StructValue>();
  root->insert("list", list);
  root->insert("a", text("x", true));
  root->insert("empty", new StructValue());
  return root;
}

constexpr char kSample[] = "{obj =!a:x {empty }empty [!list { =n:1 } {! =!m:2 } =:t ]list }obj";

TEST(ValueTest, OwnershipAndCopies) {
  StructValue object;
  object.insert("b", text("old"));
  object.insert("a", text("1"));
  object.insert("b", text("new"));  // the old member is deleted (the sanitizers check)
  EXPECT_EQ("{ =a:1 =b:new }", spell(&object));
  EXPECT_EQ(nullptr, object.find("c"));
  Value* same = object.find("a");
  object.insert("a", same);  // re-inserting a member keeps it alive
  EXPECT_EQ(same, object.find("a"));

  ArrayValue array;
  array.append(text("0"));
  try {
    array.at(1);
    FAIL() << "at(1) of a one-element array must throw";
  } catch (std::out_of_range const& e) {
    EXPECT_EQ(0u, std::string(e.what()).find("vector::_M_range_check")) << e.what();
  }

  Tree tree = sampleTree();
  Tree copy(tree->clone());
  static_cast<StructValue*>(tree.get())->insert("a", text("changed"));
  EXPECT_EQ(kSample, spell(copy.get(), "obj"));
}

TEST(ThriftFormTest, WritesAndReadsBackWithFlags) {
  Tree tree = sampleTree();
  ValueList list;
  tree->asThrift(list, "obj");
  EXPECT_EQ(kSample, spell(list));
  for (auto const& e : list) EXPECT_TRUE(e.mType == 189 || e.mType == 61 || e.mValue.empty());
  EXPECT_EQ(219, list[4].mType);             // the flag is the high bit of the type
  SimpleValue("v").asThrift(list, nullptr);  // appends; null name is empty
  EXPECT_EQ(kSample + std::string(" =:v"), spell(list));
  list.pop_back();
  Tree back(Value::parseThrift(list));
  EXPECT_EQ(kSample, spell(back.get(), "obj"));
}

TEST(ThriftFormTest, ReadsOddListsAsDocumented) {
  struct Case {
    ValueList list;
    char const* expected;
    int stop;  // index the iterator is left on; -1 for the end
  } const cases[] = {
      {{}, "null", -1},
      {{entry(93, "x")}, "null", 0},
      {{entry(7, "x", "v")}, "null", 0},
      {{entry(189, "a", "1"), entry(61, "b", "2")}, "=!:1", 0},
      {{entry(91, "l"), entry(61, "", "1"), entry(61, "", "2")}, "[ =:1 =:2 ]", -1},
      {{entry(91, "l"), entry(125, "l"), entry(61, "", "1"), entry(93, "l"), entry(61, "", "z")},
       "[ =:1 ]",
       3},
      {{entry(123, ""), entry(93, "x"), entry(0, "z"), entry(61, "a", "1"), entry(125, "")},
       "{ =a:1 }",
       4},
      {{entry(251, ""), entry(61, "a", "1"), entry(61, "a", "2"), entry(125, "")}, "{! =a:2 }", 3},
      {{entry(123, ""), entry(219, "l"), entry(123, ""), entry(61, "x", "1")},
       "{ [!l { =x:1 } ]l }",
       -1},
  };
  for (auto const& c : cases) {
    Tree whole(Value::parseThrift(c.list));
    auto it = c.list.begin();
    Tree part(Value::parseThrift(it, c.list.end()));
    EXPECT_EQ(c.expected, spell(whole.get())) << c.expected;
    EXPECT_EQ(c.expected, spell(part.get())) << c.expected;
    EXPECT_EQ(c.stop, it == c.list.end() ? -1 : it - c.list.begin()) << c.expected;
  }
}

TEST(ThriftFormTest, HostileNestingIsCutWithoutLosingPlace) {
  // Odd levels are structures inside arrays; even levels are arrays held as member "s".
  int const depth = 100000;
  ValueList list{entry(91, "top")};
  for (int i = 0; i < depth; ++i) list.push_back(entry(i % 2 ? 123 : 91, i % 2 ? "" : "s"));
  for (int i = depth - 1; i >= 0; --i) list.push_back(entry(i % 2 ? 125 : 93, ""));
  list.push_back(entry(61, "", "after"));
  list.push_back(entry(93, "top"));
  Tree tree(Value::parseThrift(list));
  auto top = dynamic_cast<ArrayValue*>(tree.get());
  ASSERT_TRUE(top != nullptr && top->size() == 2);
  EXPECT_EQ("=:after", spell(top->at(1)));
  int levels = 0;
  for (Value* v = top; v != nullptr; ++levels) {
    auto a = dynamic_cast<ArrayValue*>(v);
    v = a ? (a->size() ? a->at(0) : nullptr) : static_cast<StructValue*>(v)->find("s");
  }
  EXPECT_EQ(Value::kMaxDepth, levels);
}

TEST(XMLFormTest, WritesExactText) {
  auto root = std::make_unique<StructValue>();
  auto list = new ArrayValue();
  list->append(text("p"));
  list->append(text("q"));
  root->insert("name", text("a<b&c>\"d'"));
  root->insert("list", list);
  root->insert("flagged", text("1", true));
  root->insert("skipped", nullptr);
  auto inner = new StructValue(true);
  inner->insert("x", text("<<"));
  root->insert("inner", inner);
  EXPECT_EQ(
      "<object>\n<flagged mustUnderstand='true'>1</flagged>\n"
      "<inner mustUnderstand='true'>\n<x>&lt;&lt;</x>\n</inner>\n"
      "<list>\n<I>p</I>\n<I>q</I>\n</list>\n<name>a&lt;b&c>\"d'</name>\n</object>\n",
      root->asXML());
  std::ostringstream out;
  inner->asXML(out, false);
  list->asXML(out, true);
  list->at(0)->asXML(out, true);
  EXPECT_EQ("<x>&lt;&lt;</x>\n<I>p</I>\n<I>q</I>\np", out.str());
  EXPECT_EQ("<object>\n</object>\n", StructValue().asXML());
}

TEST(XMLFormTest, ReadsKindsFromChildElements) {
  std::pair<char const*, char const*> const cases[] = {
      {"<object><a>x</a><b><I>1</I><I>2</I></b></object>", "{ =a:x [b =:1 =:2 ]b }"},
      {"<e/>", "=:"},
      {"<e>  two\n lines &amp; more </e>", "=:  two\n lines & more "},
      {"<e>a<I>1</I>b<I><k>v</k></I></e>", "[ =:1 { =k:v } ]"},
      {"<e><I>1</I><x>2</x></e>", "{ =I:1 =x:2 }"},
      {"<e><a>1</a><a>2</a></e>", "{ =a:2 }"},
      {"<e mustUnderstand='TRUE'>v</e>", "=!:v"},
      {"<e mustUnderstand='yes'>v</e>", "=:v"},
      {"<e xmlns:p='urn:p' p:mustUnderstand='true'>v</e>", "=:v"},
      {"<e xmlns:p='urn:p'><p:I>1</p:I><p:I>2</p:I></e>", "{ =I:2 }"},
      {"<e xmlns:p='urn:p'><p:a>1</p:a><b mustUnderstand='True'><I/></b></e>",
       "{ =a:1 [!b =: ]b }"},
  };
  for (auto const& c : cases) {
    XML::Config doc;
    std::istringstream in(c.first);
    ASSERT_TRUE(doc.Parse(in)) << c.first;
    Tree value(Value::parseXML(doc));
    EXPECT_EQ(c.second, spell(value.get())) << c.first;
  }
  EXPECT_EQ(nullptr, Value::parseXML(XML::Config()));

  // Back from our own output; array elements carry no flag in this form.
  Tree tree = sampleTree();
  static_cast<StructValue*>(tree.get())->insert("empty", text("<tag> 'q' \"x\""));
  XML::Config doc;
  std::istringstream in(tree->asXML());
  ASSERT_TRUE(doc.Parse(in));
  Tree back(Value::parseXML(doc));
  EXPECT_EQ("{ =!a:x =empty:<tag> 'q' \"x\" [!list { =n:1 } { =!m:2 } =:t ]list }",
            spell(back.get()));
}

// Members declared in an order unlike name order, with labels of every kind.
struct Schema {
  Properties defaults{{"label", "@no_such_label_anywhere"}};
  Boolean enabled{"enabled"};
  Enum mode{"mode", {"slow"}};
  String name{"name", &defaults};
  String address{"address"};
  Array addresses{"addresses", &address};
  Struct route{"route"}, inner{"inner"}, root{"root"};
  Array routes{"routes", &route};
  Array bare{"bare", nullptr};

  Schema() {
    mode.insert("fast", "Fast mode");
    enabled.setMustUnderstand(true);
    enabled.setProperty("label", "@kwEnabled");
    mode.setProperty("label", "Speed");
    addresses.setProperty("label", "");
    route.addMember("gw", &address).addMember("dst", &address);
    inner.addMember("mode", &mode);
    root.addMember("name", &name).addMember("enabled", &enabled).addMember("mode", &mode);
    root.addMember("addresses", &addresses).addMember("routes", &routes);
    root.addMember("inner", &inner).addMember("bare", &bare).addMember("none", nullptr);
  }
};

Tree renderingTree() {
  auto root = std::make_unique<StructValue>();
  root->insert("name", text("eth0"));
  root->insert("enabled", text("on"));
  root->insert("mode", text("fast", true));
  auto addresses = new ArrayValue();
  addresses->append(text("10.0.0.1"));
  addresses->append(text("10.0.0.2"));
  root->insert("addresses", addresses);
  auto route = new StructValue();
  route->insert("dst", text("0.0.0.0"));
  route->insert("gw", text("10.0.0.254"));
  auto routes = new ArrayValue();
  routes->append(route);
  root->insert("routes", routes);
  root->insert("inner", new StructValue());
  static_cast<StructValue*>(root->find("inner"))->insert("mode", text("slow"));
  root->insert("bare", new ArrayValue());
  static_cast<ArrayValue*>(root->find("bare"))->append(text("b"));
  root->insert("unknown", text("u"));
  root->insert("none", text("n"));
  return root;
}

TEST(JSONFormTest, FollowsTheValidator) {
  Schema s;
  Tree tree = renderingTree();
  // A member the validator cannot render leaves its key alone on the line, as designed.
  EXPECT_EQ(
      "{\n\"addresses\": [\"10.0.0.1\"\n, \"10.0.0.2\"\n]\n\"bare\": \"!enabled\": \"true\"\n"
      "\"inner\": {\n\"mode\": \"slow\"\n}\n\"!mode\": \"Fast mode\"\n\"name\": \"eth0\"\n"
      "\"routes\": [{\n\"dst\": \"0.0.0.0\"\n\"gw\": \"10.0.0.254\"\n}\n]\n}\n",
      tree->asJSON(&s.root));
  Value* bare = find(tree.get(), "bare");
  EXPECT_EQ("", tree->asJSON(&s.name));
  EXPECT_EQ("", tree->asJSON(nullptr));
  EXPECT_EQ("", bare->asJSON(&s.bare));
  EXPECT_EQ("", bare->asJSON(&s.name));
  EXPECT_EQ("\"on\"\n", find(tree.get(), "enabled")->asJSON(nullptr));
  EXPECT_EQ("\"eth0\"\n", find(tree.get(), "name")->asJSON(&s.mode));
}

TEST(TextFormTest, LabelsIndentationAndOrder) {
  Schema s;
  Tree tree = renderingTree();
  multiCat catalog("corvane", "en_US");
  EXPECT_EQ(
      "name \"eth0\"\nEnabled \"true\"\nSpeed \"Fast mode\"\n"
      "addresses \"10.0.0.1\" \"10.0.0.2\"\n"
      "routes\n  gw \"10.0.0.254\"\n  dst \"0.0.0.0\"\nend routes\n"
      "inner\n  Speed \"slow\"\nend inner\nbare \"b\"\n",
      tree->asText(&s.root, catalog));

  // Nested level, an empty simple array, and arrays whose elements are mixed.
  StructValue object;
  object.insert("addresses", new ArrayValue());
  auto routes = new ArrayValue();
  routes->append(new ArrayValue());
  routes->append(new StructValue());
  object.insert("routes", routes);
  auto mixed = new ArrayValue();
  mixed->append(text("x"));
  mixed->append(new StructValue());
  mixed->append(text("y"));
  object.insert("bare", mixed);
  std::ostringstream out;
  object.asText(out, &s.root, catalog, 2);
  EXPECT_EQ(
      "    addresses\n    routes\n    end routes\n    routes\n    end routes\n"
      "    bare \"x\" \"y\"\n",
      out.str());
  EXPECT_EQ("", tree->asText(&s.routes, catalog));
  EXPECT_EQ("", find(tree.get(), "name")->asText(&s.root, catalog));

  // The label buffer holds 255 bytes and a terminator.
  std::string longName(300, 'n');
  Struct schema("s");
  schema.addMember(longName, &s.name);
  object.insert(longName, text("v"));
  EXPECT_EQ(std::string(255, 'n') + " \"v\"\n", object.asText(&schema, catalog));
}

}  // namespace
}  // namespace config
}  // namespace corvane
