// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The logger's per-thread copy of the process id, for code that runs in a child which shares
// the parent's memory (vfork) and so must make the logger ask the kernel again.

#ifndef CORVANE_SRC_LOG_PROCESS_ID_H
#define CORVANE_SRC_LOG_PROCESS_ID_H

namespace corvane {
namespace log {

// Makes the calling thread's next log line ask for the process id again.
void forgetPid();

}  // namespace log
}  // namespace corvane

#endif  // CORVANE_SRC_LOG_PROCESS_ID_H
