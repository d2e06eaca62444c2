// Every message id that the library's code names must have a US English text, root must
// repeat the English texts, and translations must use the English placeholders.

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <unicode/resbund.h>

namespace {

using Texts = std::map<std::string, std::string>;

bool isIdChar(char c) { return isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// The id a whole string literal names, or "": "@id" references, and the bare catalog keys
// that travel without the at sign (result codes, states, command messages, log message ids).
std::string idOf(std::string const& literal) {
  bool reference = !literal.empty() && literal[0] == '@';
  if (literal.size() < 2 || literal.back() == '_' ||
      !std::all_of(literal.begin() + reference, literal.end(), isIdChar)) {
    return std::string();
  }
  if (reference) return literal.substr(1);
  bool keyword = literal.compare(0, 2, "kw") == 0 && isupper(static_cast<unsigned char>(literal[2]));
  for (char const* prefix : {"cli_", "prop_", "network_validation_", "KTX"}) {
    keyword = keyword || literal.compare(0, strlen(prefix), prefix) == 0;
  }
  return keyword ? literal : std::string();
}

// id -> a source file under `dir` that names it in a string literal.
void collectIds(std::string const& dir, std::map<std::string, std::string>& ids, int& files) {
  DIR* d = opendir(dir.c_str());
  if (d == nullptr) return;
  while (dirent* entry = readdir(d)) {
    std::string name = entry->d_name;
    std::string path = dir + "/" + name;
    struct stat st;
    if (name[0] == '.' || stat(path.c_str(), &st) != 0) continue;
    if (S_ISDIR(st.st_mode)) {
      collectIds(path, ids, files);
      continue;
    }
    std::string::size_type dot = name.rfind('.');
    if (dot == std::string::npos || (name.substr(dot) != ".cc" && name.substr(dot) != ".h")) {
      continue;
    }
    ++files;
    std::ifstream in(path);
    std::stringstream buffer;
    buffer << in.rdbuf();
    std::string const text = buffer.str();
    for (size_t open = text.find('"'); open != std::string::npos;) {
      size_t close = open + 1;
      while (close < text.size() && text[close] != '"') close += text[close] == '\\' ? 2 : 1;
      if (close >= text.size()) break;
      std::string id = idOf(text.substr(open + 1, close - open - 1));
      if (!id.empty()) ids.emplace(id, path);
      open = text.find('"', close + 1);
    }
  }
  closedir(d);
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

// The characters of the "{n}" marks of a pattern in a canonical order (so translations may
// reorder them), and whether it holds characters that a message pattern
// treats specially (apostrophes, other braces).
std::string placeholders(std::string const& text, bool& special) {
  std::string marks;
  special = text.find('\'') != std::string::npos;
  for (size_t open = text.find('{'); open != std::string::npos; open = text.find('{', open + 1)) {
    size_t close = text.find('}', open);
    bool digit = close == open + 2 && isdigit(static_cast<unsigned char>(text[open + 1]));
    special = special || !digit;
    if (digit) marks += text.substr(open, 3);
  }
  std::sort(marks.begin(), marks.end());
  return marks;
}

TEST(CatalogIdsTest, EveryIdInTheSourcesHasAnEnglishText) {
  std::string self = __FILE__;
  std::map<std::string, std::string> used;
  int files = 0;
  collectIds(self.substr(0, self.rfind("/tests/")) + "/src", used, files);
  ASSERT_GT(files, 0) << "no library sources found from " << self;
  Texts english = ownTexts("en_US");
  for (auto const& id : used) {
    EXPECT_EQ(1u, english.count(id.first)) << id.first << " (named in " << id.second << ")";
  }
}

TEST(CatalogIdsTest, RootRepeatsEnglishAndTranslationsKeepThePlaceholders) {
  Texts english = ownTexts("en_US");
  ASSERT_FALSE(english.empty());
  EXPECT_EQ(english, ownTexts("root"));
  for (char const* locale : {"en_US", "de_DE"}) {
    for (auto const& entry : ownTexts(locale)) {
      ASSERT_EQ(1u, english.count(entry.first)) << locale << " has an unknown id " << entry.first;
      bool special = false, englishSpecial = false;
      EXPECT_EQ(placeholders(english[entry.first], englishSpecial),
                placeholders(entry.second, special)) << locale << " " << entry.first;
      EXPECT_FALSE(special) << locale << " " << entry.first << ": " << entry.second;
    }
  }
}

}  // namespace
