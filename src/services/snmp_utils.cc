// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// SNMP agent control through its init script, and the status manager's traps.

#include "corvane/snmp_utils.h"

#include <corvane/idl/StatusManager.h>
#include "corvane/client.h"
#include "corvane/launch_exec.h"
#include "corvane/log.h"

namespace corvane {
namespace snmpUtils {

namespace {

using Client = statusManager::StatusManagerClient;
char const kService[] = "statusmgr";
char const kAgentScript[] = "/etc/init.d/snmpd";

int controlAgent(char const* action) {
  char const* const argv[] = {kAgentScript, action, nullptr};
  int rc = LaunchExec::launch(argv, "snmpUtils", nullptr, -1, -1, nullptr, nullptr);
  if (rc != LaunchExec::kNoError) {
    log::trace(3, "%s %s returns %d - %s", kAgentScript, action, rc,
               LaunchExec::getExitDescription(rc));
  } else {
    log::trace(6, "%s %s done", kAgentScript, action);
  }
  return rc;
}

}  // namespace

int startAgent() { return controlAgent("start"); }

int stopAgent() { return controlAgent("stop"); }

int restartAgent() { return controlAgent("restart"); }

bool issueSensorTrap(std::string const& timestamp, int sensorType, int16_t sensorNum,
                     std::string const& sensorName, std::string const& eventCode, int eventDir,
                     bool isOk) {
  return callManager<Client>(kService, 0, [&](Client& client) {
    client.issueSensorTrap(timestamp, sensorType, sensorNum, sensorName, eventCode, eventDir, isOk);
  });
}

bool issueLinkEventTrap(bool isLinkDownEvent, int ifIndex, std::string const& ifAdminStatusStr,
                        std::string const& ifOperStatusStr) {
  return callManager<Client>(kService, 0, [&](Client& client) {
    client.issueLinkEventTrap(isLinkDownEvent, ifIndex, ifAdminStatusStr, ifOperStatusStr);
  });
}

}  // namespace snmpUtils
}  // namespace corvane
