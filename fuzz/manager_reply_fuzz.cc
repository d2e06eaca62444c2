// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: manager replies decoded by the generated clients. The first byte picks the
// call; the rest is served as the reply through a memory transport and the binary protocol
// the library's clients use. A decoding error must be an exception, never a crash.

#include <thrift/TApplicationException.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "corvane/idl/FirmwareManager.h"
#include "corvane/idl/configManager.h"
#include "corvane/idl/hardwareManager.h"
#include "corvane/idl/networkManager.h"
#include "corvane/idl/userManager.h"

using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::transport::TMemoryBuffer;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size == 0) return 0;
  auto buffer = std::make_shared<TMemoryBuffer>(const_cast<uint8_t*>(data + 1),
                                                static_cast<uint32_t>(size - 1));
  // The library's clients run without size limits, as designed, so a reply that claims a huge
  // list makes them reserve room for all of it before reading an element (an out-of-memory
  // within a few runs here). Limits keep the run on the decoding itself.
  auto protocol = std::make_shared<TBinaryProtocol>(buffer, 1 << 20, 1 << 12, false, true);
  try {
    switch (data[0] % 8) {
      case 0: {
        configManager::configManagerClient client(protocol);
        configManager::RtcValue value;
        client.recv_queryObject(value);
        break;
      }
      case 1: {
        hardwareManager::hardwareManagerClient client(protocol);
        std::vector<hardwareManager::FanStatus> fans;
        client.recv_getFanStatus(fans);
        break;
      }
      case 2: {
        hardwareManager::hardwareManagerClient client(protocol);
        hardwareManager::HWInfo info;
        client.recv_getHardwareInfo(info);
        break;
      }
      case 3: {
        hardwareManager::hardwareManagerClient client(protocol);
        std::vector<hardwareManager::VolumeStatus> volumes;
        client.recv_getVolumeStatus(volumes);
        break;
      }
      case 4: {
        networkManager::networkManagerClient client(protocol);
        networkManager::NetifStatus status;
        client.recv_getInterfaceStatus(status);
        break;
      }
      case 5: {
        networkManager::networkManagerClient client(protocol);
        std::map<std::string, std::string> names;
        client.recv_dumpInterfaceNameMap(names);
        break;
      }
      case 6: {
        configManager::configManagerClient client(protocol);
        (void)client.recv_createObject();
        break;
      }
      default: {
        firmwareManager::FirmwareManagerClient client(protocol);
        std::vector<firmwareManager::ComponentFirmware> parts;
        client.recv_getComponentInfo(parts);
        break;
      }
    }
  } catch (std::exception const&) {
    // Thrift's transport, protocol and application exceptions and the declared ones: all
    // are the answer to a garbage reply.
  }
  return 0;
}
