// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Interface records against fake configuration and network managers: the typed readers,
// records read from realistic objects, the object each record writes (or that nothing is
// written), status records, the pass-throughs and the answers of managers that are down.

#include "corvane/ethernet_interfaces.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <corvane/idl/configManager.h>
#include <corvane/idl/networkManager.h>
#include "corvane/config_value.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using config::ArrayValue;
using config::SimpleValue;
using config::StructValue;
using config::Value;
using types::KeyValPair;
using E = ethernetInterfaces;
namespace cm = ::configManager;
namespace nm = ::networkManager;

Value* S(char const* text) { return new SimpleValue(text); }
StructValue* St(std::initializer_list<std::pair<char const*, Value*>> members) {
  auto s = new StructValue();
  for (auto const& m : members) s->insert(m.first, m.second);
  return s;
}
Value* Ar(std::initializer_list<Value*> elements) {
  auto a = new ArrayValue();
  for (Value* e : elements) a->append(e);
  return a;
}
template <class Args>
std::string where(Args const& a) {
  return a.domain + "|" + a.objectType + "|" + a.objectName;
}
StructValue* ipOf(StructValue& o) { return static_cast<StructValue*>(o.find("ip")); }

// eth0 with one address of each family and both gateways.
std::unique_ptr<StructValue> eth0() {
  return std::unique_ptr<StructValue>(St(
      {{"name", S("eth0")},
       {"AdminState", S("Enabled")},
       {"mtu", S("9000")},
       {"use-arp", S("true")},
       {"mode", S("1000baseTx-FD")},
       {"userdata", S("rack 4")},
       {"ip", St({{"address", Ar({S("10.0.0.5/24"), S("fd00::5/64"), S("10.0.0.6/24")})},
                  {"ipv4-default-gateway", St({{"gateway", S("10.0.0.1")}, {"metric", S("10")}})},
                  {"ipv6-default-gateway", St({{"gateway", S("fd00::1")}})},
                  {"use-slaac", S("false")},
                  {"dad-transmits", S("2")},
                  {"dad-retransmit-timer", S("900")}})}}));
}

class EthernetInterfacesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox());
    log::setLogLevel(7);
  }
  void serve(Value const* object, int code = 0) {
    cm::configManager_queryObject_result r;
    if (object != nullptr) object->asThrift(r.success.values, "eth0");
    r.success.code = code, r.__isset.success = true;
    mCm.reply("queryObject", r);
  }
  // The object of the last update, as XML; empty when nothing was written.
  std::string written() {
    if (mCm.calls("updateObject").empty()) return "";
    auto args = mCm.args<cm::configManager_updateObject_args>("updateObject");
    EXPECT_EQ("default|ethernet-interface|eth0|1",
              where(args) + "|" + std::to_string(args.forceValidation));
    std::unique_ptr<Value> v(Value::parseThrift(args.value));
    return v ? v->asXML() : "(null)";
  }
  bool logged(std::string const& text) {
    for (auto const& line : mSink.drain(50))
      if (line.find(text) != std::string::npos) return true;
    return false;
  }
  testing::FakeManager mCm{"configmgr"};
  testing::FakeManager mNet{"networkmgr"};
  testing::SyslogSink mSink;
};

TEST(KeyValPairTest, ReadersKeepTheirOwnFailureRules) {
  KeyValPair r{{"i", "42"},   {"neg", "-7"}, {"big", "99999999999999999999"},
               {"x", "12a"},  {"e", ""},     {"d", "2.5"},
               {"T", "TRUE"}, {"f", "fAlse"}};
  struct Case {
    char const* key;
    bool intOk;
    int intValue;
    bool doubleOk;
    double doubleValue;
    bool boolOk;
    bool boolValue;  // starts true; unchanged on failure
  } const cases[] = {
      // clang-format off
      {"i", true, 42, true, 42.0, false, true},   {"neg", true, -7, true, -7.0, false, true},
      {"big", false, 0, true, 1e20, false, true}, {"x", false, 0, false, 0.0, false, true},
      {"e", false, 0, true, 0.0, false, true},    {"d", false, 0, true, 2.5, false, true},
      {"T", false, 0, false, 0.0, true, true},    {"f", false, 0, false, 0.0, true, false},
      {"absent", false, 0, false, 0.0, false, true},
      // clang-format on
  };
  for (Case const& c : cases) {
    int i = 5;
    double d = 5.0;
    bool b = true;
    EXPECT_EQ(c.intOk, r.getInt(c.key, i)) << c.key;
    EXPECT_EQ(c.intValue, i) << c.key;
    EXPECT_EQ(c.doubleOk, r.getDouble(c.key, d)) << c.key;
    EXPECT_DOUBLE_EQ(c.doubleValue, d) << c.key;
    EXPECT_EQ(c.boolOk, r.getBool(c.key, b)) << c.key;
    EXPECT_EQ(c.boolValue, b) << c.key;
  }
  char const* text = "kept";
  EXPECT_FALSE(r.getString("absent", text));
  EXPECT_STREQ("kept", text);
  EXPECT_TRUE(r.getString("d", text));
  EXPECT_EQ(r.at("d").c_str(), text);  // points into the record
  EXPECT_EQ(nullptr, r.findValue("absent"));
}

TEST_F(EthernetInterfacesTest, ReadsTheFlatRecord) {
  auto object = eth0();
  serve(object.get());
  std::unique_ptr<KeyValPair> r(E::getInterface("eth0"));
  ASSERT_NE(nullptr, r);
  // clang-format off
  EXPECT_EQ((KeyValPair{{"name", "eth0"}, {"userdata", "rack 4"}, {"enabled", "true"},
                        {"DefaultGateway", "10.0.0.1"}, {"IPv4GwMetric", "10"},
                        {"IPAddress", "10.0.0.5/24"}, {"MTU", "9000"}, {"UseARP", "true"},
                        {"UseDHCP", "false"}, {"Mode", "1000baseTx-FD"},
                        {"IPv6Address", "fd00::5/64"}, {"DefaultIPv6Gateway", "fd00::1"},
                        {"UseIPv6", "true"}, {"UseSLAAC", "false"}, {"DADTransmits", "2"},
                        {"DADRetransmitTimer", "900"}}),
            *r);
  // clang-format on
  EXPECT_EQ("default|ethernet-interface|eth0",
            where(mCm.args<cm::configManager_queryObject_args>("queryObject")));
  // Without IPv6, gateways and "mode"; "disabled" state; a non-text address entry.
  object->insert("AdminState", S("Disabled"));
  object->insert("mode", nullptr);
  ipOf(*object)->insert("address", Ar({Ar({}), S("10.0.0.7/8")}));
  ipOf(*object)->insert("ipv4-default-gateway", nullptr);
  ipOf(*object)->insert("ipv6-default-gateway", nullptr);
  serve(object.get());
  mSink.drain(50);
  r.reset(E::getInterface("eth0"));
  ASSERT_NE(nullptr, r);
  EXPECT_EQ("false|false|10.0.0.7/8|0|0|0", r->at("enabled") + "|" + r->at("UseIPv6") + "|" +
                                                r->at("IPAddress") + "|" +
                                                std::to_string(r->count("Mode")) + "|" +
                                                std::to_string(r->count("DefaultGateway")) + "|" +
                                                std::to_string(r->count("IPv6Address")));
  EXPECT_TRUE(logged("Find for address failed, abort!"));
  // No "ip" structure, no object, a failed query: nothing.
  object->insert("ip", nullptr);
  serve(object.get());
  EXPECT_EQ(nullptr, E::getInterface("eth0"));
  serve(nullptr, 5);
  EXPECT_EQ(nullptr, E::getInterface("eth0"));
}

TEST_F(EthernetInterfacesTest, WritesEachKeyOnceAtTheEndOrNothing) {
  using Edit = std::function<void(StructValue&)>;
  struct Case {
    KeyValPair record;
    int rc;
    Edit expected;  // applied to eth0; null: nothing is written
    char const* line;
  } const cases[] = {
      // clang-format off
      {{{"name", "eth0"}, {"IPAddress", "192.168.1.9/24"}}, 0,
       [](StructValue& o) {
         ipOf(o)->insert("address", Ar({S("fd00::5/64"), S("192.168.1.9/24")}));
       },
       "Pulled fd00::5/64 out tmp and back into main"},
      {{{"name", "eth0"}, {"IPv6Address", ""}, {"UseIPv6", "false"}, {"bogus", "x"}}, 0,
       [](StructValue& o) { ipOf(o)->insert("address", Ar({S("10.0.0.5/24"), S("10.0.0.6/24")})); },
       "Pulled fd00::5/64 out of the IPAddress Array"},
      {{{"name", "eth0"}, {"DefaultGateway", ""}, {"DefaultIPv6Gateway", "fd00::fe"},
        {"IPv6GwMetric", "3"}}, 0,
       [](StructValue& o) {
         ipOf(o)->insert("ipv4-default-gateway", nullptr);
         ipOf(o)->insert("ipv6-default-gateway",
                         St({{"gateway", S("fd00::fe")}, {"metric", S("3")}}));
       },
       "Removing ipv4Gateway struct from ip struct"},
      {{{"name", "eth0"}, {"IPv4GwMetric", ""}, {"enabled", "false"}, {"userdata", ""}}, 0,
       [](StructValue& o) {
         auto* gateway = static_cast<StructValue*>(ipOf(o)->find("ipv4-default-gateway"));
         gateway->insert("metric", nullptr);
         o.insert("AdminState", S("Disabled")), o.insert("userdata", nullptr);
       },
       "Removing userdata from configStruct"},
      {{{"name", "eth0"}, {"MTU", ""}, {"UseARP", ""}, {"Mode", ""}, {"UseSLAAC", ""},
        {"DADTransmits", ""}, {"DADRetransmitTimer", ""}, {"UseDHCP", "false"}}, 0,
       [](StructValue& o) {
         o.insert("mtu", S("1500")), o.insert("use-arp", S("true")), o.insert("mode", S("Auto"));
         ipOf(o)->insert("use-slaac", S("false")), ipOf(o)->insert("dad-transmits", S("1"));
         ipOf(o)->insert("dad-retransmit-timer", S("1000"));
       },
       "Updating value from: 9000 to: 1500"},
      {{{"name", "eth0"}, {"MTU", "1400"}, {"enabled", "yes"}}, -1, nullptr,
       "Enabled must be true or false"},
      {{{"name", "eth0"}, {"UseDHCP", "true"}}, -1, nullptr, "Cannot set DHCP via netif commands"},
      {{{"MTU", "1400"}}, -1, nullptr, "No interface name specified"},
      // clang-format on
  };
  for (Case const& c : cases) {
    mCm.reset(), mSink.drain(50);
    auto object = eth0();
    serve(object.get());
    KeyValPair record = c.record;
    EXPECT_EQ(c.rc, E::setInterface(record)) << c.line;
    if (c.expected) c.expected(*object);
    EXPECT_EQ(c.expected ? object->asXML() : "", written()) << c.line;
    EXPECT_TRUE(logged(c.line)) << c.line;
  }
  // A read record written back unchanged gives the same object (one address per family).
  auto object = eth0();
  ipOf(*object)->insert("address", Ar({S("10.0.0.5/24"), S("fd00::5/64")}));
  mCm.reset();
  serve(object.get());
  std::unique_ptr<KeyValPair> r(E::getInterface("eth0"));
  ASSERT_NE(nullptr, r);
  EXPECT_EQ(0, E::setInterface(*r));
  EXPECT_EQ(object->asXML(), written());
  // The manager's verdicts on the write.
  cm::configManager_updateObject_result change, invalid, code;
  change.e.rc = 7, change.e.messageID = "@mtu", change.__isset.e = true;
  invalid.ve.errorString = "@bad", invalid.ve.errorField = "mtu", invalid.__isset.ve = true;
  code.success = 5, code.__isset.success = true;
  std::pair<cm::configManager_updateObject_result*, int> const verdicts[] = {
      {&change, 7}, {&invalid, -1}, {&code, -1}};
  for (auto const& v : verdicts) {
    mCm.reply("updateObject", *v.first);
    EXPECT_EQ(v.second, E::setInterface(*r));
  }
  EXPECT_TRUE(logged("caught ConfigChangeException, rc:7, msgid:@mtu"));
  serve(nullptr, 5);
  EXPECT_EQ(-1, E::setInterface(*r));
  EXPECT_TRUE(logged("Couldn't find Interface eth0"));
}

TEST_F(EthernetInterfacesTest, StatusesListsAndPassThroughs) {
  nm::NetifStatus st;
  st.success = true, st.enabled = false, st.linked = true;
  st.status = {{{"speed", "1000"}, {"duplex", "full"}}, {}};
  nm::networkManager_getInterfaceStatus_result sr;
  sr.success = st, sr.__isset.success = true;
  for (char const* m : {"getInterfaceStatus", "getVLANStatus", "getAggregateStatus"})
    mNet.reply(m, sr);
  cm::configManager_getNamesofObject_result names;
  names.success.objectNames = {"eth0", "eth1"}, names.__isset.success = true;
  mCm.reply("getNamesofObject", names);
  nm::networkManager_addVIPToInterface_result vip;
  vip.success = 17, vip.__isset.success = true;
  for (char const* m :
       {"addVIPToInterface", "removeVIPFromInterface", "addVIPToLoopback", "removeVIPFromLoopback",
        "setHWAddressImmediate", "resetHWAddressImmediate"})
    mNet.reply(m, vip);
  struct {
    std::function<std::vector<InterfaceStatus*>*()> get;
    char const *method, *type;
  } const lists[] = {{E::getInterfaceStatuses, "getInterfaceStatus", "ethernet-interface"},
                     {E::getVLANStatuses, "getVLANStatus", "vlan-interface"},
                     {E::getAggregateStatuses, "getAggregateStatus", "aggregate-interface"}};
  for (auto const& l : lists) {
    std::vector<InterfaceStatus*>* all = l.get();
    ASSERT_NE(nullptr, all);
    ASSERT_EQ(2u, all->size());
    InterfaceStatus const& s = *(*all)[1];
    EXPECT_EQ("eth1|1|0|1|2|full",
              s.mName + "|" + std::to_string(s.mSuccess) + "|" + std::to_string(s.mEnabled) + "|" +
                  std::to_string(s.mLinked) + "|" + std::to_string(s.mStatus.size()) + "|" +
                  s.mStatus[0].at("duplex"));
    EXPECT_EQ(l.type,
              mCm.args<cm::configManager_getNamesofObject_args>("getNamesofObject").objectType);
    EXPECT_EQ(2u, mNet.calls(l.method).size());
    E::delInterfaceStatuses(all);
  }
  std::function<int()> const passes[] = {
      [] { return E::addVIPToInterface("eth0", "10.1.1.1/32"); },
      [] { return E::removeVIPFromInterface("eth0", "10.1.1.1/32"); },
      [] { return E::addVIPToLoopback("10.1.1.2/32"); },
      [] { return E::removeVIPFromLoopback("10.1.1.2/32"); },
      [] { return E::setHWAddressImmediate("eth0", "02:00:00:00:00:01"); },
      [] { return E::resetHWAddressImmediate("eth0"); }};
  for (auto const& p : passes) EXPECT_EQ(17, p());
  EXPECT_EQ("eth0|02:00:00:00:00:01", [&] {
    auto a = mNet.args<nm::networkManager_setHWAddressImmediate_args>("setHWAddressImmediate");
    return a.interfaceName + "|" + a.hwAddress;
  }());

  // Managers down: every operation gives its neutral answer quickly.
  mCm.stop(), mNet.stop();
  KeyValPair record{{"name", "eth0"}, {"MTU", "1400"}};
  std::vector<KeyValPair*> records;
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(nullptr, E::getInterface("eth0"));
  E::getInterfaces(records);
  EXPECT_TRUE(records.empty());
  EXPECT_EQ(nullptr, E::getInterfaceNames());
  EXPECT_EQ(-1, E::setInterface(record));
  EXPECT_EQ(-1, E::clearInterface("eth0"));
  EXPECT_EQ(nullptr, E::getInterfaceStatus("eth0"));
  EXPECT_EQ(nullptr, E::getVLANStatus("v1"));
  EXPECT_EQ(nullptr, E::getAggregateStatus("a1"));
  for (auto const& l : lists) EXPECT_EQ(nullptr, l.get());
  for (auto const& p : passes) EXPECT_EQ(0, p());
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 2.0);
}

TEST_F(EthernetInterfacesTest, ClearResetsAndListReadsEveryName) {
  cm::configManager_resetObject_result reset;
  reset.success = 0, reset.__isset.success = true;
  mCm.reply("resetObject", reset);
  EXPECT_EQ(0, E::clearInterface("eth0"));
  EXPECT_EQ("default|ethernet-interface|eth0",
            where(mCm.args<cm::configManager_resetObject_args>("resetObject")));
  reset.success = 5;
  mCm.reply("resetObject", reset);
  EXPECT_EQ(-1, E::clearInterface("eth0"));
  EXPECT_TRUE(logged("Call to reset object failed RC: 5"));

  cm::configManager_getNamesofObject_result names;
  names.success.objectNames = {"eth0", "gone"}, names.__isset.success = true;
  mCm.reply("getNamesofObject", names);
  auto object = eth0();
  serve(object.get());
  std::vector<KeyValPair*> records;
  E::getInterfaces(records);  // the fake answers every name with eth0's object
  ASSERT_EQ(2u, records.size());
  EXPECT_EQ("eth0", records[1]->at("name"));
  E::delInterfaces(records);
  EXPECT_TRUE(records.empty());
}

}  // namespace
}  // namespace corvane
