// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Ethernet mode test through the network card's control script.

#include "corvane/diagnostic_utils.h"

#include "corvane/launch_exec.h"
#include "corvane/log.h"

namespace corvane {
namespace diagnosticUtils {

int testMode(std::string interfaceName, std::string mode) {
  Tracer tracer("testMode", "diagnosticUtils", __LINE__, 2);
  char const* argv[] = {"/usr/sbin/nicctlw.sh", "testmode", interfaceName.c_str(), mode.c_str(),
                        nullptr};
  int status = -1;
  int rc = LaunchExec::launch(argv, "diagnosticUtils::testMode", nullptr, -1, -1, nullptr, &status);
  int result = kModesUnknown;
  if (rc == LaunchExec::kNoError || rc == LaunchExec::kChildNonZero) {
    if (status == kModeSupported || status == kModeUnsupported) result = status;
  }
  log::trace(7, "testMode: nicctlw.sh exit %d for mode '%s' on '%s', result %d", status,
             mode.c_str(), interfaceName.c_str(), result);
  tracer.result(result);
  return result;
}

}  // namespace diagnosticUtils
}  // namespace corvane
