// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The simulated appliance driven through the library's public operations only: corvane-sim
// runs in this test's sandbox, exactly as a downstream program would meet it.

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "corvane/config_service.h"
#include "corvane/log.h"
#include "corvane/process_manager_utils.h"
#include "corvane/status_utils.h"
#include "corvane/user_utils.h"
#include "sandbox.h"

namespace {

using namespace corvane;
using corvane::testing::readFile;
using Clock = std::chrono::steady_clock;

// corvane-sim run with `args` to its end: the exit code (124 when it ran on for 10 s).
int simExit(std::string const& args) {
  int status = system(("timeout 10 " CORVANE_SIM_PROGRAM " " + args + " >/dev/null 2>&1").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Starts corvane-sim with `args` in the background and waits for its control socket.
void startSim(std::string const& args) {
  system((CORVANE_SIM_PROGRAM " " + args + " >/dev/null 2>&1 &").c_str());
  for (int i = 0; i < 100 && simExit("--control status") != 0; ++i) usleep(100000);
}

// The answers of the two sensor calls, then each fan and temperature ("!": not ok).
std::string sensors() {
  std::vector<statusUtils::FanStatus> fans;
  std::vector<statusUtils::TempStatus> temps;
  std::string s = std::to_string(statusUtils::getFanStatus(fans)) +
                  std::to_string(statusUtils::getTempStatus(temps));
  for (auto const& f : fans) s += " " + f.mID + " " + f.mFormatted + (f.mOk ? "" : "!");
  for (auto const& t : temps)
    s += " " + t.mName + " " + std::to_string(t.mValue) + "<" +
         std::to_string(t.mUpperNonRecoverable) + (t.mOk ? "" : "!");
  return s;
}

class SimScenario : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { startSim(""); }
  static void TearDownTestSuite() { EXPECT_EQ(0, simExit("--control quit")); }
};

// Adding, refusing and deleting accounts is followed by the shell's tests.
TEST_F(SimScenario, SensorsComeFromTheScenarioAndLoginChecksThePassword) {
  EXPECT_EQ(sensors(), "11 FAN1 4200 RPM FAN2 4150 RPM CPU 48<95 Board 36<80");
  EXPECT_EQ(statusUtils::getIntrusionStatus(), 0);
  EXPECT_EQ(userUtils::addUser("oper", "s3cret"), 0);
  EXPECT_TRUE(userUtils::login("cli", "oper", "s3cret"));
  EXPECT_FALSE(userUtils::login("cli", "oper", "wrong"));
}

TEST_F(SimScenario, ManagersRecordLogSettingsUnhealthyNotesAndMessages) {
  processManagerUtils::distributeLogging(7, 0x12);
  // Unrecoverable from the third note on (the default count): then nothing is emitted.
  for (int code : {0, 0, 1, 1})
    EXPECT_EQ(processManagerUtils::signalApplicationIsUnhealthy("app"), code);
  EXPECT_EQ(readFile("/sandbox/calls/initctl"),
            "emit\t--no-wait\tapp-unhealthy\nemit\t--no-wait\tapp-unhealthy\n");
  std::string log = readFile("/var/log/corvane-sim.log");
  size_t at = 0;
  for (char const* manager : {"processmgr", "firmwaremgr", "hardwaremgr", "networkmgr", "usermgr",
                              "configmgr", "statusmgr"}) {
    at = log.find(std::string(manager) + ": setLogging level 7 mask 0x00000012", at);
    ASSERT_NE(at, std::string::npos) << manager << " not reached in order:\n" << log;
  }
  // A catalog message reaches the log receiver as its id and arguments.
  log::init("simtest");
  icu::Formattable args[] = {icu::UnicodeString("eth5"), icu::UnicodeString("agg9")};
  log::log(3, "network_validation_sub_interface_already_in_aggregate_interface", args, 2, "obj1");
  EXPECT_NE(readFile("/var/log/corvane-sim-logreceiver.log")
                .find(" obj1: network_validation_sub_interface_already_in_aggregate_interface "
                      "\"eth5\" \"agg9\"\n"),
            std::string::npos);
}

TEST_F(SimScenario, FaultsGiveNeutralAnswersInTime) {
  auto names = [] {
    std::vector<std::string> found;
    return config::Service::getNamesofObject("default", "ethernet-interface", found);
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
      {"configmgr=slow:300", names, config::kwOK, 300},
      {"networkmgr=hung", netReady, 0, 450},
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
  EXPECT_EQ(simExit("--control fault nosuchmgr=down"), 1);
}

TEST(SimCommandLine, BadArgumentsScenarioFileAndStartingFaults) {
  for (char const* args : {"--bogus", "--fault configmgr", "--fault configmgr=melted",
                           "--fault nosuchmgr=down", "--fault configmgr=slow:0", "--scenario"})
    EXPECT_EQ(simExit(args), 2) << args;
  EXPECT_EQ(simExit("--control status"), 1);
  corvane::testing::writeFile(
      "/tmp/scenario", "# one failing fan\nfan X9 1234 500 3\nbogus line\ntemp T 99 70 80 4\n");
  startSim("--scenario /tmp/scenario --fault processmgr=down");
  EXPECT_EQ(sensors(), "11 X9 1234 RPM! T 99<80");
  processManagerUtils::PlatformLogLevel level = processManagerUtils::kLevelInfo;
  EXPECT_ANY_THROW(processManagerUtils::getPlatformLogLevel(level));
  EXPECT_EQ(0, simExit("--control quit"));
  EXPECT_NE(readFile("/var/log/corvane-sim.log").find("hardwaremgr: scenario line 3 skipped"),
            std::string::npos);
}

}  // namespace
