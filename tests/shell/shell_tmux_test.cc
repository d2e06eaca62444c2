// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-shell as an administrator meets it: the simulated appliance runs in this test's
// sandbox, tmux runs the shell, keys are typed with send-keys and the screen is read back with
// capture-pane.

#include <stdio.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace {

std::string sh(std::string const& command) { return corvane::testing::commandOutput(command); }

std::string const kTmux = "tmux -L corvane-shell -f /dev/null ";
std::string const kControl = CORVANE_SIM_PROGRAM " --control ";

int keys(std::string const& k) { return system((kTmux + "send-keys -t cs " + k).c_str()); }

// The whole pane with its scroll-back, trailing blanks and empty rows removed, from the last
// occurrence of `mark` on, once `expect` shows up (or after about ten seconds).
std::string screenWith(std::string const& expect, std::string const& mark = "") {
  std::string screen;
  for (int i = 0; i < 200 && screen.find(expect) == std::string::npos; ++i) {
    if (i > 0) usleep(50000);
    screen = sh(kTmux + "capture-pane -p -S - -t cs | sed -e 's/ *$//' | sed -e '/^$/d'");
  }
  size_t at = mark.empty() ? 0 : screen.rfind(mark);
  return at == std::string::npos ? std::string() : screen.substr(at);
}

TEST(ShellTmuxTest, TypedSessionCompletesListsUpgradesAndLeavesSane) {
  if (system("command -v tmux >/dev/null") != 0) GTEST_SKIP() << "tmux is not installed";
  // Whatever happens below, neither tmux nor the simulator outlives the test.
  struct Cleanup {
    ~Cleanup() { sh(kTmux + "kill-server 2>/dev/null; " + kControl + "quit >/dev/null 2>&1"); }
  } cleanup;
  // The simulated appliance, reporting upgrade progress quickly.
  ASSERT_EQ(0, system(CORVANE_SIM_PROGRAM " --upgrade-step-ms 100 >/dev/null 2>&1 &"));
  for (int i = 0; i < 100 && system((kControl + "status >/dev/null 2>&1").c_str()) != 0; ++i)
    usleep(100000);
  // After the shell ends, the terminal's modes tell whether it was left sane.
  std::string command = "'" CORVANE_SHELL_PROGRAM
                        "; echo \"left: $(stty -a | tr \" \" \"\\n\" | grep -E "
                        "\"^-?(icanon|echo)$\" | tr \"\\n\" \" \")\";"
                        " sleep 60'";
  ASSERT_EQ(0, system((kTmux + "new-session -d -s cs -x 120 -y 50 " + command).c_str()));
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
  // The progress bar grows in place and reaches 100 %; Ctrl-D on an empty line then ends the
  // shell with the terminal back in its cooked modes.
  keys("-l 'upgrade firmware /tmp/corvane-2.1.img'");
  keys("Enter");
  screenWith("complete\ncorvane>");
  keys("C-d");
  EXPECT_EQ(
      "corvane> upgrade firmware /tmp/corvane-2.1.img\n"
      "firmware upgrade [##############################] 100 %\n"
      "firmware upgrade complete\n"
      "corvane>\n"
      "left: icanon echo\n",
      screenWith("left:", "corvane> upgrade"));
}

}  // namespace
