// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// RAID maintenance wrappers over the hardware manager: one call each, false when out of
// reach.

#include "corvane/raid_utils.h"

#include <utility>

#include <corvane/idl/hardwareManager.h>
#include "corvane/client.h"

namespace corvane {
namespace raidUtils {

namespace {

using Client = hardwareManager::hardwareManagerClient;
char const kService[] = "hardwaremgr";

// One call answering a bool; false when the manager cannot be reached.
template <class Call>
bool ask(Call&& call) {
  return callManager<Client, bool>(kService, 0, false, std::forward<Call>(call));
}

}  // namespace

bool shutdownRaid() {
  return ask([](Client& client) { return client.shutdownRaid(); });
}

bool setWriteCaching(int16_t volume, bool enabled) {
  return ask([&](Client& client) { return client.setWriteCaching(volume, enabled); });
}

bool rebuildVolume() {
  return callManager<Client>(kService, 0, [](Client& client) { client.rebuildVolume(); });
}

bool deleteVolume(bool quick) {
  return callManager<Client>(kService, 0, [&](Client& client) { client.deleteVolume(quick); });
}

bool prepareHotSwap(int16_t deviceId) {
  return ask([&](Client& client) { return client.prepareHotSwap(deviceId); });
}

bool recoverVolume() {
  return ask([](Client& client) { return client.recoverVolume(); });
}

bool hasUnsupportedPartitionTableType() {
  return ask([](Client& client) { return client.hasUnsupportedPartitionTableType(); });
}

}  // namespace raidUtils
}  // namespace corvane
