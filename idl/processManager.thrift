// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Process manager: process registry, reboot and shutdown, NTP sync, platform log level.

include "baseManager.thrift"

namespace cpp processManager

service processManager extends baseManager.baseManager {
  i32 requestReboot(),
  void reboot(),
  i32 requestShutdown(),
  void halt(),
  bool refreshProcess(1: string name),
  bool restartProcess(1: string processName),
  bool registerProcess(1: string name, 2: string fullPath, 3: list<string> parameters,
                       4: list<string> dependencies),
  bool deregisterProcess(1: string name),
  void noteUnhealthy(1: string name),
  bool isUnrecoverable(1: string name),
  bool syncNTPServer(1: string timeout),
  i32 setPlatformLogLevel(1: string level),
  string getPlatformLogLevel()
}
