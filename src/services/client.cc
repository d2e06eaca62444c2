// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Connections to the managers: one fresh buffered binary-protocol socket per client.

#include "corvane/client.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <unistd.h>

#include <memory>
#include <mutex>

#include <thrift/TOutput.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

#include <corvane/idl/FirmwareManager.h>
#include <corvane/idl/StatusManager.h>
#include <corvane/idl/baseManager.h>
#include <corvane/idl/configManager.h>
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/logReceiver.h>
#include <corvane/idl/networkManager.h>
#include <corvane/idl/processManager.h>
#include <corvane/idl/userManager.h>
#include "corvane/appliance_utils.h"
#include "corvane/log.h"

namespace corvane {

char const* const kManagerHost = "fe80::de:adff:febe:ef20%dummy0";

namespace {

constexpr int kConnectTimeoutMs = 1000;
constexpr uint32_t kBufferSize = 512;

}  // namespace

namespace {

// Once: the hook is a plain global of Thrift's, and writing it on every call raced between
// threads that make clients at the same time. Outside the exported templates, so that the
// once-machinery's instances stay private.
void hookThriftOutput() {
  static std::once_flag hooked;
  std::call_once(hooked, [] { apache::thrift::GlobalOutput.setOutputFunction(&log::thrifterr); });
}

}  // namespace

template <class T>
T* getClient(int port, int timeout) {
  using apache::thrift::protocol::TBinaryProtocol;
  using apache::thrift::transport::TBufferedTransport;
  using apache::thrift::transport::TSocket;

  hookThriftOutput();

  auto socket = std::make_shared<TSocket>(kManagerHost, port);
  socket->setConnTimeout(kConnectTimeoutMs);
  socket->setNoDelay(true);
  if (timeout != 0) {
    socket->setRecvTimeout(timeout);
    socket->setSendTimeout(timeout);
  }
  auto transport = std::make_shared<TBufferedTransport>(socket, kBufferSize, kBufferSize);
  transport->open();
  // No string or container limit, strict read off, strict write on: the library defaults.
  auto protocol = std::make_shared<TBinaryProtocol>(transport);
  return new T(protocol);
}

template <class T>
T* getClient(char const* service, int timeout) {
  return getClient<T>(applianceUtils::getPortforService(service, nullptr), timeout);
}

// Exported explicitly: the instances are weak and would otherwise stay hidden.
#define CORVANE_DEFINE_CLIENT(T)                     \
  template CORVANE_EXPORT T* getClient<T>(int, int); \
  template CORVANE_EXPORT T* getClient<T>(char const*, int);
CORVANE_DEFINE_CLIENT(configManager::configManagerClient)
CORVANE_DEFINE_CLIENT(hardwareManager::hardwareManagerClient)
CORVANE_DEFINE_CLIENT(networkManager::networkManagerClient)
CORVANE_DEFINE_CLIENT(processManager::processManagerClient)
CORVANE_DEFINE_CLIENT(userManager::userManagerClient)
CORVANE_DEFINE_CLIENT(firmwareManager::FirmwareManagerClient)
CORVANE_DEFINE_CLIENT(statusManager::StatusManagerClient)
CORVANE_DEFINE_CLIENT(::baseManagerClient)
#undef CORVANE_DEFINE_CLIENT
template CORVANE_EXPORT ::logReceiverClient* getClient<::logReceiverClient>(int, int);

namespace applianceUtils {

int getPortforService(char const* name, char const* proto) {
  servent const* entry = getservbyname(name, proto != nullptr ? proto : "tcp");
  if (entry == nullptr) {
    return -1;
  }
  return ntohs(static_cast<uint16_t>(entry->s_port));
}

bool isAppliance() {
  int fd = open("/dev/flash", O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    return false;
  }
  close(fd);
  return true;
}

}  // namespace applianceUtils
}  // namespace corvane
