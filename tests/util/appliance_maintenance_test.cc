// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Appliance facts and maintenance in the sandbox: the factory reset over a populated file
// system, time zones, SSH host keys, descriptors, CPU count, the manager calls and the locale.

#include <fcntl.h>
#include <pthread.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <corvane/idl/FirmwareManager.h>
#include <corvane/idl/configManager.h>
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/logReceiver.h>
#include "corvane/appliance_utils.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Lines = std::vector<std::string>;
using Calls = std::vector<Lines>;
namespace au = applianceUtils;
namespace cm = configManager;

bool exists(std::string const& path) { return access(path.c_str(), F_OK) == 0; }

char const* const kRemoved[] = {"/etc/corvane/config/a.xml", "/etc/corvane/config/default/b.xml",
                                "/etc/corvane/config/sub/deep/c.xml",
                                "/tmp/.networkManager/if/eth0", "/var/log/messages"};
char const* const kKept[] = {"/etc/corvane/config/default/msglib/m.txt", "/var/log/.hidden",
                             "/var/log/sub/kept", "/etc/ssh/moduli.local"};

class ApplianceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through sandbox/corvane-sandbox";
    log::getLogger()->setLevel(6);
    testing::clearStandInCalls();
    mSink.drain(20);
  }
  // "priority text" of each trace, without the launcher's and the Thrift library's own.
  Lines traces() {
    Lines lines;
    for (std::string const& d : mSink.drain()) {
      if (d.find("LaunchExec") == std::string::npos && d.find(" task ") == std::string::npos) {
        lines.push_back(d.substr(1, d.find('>') - 1) + " " + d.substr(d.find("]:") + 2));
      }
    }
    return lines;
  }
  testing::SyslogSink mSink;
};

TEST_F(ApplianceTest, ResetEmptiesTheConfigurationRestoresUsersAndReboots) {
  struct {
    char const* factoryUsers;  // null: no factory copy
    int telinit, rc;
    bool locked;  // by this thread: nothing is touched
    Lines messages;
    char const* users;  // afterwards
    Lines traced;
  } const cases[] = {
      // clang-format off
      // Two blanks after the full stop, deliberately.
      {nullptr, -1, 1, true, {"cli_dev_shutdown_in_prog"}, "changed\n",
       {"140 Unable to lock reset mutex.  Shutdown, restart or reset is already in progress"}},
      {"<users>\n <user/>\n</users>", -1, 0, false, {"cli_dev_reset_complete", "cli_gen_print_ok"},
       "<users>\n <user/>\n</users>\n", {"141 Reboot requested via runlevel 6\n"}},
      {nullptr, 2, 3, false, {"cli_dev_user_not_reset"}, "changed\n",
       {"139 unable to access /etc/corvane/users.xml, or missing backup",
        "139 Reboot runlevel returns 1 - Child exited with non-zero status\n",
        "139 Reboot request failed"}},
      // clang-format on
  };
  for (auto const& c : cases) {
    for (char const* path : kRemoved) testing::writeFile(path, "x");
    for (char const* path : kKept) testing::writeFile(path, "x");
    for (char const* const* path = au::resetFileList; *path; ++path) {
      unlink(*path);
      testing::writeFile(*path, "x");
    }
    testing::writeFile("/etc/corvane/users.xml", "changed\n");
    testing::writeFile("/etc/corvane/users.xml.orig", c.factoryUsers);
    testing::setStandInResult("telinit", c.telinit, "");
    ASSERT_EQ(0, c.locked ? pthread_mutex_lock(&au::mResetMutex) : 0);
    std::vector<au::resetFileError> errors{{"stale", 1}};
    Lines messages{"stale"};
    int descriptors = testing::openDescriptorCount();
    EXPECT_EQ(c.rc, au::deviceRESET(errors, messages));
    if (c.locked) pthread_mutex_unlock(&au::mResetMutex);
    EXPECT_EQ(descriptors, testing::openDescriptorCount());
    EXPECT_TRUE(errors.empty());  // the helpers record into copies, deliberately
    EXPECT_EQ(c.messages, messages);
    EXPECT_EQ(c.users, testing::readFile("/etc/corvane/users.xml"));
    EXPECT_EQ(c.traced, traces());
    for (char const* path : kRemoved) EXPECT_EQ(c.locked, exists(path)) << path;
    for (char const* path : kKept) EXPECT_TRUE(exists(path)) << path;
    for (auto path = au::resetFileList; *path; ++path) EXPECT_EQ(c.locked, exists(*path)) << *path;
    EXPECT_TRUE(exists("/etc/corvane/config/sub/deep") && exists("/tmp/.networkManager/if"));
  }
  testing::setStandInResult("telinit", -1, "");
  EXPECT_EQ((Calls{{"6"}, {"6"}}), testing::standInCalls("telinit"));
}

TEST_F(ApplianceTest, TimeZonesFromAZoneTreeAndFromTheSubset) {
  ASSERT_EQ(0, mount("zoneinfo", "/usr/share/zoneinfo", "tmpfs", 0, "mode=0755"));
  for (char const* zone : {"Europe/Paris", "America/Indiana/Knox"}) {
    testing::writeFile(std::string("/usr/share/zoneinfo/") + zone, "TZif2 data");
  }
  testing::writeFile("/usr/share/zoneinfo/zone.tab", "# not a zone\n");
  symlink("Europe/Paris", "/usr/share/zoneinfo/CET");
  symlink(".", "/usr/share/zoneinfo/posix");  // a linked directory is not followed
  Lines all = au::getTimezones();
  std::sort(all.begin(), all.end());
  EXPECT_EQ((Lines{"America/Indiana/Knox", "CET", "Europe/Paris"}), all);
  testing::writeFile("/etc/corvane/tzsubset.xml",
                     "<filelist><file>Europe/Paris</file><file>Mars/Olympus</file>"
                     "<file>Europe</file><file>CET</file></filelist>");
  EXPECT_EQ((Lines{"Europe/Paris", "CET"}), au::getTimezones());

  unlink("/etc/localtime");
  symlink("/usr/share/zoneinfo/Europe/Paris", "/etc/localtime");
  EXPECT_EQ("Europe/Paris", au::getTimezone());
  unlink("/etc/localtime");
  testing::writeFile("/etc/localtime", "TZif2 data");  // not a link
  EXPECT_EQ("", au::getTimezone());
  umount2("/usr/share/zoneinfo", MNT_DETACH);
}

TEST_F(ApplianceTest, SshKeyStrengthAndReset) {
  for (int key = 0; key < 4; ++key) testing::writeFile(au::resetFileList[key], "key");
  testing::FakeManager receiver("logreceiver");
  testing::writeFile("/etc/corvane/keyStrength", "false\nmore");
  EXPECT_EQ(1, au::resetHostSSHKeys());
  for (int key = 0; key < 4; ++key) EXPECT_FALSE(exists(au::resetFileList[key]));
  EXPECT_EQ(Calls{Lines{}}, testing::standInCalls("sshdStarter"));
  EXPECT_EQ("KTXCV01100D", receiver.args<logReceiver_Log_args>("Log").entry_id);
  EXPECT_EQ(
      (Lines{"14 The SSH host keys of the appliance have been regenerated.",
             "142 SSH host keys have been reset", "140 Host SSH keys are not optimally strong"}),
      traces());

  // Only a first line of exactly "false" is weak; an unreadable file counts as strong.
  testing::writeFile("/etc/corvane/keyStrength", "falsey\n");
  EXPECT_EQ(0, au::resetHostSSHKeys());
  mSink.drain(20);
  testing::writeFile("/etc/corvane/keyStrength", nullptr);
  EXPECT_TRUE(au::areHostSSHKeysStrong());
  testing::setStandInResult("sshdStarter", 4, "");
  EXPECT_EQ(2, au::resetHostSSHKeys());
  testing::setStandInResult("sshdStarter", -1, "");
  EXPECT_EQ((Lines{"139 unable to open file '/etc/corvane/keyStrength' for reading, "
                   "error=No such file or directory",
                   "139 unable to reset SSH host keys', rc 1: Child exited with non-zero status"}),
            traces());
}

TEST_F(ApplianceTest, DescriptorFlagsAndCpuCount) {
  int fd = open("/etc/hostname", O_RDONLY | O_CREAT, 0644);
  EXPECT_TRUE(au::closeOnExec(fd, true) && fcntl(fd, F_GETFD) == FD_CLOEXEC);
  EXPECT_TRUE(au::closeOnExec(fd, false) && fcntl(fd, F_GETFD) == 0);
  close(fd);
  EXPECT_FALSE(au::closeOnExec(fd, true));

  EXPECT_EQ(1, au::getCPUCount());  // off the appliance
  testing::setFlash(true);
  int processors = std::stoi(testing::commandOutput("grep -c ^processor /proc/cpuinfo"));
  EXPECT_EQ(processors + 1, au::getCPUCount());  // one too many, deliberately
  testing::setFlash(false);
}

TEST_F(ApplianceTest, ManagerCalls) {
  testing::FakeManager config("configmgr"), hardware("hardwaremgr"), firmware("firmwaremgr");
  int rc = 0;
  config.replySuccess<cm::configManager_setDateTime_result>("setDateTime", 7);
  EXPECT_TRUE(!au::setDateTime((1L << 32) + 5, rc) && rc == 7);
  EXPECT_EQ(5, config.args<cm::configManager_setDateTime_args>("setDateTime").datetime);

  struct {
    char const *product, *serial;
    bool isVirt;
    char const* expected;  // machine type|MTM|serial number
  } const machines[] = {
      {"ABCD123XYZ", "S100", false, "ABCD|ABCD123|S100"},
      {"KVM Virtual", "*UNKNOWN*", true, "KVM Virtual|KVM Virtual|00000000"},
      {"*UNKNOWN*", "", false, "*UNKNOWN*|*UNKNOWN*|00000000"},
  };
  for (auto const& m : machines) {
    hardwareManager::HWInfo info;
    info.productName = m.product;
    info.serialNumber = m.serial;
    info.isVirt = m.isVirt;
    hardware.replySuccess<hardwareManager::hardwareManager_getHardwareInfo_result>(
        "getHardwareInfo", info);
    EXPECT_EQ(m.expected, au::getMachineType() + "|" + au::getMTM() + "|" + au::getSerialNumber());
  }

  std::vector<firmwareManager::ComponentFirmware> components(4);
  char const* const types[] = {"mordel", "quenby", "ferrow", "Ferrow"};
  for (size_t i = 0; i < components.size(); ++i) {
    components[i].type = types[i];
    components[i].currentVersion = std::string("v-") + types[i];
  }
  components[1].currentVersion = "cannot detect";
  firmware.replySuccess<firmwareManager::FirmwareManager_getComponentInfo_result>(
      "getComponentInfo", components);
  std::vector<au::ComponentFirmware> list{{99, "stale"}};
  au::getComponentInfo(list);
  std::string got;
  for (auto const& c : list) got += std::to_string(c.type) + "=" + c.currentVersion + " ";
  EXPECT_EQ("1=v-mordel 2= 10=v-ferrow ", got);
}

TEST_F(ApplianceTest, LocaleFileAndProcessDefault) {
  struct {
    char const *file, *locale, *traced;
  } const cases[] = {
      {nullptr, "en_US", nullptr},
      {"<locale>\n <country>FR</country>\n <language>fr</language>\n</locale>\n", "fr_FR", nullptr},
      {"<language>de</language>", "en_US", "139 Invalid root node in /etc/corvane/locale.xml file"},
      {"<locale><language>de</language>", "en_US", "139 Cant parse /etc/corvane/locale.xml file"},
  };
  for (auto const& c : cases) {
    testing::writeFile("/etc/corvane/locale.xml", c.file);
    EXPECT_EQ(c.locale, au::getLocale()) << (c.file ? c.file : "(no file)");
    EXPECT_EQ(c.traced ? Lines{c.traced} : Lines{}, traces());
  }
  testing::writeFile("/etc/corvane/locale.xml", nullptr);  // launches read it too

  EXPECT_TRUE(au::setDefaultLocale("de_DE"));
  EXPECT_EQ((Lines{"142 setenv for LANG de_DE", "142 getenv for LANG de_DE"}), traces());
  // A name ICU cannot hold is refused and changes nothing.
  EXPECT_FALSE(au::setDefaultLocale("12345678901234567890"));
  EXPECT_EQ("de_DE|de_DE", std::string(getenv("LANG")) + "|" + icu::Locale::getDefault().getName());
  EXPECT_TRUE(traces().empty());
  au::setDefaultLocale("en_US");  // later tests read the catalog in English
}

}  // namespace
}  // namespace corvane
