// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Network diagnostics of the appliance.
//   int rc = corvane::diagnosticUtils::testMode("eth0", "1000-full");

#ifndef CORVANE_DIAGNOSTIC_UTILS_H
#define CORVANE_DIAGNOSTIC_UTILS_H

#include <string>

#include "corvane/export.h"

namespace corvane {
namespace diagnosticUtils {

// Result codes of `testMode`.
enum : int {
  kModeSupported = 0,
  kModeUnsupported = 33,
  kModesUnknown = 34,
};

// Asks the network card's control script "/usr/sbin/nicctlw.sh" whether `interfaceName`
// supports the link mode `mode`, running "/usr/sbin/nicctlw.sh testmode INTERFACE MODE"
// through `LaunchExec` (one process). The script exits 0 for a supported mode, 33 for an
// unsupported one and 34 when it cannot list the card's modes. Returns 0 or 33 as the script
// says, and 34 for anything else (script missing, killed, other exit codes). Launches are
// process-wide (see `LaunchExec`): serialise calls from several threads.
CORVANE_EXPORT int testMode(std::string interfaceName, std::string mode);

}  // namespace diagnosticUtils
}  // namespace corvane

#endif  // CORVANE_DIAGNOSTIC_UTILS_H
