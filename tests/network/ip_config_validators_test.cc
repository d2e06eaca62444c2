// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// IP configuration and route validators against the sandbox's ipcalc and calcNetworkAddr
// stand-ins: verdicts, stored messages, the processes each check starts, and no temporary
// file or descriptor left behind.

#include "corvane/ip_config_validators.h"

#include <sys/mount.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "corvane/log.h"
#include "net_test_util.h"
#include "sandbox.h"

namespace corvane {
namespace config {
namespace validator {
namespace {

using testing::Args;
using Calls = std::vector<Args>;

// IP settings with DHCP off; empty gateways are left out, `routes` are route gateways.
StructValue* settings(std::initializer_list<std::string> addresses, std::string v4, std::string v6,
                      std::vector<std::string> routes = {}) {
  auto* ip = testing::record({{"use-dhcp", "false"}});
  if (addresses.size() > 0) ip->insert("address", testing::array(addresses));
  if (!v4.empty()) ip->insert("ipv4-default-gateway", testing::record({{"gateway", v4}}));
  if (!v6.empty()) ip->insert("ipv6-default-gateway", testing::record({{"gateway", v6}}));
  if (!routes.empty()) {
    auto* list = new ArrayValue();
    for (std::string const& gw : routes) list->append(testing::record({{"gateway", gw}}));
    ip->insert("static-route", list);
  }
  return ip;
}

class IPConfigValidatorsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox());
    log::setLogLevel(7);
    testing::clearStandInCalls();
    // A calcNetworkAddr that tells subnets apart, like the appliance's.
    testing::setStandInScript("calcNetworkAddr", "exec ipcalc-ng -s -n \"$1\"\n");
    mSink.drain(20);
  }
  void TearDown() override { testing::setStandInScript("calcNetworkAddr", nullptr); }

  testing::SyslogSink mSink;
};

TEST_F(IPConfigValidatorsTest, GatewayAndRouteWalks) {
  struct Case {
    char const* what;
    StructValue* value;  // owned by the loop
    bool ok;
    char const* message;
    Calls ipcalc;
    Calls calc;
  } const cases[] = {
      {"dhcp bypasses everything",
       [] {
         auto* ip = settings({}, "99.9.9.9", "2001::1", {"99.9.9.9"});
         ip->insert("use-dhcp", testing::simple("true"));
         return ip;
       }(),
       true,
       "",
       {},
       {}},
      {"missing dhcp member",
       [] {
         auto* ip = settings({"10.1.0.7/16"}, "10.1.0.1", "");
         ip->insert("use-dhcp", new ArrayValue());
         return ip;
       }(),
       false,
       "@cli_gen_execution_error",
       {},
       {}},
      {"v4 gateway without addresses",
       settings({}, "10.1.0.1", ""),
       false,
       "@network_validation_ipv4_default_gateway_with_no_static_addr",
       {},
       {}},
      {"v6 gateway without addresses",
       settings({}, "", "2001:db8::1"),
       false,
       "@network_validation_ipv6_default_gateway_with_no_static_addr",
       {},
       {}},
      {"v4 gateway with only v6 addresses",
       settings({"2001:db8::7/64"}, "10.1.0.1", ""),
       false,
       "@network_validation_ipv4_default_gateway_not_on_subnet",
       {},
       {}},
      {"v4 gateway on the second address",
       settings({"192.168.1.5/24", "2001:db8::7/64", "10.1.0.7/16"}, "10.1.0.1", ""),
       true,
       "",
       {{"-s", "-n", "10.1.0.1/24"},
        {"-s", "-n", "192.168.1.5/24"},
        {"-s", "-n", "10.1.0.1/16"},
        {"-s", "-n", "10.1.0.7/16"}},
       {}},
      {"v4 gateway off every subnet",
       settings({"10.1.0.7/16"}, "10.2.0.1", ""),
       false,
       "@network_validation_ipv4_default_gateway_not_on_subnet",
       {{"-s", "-n", "10.2.0.1/16"}, {"-s", "-n", "10.1.0.7/16"}},
       {}},
      {"v4 gateway member missing",
       [] {
         auto* ip = settings({"10.1.0.7/16"}, "", "");
         ip->insert("ipv4-default-gateway", new StructValue());
         return ip;
       }(),
       false,
       "@cli_gen_execution_error",
       {},
       {}},
      {"v6 gateway on subnet",
       settings({"10.1.0.7/16", "2001:db8:1::7/64"}, "", "2001:db8:1::1"),
       true,
       "",
       {},
       {{"2001:db8:1::1/64"}, {"2001:db8:1::7/64"}}},
      {"v6 gateway off subnet",
       settings({"2001:db8:2::7/64"}, "", "2001:db8:1::1"),
       false,
       "@network_validation_ipv6_default_gateway_not_on_subnet",
       {},
       {{"2001:db8:1::1/64"}, {"2001:db8:2::7/64"}}},
      {"routes without addresses",
       settings({}, "", "", {"10.1.0.1"}),
       false,
       "@network_validation_static_route_with_no_static_addr",
       {},
       {}},
      {"route gateway checked against every family",
       settings({"2001:db8::7/64", "10.1.0.7/16"}, "", "", {"10.1.0.1"}),
       true,
       "",
       {{"-s", "-n", "10.1.0.1/16"}, {"-s", "-n", "10.1.0.7/16"}},
       {{"10.1.0.1/64"}, {"2001:db8::7/64"}}},
      {"second route gateway off subnet",
       settings({"10.1.0.7/16"}, "", "", {"10.1.9.9", "10.9.9.9"}),
       false,
       "The route gateway 10.9.9.9 is not in the subnet of any static address of the interface.",
       {{"-s", "-n", "10.1.9.9/16"},
        {"-s", "-n", "10.1.0.7/16"},
        {"-s", "-n", "10.9.9.9/16"},
        {"-s", "-n", "10.1.0.7/16"}},
       {}},
      {"route without gateway",
       [] {
         auto* ip = settings({"10.1.0.7/16"}, "", "");
         auto* routes = new ArrayValue();
         routes->append(testing::record({{"destination", "10.0.0.0/8"}}));
         ip->insert("static-route", routes);
         return ip;
       }(),
       false,
       "@cli_gen_execution_error",
       {},
       {}},
      {"route that is no structure",
       [] {
         auto* ip = settings({"10.1.0.7/16"}, "", "");
         ip->insert("static-route", testing::array({"10.1.0.1"}));
         return ip;
       }(),
       false,
       "@cli_gen_execution_error",
       {},
       {}},
  };
  int descriptors = testing::openDescriptorCount();
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    std::unique_ptr<StructValue> value(c.value);
    testing::clearStandInCalls();
    IPConfigValidator validator("ip");
    EXPECT_EQ(c.ok, validator.Valid(value.get()));
    EXPECT_EQ(c.message, validator.message());
    EXPECT_EQ(c.ipcalc, testing::standInCalls("ipcalc"));
    EXPECT_EQ(c.calc, testing::standInCalls("calcNetworkAddr"));
    EXPECT_EQ(0u, testing::leftoverFiles());
  }
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
  testing::Lines lines = testing::traces(mSink);
  for (char const* line :
       {"Getting network address for '10.1.0.1/24' ipv4-default-gateway and address pair\n",
        "Getting network address for '192.168.1.5/24' address \n",
        "Network for address '10.1.0.7/16' is 'NETWORK=10.1.0.0'; gw computed network was "
        "'NETWORK=10.1.0.0'\n",
        "Specified IPv6 Default Gateway is not in subnet of any static IP address specifed",
        "Getting network address for '2001:db8:1::1/64' ipv4-default-gateway and address pair\n",
        "Getting network address for '10.9.9.9/16' static-route gateway and address pair\n"}) {
    EXPECT_NE(lines.end(), std::find(lines.begin(), lines.end(), line)) << line;
  }
}

TEST_F(IPConfigValidatorsTest, EmptyOutputsCompareEqual) {
  testing::setStandInScript("calcNetworkAddr", nullptr);  // prints nothing
  std::unique_ptr<StructValue> ip(settings({"2001:db8:2::7/64"}, "", "2001:db8:1::1"));
  IPConfigValidator validator("ip");
  EXPECT_TRUE(validator.Valid(ip.get()));
  EXPECT_EQ(2u, testing::standInCalls("calcNetworkAddr").size());
}

TEST_F(IPConfigValidatorsTest, AddressWithoutPrefixThrowsAndLeavesNoFile) {
  std::unique_ptr<StructValue> ip(settings({"10.1.0.7"}, "10.1.0.1", ""));
  IPConfigValidator validator("ip");
  EXPECT_THROW(validator.Valid(ip.get()), std::out_of_range);
  EXPECT_TRUE(testing::standInCalls("ipcalc").empty());
}

TEST_F(IPConfigValidatorsTest, UnwritableTmpIsAnInternalError) {
  ASSERT_EQ(0, mount("ro", "/tmp", "tmpfs", MS_RDONLY, nullptr));
  std::unique_ptr<StructValue> ip(settings({"10.1.0.7/16"}, "10.1.0.1", ""));
  IPConfigValidator validator("ip");
  EXPECT_FALSE(validator.Valid(ip.get()));
  EXPECT_EQ("@cli_gen_execution_error", validator.message());
  EXPECT_TRUE(testing::standInCalls("ipcalc").empty());
  ASSERT_EQ(0, umount("/tmp"));
  testing::Lines lines = testing::traces(mSink);
  EXPECT_NE(lines.end(),
            std::find(lines.begin(), lines.end(),
                      "Unable to create temporary file descriptor: Read-only file system"));
}

TEST_F(IPConfigValidatorsTest, RouteFamilies) {
  struct Case {
    char const* destination;
    char const* gateway;
    bool ok;
    char const* message;
    Calls ipcalc;
  } const cases[] = {
      {"10.0.0.0/8",
       "10.1.1.1",
       true,
       "",
       {{"-4", "-c", "-s", "10.0.0.0/8"}, {"-c", "-4", "-s", "10.1.1.1"}}},
      {"2001:db8::/32",
       "fe80::1",
       true,
       "",
       {{"-4", "-c", "-s", "2001:db8::/32"}, {"-c", "-6", "-s", "fe80::1"}}},
      {"10.0.0.0/8",
       "fe80::1",
       false,
       "The gateway fe80::1 does not belong to the same IP family as the destination 10.0.0.0/8.",
       {{"-4", "-c", "-s", "10.0.0.0/8"}, {"-c", "-4", "-s", "fe80::1"}}},
      {"nonsense",
       "10.1.1.1",
       false,
       "The gateway 10.1.1.1 does not belong to the same IP family as the destination nonsense.",
       {{"-4", "-c", "-s", "nonsense"}, {"-c", "-6", "-s", "10.1.1.1"}}},
      {"10.0.0.0/8", "", false, "@cli_gen_execution_error", {}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.destination) + " via " + c.gateway);
    testing::clearStandInCalls();
    std::unique_ptr<StructValue> route(
        testing::record({{"destination", c.destination}, {"gateway", c.gateway}}));
    StaticRouteValidator validator("route");
    EXPECT_EQ(c.ok, validator.Valid(route.get()));
    EXPECT_EQ(c.message, validator.message());
    EXPECT_EQ(c.ipcalc, testing::standInCalls("ipcalc"));
  }
}

TEST_F(IPConfigValidatorsTest, DuplicateAddressesAndRoutes) {
  auto routes = [](std::vector<std::vector<std::pair<char const*, std::string>>> list) {
    auto* array = new ArrayValue();
    for (auto const& members : list) {
      auto* route = new StructValue();
      for (auto const& m : members) route->insert(m.first, testing::simple(m.second));
      array->append(route);
    }
    return array;
  };
  auto withStruct = [] {
    auto* list = testing::array({"10.0.0.1/24"});
    list->append(new StructValue());
    list->append(testing::simple("10.0.0.2/24"));
    return list;
  };
  IPAddressArrayValidator addresses("address");
  StaticRouteArrayValidator routeList("static-route");
  struct Case {
    Base const& validator;
    Value* value;  // owned by the loop
    bool ok;
    char const* message;
  } const cases[] = {
      {addresses, testing::array({"10.0.0.1/24", "10.0.0.2/24"}), true, ""},
      {addresses, withStruct(), true, ""},
      {addresses, testing::array({"10.0.0.1/24", "fe80::1/64", "10.0.0.1/16"}), false,
       "The address 10.0.0.1/16 repeats an address already in the list (only the prefix length "
       "differs)."},
      {addresses, testing::simple("10.0.0.1/24"), false, "@cli_gen_execution_error"},
      {routeList, routes({{{"destination", "10.0.0.0/8"}, {"gateway", "10.1.1.1"}}}), true, ""},
      {routeList,
       routes({{{"destination", "10.0.0.0/8"}, {"gateway", "10.1.1.1"}},
               {{"destination", "10.0.0.0/8"}, {"gateway", "10.1.1.1"}, {"metric", "1"}}}),
       true, ""},
      {routeList,
       routes({{{"destination", "10.0.0.0/8"}, {"gateway", "10.1.1.1"}},
               {{"destination", "10.0.0.0/8"}, {"gateway", "10.1.1.1"}, {"metric", "0"}}}),
       false, "@network_validation_duplicate_static_route"},
      {routeList, testing::array({"a", "b"}), false, "@network_validation_duplicate_static_route"},
      {routeList, new StructValue(), false, "@cli_gen_execution_error"},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    Case const& c = cases[i];
    std::unique_ptr<Value> value(c.value);
    EXPECT_EQ(c.ok, c.validator.Valid(value.get()));
    if (!c.ok) {
      EXPECT_EQ(c.message, c.validator.message());
    }
  }
}

}  // namespace
}  // namespace validator
}  // namespace config
}  // namespace corvane
