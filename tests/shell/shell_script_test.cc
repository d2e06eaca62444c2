// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-shell reading commands line by line (not a terminal) against the simulated
// appliance in this test's sandbox: whole transcripts compared, and the effects checked where
// the appliance records them (the simulator's event log, the reboot stand-in's calls).

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

// Runs the shell with `input` on its standard input; the transcript, and the exit code in
// `code`.
std::string session(std::string const& input, int& code) {
  int in[2], out[2];
  if (pipe(in) != 0 || pipe(out) != 0) return "";
  pid_t child = fork();
  if (child == 0) {
    dup2(in[0], 0);
    dup2(out[1], 1);
    dup2(out[1], 2);
    close(in[0]), close(in[1]), close(out[0]), close(out[1]);
    execl(CORVANE_SHELL_PROGRAM, CORVANE_SHELL_PROGRAM, nullptr);
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  if (write(in[1], input.data(), input.size()) != static_cast<ssize_t>(input.size())) code = -2;
  close(in[1]);
  std::string text;
  char buffer[4096];
  for (ssize_t n; (n = read(out[0], buffer, sizeof buffer)) > 0;) text.append(buffer, n);
  close(out[0]);
  int status = 0;
  waitpid(child, &status, 0);
  code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return text;
}

std::string readFile(char const* path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

int control(std::string const& command) {
  return system((CORVANE_SIM_PROGRAM " --control " + command + " >/dev/null 2>&1").c_str());
}

class ShellScriptTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    sSim = fork();
    if (sSim == 0) {
      int null = open("/dev/null", O_WRONLY);
      dup2(null, 1);
      dup2(null, 2);
      execl(CORVANE_SIM_PROGRAM, CORVANE_SIM_PROGRAM, "--upgrade-step-ms", "50", nullptr);
      _exit(127);
    }
    for (int i = 0; i < 100 && control("status") != 0; ++i) usleep(100000);
  }
  static void TearDownTestSuite() {
    kill(sSim, SIGTERM);
    waitpid(sSim, nullptr, 0);
  }
  static pid_t sSim;
};
pid_t ShellScriptTest::sSim = -1;

TEST_F(ShellScriptTest, TranscriptsOfCommandsAndTheirRefusals) {
  struct Case {
    char const* input;
    char const* transcript;
  } const cases[] = {
      // Mistakes are answered and the shell carries on; comments are not part of the session.
      {"# a comment\nbogus\nshow interface\nset interface eth0 speed 10\nshow locale\n",
       "corvane> bogus\nunknown command: bogus (try \"help\")\n"
       "corvane> show interface\nusage: show interface NAME\n"
       "corvane> set interface eth0 speed 10\nunknown setting speed\n"
       "corvane> show locale\nen_US\ncorvane> \n"},
      // An interface record set, shown and reset to its defaults.
      {"set interface eth2 mtu 9000\nset interface eth2 address 10.9.9.9/24\nshow interface "
       "eth2\nclear interface eth2\nshow interface eth2\n",
       "corvane> set interface eth2 mtu 9000\neth2: mtu set\n"
       "corvane> set interface eth2 address 10.9.9.9/24\neth2: address set\n"
       "corvane> show interface eth2\n"
       "  name                 eth2\n  userdata             -\n  enabled              false\n"
       "  IPAddress            10.9.9.9/24\n  MTU                  9000\n"
       "  UseARP               true\n  UseDHCP              false\n  Mode                 Auto\n"
       "  UseIPv6              false\n  UseSLAAC             false\n  DADTransmits         1\n"
       "  DADRetransmitTimer   1000\n"
       "corvane> clear interface eth2\neth2: defaults restored\n"
       "corvane> show interface eth2\n"
       "  name                 eth2\n  userdata             -\n  enabled              false\n"
       "  MTU                  1500\n"
       "  UseARP               true\n  UseDHCP              false\n  Mode                 Auto\n"
       "  UseIPv6              false\n  UseSLAAC             false\n  DADTransmits         1\n"
       "  DADRetransmitTimer   1000\ncorvane> \n"},
      // Aggregates and VLANs: a member cannot be enabled, a duplicate and a missing object
      // are refused with the catalog texts of the result codes.
      {"create aggregate agg1 eth3\nset interface eth3 enabled true\ncreate aggregate agg1 "
       "eth3\ndelete aggregate agg1\ndelete aggregate agg1\ndelete vlan none\n",
       "corvane> create aggregate agg1 eth3\nagg1 created\n"
       "corvane> set interface eth3 enabled true\n"
       "eth3: The configuration did not pass validation.\n"
       "corvane> create aggregate agg1 eth3\nAn object with this name already exists.\n"
       "corvane> delete aggregate agg1\nagg1 deleted\n"
       "corvane> delete aggregate agg1\nThe object does not exist.\n"
       "corvane> delete vlan none\nThe object does not exist.\ncorvane> \n"},
      // Settings kept by the managers read back as set.
      {"set dns 10.0.0.53 10.0.0.54\nset search example.com\nshow dns\nset ntp ntp1.example\n"
       "show ntp\nset host 10.0.0.7 backup bk\nshow hosts\ndelete host 10.0.0.7\n"
       "delete host 10.0.0.7\n",
       "corvane> set dns 10.0.0.53 10.0.0.54\nname servers set\n"
       "corvane> set search example.com\nsearch domains set\n"
       "corvane> show dns\nname servers:   10.0.0.53 10.0.0.54\nsearch domains: example.com\n"
       "corvane> set ntp ntp1.example\ntime servers set\n"
       "corvane> show ntp\ntime servers: ntp1.example\n"
       "corvane> set host 10.0.0.7 backup bk\n10.0.0.7: names set\n"
       "corvane> show hosts\n10.0.0.7                                 backup bk\n"
       "corvane> delete host 10.0.0.7\n10.0.0.7: removed\n"
       "corvane> delete host 10.0.0.7\n10.0.0.7: not in the table\ncorvane> \n"},
      // A password is read from the next line and shown as stars.
      {"create user bob\nsecret\nshow users\ndelete user bob\nshow users\n",
       "corvane> create user bob\npassword: ******\nbob created\n"
       "corvane> show users\n  admin\n  bob\n"
       "corvane> delete user bob\nbob deleted\n"
       "corvane> show users\n  admin\ncorvane> \n"},
      // Level and mask names come from the process manager's tables.
      {"set logging loud\nset logging info bogus\nset logging debug commands+raid\nshow logging\n",
       "corvane> set logging loud\nunknown level loud\n"
       "corvane> set logging info bogus\nunknown trace category bogus\n"
       "corvane> set logging debug commands+raid\nlog level debug sent to every manager\n"
       "corvane> show logging\nlog level: debug\ntrace mask:\n  commands\n  raid\n"
       "corvane> \n"},
      // Progress reports reach the shell through its callback server.
      {"upgrade firmware /tmp/image\n",
       "corvane> upgrade firmware /tmp/image\n"
       "firmware upgrade [######                        ]  20 %\n"
       "firmware upgrade [############                  ]  40 %\n"
       "firmware upgrade [##################            ]  60 %\n"
       "firmware upgrade [########################      ]  80 %\n"
       "firmware upgrade [##############################] 100 %\n"
       "firmware upgrade complete\ncorvane> \n"},
      // The device reset does nothing unless confirmed; "exit" ends the session.
      {"reset device\nno\nexit\nshow locale\n",
       "corvane> reset device\n"
       "Reset the appliance to its factory settings and reboot? (yes/no) no\n"
       "reset cancelled\ncorvane> exit\n\n"},
  };
  for (auto const& c : cases) {
    int code = -1;
    EXPECT_EQ(c.transcript, session(c.input, code)) << c.input;
    EXPECT_EQ(0, code) << c.input;
  }
  // Every manager was told the level and mask.
  std::string events = readFile("/var/log/corvane-sim.log");
  size_t told = 0;
  for (size_t at = 0;
       (at = events.find("setLogging level 7 mask 0x00000101", at)) != std::string::npos; ++at) {
    ++told;
  }
  EXPECT_EQ(7u, told) << events;
}

TEST_F(ShellScriptTest, UnreachableManagerIsReportedAndTheShellCarriesOn) {
  ASSERT_EQ(0, control("fault configmgr=down"));
  ASSERT_EQ(0, control("fault firmwaremgr=down"));
  int code = -1;
  std::string text = session(
      "show interfaces\ncreate vlan v1 eth0 5\nupgrade firmware /tmp/i\nshow locale\n", code);
  control("clear");
  EXPECT_EQ(
      "corvane> show interfaces\nThe configuration manager cannot be reached.\n"
      "corvane> create vlan v1 eth0 5\nThe configuration manager cannot be reached.\n"
      "corvane> upgrade firmware /tmp/i\nthe firmware manager cannot be reached\n"
      "corvane> show locale\nen_US\ncorvane> \n",
      text);
  EXPECT_EQ(0, code);
}

TEST_F(ShellScriptTest, ConfirmedResetAsksForTheReboot) {
  int code = -1;
  std::string text = session("reset device\nyes\n", code);
  EXPECT_NE(text.find("reboot? (yes/no) yes\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\nOK\n"), std::string::npos) << text;
  EXPECT_EQ("6\n", readFile("/sandbox/calls/telinit"));
}

}  // namespace
