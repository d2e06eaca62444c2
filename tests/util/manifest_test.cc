// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Collection manifests: file lists with flags and globs, command lists, fail-safe mode.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "corvane/log.h"
#include "corvane/utils.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Lines = std::vector<std::string>;

// Writes the manifests under / and /primary; returns a sink for the traces that follow.
std::unique_ptr<testing::SyslogSink> manifests() {
  for (std::string root : {"", "/primary"}) {
    testing::writeFile(root + "/tmp/m/files.xml",
                       "<filelist>\n <file>/etc/a</file>\n <file help=\"Network\" "
                       "obfuscate=\"true\" showable=\"true\" deleteaftercollect=\"true\">/etc/b"
                       "</file>\n <!-- skipped --><other>/etc/x</other>\n <file failsafe=\"false\" "
                       "obfuscate=\"yes\">/etc/c</file>\n <glob help=\"logs\" showable=\"true\">"
                       "/tmp/m/logs/*</glob>\n <glob>/tmp/m/none*</glob>\n</filelist>\n");
    testing::writeFile(root + "/tmp/m/cmds.xml",
                       "<cmdlist>\n <cmd>  ps -ef\n </cmd>\n <cli>show system</cli>\n <cli>/bin/sh"
                       "</cli>\n <cmd>/usr/bin/uptime</cmd>\n <cmd failsafe=\"false\">dmesg</cmd>\n"
                       " <cli>  </cli>\n</cmdlist>\n");
    testing::writeFile(root + "/tmp/m/bad.xml", "<filelist><file>x</filelist>");
  }
  testing::writeFile("/tmp/m/logs/a.log", "");
  testing::writeFile("/tmp/m/logs/sub/b.log", "");
  testing::writeFile("/primary/tmp/m/logs/p.log", "");
  testing::writeFile("/tmp/m/root.xml", "<cmdlist><file>x</file></cmdlist>");
  log::getLogger()->setLevel(7);
  return std::make_unique<testing::SyslogSink>();
}

// "priority text" of each trace datagram.
Lines traces(testing::SyslogSink& sink) {
  Lines lines;
  for (std::string const& d : sink.drain()) {
    lines.push_back(d.substr(1, d.find('>') - 1) + " " + d.substr(d.find("]:") + 2));
  }
  return lines;
}

TEST(ManifestTest, FileEntriesCarryFlagsAndExpandGlobs) {
  ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
  auto sink = manifests();
  auto entries = [](bool failsafe) {
    std::unique_ptr<std::vector<types::fileEnt>> list(
        utils::readFileEnts("/tmp/m/files.xml", failsafe));
    Lines got;
    for (auto const& e : *list)
      got.push_back(e.name + "|" + e.help + "|" + std::to_string(e.flags));
    std::sort(got.begin() + 3, got.end());  // glob matches come in directory order
    return got;
  };
  EXPECT_EQ((Lines{"/etc/a||4", "/etc/b|Network|15", "/etc/c||0", "/tmp/m/logs/a.log|logs|6",
                   "/tmp/m/logs/sub/|logs|6"}),
            entries(false));
  EXPECT_EQ((Lines{"/primary/etc/a||4", "/primary/etc/b|Network|15", "/primary/etc/c||0",
                   "/primary/tmp/m/logs/p.log|logs|6"}),
            entries(true));
  std::unique_ptr<Lines> names(utils::readFilelist("/tmp/m/files.xml", false));
  EXPECT_EQ((Lines{"/etc/a", "/etc/b", "/etc/c"}), Lines(names->begin(), names->begin() + 3));
  for (char const* path : {"/tmp/m/missing.xml", "/tmp/m/bad.xml", "/tmp/m/root.xml"}) {
    EXPECT_EQ(nullptr, utils::readFileEnts(path, false)) << path;
    EXPECT_EQ(nullptr, utils::readFilelist(path, false)) << path;
  }
  EXPECT_EQ(Lines{}, traces(*sink));  // file lists leave the logging to their callers
}

TEST(ManifestTest, CommandsAreTrimmedCheckedAndRootedAtBin) {
  ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
  auto sink = manifests();
  std::unique_ptr<Lines> normal(utils::readCmdlist("/tmp/m/cmds.xml", false));
  std::unique_ptr<Lines> failsafe(utils::readCmdlist("/tmp/m/cmds.xml", true));
  ASSERT_TRUE(normal && failsafe);
  EXPECT_EQ((Lines{"/bin/ps -ef", "show system", "/usr/bin/uptime", "/bin/dmesg"}), *normal);
  EXPECT_EQ((Lines{"/bin/ps -ef", "show system", "/usr/bin/uptime"}), *failsafe);
  testing::writeFile("/primary/tmp/m/cmds.xml", nullptr);
  for (char const* path : {"/tmp/m/files.xml", "/tmp/m/bad.xml"}) {
    EXPECT_EQ(nullptr, utils::readCmdlist(path, false)) << path;
  }
  EXPECT_EQ(nullptr, utils::readCmdlist("/tmp/m/cmds.xml", true));
  EXPECT_EQ(
      (Lines{"139 /tmp/m/cmds.xml file contains invalid <cli> entry '/bin/sh', ignored",
             "139 /primary/tmp/m/cmds.xml file contains invalid <cli> entry '/bin/sh', ignored",
             "142 dmesg is not applicable to failsafe, ignored",
             "139 Invalid root node in /tmp/m/files.xml file", "139 Cant parse /tmp/m/bad.xml file",
             "139 Cant parse /primary/tmp/m/cmds.xml file"}),
      traces(*sink));
}

}  // namespace
}  // namespace corvane
