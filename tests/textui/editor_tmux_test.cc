// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The line editor as a person meets it: tmux runs the editor loop program, keys are typed
// with send-keys and the screen is read back with capture-pane.

#include <stdio.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace {

std::string sh(std::string const& command) { return corvane::testing::commandOutput(command); }

std::string const kTmux = "tmux -L corvane-editor -f /dev/null ";

// Screen rows with trailing blanks and empty rows removed, once `expect` shows up.
std::string screenWith(std::string const& expect) {
  std::string screen;
  for (int i = 0; i < 100; ++i) {
    screen = sh(kTmux + "capture-pane -p -t ed | sed -e 's/ *$//' | sed -e '/^$/d'");
    if (screen.find(expect) != std::string::npos) break;
    usleep(50000);
  }
  return screen;
}

TEST(EditorTmuxTest, TypedLinesEditHistoryAndCompletion) {
  if (system("command -v tmux >/dev/null") != 0) GTEST_SKIP() << "tmux is not installed";
  ASSERT_EQ(0, system((kTmux + "new-session -d -s ed -x 40 -y 10 " TEXTUI_EDITOR_LOOP).c_str()));
  auto keys = [](std::string const& k) { return system((kTmux + "send-keys -t ed " + k).c_str()); };
  screenWith("cv>");
  // A typo fixed with Ctrl-T, a word jump, and Enter.
  keys("-l 'sohw all'");
  keys("C-a Right Right C-t C-e Enter");
  // Recall it, change the last word with Escape-Backspace and a completion.
  keys("Up M-BSpace");
  keys("-l 'shu'");
  keys("Tab Enter");
  // The candidates in columns under the line, which is shown again.
  keys("-l 'x'");
  keys("M-?");
  std::string screen = screenWith("shutdown  save\ncv> x");
  EXPECT_EQ(
      "cv> show all\n"
      "got [show all]\n"
      "cv> show shutdown\n"
      "got [show shutdown ]\n"
      "cv> x\n"
      "show      set\n"
      "shutdown  save\n"
      "cv> x\n",
      screen);
  sh(kTmux + "kill-server 2>/dev/null");
}

}  // namespace
