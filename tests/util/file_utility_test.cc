// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// cvFileUtility: path helpers, directory creation and removal, moves within and across file
// systems, by their codes and the files they leave.

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "corvane/cv_file_utility.h"
#include "sandbox.h"

namespace corvane {
namespace {

bool exists(std::string const& path) { return access(path.c_str(), F_OK) == 0; }

TEST(FileUtilityTest, PathsAndDirectoriesByCode) {
  ASSERT_TRUE(testing::inSandbox());
  EXPECT_TRUE(cvFileUtility::isIgnored("lost+found") && !cvFileUtility::isIgnored(".x"));
  EXPECT_EQ("b|", cvFileUtility::lastNode("/a/b") + "|" + cvFileUtility::lastNode("/a/"));
  EXPECT_EQ("/a/b|/b",
            cvFileUtility::pathName("/a//", "//b") + "|" + cvFileUtility::pathName("", "b"));
  struct {
    char const* path;
    int code;
  } const makes[] = {
      {"md/x", 9},
      {"/tmp/md/x/y/", 0},
      {"/tmp/md/x/y", 0},  // already there
      {"/etc/services", EEXIST},
      {"/etc/services/x", ENOTDIR},
  };
  for (auto const& c : makes) EXPECT_EQ(c.code, cvFileUtility::makeDir(c.path)) << c.path;
  EXPECT_TRUE(cvFileUtility::isDirectory("/tmp/md/x/y") &&
              !cvFileUtility::isRegularFile("/tmp/md"));

  testing::writeFile("/tmp/rm/f", "1");
  testing::writeFile("/tmp/rm/d/g", "2");
  testing::writeFile("/tmp/rm/d/e/h", "3");
  int descriptors = testing::openDescriptorCount();
  EXPECT_EQ(-1, cvFileUtility::removeDir("/", true));
  EXPECT_EQ(-2, cvFileUtility::removeDir("x", false));
  EXPECT_EQ(-3, cvFileUtility::removeDir("/tmp/none", true));
  EXPECT_EQ(0, cvFileUtility::removeDir("/tmp/rm", false));
  EXPECT_TRUE(cvFileUtility::isDirectory("/tmp/rm"));
  EXPECT_FALSE(exists("/tmp/rm/f") || exists("/tmp/rm/d"));
  EXPECT_EQ(0, cvFileUtility::removeDir("/tmp/md", true));
  EXPECT_FALSE(exists("/tmp/md"));
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

TEST(FileUtilityTest, MovesWithinAndAcrossFileSystems) {
  int descriptors = testing::openDescriptorCount();
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
