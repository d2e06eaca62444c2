// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Firmware images through the firmware manager ("firmwaremgr"): upgrade, reflash, rollback
/// and their bookkeeping, and the release type of the installed firmware.

#ifndef CORVANE_FIRMWARE_UTILS_H
#define CORVANE_FIRMWARE_UTILS_H

#include <string>

#include "corvane/export.h"

namespace corvane {
namespace firmwareUtils {

// All operations may run on any thread. Each manager operation opens its own connection,
// makes one call and closes it. The firmware manager answers `upgrade`, `reflash` and
// `rollback` with a byte code, returned here as it came (signed); -1 also stands for "the
// manager could not be reached" or "refused before calling".

/// Installs the image at `imagePath`. `callbackPort` is the port on which this program serves
/// the callback service, to which the manager reports progress; 0 means "no callback
/// server" (no progress is reported). A port outside 0..65535 is refused with -1 without a
/// call. The manager's code; -1 when it cannot be reached.
CORVANE_EXPORT int upgrade(std::string const& imagePath, bool useDynamicLoader, bool pristine,
                           int callbackPort);
/// As above with the port of this process's callback server (`startCallbackManager`), or 0
/// when none runs.
CORVANE_EXPORT int upgrade(std::string const& imagePath, bool useDynamicLoader, bool pristine);

/// Writes the image at `imagePath` over the running firmware. The manager's code; -1 when
/// it cannot be reached.
CORVANE_EXPORT int reflash(std::string const& imagePath);

/// Returns to the previously installed firmware. The manager's code; -1 when it cannot be
/// reached.
CORVANE_EXPORT int rollback();

/// Deletes the previously installed firmware. False when refused or unreachable.
CORVANE_EXPORT bool deletePrevious();

/// Whether the previous upgrade succeeded. False when unreachable.
CORVANE_EXPORT bool wasPreviousSuccess();

/// Whether an upgrade that reports to a callback server is under way. False when
/// unreachable.
CORVANE_EXPORT bool hasRunningUpgradeWithCallback();

/// The release type of the installed firmware ("GA", "beta", ...). The appliance keeps it as
/// the first line of "/etc/corvane/releaseType", written when an image is installed. Returns
/// that line without its line end and trailing blanks; empty when the file is missing or
/// unreadable. Reads the local file; no manager call.
CORVANE_EXPORT std::string getReleaseType();

}  // namespace firmwareUtils
}  // namespace corvane

#endif  // CORVANE_FIRMWARE_UTILS_H
