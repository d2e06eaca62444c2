// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Connections to the appliance's manager daemons.
/// Every operation opens a fresh client with `getClient`, makes its call(s) and deletes it.

#ifndef CORVANE_CLIENT_H
#define CORVANE_CLIENT_H

#include "corvane/export.h"

#include <memory>
#include <utility>

#include <thrift/Thrift.h>

class baseManagerClient;
class logReceiverClient;
namespace configManager {
class configManagerClient;
}
namespace hardwareManager {
class hardwareManagerClient;
}
namespace networkManager {
class networkManagerClient;
}
namespace processManager {
class processManagerClient;
}
namespace userManager {
class userManagerClient;
}
namespace firmwareManager {
class FirmwareManagerClient;
}
namespace statusManager {
class StatusManagerClient;
}

namespace corvane {

/// Host string of every manager: the link-local address on the internal interface, with scope.
extern CORVANE_EXPORT char const* const kManagerHost;

/// Returns a newly allocated client connected to the manager on `port` of the manager host.
/// Caller owns; free with delete (this closes the connection). `timeout` is the send and
/// receive limit in milliseconds; 0 leaves both unlimited. Connecting gives up after 1000 ms.
/// Deliberately, with 0 a call on a manager that accepts but never completes its reply (hung,
/// or a reply claiming more bytes than it sends: the protocol has no size limits) blocks until
/// the manager closes the connection; every wrapper of the library that passes 0 inherits this.
/// Never returns null: any failure throws the Thrift (or allocation) exception, after
/// releasing whatever was built. The first call sets the Thrift error-output hook to
/// `log::thrifterr`.
/// Instantiated for the eight manager clients, `baseManagerClient` and `logReceiverClient`.
/// Safe to call from any thread.
template <class T>
CORVANE_EXPORT T* getClient(int port, int timeout);

/// Exactly `getClient<T>(applianceUtils::getPortforService(service, nullptr), timeout)`.
/// An unknown service name gives port -1 and a transport exception. Caller owns the result.
/// Instantiated for the eight manager clients and `baseManagerClient`.
template <class T>
CORVANE_EXPORT T* getClient(char const* service, int timeout);

#define CORVANE_DECLARE_CLIENT(T)            \
  extern template T* getClient<T>(int, int); \
  extern template T* getClient<T>(char const*, int);
CORVANE_DECLARE_CLIENT(configManager::configManagerClient)
CORVANE_DECLARE_CLIENT(hardwareManager::hardwareManagerClient)
CORVANE_DECLARE_CLIENT(networkManager::networkManagerClient)
CORVANE_DECLARE_CLIENT(processManager::processManagerClient)
CORVANE_DECLARE_CLIENT(userManager::userManagerClient)
CORVANE_DECLARE_CLIENT(firmwareManager::FirmwareManagerClient)
CORVANE_DECLARE_CLIENT(statusManager::StatusManagerClient)
CORVANE_DECLARE_CLIENT(::baseManagerClient)
#undef CORVANE_DECLARE_CLIENT
extern template ::logReceiverClient* getClient<::logReceiverClient>(int, int);

/// The wrapper pattern shared by the library's thin manager wrappers: open a client of
/// `service` with `timeout`, hand it to `call`, and delete it on every path. A Thrift
/// exception (transport, protocol, application or declared) becomes `neutral`; any other
/// exception propagates. `call` takes `T&` and returns something convertible to R. With
/// `timeout` 0 a hung manager blocks the call, deliberately (see `getClient`).
template <class T, class R, class Call>
R callManager(char const* service, int timeout, R neutral, Call&& call) {
  try {
    std::shared_ptr<T> client(getClient<T>(service, timeout));
    return std::forward<Call>(call)(*client);
  } catch (apache::thrift::TException const&) {
    return neutral;
  }
}

/// The same for calls that answer nothing: returns true when the call went through.
template <class T, class Call>
bool callManager(char const* service, int timeout, Call&& call) {
  return callManager<T, bool>(service, timeout, false, [&](T& client) {
    std::forward<Call>(call)(client);
    return true;
  });
}

}  // namespace corvane

#endif  // CORVANE_CLIENT_H
