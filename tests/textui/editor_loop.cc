// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// A tiny shell over the line editor on standard input and output, for driving it the way a
// person would (under tmux). Echoes each line as "got [line]"; lists a fixed set of words.

#include <unistd.h>

#include <string>
#include <vector>

#include "corvane/editor.h"

namespace {

std::vector<std::string> const kWords = {"show", "shutdown", "set", "save"};

class Shell : public corvane::textui::Editor {
 public:
  using Editor::Editor;
  std::vector<std::string>* GetCompletions() override {
    return new std::vector<std::string>(kWords);
  }
};

}  // namespace

int main() {
  Shell shell(new corvane::textui::io::tty(dup(0), dup(1)), 0);
  shell.SetPrompt("cv> ");
  std::string line;
  while (shell.get(line)) {
    std::string echo = "got [" + line + "]\r\n";
    if (write(1, echo.data(), echo.size()) < 0) return 1;
  }
  return 0;
}
