// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Common base service answered by every manager daemon.

service baseManager {
  oneway void shutdown(),
  void setLogging(1: i32 logLevel, 2: i32 logMask),
  i32 startTest(1: i32 numIterations),
  void performTest(1: i32 index),
  bool stopTest()
}
