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
};

struct Case {
  std::string file;
  char const* key;
  int expected;  // the default is always 99
};

TEST_F(CvConfigTest, ReadsIntegers) {
  std::string const longComment = "#" + std::string(140, 'x') + "\n";
  Case const cases[] = {
      {"hex=0x10\n", "hex", 16},
      {"oct=010\n", "oct", 8},
      {"neg=-0x10\n", "neg", -16},
      {"n=  \t42\n", "n", 42},
      {"n=12ms\n", "n", 99},
      {"n=12 \n", "n", 99},  // trailing blanks stay and spoil the number
      {"n=08\n", "n", 99},
      {"n=\n", "n", 0},  // empty and non-numeric values read as 0
      {"n=   \n", "n", 0},
      {"n=abc\n", "n", 0},
      {"n=0\n", "n", 0},
      {"n=2147483646\n", "n", 2147483646},
      {"n=2147483647\n", "n", 99},
      {"n=-2147483647\n", "n", -2147483647},
      {"n=-2147483648\n", "n", 99},
      {"n=99999999999999999999\n", "n", 99},
      {"n=" + std::string(200, '1') + "\n", "n", 99},
      {"  # n=5\n\n   \nn=6\n", "n", 6},
      {"n =5\n", "n", 99},
      {"  N=7\n", "n", 7},
      {"Key=1\nkey=2\n", "KEY", 1},
      {"keys=1\nke=2\nkey=3\n", "key", 3},
      {"other=1\n", "key", 99},
      {"n=5", "n", 5},  // no final line feed
      // Long lines are read in 127-character pieces, each its own line.
      {std::string(127, 'x') + "n=11\n", "n", 11},
      {longComment.substr(0, 127) + "n=12\n", "n", 12},
      {std::string(126, ' ') + "n=13\n", "n", 99},
      {"", "n", 99},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.file);
    testing::writeFile("/etc/corvane.cfg", c.file.c_str());
    EXPECT_EQ(c.expected, cvConfig__Get_int(c.key, 99));
  }
  EXPECT_EQ(99, cvConfig__Get_int(nullptr, 99));
}

TEST_F(CvConfigTest, ReadsFlagsByTheirFirstLetter) {
  Case const cases[] = {
      {"f=Yes\n", "f", 1},    {"f=TRUE\n", "f", 1},  {"f=t\n", "f", 1}, {"f=  y\n", "f", 1},
      {"f=no\n", "f", 0},     {"f=false\n", "f", 0}, {"F=N\n", "f", 0}, {"f=Fx\n", "f", 0},
      {"f=on\n", "f", 99},    {"f=1\n", "f", 99},    {"f=\n", "f", 99}, {"f=off\n", "f", 99},
      {"f=n\nf=y\n", "f", 0}, {"g=y\n", "f", 99},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.file);
    testing::writeFile("/etc/corvane.cfg", c.file.c_str());
    EXPECT_EQ(c.expected, cvConfig__Get_flag(c.key, 99));
  }
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

  ASSERT_STREQ("/etc/corvane.cfg", cvConfig__Path);
  testing::writeFile("/tmp/other.cfg", "n=2\n");
  snprintf(cvConfig__Path, sizeof cvConfig__Path, "%s", "/tmp/other.cfg");
  EXPECT_EQ(2, cvConfig__Get_int("n", 0));
  snprintf(cvConfig__Path, sizeof cvConfig__Path, "%s", "/etc/corvane.cfg");
  EXPECT_EQ(1, cvConfig__Get_int("n", 0));
}

}  // namespace
}  // namespace corvane
