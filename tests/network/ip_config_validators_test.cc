// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// IP configuration and route validators against the ipcalc and calcNetworkAddr stand-ins.

#include "corvane/ip_config_validators.h"

#include <sys/mount.h>

#include <memory>
#include <stdexcept>

#include "net_test_util.h"

namespace corvane::config::validator {
namespace {

using testing::array;
using testing::joined;
using testing::record;
using testing::simple;
using testing::verdict;
char const* const kExec = "@cli_gen_execution_error";

// IP settings with DHCP off; empty gateways are left out, `routes` are route gateways.
StructValue* settings(std::initializer_list<std::string> addresses, std::string v4, std::string v6,
                      std::vector<std::string> routes = {}) {
  auto* ip = record({{"use-dhcp", "false"}});
  if (addresses.size() > 0) ip->insert("address", array(addresses));
  if (!v4.empty()) ip->insert("ipv4-default-gateway", record({{"gateway", v4}}));
  if (!v6.empty()) ip->insert("ipv6-default-gateway", record({{"gateway", v6}}));
  auto* list = new ArrayValue();
  for (std::string const& gw : routes) list->append(record({{"gateway", gw}}));
  ip->insert("static-route", list);
  return ip;
}

class IPConfigValidatorsTest : public testing::NetTest {
 protected:
  void SetUp() override {
    NetTest::SetUp();
    // A calcNetworkAddr that tells subnets apart, like the appliance's.
    testing::setStandInScript("calcNetworkAddr", "exec ipcalc-ng -s -n \"$1\"\n");
  }
  void TearDown() override { testing::setStandInScript("calcNetworkAddr", nullptr); }
  IPConfigValidator mIp{"ip"};
};

// `key` (when not null) is replaced by `replacement` in the settings built from the rest.
TEST_F(IPConfigValidatorsTest, GatewayAndRouteWalks) {
  struct Case {
    std::initializer_list<std::string> addresses;
    char const *v4, *v6;
    std::vector<std::string> routes;
    char const* key;
    Value* replacement;
    char const *message, *ipcalc, *calc;  // message "" when valid
  } const cases[] = {
      // clang-format off
      {{}, "99.9.9.9", "2001::1", {"99.9.9.9"}, "use-dhcp", simple("true"), "", "", ""},
      {{}, "10.1.0.1", "", {}, "use-dhcp", simple("TRUE"),
       "@network_validation_ipv4_default_gateway_with_no_static_addr", "", ""},
      {{}, "", "2001:db8::1", {}, nullptr, nullptr,
       "@network_validation_ipv6_default_gateway_with_no_static_addr", "", ""},
      {{"192.168.1.5/24", "2001:db8::7/64", "10.1.0.7/16"}, "10.1.0.1", "", {}, nullptr, nullptr, "",
       "-s -n 10.1.0.1/24; -s -n 192.168.1.5/24; -s -n 10.1.0.1/16; -s -n 10.1.0.7/16", ""},
      {{"10.1.0.7/16", "2001:db8::7/64"}, "10.2.0.1", "", {}, nullptr, nullptr,
       "@network_validation_ipv4_default_gateway_not_on_subnet",
       "-s -n 10.2.0.1/16; -s -n 10.1.0.7/16", ""},
      {{"10.1.0.7/16"}, "", "", {}, "ipv4-default-gateway", new StructValue(), kExec, "", ""},
      {{"10.1.0.7/16", "2001:db8:1::7/64"}, "", "2001:db8:1::1", {}, nullptr, nullptr, "", "",
       "2001:db8:1::1/64; 2001:db8:1::7/64"},
      {{"2001:db8:2::7/64"}, "", "2001:db8:1::1", {}, nullptr, nullptr,
       "@network_validation_ipv6_default_gateway_not_on_subnet", "",
       "2001:db8:1::1/64; 2001:db8:2::7/64"},
      {{}, "", "", {"10.1.0.1"}, nullptr, nullptr,
       "@network_validation_static_route_with_no_static_addr", "", ""},
      {{"2001:db8::7/64", "10.1.0.7/16"}, "", "", {"10.1.0.1"}, nullptr, nullptr, "",
       "-s -n 10.1.0.1/16; -s -n 10.1.0.7/16", "10.1.0.1/64; 2001:db8::7/64"},
      {{"10.1.0.7/16"}, "", "", {"10.1.9.9", "10.9.9.9"}, nullptr, nullptr,
       "The route gateway 10.9.9.9 is not in the subnet of any static address of the interface.",
       "-s -n 10.1.9.9/16; -s -n 10.1.0.7/16; -s -n 10.9.9.9/16; -s -n 10.1.0.7/16", ""},
      {{"10.1.0.7/16"}, "", "", {}, "static-route", array({"10.1.0.1"}), kExec, "", ""},
      // clang-format on
  };
  int descriptors = testing::openDescriptorCount();
  for (Case const& c : cases) {
    SCOPED_TRACE(&c - cases);
    std::unique_ptr<StructValue> value(settings(c.addresses, c.v4, c.v6, c.routes));
    if (c.key != nullptr) value->insert(c.key, c.replacement);
    testing::clearStandInCalls();
    EXPECT_EQ(c.message, verdict(mIp, value.get()));
    EXPECT_EQ(c.ipcalc, joined("ipcalc"));
    EXPECT_EQ(c.calc, joined("calcNetworkAddr"));
    EXPECT_EQ(0u, testing::leftoverFiles());
  }
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
  // Both misspelling and the IPv4 words in the IPv6 walk are kept for the log tools.
  testing::Lines lines = traces();
  EXPECT_TRUE(testing::has(
      lines, "Specified IPv6 Default Gateway is not in subnet of any static IP address specifed"));
  EXPECT_TRUE(testing::has(
      lines, "Getting network address for '2001:db8:1::1/64' ipv4-default-gateway and address"));
}

TEST_F(IPConfigValidatorsTest, OddInputsAndUnwritableTmp) {
  // Empty outputs compare equal.
  testing::setStandInScript("calcNetworkAddr", nullptr);
  std::unique_ptr<StructValue> ip(settings({"2001:db8:2::7/64"}, "", "2001:db8:1::1"));
  EXPECT_EQ("", verdict(mIp, ip.get()));
  // An address without prefix length is left to the address validators: it throws.
  ip.reset(settings({"10.1.0.7"}, "10.1.0.1", ""));
  EXPECT_THROW(mIp.Valid(ip.get()), std::out_of_range);
  EXPECT_TRUE(testing::standInCalls("ipcalc").empty());
  ASSERT_EQ(0, mount("ro", "/tmp", "tmpfs", MS_RDONLY, nullptr));
  ip.reset(settings({"10.1.0.7/16"}, "10.1.0.1", ""));
  EXPECT_EQ(kExec, verdict(mIp, ip.get()));
  EXPECT_TRUE(testing::standInCalls("ipcalc").empty());
  ASSERT_EQ(0, umount("/tmp"));
  EXPECT_TRUE(logged("Unable to create temporary file descriptor: Read-only file system"));
}

TEST_F(IPConfigValidatorsTest, RouteFamiliesAndDuplicates) {
  auto route = [](char const* destination, char const* gateway, char const* metric = "") {
    return record({{"destination", destination}, {"gateway", gateway}, {"metric", metric}});
  };
  auto list = [](std::initializer_list<Value*> elements) {
    auto* a = new ArrayValue();
    for (Value* e : elements) a->append(e);
    return a;
  };
  StaticRouteValidator one("route");
  IPAddressArrayValidator addresses("address");
  StaticRouteArrayValidator routeList("static-route");
  struct Case {
    Base const& validator;
    Value* value;  // owned by the loop
    char const *message, *ipcalc;
  } const cases[] = {
      {one, route("10.0.0.0/8", "10.1.1.1"), "", "-4 -c -s 10.0.0.0/8; -c -4 -s 10.1.1.1"},
      {one, route("2001:db8::/32", "fe80::1"), "", "-4 -c -s 2001:db8::/32; -c -6 -s fe80::1"},
      {one, route("10.0.0.0/8", "fe80::1"),
       "The gateway fe80::1 does not belong to the same IP family as the destination 10.0.0.0/8.",
       "-4 -c -s 10.0.0.0/8; -c -4 -s fe80::1"},
      {one, route("nonsense", "10.1.1.1"),
       "The gateway 10.1.1.1 does not belong to the same IP family as the destination nonsense.",
       "-4 -c -s nonsense; -c -6 -s 10.1.1.1"},
      {one, route("10.0.0.0/8", ""), kExec, ""},
      {addresses, list({simple("10.0.0.1/24"), new StructValue(), simple("10.0.0.2/24")}), "", ""},
      {addresses, array({"10.0.0.1/24", "fe80::1/64", "10.0.0.1/16"}),
       "The address 10.0.0.1/16 repeats an address already in the list (only the prefix length "
       "differs).",
       ""},
      // A missing metric equals 0.
      {routeList, list({route("10.0.0.0/8", "10.1.1.1"), route("10.0.0.0/8", "10.1.1.1", "1")}), "",
       ""},
      {routeList, list({route("10.0.0.0/8", "10.1.1.1"), route("10.0.0.0/8", "10.1.1.1", "0")}),
       "@network_validation_duplicate_static_route", ""},
      {routeList, array({"a", "b"}), "@network_validation_duplicate_static_route", ""},
      {routeList, new StructValue(), kExec, ""},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(&c - cases);
    testing::clearStandInCalls();
    std::unique_ptr<Value> value(c.value);
    EXPECT_EQ(c.message, verdict(c.validator, value.get()));
    EXPECT_EQ(c.ipcalc, joined("ipcalc"));
  }
}

}  // namespace
}  // namespace corvane::config::validator
