// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-shell: the appliance's command shell. The command table, the completion of command
// words and object names, and the commands themselves, all carried out through libcorvane.

#ifndef CORVANE_SHELL_SHELL_H
#define CORVANE_SHELL_SHELL_H

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "corvane/editor.h"

namespace corvane {
namespace shell {

using Words = std::vector<std::string>;

/// What an argument of a command names; drives completion.
enum class Arg {
  kText,       // free text, no completion
  kEthernet,   // an ethernet interface
  kVlan,       // a VLAN interface
  kAggregate,  // an aggregate interface
  kField,      // an interface setting
  kValue,      // the value of the setting named before it
  kUser,       // a user account
  kLevel,      // a log level name
  kMask,       // trace mask names joined by "+"
  kLocale,     // a locale the bundle has texts for
  kHost,       // an address of the host table
};

class Shell;

/// One command: its fixed words, its arguments (the last one repeats when `variadic`), the
/// number of arguments it needs, their usage text and the member function that carries it out.
struct Command {
  Words words;
  std::vector<Arg> args;
  size_t required;
  bool variadic;
  char const* params;  ///< the arguments as usage shows them
  char const* help;
  void (Shell::*run)(Words const& args);
};

/// Reads a yes-or-no answer or a secret; the terminal and the line-by-line reader differ.
class Prompter {
 public:
  virtual ~Prompter() = default;
  /// One line after `prompt`; false at end of input.
  virtual bool ask(std::string const& prompt, bool secret, std::string& answer) = 0;
};

/// The commands and their completion. One shell per thread; output goes to `out`.
class Shell {
 public:
  Shell(FILE* out, bool terminal, Prompter& prompter);
  ~Shell();

  /// Carries out one command line. Never throws: every failure is reported on `out`. Returns
  /// false when the line asks to leave the shell.
  bool execute(std::string const& line);

  /// Candidates for the last word of `line` (complete words before it, `partial` being typed);
  /// only those that begin with `partial`, in table order, without duplicates.
  Words candidates(std::string const& line, std::string const& partial) const;

  static std::vector<Command> const& commands();

  // The commands, in table order.
  void help(Words const& args);
  void showInterfaces(Words const& args);
  void showInterface(Words const& args);
  void setInterface(Words const& args);
  void clearInterface(Words const& args);
  void createVlan(Words const& args);
  void deleteVlan(Words const& args);
  void createAggregate(Words const& args);
  void deleteAggregate(Words const& args);
  void showDns(Words const& args);
  void setDns(Words const& args);
  void setSearch(Words const& args);
  void showNtp(Words const& args);
  void setNtp(Words const& args);
  void showHosts(Words const& args);
  void setHost(Words const& args);
  void deleteHost(Words const& args);
  void showNodename(Words const& args);
  void setNodename(Words const& args);
  void showHealth(Words const& args);
  void showUsers(Words const& args);
  void createUser(Words const& args);
  void deleteUser(Words const& args);
  void setPassword(Words const& args);
  void showLogging(Words const& args);
  void setLogging(Words const& args);
  void showLocale(Words const& args);
  void setLocale(Words const& args);
  void upgradeFirmware(Words const& args);
  void resetDevice(Words const& args);
  void exitShell(Words const& args);

 private:
  void print(char const* format, ...) __attribute__((format(printf, 2, 3)));
  /// The catalog text of `id` (without "@") in the device locale.
  static std::string text(std::string const& id);
  /// Reports a configuration manager result code other than success.
  void reportCode(int rc);
  /// Creates or deletes an interface object, reporting refusals with their reasons.
  void createObject(char const* type, std::string const& name, void* value);
  void deleteObject(char const* type, std::string const& name);
  Words objectNames(char const* type) const;

  FILE* mOut;
  bool mTerminal;
  Prompter& mPrompter;
  bool mLeave;
};

/// The line editor with the shell's completion: TAB completes, Escape-? lists.
class ShellEditor : public textui::Editor {
 public:
  /// Takes ownership of `base`.
  ShellEditor(textui::io::Base* base, Shell const& shell) : Editor(base, 0), mShell(shell) {}
  std::vector<std::string>* GetCompletions() override;
  int Complete(std::string& word) override;

 private:
  /// The line up to the point, and the word being typed at its end.
  void split(std::string& before, std::string& partial) const;
  Shell const& mShell;
};

}  // namespace shell
}  // namespace corvane

#endif  // CORVANE_SHELL_SHELL_H
