// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Network diagnostics through the network manager's one test call.

#include "corvane/diagnostic_utils.h"

#include <string>
#include <utility>
#include <vector>

#include <corvane/idl/networkManager.h>
#include "corvane/client.h"

namespace corvane {
namespace diagnosticUtils {

namespace {

using Client = networkManager::networkManagerClient;
char const kService[] = "networkmgr";
constexpr int kHighestPort = 65535;

NetTestResult netTest(NetTestType type, std::vector<std::string> const& params) {
  return callManager<Client, NetTestResult>(kService, 0, NetTestResult(), [&](Client& client) {
    networkManager::NetTestResult answer;
    client.NetTest(answer, type, params);
    NetTestResult result;
    result.ok = answer.ok;
    result.errcode = answer.errcode;
    result.message = std::move(answer.message);
    return result;
  });
}

}  // namespace

NetTestResult ping(std::string const& host) { return netTest(kPingTest, {host}); }

NetTestResult nslookup(std::string const& name) { return netTest(kNslookupTest, {name}); }

NetTestResult tcpConnect(std::string const& host, int port) {
  if (port < 1 || port > kHighestPort) return NetTestResult();
  return netTest(kTcpConnectTest, {host, std::to_string(port)});
}

}  // namespace diagnosticUtils
}  // namespace corvane
