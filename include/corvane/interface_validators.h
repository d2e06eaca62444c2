// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Interface validators: a proposed ethernet, VLAN or aggregate interface object judged against
/// the interface objects the configuration manager already holds in the domain "default"
/// (unique names, unique VLAN pairs, aggregate membership, no address on two interfaces), plus
/// the MTU rule for IPv6 and the ethernet mode check.
///   corvane::config::validator::VLANInterfaceValidator v("vlan-interface");
///   if (!v.Valid(object)) show(v.message());

#ifndef CORVANE_INTERFACE_VALIDATORS_H
#define CORVANE_INTERFACE_VALIDATORS_H

#include <string>

#include "corvane/export.h"
#include "corvane/validator.h"

namespace corvane {
namespace config {

class ArrayValue;

namespace validator {

/// "@network_validation_mtu_too_small" when the decimal `mtu` is below 1280 (letters count as
/// 0) and `addresses` (may be null) holds an address with ":"; otherwise "". IPv4-only
/// interfaces may use smaller MTUs on purpose. Any thread.
CORVANE_EXPORT std::string validateMTU(std::string mtu, ArrayValue const* addresses);

/// "" when no ethernet, VLAN or aggregate interface other than `name` holds the base address
/// `base` (the part before "/"); otherwise the message to store: the expanded
/// "@network_validation_invalid_ip_address_already_exists" (base, holder), or
/// "@cli_gen_execution_error" when a list or object cannot be fetched. One configuration
/// manager request per list and per object; any thread.
CORVANE_EXPORT std::string checkForDupBaseAddr(std::string name, std::string base);

// The interface validators below reject with exactly one stored message: bare identifiers
// for internal failures ("@cli_gen_execution_error", also when the configuration manager
// cannot be reached) and for the rules without arguments, expanded text for the others.
// Local checks come before the walks over the configuration manager, and each walk skips the
// object's own name, so re-validating an unchanged object passes. One object must not serve
// two threads at once.

/// A whole "ethernet-interface" object. An enabled ("Enabled" or "enabled") member of an
/// aggregate is refused; the mode is asked of `diagnosticUtils::testMode`, and only a definite
/// "unsupported" (33) refuses. A failing aggregate list is tolerated on purpose.
class CORVANE_EXPORT EthernetInterfaceValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// A whole "vlan-interface" object: name unique, (sub-interface, VLAN identifier) unique,
/// identifiers compared as text.
class CORVANE_EXPORT VLANInterfaceValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// A whole "aggregate-interface" object: name unique, policy settings complete, no member
/// shared with another aggregate.
class CORVANE_EXPORT AggregateInterfaceValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// A VLAN's "sub-interface": an existing ethernet or aggregate interface that is no member of
/// an aggregate. A failing aggregate list is tolerated on purpose.
class CORVANE_EXPORT VLANSubInterfaceNameValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// One entry of an aggregate's "member" list: an existing ethernet interface whose
/// "AdminState" is exactly "Disabled" (case-sensitive, unlike the ethernet validator's test
/// for enabled; the asymmetry is deliberate).
class CORVANE_EXPORT EthernetInterfaceNameValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

}  // namespace validator
}  // namespace config
}  // namespace corvane

#endif  // CORVANE_INTERFACE_VALIDATORS_H
