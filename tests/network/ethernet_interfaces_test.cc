// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Interface records and statuses against fake configuration and network managers.

#include "corvane/ethernet_interfaces.h"

#include <chrono>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <corvane/idl/configManager.h>
#include <corvane/idl/networkManager.h>
#include "net_test_util.h"

namespace corvane {
namespace {

using config::StructValue;
using config::Value;
using testing::array;
using testing::record;
using types::KeyValPair;
using E = ethernetInterfaces;
namespace cm = ::configManager;
namespace nm = ::networkManager;

template <class Args>
std::string where(Args const& a) {
  return a.domain + "|" + a.objectType + "|" + a.objectName;
}
StructValue* ipOf(StructValue& o) { return static_cast<StructValue*>(o.find("ip")); }

// eth0 with one address of each family and both gateways.
std::unique_ptr<StructValue> eth0() {
  // clang-format off
  std::unique_ptr<StructValue> o(record({{"name", "eth0"}, {"AdminState", "Enabled"},
      {"mtu", "9000"}, {"use-arp", "true"}, {"mode", "1000baseTx-FD"}, {"userdata", "rack 4"}}));
  auto* ip = record({{"use-slaac", "false"}, {"dad-transmits", "2"}, {"dad-retransmit-timer", "900"}});
  // clang-format on
  ip->insert("address", array({"10.0.0.5/24", "fd00::5/64", "10.0.0.6/24"}));
  ip->insert("ipv4-default-gateway", record({{"gateway", "10.0.0.1"}, {"metric", "10"}}));
  ip->insert("ipv6-default-gateway", record({{"gateway", "fd00::1"}}));
  o->insert("ip", ip);
  return o;
}

class EthernetInterfacesTest : public testing::NetTest {
 protected:
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
  testing::FakeManager mCm{"configmgr"};
  testing::FakeManager mNet{"networkmgr"};
};

// Each reader's verdict and value, starting from 5, 5 and true: "int ok, int, double ok,
// double, bool ok, bool".
TEST(KeyValPairTest, ReadersKeepTheirOwnFailureRules) {
  KeyValPair r{{"i", "42"},   {"big", "99999999999999999999"},
               {"x", "12a"},  {"e", ""},
               {"d", "2.5"},  {"T", "TRUE"},
               {"f", "fAlse"}};
  std::pair<char const*, char const*> const cases[] = {
      {"i", "1 42 1 42 0 1"}, {"big", "0 0 1 1e+20 0 1"}, {"x", "0 0 0 0 0 1"},
      {"e", "0 0 1 0 0 1"},   {"d", "0 0 1 2.5 0 1"},     {"T", "0 0 0 0 1 1"},
      {"f", "0 0 0 0 1 0"},   {"absent", "0 0 0 0 0 1"}};
  for (auto const& c : cases) {
    int i = 5;
    double d = 5.0;
    bool b = true;
    std::ostringstream got;
    got << r.getInt(c.first, i) << " " << i << " " << r.getDouble(c.first, d) << " " << d << " "
        << r.getBool(c.first, b) << " " << b;
    EXPECT_EQ(c.second, got.str()) << c.first;
  }
  char const* text = "kept";
  EXPECT_TRUE(!r.getString("absent", text) && r.getString("d", text));
  EXPECT_EQ(r.at("d").c_str(), text);  // points into the record
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
  // Without IPv6, gateways and "mode"; lower-case state; a non-text address entry.
  object->insert("mode", nullptr);
  object->insert("AdminState", testing::simple("enabled"));
  auto* addresses = array({"10.0.0.7/8"});
  addresses->append(new config::ArrayValue());
  ipOf(*object)->insert("address", addresses);
  ipOf(*object)->insert("ipv4-default-gateway", nullptr);
  ipOf(*object)->insert("ipv6-default-gateway", nullptr);
  serve(object.get());
  r.reset(E::getInterface("eth0"));
  ASSERT_NE(nullptr, r);
  EXPECT_EQ("true|false|10.0.0.7/8|11", r->at("enabled") + "|" + r->at("UseIPv6") + "|" +
                                            r->at("IPAddress") + "|" + std::to_string(r->size()));
  EXPECT_TRUE(logged("Find for address failed, abort!"));
  // No "ip" structure, a failed query: nothing.
  object->insert("ip", nullptr);
  serve(object.get());
  EXPECT_EQ(nullptr, E::getInterface("eth0"));
  serve(nullptr, 5);
  EXPECT_EQ(nullptr, E::getInterface("eth0"));
}

TEST_F(EthernetInterfacesTest, WritesEachKeyOnceAtTheEndOrNothing) {
  struct Case {
    KeyValPair record;
    int rc;
    std::function<void(StructValue&)> expected;  // applied to eth0; null: nothing is written
    char const* line;
  } const cases[] = {
      // clang-format off
      {{{"name", "eth0"}, {"IPAddress", "192.168.1.9/24"}}, 0,
       [](StructValue& o) { ipOf(o)->insert("address", array({"fd00::5/64", "192.168.1.9/24"})); },
       "Pulled fd00::5/64 out tmp and back into main"},
      {{{"name", "eth0"}, {"IPv6Address", ""}, {"UseIPv6", "false"}, {"bogus", "x"}}, 0,
       [](StructValue& o) { ipOf(o)->insert("address", array({"10.0.0.5/24", "10.0.0.6/24"})); },
       "Pulled fd00::5/64 out of the IPAddress Array"},
      {{{"name", "eth0"}, {"DefaultGateway", ""}, {"DefaultIPv6Gateway", "fd00::fe"},
        {"IPv6GwMetric", "3"}}, 0,
       [](StructValue& o) {
         ipOf(o)->insert("ipv4-default-gateway", nullptr);
         ipOf(o)->insert("ipv6-default-gateway", record({{"gateway", "fd00::fe"}, {"metric", "3"}}));
       },
       "Removing ipv4Gateway struct from ip struct"},
      {{{"name", "eth0"}, {"IPv4GwMetric", ""}, {"enabled", "false"}, {"userdata", ""}}, 0,
       [](StructValue& o) {
         ipOf(o)->insert("ipv4-default-gateway", record({{"gateway", "10.0.0.1"}}));
         o.insert("AdminState", testing::simple("Disabled")), o.insert("userdata", nullptr);
       },
       "Removing userdata from configStruct"},
      {{{"name", "eth0"}, {"MTU", ""}, {"UseARP", ""}, {"Mode", ""}, {"UseSLAAC", ""},
        {"DADTransmits", ""}, {"DADRetransmitTimer", ""}, {"UseDHCP", "false"}}, 0,
       [](StructValue& o) {
         o.insert("mtu", testing::simple("1500")), o.insert("mode", testing::simple("Auto"));
         ipOf(o)->insert("dad-transmits", testing::simple("1"));
         ipOf(o)->insert("dad-retransmit-timer", testing::simple("1000"));
       },
       "Updating value from: 9000 to: 1500"},
      {{{"name", "eth0"}, {"MTU", "1400"}, {"enabled", "yes"}}, -1, nullptr,
       "Enabled must be true or false"},
      {{{"name", "eth0"}, {"UseDHCP", "true"}}, -1, nullptr, "Cannot set DHCP via netif commands"},
      {{{"MTU", "1400"}}, -1, nullptr, "No interface name specified"},
      // clang-format on
  };
  for (Case const& c : cases) {
    mCm.reset(), traces();
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
  ipOf(*object)->insert("address", array({"10.0.0.5/24", "fd00::5/64"}));
  mCm.reset();
  serve(object.get());
  std::unique_ptr<KeyValPair> r(E::getInterface("eth0"));
  ASSERT_NE(nullptr, r);
  EXPECT_EQ(0, E::setInterface(*r));
  EXPECT_EQ(object->asXML(), written());
  // The manager's verdicts on the write, and an interface it does not know.
  cm::configManager_updateObject_result change, invalid;
  change.e.rc = 7, change.e.messageID = "@mtu", change.__isset.e = true;
  invalid.ve.errorString = "@bad", invalid.ve.errorField = "mtu", invalid.__isset.ve = true;
  mCm.reply("updateObject", change);
  EXPECT_EQ(7, E::setInterface(*r));
  mCm.reply("updateObject", invalid);
  EXPECT_EQ(-1, E::setInterface(*r));
  invalid.__isset.ve = false, invalid.success = 5, invalid.__isset.success = true;
  mCm.reply("updateObject", invalid);
  EXPECT_EQ(-1, E::setInterface(*r));

  EXPECT_TRUE(logged("caught ConfigChangeException, rc:7, msgid:@mtu"));
  serve(nullptr, 5);
  EXPECT_EQ(-1, E::setInterface(*r));
  EXPECT_TRUE(logged("Couldn't find Interface eth0"));
}

TEST_F(EthernetInterfacesTest, StatusesListsClearAndPassThroughs) {
  nm::networkManager_getInterfaceStatus_result sr;
  sr.success.success = true, sr.success.enabled = false, sr.success.linked = true;
  sr.success.status = {{{"speed", "1000"}, {"duplex", "full"}}, {}};
  sr.__isset.success = true;
  for (char const* m : {"getInterfaceStatus", "getVLANStatus", "getAggregateStatus"})
    mNet.reply(m, sr);
  cm::configManager_getNamesofObject_result names;
  names.success.objectNames = {"eth0", "eth1"}, names.__isset.success = true;
  mCm.reply("getNamesofObject", names);
  struct {
    std::function<std::vector<InterfaceStatus*>*()> get;
    std::function<InterfaceStatus*(std::string const&)> one;
    char const *method, *type;
  } const lists[] = {
      {E::getInterfaceStatuses, E::getInterfaceStatus, "getInterfaceStatus", "ethernet-interface"},
      {E::getVLANStatuses, E::getVLANStatus, "getVLANStatus", "vlan-interface"},
      {E::getAggregateStatuses, E::getAggregateStatus, "getAggregateStatus",
       "aggregate-interface"}};
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
  // Each pass-through answers with its own method's code.
  std::pair<char const*, std::function<int()>> const passes[] = {
      {"addVIPToInterface", [] { return E::addVIPToInterface("eth0", "10.1.1.1/32"); }},
      {"removeVIPFromInterface", [] { return E::removeVIPFromInterface("eth0", "10.1.1.1/32"); }},
      {"addVIPToLoopback", [] { return E::addVIPToLoopback("10.1.1.2/32"); }},
      {"removeVIPFromLoopback", [] { return E::removeVIPFromLoopback("10.1.1.2/32"); }},
      {"setHWAddressImmediate", [] { return E::setHWAddressImmediate("eth0", "02:00:00:00:01"); }},
      {"resetHWAddressImmediate", [] { return E::resetHWAddressImmediate("eth0"); }}};
  for (auto const& p : passes) {
    mNet.replySuccess<nm::networkManager_addVIPToInterface_result>(p.first, &p - passes + 10);
  }
  for (auto const& p : passes) EXPECT_EQ(&p - passes + 10, p.second()) << p.first;
  auto hw = mNet.args<nm::networkManager_setHWAddressImmediate_args>("setHWAddressImmediate");
  EXPECT_EQ("eth0|02:00:00:00:01", hw.interfaceName + "|" + hw.hwAddress);

  // Clear: the manager's code, 0 or -1.
  for (int rc : {0, 5}) {
    mCm.replySuccess<cm::configManager_resetObject_result>("resetObject", rc);
    EXPECT_EQ(rc == 0 ? 0 : -1, E::clearInterface("eth0"));
  }
  EXPECT_TRUE(logged("Call to reset object failed RC: 5"));
  // Every name is read; the fake answers each with eth0's object.
  auto object = eth0();
  serve(object.get());
  std::vector<KeyValPair*> records;
  E::getInterfaces(records);
  EXPECT_EQ(2u, records.size());
  E::delInterfaces(records);

  // Managers down: every operation gives its neutral answer quickly.
  mCm.stop(), mNet.stop();
  KeyValPair record{{"name", "eth0"}, {"MTU", "1400"}};
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(nullptr, E::getInterface("eth0"));
  E::getInterfaces(records);
  EXPECT_TRUE(records.empty());
  EXPECT_EQ(nullptr, E::getInterfaceNames());
  EXPECT_EQ(-1, E::setInterface(record));
  EXPECT_EQ(-1, E::clearInterface("eth0"));
  for (auto const& l : lists) EXPECT_TRUE(l.get() == nullptr && l.one("eth0") == nullptr);
  for (auto const& p : passes) EXPECT_EQ(0, p.second());
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 2.0);
}

}  // namespace
}  // namespace corvane
