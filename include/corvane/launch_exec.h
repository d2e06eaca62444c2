// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Synchronous launcher of the appliance's helper programs: fork, set up the child, execv by
/// path, wait, and hand back the child's standard-error lines and an internal exit code.

#ifndef CORVANE_LAUNCH_EXEC_H
#define CORVANE_LAUNCH_EXEC_H

#include "corvane/export.h"

#include <string>
#include <vector>

namespace corvane {

/// Runs external programs one at a time. While a child runs, `launch` sets SIGCHLD to its
/// default action and "LANG" to the device locale, both process-wide: hosts that launch from
/// several threads must serialise their calls. "LANG" keeps the new value afterwards.
class CORVANE_EXPORT LaunchExec {
 public:
  /// Internal exit codes, returned by `launch`; 5 to 8 are also the child's own exit status
  /// when its set-up fails.
  enum : int {
    kNoError = 0,
    kChildNonZero = 1,
    kCannotSpawn = 2,
    kChildAbnormal = 3,  // Never returned by `launch`; a killed child gives 1 and status -1.
    kWaitError = 4,
    kNoWorkdir = 5,
    kDupStdout = 6,
    kDupStdin = 7,
    kExecError = 8,
    kNotTerminated = 9,
  };

  /// Argument vectors hold at most this many entries before the terminating null.
  static constexpr int kMaxArgs = 1023;

  /// Runs `argv[0]` (a path; PATH is not searched) with the null-terminated vector `argv`
  /// and waits for it. `stderrList` (may be null) gets the child's standard-error lines
  /// appended in order, without line ends. `stdinFd` and `stdoutFd` become the child's
  /// standard input and output (standard error still goes to the list); negative ones are
  /// inherited. `workdir` (may be null) is the child's working directory. `status` (may be
  /// null) receives the child's exit status, or -1 when it was killed. `caller` names the
  /// component in log lines. Returns an internal exit code; never throws except on
  /// allocation failure.
  static int launch(char const* const* argv, char const* caller,
                    std::vector<std::string>* stderrList, int stdinFd, int stdoutFd,
                    char const* workdir, int* status);

  /// The same with the arguments as strings (`args[0]` is the program path); an empty
  /// `args` returns 9.
  static int launch(std::vector<std::string>& args, char const* caller,
                    std::vector<std::string>* stderrList, int stdinFd, int stdoutFd,
                    char const* workdir, int* status);

  /// English sentence for an internal exit code (or a child's set-up exit status);
  /// "Undefined internal exit code" for any other number. The text is static.
  static char const* getExitDescription(int code);
};

}  // namespace corvane

#endif  // CORVANE_LAUNCH_EXEC_H
