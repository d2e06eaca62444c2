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
    mHw.replySuccess<hw::hardwareManager_setTimeServers_result>("setTimeServers", c.second);
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

// Getters return their lists (and the name and time servers' extra lines); setters return
// the manager's code. A down manager gives empty lists, untouched extra lines and 0.
TEST_F(NetSettingsTest, EachOperationForwardsOneCall) {
  hw::ts answer;
  answer.servers = {"10.0.0.53", "10.0.0.54"}, answer.extraLines = {"options rotate"};
  mHw.replySuccess<hw::hardwareManager_getNameServers_result>("getNameServers", answer);
  mHw.replySuccess<hw::hardwareManager_getTimeServers_result>("getTimeServers", answer);
  mHw.replySuccess<hw::hardwareManager_getSearchDomains_result>("getSearchDomains", Strings{"d"});
  mHw.replySuccess<hw::hardwareManager_setNameServers_result>("setNameServers", 4);
  mHw.replySuccess<hw::hardwareManager_setSearchDomains_result>("setSearchDomains", 5);
  mCm.replySuccess<cm::configManager_getAddresses_result>("getAddresses", Strings{"10.1.1.1"});
  mCm.replySuccess<cm::configManager_getHostnames_result>("getHostnames", Strings{"a", "b"});
  mCm.replySuccess<cm::configManager_setHostnames_result>("setHostnames", true);
  mCm.replySuccess<cm::configManager_deleteHostnames_result>("deleteHostnames", false);
  mCm.replySuccess<cm::configManager_setNodename_result>("setNodename", 6);
  mCm.replySuccess<cm::configManager_initNodename_result>("initNodename", 7);
  std::function<Strings*(Strings*)> const getters[] = {
      nameServers::getNameServers, timeServers::getTimeServers,
      [](Strings*) { return nameServers::getSearchDomains(); },
      [](Strings*) { return hostsUtils::getAddresses(); },
      [](Strings*) { return hostsUtils::getHostnames("10.1.1.1"); }};
  for (char const* expected : {"10.0.0.53 10.0.0.54 | options rotate|10.0.0.53 10.0.0.54 | "
                               "options rotate|d | kept|10.1.1.1 | kept|a b | kept|4 5 1 0 6 7 0",
                               "| kept|| kept|| kept|| kept|| kept|0 0 0 0 0 0 0"}) {
    std::string got;
    for (auto const& get : getters) {
      Strings extra{"kept"};
      std::unique_ptr<Strings> list(get(&extra));
      for (std::string const& s : *list) got += s + " ";
      got += "| " + extra[0] + "|";
    }
    auto start = std::chrono::steady_clock::now();
    for (int rc : {nameServers::setNameServers({"10.0.0.53"}),
                   nameServers::setSearchDomains({"corp.example"}),
                   hostsUtils::setHostnames("10.1.1.1", {"h1", "h2"}),
                   hostsUtils::deleteHostnames("10.1.1.1"), nodeName::set("appliance-7"),
                   nodeName::init(), timeServers::setTimeServers({"ntp1"})})
      got += std::to_string(rc) + " ";
    EXPECT_EQ(std::string(expected) + " ", got);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
    mHw.stop(), mCm.stop(), mPm.stop();
  }
  auto hn = mCm.args<cm::configManager_setHostnames_args>("setHostnames");
  EXPECT_EQ((Strings{"10.1.1.1", "h1", "h2", "appliance-7", "10.1.1.1"}),
            (Strings{hn.ipAddr, hn.hostnames.at(0), hn.hostnames.at(1),
                     mCm.args<cm::configManager_setNodename_args>("setNodename").newName,
                     mCm.args<cm::configManager_getHostnames_args>("getHostnames").ipAddr}));
  EXPECT_TRUE(
      mHw.args<hw::hardwareManager_setNameServers_args>("setNameServers").extraLines.empty());
  EXPECT_TRUE(logged("Exception thrown during thrift call to hardware manager"));
}

TEST_F(NetSettingsTest, KernelHostNameIsOneLineOfAtMost64Characters) {
  std::string const x64(64, 'x');
  testing::writeFile("/tmp/hostname", "");
  ASSERT_EQ(0, mount("/tmp/hostname", "/proc/sys/kernel/hostname", nullptr, MS_BIND, nullptr));
  std::pair<std::string, std::string> const cases[] = {
      {"appliance\n", "appliance"}, {x64 + "yz\n", x64}, {"a\nb\n", "a"}, {"", ""}};
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
