// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// User manager wrappers: one call each, a neutral answer when the manager is out of reach.

#include "corvane/user_utils.h"

#include <corvane/idl/userManager.h>
#include "corvane/client.h"

namespace corvane {
namespace userUtils {

namespace {

using Client = userManager::userManagerClient;
char const kService[] = "usermgr";
// The manager's codes are its own; this one stands for "no answer".
constexpr int kNoAnswer = -1;

}  // namespace

bool login(std::string const& type, std::string const& username, std::string const& passwd) {
  return callManager<Client, bool>(
      kService, 0, false, [&](Client& client) { return client.login(type, username, passwd); });
}

bool changePasswd(std::string const& type, std::string const& username,
                  std::string const& npasswd) {
  return callManager<Client, bool>(kService, 0, false, [&](Client& client) {
    return client.changePasswd(type, username, npasswd);
  });
}

int addUser(std::string const& username, std::string const& passwd) {
  return callManager<Client, int>(kService, 0, kNoAnswer,
                                  [&](Client& client) { return client.addUser(username, passwd); });
}

int deleteUser(std::string const& username) {
  return callManager<Client, int>(kService, 0, kNoAnswer,
                                  [&](Client& client) { return client.deleteUser(username); });
}

bool listUsers(std::vector<std::string>& users) {
  // Fill a copy so that a failure half-way leaves the caller's list alone.
  std::vector<std::string> answer;
  if (!callManager<Client>(kService, 0, [&](Client& client) { client.listUsers(answer); })) {
    return false;
  }
  users.swap(answer);
  return true;
}

int sshKeyAdd(std::string const& username, std::string const& keyfile) {
  return callManager<Client, int>(
      kService, 0, kNoAnswer, [&](Client& client) { return client.sshKeyAdd(username, keyfile); });
}

int sshKeyDel(std::string const& username) {
  return callManager<Client, int>(kService, 0, kNoAnswer,
                                  [&](Client& client) { return client.sshKeyDel(username); });
}

}  // namespace userUtils
}  // namespace corvane
