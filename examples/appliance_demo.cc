// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// A simulated appliance in one process: fake manager daemons answer on the manager address,
// and the library reaches each of them by service name the way appliance programs do.
// Run it inside the sandbox:
//   tests/sandbox/run --resources build/resource build/examples/appliance_demo

#include <chrono>
#include <cstdio>
#include <memory>

#include <corvane/idl/FirmwareManager.h>
#include <corvane/idl/StatusManager.h>
#include <corvane/idl/baseManager.h>
#include <corvane/idl/configManager.h>
#include "corvane/appliance_utils.h"
#include "corvane/client.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/networkManager.h>
#include <corvane/idl/processManager.h>
#include "sandbox.h"
#include <corvane/idl/userManager.h>

namespace {

using corvane::callManager;
using Clock = std::chrono::steady_clock;

template <class T>
void exercise(char const* service) {
  int port = corvane::applianceUtils::getPortforService(service, nullptr);
  try {
    std::unique_ptr<T> client(corvane::getClient<T>(service, 0));
    client->setLogging(6, 0x3);
    int32_t started = client->startTest(10);
    client->performTest(1);
    bool stopped = client->stopTest();
    client->shutdown();
    std::printf("%-12s port %5d  setLogging ok, startTest -> %d, performTest ok, "
                "stopTest -> %s, shutdown sent\n",
                service, port, started, stopped ? "true" : "false");
  } catch (apache::thrift::TException const& e) {
    std::printf("%-12s port %5d  failed: %s\n", service, port, e.what());
  }
}

}  // namespace

int main() {
  if (!corvane::testing::inSandbox()) {
    std::fprintf(stderr, "run me inside tests/sandbox/run: the manager address and ports "
                         "exist only there\n");
    return 2;
  }
  corvane::log::init("appliance_demo", false);
  corvane::log::setLogLevel(6);

  std::printf("Starting fake managers on %s\n", corvane::kManagerHost);
  corvane::testing::FakeManagers managers;

  exercise<configManager::configManagerClient>("configmgr");
  exercise<hardwareManager::hardwareManagerClient>("hardwaremgr");
  exercise<networkManager::networkManagerClient>("networkmgr");
  exercise<processManager::processManagerClient>("processmgr");
  exercise<userManager::userManagerClient>("usermgr");
  exercise<firmwareManager::FirmwareManagerClient>("firmwaremgr");
  exercise<statusManager::StatusManagerClient>("statusmgr");

  for (char const* s : {"configmgr", "hardwaremgr", "networkmgr", "processmgr", "usermgr",
                        "firmwaremgr", "statusmgr"}) {
    managers.get(s).waitForCalls(5, 1000);  // the oneway shutdown may still be in flight
    std::printf("%-12s recorded %zu calls\n", s, managers.get(s).calls().size());
  }

  std::printf("\nStopping the hardware manager...\n");
  managers.hardwaremgr().stop();
  auto start = Clock::now();
  int uptime = callManager<hardwareManager::hardwareManagerClient, int>(
      "hardwaremgr", 0, 0, [](hardwareManager::hardwareManagerClient& c) { return c.getUptime(); });
  double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::printf("getUptime with the manager down -> %d (neutral) after %.3f s\n", uptime, seconds);
  return seconds < 1.5 && uptime == 0 ? 0 : 1;
}
