// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Tokenizers, wildcard matching, the directory lister, date and time text, base64 and the
// scrambled file format.

#include <unistd.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/locid.h>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "corvane/utils.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Words = std::vector<std::string>;

TEST(SplitTest, TokenizesByTable) {
  struct {
    char const *text, *specials;
    char stop;
    Words tokens;
  } const cases[] = {
      {"a b\tc", nullptr, '\0', {"a", "b", "c"}},
      {"  \"x y\" z ", nullptr, '\0', {"x y", "z"}},
      {"'it\\'s' ok", nullptr, '\0', {"it's", "ok"}},
      {"x y # z", nullptr, '#', {"x", "y"}},
      {"x#z", nullptr, '#', {"x"}},
      {"a|b>>c", "|>", '\0', {"a", "|", "b", ">", ">", "c"}},
      {"\"\" ''", nullptr, '\0', {"", ""}},
      {"ab\"c d\"ef", nullptr, '\0', {"ab", "c d", "ef"}},
      {"\"never closed", nullptr, '\0', {"never closed"}},
      {"\"a\\\\b\\", nullptr, '\0', {"a\\b"}},
      {"", "|", '#', {}},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(c.tokens, utils::Split(c.text, c.specials, c.stop));
  }
  EXPECT_EQ(Words{}, utils::Split(nullptr, "|", '#'));
}

TEST(SplitTest, Split2AppendsWordsWithoutClearing) {
  Words words{"keep"};
  utils::Split2(" a\n\tbc  d ", &words);
  EXPECT_EQ((Words{"keep", "a", "bc", "d"}), words);
  utils::Split2("ignored", nullptr);
}

TEST(MatchTest, ShellWildcardsByTable) {
  struct {
    char const *name, *pattern;
    bool match;
  } const cases[] = {
      {"", "*", true},           {"a.log", "*.log", true},   {"a.log.1", "*.log", false},
      {"abc", "a?c", true},      {"ac", "a?c", false},       {"abc", "[a-c]bc", true},
      {"dbc", "[^a-c]bc", true}, {"abc", "[^a-c]bc", false}, {"]x", "[]]x", true},
      {"-x", "[-a]x", true},     {"bx", "[-a]x", false},     {"b", "[a-]", false},
      {"aaab", "*a*b", true},    {"aaac", "*a*b", false},    {"[x", "[x", true},
      {"abc", "abcd", false},    {"abcd", "abc", false},     {"", "?", false},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(c.match, utils::Match(c.name, std::strlen(c.name), c.pattern))
        << c.name << " ~ " << c.pattern;
  }
  EXPECT_TRUE(utils::Match("abcdef", 3, "abc"));
  EXPECT_FALSE(utils::Match("abcdef", 3, "abc?*"));
  EXPECT_FALSE(utils::Match("abc", 3, nullptr));
}

TEST(ReadDirTest, SortedVisibleNamesMatchingThePattern) {
  for (char const* name : {"b", "a", ".hidden", "c.log", "B", "d.log"}) {
    testing::writeFile(std::string("/tmp/rd/") + name, "");
  }
  int descriptors = testing::openDescriptorCount();
  EXPECT_EQ((Words{"B", "a", "b", "c.log", "d.log"}), utils::readDir("/tmp/rd", nullptr));
  EXPECT_EQ((Words{"B", "a", "b", "c.log", "d.log"}), utils::readDir("/tmp/rd", "*"));
  EXPECT_EQ((Words{"c.log", "d.log"}), utils::readDir("/tmp/rd", "*.log"));
  EXPECT_EQ(Words{}, utils::readDir("/tmp/none", "*"));
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

TEST(FormatDateTimeTest, IsoUtcAndIcuMediumForms) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale("en_US"), status);
  long const t = 1706702400;  // 2024-01-31 12:00:00 UTC
  EXPECT_EQ("2024-01-31T12:00:00Z", utils::formatDateTime(t, 1, "Europe/Berlin"));
  std::string utc = utils::formatDateTime(t, 0, "UTC");
  EXPECT_EQ(0u, utc.find("Jan 31, 2024, 12:00:00")) << utc;
  std::string berlin = utils::formatDateTime(t, 2, "Europe/Berlin");
  EXPECT_EQ(0u, berlin.find("Jan 31, 2024, 1:00:00")) << berlin;
}

TEST(Base64Test, SizesAndBufferBounds) {
  struct {
    char const* data;
    size_t size;
    char const* text;
  } const cases[] = {
      {"", 3, ""},
      {"M", 4, "TQ=="},
      {"Ma", 5, "TWE="},
      {"Man", 7, "TWFu"},
      {"hello world", 17, "aGVsbG8gd29ybGQ="},
  };
  for (auto const& c : cases) {
    size_t n = std::strlen(c.data);
    ASSERT_EQ(c.size, utils::base64EncodedSize(n)) << c.data;
    char buf[32];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(nullptr, utils::base64EncodeToBuffer(c.data, n, buf, c.size));
    EXPECT_EQ('#', buf[0]);
    ASSERT_EQ(buf, utils::base64EncodeToBuffer(c.data, n, buf, c.size + 1));
    EXPECT_STREQ(c.text, buf);
  }
  EXPECT_EQ(5464u, utils::base64EncodedSize(4096));
  {
#if defined(__SANITIZE_ADDRESS__)
    __lsan::ScopedDisabler keptLeak;  // the lost buffer is part of the behaviour
#endif
    EXPECT_EQ(nullptr, utils::base64Encode("Man", 3));
  }
}

TEST(ObfuscateTest, FixedSubstitutionAndRandomPads) {
  char buf[32];
  ASSERT_EQ(buf, utils::obfuscate("Man", buf));
  EXPECT_STREQ("K5Ex", buf);
  std::unique_ptr<char[]> owned(utils::obfuscate("hello world", nullptr));
  ASSERT_NE(nullptr, owned);
  std::string text = owned.get();
  ASSERT_EQ(16u, text.size());
  EXPECT_EQ("NpUnyp3r8ZcFypb", text.substr(0, 15));
  EXPECT_NE(std::string::npos, std::string("-._~*").find(text[15]));
  EXPECT_EQ(nullptr, utils::obfuscate(nullptr, nullptr));
}

TEST(ObfuscateTest, FileIsScrambledBlockByBlock) {
  std::string data(5000, '\0');
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(1 + i * 7 % 255);
  testing::writeFile("/tmp/ob/src", data.c_str());  // no zero byte in it
  testing::writeFile("/tmp/ob/empty", "");
  int descriptors = testing::openDescriptorCount();

  ASSERT_EQ(0, utils::obfuscateFile("/tmp/ob/src", "/tmp/ob/out"));
  std::string out = testing::readFile("/tmp/ob/out");
  // Each block scrambled alone: 4096 bytes end in two pads, the 904 left in two more.
  ASSERT_EQ(5464u + 1208u, out.size());
  char block[5466];
  for (auto [offset, length, textAt] :
       {std::array<size_t, 3>{0, 4096, 0}, std::array<size_t, 3>{4096, 904, 5464}}) {
    utils::base64EncodeToBuffer(data.data() + offset, length, block, sizeof block);
    utils::obfuscateBase64Buffer(block);
    size_t chars = std::strlen(block);
    EXPECT_EQ(std::string(block, chars - 2), out.substr(textAt, chars - 2));
    EXPECT_EQ(std::string::npos, out.substr(textAt + chars - 2, 2).find_first_not_of("-._~*"));
  }

  EXPECT_EQ(0, utils::obfuscateFile("/tmp/ob/empty", "/tmp/ob/out"));
  EXPECT_EQ("", testing::readFile("/tmp/ob/out"));
  EXPECT_EQ(-1, utils::obfuscateFile("/tmp/ob/none", "/tmp/ob/out2"));
  EXPECT_EQ(-2, utils::obfuscateFile("/tmp/ob/src", "/tmp/ob/nodir/out"));
  EXPECT_EQ(-3, utils::obfuscateFile("/tmp/ob/src", "/dev/full"));
  EXPECT_NE(0, access("/tmp/ob/out2", F_OK));
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

}  // namespace
}  // namespace corvane
