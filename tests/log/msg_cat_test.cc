// Message catalogs: expansion of references with and without arguments, bundle prefixes,
// locale fallback, the device locale and the "ICU_DATA" variable.

#include "corvane/msg_cat.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace corvane {
namespace {

char const kLocaleFile[] = "/etc/corvane/locale.xml";

class MsgCatTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    unsetenv("ICU_DATA");
    testing::writeFile(kLocaleFile, nullptr);
  }
  void TearDown() override { testing::writeFile(kLocaleFile, nullptr); }
};

TEST_F(MsgCatTest, ExpandsReferencesAndCopiesLiterals) {
  icu::Formattable one("10.1.2.3/24");
  icu::Formattable three[] = {icu::Formattable("vlan7"), icu::Formattable("eth0"),
                              icu::Formattable(int32_t{7})};
  struct {
    char const* text;
    int argc;
    icu::Formattable* args;
    bool ok;
    char const* out;
  } const cases[] = {
      {"plain text", 0, nullptr, true, "plain text"},
      {"@kwObjectNotFound", 0, nullptr, true, "The object does not exist."},
      {"@network_validation_invalid_ip_address_cidr_present", 1, &one, true,
       "10.1.2.3/24 must be an address without a prefix length."},
      {"@network_validation_vlan_duplicate", 3, three, true,
       "The VLAN interface vlan7 duplicates another VLAN on eth0 with the VLAN identifier 7."},
      // Without arguments the pattern is not formatted: braces come out as stored.
      {"@network_validation_invalid_ip_address", 0, &one, true, "{0} is not a valid IP address."},
      {"@no_such_message", 0, nullptr, false, "Unknown message no_such_message\n"},
      {"@corvane:kwUp", 0, nullptr, true, "Up"},
      {"@nosuchbundle:kwUp", 0, nullptr, false, "Unknown message kwUp\n"},
      {"@kwDown", 0, nullptr, true, "Down"},  // back to the default bundle
  };
  multiCat catalog("corvane", "en_US");
  for (auto const& c : cases) {
    char out[1024] = {};
    EXPECT_EQ(c.ok, catalog.expand(c.text, out, sizeof out, c.argc, c.args)) << c.text;
    EXPECT_STREQ(c.out, out) << c.text;
  }
}

TEST_F(MsgCatTest, OutputIsCutToTheBuffer) {
  multiCat catalog("corvane", "");
  char out[16];
  memset(out, '#', sizeof out);
  EXPECT_TRUE(catalog.expand("0123456789", out, 5, 0, nullptr));
  EXPECT_EQ(0, memcmp(out, "0123\0#", 6)) << "literals are cut and terminated";
  memset(out, '#', sizeof out);
  EXPECT_TRUE(catalog.expand("@kwEnabled", out, 4, 0, nullptr));
  EXPECT_EQ(0, memcmp(out, "Enab#", 5)) << "a text that fills the buffer is not terminated";
  memset(out, '#', sizeof out);
  EXPECT_FALSE(catalog.expand("@missing_id", out, 10, 0, nullptr));
  EXPECT_EQ(0, memcmp(out, "Unknown m\0#", 11));
}

TEST_F(MsgCatTest, LocalesFallBackToTheRootTexts) {
  icu::Formattable address("300.1.1.1");
  struct {
    char const* locale;
    char const* id;
    char const* out;
  } const cases[] = {
      {"de_DE", "@network_validation_invalid_ip_address", "300.1.1.1 ist keine gültige IP-Adresse."},
      {"de_DE", "@kwPendingUp", "Coming up"},  // no German text
      {"de_AT", "@kwEnabled", "Enabled"},      // no bundle for de_AT or de
      {"", "@kwEnabled", "Enabled"},
  };
  for (auto const& c : cases) {
    multiCat catalog("corvane", c.locale);
    char out[1024] = {};
    EXPECT_TRUE(catalog.expand(c.id, out, sizeof out, 1, &address));
    EXPECT_STREQ(c.out, out) << c.locale << " " << c.id;
  }
  EXPECT_TRUE(msgCat("corvane", "en_US").get("no_such_id").isBogus());
  EXPECT_TRUE(msgCat("nosuchbundle", "en_US").get("kwUp").isBogus());
  // A name ICU calls bogus opens the bundle in the default locale; one it cannot open at all
  // gives an empty catalog.
  EXPECT_FALSE(msgCat("corvane", "12345678901234567890").get("kwUp").isBogus());
  EXPECT_TRUE(msgCat("corvane", "xx_YY_" + std::string(200, 'Z')).get("kwUp").isBogus());
}

TEST_F(MsgCatTest, ErrorStringsFollowTheDeviceLocaleAndLeaveIcuDataAlone) {
  icu::Formattable name("eth9");
  EXPECT_EQ("The ethernet interface eth9 does not exist.",
            getErrorString("@network_validation_interface_not_found", 1, &name));
  // Unknown ids come back as the reference itself, not as the "Unknown message" text.
  EXPECT_EQ("@network_validation_no_such_id", getErrorString("@network_validation_no_such_id"));
  EXPECT_EQ("literal", getErrorString("literal"));
  EXPECT_EQ(nullptr, getenv("ICU_DATA"));

  testing::writeFile(kLocaleFile, "<locale><language>de</language><country>DE</country></locale>");
  icu::Formattable pair[] = {icu::Formattable("10.0.0.1"), icu::Formattable("eth1")};
  EXPECT_EQ("Die IP-Adresse 10.0.0.1 ist bereits der Schnittstelle eth1 zugewiesen.",
            getErrorString("@network_validation_invalid_ip_address_already_exists", 2, pair));
  EXPECT_EQ(nullptr, getenv("ICU_DATA"));

  setenv("ICU_DATA", "/elsewhere", 1);
  { msgCat catalog("corvane", "en_US"); }
  EXPECT_STREQ("/elsewhere", getenv("ICU_DATA"));
}

}  // namespace
}  // namespace corvane
