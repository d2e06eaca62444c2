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
#include <memory>
#include <string>

#include "corvane/idl/FirmwareManager.h"
#include "corvane/idl/configManager.h"
#include "corvane/idl/hardwareManager.h"
#include "corvane/idl/networkManager.h"

using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::transport::TMemoryBuffer;
using configManager::configManagerClient;
using firmwareManager::FirmwareManagerClient;
using hardwareManager::hardwareManagerClient;
using networkManager::networkManagerClient;

namespace {

// One reply read by `recv` of a fresh client into a result of its own.
template <class Client, class Result>
void decode(std::shared_ptr<TBinaryProtocol> const& protocol, void (Client::*recv)(Result&)) {
  Client client(protocol);
  Result result;
  (client.*recv)(result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size == 0) return 0;
  auto buffer = std::make_shared<TMemoryBuffer>(const_cast<uint8_t*>(data + 1),
                                                static_cast<uint32_t>(size - 1));
  // The library's clients run without size limits, as designed, so a reply that claims a huge
  // list makes them reserve room for all of it before reading an element (an out-of-memory
  // within a few runs here). Limits keep the run on the decoding itself.
  auto protocol = std::make_shared<TBinaryProtocol>(buffer, 1 << 20, 1 << 12, false, true);
  try {
    // clang-format off
    switch (data[0] % 8) {
      case 0: decode(protocol, &configManagerClient::recv_queryObject); break;
      case 1: decode(protocol, &hardwareManagerClient::recv_getFanStatus); break;
      case 2: decode(protocol, &hardwareManagerClient::recv_getHardwareInfo); break;
      case 3: decode(protocol, &hardwareManagerClient::recv_getVolumeStatus); break;
      case 4: decode(protocol, &networkManagerClient::recv_getInterfaceStatus); break;
      case 5: decode(protocol, &networkManagerClient::recv_dumpInterfaceNameMap); break;
      case 6: (void)configManagerClient(protocol).recv_createObject(); break;
      default: decode(protocol, &FirmwareManagerClient::recv_getComponentInfo);
    }
    // clang-format on
  } catch (std::exception const&) {
    // Thrift's transport, protocol and application exceptions and the declared ones: all
    // are the answer to a garbage reply.
  }
  return 0;
}
