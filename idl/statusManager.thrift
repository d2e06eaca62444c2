// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Status manager: SNMP traps. Capitalised service name on purpose.

include "baseManager.thrift"

namespace cpp statusManager

service StatusManager extends baseManager.baseManager {
  void issueSensorTrap(1: string timestamp, 2: i32 sensorType, 3: i16 sensorNum,
                       4: string sensorName, 5: string eventCode, 6: i32 eventDir,
                       7: bool isOk),
  void issueLinkEventTrap(1: bool isLinkDownEvent, 2: i32 ifIndex,
                          3: string ifAdminStatusStr, 4: string ifOperStatusStr)
}
