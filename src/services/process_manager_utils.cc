// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Process-manager utilities: level and mask names, upstart events through initctl, and the
// process manager's reboot, shutdown and platform-level calls.

#include "corvane/process_manager_utils.h"

#include <string.h>
#include <strings.h>

#include <memory>

#include <thrift/Thrift.h>

#include <corvane/idl/baseManager.h>
#include <corvane/idl/processManager.h>
#include "corvane/client.h"
#include "corvane/launch_exec.h"
#include "corvane/log.h"

namespace corvane {
namespace processManagerUtils {

NameValue const kLevelNames[] = {
    {"debug", kLevelDebug}, {"info", kLevelInfo},   {"message", kLevelMessage},
    {"warn", kLevelWarn},   {"error", kLevelError}, {"fatal", kLevelFatal},
    {"", kLevelUnknown},
};

NameValue const kMaskNames[] = {
    {"all", static_cast<int>(0xFFFFFFFFu)},
    {"none", 0x00000000},
    {"commands", 0x00000001},
    {"networkmanager", 0x00000002},
    {"usermanager", 0x00000004},
    {"processmanager", 0x00000008},
    {"firmwaremanager", 0x00000010},
    {"hardwaremanager", 0x00000020},
    {"statusmanager", 0x00000040},
    {"jni", 0x00000080},
    {"raid", 0x00000100},
    {"sshdstarter", 0x00000200},
    {"configmanager", 0x00000400},
    {"application1", 0x00200000},
    {"application2", 0x00400000},
    {"application3", 0x00800000},
    {"application4", 0x01000000},
    {"application5", 0x02000000},
    {"trivial", static_cast<int>(0x80000000u)},
    {"", 0},
};

namespace {

constexpr char const kFile[] = "processManagerUtils";
constexpr unsigned kAnyCategory = 0xFFFFFFFFu;
// Entries of `kMaskNames` before the first category bit ("all" and "none").
constexpr int kFirstCategory = 2;

using processManager::processManagerClient;

struct Manager {
  char const* service;
  char const* label;
};

// The order in which a new logging setting reaches the managers.
constexpr Manager kManagers[] = {
    {"processmgr", "SERVICE_PROCESSMGR"},   {"firmwaremgr", "SERVICE_FIRMWAREMGR"},
    {"hardwaremgr", "SERVICE_HARDWAREMGR"}, {"networkmgr", "SERVICE_NETWORKMGR"},
    {"usermgr", "SERVICE_USERMGR"},         {"configmgr", "SERVICE_CONFIGMGR"},
    {"statusmgr", "SERVICE_STATUSMGR"},
};

// A process-manager connection; failures to connect throw to the caller.
std::unique_ptr<processManagerClient> processManagerConnection() {
  return std::unique_ptr<processManagerClient>(getClient<processManagerClient>("processmgr", 0));
}

int emitEvent(std::string const& event, bool wait) {
  char const* argv[] = {"/sbin/initctl", "emit", nullptr, nullptr, nullptr};
  int count = 2;
  if (!wait) argv[count++] = "--no-wait";
  argv[count] = event.c_str();
  int code = LaunchExec::launch(argv, "emitEvent", nullptr, -1, -1, nullptr, nullptr);
  if (code != 0) {
    log::trace(3, "Signal %s returns %d - %s\n", event.c_str(), code,
               LaunchExec::getExitDescription(code));
  } else {
    log::trace(6, "Signal %s sent\n", event.c_str());
  }
  return code;
}

}  // namespace

char const* Level2Text(PlatformLogLevel level) {
  for (NameValue const* entry = kLevelNames; entry->name[0] != '\0'; ++entry) {
    if (entry->value == level) return entry->name;
  }
  return nullptr;
}

PlatformLogLevel Level2Enum(std::string const& name) {
  NameValue const* entry = kLevelNames;
  while (entry->name[0] != '\0' && strcasecmp(entry->name, name.c_str()) != 0) ++entry;
  // The table's end entry carries the answer for a missing name.
  return static_cast<PlatformLogLevel>(entry->value);
}

int Mask2Enum(char* name) {
  if (name == nullptr) return kMaskUnknown;
  for (NameValue const* entry = kMaskNames; entry->name[0] != '\0'; ++entry) {
    if (strcasecmp(entry->name, name) == 0) return entry->value;
  }
  return kMaskUnknown;
}

void Mask2Text(int mask, std::string& out) {
  auto append = [&out](char const* name) {
    out += "  ";
    out += name;
    out += '\n';
  };
  if (mask == 0) {
    append("none");
  } else if (mask == static_cast<int>(0xFFFFFFFFu)) {
    append("all");
  } else if (mask == kMaskUnknown) {
    for (NameValue const* entry = kMaskNames; entry->name[0] != '\0'; ++entry) append(entry->name);
  } else {
    for (NameValue const* entry = kMaskNames + kFirstCategory; entry->name[0] != '\0'; ++entry) {
      if ((entry->value & mask) != 0) append(entry->name);
    }
  }
}

int split(char* text, char** parts, int max) {
  char* save = nullptr;
  if (max < 1) {
    if (text != nullptr) strtok_r(text, "+", &save);
    return 0;
  }
  for (int i = 0; i < max; ++i) parts[i] = nullptr;
  if (text == nullptr) return 0;
  int count = 0;
  for (char* token = strtok_r(text, "+", &save); token != nullptr;
       token = strtok_r(nullptr, "+", &save)) {
    parts[count++] = token;
    if (count == max) break;
  }
  return count;
}

int getPlatformTraceMask() {
  int mask = log::getLogMask();
  log::trace(5, "get platform trace mask:%X \n", static_cast<unsigned>(mask));
  return mask;
}

int signalIAmReady(std::string const& name, bool wait) {
  return emitEvent(name + "-started", wait);
}

int signalApplicationIsUnhealthy(std::string const& name) {
  bool unrecoverable;
  {
    auto client = processManagerConnection();
    client->noteUnhealthy(name);
    unrecoverable = client->isUnrecoverable(name);
  }
  int result;
  if (unrecoverable) {
    log::trace(6, "Application %s is unrecoverable.", name.c_str());
    result = 1;
  } else {
    std::string event = name + "-unhealthy";
    log::trace(6, "Emitting %s", event.c_str());
    result = emitEvent(event, false);
    if (result != 0) {
      log::trace(6, "Emit of event failed with rc %d", result);
    } else {
      log::trace(6, "Emit event succeeded.");
    }
  }
  log::trace(6, "Returning %d from signalApplicationIsUnhealthy", result);
  return result;
}

int requestReboot() { return processManagerConnection()->requestReboot(); }

int requestShutdown() { return processManagerConnection()->requestShutdown(); }

int setPlatformLogLevel(PlatformLogLevel level) {
  char const* name = Level2Text(level);
  if (name == nullptr) {
    log::trace(3, "Unknown log-priority level %d", static_cast<int>(level));
    return 1;
  }
  return processManagerConnection()->setPlatformLogLevel(name);
}

int getPlatformLogLevel(PlatformLogLevel& level) {
  std::string name;
  processManagerConnection()->getPlatformLogLevel(name);
  if (name.empty()) return 1;
  level = Level2Enum(name);
  log::trace(5, "get platform log-priority:%s \n", name.c_str());
  return 0;
}

void distributeLogging(unsigned level, int mask) {
  Tracer tracer("distributeLogging", kFile, __LINE__, kAnyCategory);
  tracer.args("inLog %08X, inMask %08X", level, static_cast<unsigned>(mask));
  log::setLogging(level, mask);
  for (Manager const& manager : kManagers) {
    try {
      std::unique_ptr<baseManagerClient> client(getClient<baseManagerClient>(manager.service, 0));
      client->setLogging(static_cast<int32_t>(level), mask);
    } catch (apache::thrift::TException const&) {
      log::trace(3, "Exception invoking %s", manager.label);
    }
  }
  tracer.resultVoid();
}

}  // namespace processManagerUtils
}  // namespace corvane
