// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Served by a program that started a firmware upgrade; managers call back into it.

include "baseManager.thrift"

namespace cpp callbackManager

service callbackManager extends baseManager.baseManager {
  oneway void firmwareUpgradeCallback(1: i32 currentStep, 2: i32 totalSteps, 3: i32 code)
}
