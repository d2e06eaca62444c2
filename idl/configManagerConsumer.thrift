// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Served by every daemon that must hear of configuration changes.

include "baseManager.thrift"
include "j2t.thrift"

namespace cpp configManagerConsumer

exception ConfigChangeException {
  1: i32 rc,
  2: string messageID,
  3: optional list<string> parameters
}

service configManagerConsumer extends baseManager.baseManager {
  void ConfigChange(1: string receiver, 2: i32 operation, 3: string domain,
                    4: string objectType, 5: string objectName,
                    6: list<j2t.j2tValue> properties)
      throws (1: ConfigChangeException e),
  void OpStateChange(1: string receiver, 2: string domain, 3: string objectType,
                     4: string objectName, 5: string dependency, 6: i32 newOpState,
                     7: list<j2t.j2tValue> properties)
      throws (1: ConfigChangeException e),
  void AdminStateChange(1: string receiver, 2: string domain, 3: string objectType,
                        4: string objectName, 5: i32 newAdminState)
}
