// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The factory reset over a populated private file system: what goes, what stays, the
// messages in order, the traces, and the reboot request at the telinit stand-in.

#include <pthread.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "corvane/appliance_utils.h"
#include "corvane/launch_exec.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Lines = std::vector<std::string>;
using Calls = std::vector<std::vector<std::string>>;

char const* const kRemoved[] = {
    "/etc/corvane/config/a.xml",
    "/etc/corvane/config/default/b.xml",
    "/etc/corvane/config/sub/deep/c.xml",
    "/tmp/.networkManager/state",
    "/tmp/.networkManager/if/eth0",
    "/var/log/messages",
    "/var/log/old.1",
};
char const* const kKept[] = {
    "/etc/corvane/config/default/msglib/m.txt",
    "/var/log/.hidden",
    "/var/log/sub/kept",
    "/etc/corvane/config/sub/deep",
    "/tmp/.networkManager/if",
    "/etc/ssh/moduli.local",
};

bool exists(std::string const& path) { return access(path.c_str(), F_OK) == 0; }

// The reset's own traces ("139 text"), without the launcher's.
Lines traces(testing::SyslogSink& sink) {
  Lines lines;
  for (std::string const& datagram : sink.drain()) {
    size_t close = datagram.find('>');
    if (datagram.find("LaunchExec") != std::string::npos) continue;
    if (datagram.find("/sbin/telinit task") != std::string::npos) continue;
    lines.push_back(datagram.substr(1, close - 1) + " " + datagram.substr(datagram.find("]:") + 2));
  }
  return lines;
}

class DeviceResetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    log::getLogger()->setLevel(6);
    for (char const* path : kRemoved) testing::writeFile(path, "x");
    for (char const* path : kKept) testing::writeFile(path, "x");
    for (char const* const* path = applianceUtils::resetFileList; *path; ++path) {
      unlink(*path);
      testing::writeFile(*path, "x");
    }
    testing::writeFile("/etc/corvane/users.xml", "<users>changed</users>\n");
    testing::writeFile("/etc/corvane/users.xml.orig", "<users>\n <user name=\"admin\"/>\n</users>");
    testing::clearStandInCalls();
    testing::setStandInResult("telinit", -1, "");
    mSink.drain(20);
  }

  int reset(Lines& messages) {
    std::vector<applianceUtils::resetFileError> errors{{"stale", 1}};
    int descriptors = testing::openDescriptorCount();
    int rc = applianceUtils::deviceRESET(errors, messages);
    EXPECT_TRUE(errors.empty());  // the helpers record into copies, deliberately
    EXPECT_EQ(descriptors, testing::openDescriptorCount());
    return rc;
  }

  testing::SyslogSink mSink;
};

TEST_F(DeviceResetTest, EmptiesTheConfigurationRestoresUsersAndReboots) {
  Lines messages{"stale"};
  EXPECT_EQ(0, reset(messages));
  EXPECT_EQ((Lines{"cli_dev_reset_complete", "cli_gen_print_ok"}), messages);
  for (char const* path : kRemoved) EXPECT_FALSE(exists(path)) << path;
  for (char const* path : kKept) EXPECT_TRUE(exists(path)) << path;
  for (char const* const* path = applianceUtils::resetFileList; *path; ++path) {
    EXPECT_FALSE(exists(*path)) << *path;
  }
  EXPECT_EQ("<users>\n <user name=\"admin\"/>\n</users>\n",
            testing::readFile("/etc/corvane/users.xml"));
  EXPECT_EQ((Calls{{"6"}}), testing::standInCalls("telinit"));
  EXPECT_EQ(Lines{"141 Reboot requested via runlevel 6\n"}, traces(mSink));
}

TEST_F(DeviceResetTest, MissingFactoryUsersStillReboots) {
  testing::writeFile("/etc/corvane/users.xml.orig", nullptr);
  Lines messages;
  EXPECT_EQ(0, reset(messages));
  EXPECT_EQ((Lines{"cli_dev_user_not_reset", "cli_gen_print_ok"}), messages);
  EXPECT_EQ("<users>changed</users>\n", testing::readFile("/etc/corvane/users.xml"));
  EXPECT_EQ((Calls{{"6"}}), testing::standInCalls("telinit"));
  EXPECT_EQ((Lines{"139 unable to access /etc/corvane/users.xml, or missing backup",
                   "141 Reboot requested via runlevel 6\n"}),
            traces(mSink));
}

TEST_F(DeviceResetTest, FailedRebootRequestGivesThree) {
  testing::setStandInResult("telinit", 2, "");
  std::vector<applianceUtils::resetFileError> errors;
  EXPECT_EQ(3, applianceUtils::deviceRESET(errors));
  EXPECT_FALSE(exists("/var/log/messages"));
  std::string expected = "139 Reboot runlevel returns 1 - ";
  expected += LaunchExec::getExitDescription(1);
  EXPECT_EQ((Lines{expected + "\n", "139 Reboot request failed"}), traces(mSink));
  testing::setStandInResult("telinit", -1, "");
}

TEST_F(DeviceResetTest, HeldLockRefusesTheResetAndTouchesNothing) {
  ASSERT_EQ(0, pthread_mutex_lock(&applianceUtils::mResetMutex));
  Lines messages;
  EXPECT_EQ(1, reset(messages));
  pthread_mutex_unlock(&applianceUtils::mResetMutex);
  EXPECT_EQ(Lines{"cli_dev_shutdown_in_prog"}, messages);
  for (char const* path : kRemoved) EXPECT_TRUE(exists(path)) << path;
  EXPECT_EQ(Calls{}, testing::standInCalls("telinit"));
  EXPECT_EQ((Lines{"140 Unable to lock reset mutex.  Shutdown, restart or reset is already in "
                   "progress"}),
            traces(mSink));
}

}  // namespace
}  // namespace corvane
