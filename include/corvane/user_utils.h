// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Local users through the user manager ("usermgr"): login, passwords, accounts, SSH keys.
/// Each operation opens its own connection, makes one call and closes it.

#ifndef CORVANE_USER_UTILS_H
#define CORVANE_USER_UTILS_H

#include <string>
#include <vector>

#include "corvane/export.h"

namespace corvane {
namespace userUtils {

// All operations may run on any thread. The codes of `addUser`, `sshKeyAdd`, `sshKeyDel` and
// `deleteUser` are the manager's; -1 stands for "the manager could not be reached".

/// Checks `username`'s password `passwd` for the kind of login `type`. False when refused or
/// when the manager cannot be reached.
CORVANE_EXPORT bool login(std::string const& type, std::string const& username,
                          std::string const& passwd);

/// Sets `username`'s password to `npasswd` for the kind of login `type`. False when refused
/// or when the manager cannot be reached.
CORVANE_EXPORT bool changePasswd(std::string const& type, std::string const& username,
                                 std::string const& npasswd);

/// Creates the account `username` with password `passwd`. The manager's code; -1 when it
/// cannot be reached.
CORVANE_EXPORT int addUser(std::string const& username, std::string const& passwd);

/// Removes the account `username`. The manager's code; -1 when it cannot be reached.
CORVANE_EXPORT int deleteUser(std::string const& username);

/// Replaces `users` by the account names the manager lists and returns true. False when the
/// manager cannot be reached; `users` is then left as it was.
CORVANE_EXPORT bool listUsers(std::vector<std::string>& users);

/// Installs the SSH public key held in the file `keyfile` (a path on the appliance, not the
/// key itself) for `username`. The manager's code; -1 when it cannot be reached.
CORVANE_EXPORT int sshKeyAdd(std::string const& username, std::string const& keyfile);

/// Removes `username`'s SSH key. The manager's code; -1 when it cannot be reached.
CORVANE_EXPORT int sshKeyDel(std::string const& username);

}  // namespace userUtils
}  // namespace corvane

#endif  // CORVANE_USER_UTILS_H
