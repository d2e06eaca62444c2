// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Tracer: enter, argument and exit lines, switched by level 7 and the category mask, as they
// reach the syslog sink.

#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fake_manager.h"
#include "sandbox.h"
#include "corvane/log.h"

namespace corvane {
namespace {

using Lines = std::vector<std::string>;

std::string line(std::string const& text) {
  return "<143>Feb 15 23:53:07 localhost tracer(" + std::to_string(getpid()) + ")[]:" + text;
}

class TracerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    delete sLog;
    log::init("tracer", false);
    log::setLogging(7, 0);
    mSink.drain(100);
  }
  void TearDown() override { delete sLog; }

  Lines received() { return mSink.drain(150); }

  testing::SyslogSink mSink;
};

TEST_F(TracerTest, LinesNeedLevelSevenAndASharedCategoryBit) {
  struct {
    unsigned level;
    int mask;
    unsigned categories;
    bool enabled;
  } const cases[] = {
      {7, 0x3, 0x2, true},  {7, -1, 0xFFFFFFFF, true},  {7, 0x800, 0x800, true},
      {7, 0x1, 0x2, false}, {6, -1, 0xFFFFFFFF, false}, {8, 0x2, 0x2, false},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(std::to_string(c.level) + " " + std::to_string(c.mask));
    sLog->setLevel(c.level);
    sLog->setMask(c.mask);
    {
      Tracer t("distributeLogging", "processManagerUtils", 88, c.categories);
      EXPECT_EQ(t.enabled(), c.enabled);
      t.args("inLog %08X, inMask %08X", 7u, 0xFFu);
      t.args("%s", std::string(2000, 'a').c_str());  // cut to the argument buffer
      t.args(nullptr);
      t.result(1);
    }
    Lines expected;
    if (c.enabled) {
      expected = {line("---> Enter distributeLogging, processManagerUtils line 88"),
                  line("---- Args  distributeLogging, inLog 00000007, inMask 000000FF"),
                  line("---- Args  distributeLogging, " + std::string(499, 'a')),
                  line("<--- Exit  distributeLogging, result is 1")};
    }
    EXPECT_EQ(received(), expected);
  }
  // Without a logger tracers stay off and create none.
  delete sLog;
  {
    Tracer t("early", "file", 3, 0xFFFFFFFF);
    EXPECT_FALSE(t.enabled());
    t.args("%d", 1);
  }
  EXPECT_EQ(sLog, nullptr);
  EXPECT_TRUE(received().empty());
}

TEST_F(TracerTest, ExitLineShowsTheResultByKind) {
  int object = 0;
  char pointer[32];
  snprintf(pointer, sizeof pointer, "%p", static_cast<void*>(&object));
  struct {
    std::function<void(Tracer&)> set;
    std::string exit;
  } const cases[] = {
      {[](Tracer&) {}, "result not set"},
      {[](Tracer& t) { t.result(-17); }, "result is -17"},
      {[](Tracer& t) { t.result(1099511627776L); }, "result is 1099511627776"},
      {[](Tracer& t) { t.result('Q'); }, "result is Q"},
      {[](Tracer& t) { t.result("eth0.12"); }, "result is eth0.12"},
      {[](Tracer& t) { t.result(static_cast<char const*>(nullptr)); }, "result is (null)"},
      {[](Tracer& t) { t.result(true); }, "result is true"},
      {[&](Tracer& t) { t.result(static_cast<void const*>(&object)); },
       std::string("result is ") + pointer},
      {[](Tracer& t) { t.resultVoid(); }, "result is void"},
      // The last stored result wins.
      {[](Tracer& t) { t.result(3), t.resultVoid(), t.result(false); }, "result is false"},
  };
  sLog->setMask(0x2);
  Lines expected;
  for (auto const& c : cases) {
    {
      Tracer t("getIfName", "interfaceRecords", 7, 0x2);
      c.set(t);
    }
    expected.push_back(line("---> Enter getIfName, interfaceRecords line 7"));
    expected.push_back(line("<--- Exit  getIfName, " + c.exit));
  }
  EXPECT_EQ(received(), expected);
}

}  // namespace
}  // namespace corvane
