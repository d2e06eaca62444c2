// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Firmware manager wrappers, and the release type read from the appliance's own file.

#include "corvane/firmware_utils.h"

#include <fstream>

#include <corvane/idl/FirmwareManager.h>
#include "corvane/callback_manager.h"
#include "corvane/client.h"

namespace corvane {
namespace firmwareUtils {

namespace {

using Client = firmwareManager::FirmwareManagerClient;
char const kService[] = "firmwaremgr";
char const kReleaseTypeFile[] = "/etc/corvane/releaseType";
constexpr int kNoAnswer = -1;
constexpr int kHighestPort = 65535;

}  // namespace

int upgrade(std::string const& imagePath, bool useDynamicLoader, bool pristine, int callbackPort) {
  if (callbackPort < 0 || callbackPort > kHighestPort) return kNoAnswer;
  return callManager<Client, int>(kService, 0, kNoAnswer, [&](Client& client) {
    return client.upgrade(imagePath, useDynamicLoader, pristine, callbackPort);
  });
}

int upgrade(std::string const& imagePath, bool useDynamicLoader, bool pristine) {
  callbackManagerHandler const* running = callbackManagerHandler::handler;
  return upgrade(imagePath, useDynamicLoader, pristine, running == nullptr ? 0 : running->port);
}

int reflash(std::string const& imagePath) {
  return callManager<Client, int>(kService, 0, kNoAnswer,
                                  [&](Client& client) { return client.reflash(imagePath); });
}

int rollback() {
  return callManager<Client, int>(kService, 0, kNoAnswer,
                                  [](Client& client) { return client.rollback(); });
}

bool deletePrevious() {
  return callManager<Client, bool>(kService, 0, false,
                                   [](Client& client) { return client.deletePrevious(); });
}

bool wasPreviousSuccess() {
  return callManager<Client, bool>(kService, 0, false,
                                   [](Client& client) { return client.wasPreviousSuccess(); });
}

bool hasRunningUpgradeWithCallback() {
  return callManager<Client, bool>(
      kService, 0, false, [](Client& client) { return client.hasRunningUpgradeWithCallback(); });
}

std::string getReleaseType() {
  std::ifstream in(kReleaseTypeFile);
  std::string line;
  if (!in.is_open() || !std::getline(in, line)) return std::string();
  // Files edited by hand may carry a CR or trailing blanks.
  size_t end = line.find_last_not_of(" \t\r");
  line.erase(end == std::string::npos ? 0 : end + 1);
  return line;
}

}  // namespace firmwareUtils
}  // namespace corvane
