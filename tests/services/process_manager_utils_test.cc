// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Process-manager utilities: the name tables, `split`, the initctl command lines recorded by
// the sandbox's stand-in, and the calls that reach fake managers, with the lines logged.

#include "corvane/process_manager_utils.h"

#include <unistd.h>

#include <algorithm>
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

using Argv = std::vector<std::vector<std::string>>;
namespace pm = ::processManager;

class ProcessManagerUtilsTest : public ::testing::Test {
 protected:
  void SetUp() override {
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
  std::vector<std::string> mLines;
};

// One row per name: its level, its mask, and what `Mask2Text` appends for that mask.
TEST(ProcessManagerNames, TablesAndMaskTexts) {
  std::string all;  // the help listing: every name in table order
  for (NameValue const* e = kMaskNames; e->name[0] != '\0'; ++e)
    all += "  " + std::string(e->name) + "\n";
  // clang-format off
  struct { char const* name; int level; int mask; std::string text; } const rows[] = {
      {"WARN", 4, kMaskUnknown, all},        {"RAID", -1, 0x100, "  raid\n"},
      {"all", -1, -1, "  all\n"},            {"None", -1, 0, "  none\n"},
      {"verbose", -1, kMaskUnknown, all},
  };
  // clang-format on
  for (auto const& r : rows) {
    std::string name = r.name, out = "kept";
    EXPECT_EQ(Level2Enum(name), r.level) << name;
    EXPECT_EQ(Mask2Enum(&name[0]), r.mask) << name;
    Mask2Text(r.mask, out);
    EXPECT_EQ(out, "kept" + r.text) << name;
  }
  std::string out;
  Mask2Text(static_cast<int>(0x80200803u), out);  // 0x800 has no name
  EXPECT_EQ(out, "  commands\n  networkmanager\n  application1\n  trivial\n");
  EXPECT_EQ(Mask2Enum(nullptr), kMaskUnknown);
  EXPECT_EQ(Level2Text(kLevelUnknown), nullptr);
}

// `split` cuts at runs of '+' and leaves the text cut behind the last part taken.
TEST(ProcessManagerNames, Split) {
  // clang-format off
  struct { char const* text; int max; std::vector<std::string> parts; char const* left; } const cases[] = {
      {"a+b++c", 2, {"a", "b"}, "a"}, {"+a+b++c+", 5, {"a", "b", "c"}, "+a"},
      {"", 2, {}, ""},                {"a+b", 0, {}, "a"},
  };
  // clang-format on
  for (auto const& c : cases) {
    std::string text = c.text;
    char* parts[5] = {&text[0], &text[0], &text[0], &text[0], &text[0]};
    ASSERT_EQ(split(&text[0], parts, c.max), static_cast<int>(c.parts.size())) << c.text;
    for (int i = 0; i < c.max; ++i) {
      EXPECT_EQ(parts[i] ? parts[i] : "<null>",
                i < static_cast<int>(c.parts.size()) ? c.parts[i] : "<null>");
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
  ASSERT_EQ(manager.calls().size(), 2u);
  EXPECT_EQ(manager.calls()[0].name, "noteUnhealthy");
  EXPECT_EQ(manager.args<pm::processManager_isUnrecoverable_args>("isUnrecoverable").name, "app");
  EXPECT_TRUE(logged(6, "Emitting app-unhealthy"));
  EXPECT_TRUE(logged(6, "Emit event succeeded."));

  manager.replySuccess<pm::processManager_isUnrecoverable_result>("isUnrecoverable", true);
  testing::clearStandInCalls();
  EXPECT_EQ(signalApplicationIsUnhealthy("app"), 1);
  EXPECT_TRUE(testing::standInCalls("initctl").empty());
  EXPECT_TRUE(logged(6, "Application app is unrecoverable."));
  EXPECT_TRUE(logged(6, "Returning 1 from signalApplicationIsUnhealthy"));

  manager.stop();  // only the fan-out catches a manager that is down
  EXPECT_THROW(signalApplicationIsUnhealthy("app"), apache::thrift::transport::TTransportException);
  EXPECT_TRUE(testing::standInCalls("initctl").empty());
}

TEST_F(ProcessManagerUtilsTest, PlatformLevelCalls) {
  testing::FakeManager manager("processmgr");
  for (char const* method : {"requestReboot", "requestShutdown", "setPlatformLogLevel"})
    manager.replySuccess<pm::processManager_requestReboot_result>(method, 17);
  EXPECT_EQ(requestReboot() + requestShutdown() + setPlatformLogLevel(kLevelWarn), 3 * 17);
  EXPECT_EQ(manager.args<pm::processManager_setPlatformLogLevel_args>("setPlatformLogLevel").level,
            "warn");
  EXPECT_EQ(setPlatformLogLevel(static_cast<PlatformLogLevel>(1)), 1);
  EXPECT_EQ(manager.calls("setPlatformLogLevel").size(), 1u);
  EXPECT_TRUE(logged(3, "Unknown log-priority level 1"));

  struct {
    char const* answer;
    int rc;
    PlatformLogLevel level;
  } const reads[] = {{"INFO", 0, kLevelInfo}, {"", 1, kLevelFatal}, {"loud", 0, kLevelUnknown}};
  for (auto const& c : reads) {
    manager.replySuccess<pm::processManager_getPlatformLogLevel_result>("getPlatformLogLevel",
                                                                        std::string(c.answer));
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
    EXPECT_TRUE(args.logLevel == 7 && args.logMask == 2) << service;
  }
  EXPECT_TRUE(logged(3, "Exception invoking SERVICE_NETWORKMGR"));
  EXPECT_FALSE(logged(3, "Exception invoking SERVICE_USERMGR"));
  EXPECT_TRUE(logged(5, "get platform trace mask:2 \n"));
  distributeLogging(7, 0x2);  // now traced: level 7 and a mask bit
  EXPECT_TRUE(logged(7, "---- Args  distributeLogging, inLog 00000007, inMask 00000002"));
  EXPECT_TRUE(logged(7, "<--- Exit  distributeLogging, result is void"));
}

}  // namespace
}  // namespace processManagerUtils
}  // namespace corvane
