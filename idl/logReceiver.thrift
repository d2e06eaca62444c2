// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Receiving end of catalog log entries.

service logReceiver {
  // Two-way on purpose: the sender waits for the empty reply.
  void Log(1: string objectid, 2: string entry_id, 3: list<string> arguments)
}
