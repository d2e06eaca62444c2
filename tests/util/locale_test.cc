// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The device locale: the locale file, the configuration manager call and the process default.

#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <corvane/idl/configManager.h>
#include "fake_manager.h"
#include "sandbox.h"
#include "corvane/appliance_utils.h"
#include "corvane/log.h"

namespace corvane {
namespace {

using Lines = std::vector<std::string>;

char const kLocaleFile[] = "/etc/corvane/locale.xml";

// Priority and text of each datagram: "139 text".
Lines traces(testing::SyslogSink& sink) {
  Lines lines;
  for (std::string const& datagram : sink.drain()) {
    size_t close = datagram.find('>');
    size_t colon = datagram.find("]:");
    lines.push_back(datagram.substr(1, close - 1) + " " + datagram.substr(colon + 2));
  }
  return lines;
}

class LocaleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    log::getLogger()->setLevel(7);
  }
  void TearDown() override { testing::writeFile(kLocaleFile, nullptr); }

  testing::SyslogSink mSink;
};

TEST_F(LocaleTest, ReadsTheLocaleFileAndFallsBackToUsEnglish) {
  struct {
    char const *file, *locale, *traced;
  } const cases[] = {
      {nullptr, "en_US", nullptr},
      {"<locale>\n <country>FR</country>\n <language>fr</language>\n</locale>\n", "fr_FR", nullptr},
      {"<language>de</language>", "en_US", "139 Invalid root node in /etc/corvane/locale.xml file"},
      {"<locale><language>de</language>", "en_US", "139 Cant parse /etc/corvane/locale.xml file"},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.file ? c.file : "(no file)");
    testing::writeFile(kLocaleFile, c.file);
    EXPECT_EQ(c.locale, applianceUtils::getLocale());
    EXPECT_EQ(c.traced ? Lines{c.traced} : Lines{}, traces(mSink));
  }
}

TEST_F(LocaleTest, SetLocaleAsksTheConfigurationManager) {
  testing::FakeManager manager("configmgr");
  configManager::configManager_setLocale_result answer;
  answer.success = true;
  answer.__isset.success = true;
  manager.reply("setLocale", answer);
  EXPECT_TRUE(applianceUtils::setLocale("de", nullptr));
  auto args = manager.args<configManager::configManager_setLocale_args>("setLocale");
  EXPECT_EQ("de", args.language);
  EXPECT_EQ("", args.country);

  answer.success = false;
  manager.reply("setLocale", answer);
  EXPECT_FALSE(applianceUtils::setLocale("fr", "FR"));
  EXPECT_EQ("FR", manager.args<configManager::configManager_setLocale_args>("setLocale").country);
  EXPECT_TRUE(manager.waitUntilIdle());
  // Down: false, and nothing left open.
  manager.stop();
  int descriptors = testing::openDescriptorCount();
  EXPECT_FALSE(applianceUtils::setLocale("de", "DE"));
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

TEST_F(LocaleTest, SetDefaultLocaleChangesIcuAndLang) {
  EXPECT_TRUE(applianceUtils::setDefaultLocale("de_DE"));
  EXPECT_STREQ("de_DE", getenv("LANG"));
  EXPECT_STREQ("de_DE", icu::Locale::getDefault().getName());
  EXPECT_EQ((Lines{"142 setenv for LANG de_DE", "142 getenv for LANG de_DE"}), traces(mSink));
  // A name ICU cannot hold is refused and changes nothing.
  EXPECT_FALSE(applianceUtils::setDefaultLocale("12345678901234567890"));
  EXPECT_STREQ("de_DE", getenv("LANG"));
  EXPECT_STREQ("de_DE", icu::Locale::getDefault().getName());
  EXPECT_TRUE(traces(mSink).empty());
}

}  // namespace
}  // namespace corvane
