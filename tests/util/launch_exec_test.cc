#include "corvane/launch_exec.h"

#include <fcntl.h>
#include <glob.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Lines = std::vector<std::string>;

// Text of every trace line that reached syslog (the part after the header's "]:").
Lines traces(testing::SyslogSink& sink) {
  Lines texts;
  for (std::string const& datagram : sink.drain()) {
    size_t colon = datagram.find("]:");
    texts.push_back(colon == std::string::npos ? datagram : datagram.substr(colon + 2));
  }
  return texts;
}

bool has(Lines const& lines, std::string const& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// Runs /bin/sh -c `script`; returns the code, fills `err` and `status`.
int sh(std::string const& script, Lines* err, int* status, char const* workdir = nullptr,
       int in = -1, int out = -1) {
  std::vector<std::string> args{"/bin/sh", "-c", script};
  return LaunchExec::launch(args, "test", err, in, out, workdir, status);
}

size_t leftoverTempFiles() {
  glob_t found{};
  glob("/tmp/le.*", 0, nullptr, &found);
  size_t count = found.gl_pathc;
  globfree(&found);
  return count;
}

class LaunchExecTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!testing::inSandbox()) GTEST_SKIP() << "needs tests/sandbox/run";
  }
};

TEST_F(LaunchExecTest, RefusesEmptyAndOverlongVectorsWithoutForking) {
  testing::SyslogSink sink;
  char const* empty[] = {nullptr};
  int status = 12345;
  EXPECT_EQ(9, LaunchExec::launch(empty, "test", nullptr, -1, -1, nullptr, &status));
  std::vector<std::string> none;
  EXPECT_EQ(9, LaunchExec::launch(none, "test", nullptr, -1, -1, nullptr, &status));
  Lines lines = traces(sink);
  ASSERT_EQ(9u, lines.size());  // enter, arguments and exit of each call; nothing started
  EXPECT_EQ("Enter LaunchExec::launch", lines[0]);
  EXPECT_EQ("Exit  LaunchExec::launch, rc 9", lines[2]);
  EXPECT_EQ("Exit  LaunchExec::launch, rc 9", lines[7]);
  EXPECT_EQ("Exit  LaunchExec::launch", lines[8]);
  EXPECT_NE(std::string::npos,
            lines[1].find(", caller test, stderrList (nil), stdinFd -1, stdoutFd -1, "
                          "workdir (null), status 0x"));

  // 1023 entries run; the shell sees 1019 positional parameters.
  std::vector<char const*> argv{"/bin/sh", "-c", "echo $# >&2", "sh"};
  argv.resize(1023, "x");
  argv.push_back(nullptr);
  Lines err;
  EXPECT_EQ(0, LaunchExec::launch(argv.data(), "test", &err, -1, -1, nullptr, &status));
  EXPECT_EQ(Lines{"1019"}, err);
  EXPECT_TRUE(has(traces(sink), "test /bin/sh 1019"));
  argv.back() = "x";
  argv.push_back(nullptr);
  err.clear();
  status = 12345;
  EXPECT_EQ(9, LaunchExec::launch(argv.data(), "test", &err, -1, -1, nullptr, &status));
  EXPECT_TRUE(err.empty());
  EXPECT_EQ(12345, status);
  lines = traces(sink);
  ASSERT_EQ(3u, lines.size());
  EXPECT_EQ("Exit  LaunchExec::launch, rc 9", lines[2]);
}

TEST_F(LaunchExecTest, CapturesStandardErrorInOrderAndExitStatus) {
  testing::SyslogSink sink;
  Lines err{"kept"};
  int status = -7;
  EXPECT_EQ(0, sh("echo one >&2; echo 'two  words ' >&2; printf three >&2", &err, &status));
  EXPECT_EQ((Lines{"kept", "one", "two  words ", "three"}), err);
  EXPECT_EQ(0, status);
  EXPECT_TRUE(has(traces(sink), "test /bin/sh two  words "));

  err.clear();
  EXPECT_EQ(1, sh("echo failed >&2; exit 3", &err, &status));
  EXPECT_EQ(Lines{"failed"}, err);
  EXPECT_EQ(3, status);
  EXPECT_TRUE(has(traces(sink), "/bin/sh task exit 3"));

  std::vector<std::string> args{"/bin/sh", "-c", "for a; do echo \"[$a]\" >&2; done", "sh", "a b",
                                "",        "c"};
  err.clear();
  EXPECT_EQ(0, LaunchExec::launch(args, "test", &err, -1, -1, "/etc/corvane", nullptr));
  EXPECT_EQ((Lines{"[a b]", "[]", "[c]"}), err);
  err.clear();
  EXPECT_EQ(0, sh("pwd >&2", &err, nullptr, "/etc/corvane"));
  EXPECT_EQ(Lines{"/etc/corvane"}, err);
}

TEST_F(LaunchExecTest, ChildSetUpFailuresReportTheirStatus) {
  struct Case {
    char const* program;
    char const* workdir;
    int in, out;
    int status;
    char const* description;
  } const cases[] = {
      {"/nonexistent/program", nullptr, -1, -1, 8, "Error executing"},
      {"/bin/true", "/nonexistent/dir", -1, -1, 5, "Working directory not found"},
      {"/bin/true", nullptr, -1, 999, 6, "Could not duplicate stdout"},
      {"/bin/true", nullptr, 999, -1, 7, "Could not duplicate stdin"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.description);
    testing::SyslogSink sink;
    char const* argv[] = {c.program, nullptr};
    Lines err;
    int status = 0;
    EXPECT_EQ(1, LaunchExec::launch(argv, "test", &err, c.in, c.out, c.workdir, &status));
    EXPECT_EQ(c.status, status);
    EXPECT_STREQ(c.description, LaunchExec::getExitDescription(status));
    EXPECT_TRUE(err.empty());
    if (c.status == 8) {
      Lines lines = traces(sink);
      EXPECT_TRUE(has(lines, "LaunchExec execv call to /nonexistent/program"));
      EXPECT_TRUE(has(lines,
                      "LaunchExec execv returned from /nonexistent/program: "
                      "No such file or directory"));
    }
  }
}

TEST_F(LaunchExecTest, KilledChildGivesStatusMinusOne) {
  testing::SyslogSink sink;
  int status = 0;
  EXPECT_EQ(1, sh("kill -9 $$", nullptr, &status));
  EXPECT_EQ(-1, status);
  Lines lines = traces(sink);
  EXPECT_TRUE(has(lines, "/bin/sh task exited abormally; status 0x9"));
  EXPECT_TRUE(has(lines, "Exit  LaunchExec::launch, rc 1"));
}

TEST_F(LaunchExecTest, StdoutAndStdinGoToTheGivenDescriptors) {
  char outName[] = "/tmp/out.XXXXXX";
  int out = mkstemp(outName);
  ASSERT_GE(out, 0);
  testing::writeFile("/tmp/in.txt", "input line\n");
  int in = open("/tmp/in.txt", O_RDONLY);
  ASSERT_GE(in, 0);
  Lines err;
  EXPECT_EQ(0, sh("echo out; echo err >&2; cat", &err, nullptr, nullptr, in, out));
  EXPECT_EQ(Lines{"err"}, err);
  EXPECT_EQ("out\ninput line\n", testing::readFile(outName));
  close(in);
  close(out);
  unlink(outName);
}

int gReaped = 0;
void reapAll(int) {
  while (waitpid(-1, nullptr, WNOHANG) > 0) ++gReaped;
}

TEST_F(LaunchExecTest, HostSigchldDispositionIsBypassedAndRestored) {
  for (auto handler : {&reapAll, SIG_IGN}) {
    struct sigaction mine = {}, previous = {}, after = {};
    mine.sa_handler = handler;
    mine.sa_flags = SA_NOCLDSTOP;
    ASSERT_EQ(0, sigaction(SIGCHLD, &mine, &previous));
    gReaped = 0;
    int status = 0;
    // Either disposition would take the child away from waitpid (code 4) if kept.
    EXPECT_EQ(1, sh("exit 4", nullptr, &status));
    EXPECT_EQ(4, status);
    EXPECT_EQ(0, gReaped);
    sigaction(SIGCHLD, &previous, &after);
    EXPECT_EQ(handler, after.sa_handler);
    EXPECT_TRUE(after.sa_flags & SA_NOCLDSTOP);
  }
}

TEST_F(LaunchExecTest, LeavesNoDescriptorOrTempFileBehind) {
  ASSERT_EQ(0, sh("true", nullptr, nullptr));
  int before = testing::openDescriptorCount();
  char const* ok[] = {"/bin/true", nullptr};
  char const* missing[] = {"/nonexistent", nullptr};
  for (int i = 0; i < 3000; ++i) {
    Lines err;
    int rc = LaunchExec::launch(i % 3 == 2 ? missing : ok, "test", &err, -1, -1,
                                i % 3 == 1 ? "/nonexistent" : nullptr, nullptr);
    ASSERT_EQ(i % 3 == 0 ? 0 : 1, rc) << i;
  }
  EXPECT_EQ(before, testing::openDescriptorCount());
  EXPECT_EQ(0u, leftoverTempFiles());
}

TEST_F(LaunchExecTest, RunsWithoutCaptureWhenNoTempFileCanBeMade) {
  if (mount("none", "/tmp", "tmpfs", MS_RDONLY, nullptr) != 0) GTEST_SKIP() << "cannot mount";
  testing::SyslogSink sink;
  Lines err;
  int status = -5;
  int rc = sh("exit 0", &err, &status);
  umount2("/tmp", MNT_DETACH);
  EXPECT_EQ(0, rc);
  EXPECT_EQ(0, status);
  EXPECT_TRUE(has(traces(sink), "Can't create temp /tmp/le.XXXXXX, Read-only file system"));
}

TEST_F(LaunchExecTest, SetsLangFromTheDeviceLocale) {
  testing::writeFile("/etc/corvane/locale.xml",
                     "<locale><language>de</language><country>DE</country></locale>\n");
  Lines err;
  EXPECT_EQ(0, sh("echo \"$LANG\" >&2", &err, nullptr));
  EXPECT_EQ(Lines{"de_DE"}, err);
  EXPECT_STREQ("de_DE", getenv("LANG"));
  testing::writeFile("/etc/corvane/locale.xml", nullptr);
  err.clear();
  EXPECT_EQ(0, sh("echo \"$LANG\" >&2", &err, nullptr));
  EXPECT_EQ(Lines{"en_US"}, err);
}

TEST(LaunchExecDescriptionTest, KnowsTheNeverReturnedCodeAndNoOthers) {
  EXPECT_STREQ("Child task exited abnormally", LaunchExec::getExitDescription(3));
  EXPECT_STREQ("Parameter list is not terminated", LaunchExec::getExitDescription(9));
  for (int code : {-1, 10, 42}) {
    EXPECT_STREQ("Undefined internal exit code", LaunchExec::getExitDescription(code));
  }
}

}  // namespace
}  // namespace corvane
