// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-shell as an administrator meets it, on the simulated appliance: tmux runs it, keys are
// typed with send-keys and the screen is read back with capture-pane.

#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace {

using corvane::testing::commandOutput;

std::string const kTmux = "tmux -L corvane-shell -f /dev/null ";
std::string const kControl = CORVANE_SIM_PROGRAM " --control ";

// The whole pane with its scroll-back, trailing blanks and empty rows removed, once `expect`
// shows up (or after about ten seconds).
std::string screenWith(std::string const& expect) {
  std::string screen;
  for (int i = 0; i < 200 && screen.find(expect) == std::string::npos; ++i, usleep(50000))
    screen = commandOutput(kTmux + "capture-pane -p -S - -t cs | sed -e 's/ *$//' -e '/^$/d'");
  return screen;
}

TEST(ShellTmuxTest, TypedSessionCompletesListsUpgradesAndLeavesSane) {
  if (system("command -v tmux >/dev/null") != 0) GTEST_SKIP() << "tmux is not installed";
  // Whatever happens below, neither tmux nor the simulator outlives the test.
  struct Cleanup {
    ~Cleanup() { commandOutput(kTmux + "kill-server 2>/dev/null; " + kControl + "quit 2>&1"); }
  } cleanup;
  // The simulator reports upgrade progress quickly; after the shell ends, the terminal's modes
  // tell whether it was left sane.
  std::string command =
      "'" CORVANE_SIM_PROGRAM " --upgrade-step-ms 100 >/dev/null 2>&1 & until " + kControl +
      "status >/dev/null 2>&1; do sleep 0.1; done; " + CORVANE_SHELL_PROGRAM +
      "; echo left: $(stty -a | grep -ow -e \"-\\?icanon\" -e \"-\\?echo\"); sleep 60'";
  ASSERT_EQ(0, system((kTmux + "new-session -d -s cs -x 120 -y 50 " + command).c_str()));
  // Command words by TAB ("interface" is shared with "interfaces"), names listed by Escape-?;
  // the progress bar grows in place; Ctrl-D on an empty line ends the shell.
  std::pair<char const*, char const*> const steps[] = {
      {"", "corvane>"},
      {"sh Tab inter Tab ' eth' M-?", "eth3\ncorvane> show"},
      {"0 Enter", "DADRetransmitTimer"},
      {"'upgrade firmware /tmp/corvane-2.1.img' Enter", "complete\ncorvane>"},
      {"C-d", "left:"}};
  std::string screen;
  for (auto const& step : steps) {
    EXPECT_EQ(0, system((kTmux + "send-keys -t cs " + step.first).c_str()));
    screen = screenWith(step.second);
  }
  EXPECT_NE(screen.find("corvane> show interface eth\neth0  eth1  eth2  eth3\n"
                        "corvane> show interface eth0\n  name                 eth0\n"),
            std::string::npos)
      << screen;
  EXPECT_NE(screen.find("corvane> upgrade firmware /tmp/corvane-2.1.img\n"
                        "firmware upgrade [##############################] 100 %\n"
                        "firmware upgrade complete\n"
                        "corvane>\n"
                        "left: icanon echo\n"),
            std::string::npos)
      << screen;
}

}  // namespace
