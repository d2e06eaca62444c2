// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Interface validators against a fake configuration manager holding ethernet, VLAN and
// aggregate objects: verdicts, stored messages, the requests each walk makes, and the mode
// check through the nicctlw.sh stand-in.

#include "corvane/interface_validators.h"

#include <chrono>
#include <map>
#include <memory>

#include <gtest/gtest.h>

#include <corvane/idl/configManager.h>
#include "corvane/config_service.h"
#include "corvane/diagnostic_utils.h"
#include "corvane/log.h"
#include "net_test_util.h"
#include "sandbox.h"

namespace corvane {
namespace config {
namespace validator {
namespace {

using testing::Args;
using testing::record;
namespace cm = ::configManager;
using Members = std::initializer_list<std::pair<char const*, std::string>>;

StructValue* withIp(StructValue* object, std::initializer_list<std::string> addresses) {
  auto* ip = record({{"use-dhcp", "false"}});
  ip->insert("address", testing::array(addresses));
  object->insert("ip", ip);
  return object;
}

StructValue* withMembers(StructValue* object, std::initializer_list<std::string> members) {
  object->insert("member", testing::array(members));
  return object;
}

// Interface objects by type and name, served by the fake configuration manager.
using World = std::map<std::string, std::map<std::string, std::shared_ptr<StructValue>>>;

World existing() {
  World w;
  auto& eth = w["ethernet-interface"];
  eth["eth0"].reset(withIp(record({{"name", "eth0"}, {"AdminState", "Disabled"}, {"mode", "auto"}}),
                           {"10.0.0.1/24"}));
  eth["eth1"].reset(
      withIp(record({{"name", "eth1"}, {"AdminState", "Disabled"}}), {"10.0.1.1/24"}));
  eth["eth2"].reset(withIp(record({{"name", "eth2"}, {"AdminState", "Enabled"}}), {"fe80::2/64"}));
  eth["eth3"].reset(withIp(record({{"name", "eth3"}, {"AdminState", "disabled"}}), {}));
  w["vlan-interface"]["vlan10"].reset(
      withIp(record({{"name", "vlan10"}, {"sub-interface", "eth2"}, {"vlan-identifier", "10"}}),
             {"10.0.10.1/24"}));
  w["aggregate-interface"]["bond0"].reset(
      withIp(withMembers(record({{"name", "bond0"}}), {"eth0", "eth1"}), {"10.0.2.1/24"}));
  return w;
}

class InterfaceValidatorsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox());
    log::setLogLevel(7);
    testing::clearStandInCalls();
    serve();
  }

  // Answers the two lookups from `mWorld`.
  void serve() {
    mManager.replyWith<cm::configManager_getNamesofObject_args,
                       cm::configManager_getNamesofObject_result>(
        "getNamesofObject", [this](cm::configManager_getNamesofObject_args const& a) {
          cm::configManager_getNamesofObject_result r;
          r.__isset.success = true;
          for (auto const& entry : mWorld[a.objectType])
            r.success.objectNames.push_back(entry.first);
          return r;
        });
    mManager.replyWith<cm::configManager_queryObject_args, cm::configManager_queryObject_result>(
        "queryObject", [this](cm::configManager_queryObject_args const& a) {
          cm::configManager_queryObject_result r;
          r.__isset.success = true;
          auto& objects = mWorld[a.objectType];
          auto it = objects.find(a.objectName);
          r.success.code = it == objects.end() ? kwObjectNotFound : kwOK;
          if (it != objects.end()) it->second->asThrift(r.success.values, a.objectName.c_str());
          return r;
        });
  }

  size_t calls(char const* method) { return mManager.calls(method).size(); }

  World mWorld = existing();
  testing::FakeManager mManager{"configmgr"};
  testing::SyslogSink mSink;
};

struct Case {
  char const* what;
  Value* value;  // owned by the loop
  bool ok;
  char const* message;
};

void check(Base const& validator, std::initializer_list<Case> cases) {
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    std::unique_ptr<Value> value(c.value);
    EXPECT_EQ(c.ok, validator.Valid(value.get()));
    if (!c.ok) {
      EXPECT_EQ(c.message, validator.message());
    }
  }
}

char const* const kExec = "@cli_gen_execution_error";
char const* const kNotUnique = "@network_validation_interface_name_is_not_unique";

TEST_F(InterfaceValidatorsTest, Ethernet) {
  testing::setStandInResult("nicctlw.sh", 33, "");
  auto eth5 = [](char const* admin, char const* mode) {
    return withIp(record({{"name", "eth5"}, {"AdminState", admin}, {"mode", mode}}),
                  {"10.0.5.1/24"});
  };
  EthernetInterfaceValidator v("ethernet-interface");
  check(v, {{"unsupported mode", eth5("Disabled", "10-half"), false,
             "The mode 10-half is not supported by the ethernet interface eth5."}});
  EXPECT_EQ(std::vector<Args>({{"testmode", "eth5", "10-half"}}),
            testing::standInCalls("nicctlw.sh"));
  testing::setStandInResult("nicctlw.sh", 34, "");
  check(v, {{"modes unknown", eth5("Disabled", "10-half"), true, ""}});
  testing::setStandInResult("nicctlw.sh", -1, "");
  check(v, {
               {"not a structure", testing::simple("eth0"), false, kExec},
               {"no name", record({{"AdminState", "Enabled"}}), false, kExec},
               {"no AdminState", record({{"name", "eth5"}}), false, kExec},
               {"enabled aggregate member", record({{"name", "eth1"}, {"AdminState", "enabled"}}),
                false,
                "The ethernet interface eth1 cannot be enabled because it is a member of the "
                "aggregate interface bond0."},
               {"capitals are not enabled",
                withIp(record({{"name", "eth0"}, {"AdminState", "ENABLED"}, {"mode", "auto"}}),
                       {"10.0.0.1/24"}),
                true, ""},
               {"no mode", record({{"name", "eth5"}, {"AdminState", "Disabled"}}), false, kExec},
               {"no ip", record({{"name", "eth5"}, {"AdminState", "Disabled"}, {"mode", "auto"}}),
                false, kExec},
               {"address of another ethernet",
                withIp(record({{"name", "eth5"}, {"AdminState", "Enabled"}, {"mode", "auto"}}),
                       {"10.0.5.1/24", "10.0.1.1/16"}),
                false, "The IP address 10.0.1.1 is already assigned to the interface eth1."},
               {"address of a vlan",
                withIp(record({{"name", "eth5"}, {"AdminState", "Disabled"}, {"mode", "auto"}}),
                       {"10.0.10.1/24"}),
                false, "The IP address 10.0.10.1 is already assigned to the interface vlan10."},
               {"small mtu with IPv6",
                withIp(record({{"name", "eth5"}, {"AdminState", "Disabled"}, {"mtu", "1279"}}),
                       {"10.0.5.1/24", "fe80::1/64"}),
                false, "@network_validation_mtu_too_small"},
           });
}

TEST_F(InterfaceValidatorsTest, MTURule) {
  struct {
    char const* mtu;
    std::initializer_list<std::string> addresses;
    char const* result;
  } const cases[] = {
      {"1279", {"fe80::1/64"}, "@network_validation_mtu_too_small"},
      {"1280", {"fe80::1/64"}, ""},
      {"1000", {"10.0.0.1/24"}, ""},
      {"mtu", {"10.0.0.1/24", "fe80::1/64"}, "@network_validation_mtu_too_small"},
      {"0", {}, ""},
  };
  for (auto const& c : cases) {
    std::unique_ptr<ArrayValue> list(testing::array(c.addresses));
    EXPECT_EQ(c.result, validateMTU(c.mtu, list.get())) << c.mtu;
  }
  EXPECT_EQ("", validateMTU("1", nullptr));
}

TEST_F(InterfaceValidatorsTest, VLAN) {
  auto vlan = [](char const* name, char const* sub, char const* id) {
    return withIp(record({{"name", name}, {"sub-interface", sub}, {"vlan-identifier", id}}),
                  {"10.0.11.1/24"});
  };
  VLANInterfaceValidator v("vlan-interface");
  check(
      v,
      {
          {"ethernet name", vlan("eth1", "eth2", "11"), false, kNotUnique},
          {"aggregate name", vlan("bond0", "eth2", "11"), false, kNotUnique},
          {"no sub-interface", record({{"name", "vlan11"}, {"vlan-identifier", "11"}}), false,
           kExec},
          {"no identifier", record({{"name", "vlan11"}, {"sub-interface", "eth2"}}), false, kExec},
          {"same pair", vlan("vlan11", "eth2", "10"), false,
           "The VLAN interface vlan11 duplicates another VLAN on eth2 with the VLAN "
           "identifier 10."},
          {"identifiers compared as text", vlan("vlan11", "eth2", "010"), true, ""},
          {"itself unchanged",
           withIp(
               record({{"name", "vlan10"}, {"sub-interface", "eth2"}, {"vlan-identifier", "10"}}),
               {"10.0.10.1/24"}),
           true, ""},
          {"no ip",
           record({{"name", "vlan11"}, {"sub-interface", "eth2"}, {"vlan-identifier", "11"}}),
           false, kExec},
      });
}

TEST_F(InterfaceValidatorsTest, Aggregate) {
  auto bond = [](Members simple, std::initializer_list<std::string> members) {
    return withIp(withMembers(record(simple), members), {"10.0.3.1/24"});
  };
  AggregateInterfaceValidator v("aggregate-interface");
  check(
      v,
      {
          {"ethernet name", bond({{"name", "eth3"}}, {}), false, kNotUnique},
          {"vlan name", bond({{"name", "vlan10"}}, {}), false, kNotUnique},
          {"lacp without selection logic",
           bond({{"name", "bond1"}, {"aggregation-policy", "lacp"}, {"transmit-hash-policy", "l2"}},
                {}),
           false, "@network_validation_lacp_selection_logic_not_specified"},
          {"lacp without hash policy",
           bond({{"name", "bond1"}, {"aggregation-policy", "lacp"}, {"lacp-selection-logic", "s"}},
                {}),
           false, "@network_validation_lacp_transmit_hash_policy_not_specified"},
          {"active-backup without primary",
           bond({{"name", "bond1"}, {"aggregation-policy", "active-backup"}}, {"eth3"}), false,
           "@network_validation_primary_member_not_specified"},
          {"primary not a member",
           bond({{"name", "bond1"},
                 {"aggregation-policy", "active-backup"},
                 {"primary-member", "eth3"}},
                {}),
           false, "The primary member eth3 is not one of the members of the aggregate interface."},
          {"no member list", withIp(record({{"name", "bond1"}}), {}), false, kExec},
          {"member of another aggregate", bond({{"name", "bond1"}}, {"eth3", "eth1"}), false,
           "The ethernet interface eth1 is already a member of the aggregate interface bond0."},
          {"itself unchanged",
           withIp(withMembers(record({{"name", "bond0"}}), {"eth0", "eth1"}), {"10.0.2.1/24"}),
           true, ""},
          {"active-backup complete",
           bond({{"name", "bond1"},
                 {"aggregation-policy", "active-backup"},
                 {"primary-member", "eth3"}},
                {"eth3"}),
           true, ""},
      });
}

TEST_F(InterfaceValidatorsTest, MemberAndSubInterfaceNames) {
  check(VLANSubInterfaceNameValidator("sub-interface"),
        {
            {"not simple", new StructValue(), false, kExec},
            {"unknown", testing::simple("eth9"), false,
             "There is no ethernet or aggregate interface named eth9 to carry the VLAN."},
            {"aggregate member", testing::simple("eth0"), false,
             "The interface eth0 cannot carry a VLAN because it is a member of the aggregate "
             "interface bond0."},
            {"free ethernet", testing::simple("eth2"), true, ""},
            {"aggregate", testing::simple("bond0"), true, ""},
        });
  check(EthernetInterfaceNameValidator("member"),
        {
            {"not simple", new ArrayValue(), false, kExec},
            {"unknown", testing::simple("eth9"), false,
             "The ethernet interface eth9 does not exist."},
            {"enabled", testing::simple("eth2"), false,
             "The ethernet interface eth2 must be disabled before it can become a member of an "
             "aggregate interface."},
            {"lower-case disabled", testing::simple("eth3"), false,
             "The ethernet interface eth3 must be disabled before it can become a member of an "
             "aggregate interface."},
            {"disabled", testing::simple("eth1"), true, ""},
        });
}

// Cheap checks come first, walks stop at the first match, and each object costs one request.
TEST_F(InterfaceValidatorsTest, RequestsPerCheck) {
  EXPECT_EQ("The IP address 10.0.0.1 is already assigned to the interface eth0.",
            checkForDupBaseAddr("eth5", "10.0.0.1"));
  EXPECT_EQ(1u, calls("getNamesofObject"));
  EXPECT_EQ(1u, calls("queryObject"));
  mManager.reset();
  serve();
  EXPECT_EQ("", checkForDupBaseAddr("eth0", "10.0.0.1"));
  auto names = mManager.calls("getNamesofObject");
  ASSERT_EQ(3u, names.size());
  char const* order[] = {"ethernet-interface", "vlan-interface", "aggregate-interface"};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(
        order[i],
        testing::deserialize<cm::configManager_getNamesofObject_args>(names[i].args).objectType);
  }
  EXPECT_EQ(5u, calls("queryObject"));  // every object but eth0 itself

  mManager.reset();
  serve();
  std::unique_ptr<StructValue> clash(withIp(
      record({{"name", "eth1"}, {"sub-interface", "eth2"}, {"vlan-identifier", "1"}, {"mtu", "1"}}),
      {"fe80::1/64"}));
  EXPECT_FALSE(VLANInterfaceValidator("v").Valid(clash.get()));
  EXPECT_EQ(1u, calls("getNamesofObject"));
  EXPECT_EQ(0u, calls("queryObject"));
}

TEST_F(InterfaceValidatorsTest, ManagerDownRejectsQuickly) {
  mManager.stop();
  std::unique_ptr<Value> ethernet(withIp(
      record({{"name", "eth5"}, {"AdminState", "Enabled"}, {"mode", "auto"}}), {"10.0.5.1/24"}));
  std::unique_ptr<Value> vlan(withIp(
      record({{"name", "vlan11"}, {"sub-interface", "eth2"}, {"vlan-identifier", "11"}}), {}));
  std::unique_ptr<Value> bond(withIp(withMembers(record({{"name", "bond1"}}), {"eth3"}), {}));
  SimpleValue sub("eth2");
  EthernetInterfaceValidator e("e");
  VLANInterfaceValidator v("v");
  AggregateInterfaceValidator a("a");
  VLANSubInterfaceNameValidator s("s");
  std::pair<Base const*, Value const*> const cases[] = {
      {&e, ethernet.get()}, {&v, vlan.get()}, {&a, bond.get()}, {&s, &sub}};
  for (auto const& c : cases) {
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(c.first->Valid(c.second));
    EXPECT_EQ(kExec, c.first->message());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  }
  // The member-name check reads any failed fetch as "does not exist", by design.
  EthernetInterfaceNameValidator member("m");
  EXPECT_FALSE(member.Valid(&sub));
  EXPECT_EQ("The ethernet interface eth2 does not exist.", member.message());
}

TEST_F(InterfaceValidatorsTest, TestModeAnswers) {
  struct {
    int scriptExit;
    int result;
  } const cases[] = {{-1, 0}, {33, 33}, {34, 34}, {1, 34}, {0, 0}};
  for (auto const& c : cases) {
    testing::setStandInResult("nicctlw.sh", c.scriptExit, "");
    EXPECT_EQ(c.result, diagnosticUtils::testMode("eth0", "1000-full")) << c.scriptExit;
  }
  testing::setStandInResult("nicctlw.sh", -1, "");
  EXPECT_EQ(std::vector<std::string>({"testmode", "eth0", "1000-full"}),
            testing::standInCalls("nicctlw.sh").back());
}

}  // namespace
}  // namespace validator
}  // namespace config
}  // namespace corvane
