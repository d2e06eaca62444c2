// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// What a program needs from the process manager and the event daemon: readiness and ill
/// health events, reboot and shutdown requests, the platform log level, and the names of levels
/// and trace-mask bits.
///   corvane::processManagerUtils::signalIAmReady("webui", false);
///   corvane::processManagerUtils::distributeLogging(7, 0x2);

#ifndef CORVANE_PROCESS_MANAGER_UTILS_H
#define CORVANE_PROCESS_MANAGER_UTILS_H

#include <string>

#include "corvane/export.h"

namespace corvane {
namespace processManagerUtils {

/// Platform log levels: the syslog severities the logger filters by. -1 stands for a name
/// that the level table lacks.
enum PlatformLogLevel : int {
  kLevelUnknown = -1,
  kLevelFatal = 2,
  kLevelError = 3,
  kLevelWarn = 4,
  kLevelMessage = 5,
  kLevelInfo = 6,
  kLevelDebug = 7,
};

/// Returned by `Mask2Enum` for an unknown name; as a mask for `Mask2Text` it asks for the list
/// of every name. Not a trace category.
constexpr int kMaskUnknown = 0x40000000;

/// One entry of a name table.
struct CORVANE_EXPORT NameValue {
  char const* name;
  int value;
};

/// Level names from "debug" (7) down to "fatal" (2), ended by {"", -1}. Owned by the library.
CORVANE_EXPORT extern NameValue const kLevelNames[];
/// Trace-mask names: "all", "none", then one entry per category bit from "commands" (0x1) to
/// "trivial" (0x80000000), ended by {"", 0}. Owned by the library.
CORVANE_EXPORT extern NameValue const kMaskNames[];

/// First level name with the value `level`; null when the table has none. The text is static.
CORVANE_EXPORT char const* Level2Text(PlatformLogLevel level);
/// Case-insensitive lookup of a level name; `kLevelUnknown` (-1) when it is missing.
CORVANE_EXPORT PlatformLogLevel Level2Enum(std::string const& name);
/// Case-insensitive lookup of a trace-mask name; `kMaskUnknown` when it is missing or null.
CORVANE_EXPORT int Mask2Enum(char* name);
/// Appends (never clears) the names of `mask` to `out`, each as "  name\n": "none" for 0, "all"
/// for every bit, every name of the table for `kMaskUnknown`, otherwise the category names that
/// share a bit with `mask`, in table order.
CORVANE_EXPORT void Mask2Text(int mask, std::string& out);
/// Cuts `text` in place at runs of "+" and stores up to `max` tokens in `parts` (the first
/// `max` entries are nulled first); returns the count. With `max` below 1 only the first token
/// is cut off and 0 is returned. A null `text` gives 0. Reentrant.
CORVANE_EXPORT int split(char* text, char** parts, int max);
/// The trace mask of this process's logger (not the manager's). Any thread.
CORVANE_EXPORT int getPlatformTraceMask();

/// Emits the event `name` + "-started" through "/sbin/initctl emit" ("--no-wait" unless `wait`)
/// and returns the launcher's code (0 when the event went out). Serialise with other launches.
CORVANE_EXPORT int signalIAmReady(std::string const& name, bool wait);
/// Tells the process manager that `name` is unhealthy and asks whether it is unrecoverable:
/// then returns 1 and emits nothing; otherwise emits `name` + "-unhealthy" without waiting and
/// returns the launcher's code. A failing manager connection throws the Thrift exception.
CORVANE_EXPORT int signalApplicationIsUnhealthy(std::string const& name);
/// The process manager's answer to a reboot request. Thrift exceptions reach the caller.
CORVANE_EXPORT int requestReboot();
/// The process manager's answer to a shutdown request. Thrift exceptions reach the caller.
CORVANE_EXPORT int requestShutdown();
/// Sends the name of `level` to the process manager and returns its answer; 1 (without a call)
/// when `level` has no name. Thrift exceptions reach the caller.
CORVANE_EXPORT int setPlatformLogLevel(PlatformLogLevel level);
/// Reads the platform level's name from the process manager: 0 with `level` set (to -1 for a
/// name the table lacks), or 1 with `level` untouched when the answer is empty. Thrift
/// exceptions reach the caller.
CORVANE_EXPORT int getPlatformLogLevel(PlatformLogLevel& level);
/// Sets this process's level and mask (`log::setLogging`), then sends `setLogging` to the
/// process, firmware, hardware, network, user, configuration and status managers in that order.
/// A manager that cannot be reached is logged at level 3 and skipped; nothing is thrown.
CORVANE_EXPORT void distributeLogging(unsigned level, int mask);

}  // namespace processManagerUtils
}  // namespace corvane

#endif  // CORVANE_PROCESS_MANAGER_UTILS_H
