// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// LaunchExec: codes, exit status, standard-error lines, redirections, traces, and what a
// launch leaves behind (descriptors, temp files, SIGCHLD disposition, LANG).
#include "corvane/launch_exec.h"

#include <fcntl.h>
#include <glob.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Lines = std::vector<std::string>;

// True when a trace line that reached syslog (text after the header's "]:") starts with `start`.
bool traced(testing::SyslogSink& sink, std::string const& start) {
  Lines const all = sink.drain();
  return std::any_of(all.begin(), all.end(), [&](std::string const& d) {
    return d.compare(d.find("]:") + 2, start.size(), start) == 0;
  });
}

int sh(std::string const& script, Lines* err, int* status) {
  std::vector<std::string> args{"/bin/sh", "-c", script};
  return LaunchExec::launch(args, "test", err, -1, -1, nullptr, status);
}

TEST(LaunchExecTest, CodesStatusStandardErrorTracesAndNothingLeftBehind) {
  ASSERT_TRUE(testing::inSandbox()) << "run through sandbox/corvane-sandbox";
  testing::writeFile("/tmp/in.txt", "input line\n");
  int in = open("/tmp/in.txt", O_RDONLY);
  int out = open("/tmp/out.txt", O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ASSERT_EQ(0, sh("true", nullptr, nullptr));
  testing::SyslogSink sink;
  int descriptors = testing::openDescriptorCount();
  struct {
    char const *program, *script, *workdir;
    int in, out, rc, status;
    char const* err;     // the list afterwards, joined by "|"
    char const* traced;  // start of one trace line
  } const cases[] = {
      {"/bin/sh", "echo one >&2; echo 'two  words ' >&2; printf three >&2", nullptr, -1, -1, 0, 0,
       "kept|one|two  words |three", "test /bin/sh two  words "},
      // Extra arguments arrive intact, empty ones included.
      {"/bin/sh", "for a; do echo \"[$a]\" >&2; done", nullptr, -1, -1, 0, 0, "kept|[a b]|[]|[c]",
       "/bin/sh task started with id 0x"},
      {"/bin/sh", "pwd >&2", "/etc/corvane", -1, -1, 0, 0, "kept|/etc/corvane",
       "Exit  LaunchExec::launch, rc 0"},
      // Standard output to `out`, standard error still to the list.
      {"/bin/sh", "echo out; echo err >&2; cat", nullptr, in, out, 0, 0, "kept|err",
       "test /bin/sh err"},
      {"/bin/sh", "echo failed >&2; exit 3", nullptr, -1, -1, 1, 3, "kept|failed",
       "/bin/sh task exit 3"},
      // The misspelling is deliberate.
      {"/bin/sh", "kill -9 $$", nullptr, -1, -1, 1, -1, "kept",
       "/bin/sh task exited abormally; status 0x9"},
      // Set-up failures in the child.
      {"/nonexistent/program", "", nullptr, -1, -1, 1, 8, "kept",
       "LaunchExec execv returned from /nonexistent/program: No such file or directory"},
      {"/bin/true", "", "/nonexistent/dir", -1, -1, 1, 5, "kept", "/bin/true task exit 5"},
      {"/bin/true", "", nullptr, -1, 999, 1, 6, "kept", "/bin/true task exit 6"},
      {"/bin/true", "", nullptr, 999, -1, 1, 7, "kept", "/bin/true task exit 7"},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.script);
    std::vector<std::string> args{c.program, "-c", c.script, "sh", "a b", "", "c"};
    Lines err{"kept"};  // appended to, never replaced
    int status = -7;
    EXPECT_EQ(c.rc, LaunchExec::launch(args, "test", &err, c.in, c.out, c.workdir, &status));
    EXPECT_EQ(c.status, status);
    std::string joined;
    for (auto const& line : err) joined += (joined.empty() ? "" : "|") + line;
    EXPECT_EQ(c.err, joined);
    EXPECT_TRUE(traced(sink, c.traced));
  }
  EXPECT_EQ("out\ninput line\n", testing::readFile("/tmp/out.txt"));

  // 1023 entries run (the shell sees 1019 positional parameters); one more is refused unstarted.
  std::vector<char const*> argv{"/bin/sh", "-c", "echo $# >&2", "sh"};
  argv.resize(1024, "x");
  argv.push_back(nullptr);
  Lines err;
  int status = 12345;
  EXPECT_EQ(9, LaunchExec::launch(argv.data(), "test", &err, -1, -1, nullptr, &status));
  EXPECT_TRUE(status == 12345 && !traced(sink, "/bin/sh task started"));
  argv[1023] = nullptr;
  EXPECT_EQ(0, LaunchExec::launch(argv.data(), "test", &err, -1, -1, nullptr, &status));
  EXPECT_EQ(Lines{"1019"}, err);
  std::vector<std::string> none;
  EXPECT_EQ(9, LaunchExec::launch(none, "test", &err, -1, -1, nullptr, &status));
  EXPECT_EQ(0, status);
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
  close(in);
  close(out);
  glob_t found{};
  EXPECT_EQ(GLOB_NOMATCH, glob("/tmp/le.*", 0, nullptr, &found));
  globfree(&found);

  EXPECT_STREQ("Parameter list is not terminated", LaunchExec::getExitDescription(9));
  EXPECT_STREQ("Undefined internal exit code", LaunchExec::getExitDescription(10));
}

void reapAll(int) {
  while (waitpid(-1, nullptr, WNOHANG) > 0) continue;
}

TEST(LaunchExecTest, HostSigchldAndLangAndReadOnlyTmp) {
  // Either disposition would take the child away from waitpid (code 4) if kept.
  for (auto handler : {&reapAll, SIG_IGN}) {
    struct sigaction mine = {}, after = {};
    mine.sa_handler = handler;
    mine.sa_flags = SA_NOCLDSTOP;
    ASSERT_EQ(0, sigaction(SIGCHLD, &mine, nullptr));
    int status = 0;
    EXPECT_EQ(1, sh("exit 4", nullptr, &status));
    EXPECT_EQ(4, status);
    sigaction(SIGCHLD, nullptr, &after);
    EXPECT_TRUE(after.sa_handler == handler && (after.sa_flags & SA_NOCLDSTOP));
  }
  signal(SIGCHLD, SIG_DFL);

  testing::writeFile("/etc/corvane/locale.xml",
                     "<locale><language>de</language><country>DE</country></locale>\n");
  Lines err;
  EXPECT_EQ(0, sh("echo \"$LANG\" >&2", &err, nullptr));
  EXPECT_EQ(Lines{"de_DE"}, err);
  EXPECT_STREQ("de_DE", getenv("LANG"));  // the caller keeps it too

  // No temp file for standard error: the program still runs, without capture.
  if (mount("none", "/tmp", "tmpfs", MS_RDONLY, nullptr) != 0) GTEST_SKIP() << "cannot mount";
  testing::SyslogSink sink;
  int status = -5;
  int rc = sh("exit 0", nullptr, &status);
  umount2("/tmp", MNT_DETACH);
  EXPECT_EQ(0, rc);
  EXPECT_EQ(0, status);
  EXPECT_TRUE(traced(sink, "Can't create temp /tmp/le.XXXXXX, Read-only file system"));
}

}  // namespace
}  // namespace corvane
