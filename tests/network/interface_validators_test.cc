// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Interface validators against a fake configuration manager holding interface objects.

#include "corvane/interface_validators.h"

#include <chrono>
#include <map>
#include <memory>

#include <corvane/idl/configManager.h>
#include "corvane/config_service.h"
#include "corvane/diagnostic_utils.h"
#include "net_test_util.h"

namespace corvane::config::validator {
namespace {

using testing::record;
using testing::verdict;
namespace cm = ::configManager;
using Members = std::initializer_list<std::pair<char const*, std::string>>;
using Texts = std::initializer_list<std::string>;
char const* const kExec = "@cli_gen_execution_error";
char const* const kNotUnique = "@network_validation_interface_name_is_not_unique";

// An object with the given simple members, a "member" list unless `members` is null and an
// "ip" structure with `addresses` unless that is null.
StructValue* obj(Members simple, Texts const* addresses, Texts const* members = nullptr) {
  StructValue* object = record(simple);
  if (members != nullptr) object->insert("member", testing::array(*members));
  if (addresses == nullptr) return object;
  auto* ip = record({{"use-dhcp", "false"}});
  ip->insert("address", testing::array(*addresses));
  object->insert("ip", ip);
  return object;
}

Texts const kEth0{"10.0.0.1/24"}, kEth1{"10.0.1.1/24"}, kEth2{"fe80::2/64"}, kNone{},
    kVlan10{"10.0.10.1/24"}, kBond0{"10.0.2.1/24"}, kBond0Members{"eth0", "eth1"},
    kOne{"10.0.5.1/24"};

class InterfaceValidatorsTest : public testing::NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    auto& eth = mWorld["ethernet-interface"];
    eth["eth0"].reset(
        obj({{"name", "eth0"}, {"AdminState", "Disabled"}, {"mode", "auto"}}, &kEth0));
    eth["eth1"].reset(obj({{"name", "eth1"}, {"AdminState", "Disabled"}}, &kEth1));
    eth["eth2"].reset(obj({{"name", "eth2"}, {"AdminState", "Enabled"}}, &kEth2));
    eth["eth3"].reset(obj({{"name", "eth3"}, {"AdminState", "disabled"}}, &kNone));
    mWorld["vlan-interface"]["vlan10"].reset(
        obj({{"name", "vlan10"}, {"sub-interface", "eth2"}, {"vlan-identifier", "10"}}, &kVlan10));
    mWorld["aggregate-interface"]["bond0"].reset(obj({{"name", "bond0"}}, &kBond0, &kBond0Members));
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
  std::map<std::string, std::map<std::string, std::unique_ptr<StructValue>>> mWorld;
  testing::FakeManager mManager{"configmgr"};
};

struct Case {
  char const* what;
  Value* value;         // owned by the loop
  std::string message;  // "" when valid
};

void check(Base const& validator, std::initializer_list<Case> cases) {
  for (Case const& c : cases) {
    std::unique_ptr<Value> value(c.value);
    EXPECT_EQ(c.message, verdict(validator, value.get())) << c.what;
  }
}

TEST_F(InterfaceValidatorsTest, Ethernet) {
  auto eth5 = [](char const* admin, char const* mode, Texts const* addresses = &kOne) {
    return obj({{"name", "eth5"}, {"AdminState", admin}, {"mode", mode}}, addresses);
  };
  Texts const taken4{"10.0.5.1/24", "10.0.1.1/16"}, six{"10.0.5.1/24", "fe80::1/64"};
  EthernetInterfaceValidator v("ethernet-interface");
  testing::setStandInResult("nicctlw.sh", 33, "");
  check(v, {{"unsupported mode", eth5("Disabled", "10-half"),
             "The mode 10-half is not supported by the ethernet interface eth5."}});
  EXPECT_EQ("testmode eth5 10-half", testing::joined("nicctlw.sh"));
  testing::setStandInResult("nicctlw.sh", 34, "");
  check(v, {{"modes unknown", eth5("Disabled", "10-half"), ""}});
  testing::setStandInResult("nicctlw.sh", -1, "");
  // clang-format off
  check(v, {
      {"not a structure", testing::simple("eth0"), kExec},
      {"no mode", obj({{"name", "eth5"}, {"AdminState", "Disabled"}}, &kOne), kExec},
      {"no ip", eth5("Disabled", "auto", nullptr), kExec},
      {"enabled aggregate member", obj({{"name", "eth1"}, {"AdminState", "enabled"}}, nullptr),
       "The ethernet interface eth1 cannot be enabled because it is a member of the aggregate "
       "interface bond0."},
      {"capitals are not enabled",
       obj({{"name", "eth0"}, {"AdminState", "ENABLED"}, {"mode", "auto"}}, &kEth0), ""},
      {"address of another ethernet", eth5("Enabled", "auto", &taken4),
       "The IP address 10.0.1.1 is already assigned to the interface eth1."},
      {"address of a vlan", eth5("Disabled", "auto", &kVlan10),
       "The IP address 10.0.10.1 is already assigned to the interface vlan10."},
      {"small mtu with IPv6",
       obj({{"name", "eth5"}, {"AdminState", "Disabled"}, {"mtu", "1279"}}, &six),
       "@network_validation_mtu_too_small"},
  });
  // clang-format on
  // The MTU rule alone: the text is read as a number ("mtu" is 0), IPv4-only may go lower.
  std::unique_ptr<ArrayValue> mixed(testing::array({"10.0.0.1/24", "fe80::1/64"})),
      four(testing::array({"10.0.0.1/24"}));
  EXPECT_EQ("|@network_validation_mtu_too_small||",
            validateMTU("1280", mixed.get()) + "|" + validateMTU("mtu", mixed.get()) + "|" +
                validateMTU("1000", four.get()) + "|" + validateMTU("1", nullptr));
}

TEST_F(InterfaceValidatorsTest, VLANAndAggregate) {
  Texts const fresh{"10.0.11.1/24"}, bond1{"10.0.3.1/24"}, eth3{"eth3"}, clash{"eth3", "eth1"};
  auto vlan = [&](char const* name, char const* sub, char const* id) {
    return obj({{"name", name}, {"sub-interface", sub}, {"vlan-identifier", id}},
               std::string(name) == "vlan10" ? &kVlan10 : &fresh);
  };
  auto bond = [&](Members simple, Texts const& members = kNone) {
    return obj(simple, &bond1, &members);
  };
  char const* const ab = "active-backup";
  // clang-format off
  check(VLANInterfaceValidator("vlan-interface"), {
      {"ethernet name", vlan("eth1", "eth2", "11"), kNotUnique},
      {"aggregate name", vlan("bond0", "eth2", "11"), kNotUnique},
      {"no identifier", obj({{"name", "vlan11"}, {"sub-interface", "eth2"}}, &fresh), kExec},
      {"same pair", vlan("vlan11", "eth2", "10"),
       "The VLAN interface vlan11 duplicates another VLAN on eth2 with the VLAN identifier 10."},
      {"identifiers compared as text", vlan("vlan11", "eth2", "010"), ""},
      {"itself unchanged", vlan("vlan10", "eth2", "10"), ""},
  });
  check(AggregateInterfaceValidator("aggregate-interface"), {
      {"vlan name", bond({{"name", "vlan10"}}), kNotUnique},
      {"lacp without selection logic",
       bond({{"name", "bond1"}, {"aggregation-policy", "lacp"}, {"transmit-hash-policy", "l2"}}),
       "@network_validation_lacp_selection_logic_not_specified"},
      {"lacp without hash policy",
       bond({{"name", "bond1"}, {"aggregation-policy", "lacp"}, {"lacp-selection-logic", "s"}}),
       "@network_validation_lacp_transmit_hash_policy_not_specified"},
      {"active-backup without primary", bond({{"name", "bond1"}, {"aggregation-policy", ab}}, eth3),
       "@network_validation_primary_member_not_specified"},
      {"primary not a member",
       bond({{"name", "bond1"}, {"aggregation-policy", ab}, {"primary-member", "eth3"}}),
       "The primary member eth3 is not one of the members of the aggregate interface."},
      {"no member list", obj({{"name", "bond1"}}, &kNone), kExec},
      {"member of another aggregate", bond({{"name", "bond1"}}, clash),
       "The ethernet interface eth1 is already a member of the aggregate interface bond0."},
      {"itself unchanged", obj({{"name", "bond0"}}, &kBond0, &kBond0Members), ""},
      {"active-backup complete",
       bond({{"name", "bond1"}, {"aggregation-policy", ab}, {"primary-member", "eth3"}}, eth3), ""},
  });
  // clang-format on
}

TEST_F(InterfaceValidatorsTest, MemberAndSubInterfaceNames) {
  auto name = testing::simple;
  std::string const mustDisable =
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
      {"unknown", name("eth9"), "The ethernet interface eth9 does not exist."},
      {"enabled", name("eth2"), "The ethernet interface eth2" + mustDisable},
      {"lower-case disabled", name("eth3"), "The ethernet interface eth3" + mustDisable},
      {"disabled", name("eth1"), ""},
  });
  // clang-format on
}

// Each walk skips the object's own name and costs one request per list and per object; the
// name checks come before any object is fetched.
TEST_F(InterfaceValidatorsTest, RequestsPerCheck) {
  EXPECT_EQ("", checkForDupBaseAddr("eth0", "10.0.0.1"));
  std::string order;
  for (auto const& call : mManager.calls("getNamesofObject"))
    order +=
        testing::deserialize<cm::configManager_getNamesofObject_args>(call.args).objectType + " ";
  EXPECT_EQ("ethernet-interface vlan-interface aggregate-interface ", order);
  EXPECT_EQ(5u, mManager.calls("queryObject").size());
  mManager.reset();
  serve();
  std::unique_ptr<StructValue> clash(
      obj({{"name", "eth1"}, {"sub-interface", "eth2"}, {"vlan-identifier", "1"}}, &kEth2));
  EXPECT_EQ(kNotUnique, verdict(VLANInterfaceValidator("v"), clash.get()));
  EXPECT_EQ(0u, mManager.calls("queryObject").size());
}

TEST_F(InterfaceValidatorsTest, ManagerDownRejectsQuickly) {
  mManager.stop();
  auto start = std::chrono::steady_clock::now();
  check(EthernetInterfaceValidator("e"),
        {{"ethernet", obj({{"name", "eth5"}, {"AdminState", "Enabled"}, {"mode", "auto"}}, &kOne),
          kExec}});
  check(VLANSubInterfaceNameValidator("s"), {{"sub", testing::simple("eth2"), kExec}});
  // The member-name check reads any failed fetch as "does not exist", by design.
  check(EthernetInterfaceNameValidator("m"),
        {{"member", testing::simple("eth2"), "The ethernet interface eth2 does not exist."}});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

TEST_F(InterfaceValidatorsTest, TestModeAnswers) {
  int const cases[][2] = {{-1, 0}, {33, 33}, {34, 34}, {1, 34}, {0, 0}};  // script exit, result
  for (auto const& c : cases) {
    testing::setStandInResult("nicctlw.sh", c[0], "");
    EXPECT_EQ(c[1], diagnosticUtils::testMode("eth0", "1000-full")) << c[0];
  }
  testing::setStandInResult("nicctlw.sh", -1, "");
}

}  // namespace
}  // namespace corvane::config::validator
