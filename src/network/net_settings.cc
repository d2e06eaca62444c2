// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Name servers, time servers, host names and node name: forwarded to the managers that own
// them; the node name read from the kernel.

#include "corvane/net_settings.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>

#include <corvane/idl/configManager.h>
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/processManager.h>
#include "corvane/client.h"
#include "corvane/log.h"

namespace corvane {

namespace {

using Config = configManager::configManagerClient;
using Hardware = hardwareManager::hardwareManagerClient;
using Process = processManager::processManagerClient;
using Strings = std::vector<std::string>;

constexpr char kHostnamePath[] = "/proc/sys/kernel/hostname";
constexpr int kHostnameMax = 64;

template <class T, class Call>
int call(char const* service, Call&& c) {
  return callManager<T, int>(service, 0, 0, std::forward<Call>(c));
}

// A new vector filled by `fill`; empty when the manager cannot be reached.
template <class T, class Fill>
Strings* fetchList(char const* service, Fill&& fill) {
  auto out = std::make_unique<Strings>();
  callManager<T>(service, 0, [&](T& client) { fill(client, *out); });
  return out.release();
}

// The servers of a `ts` answer, its extra lines copied out when asked for. False when the
// hardware manager cannot be reached.
template <class Get>
bool fetchServers(Get get, Strings& servers, Strings* extraLines) {
  return callManager<Hardware>("hardwaremgr", 0, [&](Hardware& client) {
    hardwareManager::ts answer;
    (client.*get)(answer);
    servers.swap(answer.servers);
    if (extraLines != nullptr) *extraLines = answer.extraLines;
  });
}

}  // namespace

Strings* nameServers::getNameServers(Strings* extraLines) {
  auto servers = std::make_unique<Strings>();
  fetchServers(&Hardware::getNameServers, *servers, extraLines);
  return servers.release();
}

int nameServers::setNameServers(Strings const& servers, Strings const* extraLines) {
  return call<Hardware>("hardwaremgr", [&](Hardware& client) {
    return client.setNameServers(servers, extraLines != nullptr ? *extraLines : Strings());
  });
}

Strings* nameServers::getSearchDomains() {
  return fetchList<Hardware>("hardwaremgr",
                             [](Hardware& client, Strings& out) { client.getSearchDomains(out); });
}

int nameServers::setSearchDomains(Strings const& domains) {
  return call<Hardware>("hardwaremgr",
                        [&](Hardware& client) { return client.setSearchDomains(domains); });
}

char const* const timeServers::fixedLines[5] = {
    "driftfile /etc/ntpdrift",
    "restrict default kod nomodify notrap nopeer noquery",
    "restrict -6 default kod nomodify notrap nopeer noquery",
    "restrict 127.0.0.1",
    "restrict -6 ::1",
};

Strings* timeServers::getTimeServers(Strings* extraLines) {
  auto servers = std::make_unique<Strings>();
  if (!fetchServers(&Hardware::getTimeServers, *servers, extraLines)) {
    log::trace(3, "Exception thrown during thrift call to hardware manager");
  }
  return servers.release();
}

int timeServers::setTimeServers(Strings const& servers, Strings const* extraLines) {
  Strings lines;
  if (extraLines != nullptr) lines = *extraLines;
  lines.insert(lines.end(), std::begin(fixedLines), std::end(fixedLines));
  int rc = 0;  // the neutral answer when the manager cannot be reached
  bool answered = callManager<Hardware>(
      "hardwaremgr", 0, [&](Hardware& client) { rc = client.setTimeServers(servers, lines); });
  if (answered && rc == 0) {
    callManager<Process>("processmgr", 0, [](Process& client) { client.restartProcess("ntpd"); });
  }
  return rc;
}

Strings* hostsUtils::getAddresses() {
  return fetchList<Config>("configmgr",
                           [](Config& client, Strings& out) { client.getAddresses(out); });
}

Strings* hostsUtils::getHostnames(std::string const& address) {
  return fetchList<Config>(
      "configmgr", [&](Config& client, Strings& out) { client.getHostnames(out, address); });
}

int hostsUtils::setHostnames(std::string const& address, Strings const& names) {
  return call<Config>("configmgr",
                      [&](Config& client) { return client.setHostnames(address, names) ? 1 : 0; });
}

int hostsUtils::deleteHostnames(std::string const& address) {
  return call<Config>("configmgr",
                      [&](Config& client) { return client.deleteHostnames(address) ? 1 : 0; });
}

std::string nodeName::getFromKernel() {
  FILE* file = fopen(kHostnamePath, "re");
  if (file == nullptr) {
    log::trace(3, "Cant open %s, code %d", kHostnamePath, errno);
    return std::string();
  }
  char line[kHostnameMax + 1];
  char* got = fgets(line, sizeof line, file);
  int error = errno;
  fclose(file);
  if (got == nullptr) {
    log::trace(3, "Cant read %s, code %d", kHostnamePath, error);
    return std::string();
  }
  line[strcspn(line, "\n")] = '\0';
  return line;
}

std::string nodeName::get() { return getFromKernel(); }

int nodeName::set(std::string const& name) {
  return call<Config>("configmgr", [&](Config& client) { return client.setNodename(name); });
}

int nodeName::init() {
  return call<Config>("configmgr", [](Config& client) { return client.initNodename(); });
}

}  // namespace corvane
