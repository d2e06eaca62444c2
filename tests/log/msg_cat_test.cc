// Message catalogs: lookups, expansion of references with and without arguments, bundle
// prefixes, locale fallback and the "ICU_DATA" variable.

#include "corvane/msg_cat.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace corvane {
namespace {

char const kLocaleFile[] = "/etc/corvane/locale.xml";

std::string utf8(icu::UnicodeString const& text) {
  std::string out;
  text.toUTF8String(out);
  return out;
}

class MsgCatTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    unsetenv("ICU_DATA");
    testing::writeFile(kLocaleFile, nullptr);
  }
  void TearDown() override { testing::writeFile(kLocaleFile, nullptr); }

  // Expands `text` and returns what `out` holds.
  std::string expand(multiCat& catalog, char const* text, int argc = 0,
                     icu::Formattable* args = nullptr, bool* ok = nullptr) {
    char out[1024];
    memset(out, 0, sizeof out);
    bool result = catalog.expand(text, out, sizeof out, argc, args);
    if (ok != nullptr) *ok = result;
    return out;
  }
};

TEST_F(MsgCatTest, ExpandsReferencesAndCopiesLiterals) {
  multiCat catalog("corvane", "en_US");
  icu::Formattable address("10.1.2.3/24");
  icu::Formattable pair[] = {icu::Formattable("fe80::1"), icu::Formattable("10.0.0.0/8")};
  icu::Formattable vlan[] = {icu::Formattable("vlan7"), icu::Formattable("eth0"),
                             icu::Formattable(int32_t{7})};
  struct Case {
    char const* text;
    int argc;
    icu::Formattable* args;
    bool ok;
    char const* out;
  } const cases[] = {
      {"plain text, not a reference", 0, nullptr, true, "plain text, not a reference"},
      {"", 0, nullptr, true, ""},
      {"@kwObjectNotFound", 0, nullptr, true, "The object does not exist."},
      {"@network_validation_invalid_ip_address_cidr_present", 1, &address, true,
       "10.1.2.3/24 must be an address without a prefix length."},
      {"@network_validation_static_route_families_mismatched", 2, pair, true,
       "The gateway fe80::1 does not belong to the same IP family as the destination "
       "10.0.0.0/8."},
      {"@network_validation_vlan_duplicate", 3, vlan, true,
       "The VLAN interface vlan7 duplicates another VLAN on eth0 with the VLAN identifier 7."},
      // Without arguments the pattern is not formatted: braces come out as stored.
      {"@network_validation_invalid_ip_address", 0, nullptr, true,
       "{0} is not a valid IP address."},
      {"@network_validation_invalid_ip_address", 1, nullptr, true,
       "{0} is not a valid IP address."},
      {"@no_such_message", 0, nullptr, false, "Unknown message no_such_message\n"},
      {"@", 0, nullptr, false, "Unknown message \n"},
      {"@corvane:kwUp", 0, nullptr, true, "Up"},
      {"@nosuchbundle:kwUp", 0, nullptr, false, "Unknown message kwUp\n"},
      // An unprefixed reference goes back to the default bundle.
      {"@kwDown", 0, nullptr, true, "Down"},
      {"@corvane:", 0, nullptr, false, "Unknown message \n"},
  };
  for (auto const& c : cases) {
    bool ok = !c.ok;
    EXPECT_EQ(c.out, expand(catalog, c.text, c.argc, c.args, &ok)) << c.text;
    EXPECT_EQ(c.ok, ok) << c.text;
  }
}

TEST_F(MsgCatTest, OutputIsCutToTheBuffer) {
  multiCat catalog("corvane", "");
  char out[16];
  // Literal text: cut to size - 1 and terminated.
  memset(out, '#', sizeof out);
  EXPECT_TRUE(catalog.expand("0123456789", out, 5, 0, nullptr));
  EXPECT_STREQ("0123", out);
  EXPECT_EQ('#', out[5]);
  // Catalog text that fills the buffer: cut there, unterminated, nothing written beyond.
  memset(out, '#', sizeof out);
  EXPECT_TRUE(catalog.expand("@kwEnabled", out, 4, 0, nullptr));
  EXPECT_EQ(0, memcmp(out, "Enab#", 5));
  memset(out, '#', sizeof out);
  EXPECT_TRUE(catalog.expand("@kwEnabled", out, 8, 0, nullptr));
  EXPECT_STREQ("Enabled", out);
  EXPECT_EQ('#', out[8]);
  memset(out, '#', sizeof out);
  EXPECT_FALSE(catalog.expand("@missing_id", out, 10, 0, nullptr));
  EXPECT_STREQ("Unknown m", out);
  EXPECT_EQ('#', out[10]);
}

TEST_F(MsgCatTest, LocalesFallBackToTheRootTexts) {
  icu::Formattable address("300.1.1.1");
  struct Case {
    char const* locale;
    char const* id;
    char const* out;
  } const cases[] = {
      {"de_DE", "@network_validation_invalid_ip_address", "300.1.1.1 ist keine gültige IP-Adresse."},
      {"de_DE", "@kwEnabled", "Aktiviert"},
      {"de_DE", "@kwPendingUp", "Coming up"},  // no German text: root
      {"de_AT", "@kwEnabled", "Enabled"},      // no bundle for de_AT or de: root
      {"fr_FR", "@kwEnabled", "Enabled"},
      {"", "@kwEnabled", "Enabled"},
  };
  for (auto const& c : cases) {
    multiCat catalog("corvane", c.locale);
    EXPECT_EQ(c.out, expand(catalog, c.id, 1, &address)) << c.locale << " " << c.id;
  }
}

TEST_F(MsgCatTest, LookupsReportMissingIdsAsBogus) {
  msgCat catalog("corvane", "en_US");
  EXPECT_EQ("Up", utf8(catalog.get("kwUp")));
  EXPECT_TRUE(catalog.get("no_such_id").isBogus());
  EXPECT_TRUE(catalog.get("").isBogus());
  EXPECT_TRUE(catalog.get(nullptr).isBogus());

  msgCat missing("nosuchbundle", "en_US");
  EXPECT_TRUE(missing.get("kwUp").isBogus());
  msgCat tooLong("corvane", "xx_YY_" + std::string(200, 'Z'));
  EXPECT_TRUE(tooLong.get("kwUp").isBogus());
}

TEST_F(MsgCatTest, IcuDataIsSetOnlyWhileABundleOpens) {
  ASSERT_EQ(nullptr, getenv("ICU_DATA"));
  { msgCat catalog("corvane", "en_US"); }
  EXPECT_EQ(nullptr, getenv("ICU_DATA"));
  { multiCat catalog("corvane", "de_DE"); }
  EXPECT_EQ(nullptr, getenv("ICU_DATA"));

  setenv("ICU_DATA", "/resource", 1);
  { msgCat catalog("corvane", "en_US"); }
  EXPECT_STREQ("/resource", getenv("ICU_DATA"));
  setenv("ICU_DATA", "/elsewhere", 1);
  { msgCat catalog("corvane", "en_US"); }
  EXPECT_STREQ("/elsewhere", getenv("ICU_DATA"));
}

TEST_F(MsgCatTest, ErrorStringsFollowTheDeviceLocale) {
  icu::Formattable name("eth9");
  EXPECT_EQ("The ethernet interface eth9 does not exist.",
            getErrorString("@network_validation_interface_not_found", 1, &name));
  // Unknown ids come back as the reference itself, not as the "Unknown message" text.
  EXPECT_EQ("@network_validation_no_such_id", getErrorString("@network_validation_no_such_id"));
  EXPECT_EQ("@other:kwUp", getErrorString("@other:kwUp"));
  EXPECT_EQ("literal", getErrorString("literal"));
  EXPECT_EQ("", getErrorString(nullptr));

  testing::writeFile(kLocaleFile,
                     "<locale><language>de</language><country>DE</country></locale>");
  icu::Formattable pair[] = {icu::Formattable("10.0.0.1"), icu::Formattable("eth1")};
  EXPECT_EQ("Die IP-Adresse 10.0.0.1 ist bereits der Schnittstelle eth1 zugewiesen.",
            getErrorString("@network_validation_invalid_ip_address_already_exists", 2, pair));
  EXPECT_EQ("Coming up", getErrorString("@kwPendingUp"));
  EXPECT_EQ(nullptr, getenv("ICU_DATA"));
}

}  // namespace
}  // namespace corvane
