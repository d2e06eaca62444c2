// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Message catalogs: references with and without arguments, bundle prefixes, locale fallback,
// cutting to the buffer, the device locale and the "ICU_DATA" variable.

#include "corvane/msg_cat.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace corvane {
namespace {

TEST(MsgCatTest, ExpandsReferencesAndFallsBackToTheRootTexts) {
  ASSERT_TRUE(testing::inSandbox()) << "run through sandbox/corvane-sandbox";
  icu::Formattable address("300.1.1.1");
  // (locale: a new catalog whenever it changes, text, argument count, expansion); expand
  // answers false exactly for the "Unknown message" texts.
  std::tuple<char const*, char const*, int, char const*> const cases[] = {
      // Without arguments the pattern is not formatted: braces come out as stored.
      {"en_US", "@network_validation_invalid_ip_address", 0, "{0} is not a valid IP address."},
      {"en_US", "@nosuchbundle:kwUp", 0, "Unknown message kwUp\n"},
      {"en_US", "@kwDown", 0, "Down"},  // back to the default bundle
      {"de_DE", "@network_validation_invalid_ip_address", 1,
       "300.1.1.1 ist keine gültige IP-Adresse."},
      {"de_DE", "@kwPendingUp", 1, "Coming up"},        // no German text
      {"de_DE", "@corvane:kwEnabled", 0, "Aktiviert"},  // reopened in the same locale
      {"de_AT", "@kwEnabled", 1, "Enabled"}};           // no bundle for de_AT or de
  std::unique_ptr<multiCat> catalog;
  std::string opened;
  for (auto const& [locale, text, argc, expected] : cases) {
    if (catalog == nullptr || opened != locale)
      catalog.reset(new multiCat("corvane", opened = locale));
    char out[1024] = {};
    bool ok = strncmp(expected, "Unknown message", 15) != 0;
    EXPECT_EQ(ok, catalog->expand(text, out, sizeof out, argc, &address)) << text;
    EXPECT_STREQ(expected, out) << locale << " " << text;
  }
  // A locale name ICU cannot open at all gives an empty catalog.
  EXPECT_TRUE(msgCat("corvane", "xx_YY_" + std::string(200, 'Z')).get("kwUp").isBogus());
}

TEST(MsgCatTest, OutputIsCutToTheBuffer) {
  multiCat catalog("corvane", "");
  char out[16];
  memset(out, '#', sizeof out);
  EXPECT_TRUE(catalog.expand("@kwEnabled", out, 4, 0, nullptr));
  EXPECT_EQ(0, memcmp(out, "Enab#", 5)) << "a text that fills the buffer is not terminated";
  EXPECT_TRUE(catalog.expand("0123456789", out, 5, 0, nullptr));
  EXPECT_EQ(0, memcmp(out, "0123\0#", 6)) << "literals are cut and terminated";
  EXPECT_FALSE(catalog.expand("@missing_id", out, 10, 0, nullptr));
  EXPECT_EQ(0, memcmp(out, "Unknown m\0#", 11));
}

TEST(MsgCatTest, ErrorStringsFollowTheDeviceLocaleAndLeaveIcuDataAlone) {
  unsetenv("ICU_DATA");
  icu::Formattable pair[] = {icu::Formattable("10.0.0.1"), icu::Formattable("eth1")};
  EXPECT_EQ("The IP address 10.0.0.1 is already assigned to the interface eth1.",
            getErrorString("@network_validation_invalid_ip_address_already_exists", 2, pair));
  // Unknown ids come back as the reference itself, not as the "Unknown message" text.
  EXPECT_EQ("@network_validation_no_such_id", getErrorString("@network_validation_no_such_id"));
  EXPECT_EQ(nullptr, getenv("ICU_DATA"));
  testing::writeFile("/etc/corvane/locale.xml",
                     "<locale><language>de</language><country>DE</country></locale>");
  EXPECT_EQ("Die IP-Adresse 10.0.0.1 ist bereits der Schnittstelle eth1 zugewiesen.",
            getErrorString("@network_validation_invalid_ip_address_already_exists", 2, pair));
  setenv("ICU_DATA", "/elsewhere", 1);
  { msgCat catalog("corvane", "en_US"); }
  EXPECT_STREQ("/elsewhere", getenv("ICU_DATA"));
  unsetenv("ICU_DATA");
}

}  // namespace
}  // namespace corvane
