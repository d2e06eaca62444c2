// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Network diagnostics of the appliance: reachability of a host, name resolution and a TCP
/// connection tested by the network manager ("networkmgr"), and the link-mode test of a card.
///   int rc = corvane::diagnosticUtils::testMode("eth0", "1000-full");

#ifndef CORVANE_DIAGNOSTIC_UTILS_H
#define CORVANE_DIAGNOSTIC_UTILS_H

#include <string>

#include "corvane/export.h"

namespace corvane {
namespace diagnosticUtils {

/// Outcome of one test: `ok` when it passed, the manager's error code and its message.
struct CORVANE_EXPORT NetTestResult {
  bool ok = false;
  int errcode = -1;
  std::string message;
};

/// Test kinds this library asks the manager's `NetTest` for, with their parameters.
enum NetTestType : int {
  kPingTest = 1,        // host
  kNslookupTest = 2,    // name
  kTcpConnectTest = 3,  // host, port in decimal
};

// Each runs one test with its own connection and may run on any thread. The answer is the
// manager's; when it cannot be reached (or the input is refused before calling) the answer
// is the neutral one: `ok` false, `errcode` -1, empty `message`.

/// Whether `host` (name or address) answers echo requests.
CORVANE_EXPORT NetTestResult ping(std::string const& host);

/// Whether `name` resolves; the manager's message carries what it resolved to.
CORVANE_EXPORT NetTestResult nslookup(std::string const& name);

/// Whether a TCP connection to `port` of `host` can be opened. A port outside 1..65535 is
/// refused without a call.
CORVANE_EXPORT NetTestResult tcpConnect(std::string const& host, int port);

/// Result codes of `testMode`.
enum : int {
  kModeSupported = 0,
  kModeUnsupported = 33,
  kModesUnknown = 34,
};

/// Asks the network card's control script "/usr/sbin/nicctlw.sh" whether `interfaceName`
/// supports the link mode `mode`, running "/usr/sbin/nicctlw.sh testmode INTERFACE MODE"
/// through `LaunchExec` (one process). The script exits 0 for a supported mode, 33 for an
/// unsupported one and 34 when it cannot list the card's modes. Returns 0 or 33 as the script
/// says, and 34 for anything else (script missing, killed, other exit codes). Launches are
/// process-wide (see `LaunchExec`): serialise calls from several threads.
CORVANE_EXPORT int testMode(std::string interfaceName, std::string mode);

}  // namespace diagnosticUtils
}  // namespace corvane

#endif  // CORVANE_DIAGNOSTIC_UTILS_H
