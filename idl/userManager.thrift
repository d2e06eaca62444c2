// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// User manager: local users, passwords and SSH keys.

include "baseManager.thrift"

namespace cpp userManager

service userManager extends baseManager.baseManager {
  bool login(1: string type, 2: string username, 3: string passwd),
  bool changePasswd(1: string type, 2: string username, 3: string npasswd),
  i32 addUser(1: string username, 2: string passwd),
  i32 sshKeyAdd(1: string username, 2: string keyfile),
  i32 sshKeyDel(1: string username),
  i32 deleteUser(1: string username),
  list<string> listUsers()
}
