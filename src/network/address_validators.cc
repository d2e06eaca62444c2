// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Address validators: the prefix rule here, the syntax left to ipcalc; and the bind probe.

#include "corvane/address_validators.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "corvane/config_value.h"
#include "corvane/log.h"
#include "network/validator_util.h"

namespace corvane {
namespace config {
namespace validator {

namespace {

using network::kExecutionError;

// What distinguishes the four syntax validators. Their log lines differ only in the class
// name (`caller`) and in the words naming what is checked (`what`).
struct Syntax {
  char const* familyFlag;  // null for none
  bool wantsPrefix;
  char const* caller;
  char const* what;
  char const* rejection;
};

Syntax const kAny = {nullptr, false, "IPAddressValidator::Valid", "IP address",
                     "@network_validation_invalid_ip_address"};
Syntax const kV4 = {"-4", false, "IPv4AddressValidator::Valid", "IPv4 address",
                    "@network_validation_invalid_ipv4_address"};
Syntax const kV6 = {"-6", false, "IPv6AddressValidator::Valid", "IPv6 address",
                    "@network_validation_invalid_ipv6_address"};
// Shares the rejection identifier of `kAny` on purpose; only the log lines differ.
Syntax const kNet = {nullptr, true, "IPAddressNetValidator::Valid", "IP address and network",
                     "@network_validation_invalid_ip_address"};

bool checkSyntax(Syntax const& s, Value const* value, std::string& message) {
  Tracer tracer("Valid", "IPAddressValidator", __LINE__, network::kTraceCategory);
  auto const* simple = dynamic_cast<SimpleValue const*>(value);
  if (simple == nullptr) {
    log::trace(7, "Unable to dynamic_cast in %s", s.caller);
    message = kExecutionError;
    tracer.result(false);
    return false;
  }
  std::string const& text = simple->text();
  // The commonest mistakes cost no process.
  bool hasPrefix = text.find('/') != std::string::npos;
  if (hasPrefix != s.wantsPrefix) {
    if (s.wantsPrefix) {
      log::trace(7, "Unable to find CIDR suffix in value - %s", s.caller);
    } else {
      log::trace(7, "Network specified in address, where it should not be present - %s", s.caller);
    }
    message = network::expand(s.wantsPrefix ? "@network_validation_invalid_ip_address_cidr_absent"
                                            : "@network_validation_invalid_ip_address_cidr_present",
                              {text});
    tracer.result(false);
    return false;
  }
  char const* argv[6];
  int n = 0;
  argv[n++] = "/bin/ipcalc";
  if (s.familyFlag != nullptr) argv[n++] = s.familyFlag;
  argv[n++] = "-c";
  argv[n++] = "-s";
  argv[n++] = text.c_str();
  argv[n] = nullptr;
  log::trace(7, "Verifying that '%s' is a valid %s\n", text.c_str(), s.what);
  int status = -1;
  if (network::run(argv, s.caller, &status) < 0) {
    log::trace(7, "Failure to invoke ipcalc to validate %s", s.what);
    message = kExecutionError;
    tracer.result(false);
    return false;
  }
  bool ok = status == 0;
  log::trace(7, "ipcalc reports that '%s' is %s %s", text.c_str(), ok ? "a valid" : "not a valid",
             s.what);
  if (!ok) message = network::expand(s.rejection, {text});
  tracer.result(ok);
  return ok;
}

}  // namespace

bool IPAddressValidator::Valid(Value const* value) const {
  return checkSyntax(kAny, value, mMessage);
}

bool IPv4AddressValidator::Valid(Value const* value) const {
  return checkSyntax(kV4, value, mMessage);
}

bool IPv6AddressValidator::Valid(Value const* value) const {
  return checkSyntax(kV6, value, mMessage);
}

bool IPAddressNetValidator::Valid(Value const* value) const {
  return checkSyntax(kNet, value, mMessage);
}

bool IPAddressAndBindValidator::Valid(Value const* value) const {
  Tracer tracer("Valid", "IPAddressValidator", __LINE__, network::kTraceCategory);
  auto const* pair = dynamic_cast<StructValue const*>(value);
  SimpleValue const* address = network::simpleMember(pair, "address");
  SimpleValue const* port = network::simpleMember(pair, "port");
  // A missing or non-simple member is a schema fault, reported like a wrong value kind.
  if (address == nullptr || port == nullptr) {
    // "Web" in the class name is deliberate: the line is kept as logged by earlier releases.
    log::trace(7, "Unable to dynamic_cast in IPAddressAndBindValidatorWeb::Valid");
    mMessage = kExecutionError;
    tracer.result(false);
    return false;
  }
  bool ok = checkBind(address->text(), port->text());
  if (!ok) mMessage = network::expand("@address_not_available", {});
  tracer.result(ok);
  return ok;
}

bool checkBind(std::string address, std::string port) {
  Tracer tracer("checkBind", "IPAddressValidator", __LINE__, network::kTraceCategory);
  // The family follows the text alone, but the address is filled the IPv4 way in both cases
  // and the port stays in host order: deliberate, kept as the appliance has always bound.
  int family = address.find(':') != std::string::npos ? AF_INET6 : AF_INET;
  sockaddr_in probe;
  memset(&probe, 0, sizeof probe);
  probe.sin_family = static_cast<sa_family_t>(family);
  probe.sin_port = static_cast<in_port_t>(strtol(port.c_str(), nullptr, 10));
  inet_aton(address.c_str(), &probe.sin_addr);
  static_assert(sizeof probe == 16, "the probe is a 16-byte IPv4 socket address");

  int rc = -1;
  int fd = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd >= 0) rc = bind(fd, reinterpret_cast<sockaddr const*>(&probe), sizeof probe);
  int error = errno;
  if (fd >= 0) close(fd);
  if (rc == 0) {
    tracer.result(true);
    return true;
  }
  log::trace(3, "Bind failed for %s:%s, err %d", address.c_str(), port.c_str(), error);
  bool ok = false;
  if (error == EADDRNOTAVAIL) {
    log::trace(3, "The address specified %s, is not available on the system", address.c_str());
  } else if (error == EADDRINUSE) {
    // Some process already listens there, so the address exists on this system.
    log::trace(4, "Address appears to already be in use");
    ok = true;
  }
  tracer.result(ok);
  return ok;
}

}  // namespace validator
}  // namespace config
}  // namespace corvane
