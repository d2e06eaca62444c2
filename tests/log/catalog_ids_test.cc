// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Every message id that the library's code names must have a US English text, root must
// repeat the English texts, and translations must use the English placeholders.

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>

#include <gtest/gtest.h>
#include <unicode/resbund.h>

namespace {

using Texts = std::map<std::string, std::string>;

bool isIdChar(char c) { return isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// The id a string literal names, or "": "@id" references, and the bare catalog keys that
// travel without the at sign (result codes, states, command messages, log message ids).
std::string idOf(std::string const& literal) {
  bool reference = literal.size() > 1 && literal[0] == '@';
  std::string id = literal.substr(reference ? 1 : 0);
  if (id.empty() || id.back() == '_' || !std::all_of(id.begin(), id.end(), isIdChar)) return "";
  bool key = reference || (id.rfind("kw", 0) == 0 && isupper(static_cast<unsigned char>(id[2])));
  for (char const* prefix : {"cli_", "prop_", "network_validation_", "KTX"}) {
    key = key || id.rfind(prefix, 0) == 0;
  }
  return key ? id : "";
}

// The texts of a locale's own resource file, without fallback.
Texts ownTexts(char const* locale) {
  setenv("ICU_DATA", "/resource", 0);
  Texts texts;
  UErrorCode status = U_ZERO_ERROR;
  icu::ResourceBundle bundle("corvane", icu::Locale(locale), status);
  std::string actual = bundle.getLocale(ULOC_ACTUAL_LOCALE, status).getName();
  EXPECT_EQ(locale, actual.empty() ? "root" : actual) << u_errorName(status);
  while (U_SUCCESS(status) && bundle.hasNext()) {
    icu::ResourceBundle item = bundle.getNext(status);
    item.getString(status).toUTF8String(texts[item.getKey()]);
  }
  EXPECT_TRUE(U_SUCCESS(status)) << locale << ": " << u_errorName(status);
  return texts;
}

// The "{n}" marks of a pattern, sorted so that translations may reorder them; `special` tells
// whether anything else in it is special to a message pattern (apostrophes, other braces).
std::string placeholders(std::string const& text, bool& special) {
  static std::regex const mark("\\{[0-9]\\}");
  std::string marks;
  for (std::sregex_iterator it(text.begin(), text.end(), mark), end; it != end; ++it) {
    marks += it->str();
  }
  special = std::regex_replace(text, mark, "").find_first_of("'{}") != std::string::npos;
  std::sort(marks.begin(), marks.end());
  return marks;
}

TEST(CatalogIdsTest, EveryIdInTheSourcesHasAnEnglishText) {
  std::string const self = __FILE__, src = self.substr(0, self.rfind("/tests/")) + "/src";
  Texts english = ownTexts("en_US");
  int files = 0;
  for (auto const& entry : std::filesystem::recursive_directory_iterator(src)) {
    std::string const path = entry.path().string();
    if (entry.path().extension() != ".cc" && entry.path().extension() != ".h") continue;
    ++files;
    std::ifstream in(path);
    static std::regex const literal(R"re("((?:[^"\\]|\\.)*)")re");
    for (std::string line; std::getline(in, line);) {
      for (std::sregex_iterator it(line.begin(), line.end(), literal), end; it != end; ++it) {
        std::string id = idOf((*it)[1]);
        EXPECT_TRUE(id.empty() || english.count(id)) << id << " (named in " << path << ")";
      }
    }
  }
  EXPECT_GT(files, 0) << "no library sources found in " << src;
}

TEST(CatalogIdsTest, RootRepeatsEnglishAndTranslationsKeepThePlaceholders) {
  Texts english = ownTexts("en_US");
  ASSERT_FALSE(english.empty());
  EXPECT_EQ(english, ownTexts("root"));
  for (char const* locale : {"en_US", "de_DE"}) {
    for (auto const& entry : ownTexts(locale)) {
      ASSERT_EQ(1u, english.count(entry.first)) << locale << " has an unknown id " << entry.first;
      bool special = false, ignored;
      EXPECT_EQ(placeholders(english[entry.first], ignored), placeholders(entry.second, special))
          << locale << " " << entry.first;
      EXPECT_FALSE(special) << locale << " " << entry.first << ": " << entry.second;
    }
  }
}

}  // namespace
