// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Tokenizers, wildcards, the directory lister, date and time text, base64 and scrambling, the
// collection manifests (file lists with flags and globs, command lists, fail-safe mode), and the
// file helpers (directories and moves within and across file systems) by their codes.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/locid.h>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "corvane/cv_file_utility.h"
#include "corvane/log.h"
#include "corvane/utils.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Words = std::vector<std::string>;

bool exists(std::string const& path) { return access(path.c_str(), F_OK) == 0; }

TEST(StringsTest, SplitAndMatchByTable) {
  struct {
    char const *text, *specials;
    char stop;
    Words tokens;
  } const cases[] = {
      {"  \"x y\"\tz ", nullptr, '\0', {"x y", "z"}},
      {"a|b>>c#d", "|>", '#', {"a", "|", "b", ">", ">", "c"}},
      {"\"\" ab\"c d\"ef", nullptr, '\0', {"", "ab", "c d", "ef"}},
      {"\"a\\\\b\\", nullptr, '\0', {"a\\b"}},
      {nullptr, "|", '#', {}},
  };
  for (auto const& c : cases) EXPECT_EQ(c.tokens, utils::Split(c.text, c.specials, c.stop));
  Words words{"keep"};
  utils::Split2(" a\n\tbc  d ", &words);
  EXPECT_EQ((Words{"keep", "a", "bc", "d"}), words);

  struct {
    char const *name, *pattern;
    bool match;
  } const matches[] = {
      {"", "*", true},        {"a.log", "*.log", true},  {"a.log.1", "*.log", false},
      {"ac", "a?c", false},   {"dbc", "[^a-c]bc", true}, {"abc", "[^a-c]bc", false},
      {"]x", "[]]x", true},   {"-x", "[-a]x", true},     {"b", "[a-]", false},
      {"aaab", "*a*b", true}, {"aaac", "*a*b", false},   {"[x", "[x", true},
  };
  for (auto const& c : matches) {
    EXPECT_EQ(c.match, utils::Match(c.name, std::strlen(c.name), c.pattern)) << c.pattern;
  }
  EXPECT_TRUE(utils::Match("abcdef", 3, "abc"));
}

TEST(StringsTest, ReadDirSortsVisibleMatchesAndDatesFormat) {
  for (char const* name : {"b", "a", ".hidden", "c.log", "B"}) {
    testing::writeFile(std::string("/tmp/rd/") + name, "");
  }
  int descriptors = testing::openDescriptorCount();
  EXPECT_EQ((Words{"B", "a", "b", "c.log"}), utils::readDir("/tmp/rd", "*"));
  EXPECT_EQ((Words{"c.log"}), utils::readDir("/tmp/rd", "*.log"));
  EXPECT_EQ(Words{}, utils::readDir("/tmp/none", nullptr));
  EXPECT_EQ(descriptors, testing::openDescriptorCount());

  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale("en_US"), status);
  EXPECT_EQ("2024-01-31T12:00:00Z", utils::formatDateTime(1706702400, 1, "Europe/Paris"));
  EXPECT_EQ(0u, utils::formatDateTime(1706702400, 2, "Europe/Paris").find("Jan 31, 2024, 1:00"));
}

TEST(StringsTest, Base64SizesAndBounds) {
  struct {
    char const* data;
    size_t size;
    char const* text;
  } const cases[] = {{"", 3, ""}, {"M", 4, "TQ=="}, {"Ma", 5, "TWE="}, {"Man", 7, "TWFu"}};
  for (auto const& c : cases) {
    size_t n = std::strlen(c.data);
    ASSERT_EQ(c.size, utils::base64EncodedSize(n));
    char buf[8] = "#";
    EXPECT_EQ(nullptr, utils::base64EncodeToBuffer(c.data, n, buf, c.size));
    EXPECT_EQ('#', buf[0]);
    ASSERT_EQ(buf, utils::base64EncodeToBuffer(c.data, n, buf, c.size + 1));
    EXPECT_STREQ(c.text, buf);
  }
#if defined(__SANITIZE_ADDRESS__)
  __lsan::ScopedDisabler keptLeak;  // the lost buffer is part of the behaviour
#endif
  EXPECT_EQ(nullptr, utils::base64Encode("Man", 3));
}

TEST(StringsTest, ObfuscateTextAndFiles) {
  char buf[8];
  ASSERT_EQ(buf, utils::obfuscate("Man", buf));
  EXPECT_STREQ("K5Ex", buf);  // the fixed substitution

  std::string data(5000, '\0');
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(1 + i * 7 % 255);
  testing::writeFile("/tmp/ob/src", data.c_str());
  testing::writeFile("/tmp/ob/empty", "");
  int descriptors = testing::openDescriptorCount();
  ASSERT_EQ(0, utils::obfuscateFile("/tmp/ob/src", "/tmp/ob/out"));
  std::string out = testing::readFile("/tmp/ob/out");
  // Each block scrambled alone: 4096 bytes end in two pads, the 904 left in two more.
  char block[5466];
  utils::base64EncodeToBuffer(data.data() + 4096, 904, block, sizeof block);
  utils::obfuscateBase64Buffer(block);
  ASSERT_EQ(5464u + 1208u, out.size());
  EXPECT_EQ(std::string(block, 1206), out.substr(5464, 1206));
  EXPECT_EQ(out.npos, (out.substr(5462, 2) + out.substr(6670)).find_first_not_of("-._~*"));

  EXPECT_EQ(0, utils::obfuscateFile("/tmp/ob/empty", "/tmp/ob/out"));
  EXPECT_EQ("", testing::readFile("/tmp/ob/out"));
  EXPECT_EQ(-1, utils::obfuscateFile("/tmp/ob/none", "/tmp/ob/out2"));
  EXPECT_EQ(-2, utils::obfuscateFile("/tmp/ob/src", "/tmp/ob/nodir/out"));
  EXPECT_EQ(-3, utils::obfuscateFile("/tmp/ob/src", "/dev/full"));
  EXPECT_FALSE(exists("/tmp/ob/out2"));
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

TEST(ManifestTest, FileEntriesAndCommandsByFlagsGlobsAndFailSafeRoot) {
  ASSERT_TRUE(testing::inSandbox()) << "run through sandbox/corvane-sandbox";
  testing::writeFile("/tmp/m/files.xml",
                     "<filelist>\n <file>/etc/a</file>\n <file help=\"Network\" "
                     "obfuscate=\"true\" showable=\"true\" deleteaftercollect=\"true\">/etc/b"
                     "</file>\n <!-- skipped --><other>/etc/x</other>\n <file failsafe=\"false\" "
                     "obfuscate=\"yes\">/etc/c</file>\n <glob help=\"logs\" showable=\"true\">"
                     "/tmp/m/logs/*</glob>\n <glob>/tmp/m/none*</glob>\n</filelist>\n");
  testing::writeFile("/tmp/m/cmds.xml",
                     "<cmdlist>\n <cmd>  ps -ef\n </cmd>\n <cli>show system</cli>\n <cli>/bin/sh"
                     "</cli>\n <cmd>/usr/bin/uptime</cmd>\n <cmd failsafe=\"false\">dmesg</cmd>\n"
                     " <cli>  </cli>\n</cmdlist>\n");
  testing::writeFile("/primary/tmp/m/cmds.xml",
                     "<cmdlist><cmd>ps</cmd><cmd failsafe=\"false\">dmesg</cmd></cmdlist>");
  testing::writeFile("/tmp/m/bad.xml", "<filelist><file>x</filelist>");
  testing::writeFile("/tmp/m/logs/a.log", "");
  testing::writeFile("/tmp/m/logs/sub/b.log", "");
  testing::writeFile("/primary/tmp/m/logs/p.log", "");
  testing::writeFile("/tmp/m/root.xml", "<cmdlist><file>x</file></cmdlist>");
  log::getLogger()->setLevel(7);
  testing::SyslogSink sink;

  auto entries = [](bool failsafe) {
    std::unique_ptr<std::vector<types::fileEnt>> list(
        utils::readFileEnts("/tmp/m/files.xml", failsafe));
    Words got;
    for (auto const& e : *list)
      got.push_back(e.name + "|" + e.help + "|" + std::to_string(e.flags));
    std::sort(got.begin() + 3, got.end());  // glob matches come in directory order
    return got;
  };
  EXPECT_EQ((Words{"/etc/a||4", "/etc/b|Network|15", "/etc/c||0", "/tmp/m/logs/a.log|logs|6",
                   "/tmp/m/logs/sub/|logs|6"}),
            entries(false));
  EXPECT_EQ((Words{"/primary/etc/a||4", "/primary/etc/b|Network|15", "/primary/etc/c||0",
                   "/primary/tmp/m/logs/p.log|logs|6"}),
            entries(true));
  for (char const* path : {"/tmp/m/missing.xml", "/tmp/m/bad.xml", "/tmp/m/root.xml"}) {
    EXPECT_EQ(nullptr, utils::readFilelist(path, false)) << path;
  }
  EXPECT_EQ(Words{}, sink.drain());  // file lists leave the logging to their callers

  std::unique_ptr<Words> normal(utils::readCmdlist("/tmp/m/cmds.xml", false));
  std::unique_ptr<Words> failsafe(utils::readCmdlist("/tmp/m/cmds.xml", true));
  ASSERT_TRUE(normal && failsafe);
  EXPECT_EQ((Words{"/bin/ps -ef", "show system", "/usr/bin/uptime", "/bin/dmesg"}), *normal);
  EXPECT_EQ((Words{"/bin/ps"}), *failsafe);
  for (char const* path : {"/tmp/m/files.xml", "/tmp/m/bad.xml"}) {
    EXPECT_EQ(nullptr, utils::readCmdlist(path, false)) << path;
  }
  Words traces;  // "priority text"
  for (std::string const& d : sink.drain()) {
    traces.push_back(d.substr(1, d.find('>') - 1) + " " + d.substr(d.find("]:") + 2));
  }
  EXPECT_EQ((Words{"139 /tmp/m/cmds.xml file contains invalid <cli> entry '/bin/sh', ignored",
                   "142 dmesg is not applicable to failsafe, ignored",
                   "139 Invalid root node in /tmp/m/files.xml file",
                   "139 Cant parse /tmp/m/bad.xml file"}),
            traces);
}

TEST(FileUtilityTest, PathsDirectoriesAndMovesByCode) {
  ASSERT_TRUE(testing::inSandbox());
  int descriptors = testing::openDescriptorCount();
  EXPECT_TRUE(cvFileUtility::isIgnored("lost+found") && !cvFileUtility::isIgnored(".x"));
  EXPECT_EQ("b|", cvFileUtility::lastNode("/a/b") + "|" + cvFileUtility::lastNode("/a/"));
  EXPECT_EQ("/a/b|/b",
            cvFileUtility::pathName("/a//", "//b") + "|" + cvFileUtility::pathName("", "b"));
  // The second "/tmp/md/x/y" is already there.
  for (auto [path, code] : {std::pair<char const*, int>{"md/x", 9},
                            {"/tmp/md/x/y/", 0},
                            {"/tmp/md/x/y", 0},
                            {"/etc/services", EEXIST},
                            {"/etc/services/x", ENOTDIR}}) {
    EXPECT_EQ(code, cvFileUtility::makeDir(path)) << path;
  }
  EXPECT_TRUE(cvFileUtility::isDirectory("/tmp/md/x/y") &&
              !cvFileUtility::isRegularFile("/tmp/md"));

  testing::writeFile("/tmp/rm/f", "1");
  testing::writeFile("/tmp/rm/d/g", "2");
  testing::writeFile("/tmp/rm/d/e/h", "3");
  EXPECT_EQ(-1, cvFileUtility::removeDir("/", true));
  EXPECT_EQ(-2, cvFileUtility::removeDir("x", false));
  EXPECT_EQ(-3, cvFileUtility::removeDir("/tmp/none", true));
  EXPECT_EQ(0, cvFileUtility::removeDir("/tmp/rm", false));
  EXPECT_TRUE(cvFileUtility::isDirectory("/tmp/rm"));
  EXPECT_FALSE(exists("/tmp/rm/f") || exists("/tmp/rm/d"));
  EXPECT_EQ(0, cvFileUtility::removeDir("/tmp/md", true));
  EXPECT_FALSE(exists("/tmp/md"));

  testing::writeFile("/tmp/mv/a", "alpha");
  EXPECT_EQ(0, cvFileUtility::moveFile("/tmp/mv/a", "/tmp/mv/b"));
  EXPECT_EQ("alpha", testing::readFile("/tmp/mv/b"));
  EXPECT_EQ(-1, cvFileUtility::moveFile("/tmp/mv/a", "/tmp/mv/c"));

  // /tmp and /var/log are separate file systems in the sandbox: the data is copied.
  std::string big(10000, 'x');
  big[4096] = 'y';
  testing::writeFile("/tmp/mv/big", big.c_str());
  chmod("/tmp/mv/big", 0640);
  EXPECT_EQ(0, cvFileUtility::moveFile("/tmp/mv/big", "/var/log/big"));
  EXPECT_EQ(big, testing::readFile("/var/log/big"));
  EXPECT_FALSE(exists("/tmp/mv/big"));
  struct stat st;
  ASSERT_EQ(0, stat("/var/log/big", &st));
  EXPECT_EQ(0640u, st.st_mode & 07777);

  mkdir("/var/log/adir", 0755);
  EXPECT_EQ(-4, cvFileUtility::moveFile("/tmp/mv/b", "/var/log/adir"));
  EXPECT_EQ("alpha", testing::readFile("/tmp/mv/b"));
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

}  // namespace
}  // namespace corvane
