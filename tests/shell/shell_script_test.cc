// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-shell reading commands from a file against the simulated appliance: whole transcripts
// compared, and the effects the appliance records (event log, reboot stand-in's calls).

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
// echoed, as for whatever follows "exit").
using Step = std::pair<char const*, char const*>;

// Feeds `steps` to the shell: its transcript and exit code must be the answers behind the
// echoed commands, then `tail`.
void expectSession(std::vector<Step> const& steps, std::string const& tail) {
  std::string input, expected;
  for (Step const& s : steps) {
    input += std::string(s.first) + "\n";
    if (s.second != nullptr)
      expected += "corvane> " + std::string(s.first, strcspn(s.first, "\n")) + "\n" + s.second;
  }
  corvane::testing::writeFile("/tmp/input", input.c_str());
  EXPECT_EQ(expected + tail, corvane::testing::commandOutput(
                                 CORVANE_SHELL_PROGRAM " </tmp/input 2>&1; echo \"exit $?\""));
}

TEST(ShellScriptTest, CommandsRefusalsUnreachableManagersAndTheReset) {
  system(CORVANE_SIM_PROGRAM " --upgrade-step-ms 50 >/dev/null 2>&1 &");
  for (int i = 0; i < 100 && control("status") != 0; ++i) usleep(100000);
  expectSession(
      {
          {"# a comment", nullptr},
          {"bogus", "unknown command: bogus (try \"help\")\n"},
          {"show interface", "usage: show interface NAME\n"},
          {"set interface eth0 speed 10", "unknown setting speed\n"},
          {"set interface eth1 address 10.9.9.9/24", "eth1: address set\n"},
          {"set interface eth3 address 10.9.9.9/24",
           "eth3: The configuration did not pass validation.\n"},
          {"set interface eth2 mtu 9000", "eth2: mtu set\n"},
          {"clear interface eth2", "eth2: defaults restored\n"},
          // A member can neither be enabled nor carry a VLAN (the reason in the device's
          // language); a duplicate and a missing object are refused with the catalog texts.
          {"create aggregate agg1 eth3", "agg1 created\n"},
          {"set interface eth3 enabled true", "eth3: The configuration did not pass validation.\n"},
          {"create aggregate agg1 eth3", "An object with this name already exists.\n"},
          {"create vlan v10 eth0 10", "v10 created\n"},
          // eth1 as set, eth2 cleared, and both kinds of virtual interface.
          {"show interfaces",
           "NAME       ENABLED  ADDRESS              MTU    MODE           LINK\n"
           "eth0       true     192.168.1.10/24      1500   Auto           up\n"
           "eth1       false    10.9.9.9/24          1500   Auto           down\n"
           "eth2       false    -                    1500   Auto           down\n"
           "eth3       false    -                    1500   Auto           down\n"
           "v10        true     vlan\n"
           "agg1       true     aggregate\n"},
          {"set locale de_DE", "locale de_DE\n"},
          {"create vlan vlan10 eth3 10",
           "Die Konfiguration hat die Prüfung nicht bestanden.\n  sub-interface: Die Schnittstelle "
           "eth3 kann kein VLAN tragen, weil sie Mitglied der Aggregatschnittstelle agg1 ist.\n"},
          {"set locale en_US", "locale en_US\n"},
          {"delete aggregate agg1", "agg1 deleted\n"},
          {"delete aggregate agg1", "The object does not exist.\n"},
          {"set dns 10.0.0.53 10.0.0.54", "name servers set\n"},
          {"show dns", "name servers:   10.0.0.53 10.0.0.54\nsearch domains: \n"},
          {"set host 10.0.0.7 backup bk", "10.0.0.7: names set\n"},
          {"show hosts", "10.0.0.7                                 backup bk\n"},
          {"delete host 10.0.0.7", "10.0.0.7: removed\n"},
          {"delete host 10.0.0.7", "10.0.0.7: not in the table\n"},
          // A password is read from the next line and shown as stars.
          {"create user bob\nsecret", "password: ******\nbob created\n"},
          {"create user bob\nx", "password: *\nbob: the user manager answered 1\n"},
          {"delete user bob", "bob deleted\n"},
          {"delete user admin", "admin: the user manager answered 1\n"},
          {"show users", "  admin\n"},
          // Level and mask names come from the process manager's tables.
          {"set logging loud", "unknown level loud\n"},
          {"set logging info bogus", "unknown trace category bogus\n"},
          {"set logging debug commands+raid", "log level debug sent to every manager\n"},
          {"show logging", "log level: debug\ntrace mask:\n  commands\n  raid\n"},
          {"reset device\nno",
           "Reset the appliance to its factory settings and reboot? (yes/no) no\n"
           "reset cancelled\n"},
          {"exit", "\n"},
          {"show locale", nullptr},
      },
      "exit 0\n");
  EXPECT_NE(readFile("/var/log/corvane-sim.log").find("setLogging level 7 mask 0x00000101"),
            std::string::npos);
  EXPECT_EQ(0, control("fault configmgr=down"));
  EXPECT_EQ(0, control("fault firmwaremgr=down"));
  expectSession({{"show interfaces", "The configuration manager cannot be reached.\n"},
                 {"create vlan v1 eth0 5", "The configuration manager cannot be reached.\n"},
                 {"upgrade firmware /tmp/i", "the firmware manager cannot be reached\n"},
                 {"show locale", "en_US\n"}},
                "corvane> \nexit 0\n");
  control("clear");
  // Confirmed, the reset empties /var/log and asks for the reboot ("telinit 6"), which here
  // brings the simulated managers back to their starting state.
  corvane::testing::setStandInScript("telinit",
                                     "exec " CORVANE_SIM_PROGRAM " --control reboot >/dev/null\n");
  expectSession({{"reset device\nyes",
                  "Reset the appliance to its factory settings and reboot? (yes/no) yes\n"
                  "The appliance configuration has been reset to the factory defaults.\nOK\n"},
                 {"show logging", "log level: info\ntrace mask:\n  none\n"}},
                "corvane> \nexit 0\n");
  EXPECT_EQ("6\n", readFile("/sandbox/calls/telinit"));
  control("quit");
}

}  // namespace
