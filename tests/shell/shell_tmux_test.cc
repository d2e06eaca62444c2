// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-shell as an administrator meets it: the simulated appliance runs in this test's
// sandbox, tmux runs the shell, keys are typed with send-keys and the screen is read back with
// capture-pane.

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace {

std::string sh(std::string const& command) { return corvane::testing::commandOutput(command); }

std::string const kTmux = "tmux -L corvane-shell -f /dev/null ";

int keys(std::string const& k) { return system((kTmux + "send-keys -t cs " + k).c_str()); }

// The whole pane with its scroll-back, trailing blanks and empty rows removed, once `expect`
// shows up (or after about ten seconds).
std::string screenWith(std::string const& expect) {
  std::string screen;
  for (int i = 0; i < 200; ++i) {
    screen = sh(kTmux + "capture-pane -p -S - -t cs | sed -e 's/ *$//' | sed -e '/^$/d'");
    if (screen.find(expect) != std::string::npos) break;
    usleep(50000);
  }
  return screen;
}

// What follows the last occurrence of `mark` on the screen.
std::string after(std::string const& screen, std::string const& mark) {
  size_t at = screen.rfind(mark);
  return at == std::string::npos ? std::string() : screen.substr(at);
}

class ShellTmuxTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (system("command -v tmux >/dev/null") != 0) GTEST_SKIP() << "tmux is not installed";
    // The simulated appliance, reporting upgrade progress quickly.
    mSim = fork();
    if (mSim == 0) {
      int null = open("/dev/null", O_WRONLY);
      dup2(null, 1);
      dup2(null, 2);
      execl(CORVANE_SIM_PROGRAM, CORVANE_SIM_PROGRAM, "--upgrade-step-ms", "100", nullptr);
      _exit(127);
    }
    ASSERT_GT(mSim, 0);
    bool ready = false;
    for (int i = 0; i < 100 && !ready; ++i) {
      ready = system(CORVANE_SIM_PROGRAM " --control status >/dev/null 2>&1") == 0;
      if (!ready) usleep(100000);
    }
    ASSERT_TRUE(ready) << "corvane-sim did not start";
    // After the shell ends, the terminal's modes tell whether it was left sane.
    std::string command = "'" CORVANE_SHELL_PROGRAM
                          "; echo \"left: $(stty -a | tr \" \" \"\\n\" | grep -E "
                          "\"^-?(icanon|echo)$\" | tr \"\\n\" \" \")\";"
                          " sleep 60'";
    ASSERT_EQ(0, system((kTmux + "new-session -d -s cs -x 120 -y 50 " + command).c_str()));
  }
  void TearDown() override {
    sh(kTmux + "kill-server 2>/dev/null");
    if (mSim > 0) {
      kill(mSim, SIGTERM);
      waitpid(mSim, nullptr, 0);
    }
  }
  pid_t mSim = -1;
};

TEST_F(ShellTmuxTest, TypedSessionCompletesRefusesInTwoLanguagesUpgradesAndLeavesSane) {
  screenWith("corvane>");
  // Command words by TAB ("interface" is shared with "interfaces"), names listed by Escape-?.
  keys("-l 'sh'");
  keys("Tab");
  keys("-l inter");
  keys("Tab");
  keys("-l ' eth'");
  keys("M-?");
  std::string listing = screenWith("eth3\ncorvane> show interface eth");
  EXPECT_NE(listing.find("corvane> show interface eth\neth0  eth1  eth2  eth3\n"
                         "corvane> show interface eth"),
            std::string::npos)
      << listing;
  keys("-l 0");
  keys("Enter");
  EXPECT_NE(screenWith("DADRetransmitTimer").find("  IPAddress            192.168.1.10/24\n"),
            std::string::npos);

  // A VLAN on an aggregate member is refused with the validator's reason.
  keys("-l 'create aggregate agg0 eth1 eth2'");
  keys("Enter");
  keys("-l 'create vlan vlan10 eth1 10'");
  keys("Enter");
  std::string english = after(screenWith("agg0.\ncorvane>"), "corvane> create vlan");
  EXPECT_EQ(
      "corvane> create vlan vlan10 eth1 10\n"
      "The configuration did not pass validation.\n"
      "  sub-interface: The interface eth1 cannot carry a VLAN because it is a member of the "
      "aggregate interface agg0.\n"
      "corvane>\n",
      english);

  // In German, the same command found again with the history search.
  keys("-l 'set locale de_DE'");
  keys("Enter");
  keys("C-r");
  keys("-l 'eth1 10'");
  keys("Enter");
  screenWith("locale de_DE\ncorvane> create vlan vlan10 eth1 10");
  keys("Enter");
  std::string german = after(screenWith("agg0 ist.\ncorvane>"), "corvane> create vlan");
  EXPECT_EQ(
      "corvane> create vlan vlan10 eth1 10\n"
      "Die Konfiguration hat die Prüfung nicht bestanden.\n"
      "  sub-interface: Die Schnittstelle eth1 kann kein VLAN tragen, weil sie Mitglied der "
      "Aggregatschnittstelle agg0 ist.\n"
      "corvane>\n",
      german);

  // The progress bar grows in place and reaches 100 %.
  keys("-l 'upgrade firmware /tmp/corvane-2.1.img'");
  keys("Enter");
  std::string upgrade = after(screenWith("complete\ncorvane>"), "corvane> upgrade");
  EXPECT_EQ(
      "corvane> upgrade firmware /tmp/corvane-2.1.img\n"
      "firmware upgrade [##############################] 100 %\n"
      "firmware upgrade complete\n"
      "corvane>\n",
      upgrade);

  // Ctrl-D on an empty line ends the shell with the terminal back in its cooked modes.
  keys("C-d");
  EXPECT_NE(screenWith("left:").find("firmware upgrade complete\ncorvane>\nleft: icanon echo\n"),
            std::string::npos)
      << screenWith("left:");
}

}  // namespace
