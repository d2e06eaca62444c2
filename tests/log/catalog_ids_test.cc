// Every message id that the library's code names must have a US English text, and every
// translation must use the same placeholders as the English text.

#include <dirent.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <unicode/msgfmt.h>
#include <unicode/resbund.h>

namespace {

using Texts = std::map<std::string, std::string>;

// The library's sources, found from this file's place in the tree.
std::string sourceDir() {
  std::string self = __FILE__;
  return self.substr(0, self.rfind("/tests/")) + "/src";
}

void collectSources(std::string const& dir, std::set<std::string>& files) {
  DIR* d = opendir(dir.c_str());
  if (d == nullptr) return;
  while (dirent* entry = readdir(d)) {
    std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    std::string path = dir + "/" + name;
    struct stat st;
    if (stat(path.c_str(), &st) != 0) continue;
    if (S_ISDIR(st.st_mode)) {
      collectSources(path, files);
    } else if (name.size() > 3 && (name.compare(name.size() - 3, 3, ".cc") == 0 ||
                                   name.compare(name.size() - 2, 2, ".h") == 0)) {
      files.insert(path);
    }
  }
  closedir(d);
}

// Ids named by whole string literals: "@id" references, and the bare catalog keys that
// travel without the at sign (result codes, states, command messages, log message ids).
std::map<std::string, std::string> idsUsedInSources(size_t& fileCount) {
  static std::regex const literal(
      "\"(?:@([A-Za-z][A-Za-z0-9_]*[A-Za-z0-9])|"
      "((?:kw[A-Z]|cli_|prop_|network_validation_|KTX)[A-Za-z0-9_]*[A-Za-z0-9]))\"");
  std::set<std::string> files;
  collectSources(sourceDir(), files);
  fileCount = files.size();
  std::map<std::string, std::string> ids;  // id -> first file naming it
  for (std::string const& path : files) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    std::string content = text.str();
    for (std::sregex_iterator it(content.begin(), content.end(), literal), end; it != end;
         ++it) {
      std::string id = (*it)[1].matched ? (*it)[1].str() : (*it)[2].str();
      ids.emplace(id, path);
    }
  }
  return ids;
}

// The texts a locale's own resource file holds, without fallback.
Texts ownTexts(char const* locale) {
  Texts texts;
  UErrorCode status = U_ZERO_ERROR;
  icu::ResourceBundle bundle("corvane", icu::Locale(locale), status);
  EXPECT_TRUE(U_SUCCESS(status)) << locale << ": " << u_errorName(status);
  if (U_FAILURE(status)) return texts;
  // ICU names the root bundle "".
  std::string actual = bundle.getLocale(ULOC_ACTUAL_LOCALE, status).getName();
  EXPECT_EQ(locale, actual.empty() ? "root" : actual) << "no resource file of its own";
  while (bundle.hasNext()) {
    icu::ResourceBundle item = bundle.getNext(status);
    EXPECT_EQ(URES_STRING, item.getType()) << item.getKey();
    std::string text;
    item.getString(status).toUTF8String(text);
    texts[item.getKey()] = text;
  }
  return texts;
}

std::set<std::string> placeholders(std::string const& text) {
  static std::regex const placeholder("\\{[0-9]+\\}");
  std::set<std::string> found;
  for (std::sregex_iterator it(text.begin(), text.end(), placeholder), end; it != end; ++it) {
    found.insert(it->str());
  }
  return found;
}

class CatalogIdsTest : public ::testing::Test {
 protected:
  void SetUp() override { setenv("ICU_DATA", "/resource", 0); }
};

TEST_F(CatalogIdsTest, EveryIdInTheSourcesHasAnEnglishText) {
  size_t files = 0;
  auto used = idsUsedInSources(files);
  ASSERT_GT(files, 0u) << "no sources under " << sourceDir();
  Texts english = ownTexts("en_US");
  ASSERT_FALSE(english.empty());
  for (auto const& id : used) {
    EXPECT_EQ(1u, english.count(id.first)) << id.first << " (named in " << id.second << ")";
  }
}

TEST_F(CatalogIdsTest, RootRepeatsTheEnglishTexts) {
  EXPECT_EQ(ownTexts("en_US"), ownTexts("root"));
}

TEST_F(CatalogIdsTest, PatternsFormatWithTheirPlaceholders) {
  Texts english = ownTexts("en_US");
  for (char const* locale : {"en_US", "de_DE"}) {
    for (auto const& entry : ownTexts(locale)) {
      std::string const& id = entry.first;
      ASSERT_EQ(1u, english.count(id)) << locale << " has a text for an unknown id " << id;
      std::set<std::string> wanted = placeholders(english[id]);
      EXPECT_EQ(wanted, placeholders(entry.second)) << locale << " " << id;
      // Placeholders are numbered from 0 without gaps, and the pattern formats cleanly:
      // an apostrophe or stray brace would swallow text.
      size_t count = wanted.size();
      for (size_t i = 0; i < count; ++i) {
        EXPECT_EQ(1u, wanted.count("{" + std::to_string(i) + "}")) << locale << " " << id;
      }
      if (count == 0) {
        EXPECT_EQ(std::string::npos, entry.second.find_first_of("'{}")) << locale << " " << id;
        continue;
      }
      icu::Formattable args[4] = {icu::Formattable("A0"), icu::Formattable("A1"),
                                  icu::Formattable("A2"), icu::Formattable("A3")};
      ASSERT_LE(count, 4u);
      UErrorCode status = U_ZERO_ERROR;
      icu::MessageFormat format(icu::UnicodeString::fromUTF8(entry.second),
                                icu::Locale(locale), status);
      icu::UnicodeString result;
      icu::FieldPosition position(icu::FieldPosition::DONT_CARE);
      format.format(args, static_cast<int32_t>(count), result, position, status);
      ASSERT_TRUE(U_SUCCESS(status)) << locale << " " << id << ": " << u_errorName(status);
      std::string out;
      result.toUTF8String(out);
      std::string expected = entry.second;
      for (size_t i = 0; i < count; ++i) {
        std::string mark = "{" + std::to_string(i) + "}";
        for (size_t at = expected.find(mark); at != std::string::npos; at = expected.find(mark)) {
          expected.replace(at, mark.size(), "A" + std::to_string(i));
        }
      }
      EXPECT_EQ(expected, out) << locale << " " << id;
    }
  }
}

}  // namespace
