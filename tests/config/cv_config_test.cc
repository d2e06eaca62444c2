// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Integers and flags read from the appliance's key=value file.

#include "corvane/cv_config.h"

#include <gtest/gtest.h>
#include <stdio.h>

#include <string>

#include "sandbox.h"

namespace corvane {
namespace {

TEST(CvConfigTest, ReadsIntegersFlagsAndDefaults) {
  ASSERT_TRUE(testing::inSandbox()) << "run through sandbox/corvane-sandbox";
  testing::writeFile("/etc/corvane.cfg", nullptr);
  EXPECT_EQ(-3, cvConfig__Get_int("n", -3));
  EXPECT_EQ(-3, cvConfig__Get_flag("n", -3));

  struct Case {
    std::string file;
    int expected;  // read for `key` with the default 99
    char const* key = "n";
  };
  auto check = [](Case const& c, int (*read)(char const*, int)) {
    testing::writeFile("/etc/corvane.cfg", c.file.c_str());
    EXPECT_EQ(c.expected, read(c.key, 99)) << c.file;
  };
  // Integers: base 0; an empty value reads as 0; trailing characters (blanks too) and both
  // extreme int values give the default. Comments, key matching, first match wins, no final
  // newline. Long lines are read in 127-character pieces, each its own line.
  // clang-format off
  Case const ints[] = {
      {"n=0x10\n", 16}, {"n=  \t42\n", 42}, {"n=\n", 0}, {"n=12 \n", 99},
      {"n=2147483646\n", 2147483646}, {"n=2147483647\n", 99}, {"n=-2147483647\n", -2147483647},
      {"n=-2147483648\n", 99}, {"  # n=5\n\n   \nn=6\n", 6}, {"n =5\n", 99}, {"  N=7\n", 7},
      {"Key=1\nkey=2\n", 1, "KEY"}, {"keys=1\nke=2\nkey=3\n", 3, "key"}, {"n=5", 5},
      {"n=" + std::string(200, '1') + "\n", 99}, {std::string(127, 'x') + "n=11\n", 11},
      {std::string(126, ' ') + "n=13\n", 99}};
  // clang-format on
  for (Case const& c : ints) check(c, cvConfig__Get_int);
  EXPECT_EQ(99, cvConfig__Get_int(nullptr, 99));
  // Flags go by their first letter.
  Case const flags[] = {{"n=Yes\n", 1},   {"n=TRUE\n", 1}, {"n=t\n", 1},  {"n=  y\n", 1},
                        {"n=false\n", 0}, {"N=N\n", 0},    {"n=Fx\n", 0}, {"n=no\n", 0},
                        {"n=on\n", 99},   {"n=1\n", 99},   {"n=\n", 99},  {"n=n\nn=y\n", 0}};
  for (Case const& c : flags) check(c, cvConfig__Get_flag);

  // Every read closes the file again, and the path can be moved.
  testing::writeFile("/etc/corvane.cfg", "n=1\nf=y\n");
  int before = testing::openDescriptorCount();
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(1, cvConfig__Get_int("n", 0) + cvConfig__Get_int("absent", 0));
    ASSERT_EQ(1, cvConfig__Get_flag("f", 0));
  }
  EXPECT_EQ(before, testing::openDescriptorCount());
  testing::writeFile("/tmp/other.cfg", "n=2\n");
  snprintf(cvConfig__Path, sizeof cvConfig__Path, "%s", "/tmp/other.cfg");
  EXPECT_EQ(2, cvConfig__Get_int("n", 0));
  snprintf(cvConfig__Path, sizeof cvConfig__Path, "%s", "/etc/corvane.cfg");
}

}  // namespace
}  // namespace corvane
