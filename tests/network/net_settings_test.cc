// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Name servers, time servers, host names and node name against fake managers.

#include "corvane/net_settings.h"

#include <sys/mount.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <corvane/idl/configManager.h>
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/processManager.h>
#include "net_test_util.h"

namespace corvane {
namespace {

using Strings = std::vector<std::string>;
namespace hw = ::hardwareManager;
namespace cm = ::configManager;

Strings const kFixed{"driftfile /etc/ntpdrift",
                     "restrict default kod nomodify notrap nopeer noquery",
                     "restrict -6 default kod nomodify notrap nopeer noquery", "restrict 127.0.0.1",
                     "restrict -6 ::1"};

template <class Result, class T>
Result success(T const& value) {
  Result r;
  r.success = value;
  r.__isset.success = true;
  return r;
}

class NetSettingsTest : public testing::NetTest {
 protected:
  testing::FakeManager mHw{"hardwaremgr"};
  testing::FakeManager mCm{"configmgr"};
  testing::FakeManager mPm{"processmgr"};
};

TEST_F(NetSettingsTest, TimeServersCarryTheFixedLinesLastAndRestartOnlyAfterZero) {
  Strings const extra{"server 10.0.0.1 iburst", "tinker panic 0"};
  std::pair<Strings const*, int> const cases[] = {{nullptr, 0}, {&extra, 0}, {nullptr, 3}};
  for (auto const& c : cases) {
    mHw.reset(), mPm.reset();
    mHw.reply("setTimeServers", success<hw::hardwareManager_setTimeServers_result>(c.second));
    EXPECT_EQ(c.second, timeServers::setTimeServers({"ntp1", "ntp2"}, c.first));
    auto args = mHw.args<hw::hardwareManager_setTimeServers_args>("setTimeServers");
    Strings lines = c.first ? *c.first : Strings();
    lines.insert(lines.end(), kFixed.begin(), kFixed.end());
    EXPECT_EQ((Strings{"ntp1", "ntp2"}), args.timeServers);
    EXPECT_EQ(lines, args.extraLines);
    EXPECT_EQ(c.second == 0 ? 1u : 0u, mPm.calls("restartProcess").size());
    EXPECT_EQ(
        c.second == 0 ? "ntpd" : "",
        mPm.args<processManager::processManager_restartProcess_args>("restartProcess").processName);
  }
}

TEST_F(NetSettingsTest, EachOperationForwardsOneCall) {
  hw::ts answer;
  answer.servers = {"10.0.0.53", "10.0.0.54"}, answer.extraLines = {"options rotate"};
  mHw.reply("getNameServers", success<hw::hardwareManager_getNameServers_result>(answer));
  mHw.reply("getTimeServers", success<hw::hardwareManager_getTimeServers_result>(answer));
  mHw.reply("getSearchDomains",
            success<hw::hardwareManager_getSearchDomains_result>(Strings{"corp.example"}));
  mHw.reply("setNameServers", success<hw::hardwareManager_setNameServers_result>(4));
  mHw.reply("setSearchDomains", success<hw::hardwareManager_setSearchDomains_result>(5));
  mCm.reply("getAddresses", success<cm::configManager_getAddresses_result>(Strings{"10.1.1.1"}));
  mCm.reply("getHostnames", success<cm::configManager_getHostnames_result>(Strings{"a", "b"}));
  mCm.reply("setHostnames", success<cm::configManager_setHostnames_result>(true));
  mCm.reply("deleteHostnames", success<cm::configManager_deleteHostnames_result>(false));
  mCm.reply("setNodename", success<cm::configManager_setNodename_result>(6));
  mCm.reply("initNodename", success<cm::configManager_initNodename_result>(7));

  using List = std::function<Strings*(Strings*)>;
  struct Getter {
    List get;
    Strings servers, extra;
  } const getters[] = {
      {nameServers::getNameServers, answer.servers, answer.extraLines},
      {timeServers::getTimeServers, answer.servers, answer.extraLines},
      {[](Strings*) { return nameServers::getSearchDomains(); }, {"corp.example"}, {"kept"}},
      {[](Strings*) { return hostsUtils::getAddresses(); }, {"10.1.1.1"}, {"kept"}},
      {[](Strings*) { return hostsUtils::getHostnames("10.1.1.1"); }, {"a", "b"}, {"kept"}},
  };
  for (int pass = 0; pass < 2; ++pass) {  // managers up, then down
    for (Getter const& g : getters) {
      Strings extra{"kept"};
      std::unique_ptr<Strings> got(g.get(&extra));
      ASSERT_NE(nullptr, got);
      EXPECT_EQ(pass == 0 ? g.servers : Strings(), *got);
      EXPECT_EQ(pass == 0 ? g.extra : Strings{"kept"}, extra);
    }
    Strings const names{"h1", "h2"};
    auto start = std::chrono::steady_clock::now();
    std::vector<int> const codes{nameServers::setNameServers({"10.0.0.53"}),
                                 nameServers::setSearchDomains({"corp.example"}),
                                 hostsUtils::setHostnames("10.1.1.1", names),
                                 hostsUtils::deleteHostnames("10.1.1.1"),
                                 nodeName::set("appliance-7"),
                                 nodeName::init(),
                                 timeServers::setTimeServers({"ntp1"})};
    EXPECT_EQ(pass == 0 ? (std::vector<int>{4, 5, 1, 0, 6, 7, 0}) : std::vector<int>(7, 0), codes);
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 1.5);
    if (pass == 0) {
      EXPECT_TRUE(
          mHw.args<hw::hardwareManager_setNameServers_args>("setNameServers").extraLines.empty());
      auto hn = mCm.args<cm::configManager_setHostnames_args>("setHostnames");
      EXPECT_EQ("10.1.1.1", hn.ipAddr);
      EXPECT_EQ(names, hn.hostnames);
      EXPECT_EQ("appliance-7", mCm.args<cm::configManager_setNodename_args>("setNodename").newName);
      EXPECT_EQ("10.1.1.1", mCm.args<cm::configManager_getHostnames_args>("getHostnames").ipAddr);
      traces();
      mHw.stop(), mCm.stop(), mPm.stop();
    }
  }
  EXPECT_TRUE(logged("Exception thrown during thrift call to hardware manager"));
}

TEST_F(NetSettingsTest, KernelHostNameIsOneLineOfAtMost64Characters) {
  std::string const x64(64, 'x');
  testing::writeFile("/tmp/hostname", "");
  ASSERT_EQ(0, mount("/tmp/hostname", "/proc/sys/kernel/hostname", nullptr, MS_BIND, nullptr));
  std::pair<std::string, std::string> const cases[] = {{"appliance\n", "appliance"},
                                                       {"no-newline", "no-newline"},
                                                       {x64 + "\n", x64},
                                                       {x64 + "yz\n", x64},
                                                       {"a\nb\n", "a"},
                                                       {"", ""}};
  for (auto const& c : cases) {
    testing::writeFile("/tmp/hostname", c.first.c_str());
    EXPECT_EQ(c.second, nodeName::getFromKernel()) << c.first;
    EXPECT_EQ(c.second, nodeName::get()) << c.first;
  }
  EXPECT_TRUE(logged("Cant read /proc/sys/kernel/hostname, code"));
  EXPECT_EQ(0, umount("/proc/sys/kernel/hostname"));
}

}  // namespace
}  // namespace corvane
