// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The sandbox itself: the fixed world the library expects must really be there.

#include "sandbox.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include <gtest/gtest.h>

namespace corvane {
namespace testing {
namespace {

int run(std::string const& command) {
  int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(SandboxTest, ManagerAddressIsOnDummy0) {
  ASSERT_TRUE(inSandbox());
  ifaddrs* all = nullptr;
  ASSERT_EQ(0, getifaddrs(&all));
  bool found = false;
  for (ifaddrs* a = all; a != nullptr; a = a->ifa_next) {
    if (a->ifa_addr == nullptr || a->ifa_addr->sa_family != AF_INET6) continue;
    char text[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, &reinterpret_cast<sockaddr_in6*>(a->ifa_addr)->sin6_addr, text,
              sizeof text);
    found |= std::string(a->ifa_name) == "dummy0" && std::string(text) == "fe80::de:adff:febe:ef20";
  }
  freeifaddrs(all);
  EXPECT_TRUE(found);
}

TEST(SandboxTest, FixedPathsArePrivateAndWritable) {
  EXPECT_EQ("", readFile("/etc/corvane.cfg"));
  writeFile("/etc/corvane/locale.xml", "<locale/>");
  EXPECT_EQ("<locale/>", readFile("/etc/corvane/locale.xml"));
  writeFile("/etc/corvane/locale.xml", nullptr);
  writeFile("/var/log/x.log", "x");
  EXPECT_EQ("x", readFile("/var/log/x.log"));
  EXPECT_EQ(0, access("/etc/ssh", W_OK));
  EXPECT_EQ(0, access("/etc/localtime", R_OK));
  EXPECT_NE(0, access("/dev/flash", F_OK));
  setFlash(true);
  EXPECT_EQ(0, access("/dev/flash", R_OK));
  setFlash(false);
  EXPECT_NE(0, access("/dev/flash", F_OK));
}

TEST(SandboxTest, StandInsRecordTheirArguments) {
  clearStandInCalls();
  EXPECT_EQ(0, run("/sbin/initctl emit --no-wait 'web-started' 2>/dev/null"));
  EXPECT_EQ(0, run("/usr/sbin/sshdStarter 'two words' ''"));
  EXPECT_EQ(0, run("/sbin/telinit 6 && /usr/sbin/calcNetworkAddr 10.1.2.3 255.0.0.0"));
  EXPECT_EQ((std::vector<std::vector<std::string>>{{"emit", "--no-wait", "web-started"}}),
            standInCalls("initctl"));
  EXPECT_EQ((std::vector<std::vector<std::string>>{{"two words", ""}}), standInCalls("sshdStarter"));
  EXPECT_EQ((std::vector<std::vector<std::string>>{{"6"}}), standInCalls("telinit"));
  EXPECT_EQ(1u, standInCalls("calcNetworkAddr").size());

  setStandInResult("telinit", 3, "no runlevel\n");
  EXPECT_EQ(3, run("/sbin/telinit 0 2>/dev/null"));
  setStandInResult("telinit", -1, "");
  EXPECT_EQ(0, run("/sbin/telinit 0"));
  clearStandInCalls();
  EXPECT_TRUE(standInCalls("telinit").empty());
}

TEST(SandboxTest, IpcalcIsBackedByIpcalcNg) {
  clearStandInCalls();
  EXPECT_EQ(0, run("/bin/ipcalc -c -s 192.168.1.1 >/dev/null 2>&1"));
  EXPECT_NE(0, run("/bin/ipcalc -c -s 192.168.1.300 >/dev/null 2>&1"));
  EXPECT_EQ(0, run("/bin/ipcalc -c -s -6 fe80::1 >/dev/null 2>&1"));
  EXPECT_EQ(0, run("/bin/ipcalc -n 10.1.2.3/8 | grep -q '^NETWORK=10.0.0.0$'"));
  EXPECT_EQ(4u, standInCalls("ipcalc").size());
  setStandInResult("ipcalc", 1, "forced\n");
  EXPECT_EQ(1, run("/bin/ipcalc -c -s 192.168.1.1 2>/dev/null"));
  setStandInResult("ipcalc", -1, "");
}

}  // namespace
}  // namespace testing
}  // namespace corvane
