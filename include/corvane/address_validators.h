// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Address validators: whether one configuration value holds an acceptable network address,
/// judged by the system's "/bin/ipcalc", and whether an address and port can be bound here.
///   corvane::config::validator::IPv4AddressValidator v("gateway");
///   if (!v.Valid(value)) show(v.message());

#ifndef CORVANE_ADDRESS_VALIDATORS_H
#define CORVANE_ADDRESS_VALIDATORS_H

#include <string>

#include "corvane/export.h"
#include "corvane/validator.h"

namespace corvane {
namespace config {
namespace validator {

// The syntax validators below reject a simple value's text with the expanded
// "@network_validation_..." message, or with the bare "@cli_gen_execution_error" when the value
// is not a simple value or ipcalc cannot be started. Each check costs one ipcalc process,
// except that a wrongly present or absent "/" prefix is refused without one. A success leaves
// the message of an earlier failure in place. One object must not serve two threads at once.

/// An IPv4 or IPv6 address without prefix: ipcalc -c -s ADDRESS.
class CORVANE_EXPORT IPAddressValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// An IPv4 address without prefix: ipcalc -4 -c -s ADDRESS.
class CORVANE_EXPORT IPv4AddressValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// An IPv6 address without prefix: ipcalc -6 -c -s ADDRESS.
class CORVANE_EXPORT IPv6AddressValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// An address of either family with a prefix length: ipcalc -c -s ADDRESS/PREFIX. Shares its
/// rejection message with `IPAddressValidator` on purpose.
class CORVANE_EXPORT IPAddressNetValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// A structure with simple members "address" and "port" that `checkBind` accepts; otherwise
/// the expanded "@address_not_available" (or "@cli_gen_execution_error" for a value that is not
/// such a structure).
class CORVANE_EXPORT IPAddressAndBindValidator : public Base {
 public:
  using Base::Base;
  bool Valid(Value const* value) const override;
};

/// True when a stream socket can be bound to `address` and `port`, or when the pair is merely
/// in use (EADDRINUSE); false otherwise. Opens and closes one socket; any thread.
/// Deliberate and relied upon: the socket address is always IPv4-shaped (16 bytes, `inet_aton`)
/// even on the IPv6 socket chosen for a text with ":", and the port is stored in host order.
CORVANE_EXPORT bool checkBind(std::string address, std::string port);

}  // namespace validator
}  // namespace config
}  // namespace corvane

#endif  // CORVANE_ADDRESS_VALIDATORS_H
