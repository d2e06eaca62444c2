// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// A first program on libcorvane: it logs, reads a setting, validates a value with a localized
// refusal, and asks a manager a question with the two ways of handling an unreachable manager.
// Build and run it as the README's "Your first program" shows.

#include <cstdio>
#include <memory>

#include <corvane/client.h>
#include <corvane/config_value.h>
#include <corvane/cv_config.h>
#include <corvane/idl/configManager.h>
#include <corvane/log.h>
#include <corvane/msg_cat.h>
#include <corvane/validator.h>
#include <corvane/version.h>

int main() {
  // Once, before any thread: the logger sends syslog datagrams to the manager address.
  corvane::log::init("firstprog", false);
  corvane::log::setLogLevel(6);  // progress lines too; the process manager may change it later
  corvane::log::trace(6, "first program on libcorvane %s", corvane::version());

  // "/etc/corvane.cfg", read afresh on every call; 3 when the key is absent or malformed.
  int retries = cvConfig__Get_int("firstprog.retries", 3);
  std::printf("retries: %d\n", retries);

  // A host name: lower case, at most 63 bytes (the maximum is exclusive).
  corvane::config::validator::String hostname("hostname");
  hostname.setMaxLength(64).addPattern("[a-z][a-z0-9-]*");
  for (char const* text : {"appliance-1", "Bad_Name"}) {
    corvane::config::SimpleValue value(text);
    if (hostname.Valid(&value)) {
      std::printf("%s: accepted\n", text);
    } else {
      // The validator leaves a catalog reference such as "@prop_string_no_match".
      std::printf("%s: %s\n", text, corvane::getErrorString(hostname.message().c_str()).c_str());
    }
  }

  // One call on a fresh connection. getClient and the call throw Thrift exceptions when the
  // manager cannot be reached; callManager turns them into the neutral answer given.
  bool complete = corvane::callManager<configManager::configManagerClient, bool>(
      "configmgr", 1000, false,
      [](configManager::configManagerClient& cm) { return cm.isInitialConfigComplete(); });
  std::printf("initial configuration complete: %s\n", complete ? "yes" : "no");

  try {
    std::unique_ptr<configManager::configManagerClient> cm(
        corvane::getClient<configManager::configManagerClient>("configmgr", 1000));
    std::printf("asked again: %s\n", cm->isInitialConfigComplete() ? "yes" : "no");
  } catch (apache::thrift::TException const& e) {
    std::printf("configuration manager unreachable: %s\n", e.what());
    return 1;
  }
  return 0;
}
