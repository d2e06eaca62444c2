// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-shell reading commands line by line (not a terminal) against the simulated
// appliance in this test's sandbox: whole transcripts compared, and the effects checked where
// the appliance records them (the simulator's event log, the reboot stand-in's calls).

#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace {

using corvane::testing::readFile;

int control(std::string const& command) {
  return system((CORVANE_SIM_PROGRAM " --control " + command + " >/dev/null 2>&1").c_str());
}

// A command with the lines it reads after it, and the shell's answer (null: the line is not
// echoed, as for comments and whatever follows "exit").
struct Step {
  char const* input;
  char const* answer;
};

// The shell's transcript for `steps` fed on its standard input, and its exit code behind.
std::string session(std::vector<Step> const& steps, std::string* expected) {
  std::string input;
  for (Step const& s : steps) {
    input += std::string(s.input) + "\n";
    if (s.answer != nullptr)
      *expected += "corvane> " + std::string(s.input, strcspn(s.input, "\n")) + "\n" + s.answer;
  }
  corvane::testing::writeFile("/tmp/input", input.c_str());
  return corvane::testing::commandOutput(CORVANE_SHELL_PROGRAM
                                         " </tmp/input 2>&1; echo \"exit $?\"");
}

class ShellScriptTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    system(CORVANE_SIM_PROGRAM " --upgrade-step-ms 50 >/dev/null 2>&1 &");
    for (int i = 0; i < 100 && control("status") != 0; ++i) usleep(100000);
  }
  static void TearDownTestSuite() { control("quit"); }
};

// An interface record as "show interface" lists it, with `middle` between its fixed rows.
std::string record(std::string const& middle) {
  return "  name                 eth2\n  userdata             -\n  enabled              false\n" +
         middle +
         "  UseARP               true\n  UseDHCP              false\n  Mode                 Auto\n"
         "  UseIPv6              false\n  UseSLAAC             false\n  DADTransmits         1\n"
         "  DADRetransmitTimer   1000\n";
}

TEST_F(ShellScriptTest, SessionOfCommandsAndTheirRefusals) {
  std::string const shown =
      record("  IPAddress            10.9.9.9/24\n  MTU                  9000\n");
  std::string const cleared = record("  MTU                  1500\n");
  std::string expected;
  std::string const text = session(
      {
          // Mistakes are answered and the shell carries on; comments are not part of it.
          {"# a comment", nullptr},
          {"bogus", "unknown command: bogus (try \"help\")\n"},
          {"show interface", "usage: show interface NAME\n"},
          {"set interface eth0 speed 10", "unknown setting speed\n"},
          {"show locale", "en_US\n"},
          // An interface record set, shown and reset to its defaults.
          {"set interface eth2 mtu 9000", "eth2: mtu set\n"},
          {"set interface eth2 address 10.9.9.9/24", "eth2: address set\n"},
          {"show interface eth2", shown.c_str()},
          {"clear interface eth2", "eth2: defaults restored\n"},
          {"show interface eth2", cleared.c_str()},
          // A member can neither be enabled nor carry a VLAN (the reason in the device's
          // language); a duplicate and a missing object are refused with the catalog texts.
          {"create aggregate agg1 eth3", "agg1 created\n"},
          {"set interface eth3 enabled true", "eth3: The configuration did not pass validation.\n"},
          {"create aggregate agg1 eth3", "An object with this name already exists.\n"},
          {"set locale de_DE", "locale de_DE\n"},
          {"create vlan vlan10 eth3 10",
           "Die Konfiguration hat die Prüfung nicht bestanden.\n  sub-interface: Die Schnittstelle "
           "eth3 kann kein VLAN tragen, weil sie Mitglied der Aggregatschnittstelle agg1 ist.\n"},
          {"set locale en_US", "locale en_US\n"},
          {"delete aggregate agg1", "agg1 deleted\n"},
          {"delete aggregate agg1", "The object does not exist.\n"},
          {"delete vlan none", "The object does not exist.\n"},
          // Settings kept by the managers read back as set.
          {"set dns 10.0.0.53 10.0.0.54", "name servers set\n"},
          {"set search example.com", "search domains set\n"},
          {"show dns", "name servers:   10.0.0.53 10.0.0.54\nsearch domains: example.com\n"},
          {"set ntp ntp1.example", "time servers set\n"},
          {"show ntp", "time servers: ntp1.example\n"},
          {"set host 10.0.0.7 backup bk", "10.0.0.7: names set\n"},
          {"show hosts", "10.0.0.7                                 backup bk\n"},
          {"delete host 10.0.0.7", "10.0.0.7: removed\n"},
          {"delete host 10.0.0.7", "10.0.0.7: not in the table\n"},
          // A password is read from the next line and shown as stars.
          {"create user bob\nsecret", "password: ******\nbob created\n"},
          {"show users", "  admin\n  bob\n"},
          {"delete user bob", "bob deleted\n"},
          {"show users", "  admin\n"},
          // Level and mask names come from the process manager's tables.
          {"set logging loud", "unknown level loud\n"},
          {"set logging info bogus", "unknown trace category bogus\n"},
          {"set logging debug commands+raid", "log level debug sent to every manager\n"},
          {"show logging", "log level: debug\ntrace mask:\n  commands\n  raid\n"},
          // Progress reports reach the shell through its callback server.
          {"upgrade firmware /tmp/image",
           "firmware upgrade [######                        ]  20 %\n"
           "firmware upgrade [############                  ]  40 %\n"
           "firmware upgrade [##################            ]  60 %\n"
           "firmware upgrade [########################      ]  80 %\n"
           "firmware upgrade [##############################] 100 %\n"
           "firmware upgrade complete\n"},
          // The device reset does nothing unless confirmed; "exit" ends the session.
          {"reset device\nno",
           "Reset the appliance to its factory settings and reboot? (yes/no) no\n"
           "reset cancelled\n"},
          {"exit", "\n"},
          {"show locale", nullptr},
      },
      &expected);
  EXPECT_EQ(expected + "exit 0\n", text);
  EXPECT_NE(readFile("/var/log/corvane-sim.log").find("setLogging level 7 mask 0x00000101"),
            std::string::npos);
}

TEST_F(ShellScriptTest, UnreachableManagerIsReportedAndTheShellCarriesOn) {
  ASSERT_EQ(0, control("fault configmgr=down"));
  ASSERT_EQ(0, control("fault firmwaremgr=down"));
  std::string expected;
  std::string const text =
      session({{"show interfaces", "The configuration manager cannot be reached.\n"},
               {"create vlan v1 eth0 5", "The configuration manager cannot be reached.\n"},
               {"upgrade firmware /tmp/i", "the firmware manager cannot be reached\n"},
               {"show locale", "en_US\n"}},
              &expected);
  control("clear");
  EXPECT_EQ(expected + "corvane> \nexit 0\n", text);
}

TEST_F(ShellScriptTest, ConfirmedResetAsksForTheReboot) {
  std::string expected;
  std::string const text = session({{"reset device\nyes", nullptr}}, &expected);
  EXPECT_NE(text.find("reboot? (yes/no) yes\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\nOK\n"), std::string::npos) << text;
  EXPECT_EQ("6\n", readFile("/sandbox/calls/telinit"));
}

}  // namespace
