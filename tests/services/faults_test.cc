// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Manager faults, one table: a representative operation of every group that talks to a
// manager, run against a manager that is down, one that closes the connection in the middle
// of its reply and one that answers garbage. Each must give its documented neutral answer (or
// the exception its header promises) within about a second, and leave no descriptor open.

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "corvane/appliance_utils.h"
#include "corvane/capture_utils.h"
#include "corvane/config_service.h"
#include "corvane/config_value.h"
#include "corvane/diagnostic_utils.h"
#include "corvane/ethernet_interfaces.h"
#include "corvane/firmware_utils.h"
#include "corvane/net_settings.h"
#include "corvane/process_manager_utils.h"
#include "corvane/raid_utils.h"
#include "corvane/service_test_utils.h"
#include "corvane/snmp_utils.h"
#include "corvane/status_utils.h"
#include "corvane/user_utils.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Clock = std::chrono::steady_clock;
using testing::FakeManager;

struct Operation {
  char const* name;
  char const* service;
  std::function<std::string()> call;  // the answer as text
  std::string neutral;                // "throws" where the header says exceptions pass
  bool ownTimeout = false;            // takes a timeout of its own (500 ms here)
};

std::string str(long v) { return std::to_string(v); }
// Size of a new vector, which the caller owns.
std::string count(std::vector<std::string>* p) {
  std::unique_ptr<std::vector<std::string>> owned(p);
  return owned ? str(owned->size()) : "null";
}

// clang-format off
std::vector<Operation> const kOperations = {
  {"Service::queryObject", "configmgr", [] {
     config::Value* v = nullptr;
     return str(config::Service::queryObject("d", "t", "n", &v)) + (v ? " value" : ""); },
   "13"},
  {"Service::getObjectTypes", "configmgr",
   [] { return str(config::Service::getObjectTypes().size()); }, "0"},
  {"setLocale", "configmgr", [] { return str(applianceUtils::setLocale("en", "US")); }, "0"},
  {"hostsUtils::getAddresses", "configmgr",
   [] { return count(hostsUtils::getAddresses()); }, "0"},
  {"getHardwareInfo", "hardwaremgr",
   [] { applianceUtils::HWInfo i; applianceUtils::getHardwareInfo(i); return i.productName; },
   "throws"},
  {"statusUtils::getFanStatus", "hardwaremgr",
   [] { std::vector<statusUtils::FanStatus> f; return str(statusUtils::getFanStatus(f)); }, "0"},
  {"statusUtils::isServiceReady", "hardwaremgr",
   [] { return str(statusUtils::isServiceReady(statusUtils::kHardwareReady1, 500)); }, "0", true},
  {"raidUtils::shutdownRaid", "hardwaremgr", [] { return str(raidUtils::shutdownRaid()); }, "0"},
  {"nameServers::getNameServers", "hardwaremgr",
   [] { return count(nameServers::getNameServers()); }, "0"},
  {"getInterfaceStatus", "networkmgr",
   [] { auto s = ethernetInterfaces::getInterfaceStatus("eth0");
        std::string r = s ? "object" : "null";
        ethernetInterfaces::delInterfaceStatus(s);
        return r; }, "null"},
  {"captureUtils::stopPacketCapture", "networkmgr",
   [] { return str(captureUtils::stopPacketCapture("eth0")); }, "0"},
  {"diagnosticUtils::ping", "networkmgr",
   [] { auto r = diagnosticUtils::ping("192.0.2.1"); return str(r.ok) + " " + str(r.errcode); },
   "0 -1"},
  {"serviceTestUtils::startTest", "networkmgr",
   [] { return str(serviceTestUtils::startTest("networkmgr", 1, 500)); }, "-1", true},
  {"requestReboot", "processmgr", [] { return str(processManagerUtils::requestReboot()); },
   "throws"},
  {"distributeLogging", "processmgr",
   [] { processManagerUtils::distributeLogging(3, 0); return std::string("done"); }, "done"},
  {"userUtils::login", "usermgr", [] { return str(userUtils::login("console", "a", "b")); },
   "0"},
  {"firmwareUtils::rollback", "firmwaremgr", [] { return str(firmwareUtils::rollback()); },
   "-1"},
  {"snmpUtils::issueLinkEventTrap", "statusmgr",
   [] { return str(snmpUtils::issueLinkEventTrap(true, 1, "up", "down")); }, "0"},
};
// clang-format on

struct Fault {
  char const* name;
  std::function<void(FakeManager&)> apply;
};

// A reply header that promises a 16-byte method name and delivers three, then hangs up.
std::string const kCutReply = std::string(
    "\x80\x01\x00\x02\x00\x00\x00\x10"
    "abc",
    11);
// A versioned header of an unknown protocol version: refused as soon as it is read.
std::string const kBadVersion = std::string("\x80\x07\x00\x02\x00\x00\x00\x00junk", 12);
// Faults every operation survives quickly.
std::vector<Fault> const kFaults = {
    {"down", [](FakeManager& m) { m.stop(); }},
    {"closes mid-reply", [](FakeManager& m) { m.replyRaw("", kCutReply, true); }},
    {"answers garbage", [](FakeManager& m) { m.replyRaw("", kBadVersion, false); }},
};
// A manager that reads the call and never answers: only an operation with a timeout of its
// own returns (within it); the others wait by design, see client.h.
Fault const kHang = {"hangs", [](FakeManager& m) { m.setHang(true); }};

std::string answer(Operation const& op) {
  try {
    return op.call();
  } catch (std::exception const&) {
    return "throws";
  }
}

void expectNeutral(testing::FakeManagers& managers, Fault const& fault, Operation const& op) {
  SCOPED_TRACE(std::string(op.name) + ", manager " + fault.name);
  FakeManager& manager = managers.get(op.service);
  manager.reset();
  fault.apply(manager);
  auto start = Clock::now();
  EXPECT_EQ(op.neutral, answer(op));
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1100));
  manager.setHang(false);
  manager.start();
  manager.reset();
  EXPECT_TRUE(manager.waitUntilIdle());
}

TEST(FaultsTest, EveryOperationGivesItsNeutralAnswerQuickly) {
  // Every manager the operations reach is present, so that a fault of one is seen alone.
  testing::FakeManagers managers;
  for (auto const& op : kOperations) answer(op);  // loggers and catalogs open their descriptors
  for (auto const& op : kOperations) managers.get(op.service).waitUntilIdle();
  int descriptors = testing::openDescriptorCount();
  for (auto const& fault : kFaults) {
    for (auto const& op : kOperations) expectNeutral(managers, fault, op);
  }
  for (auto const& op : kOperations) {
    if (op.ownTimeout) expectNeutral(managers, kHang, op);
  }
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

}  // namespace
}  // namespace corvane
