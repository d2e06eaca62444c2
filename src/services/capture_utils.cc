// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Packet capture wrappers over the network manager, copying its records into our own.

#include "corvane/capture_utils.h"

#include <utility>

#include <corvane/idl/networkManager.h>
#include "corvane/client.h"

namespace corvane {
namespace captureUtils {

namespace {

using Client = networkManager::networkManagerClient;
char const kService[] = "networkmgr";
constexpr int kNoAnswer = -1;

}  // namespace

int startPacketCapture(std::string const& intName, std::string const& filter,
                       std::string const& fileName, int seconds, int fileSize, int fileNum,
                       int packetNum) {
  return callManager<Client, int>(kService, 0, kNoAnswer, [&](Client& client) {
    return client.startPacketCapture(intName, filter, fileName, seconds, fileSize, fileNum,
                                     packetNum);
  });
}

bool stopPacketCapture(std::string const& intName) {
  return callManager<Client, bool>(
      kService, 0, false, [&](Client& client) { return client.stopPacketCapture(intName); });
}

bool removeCapture(std::string const& intName) {
  return callManager<Client, bool>(kService, 0, false,
                                   [&](Client& client) { return client.removeCapture(intName); });
}

bool getCaptureInfo(std::string const& intName, CaptureInfo& info) {
  networkManager::captureInfo answer;
  if (!callManager<Client>(kService, 0,
                           [&](Client& client) { client.getCaptureInfo(answer, intName); })) {
    return false;
  }
  info.interfaceName = std::move(answer.mIntName);
  info.state = answer.mState;
  info.fileNames = std::move(answer.mFileNames);
  return true;
}

bool getAllCapturedInterfaces(std::vector<std::string>& interfaces) {
  std::vector<std::string> answer;
  if (!callManager<Client>(kService, 0,
                           [&](Client& client) { client.getAllCapturedInterfaces(answer); })) {
    return false;
  }
  interfaces.swap(answer);
  return true;
}

}  // namespace captureUtils
}  // namespace corvane
