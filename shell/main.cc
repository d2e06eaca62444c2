// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-shell's main loop: the line editor on a terminal, plain lines otherwise (each
// command echoed after the prompt, so that a transcript reads like a session).

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include "corvane/log.h"
#include "shell.h"

namespace {

using corvane::shell::Shell;
using corvane::shell::ShellEditor;
using corvane::textui::Editor;

char const kPrompt[] = "corvane> ";

// Questions on the terminal: a separate editor, so that answers and secrets stay out of the
// command history.
class TerminalPrompter : public corvane::shell::Prompter {
 public:
  bool ask(std::string const& prompt, bool secret, std::string& answer) override {
    std::unique_ptr<Editor> editor(Editor::FromTTY(dup(0), dup(1), 0));
    editor->SetPrompt(prompt);
    editor->SetNoEcho(secret);
    bool got = editor->get(answer);
    fputs("\r\n", stdout);
    fflush(stdout);
    return got;
  }
};

// Questions in a transcript: the next input line, echoed like a command (secrets as stars).
class LinePrompter : public corvane::shell::Prompter {
 public:
  bool ask(std::string const& prompt, bool secret, std::string& answer) override {
    if (!std::getline(std::cin, answer)) return false;
    std::string shown = secret ? std::string(answer.size(), '*') : answer;
    printf("%s%s\n", prompt.c_str(), shown.c_str());
    fflush(stdout);
    return true;
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    fprintf(stderr,
            "usage: %s\n"
            "The appliance's command shell; type \"help\" for the commands. Reads commands\n"
            "from standard input when it is not a terminal.\n",
            argv[0]);
    return 2;
  }
  corvane::log::init("corvane-shell", false);
  if (isatty(0) && isatty(1)) {
    TerminalPrompter prompter;
    Shell shell(stdout, true, prompter);
    // The editor owns (and closes) its descriptors: give it copies.
    ShellEditor editor(new corvane::textui::io::tty(dup(0), dup(1)), shell);
    editor.SetPrompt(kPrompt);
    std::string line;
    while (editor.get(line)) {
      fputs("\r\n", stdout);
      fflush(stdout);
      if (!shell.execute(line)) break;
    }
    fputs("\r\n", stdout);
    return 0;
  }
  LinePrompter prompter;
  Shell shell(stdout, false, prompter);
  std::string line;
  while (true) {
    if (!std::getline(std::cin, line)) {
      fputs(kPrompt, stdout);
      break;
    }
    // Comment lines of a script are not part of the session.
    if (line.compare(0, 1, "#") == 0) continue;
    printf("%s", kPrompt);
    printf("%s\n", line.c_str());
    fflush(stdout);
    if (!shell.execute(line)) break;
  }
  fputs("\n", stdout);
  return 0;
}
