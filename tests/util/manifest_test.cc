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

char const kFileList[] =
    "<filelist>\n"
    " <file>/etc/a</file>\n"
    " <file help=\"Network\" obfuscate=\"true\" showable=\"true\" "
    "deleteaftercollect=\"true\">/etc/b</file>\n"
    " <!-- skipped --><other>/etc/x</other>\n"
    " <file failsafe=\"false\" obfuscate=\"yes\">/etc/c</file>\n"
    " <glob help=\"logs\" showable=\"true\">/tmp/m/logs/*</glob>\n"
    " <glob>/tmp/m/none*</glob>\n"
    "</filelist>\n";

char const kCmdList[] =
    "<cmdlist>\n"
    " <cmd>  ps -ef\n </cmd>\n"
    " <cli>show system</cli>\n"
    " <cli>/bin/sh</cli>\n"
    " <cmd>/usr/bin/uptime</cmd>\n"
    " <cmd failsafe=\"false\">dmesg</cmd>\n"
    " <cli>  </cli>\n"
    "</cmdlist>\n";

// Priority and text of each trace datagram: "139 text".
Lines traces(testing::SyslogSink& sink) {
  Lines lines;
  for (std::string const& datagram : sink.drain()) {
    size_t close = datagram.find('>');
    lines.push_back(datagram.substr(1, close - 1) + " " + datagram.substr(datagram.find("]:") + 2));
  }
  return lines;
}

class ManifestTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    log::getLogger()->setLevel(7);
    for (char const* root : {"", "/primary"}) {
      std::string r = root;
      testing::writeFile(r + "/tmp/m/files.xml", kFileList);
      testing::writeFile(r + "/tmp/m/cmds.xml", kCmdList);
    }
    testing::writeFile("/tmp/m/logs/a.log", "");
    testing::writeFile("/tmp/m/logs/sub/b.log", "");
    testing::writeFile("/primary/tmp/m/logs/p.log", "");
  }

  // The entries of the manifest, glob matches sorted (their own order is the directory's).
  Lines entries(bool failsafe) {
    std::unique_ptr<std::vector<types::fileEnt>> list(
        utils::readFileEnts("/tmp/m/files.xml", failsafe));
    Lines lines;
    for (auto const& e : *list)
      lines.push_back(e.name + "|" + e.help + "|" + std::to_string(e.flags));
    if (lines.size() > 3) std::sort(lines.begin() + 3, lines.end());
    return lines;
  }

  testing::SyslogSink mSink;
};

TEST_F(ManifestTest, FileEntriesCarryFlagsAndExpandGlobs) {
  EXPECT_EQ((Lines{"/etc/a||4", "/etc/b|Network|15", "/etc/c||0", "/tmp/m/logs/a.log|logs|6",
                   "/tmp/m/logs/sub/|logs|6"}),
            entries(false));
  EXPECT_EQ((Lines{"/primary/etc/a||4", "/primary/etc/b|Network|15", "/primary/etc/c||0",
                   "/primary/tmp/m/logs/p.log|logs|6"}),
            entries(true));
  std::unique_ptr<Lines> names(utils::readFilelist("/tmp/m/files.xml", false));
  EXPECT_EQ((Lines{"/etc/a", "/etc/b", "/etc/c"}), Lines(names->begin(), names->begin() + 3));
}

TEST_F(ManifestTest, UnreadableManifestsGiveNoList) {
  testing::writeFile("/tmp/m/bad.xml", "<filelist><file>x</filelist>");
  testing::writeFile("/tmp/m/root.xml", "<cmdlist><file>x</file></cmdlist>");
  for (char const* path : {"/tmp/m/missing.xml", "/tmp/m/bad.xml", "/tmp/m/root.xml"}) {
    EXPECT_EQ(nullptr, utils::readFileEnts(path, false)) << path;
    EXPECT_EQ(nullptr, utils::readFilelist(path, false)) << path;
  }
  EXPECT_EQ(Lines{}, traces(mSink));  // file lists leave the logging to their callers

  EXPECT_EQ(nullptr, utils::readCmdlist("/tmp/m/files.xml", false));
  EXPECT_EQ(nullptr, utils::readCmdlist("/tmp/m/bad.xml", false));
  EXPECT_NE(nullptr, std::unique_ptr<Lines>(utils::readCmdlist("/tmp/m/cmds.xml", true)));
  testing::writeFile("/primary/tmp/m/cmds.xml", nullptr);
  EXPECT_EQ(nullptr, utils::readCmdlist("/tmp/m/cmds.xml", true));
  EXPECT_EQ(
      (Lines{"139 Invalid root node in /tmp/m/files.xml file", "139 Cant parse /tmp/m/bad.xml file",
             "139 /primary/tmp/m/cmds.xml file contains invalid <cli> entry '/bin/sh', ignored",
             "142 dmesg is not applicable to failsafe, ignored",
             "139 Cant parse /primary/tmp/m/cmds.xml file"}),
      traces(mSink));
}

TEST_F(ManifestTest, CommandsAreTrimmedCheckedAndRootedAtBin) {
  std::unique_ptr<Lines> normal(utils::readCmdlist("/tmp/m/cmds.xml", false));
  ASSERT_NE(nullptr, normal);
  EXPECT_EQ((Lines{"/bin/ps -ef", "show system", "/usr/bin/uptime", "/bin/dmesg"}), *normal);
  EXPECT_EQ(Lines{"139 /tmp/m/cmds.xml file contains invalid <cli> entry '/bin/sh', ignored"},
            traces(mSink));
  std::unique_ptr<Lines> failsafe(utils::readCmdlist("/tmp/m/cmds.xml", true));
  ASSERT_NE(nullptr, failsafe);
  EXPECT_EQ((Lines{"/bin/ps -ef", "show system", "/usr/bin/uptime"}), *failsafe);
  EXPECT_EQ(
      (Lines{"139 /primary/tmp/m/cmds.xml file contains invalid <cli> entry '/bin/sh', ignored",
             "142 dmesg is not applicable to failsafe, ignored"}),
      traces(mSink));
}

}  // namespace
}  // namespace corvane
