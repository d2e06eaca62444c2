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

// An object with the given simple members and, unless `addresses` is null, an "ip" structure.
StructValue* obj(Members simple, std::initializer_list<std::string> const* addresses) {
  return addresses ? withIp(record(simple), *addresses) : record(simple);
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
  Value* value;         // owned by the loop
  char const* message;  // "" when valid
};

void check(Base const& validator, std::initializer_list<Case> cases) {
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    std::unique_ptr<Value> value(c.value);
    EXPECT_EQ(*c.message == '\0', validator.Valid(value.get()));
    if (*c.message != '\0') {
      EXPECT_EQ(c.message, validator.message());
    }
  }
}

char const* const kExec = "@cli_gen_execution_error";
char const* const kNotUnique = "@network_validation_interface_name_is_not_unique";
std::initializer_list<std::string> const kOne{"10.0.5.1/24"};

TEST_F(InterfaceValidatorsTest, Ethernet) {
  auto eth5 = [](char const* admin, char const* mode) {
    return obj({{"name", "eth5"}, {"AdminState", admin}, {"mode", mode}}, &kOne);
  };
  std::initializer_list<std::string> const taken4{"10.0.5.1/24", "10.0.1.1/16"},
      vlan{"10.0.10.1/24"}, six{"10.0.5.1/24", "fe80::1/64"}, own{"10.0.0.1/24"};
  EthernetInterfaceValidator v("ethernet-interface");
  testing::setStandInResult("nicctlw.sh", 33, "");
  check(v, {{"unsupported mode", eth5("Disabled", "10-half"),
             "The mode 10-half is not supported by the ethernet interface eth5."}});
  EXPECT_EQ("testmode eth5 10-half", testing::joined(testing::standInCalls("nicctlw.sh")));
  testing::setStandInResult("nicctlw.sh", 34, "");
  check(v, {{"modes unknown", eth5("Disabled", "10-half"), ""}});
  testing::setStandInResult("nicctlw.sh", -1, "");
  // clang-format off
  check(v, {
      {"not a structure", testing::simple("eth0"), kExec},
      {"no AdminState", obj({{"name", "eth5"}, {"mode", "auto"}}, &kOne), kExec},
      {"no mode", obj({{"name", "eth5"}, {"AdminState", "Disabled"}}, &kOne), kExec},
      {"no ip", obj({{"name", "eth5"}, {"AdminState", "Disabled"}, {"mode", "auto"}}, nullptr), kExec},
      {"enabled aggregate member", obj({{"name", "eth1"}, {"AdminState", "enabled"}}, nullptr),
       "The ethernet interface eth1 cannot be enabled because it is a member of the aggregate "
       "interface bond0."},
      {"capitals are not enabled",
       obj({{"name", "eth0"}, {"AdminState", "ENABLED"}, {"mode", "auto"}}, &own), ""},
      {"address of another ethernet",
       obj({{"name", "eth5"}, {"AdminState", "Enabled"}, {"mode", "auto"}}, &taken4),
       "The IP address 10.0.1.1 is already assigned to the interface eth1."},
      {"address of a vlan", obj({{"name", "eth5"}, {"AdminState", "Disabled"}, {"mode", "auto"}}, &vlan),
       "The IP address 10.0.10.1 is already assigned to the interface vlan10."},
      {"small mtu with IPv6",
       obj({{"name", "eth5"}, {"AdminState", "Disabled"}, {"mtu", "1279"}}, &six),
       "@network_validation_mtu_too_small"},
  });
  // clang-format on
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
  std::initializer_list<std::string> const own{"10.0.10.1/24"}, fresh{"10.0.11.1/24"};
  auto vlan = [&](char const* name, char const* sub, char const* id) {
    return obj({{"name", name}, {"sub-interface", sub}, {"vlan-identifier", id}},
               std::string(name) == "vlan10" ? &own : &fresh);
  };
  // clang-format off
  check(VLANInterfaceValidator("vlan-interface"), {
      {"ethernet name", vlan("eth1", "eth2", "11"), kNotUnique},
      {"aggregate name", vlan("bond0", "eth2", "11"), kNotUnique},
      {"no sub-interface", obj({{"name", "vlan11"}, {"vlan-identifier", "11"}}, &fresh), kExec},
      {"no identifier", obj({{"name", "vlan11"}, {"sub-interface", "eth2"}}, &fresh), kExec},
      {"same pair", vlan("vlan11", "eth2", "10"),
       "The VLAN interface vlan11 duplicates another VLAN on eth2 with the VLAN identifier 10."},
      {"identifiers compared as text", vlan("vlan11", "eth2", "010"), ""},
      {"itself unchanged", vlan("vlan10", "eth2", "10"), ""},
      {"no ip", obj({{"name", "vlan11"}, {"sub-interface", "eth2"}, {"vlan-identifier", "11"}},
                    nullptr), kExec},
  });
  // clang-format on
}

TEST_F(InterfaceValidatorsTest, Aggregate) {
  auto bond = [](Members simple, std::initializer_list<std::string> members) {
    return withIp(withMembers(record(simple), members), {"10.0.3.1/24"});
  };
  char const* const ab = "active-backup";
  // clang-format off
  check(AggregateInterfaceValidator("aggregate-interface"), {
      {"ethernet name", bond({{"name", "eth3"}}, {}), kNotUnique},
      {"vlan name", bond({{"name", "vlan10"}}, {}), kNotUnique},
      {"lacp without selection logic",
       bond({{"name", "bond1"}, {"aggregation-policy", "lacp"}, {"transmit-hash-policy", "l2"}}, {}),
       "@network_validation_lacp_selection_logic_not_specified"},
      {"lacp without hash policy",
       bond({{"name", "bond1"}, {"aggregation-policy", "lacp"}, {"lacp-selection-logic", "s"}}, {}),
       "@network_validation_lacp_transmit_hash_policy_not_specified"},
      {"active-backup without primary",
       bond({{"name", "bond1"}, {"aggregation-policy", ab}}, {"eth3"}),
       "@network_validation_primary_member_not_specified"},
      {"primary not a member",
       bond({{"name", "bond1"}, {"aggregation-policy", ab}, {"primary-member", "eth3"}}, {}),
       "The primary member eth3 is not one of the members of the aggregate interface."},
      {"no member list", withIp(record({{"name", "bond1"}}), {}), kExec},
      {"member of another aggregate", bond({{"name", "bond1"}}, {"eth3", "eth1"}),
       "The ethernet interface eth1 is already a member of the aggregate interface bond0."},
      {"itself unchanged",
       withIp(withMembers(record({{"name", "bond0"}}), {"eth0", "eth1"}), {"10.0.2.1/24"}), ""},
      {"active-backup complete",
       bond({{"name", "bond1"}, {"aggregation-policy", ab}, {"primary-member", "eth3"}}, {"eth3"}),
       ""},
  });
  // clang-format on
}

TEST_F(InterfaceValidatorsTest, MemberAndSubInterfaceNames) {
  auto name = testing::simple;
  char const* const mustDisable =
      " must be disabled before it can become a member of an aggregate interface.";
  // clang-format off
  check(VLANSubInterfaceNameValidator("sub-interface"), {
      {"not simple", new StructValue(), kExec},
      {"unknown", name("eth9"),
       "There is no ethernet or aggregate interface named eth9 to carry the VLAN."},
      {"aggregate member", name("eth0"),
       "The interface eth0 cannot carry a VLAN because it is a member of the aggregate interface "
       "bond0."},
      {"free ethernet", name("eth2"), ""},
      {"aggregate", name("bond0"), ""},
  });
  check(EthernetInterfaceNameValidator("member"), {
      {"not simple", new ArrayValue(), kExec},
      {"unknown", name("eth9"), "The ethernet interface eth9 does not exist."},
      {"enabled", name("eth2"), (std::string("The ethernet interface eth2") + mustDisable).c_str()},
      {"lower-case disabled", name("eth3"),
       (std::string("The ethernet interface eth3") + mustDisable).c_str()},
      {"disabled", name("eth1"), ""},
  });
  // clang-format on
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
  std::string order;
  for (auto const& call : mManager.calls("getNamesofObject"))
    order +=
        testing::deserialize<cm::configManager_getNamesofObject_args>(call.args).objectType + " ";
  EXPECT_EQ("ethernet-interface vlan-interface aggregate-interface ", order);
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
  std::unique_ptr<Value> ethernet(
      obj({{"name", "eth5"}, {"AdminState", "Enabled"}, {"mode", "auto"}}, &kOne));
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
  int const cases[][2] = {{-1, 0}, {33, 33}, {34, 34}, {1, 34}, {0, 0}};  // script exit, result
  for (auto const& c : cases) {
    testing::setStandInResult("nicctlw.sh", c[0], "");
    EXPECT_EQ(c[1], diagnosticUtils::testMode("eth0", "1000-full")) << c[0];
  }
  testing::setStandInResult("nicctlw.sh", -1, "");
  EXPECT_EQ(std::vector<std::string>({"testmode", "eth0", "1000-full"}),
            testing::standInCalls("nicctlw.sh").back());
}

}  // namespace
}  // namespace validator
}  // namespace config
}  // namespace corvane
