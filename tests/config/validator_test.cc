// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Validators: each kind's verdicts and messages, the custom check and its trace line, and the
// integer parser's edge values for every instantiated type.

#include "corvane/validator.h"

#include <chrono>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include "corvane/config_value.h"
#include "corvane/log.h"
#include "fake_manager.h"

namespace corvane {
namespace config {
namespace validator {
namespace {

// A custom validator that refuses everything with `message` and counts its calls.
struct Refuse : Base {
  explicit Refuse(char const* message) : Base("refuse") { mMessage = message; }
  bool Valid(Value const*) const override {
    ++mCalls;
    return false;
  }
  mutable int mCalls = 0;
};

// "ok" when `v` accepts `value`, else the message it left.
std::string verdict(Base const& v, Value const* value) {
  return v.Valid(value) ? "ok" : v.message();
}

// Every text must get `message`; a null text stands for a null value.
void check(Base const& v, std::vector<char const*> const& texts, char const* message) {
  for (char const* text : texts) {
    SimpleValue simple(text ? text : "");
    EXPECT_EQ(message, verdict(v, text ? &simple : nullptr))
        << v.properties().at("name") << " '" << simple.str() << "'";
  }
}

TEST(ValidatorTest, SimpleKindsAndTheCustomCheck) {
  Enum colours("colour", {"red", "green"});
  colours.insert("blue", "Blue");
  Boolean flag("flag");
  Bitmask mask("mask", {"a", "b"});
  String bounded("s"), name("name");
  bounded.setMinLength(2).setMaxLength(8);  // the maximum itself is too long
  // A pattern that does not compile matches nothing, but the others still do.
  name.addPattern("([a-z]").addPattern("[a-z]+").addPattern("[0-9]{2}").setMaxLength(5);
  struct Case {
    Base const& v;
    std::vector<char const*> texts;
    char const* message;
  } const cases[] = {
      {colours, {"red", "blue"}, "ok"},
      {colours, {"Red", ""}, "@prop_enum_unknown"},
      {colours, {nullptr}, "@prop_enum_expected"},
      {flag, {"true", "f", "yes", "off"}, "ok"},
      {flag, {"True", "1", "", nullptr}, "@prop_bool_bad"},
      {mask, {"a,b", "a + b", " b\ta ,", "", "+ ,\t"}, "ok"},
      {mask, {"a,c", "ab", "a;b"}, "@prop_bitmask_unknown"},
      {mask, {nullptr}, "@prop_bitmask_expected"},
      {bounded, {"ab", "1234567"}, "ok"},
      {bounded, {"a"}, "@prop_string_too_short"},
      {bounded, {"12345678", "\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4"}, "@prop_string_too_long"},
      {bounded, {nullptr}, "@prop_string_expected"},
      {name, {"abc", "42"}, "ok"},
      {name, {"abc1", "x42", "", "(a"}, "@prop_string_no_match"},
      {name, {"abcde"}, "@prop_string_too_long"},  // length comes before the patterns
  };
  for (Case const& c : cases) check(c.v, c.texts, c.message);

  // The custom check runs only after a kind's own checks passed, and traces each call.
  testing::SyslogSink sink;
  log::setLogLevel(7);
  Refuse refuse("@custom_says_no"), silent("");
  for (Base* v : std::vector<Base*>{&flag, &mask, &name}) v->setCustomValidator(&refuse);
  check(flag, {"on"}, "@prop_bool_bad");  // even over a custom message, deliberately
  check(mask, {", "}, "ok");              // the empty mask is not shown to it
  check(mask, {"a"}, "@custom_says_no");
  check(name, {"abcde"}, "@prop_string_too_long");
  check(name, {"x42"}, "@prop_string_no_match");
  check(name, {"abc"}, "@custom_says_no");
  EXPECT_EQ(3, refuse.mCalls);
  name.setCustomValidator(&silent);  // an empty message leaves the earlier one
  check(name, {"abc"}, "@custom_says_no");
  char expected[64];
  snprintf(expected, sizeof expected, "]:calling custom validator (%p)",
           static_cast<void const*>(&silent));
  auto lines = sink.drain(200);
  ASSERT_EQ(4u, lines.size());
  EXPECT_EQ(0u, lines[3].find("<143>")) << lines[3];
  EXPECT_NE(std::string::npos, lines[3].find(expected)) << lines[3];
  log::setLogLevel(6);
  check(name, {"abc"}, "@custom_says_no");
  EXPECT_TRUE(sink.drain(200).empty());
  log::setLogLevel(7);

  std::pair<char const*, std::vector<std::string>> const splits[] = {
      {"", {}}, {" +,\t", {}}, {" a, b+c\td ", {"a", "b", "c", "d"}}, {"a;b c", {"a;b", "c"}}};
  for (auto const& c : splits) {
    std::unique_ptr<std::vector<std::string>> tokens(Bitmask::Split(c.first));
    EXPECT_EQ(c.second, *tokens) << "'" << c.first << "'";
  }
}

// Values that make PCRE recurse once per repetition: refused in bounded time and logged once
// at level 4, while short values of the same shape still match.
TEST(StringTest, LongRepetitionsAreRefusedNotFatal) {
  testing::SyslogSink sink;
  log::setLogLevel(4);
  std::pair<char const*, std::string> const cases[] = {
      {"(ab)*", "ab"}, {"(\\w+\\s?)*", "a "}, {"([0-9a-fA-F]{1,4}:)*[0-9a-fA-F]{1,4}", "1:1"}};
  for (auto const& [pattern, unit] : cases) {
    String s("hostile");
    s.addPattern(pattern);
    std::string text;
    for (int i = 0; i < 20; ++i) text += unit;
    EXPECT_EQ("ok", verdict(s, std::make_unique<SimpleValue>(text).get())) << pattern;
    sink.drain(50);
    while (text.size() < (size_t(1) << 20)) text += unit;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ("@prop_string_no_match", verdict(s, std::make_unique<SimpleValue>(text).get()))
        << pattern;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    std::vector<std::string> lines = sink.drain(50);
    ASSERT_EQ(1u, lines.size()) << pattern;
    EXPECT_NE(std::string::npos, lines[0].find("exceeds the matcher's bounds")) << lines[0];
    EXPECT_EQ(0u, lines[0].find("<140>")) << lines[0];  // facility 136, level 4
  }
  log::setLogLevel(7);
}

TEST(ContainerTest, ArrayAndStructCheckTheirParts) {
  String address("address");
  address.setMaxLength(8);
  Array list("list", &address);
  Refuse refuse("@duplicate_address");
  list.setCustomValidator(&refuse);
  Boolean enabled("enabled");
  Struct object("object");
  object.addMember("enabled", &enabled).addMember("list", &list).addMember("free", nullptr);

  ArrayValue good, bad;
  good.append(new SimpleValue("1.2.3.4"));
  bad.append(new SimpleValue("10.20.30.40"));
  SimpleValue plain("x");
  EXPECT_EQ("@prop_string_too_long", verdict(list, &bad));
  EXPECT_EQ("@duplicate_address", verdict(list, &good));
  EXPECT_EQ("@prop_array_expected", verdict(list, &plain));
  EXPECT_EQ(1, refuse.mCalls);  // only after the elements passed
  EXPECT_EQ("ok", verdict(Array("any", nullptr), &bad));

  StructValue value;
  value.insert("enabled", new SimpleValue("on"));
  value.insert("free", new SimpleValue("anything"));
  value.insert("unknown", new StructValue());
  EXPECT_EQ("ok", verdict(object, &value));  // absent, unchecked and unknown members pass
  value.insert("list", good.clone());
  value.insert("enabled", new SimpleValue("maybe"));
  EXPECT_EQ("@prop_bool_bad", verdict(object, &value));  // declaration order decides
  EXPECT_EQ("@prop_struct_expected", verdict(object, &plain));
  object.addMember("enabled", nullptr);  // keeps its place, takes the new validator
  EXPECT_EQ((std::vector<std::string>{"enabled", "list", "free"}), object.order());
  EXPECT_EQ("@duplicate_address", verdict(object, &value));
}

TEST(BaseTest, DefaultValueComesFromTheOwnProperty) {
  Properties shared{{"default", "shared"}};
  String s("port", &shared);
  EXPECT_EQ(nullptr, s.createDefaultValue());
  s.setProperty("default", "22");
  s.setMustUnderstand(true);
  std::unique_ptr<Value> value(s.createDefaultValue());
  auto simple = dynamic_cast<SimpleValue*>(value.get());
  ASSERT_NE(nullptr, simple);
  EXPECT_EQ("22", simple->str());
  EXPECT_TRUE(simple->mustUnderstand());
}

// Every kind also refuses the `refused` texts below and reads the `read` ones.
template <class T>
void checkNumbers(std::vector<std::pair<char const*, long double>> read,
                  std::vector<char const*> refused) {
  SCOPED_TRACE(typeid(T).name());
  refused.insert(refused.end(), {"", "12abc", "12 ", "0x", "1.5", "--1", " ", nullptr});
  read.insert(read.end(), {{"0", 0}, {" \t42", 42}, {"+7", 7}, {"0x1F", 31}, {"017", 15}});
  for (auto const& c : read) {
    T result{};
    EXPECT_TRUE(Number<T>::Parse(c.first, result)) << c.first;
    EXPECT_EQ(static_cast<T>(c.second), result) << c.first;
  }
  for (char const* text : refused) {
    T result{};
    EXPECT_FALSE(Number<T>::Parse(text, result)) << (text ? text : "null");
  }
}

TEST(NumberTest, EdgeValuesOfEveryKind) {
  checkNumbers<unsigned short>({{"65534", 65534}, {"0xFFFE", 65534}, {"-0", 0}}, {"65535", "-1"});
  checkNumbers<unsigned int>({{"4294967294", 4294967294.0L}}, {"4294967295", "-1", "-4294967295"});
  checkNumbers<unsigned long>({{"18446744073709551615", 18446744073709551615.0L}},
                              {"18446744073709551616", "-1"});
  checkNumbers<short>({{"-32768", -32768}, {"32766", 32766}, {"-0x10", -16}}, {"32767", "-32769"});
  checkNumbers<int>({{"-2147483648", -2147483648.0L}, {"2147483646", 2147483646}},
                    {"2147483647", "-2147483649"});
  checkNumbers<long>({{"9223372036854775807", 9223372036854775807.0L},
                      {"-9223372036854775808", -9223372036854775808.0L}},
                     {"9223372036854775808", "-9223372036854775809"});

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
