// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// IP configuration and static-route validators: an interface's IP settings judged as a whole
/// (gateways on the subnet of a static address, no duplicate addresses or routes, route
/// gateways of their destination's family). Address syntax is left to the address validators.
///   corvane::config::validator::IPConfigValidator v("ip");
///   if (!v.Valid(ipSettings)) show(v.message());

#ifndef CORVANE_IP_CONFIG_VALIDATORS_H
#define CORVANE_IP_CONFIG_VALIDATORS_H

#include "corvane/export.h"
#include "corvane/validator.h"

namespace corvane {
namespace config {
namespace validator {

/// The IP settings of one interface: a structure with "use-dhcp", "address" (addresses with
/// prefix), "ipv4-default-gateway", "ipv6-default-gateway" and "static-route". With DHCP on,
/// everything is accepted without a process. Otherwise each default gateway and each route
/// gateway must lie in the subnet of one of the addresses, tried in list order: two processes
/// per address tried ("/bin/ipcalc -s -n" for IPv4, "/usr/sbin/calcNetworkAddr" for IPv6),
/// whose first output lines are compared as text, each through its own "/tmp/nv.XXXXXX" file
/// that is removed before returning. Rejections store bare identifiers, except the route
/// gateway one, which is expanded: the unevenness is deliberate. An address without "/" that
/// reaches a subnet comparison throws std::out_of_range (the address validators exclude it).
/// One object must not serve two threads at once.
class CORVANE_EXPORT IPConfigValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// One static route (members "destination" and "gateway"): the gateway must be of the
/// destination's family, both judged by ipcalc (two processes). Rejects with the expanded
/// "@network_validation_static_route_families_mismatched", or "@cli_gen_execution_error" for a
/// value that is not such a structure or when ipcalc cannot be started.
class CORVANE_EXPORT StaticRouteValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// A list of address texts with no base address (the part before "/") twice; rejects with the
/// expanded "@network_validation_duplicate_base_address" naming the repeated element. No process.
class CORVANE_EXPORT IPAddressArrayValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// A list of routes with no (destination, gateway, metric) triple twice, a missing metric
/// counting as "0"; rejects with the bare "@network_validation_duplicate_static_route".
class CORVANE_EXPORT StaticRouteArrayValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

}  // namespace validator
}  // namespace config
}  // namespace corvane

#endif  // CORVANE_IP_CONFIG_VALIDATORS_H
