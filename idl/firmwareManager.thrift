// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Firmware manager. The service name is capitalised on purpose: record names derive from it.

include "baseManager.thrift"

namespace cpp firmwareManager

struct ComponentFirmware {
  1: string type,
  2: string currentVersion
}

service FirmwareManager extends baseManager.baseManager {
  byte upgrade(1: string imagePath, 2: bool useDynamicLoader, 3: bool pristine, 4: i32 port),
  byte reflash(1: string imagePath),
  bool deletePrevious(),
  byte rollback(),
  bool wasPreviousSuccess(),
  bool hasRunningUpgradeWithCallback(),
  list<ComponentFirmware> getComponentInfo()
}
