// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
#include "corvane/cv_config.h"

#include <gtest/gtest.h>
#include <stdio.h>

#include <string>

#include "sandbox.h"

namespace corvane {
namespace {

class CvConfigTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!testing::inSandbox()) GTEST_SKIP() << "needs tests/sandbox/run";
  }
  void TearDown() override { testing::writeFile("/etc/corvane.cfg", nullptr); }

  // Writes `file` and reads `key` with the default 99.
  struct Case {
    std::string file;
    int expected;
    char const* key = "n";
  };
  void check(Case const& c, int (*read)(char const*, int)) {
    SCOPED_TRACE(c.file);
    testing::writeFile("/etc/corvane.cfg", c.file.c_str());
    EXPECT_EQ(c.expected, read(c.key, 99));
  }
};

TEST_F(CvConfigTest, ReadsIntegers) {
  // Base 0; an empty value reads as 0; trailing characters (blanks too) and both extreme
  // int values give the default. Comments, key matching, first match wins.
  Case const cases[] = {{"n=0x10\n", 16},
                        {"n=010\n", 8},
                        {"n=  \t42\n", 42},
                        {"n=\n", 0},
                        {"n=12ms\n", 99},
                        {"n=12 \n", 99},
                        {"n=2147483646\n", 2147483646},
                        {"n=2147483647\n", 99},
                        {"n=-2147483647\n", -2147483647},
                        {"n=-2147483648\n", 99},
                        {"  # n=5\n\n   \nn=6\n", 6},
                        {"n =5\n", 99},
                        {"  N=7\n", 7},
                        {"Key=1\nkey=2\n", 1, "KEY"},
                        {"keys=1\nke=2\nkey=3\n", 3, "key"},
                        {"n=5", 5},
                        // Long lines are read in 127-character pieces, each its own line.
                        {"n=" + std::string(200, '1') + "\n", 99},
                        {std::string(127, 'x') + "n=11\n", 11},
                        {std::string(126, ' ') + "n=13\n", 99}};
  for (Case const& c : cases) check(c, cvConfig__Get_int);
  EXPECT_EQ(99, cvConfig__Get_int(nullptr, 99));
}

TEST_F(CvConfigTest, ReadsFlagsByTheirFirstLetter) {
  Case const cases[] = {{"f=Yes\n", 1, "f"},   {"f=TRUE\n", 1, "f"}, {"f=t\n", 1, "f"},
                        {"f=  y\n", 1, "f"},   {"f=no\n", 0, "f"},   {"f=false\n", 0, "f"},
                        {"F=N\n", 0, "f"},     {"f=Fx\n", 0, "f"},   {"f=on\n", 99, "f"},
                        {"f=1\n", 99, "f"},    {"f=\n", 99, "f"},    {"g=y\n", 99, "f"},
                        {"f=n\nf=y\n", 0, "f"}};
  for (Case const& c : cases) check(c, cvConfig__Get_flag);
}

TEST_F(CvConfigTest, MissingFileGivesDefaultsNothingStaysOpenAndPathCanMove) {
  EXPECT_EQ(-3, cvConfig__Get_int("n", -3));
  EXPECT_EQ(-3, cvConfig__Get_flag("f", -3));
  testing::writeFile("/etc/corvane.cfg", "n=1\nf=y\n");
  int before = testing::openDescriptorCount();
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(1, cvConfig__Get_int("n", 0));
    ASSERT_EQ(0, cvConfig__Get_int("absent", 0));
    ASSERT_EQ(1, cvConfig__Get_flag("f", 0));
  }
  EXPECT_EQ(before, testing::openDescriptorCount());

  testing::writeFile("/tmp/other.cfg", "n=2\n");
  snprintf(cvConfig__Path, sizeof cvConfig__Path, "%s", "/tmp/other.cfg");
  EXPECT_EQ(2, cvConfig__Get_int("n", 0));
  snprintf(cvConfig__Path, sizeof cvConfig__Path, "%s", "/etc/corvane.cfg");
  EXPECT_EQ(1, cvConfig__Get_int("n", 0));
}

}  // namespace
}  // namespace corvane
