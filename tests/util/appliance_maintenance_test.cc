// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Appliance maintenance apart from the reset: time zones from a private zone tree and from
// the subset manifest, SSH host keys, descriptors, CPU count, and the manager calls for
// date and time, NTP, machine identity and component firmware.

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <thrift/transport/TTransportException.h>

#include <corvane/idl/FirmwareManager.h>
#include <corvane/idl/configManager.h>
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/logReceiver.h>
#include <corvane/idl/processManager.h>
#include "corvane/appliance_utils.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Lines = std::vector<std::string>;
namespace au = applianceUtils;

// "priority text" of each datagram without the launcher's own traces.
Lines traces(testing::SyslogSink& sink) {
  Lines lines;
  for (std::string const& datagram : sink.drain()) {
    if (datagram.find("LaunchExec") != std::string::npos) continue;
    if (datagram.find("task") != std::string::npos) continue;
    size_t close = datagram.find('>');
    lines.push_back(datagram.substr(1, close - 1) + " " + datagram.substr(datagram.find("]:") + 2));
  }
  return lines;
}

class ApplianceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    log::getLogger()->setLevel(6);
    mSink.drain(20);
  }
  testing::SyslogSink mSink;
};

TEST_F(ApplianceTest, TimeZonesFromTheTreeAndFromTheSubset) {
  // A small zone tree of our own over the host's.
  ASSERT_EQ(0, mount("zoneinfo", "/usr/share/zoneinfo", "tmpfs", 0, "mode=0755"));
  for (char const* zone : {"Europe/Berlin", "Europe/Paris", "America/Indiana/Knox", "Etc/UTC"}) {
    testing::writeFile(std::string("/usr/share/zoneinfo/") + zone, "TZif2 data");
  }
  testing::writeFile("/usr/share/zoneinfo/zone.tab", "# not a zone\n");
  testing::writeFile("/usr/share/zoneinfo/TZi", "TZi");
  symlink("Etc/UTC", "/usr/share/zoneinfo/UTC");
  symlink(".", "/usr/share/zoneinfo/posix");  // a linked directory is not followed

  Lines all = au::getTimezones();
  std::sort(all.begin(), all.end());
  EXPECT_EQ((Lines{"America/Indiana/Knox", "Etc/UTC", "Europe/Berlin", "Europe/Paris", "UTC"}),
            all);
  testing::writeFile("/etc/corvane/tzsubset.xml",
                     "<filelist><file>Europe/Paris</file><file>Mars/Olympus</file>"
                     "<file>Europe</file><file>Etc/UTC</file></filelist>");
  EXPECT_EQ((Lines{"Europe/Paris", "Etc/UTC"}), au::getTimezones());
  testing::writeFile("/etc/corvane/tzsubset.xml", nullptr);

  unlink("/etc/localtime");
  EXPECT_EQ("", au::getTimezone());
  symlink("/usr/share/zoneinfo/Europe/Berlin", "/etc/localtime");
  EXPECT_EQ("Europe/Berlin", au::getTimezone());
  unlink("/etc/localtime");
  testing::writeFile("/etc/localtime", "TZif2 data");
  EXPECT_EQ("", au::getTimezone());
  umount2("/usr/share/zoneinfo", MNT_DETACH);
}

TEST_F(ApplianceTest, SshKeyStrengthAndReset) {
  struct {
    char const* file;
    bool strong;
  } const strengths[] = {
      {nullptr, true}, {"true\n", true}, {"falsey\n", true}, {"", true}, {"false\nmore", false}};
  for (auto const& c : strengths) {
    testing::writeFile("/etc/corvane/keyStrength", c.file);
    EXPECT_EQ(c.strong, au::areHostSSHKeysStrong()) << (c.file ? c.file : "(none)");
  }
  EXPECT_EQ((Lines{"139 unable to open file '/etc/corvane/keyStrength' for reading, "
                   "error=No such file or directory"}),
            traces(mSink));

  char const* const keys[] = {"/etc/ssh/ssh_host_rsa_key", "/etc/ssh/ssh_host_rsa_key.pub",
                              "/etc/ssh/ssh_host_dsa_key", "/etc/ssh/ssh_host_dsa_key.pub"};
  for (char const* key : keys) testing::writeFile(key, "key");
  testing::clearStandInCalls();
  testing::FakeManager receiver("logreceiver");
  int descriptors = testing::openDescriptorCount();
  EXPECT_EQ(1, au::resetHostSSHKeys());  // the strength file still says "false"
  for (char const* key : keys) EXPECT_NE(0, access(key, F_OK)) << key;
  EXPECT_EQ((std::vector<Lines>{Lines{}}), testing::standInCalls("sshdStarter"));
  EXPECT_EQ("KTXCV01100D", receiver.args<logReceiver_Log_args>("Log").entry_id);
  Lines lines = traces(mSink);
  ASSERT_EQ(3u, lines.size());
  EXPECT_EQ(0u, lines[0].find("14 ")) << lines[0];  // catalog message, facility user
  EXPECT_EQ(
      (Lines{"142 SSH host keys have been reset", "140 Host SSH keys are not optimally strong"}),
      Lines(lines.begin() + 1, lines.end()));

  testing::writeFile("/etc/corvane/keyStrength", "true\n");
  EXPECT_EQ(0, au::resetHostSSHKeys());
  testing::setStandInResult("sshdStarter", 4, "");
  mSink.drain(20);
  EXPECT_EQ(2, au::resetHostSSHKeys());
  testing::setStandInResult("sshdStarter", -1, "");
  EXPECT_EQ(Lines{"139 unable to reset SSH host keys', rc 1: Child exited with non-zero status"},
            traces(mSink));
  receiver.waitUntilIdle();
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

TEST_F(ApplianceTest, DescriptorFlagsAndCpuCount) {
  int fds[2];
  ASSERT_EQ(0, pipe(fds));
  EXPECT_TRUE(au::closeOnExec(fds[0], true));
  EXPECT_EQ(FD_CLOEXEC, fcntl(fds[0], F_GETFD) & FD_CLOEXEC);
  EXPECT_TRUE(au::closeOnExec(fds[0], false));
  EXPECT_EQ(0, fcntl(fds[0], F_GETFD) & FD_CLOEXEC);
  close(fds[0]);
  close(fds[1]);
  EXPECT_FALSE(au::closeOnExec(fds[0], true));

  testing::setFlash(false);
  EXPECT_EQ(1, au::getCPUCount());
  testing::setFlash(true);
  std::string cpuinfo = testing::readFile("/proc/cpuinfo");
  int processors = 0;
  for (size_t at = 0; (at = cpuinfo.find("\nprocessor", at)) != std::string::npos; ++at) {
    ++processors;
  }
  processors += cpuinfo.rfind("processor", 0) == 0;
  EXPECT_EQ(processors + 1, au::getCPUCount());  // one too many, deliberately
  testing::setFlash(false);
}

TEST_F(ApplianceTest, DateTimeAndNtpThroughTheManagers) {
  testing::FakeManager config("configmgr");
  testing::FakeManager process("processmgr");
  configManager::configManager_setDateTime_result dt;
  dt.success = 7;
  dt.__isset.success = true;
  config.reply("setDateTime", dt);
  int rc = 0;
  EXPECT_FALSE(au::setDateTime((1L << 32) + 5, rc));
  EXPECT_EQ(7, rc);
  EXPECT_EQ(5, config.args<configManager::configManager_setDateTime_args>("setDateTime").datetime);
  dt.success = 0;
  config.reply("setDateTime", dt);
  EXPECT_TRUE(au::setDateTime(1700000000, rc));

  configManager::configManager_setTimezone_result tz;
  tz.success = true;
  tz.__isset.success = true;
  config.reply("setTimezone", tz);
  EXPECT_TRUE(au::setTimezone("Europe/Paris"));
  EXPECT_EQ("Europe/Paris",
            config.args<configManager::configManager_setTimezone_args>("setTimezone").zone);
  processManager::processManager_syncNTPServer_result ntp;
  ntp.success = true;
  ntp.__isset.success = true;
  process.reply("syncNTPServer", ntp);
  EXPECT_TRUE(au::syncNTPServer("30"));
  EXPECT_EQ(
      "30",
      process.args<processManager::processManager_syncNTPServer_args>("syncNTPServer").timeout);

  Lines now = au::getDateTime();
  ASSERT_EQ(2u, now.size());
  EXPECT_TRUE(std::regex_match(now[0], std::regex("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ")))
      << now[0];
  EXPECT_FALSE(now[1].empty());
  process.stop();
  EXPECT_THROW(au::syncNTPServer("30"), apache::thrift::transport::TTransportException);
}

TEST_F(ApplianceTest, MachineIdentityByTable) {
  testing::FakeManager hardware("hardwaremgr");
  struct {
    char const *product, *serial;
    bool isVirt;
    char const *type, *mtm, *serialNumber;
  } const cases[] = {
      {"ABCD123XYZ", "S100", false, "ABCD", "ABCD123", "S100"},
      {"KVM Virtual Machine", "*UNKNOWN*", true, "KVM Virtual Machine", "KVM Virtual Machine",
       "00000000"},
      {"*UNKNOWN*", "", false, "*UNKNOWN*", "*UNKNOWN*", "00000000"},
      {"", "x", true, "*UNKNOWN*", "*UNKNOWN*", "x"},
  };
  for (auto const& c : cases) {
    hardwareManager::hardwareManager_getHardwareInfo_result r;
    r.success.manufacturer = "Maker";
    r.success.productName = c.product;
    r.success.serialNumber = c.serial;
    r.success.uuid = "u-1";
    r.success.isVirt = c.isVirt;
    r.__isset.success = true;
    hardware.reply("getHardwareInfo", r);
    EXPECT_EQ(c.type, au::getMachineType()) << c.product;
    EXPECT_EQ(c.mtm, au::getMTM()) << c.product;
    EXPECT_EQ(c.serialNumber, au::getSerialNumber()) << c.product;
  }
  au::HWInfo info;
  info.version = "stale";
  au::getHardwareInfo(info);
  EXPECT_EQ("Maker|x|u-1||1", info.manufacturer + "|" + info.serialNumber + "|" + info.uuid + "|" +
                                  info.version + "|" + std::to_string(info.isVirt));
  hardware.stop();
  EXPECT_THROW(au::getSerialNumber(), apache::thrift::transport::TTransportException);
}

TEST_F(ApplianceTest, ComponentFirmwareTypeCodes) {
  testing::FakeManager firmware("firmwaremgr");
  firmwareManager::FirmwareManager_getComponentInfo_result r;
  char const* const types[] = {"mordel", "quenby", "Tarrock", "tarrock", "velmar", "oskin",
                               "pellum", "drevan", "hasket",  "lunwick", "ferrow", "ferrow "};
  for (char const* type : types) {
    firmwareManager::ComponentFirmware c;
    c.type = type;
    c.currentVersion = std::string("v-") + type;
    r.success.push_back(c);
  }
  r.success[1].currentVersion = "cannot detect";
  r.__isset.success = true;
  firmware.reply("getComponentInfo", r);
  std::vector<au::ComponentFirmware> list{{99, "stale"}};
  au::getComponentInfo(list);
  Lines got;
  for (auto const& c : list) got.push_back(std::to_string(c.type) + "=" + c.currentVersion);
  EXPECT_EQ((Lines{"1=v-mordel", "2=", "3=v-tarrock", "4=v-velmar", "5=v-oskin", "6=v-pellum",
                   "7=v-drevan", "8=v-hasket", "9=v-lunwick", "10=v-ferrow"}),
            got);
}

}  // namespace
}  // namespace corvane
