// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Every message id that the library's code names must have a US English text, and root must
// repeat the English texts.

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

TEST(CatalogIdsTest, EveryIdInTheSourcesHasAnEnglishText) {
  std::string const self = __FILE__, src = self.substr(0, self.rfind("/tests/")) + "/src";
  Texts english = ownTexts("en_US");
  int files = 0;
  for (auto const& entry : std::filesystem::recursive_directory_iterator(src)) {
    if (entry.path().extension() != ".cc" && entry.path().extension() != ".h") continue;
    ++files;
    std::ifstream in(entry.path());
    static std::regex const literal(R"re("((?:[^"\\]|\\.)*)")re");
    for (std::string line; std::getline(in, line);) {
      for (std::sregex_iterator it(line.begin(), line.end(), literal), end; it != end; ++it) {
        std::string id = idOf((*it)[1]);
        EXPECT_TRUE(id.empty() || english.count(id)) << id << " (named in " << entry.path() << ")";
      }
    }
  }
  EXPECT_GT(files, 0) << "no library sources found in " << src;
  EXPECT_EQ(english, ownTexts("root")) << "root repeats the English texts";
}

}  // namespace
