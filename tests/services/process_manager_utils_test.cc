// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Process-manager utilities: the name tables, `split`, the initctl command lines recorded by
// the sandbox's stand-in, and the calls that reach fake managers, with the lines logged.

#include "corvane/process_manager_utils.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <thrift/transport/TTransportException.h>

#include <corvane/idl/baseManager.h>
#include <corvane/idl/processManager.h>
#include "corvane/launch_exec.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace processManagerUtils {
namespace {

using Lines = std::vector<std::string>;
using Argv = std::vector<std::vector<std::string>>;
namespace pm = ::processManager;

class ProcessManagerUtilsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    delete sLog;
    log::init("pmu", false);
    testing::clearStandInCalls();
    testing::setStandInResult("initctl", -1, "");
    mSink.drain(50);
  }
  void TearDown() override { delete sLog; }

  // True when a trace line of `level` with exactly `text` arrived.
  bool logged(unsigned level, std::string const& text) {
    for (auto const& l : mSink.drain(150)) mLines.push_back(l);
    std::string line = "<" + std::to_string(136 + level) + ">Feb 15 23:53:07 localhost pmu(" +
                       std::to_string(getpid()) + ")[]:" + text;
    return std::find(mLines.begin(), mLines.end(), line) != mLines.end();
  }

  testing::SyslogSink mSink;
  Lines mLines;
};

TEST(ProcessManagerNames, TablesAndTexts) {
  struct {
    char const* name;
    int level;
    int mask;
  } const names[] = {
      {"WARN", 4, kMaskUnknown},
      {"debug", 7, kMaskUnknown},
      {"Fatal", 2, kMaskUnknown},
      {"RAID", -1, 0x100},
      {"all", -1, -1},
      {"None", -1, 0},
      {"trivial", -1, INT_MIN},
      {"application3", -1, 0x800000},
      {"verbose", -1, kMaskUnknown},
      {"", -1, kMaskUnknown},
  };
  for (auto const& c : names) {
    std::string name = c.name;
    EXPECT_EQ(Level2Enum(name), c.level) << name;
    EXPECT_EQ(Mask2Enum(&name[0]), c.mask) << name;
  }
  EXPECT_EQ(Mask2Enum(nullptr), kMaskUnknown);
  EXPECT_STREQ(Level2Text(kLevelMessage), "message");
  EXPECT_EQ(Level2Text(static_cast<PlatformLogLevel>(1)), nullptr);
  EXPECT_EQ(Level2Text(kLevelUnknown), nullptr);

  std::string all;
  for (NameValue const* e = kMaskNames; e->name[0] != '\0'; ++e)
    all += "  " + std::string(e->name) + "\n";
  EXPECT_EQ(all.substr(0, 32), "  all\n  none\n  commands\n  networ");
  struct {
    int mask;
    std::string text;
  } const masks[] = {
      {0, "  none\n"},
      {-1, "  all\n"},
      {3, "  commands\n  networkmanager\n"},
      {0x800, ""},
      {static_cast<int>(0x80200000u), "  application1\n  trivial\n"},
      {kMaskUnknown, all},
  };
  for (auto const& c : masks) {
    std::string out = "kept";
    Mask2Text(c.mask, out);
    EXPECT_EQ(out, "kept" + c.text) << c.mask;
  }
}

TEST(ProcessManagerNames, SplitCutsAtPlusRuns) {
  struct {
    char const* text;
    int max;
    int count;
    std::vector<std::string> parts;
    char const* left;
  } const cases[] = {
      {"a+b++c", 2, 2, {"a", "b"}, "a"},
      {"+a+b++c+", 5, 3, {"a", "b", "c"}, "+a"},
      {"", 2, 0, {}, ""},
      {"a+b", 0, 0, {}, "a"},
  };
  for (auto const& c : cases) {
    std::string text = c.text;
    char* parts[5] = {text.data(), text.data(), text.data(), text.data(), text.data()};
    ASSERT_EQ(split(&text[0], parts, c.max), c.count) << c.text;
    for (int i = 0; i < c.max; ++i) {
      EXPECT_EQ(parts[i] ? std::string(parts[i]) : "<null>", i < c.count ? c.parts[i] : "<null>")
          << c.text << " " << i;
    }
    EXPECT_STREQ(text.c_str(), c.left);
  }
}

TEST_F(ProcessManagerUtilsTest, ReadyEventsRunInitctl) {
  EXPECT_EQ(signalIAmReady("web", false), 0);
  EXPECT_EQ(signalIAmReady("web", true), 0);
  testing::setStandInResult("initctl", 3, "no such job");
  EXPECT_EQ(signalIAmReady("db", true), 1);
  EXPECT_EQ(testing::standInCalls("initctl"), (Argv{{"emit", "--no-wait", "web-started"},
                                                    {"emit", "web-started"},
                                                    {"emit", "db-started"}}));
  EXPECT_TRUE(logged(6, "Signal web-started sent\n"));
  EXPECT_TRUE(logged(
      3, std::string("Signal db-started returns 1 - ") + LaunchExec::getExitDescription(1) + "\n"));
}

TEST_F(ProcessManagerUtilsTest, UnhealthyAsksTheManagerFirst) {
  testing::FakeManager manager("processmgr");
  EXPECT_EQ(signalApplicationIsUnhealthy("app"), 0);
  EXPECT_EQ(testing::standInCalls("initctl"), (Argv{{"emit", "--no-wait", "app-unhealthy"}}));
  auto calls = manager.calls();
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].name, "noteUnhealthy");
  EXPECT_EQ(manager.args<pm::processManager_isUnrecoverable_args>("isUnrecoverable").name, "app");
  EXPECT_TRUE(logged(6, "Emitting app-unhealthy"));
  EXPECT_TRUE(logged(6, "Emit event succeeded."));

  pm::processManager_isUnrecoverable_result gone;
  gone.success = true;
  gone.__isset.success = true;
  manager.reply("isUnrecoverable", gone);
  testing::clearStandInCalls();
  EXPECT_EQ(signalApplicationIsUnhealthy("app"), 1);
  EXPECT_TRUE(testing::standInCalls("initctl").empty());
  EXPECT_TRUE(logged(6, "Application app is unrecoverable."));
  EXPECT_TRUE(logged(6, "Returning 1 from signalApplicationIsUnhealthy"));

  manager.stop();
  EXPECT_THROW(signalApplicationIsUnhealthy("app"), apache::thrift::transport::TTransportException);
  EXPECT_THROW(requestReboot(), apache::thrift::transport::TTransportException);
  EXPECT_TRUE(testing::standInCalls("initctl").empty());
}

TEST_F(ProcessManagerUtilsTest, PlatformLevelCalls) {
  testing::FakeManager manager("processmgr");
  pm::processManager_requestReboot_result reboot;
  reboot.success = 17;
  reboot.__isset.success = true;
  manager.reply("requestReboot", reboot);
  manager.reply("requestShutdown", reboot);
  manager.reply("setPlatformLogLevel", reboot);
  EXPECT_EQ(requestReboot(), 17);
  EXPECT_EQ(requestShutdown(), 17);
  EXPECT_EQ(setPlatformLogLevel(kLevelWarn), 17);
  EXPECT_EQ(manager.args<pm::processManager_setPlatformLogLevel_args>("setPlatformLogLevel").level,
            "warn");
  EXPECT_EQ(setPlatformLogLevel(static_cast<PlatformLogLevel>(1)), 1);
  EXPECT_EQ(manager.calls("setPlatformLogLevel").size(), 1u);
  EXPECT_TRUE(logged(3, "Unknown log-priority level 1"));

  struct {
    char const* answer;
    int rc;
    PlatformLogLevel level;
  } const reads[] = {
      {"INFO", 0, kLevelInfo},
      {"", 1, kLevelFatal},
      {"loud", 0, kLevelUnknown},
  };
  for (auto const& c : reads) {
    pm::processManager_getPlatformLogLevel_result r;
    r.success = c.answer;
    r.__isset.success = true;
    manager.reply("getPlatformLogLevel", r);
    PlatformLogLevel level = kLevelFatal;
    EXPECT_EQ(getPlatformLogLevel(level), c.rc) << c.answer;
    EXPECT_EQ(level, c.level) << c.answer;
  }
  EXPECT_TRUE(logged(5, "get platform log-priority:INFO \n"));
}

TEST_F(ProcessManagerUtilsTest, DistributeLoggingSkipsAManagerThatIsDown) {
  testing::FakeManagers managers;
  managers.networkmgr().stop();
  log::setLogging(6, 0);
  distributeLogging(7, 0x2);
  EXPECT_EQ(log::getLogLevel(), 7u);
  EXPECT_EQ(getPlatformTraceMask(), 0x2);
  for (char const* service :
       {"processmgr", "firmwaremgr", "hardwaremgr", "usermgr", "configmgr", "statusmgr"}) {
    auto args = managers.get(service).args<::baseManager_setLogging_args>("setLogging");
    EXPECT_EQ(args.logLevel, 7) << service;
    EXPECT_EQ(args.logMask, 2) << service;
  }
  EXPECT_TRUE(managers.networkmgr().calls().empty());
  EXPECT_TRUE(logged(3, "Exception invoking SERVICE_NETWORKMGR"));
  EXPECT_FALSE(logged(3, "Exception invoking SERVICE_USERMGR"));
  EXPECT_TRUE(logged(5, "get platform trace mask:2 \n"));
  EXPECT_FALSE(logged(7, "---- Args  distributeLogging, inLog 00000007, inMask 00000002"));
  distributeLogging(7, 0x2);  // now traced: level 7 and a mask bit
  EXPECT_TRUE(logged(7, "---- Args  distributeLogging, inLog 00000007, inMask 00000002"));
  EXPECT_TRUE(logged(7, "<--- Exit  distributeLogging, result is void"));
}

}  // namespace
}  // namespace processManagerUtils
}  // namespace corvane
