// Validators: each kind's verdicts and messages, the custom check and its trace line, and the
// integer parser's edge values for every instantiated type.

#include "corvane/validator.h"

#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "corvane/config_value.h"
#include "corvane/log.h"
#include "fake_manager.h"

namespace corvane {
namespace config {
namespace validator {
namespace {

// A custom validator with a fixed verdict and message that counts its calls.
class Fixed : public Base {
 public:
  Fixed(bool verdict, char const* message) : Base("fixed"), mVerdict(verdict) {
    mMessage = message;
  }
  bool Valid(Value const*) const override {
    ++mCalls;
    return mVerdict;
  }
  mutable int mCalls = 0;

 private:
  bool mVerdict;
};

// Each case is a text (null for a structure value) and the message expected after the check,
// "" for acceptance.
void check(Base const& v, std::vector<std::pair<char const*, char const*>> const& cases) {
  for (auto const& c : cases) {
    std::unique_ptr<Value> value(c.first ? static_cast<Value*>(new SimpleValue(c.first))
                                         : new StructValue());
    bool ok = *c.second == '\0';
    EXPECT_EQ(ok, v.Valid(value.get())) << v.properties().at("name") << " '" << c.first << "'";
    if (!ok) {
      EXPECT_EQ(c.second, v.message()) << "'" << c.first << "'";
    }
  }
}

TEST(EnumTest, ExactTextsAndBooleanWords) {
  Enum colours("colour", {"red", "green"});
  colours.insert("blue", "Blue");
  check(colours, {{"red", ""},
                  {"blue", ""},
                  {"Red", "@prop_enum_unknown"},
                  {"", "@prop_enum_unknown"},
                  {nullptr, "@prop_enum_expected"}});
  EXPECT_FALSE(colours.Valid(nullptr));
  EXPECT_EQ("Blue", *colours.display("blue"));
  EXPECT_EQ(nullptr, colours.display("red"));

  Boolean flag("flag");
  check(flag, {{"true", ""},
               {"false", ""},
               {"t", ""},
               {"f", ""},
               {"yes", ""},
               {"no", ""},
               {"on", ""},
               {"off", ""},
               {"True", "@prop_bool_bad"},
               {"1", "@prop_bool_bad"},
               {"", "@prop_bool_bad"},
               {nullptr, "@prop_bool_bad"}});
  for (auto s : {"t", "yes", "on"}) EXPECT_EQ("true", *flag.display(s));
  for (auto s : {"f", "no", "off"}) EXPECT_EQ("false", *flag.display(s));
  // Even a custom validator's own message is replaced.
  Fixed refuse(false, "@custom_says_no");
  flag.setCustomValidator(&refuse);
  check(flag, {{"on", "@prop_bool_bad"}});
  EXPECT_EQ(1, refuse.mCalls);
}

TEST(BitmaskTest, TokensSeparatorsAndEmptyMask) {
  Bitmask mask("mask", {"a", "b"});
  check(mask, {{"a,b", ""},
               {"a + b", ""},
               {" b\ta ,", ""},
               {"", ""},
               {"+ ,\t", ""},
               {"a,c", "@prop_bitmask_unknown"},
               {"ab", "@prop_bitmask_unknown"},
               {"a;b", "@prop_bitmask_unknown"},
               {nullptr, "@prop_bitmask_expected"}});
  // The empty mask never reaches the custom validator; a known token does.
  Fixed refuse(false, "@custom_says_no");
  mask.setCustomValidator(&refuse);
  check(mask, {{", ", ""}, {"a", "@custom_says_no"}});
  EXPECT_EQ(1, refuse.mCalls);

  std::pair<char const*, std::vector<std::string>> const splits[] = {
      {"", {}}, {" +,\t", {}}, {" a, b+c\td ", {"a", "b", "c", "d"}}, {"a;b c", {"a;b", "c"}}};
  for (auto const& c : splits) {
    std::unique_ptr<std::vector<std::string>> tokens(Bitmask::Split(c.first));
    EXPECT_EQ(c.second, *tokens) << "'" << c.first << "'";
  }
}

TEST(StringTest, LengthsAndPatterns) {
  String bounded("s");
  bounded.setMinLength(2).setMaxLength(8);
  check(bounded, {{"ab", ""},
                  {"1234567", ""},
                  {"a", "@prop_string_too_short"},
                  {"12345678", "@prop_string_too_long"},
                  {nullptr, "@prop_string_expected"},
                  {"\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4", "@prop_string_too_long"}});  // bytes
  bounded.clearMinLength().setMaxLength(0);
  check(bounded, {{"", "@prop_string_too_long"}});
  bounded.clearMaxLength();
  check(bounded, {{"", ""}});

  String name("name");
  name.addPattern("[a-z]+").addPattern("[0-9]{2}");
  check(name, {{"abc", ""},
               {"42", ""},
               {"abc1", "@prop_string_no_match"},
               {"x42", "@prop_string_no_match"},
               {"", "@prop_string_no_match"}});
  EXPECT_FALSE(String("none").Matches("anything"));
  name.setMaxLength(3);  // length comes before the patterns
  check(name, {{"abcd", "@prop_string_too_long"}});

  // A pattern that does not compile matches nothing, but the others still do.
  String broken("broken");
  broken.addPattern("([a-z]").addPattern("ok");
  EXPECT_FALSE(broken.Matches("(a"));
  EXPECT_TRUE(broken.Matches("ok"));
}

TEST(CustomCheckTest, RunsLastPassesMessagesAndTraces) {
  testing::SyslogSink sink;
  log::setLogLevel(7);
  String text("t");
  text.setMaxLength(4);
  Fixed accept(true, "@unused"), refuse(false, "@refused_by_custom"), silent(false, "");
  text.setCustomValidator(&refuse);
  check(text, {{"abcde", "@prop_string_too_long"}});
  EXPECT_EQ(0, refuse.mCalls);
  check(text, {{"abc", "@refused_by_custom"}});
  EXPECT_EQ(1, refuse.mCalls);
  text.setCustomValidator(&silent);  // an empty message leaves the earlier one
  check(text, {{"abc", "@refused_by_custom"}});
  text.setCustomValidator(&accept);
  check(text, {{"abc", ""}});
  EXPECT_EQ("@refused_by_custom", text.message());  // success does not clear it

  char expected[64];
  snprintf(expected, sizeof expected, "]:calling custom validator (%p)",
           static_cast<void const*>(&accept));
  auto lines = sink.drain(200);  // one per custom call
  ASSERT_EQ(3u, lines.size());
  EXPECT_EQ(0u, lines[2].find("<143>")) << lines[2];
  EXPECT_NE(std::string::npos, lines[2].find(expected)) << lines[2];
  log::setLogLevel(6);
  check(text, {{"abc", ""}});
  EXPECT_TRUE(sink.drain(200).empty());
  log::setLogLevel(7);
}

TEST(ContainerTest, ArrayAndStructCheckTheirParts) {
  String address("address");
  address.setMaxLength(8);
  Array list("list", &address);
  Fixed refuse(false, "@duplicate_address");
  list.setCustomValidator(&refuse);
  Boolean enabled("enabled");
  Struct object("object");
  object.addMember("enabled", &enabled).addMember("list", &list).addMember("free", nullptr);

  ArrayValue good, bad;
  good.append(new SimpleValue("1.2.3.4"));
  bad.append(new SimpleValue("1.2.3.4"));
  bad.append(new SimpleValue("10.20.30.40"));
  SimpleValue plain("x");
  std::pair<Value const*, char const*> const lists[] = {{&bad, "@prop_string_too_long"},
                                                        {&good, "@duplicate_address"},
                                                        {&plain, "@prop_array_expected"}};
  for (auto const& c : lists) {
    EXPECT_FALSE(list.Valid(c.first));
    EXPECT_EQ(c.second, list.message());
  }
  EXPECT_EQ(1, refuse.mCalls);  // only after the elements passed
  EXPECT_TRUE(Array("any", nullptr).Valid(&bad));

  StructValue value;
  value.insert("enabled", new SimpleValue("on"));
  value.insert("free", new SimpleValue("anything"));
  value.insert("unknown", new StructValue());
  EXPECT_TRUE(object.Valid(&value));  // absent, unchecked and unknown members pass
  value.insert("list", good.clone());
  value.insert("enabled", new SimpleValue("maybe"));
  EXPECT_FALSE(object.Valid(&value));
  EXPECT_EQ("@prop_bool_bad", object.message());  // declaration order decides
  EXPECT_FALSE(object.Valid(&plain));
  EXPECT_EQ("@prop_struct_expected", object.message());
  object.addMember("enabled", nullptr);  // keeps its place, takes the new validator
  EXPECT_EQ((std::vector<std::string>{"enabled", "list", "free"}), object.order());
  EXPECT_FALSE(object.Valid(&value));
  EXPECT_EQ("@duplicate_address", object.message());
}

TEST(BaseTest, PropertiesAndDefaultValue) {
  Properties shared{{"label", "@shared_label"}, {"default", "shared"}};
  String s("port", &shared);
  EXPECT_EQ("port", *s.property("name"));
  EXPECT_EQ("@shared_label", *s.property("label"));
  EXPECT_EQ(nullptr, s.property("missing"));
  s.setProperty("label", "@own_label");
  EXPECT_EQ("@own_label", *s.property("label"));
  EXPECT_EQ(nullptr, s.createDefaultValue());  // only the validator's own "default" counts
  s.setProperty("default", "22");
  s.setMustUnderstand(true);
  std::unique_ptr<Value> value(s.createDefaultValue());
  auto simple = dynamic_cast<SimpleValue*>(value.get());
  ASSERT_NE(nullptr, simple);
  EXPECT_EQ("22", simple->str());
  EXPECT_TRUE(simple->mustUnderstand());
}

template <class T>
void checkNumbers(char const* type, std::vector<std::pair<char const*, long double>> cases) {
  // Every kind refuses these and accepts these.
  for (char const* text : {"", "12abc", "abc", "12 ", "0x", "1.5", "--1", " "}) {
    cases.push_back({text, -0.5});
  }
  for (auto c : std::vector<std::pair<char const*, long double>>{
           {"0", 0}, {" \t42", 42}, {"+7", 7}, {"0x1F", 31}, {"017", 15}}) {
    cases.push_back(c);
  }
  for (auto const& c : cases) {  // -0.5 marks a refusal
    T result{};
    bool ok = c.second != -0.5;
    EXPECT_EQ(ok, Number<T>::Parse(c.first, result)) << type << " '" << c.first << "'";
    if (ok) {
      EXPECT_EQ(static_cast<T>(c.second), result) << type << " '" << c.first << "'";
    }
  }
  T result{};
  EXPECT_FALSE(Number<T>::Parse(nullptr, result)) << type;
}

TEST(NumberTest, EdgeValuesOfEveryKind) {
  long double const no = -0.5;
  checkNumbers<unsigned short>(
      "ushort", {{"65534", 65534}, {"0xFFFE", 65534}, {"65535", no}, {"-1", no}, {"-0", 0}});
  checkNumbers<unsigned int>(
      "uint", {{"4294967294", 4294967294.0L}, {"4294967295", no}, {"-1", no}, {"-4294967295", no}});
  checkNumbers<unsigned long>("ulong", {{"18446744073709551615", 18446744073709551615.0L},
                                        {"18446744073709551616", no},
                                        {"-1", no}});
  checkNumbers<short>(
      "short",
      {{"-32768", -32768}, {"32766", 32766}, {"32767", no}, {"-32769", no}, {"-0x10", -16}});
  checkNumbers<int>("int", {{"-2147483648", -2147483648.0L},
                            {"2147483646", 2147483646},
                            {"2147483647", no},
                            {"-2147483649", no}});
  checkNumbers<long>("long", {{"9223372036854775807", 9223372036854775807.0L},
                              {"-9223372036854775808", -9223372036854775808.0L},
                              {"9223372036854775808", no},
                              {"-9223372036854775809", no}});

  // Unsigned long stores before its range test; the narrow kinds only after.
  unsigned long big = 1;
  EXPECT_FALSE(Number<unsigned long>::Parse("99999999999999999999", big));
  EXPECT_EQ(std::numeric_limits<unsigned long>::max(), big);
  unsigned short narrow = 1;
  EXPECT_FALSE(Number<unsigned short>::Parse("70000", narrow));
  EXPECT_EQ(1, narrow);
}

}  // namespace
}  // namespace validator
}  // namespace config
}  // namespace corvane
