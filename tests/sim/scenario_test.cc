// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The simulated appliance driven through the library's public operations only: corvane-sim
// runs as a child in this test's sandbox, exactly as a downstream program would meet it.

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "corvane/appliance_utils.h"
#include "corvane/callback_manager.h"
#include "corvane/config_service.h"
#include "corvane/config_value.h"
#include "corvane/ethernet_interfaces.h"
#include "corvane/firmware_utils.h"
#include "corvane/log.h"
#include "corvane/process_manager_utils.h"
#include "corvane/status_utils.h"
#include "corvane/user_store.h"
#include "corvane/user_utils.h"
#include "sandbox.h"

namespace {

using namespace corvane;
using config::Service;
using corvane::testing::readFile;
using Clock = std::chrono::steady_clock;

// corvane-sim run with `args` to its end: the exit code (124 when it ran on for 10 s).
int simExit(std::string const& args) {
  int status = system(("timeout 10 " CORVANE_SIM_PROGRAM " " + args + " >/dev/null 2>&1").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Starts corvane-sim with `args`; its pid once it says it is ready, -1 when it ends before.
pid_t startSim(std::string const& args) {
  int out[2];
  if (pipe2(out, O_CLOEXEC) != 0) return -1;
  pid_t pid = fork();
  if (pid == 0) {
    dup2(out[1], 1);
    execl("/bin/sh", "sh", "-c", ("exec " CORVANE_SIM_PROGRAM " " + args).c_str(), nullptr);
    _exit(127);
  }
  close(out[1]);
  FILE* in = fdopen(out[0], "r");
  char line[256] = "";
  while (fgets(line, sizeof line, in) != nullptr && strstr(line, "ready\n") == nullptr) {
  }
  fclose(in);
  if (strstr(line, "ready\n") != nullptr) return pid;
  waitpid(pid, nullptr, 0);
  return -1;
}

// Stops it: true when it ended cleanly.
bool stopSim(pid_t pid) {
  int status = 0;
  kill(pid, SIGTERM);
  waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// An interface object: simple members, no addresses and, with `member`, a one-entry "member".
std::unique_ptr<config::StructValue> object(
    std::vector<std::pair<char const*, char const*>> const& members, char const* member = nullptr) {
  auto s = std::make_unique<config::StructValue>();
  for (auto const& m : members) s->insert(m.first, new config::SimpleValue(m.second));
  auto* ip = new config::StructValue;
  ip->insert("address", new config::ArrayValue);
  s->insert("ip", ip);
  if (member != nullptr) {
    auto* list = new config::ArrayValue;
    list->append(new config::SimpleValue(member));
    s->insert("member", list);
  }
  return s;
}

class SimScenario : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    sPid = startSim("--upgrade-step-ms 100");
    ASSERT_GT(sPid, 0) << "corvane-sim did not start";
  }
  static void TearDownTestSuite() { EXPECT_TRUE(stopSim(sPid)); }
  static pid_t sPid;
};
pid_t SimScenario::sPid = -1;

TEST_F(SimScenario, VLANOnAnAggregateMemberIsRefused) {
  auto aggregate = object({{"name", "agg0"}}, "eth1");
  ASSERT_EQ(Service::createObject("default", "aggregate-interface", "agg0", aggregate.get(),
                                  Service::kwEnabled, true),
            config::kwOK);
  auto vlan = object({{"name", "vlan10"}, {"sub-interface", "eth1"}, {"vlan-identifier", "10"}});
  try {
    Service::createObject("default", "vlan-interface", "vlan10", vlan.get(), Service::kwEnabled,
                          true);
    ADD_FAILURE() << "VLAN accepted on an aggregate member";
  } catch (config::messaging::ValidationException const& e) {
    EXPECT_EQ(e.errorField, "sub-interface");
    EXPECT_EQ(e.errorString,
              "The interface eth1 cannot carry a VLAN because it is a member of the aggregate "
              "interface agg0.");
  }
  std::vector<std::string> names;
  EXPECT_EQ(Service::getNamesofObject("default", "vlan-interface", names), config::kwOK);
  EXPECT_TRUE(names.empty());
  // On a free interface the same VLAN passes the validators.
  auto free = object({{"name", "vlan10"}, {"sub-interface", "eth0"}, {"vlan-identifier", "10"}});
  EXPECT_EQ(Service::createObject("default", "vlan-interface", "vlan10", free.get(),
                                  Service::kwEnabled, true),
            config::kwOK);
  std::unique_ptr<InterfaceStatus> status(ethernetInterfaces::getVLANStatus("vlan10"));
  ASSERT_NE(status, nullptr);
  EXPECT_TRUE(status->mSuccess);
}

TEST_F(SimScenario, InterfaceRecordIsStoredAndReadBack) {
  types::KeyValPair record{
      {"name", "eth2"}, {"MTU", "9000"}, {"IPAddress", "10.20.30.40/24"}, {"enabled", "true"}};
  ASSERT_EQ(ethernetInterfaces::setInterface(record), 0);
  std::unique_ptr<types::KeyValPair> back(ethernetInterfaces::getInterface("eth2"));
  ASSERT_NE(back, nullptr);
  for (char const* key : {"MTU", "IPAddress", "enabled"})
    EXPECT_STREQ(back->findValue(key), record.findValue(key)) << key;
  // The address eth2 now holds is refused on another interface by the duplicate check.
  types::KeyValPair clash{{"name", "eth3"}, {"IPAddress", "10.20.30.40/24"}};
  EXPECT_EQ(ethernetInterfaces::setInterface(clash), -1);
  std::unique_ptr<std::vector<std::string>> names(ethernetInterfaces::getInterfaceNames());
  ASSERT_NE(names, nullptr);
  EXPECT_EQ(*names, (std::vector<std::string>{"eth0", "eth1", "eth2", "eth3"}));
}

TEST_F(SimScenario, HealthComesFromTheScenarioAndProc) {
  std::vector<statusUtils::FanStatus> fans;
  std::vector<statusUtils::TempStatus> temps;
  ASSERT_EQ(statusUtils::getFanStatus(fans), 1);
  ASSERT_EQ(statusUtils::getTempStatus(temps), 1);
  ASSERT_EQ(fans.size(), 2u);
  ASSERT_EQ(temps.size(), 2u);
  EXPECT_EQ(fans[0].mID + " " + fans[0].mFormatted, "FAN1 4200 RPM");
  EXPECT_TRUE(fans[0].mOk);
  EXPECT_EQ(temps[0].mValue, 48);
  EXPECT_EQ(temps[0].mUpperNonRecoverable, 95);
  unsigned size = 0, free = 0;
  ASSERT_EQ(statusUtils::getMemoryUse(size, free), 1);
  EXPECT_TRUE(size > 0 && free <= size);
  EXPECT_GT(statusUtils::getUptime(), 0);
  EXPECT_EQ(statusUtils::getIntrusionStatus(), 0);
}

TEST_F(SimScenario, DistributeLoggingReachesEveryManagerInOrder) {
  processManagerUtils::distributeLogging(7, 0x12);
  std::string log = readFile("/var/log/corvane-sim.log");
  size_t at = 0;
  for (char const* manager : {"processmgr", "firmwaremgr", "hardwaremgr", "networkmgr", "usermgr",
                              "configmgr", "statusmgr"}) {
    at = log.find(std::string(manager) + ": setLogging level 7 mask 0x00000012", at);
    ASSERT_NE(at, std::string::npos) << manager << " not reached in order:\n" << log;
  }
}

TEST_F(SimScenario, NetworkStatusFollowsTheConfiguration) {
  struct Case {
    char const* name;
    bool success, enabled;
    char const* address;
  } const cases[] = {
      {"eth0", true, true, "192.168.1.10/24"},
      {"eth3", true, false, ""},
      {"eth9", false, false, nullptr},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.name);
    std::unique_ptr<InterfaceStatus> status(ethernetInterfaces::getInterfaceStatus(c.name));
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(status->mSuccess, c.success);
    EXPECT_EQ(status->mEnabled, c.enabled);
    EXPECT_EQ(status->mLinked, c.enabled);
    ASSERT_EQ(status->mStatus.size(), c.address == nullptr ? 0u : 1u);
    EXPECT_STREQ(status->mStatus.empty() ? nullptr : status->mStatus[0].findValue("address"),
                 c.address);
  }
}

TEST_F(SimScenario, ProcessManagerKeepsLevelsRequestsAndUnhealthyCounts) {
  ASSERT_EQ(processManagerUtils::setPlatformLogLevel(processManagerUtils::kLevelDebug), 0);
  processManagerUtils::PlatformLogLevel level = processManagerUtils::kLevelUnknown;
  ASSERT_EQ(processManagerUtils::getPlatformLogLevel(level), 0);
  EXPECT_EQ(level, processManagerUtils::kLevelDebug);
  EXPECT_EQ(processManagerUtils::requestReboot(), 0);
  EXPECT_NE(readFile("/var/log/corvane-sim.log").find("processmgr: reboot requested"),
            std::string::npos);
  // Unrecoverable from the third note on (the default count): then nothing is emitted.
  for (int code : {0, 0, 1, 1})
    EXPECT_EQ(processManagerUtils::signalApplicationIsUnhealthy("app"), code);
  EXPECT_EQ(readFile("/sandbox/calls/initctl"),
            "emit\t--no-wait\tapp-unhealthy\nemit\t--no-wait\tapp-unhealthy\n");
}

TEST_F(SimScenario, CatalogLogsReachTheLogReceiverAndSyslogFiles) {
  log::init("simtest");
  icu::Formattable args[] = {icu::UnicodeString("eth5"), icu::UnicodeString("agg9")};
  log::log(3, "network_validation_sub_interface_already_in_aggregate_interface", args, 2, "obj1");
  EXPECT_NE(readFile("/var/log/corvane-sim-logreceiver.log")
                .find(" obj1: network_validation_sub_interface_already_in_aggregate_interface "
                      "\"eth5\" \"agg9\"\n"),
            std::string::npos);
  std::string syslog;
  for (int i = 0; i < 100 && syslog.find("agg9") == std::string::npos; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    syslog = readFile("/var/log/corvane-sim-syslog.log");
  }
  EXPECT_NE(syslog.find("The interface eth5 cannot carry a VLAN because it is a member of the "
                        "aggregate interface agg9."),
            std::string::npos)
      << syslog;
}

TEST_F(SimScenario, AccountsLiveInTheUserStoreFile) {
  EXPECT_TRUE(userUtils::login("cli", "admin", "admin"));
  EXPECT_EQ(userUtils::addUser("oper", "s3cret"), 0);
  EXPECT_EQ(userUtils::addUser("oper", "again"), 1);
  EXPECT_EQ(userUtils::addUser("a<b", "x"), 1);
  EXPECT_EQ(userUtils::deleteUser("admin"), 1);  // kept: "nodelete"
  EXPECT_TRUE(userUtils::login("cli", "oper", "s3cret"));
  EXPECT_FALSE(userUtils::login("cli", "oper", "wrong"));
  user::Store store;
  ASSERT_TRUE(store.read_users("/etc/corvane/users.xml"));
  ASSERT_EQ(store.accounts().size(), 2u);
  user const* oper = store.find("oper");
  ASSERT_NE(oper, nullptr);
  EXPECT_EQ(oper->get("uid"), "1001");
  EXPECT_EQ(oper->get("passwordencrypted"), "true");
  EXPECT_EQ(oper->get("password").compare(0, 3, "$6$"), 0);  // never the plain text
  EXPECT_EQ(userUtils::deleteUser("oper"), 0);
  user::Store after;
  ASSERT_TRUE(after.read_users("/etc/corvane/users.xml"));
  EXPECT_EQ(after.find("oper"), nullptr);
}

TEST(SimCommandLine, BadArgumentsAreRefusedBeforeServing) {
  for (char const* args : {"--bogus", "--fault configmgr", "--fault configmgr=melted",
                           "--fault nosuchmgr=down", "--fault configmgr=slow:0", "--scenario"})
    EXPECT_EQ(simExit(args), 2) << args;
  // Without a running simulator the control command fails.
  EXPECT_EQ(simExit("--control status"), 1);
}

TEST(SimCommandLine, ScenarioFileAndStartingFaultsAreHonoured) {
  corvane::testing::writeFile(
      "/tmp/scenario", "# one failing fan\nfan X9 1234 500 3\nbogus line\ntemp T 99 70 80 4\n");
  pid_t pid = startSim("--scenario /tmp/scenario --fault processmgr=down");
  ASSERT_GT(pid, 0);
  std::vector<statusUtils::FanStatus> fans;
  std::vector<statusUtils::TempStatus> temps;
  std::vector<statusUtils::VoltStatus> volts;
  EXPECT_EQ(statusUtils::getFanStatus(fans), 1);
  EXPECT_EQ(statusUtils::getTempStatus(temps), 1);
  EXPECT_EQ(statusUtils::getVoltageStatus(volts), 1);
  processManagerUtils::PlatformLogLevel level = processManagerUtils::kLevelInfo;
  EXPECT_ANY_THROW(processManagerUtils::getPlatformLogLevel(level));
  stopSim(pid);
  ASSERT_EQ(fans.size(), 1u);
  EXPECT_EQ(fans[0].mID + " " + fans[0].mFormatted, "X9 1234 RPM");
  EXPECT_FALSE(fans[0].mOk);
  ASSERT_EQ(temps.size(), 1u);
  EXPECT_EQ(temps[0].mValue, 99);
  EXPECT_TRUE(temps[0].mOk);
  EXPECT_TRUE(volts.empty());
  EXPECT_NE(readFile("/var/log/corvane-sim.log").find("hardwaremgr: scenario line 3 skipped"),
            std::string::npos);
}

// Progress reports themselves are followed by the shell's tests.
TEST_F(SimScenario, FirmwareUpgradeRunsToSuccess) {
  callbackManagerHandler* handler = callbackManagerHandler::startCallbackManager();
  ASSERT_NE(handler, nullptr);
  ASSERT_EQ(firmwareUtils::upgrade("/tmp/image.bin", false, false, handler->port), 0);
  EXPECT_TRUE(firmwareUtils::hasRunningUpgradeWithCallback());
  for (int i = 0; i < 150 && firmwareUtils::hasRunningUpgradeWithCallback(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(firmwareUtils::hasRunningUpgradeWithCallback());
  EXPECT_TRUE(firmwareUtils::wasPreviousSuccess());
  callbackManagerHandler::cleanup();
}

TEST_F(SimScenario, FaultsGiveNeutralAnswersInTime) {
  auto names = [] {
    std::vector<std::string> found;
    int rc = Service::getNamesofObject("default", "ethernet-interface", found);
    return rc == config::kwOK && found.size() != 4 ? -1 : rc;
  };
  auto netReady = [] {
    return static_cast<int>(statusUtils::isNetServiceReady(statusUtils::kNetworkReady, 500));
  };
  auto fans = [] {
    std::vector<statusUtils::FanStatus> found;
    return statusUtils::getFanStatus(found);
  };
  struct Case {
    char const* fault;
    std::function<int()> probe;
    int expected, minimumMs;
  } const cases[] = {
      {"configmgr=down", names, config::kwCommError, 0},
      {"configmgr=garbage", names, config::kwCommError, 0},
      {"configmgr=close", names, config::kwCommError, 0},
      {"configmgr=slow:300", names, config::kwOK, 300},
      {"configmgr=none", names, config::kwOK, 0},
      {"networkmgr=hung", netReady, 0, 450},
      {"networkmgr=slow:200", netReady, 1, 200},
      {"hardwaremgr=garbage", fans, 0, 0},
      {"all=none", fans, 1, 0},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.fault);
    ASSERT_EQ(simExit(std::string("--control fault ") + c.fault), 0);
    auto start = Clock::now();
    EXPECT_EQ(c.probe(), c.expected);
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    EXPECT_GE(ms, c.minimumMs);
    EXPECT_LT(ms, 2000);
  }
  // The control command refuses what it does not know.
  EXPECT_EQ(simExit("--control fault nosuchmgr=down"), 1);
}

// Last of the scenario: the reset empties /var/log and the configuration.
TEST_F(SimScenario, DeviceResetRebootsTheSimulatorIntoItsSeededState) {
  // On the appliance "telinit 6" reboots the managers: here the stand-in tells the simulator.
  corvane::testing::setStandInScript("telinit",
                                     "exec " CORVANE_SIM_PROGRAM " --control reboot >/dev/null\n");
  types::KeyValPair record{{"name", "eth0"}, {"MTU", "9000"}, {"IPAddress", "10.9.9.9/24"}};
  ASSERT_EQ(ethernetInterfaces::setInterface(record), 0);
  ASSERT_EQ(userUtils::addUser("temp", "pw"), 0);
  std::vector<applianceUtils::resetFileError> errors;
  std::vector<std::string> messages;
  EXPECT_EQ(applianceUtils::deviceRESET(errors, messages), 0);
  EXPECT_EQ(messages, (std::vector<std::string>{"cli_dev_reset_complete", "cli_gen_print_ok"}));
  EXPECT_EQ(readFile("/sandbox/calls/telinit"), "6\n");
  EXPECT_NE(readFile("/var/log/corvane-sim.log").find("corvane-sim: rebooted"), std::string::npos);
  std::unique_ptr<types::KeyValPair> eth0(ethernetInterfaces::getInterface("eth0"));
  ASSERT_NE(eth0, nullptr);
  EXPECT_STREQ(eth0->findValue("MTU"), "1500");
  EXPECT_STREQ(eth0->findValue("IPAddress"), "192.168.1.10/24");
  std::vector<std::string> names{"left over"};
  EXPECT_EQ(Service::getNamesofObject("default", "vlan-interface", names), config::kwOK);
  EXPECT_TRUE(names.empty());
  ASSERT_TRUE(userUtils::listUsers(names));
  EXPECT_EQ(names, std::vector<std::string>{"admin"});
}

}  // namespace
