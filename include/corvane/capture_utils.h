// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Packet captures run by the network manager ("networkmgr"). A capture is named by the
/// interface it listens on.

#ifndef CORVANE_CAPTURE_UTILS_H
#define CORVANE_CAPTURE_UTILS_H

#include <string>
#include <vector>

#include "corvane/export.h"

namespace corvane {
namespace captureUtils {

/// One capture as the manager reports it; the state codes are the manager's.
struct CORVANE_EXPORT CaptureInfo {
  std::string interfaceName;
  int state = 0;
  std::vector<std::string> fileNames;
};

// All operations may run on any thread; each opens its own connection, makes one call and
// closes it.

/// Starts capturing on `intName` with the packet filter `filter` into files named after
/// `fileName`, limited by `seconds`, `fileSize`, `fileNum` and `packetNum` (the manager's
/// units; 0 for no limit). The manager's code; -1 when it cannot be reached.
CORVANE_EXPORT int startPacketCapture(std::string const& intName, std::string const& filter,
                                      std::string const& fileName, int seconds, int fileSize,
                                      int fileNum, int packetNum);

/// Stops the capture on `intName`. The manager's answer; false when unreachable.
CORVANE_EXPORT bool stopPacketCapture(std::string const& intName);

/// Removes the capture on `intName` with its files. The manager's answer; false when
/// unreachable.
CORVANE_EXPORT bool removeCapture(std::string const& intName);

/// Replaces `info` by the manager's report on the capture on `intName` and returns true.
/// False when the manager cannot be reached; `info` is then left as it was.
CORVANE_EXPORT bool getCaptureInfo(std::string const& intName, CaptureInfo& info);

/// Replaces `interfaces` by the interfaces that have a capture and returns true. False when
/// the manager cannot be reached; `interfaces` is then left as it was.
CORVANE_EXPORT bool getAllCapturedInterfaces(std::vector<std::string>& interfaces);

}  // namespace captureUtils
}  // namespace corvane

#endif  // CORVANE_CAPTURE_UTILS_H
