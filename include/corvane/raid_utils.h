// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// RAID maintenance through the hardware manager ("hardwaremgr"): controller shutdown, write
/// caching, rebuild, volume deletion, hot swap, recovery. Status reading is `statusUtils`.

#ifndef CORVANE_RAID_UTILS_H
#define CORVANE_RAID_UTILS_H

#include <cstdint>

#include "corvane/export.h"

namespace corvane {
namespace raidUtils {

// All operations may run on any thread; each opens its own connection, makes one call and
// closes it. Every one answers false when the manager cannot be reached.

/// Shuts the RAID controller down. The manager's answer.
CORVANE_EXPORT bool shutdownRaid();

/// Switches write caching of `volume` on or off. The manager's answer.
CORVANE_EXPORT bool setWriteCaching(int16_t volume, bool enabled);

/// Starts rebuilding the degraded volume. True when the manager took the request.
CORVANE_EXPORT bool rebuildVolume();

/// Deletes the volume, quickly (without wiping) when `quick` is set. True when the manager
/// took the request.
CORVANE_EXPORT bool deleteVolume(bool quick);

/// Prepares the disk `deviceId` for removal. The manager's answer.
CORVANE_EXPORT bool prepareHotSwap(int16_t deviceId);

/// Tries to bring a failed volume back. The manager's answer.
CORVANE_EXPORT bool recoverVolume();

/// Whether the volume carries a partition table of a type the appliance cannot use. The
/// manager's answer.
CORVANE_EXPORT bool hasUnsupportedPartitionTableType();

}  // namespace raidUtils
}  // namespace corvane

#endif  // CORVANE_RAID_UTILS_H
