// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// SNMP: the agent's start, stop and restart through its control script, and the traps that
/// the status manager ("statusmgr") sends for sensor and link events.

#ifndef CORVANE_SNMP_UTILS_H
#define CORVANE_SNMP_UTILS_H

#include <cstdint>
#include <string>

#include "corvane/export.h"

namespace corvane {
namespace snmpUtils {

/// The agent is controlled by running "/etc/init.d/snmpd" with the single argument "start",
/// "stop" or "restart" through `LaunchExec`. Each returns the launcher's internal exit code
/// (0 when the script exited 0; see `LaunchExec::getExitDescription`) and traces a failure at
/// level 3. They inherit the launcher's constraints: one launch at a time per process.
CORVANE_EXPORT int startAgent();
CORVANE_EXPORT int stopAgent();
CORVANE_EXPORT int restartAgent();

/// Asks the status manager to send a sensor event trap. `timestamp` and `eventCode` are
/// passed as text; the codes are the manager's. True once the manager has answered; false
/// when it cannot be reached. Any thread.
CORVANE_EXPORT bool issueSensorTrap(std::string const& timestamp, int sensorType, int16_t sensorNum,
                                    std::string const& sensorName, std::string const& eventCode,
                                    int eventDir, bool isOk);

/// Asks the status manager to send a link up or down trap for the interface of index
/// `ifIndex`. True once the manager has answered; false when it cannot be reached. Any thread.
CORVANE_EXPORT bool issueLinkEventTrap(bool isLinkDownEvent, int ifIndex,
                                       std::string const& ifAdminStatusStr,
                                       std::string const& ifOperStatusStr);

}  // namespace snmpUtils
}  // namespace corvane

#endif  // CORVANE_SNMP_UTILS_H
