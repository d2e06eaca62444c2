// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The line editor as a person meets it: tmux runs the editor loop program, keys are typed
// with send-keys and the screen is read back with capture-pane.

#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace {

std::string const kTmux = "tmux -L corvane-editor -f /dev/null ";

// Screen rows without trailing blanks and empty rows, once `expect` shows up.
std::string screenWith(std::string const& expect) {
  std::string screen;
  for (int i = 0; i < 100 && screen.find(expect) == std::string::npos; ++i, usleep(50000))
    screen = corvane::testing::commandOutput(kTmux +
                                             "capture-pane -p -t ed | sed -e 's/ *$//' -e '/^$/d'");
  return screen;
}

TEST(EditorTmuxTest, TypedLinesEditHistoryAndCompletion) {
  if (system("command -v tmux >/dev/null") != 0) GTEST_SKIP() << "tmux is not installed";
  ASSERT_EQ(0, system((kTmux + "new-session -d -s ed -x 40 -y 10 " TEXTUI_EDITOR_LOOP).c_str()));
  screenWith("cv>");
  // A typo fixed with Ctrl-T after arrow keys, and Enter; then the candidates in columns under
  // the line, which is shown again: the terminal's width decides the columns.
  EXPECT_EQ(
      0,
      system((kTmux + "send-keys -t ed 'sohw all' C-a Right Right C-t C-e Enter x M-?").c_str()));
  EXPECT_EQ(
      "cv> show all\n"
      "got [show all]\n"
      "cv> x\n"
      "show      set\n"
      "shutdown  save\n"
      "cv> x\n",
      screenWith("shutdown  save\ncv> x"));
  corvane::testing::commandOutput(kTmux + "kill-server 2>/dev/null");
}

}  // namespace
