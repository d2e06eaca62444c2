// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// IP configuration and static-route validators. Subnet membership is never computed here:
// the network address of the gateway (with the address's prefix) and of the address are
// asked of the system's programs and their first output lines compared as text.

#include "corvane/ip_config_validators.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>
#include <string>

#include "corvane/config_value.h"
#include "corvane/launch_exec.h"
#include "corvane/log.h"
#include "network/validator_util.h"

namespace corvane {
namespace config {
namespace validator {

namespace {

using network::kExecutionError;

char const* const kCaller = "IPConfigValidator::Valid";
char const* const kInvokeFailure = "Failure to invoke ipcalc to compute network address";

bool isIPv6(std::string const& address) { return address.find(':') != std::string::npos; }

// Runs the network-address program of the family on `argument` with its standard output in a
// fresh "/tmp/nv.XXXXXX" file and leaves the first line it printed in `line`. The file is
// gone on every return. False (with `message` stored) when the file or process cannot be made.
bool networkAddress(std::string const& argument, bool ipv6, std::string const& announce,
                    char const* failure, std::string& line, std::string& message) {
  char path[] = "/tmp/nv.XXXXXX";
  int fd = mkostemp(path, O_CLOEXEC);
  if (fd < 0) {
    log::trace(7, "Unable to create temporary file descriptor: %s", strerror(errno));
    message = kExecutionError;
    return false;
  }
  char const* v4[] = {"/bin/ipcalc", "-s", "-n", argument.c_str(), nullptr};
  char const* v6[] = {"/usr/sbin/calcNetworkAddr", argument.c_str(), nullptr};
  log::trace(7, "%s", announce.c_str());
  // Only what the program prints counts, not its exit status.
  int rc = LaunchExec::launch(ipv6 ? v6 : v4, kCaller, nullptr, -1, fd, nullptr, nullptr);
  if (rc < 0) {
    close(fd);
    unlink(path);
    log::trace(7, "%s", failure);
    message = kExecutionError;
    return false;
  }
  line.clear();
  {
    std::ifstream in(path, std::ios::binary);
    std::getline(in, line);
  }
  close(fd);
  unlink(path);
  return true;
}

// Whether `gateway` lies in the subnet of `address` (which must hold a "/"). `what` names the
// gateway in the first log line. False (message stored) on an internal failure.
bool sameSubnet(std::string const& address, std::string const& gateway, char const* what,
                char const* gatewayFailure, bool& same, std::string& message) {
  bool ipv6 = isIPv6(address);
  // Throws std::out_of_range for an address without "/": the address validators exclude it.
  std::string gatewayNet, addressNet, withPrefix = gateway + address.substr(address.find('/'));
  if (!networkAddress(
          withPrefix, ipv6,
          "Getting network address for '" + withPrefix + "' " + what + " and address pair\n",
          gatewayFailure, gatewayNet, message) ||
      !networkAddress(address, ipv6, "Getting network address for '" + address + "' address \n",
                      kInvokeFailure, addressNet, message)) {
    return false;
  }
  log::trace(7, "Network for address '%s' is '%s'; gw computed network was '%s'\n", address.c_str(),
             addressNet.c_str(), gatewayNet.c_str());
  same = addressNet == gatewayNet;
  return true;
}

// The default-gateway rule of one family.
struct GatewayRule {
  char const* member;
  bool ipv6;
  char const* noStaticLine;
  char const* noStaticId;
  char const* noValueLine;
  char const* notOnSubnetLine;
  char const* notOnSubnetId;
};

// "specifed" is misspelt on purpose: the lines are matched by the appliance's log tools.
GatewayRule const kGatewayRules[] = {
    {"ipv4-default-gateway", false,
     "IPv4 Default Gateway set but no static IP addresses exist and DHCP is not on",
     "@network_validation_ipv4_default_gateway_with_no_static_addr",
     "Unable to get IPv4 gateway value",
     "Specified IPv4 Default Gateway is not in subnet of any static IP address specifed",
     "@network_validation_ipv4_default_gateway_not_on_subnet"},
    {"ipv6-default-gateway", true,
     "IPv6 Default Gateway set but no static IP addresses exist and DHCP is not on",
     "@network_validation_ipv6_default_gateway_with_no_static_addr",
     "Unable to get IPv6 gateway value",
     "Specified IPv6 Default Gateway is not in subnet of any static IP address specifed",
     "@network_validation_ipv6_default_gateway_not_on_subnet"},
};

bool reject(std::string& message, std::string const& text, Tracer& tracer) {
  message = text;
  tracer.result(false);
  return false;
}

}  // namespace

bool IPConfigValidator::Valid(Value const* value) const {
  Tracer tracer("Valid", "IPAddressValidator", __LINE__, network::kTraceCategory);
  auto const* ip = dynamic_cast<StructValue const*>(value);
  if (ip == nullptr) {
    log::trace(7, "Unable to dynamic_cast in IPConfigValidator::Valid");
    return reject(mMessage, kExecutionError, tracer);
  }
  SimpleValue const* dhcp = network::simpleMember(ip, "use-dhcp");
  if (dhcp == nullptr) {
    log::trace(7, "Unable to get DHCP property in IPConfigValidator::Valid");
    return reject(mMessage, kExecutionError, tracer);
  }
  // With DHCP every later check, the static routes' included, is skipped on purpose.
  if (dhcp->text() == "true") {
    log::trace(
        7, "DHCP is on; bypassing subnet check for default gateway in IPConfigValidator::Valid");
    tracer.result(true);
    return true;
  }
  ArrayValue const* addresses = network::arrayMember(ip, "address");
  bool hasStatic = addresses != nullptr && addresses->size() > 0;

  for (GatewayRule const& rule : kGatewayRules) {
    if (network::structMember(ip, rule.member) == nullptr) continue;
    if (!hasStatic) {
      log::trace(7, "%s", rule.noStaticLine);
      return reject(mMessage, rule.noStaticId, tracer);
    }
    SimpleValue const* gateway =
        network::simpleMember(network::structMember(ip, rule.member), "gateway");
    if (gateway == nullptr) {
      log::trace(7, "%s", rule.noValueLine);
      return reject(mMessage, kExecutionError, tracer);
    }
    bool found = false;
    for (Value const* element : addresses->elements()) {
      auto const* address = dynamic_cast<SimpleValue const*>(element);
      if (address == nullptr || isIPv6(address->text()) != rule.ipv6) continue;
      // The IPv6 walk logs the IPv4 words on purpose.
      if (!sameSubnet(address->text(), gateway->text(), "ipv4-default-gateway", kInvokeFailure,
                      found, mMessage)) {
        tracer.result(false);
        return false;
      }
      if (found) break;
    }
    if (!found) {
      log::trace(3, "%s", rule.notOnSubnetLine);
      return reject(mMessage, rule.notOnSubnetId, tracer);
    }
  }

  ArrayValue const* routes = network::arrayMember(ip, "static-route");
  if (routes == nullptr || routes->size() == 0) {
    tracer.result(true);
    return true;
  }
  if (!hasStatic) {
    log::trace(7, "Static routes defined but no static IP addresses exist and DHCP is not on");
    return reject(mMessage, "@network_validation_static_route_with_no_static_addr", tracer);
  }
  for (Value const* element : routes->elements()) {
    auto const* route = dynamic_cast<StructValue const*>(element);
    if (route == nullptr) {
      log::trace(7, "Unable to get static route value");
      return reject(mMessage, kExecutionError, tracer);
    }
    SimpleValue const* gateway = network::simpleMember(route, "gateway");
    if (gateway == nullptr) {
      log::trace(7, "Unable to get static route gateway value");
      return reject(mMessage, kExecutionError, tracer);
    }
    // Every address is tried, its own family choosing the program, whatever the gateway's.
    bool found = false;
    for (Value const* candidate : addresses->elements()) {
      auto const* address = dynamic_cast<SimpleValue const*>(candidate);
      if (address == nullptr) continue;
      if (!sameSubnet(address->text(), gateway->text(), "static-route gateway",
                      "Failure to compute network address", found, mMessage)) {
        tracer.result(false);
        return false;
      }
      if (found) break;
    }
    if (!found) {
      log::trace(3,
                 "Specified gateway in static route is not in subnet of any static IP address "
                 "specifed");
      return reject(mMessage,
                    network::expand("@network_validation_static_route_gateway_not_in_subnet",
                                    {gateway->text()}),
                    tracer);
    }
  }
  tracer.result(true);
  return true;
}

bool StaticRouteValidator::Valid(Value const* value) const {
  Tracer tracer("Valid", "IPAddressValidator", __LINE__, network::kTraceCategory);
  auto const* route = dynamic_cast<StructValue const*>(value);
  SimpleValue const* destination = network::simpleMember(route, "destination");
  SimpleValue const* gateway = network::simpleMember(route, "gateway");
  // Missing members are a schema fault, reported like a wrong value kind.
  if (destination == nullptr || gateway == nullptr) {
    log::trace(7, "Unable to dynamic_cast in StaticRouteValidator::Valid");
    return reject(mMessage, kExecutionError, tracer);
  }
  char const* const caller = "StaticRouteValidator::Valid";
  std::string const& dest = destination->text();
  std::string const& gw = gateway->text();

  log::trace(7, "Detecting if '%s' is a valid IPv4 address\n", dest.c_str());
  char const* probe[] = {"/bin/ipcalc", "-4", "-c", "-s", dest.c_str(), nullptr};
  int status = -1;
  if (network::run(probe, caller, &status) < 0) {
    log::trace(7, "Failure to invoke ipcalc to validate IPv4 address");
    return reject(mMessage, kExecutionError, tracer);
  }
  // Anything ipcalc refuses as IPv4, malformed text included, is taken as IPv6.
  bool ipv4 = status == 0;
  log::trace(7, "ipcalc reports that '%s' is %s IPv4 address", dest.c_str(),
             ipv4 ? "a valid" : "not a valid");

  log::trace(7, "Verifying that '%s' matches the address family of its destination\n", gw.c_str());
  // Check option before family option here, unlike the address validators.
  char const* check[] = {"/bin/ipcalc", "-c", ipv4 ? "-4" : "-6", "-s", gw.c_str(), nullptr};
  status = -1;
  if (network::run(check, caller, &status) < 0) {
    log::trace(7, "Failure to invoke ipcalc to validate IP address and network");
    return reject(mMessage, kExecutionError, tracer);
  }
  if (status != 0) {
    log::trace(7, "ipcalc reports that '%s' does not match the family of the destination",
               gw.c_str());
    return reject(
        mMessage,
        network::expand("@network_validation_static_route_families_mismatched", {gw, dest}),
        tracer);
  }
  log::trace(7, "ipcalc reports that '%s' and '%s' have the same IP family", dest.c_str(),
             gw.c_str());
  tracer.result(true);
  return true;
}

bool IPAddressArrayValidator::Valid(Value const* value) const {
  Tracer tracer("Valid", "IPAddressValidator", __LINE__, network::kTraceCategory);
  auto const* list = dynamic_cast<ArrayValue const*>(value);
  if (list == nullptr) {
    log::trace(7, "Unable to dynamic_cast in IPAddressArrayValidator::Valid");
    return reject(mMessage, kExecutionError, tracer);
  }
  std::set<std::string> seen;
  for (size_t i = 0; list->size() >= 2 && i < list->size(); ++i) {
    auto const* address = dynamic_cast<SimpleValue const*>(list->elements()[i]);
    if (address == nullptr) continue;
    std::string base = network::baseAddress(address->text());
    if (!seen.insert(base).second) {
      log::trace(7, "IPAddressArrayValidator::Valid detected '%s' as a duplicate address",
                 base.c_str());
      return reject(
          mMessage,
          network::expand("@network_validation_duplicate_base_address", {address->text()}), tracer);
    }
  }
  tracer.result(true);
  return true;
}

bool StaticRouteArrayValidator::Valid(Value const* value) const {
  Tracer tracer("Valid", "IPAddressValidator", __LINE__, network::kTraceCategory);
  auto const* list = dynamic_cast<ArrayValue const*>(value);
  if (list == nullptr) {
    log::trace(7, "Unable to dynamic_cast in StaticRouteArrayValidator::Valid");
    return reject(mMessage, kExecutionError, tracer);
  }
  std::set<std::string> seen;
  for (size_t i = 0; list->size() >= 2 && i < list->size(); ++i) {
    auto const* route = dynamic_cast<StructValue const*>(list->elements()[i]);
    auto text = [route](char const* member, char const* absent) {
      SimpleValue const* simple = network::simpleMember(route, member);
      return simple != nullptr ? simple->text() : std::string(absent);
    };
    // A missing metric equals an explicit 0.
    std::string key =
        text("destination", "") + "|" + text("gateway", "") + "|" + text("metric", "0");
    if (!seen.insert(key).second) {
      log::trace(7, "StaticRouteArrayValidator::Valid detected '%s' as a duplicate static route",
                 key.c_str());
      return reject(mMessage, "@network_validation_duplicate_static_route", tracer);
    }
  }
  tracer.result(true);
  return true;
}

}  // namespace validator
}  // namespace config
}  // namespace corvane
