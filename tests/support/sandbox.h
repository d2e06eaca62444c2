// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Helpers for tests that run inside the appliance sandbox (sandbox/corvane-sandbox).
// The sandbox gives each test program private copies of the fixed paths, the manager
// address on dummy0, a services database and recording stand-ins for the helper programs.

#ifndef CORVANE_TESTS_SUPPORT_SANDBOX_H
#define CORVANE_TESTS_SUPPORT_SANDBOX_H

#include <string>
#include <vector>

namespace corvane {
namespace testing {

// True inside sandbox/corvane-sandbox.
bool inSandbox();

// Writes `text` to `path` (creating parent directories); removes it when `text` is null.
void writeFile(std::string const& path, char const* text);
// Whole content of `path`; empty when it cannot be read.
std::string readFile(std::string const& path);
// What `command` prints on standard output when run by /bin/sh; empty when it cannot start.
std::string commandOutput(std::string const& command);

// Creates or removes /dev/flash, the appliance marker.
void setFlash(bool present);

// Each call of a stand-in program (/bin/ipcalc, /usr/sbin/calcNetworkAddr, /sbin/initctl,
// /sbin/telinit, /usr/sbin/sshdStarter, /usr/sbin/nicctlw.sh, /etc/init.d/snmpd), oldest first,
// as its argv without argv[0]. `program` is the base name, e.g. "initctl".
std::vector<std::vector<std::string>> standInCalls(std::string const& program);
// Forgets the recorded calls of every stand-in.
void clearStandInCalls();
// Makes the stand-in exit with `code` and print `stderrText` on standard error
// (ipcalc keeps running ipcalc-ng unless an exit code is forced). A negative code restores
// the default (exit 0, or ipcalc-ng's own answer).
void setStandInResult(std::string const& program, int code, std::string const& stderrText);

// Makes the stand-in run `script` (a shell script body) with its arguments instead of its
// default answer, while still recording the call; null restores the default. A forced exit
// code from `setStandInResult` still wins.
void setStandInScript(std::string const& program, char const* script);

// Number of open descriptors of this process (entries of /proc/self/fd).
int openDescriptorCount();

}  // namespace testing
}  // namespace corvane

#endif  // CORVANE_TESTS_SUPPORT_SANDBOX_H
