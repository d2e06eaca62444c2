// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Line editor fed scripted keystrokes through a pipe: the exact bytes it wrote, the returned
// lines and the terminal modes it set. (The real terminal is met in the tmux test.)

#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "corvane/editor.h"
#include "sandbox.h"

namespace corvane {
namespace textui {
namespace {

// The modes of a fresh pseudo-terminal: cooked, with the usual special characters.
termios cooked() {
  int master, slave;
  termios mode{};
  if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("no pty");
  tcgetattr(slave, &mode);
  close(master);
  close(slave);
  return mode;
}

// A terminal whose keys come from a pipe and whose screen and modes are kept in memory.
struct Tty : io::Base {
  std::string screen;
  std::vector<termios> modes{cooked()};
  int cols;
  Tty(int in, int columns) : io::Base(in, -1), cols(columns) {}
  int Write(unsigned char const* data, int count) override {
    screen.append(reinterpret_cast<char const*>(data), count);
    return count;
  }
  bool SetMode(termios const* mode) override {
    modes.push_back(*mode);
    return true;
  }
  bool GetMode(termios* mode) const override {
    *mode = modes.back();
    return true;
  }
  bool GetSize(int&, int& columns) const override {
    columns = cols;
    return true;
  }
  // Back in the first mode after a raw one for every `get`.
  bool restored() const {
    return modes.size() % 2 == 1 && memcmp(&modes.back(), &modes[0], sizeof(termios)) == 0;
  }
};

// `keys` already typed, then the end of input.
Tty* typed(std::string const& keys, int cols = 80) {
  int fds[2];
  if (pipe(fds) != 0 || write(fds[1], keys.data(), keys.size()) != ssize_t(keys.size()))
    throw std::runtime_error("no pipe");
  close(fds[1]);
  return new Tty(fds[0], cols);
}

std::vector<std::string> const kItems = {"ab", "cd", "ce", "my dir x"};

// An editor whose hooks list `kItems` (nothing for an empty line, a failure for the line "!")
// and complete a prefix of exactly one of them.
class Shell : public Editor {
 public:
  Shell(Tty* tty, int flags) : Editor(tty, flags) { SetPrompt("> "); }
  Tty& tty() { return *static_cast<Tty*>(IO()); }
  std::vector<std::string>* GetCompletions() override {
    if (Line() == "!") throw std::runtime_error("hook failed");
    return Line().empty() ? nullptr : new std::vector<std::string>(kItems);
  }
  int Complete(std::string& word) override {
    auto starts = [&](std::string const& w) { return w.compare(0, word.size(), word) == 0; };
    int n = static_cast<int>(std::count_if(kItems.begin(), kItems.end(), starts));
    word = n == 1 ? std::find_if(kItems.begin(), kItems.end(), starts)->substr(word.size()) : "";
    return n;
  }
};

std::string rep(char c, int n) { return std::string(n, c); }
std::string const B3 = "\b\b\b", B4 = B3 + "\b", B5 = B4 + "\b", B6 = B5 + "\b", B7 = B6 + "\b";

// clang-format off
TEST(EditorTest, KeysEditTheLineAndEchoExactly) {
  std::string const search = "> \b\b  \b\bSearch: ";
  struct {
    char const* name;
    std::string keys;         // lines for successive `get` calls
    std::string line, bytes;  // result of the last one ("*": bytes not compared)
    int flags = 0, cols = 80;
    bool noEcho = false;
  } const cases[] = {
      {"line ends", "ab cd\1\6Z\5!\r", "aZb cd!", "> ab cd" + B5 + "aZb cd" + B4 + "b cd!\r\n"},
      {"words", "foo bar-baz\033b\033b\033fX\r", "foo barX-baz", "> foo bar-baz" + B7 + "barX-baz" + B4 + "-baz\r\n"},
      {"to char", "a,b,c\1\35,\35,Q\r", "a,bQ,c", "> a,b,c" + B5 + "a,bQ,c\b\b,c\r\n"},
      {"exchange", "abc\033 \1\30X\r", "abcX", "> abc" + B3 + "abcX\r\n"},
      {"redisplay", "ab\2\14\r", "ab", "> ab\bb\r\n> ab\bb\r\n"},
      {"caret, quote", "a\26\1\26\177\2\r", "a\1\177", "> a^A^?\b\b^?\r\n"},
      {"no echo", "pw\2\26\1\r", "p\1w", "> **\b**\b*\r\n", 0, 80, true},
      {"wraps at the width", "abcdefgh\2X\r", "abcdefgXh", "> abcdefgh \b\r\033[1A\033[9CXh\bh\r\n", 0, 10},
      {"kill line, yank", "hello world\033b\13\1\31\r", "worldhello ",
       "> hello world" + B5 + "     " + B5 + B6 + "worldhello " + B6 + "hello \r\n"},
      {"kill character", "abc def\25xy\r", "xy", "> abc def" + B7 + "       " + B7 + "xy\r\n"},
      {"backward words", "one two three\033\177\033\10\31\r", "one two ",
       "> one two three" + B5 + "     " + B5 + B4 + "    " + B4 + "two \r\n"},
      {"delete word, chars", "abc def\1\033d\4\177Z\r", "Zdef",
       "> abc def" + B7 + " def   " + B7 + "def " + B4 + "Zdef" + B3 + "def\r\n"},
      {"wipe region", "abcdef\2\2\033 \1\27\5\31\r", "efabcd", "> abcdef" + B6 + "ef    " + B6 + "efabcd\r\n"},
      {"copy region", "ab\033 cd\033w\31\r", "abcdcd", "> abcdcd\r\n"},
      {"up-, downcase", "hello WORLD\1\033u\033l\r", "HELLO world", "> hello WORLD" + rep('\b', 11) + "HELLO world\r\n"},
      {"no word left", "abc \033u\r", "abc ", "> abc \a\r\n"},
      {"transpose at start, end, inside", "abcd\1\24\5\24\2\2\24\r", "adbc", "> abcd" + B4 + "\aabcd\b\bdc" + B3 + "dbc\r\n"},
      {"counts insert, delete", "\0333x\1\0332\4\r", "x", "> xxx" + B3 + "x  " + B3 + "x\r\n"},
      {"erase, then no count", "abcd\0332\177x\r", "abx", "> abcd\b\b  \b\bx\r\n"},
      {"unbound, unknown", "\033z\033[Zq\r", "q", "> \a\aq\r\n"},
      {"meta characters", "ab\1\346X\26\341\r", "abX\341", "> ab\b\babXMa\r\n", 1},
      {"arrows, delete key", "abc\033[D\033ODX\033[C\1\033[3~\r", "Xbc", "> abc\b\bXbc\b\bb" + B3 + "Xbc " + B4 + "Xbc\r\n"},
      {"flag 4: no arrows", "ab\033b\033[D\r", "Dab", "*", 4},
      {"list, a row more when filled (deliberate)", "x\033?\r", "x", "> x\r\nab        my dir x\r\ncd\r\nce\r\n> x\r\n", 0, 22},
      {"nothing to list", "\033?\r", "", "> \a\r\n"},
      {"unique, quoted", "cd my\\ di\t\r", "cd my\\ dir\\ x ", "> cd my\\ dir\\ x \r\n"},
      {"ambiguous", "c\t\r", "c", "> c\a\r\n"},
      {"none", "z\t\r", "z", "> z\a\r\n"},
      {"no empty lines or repeats", "x\r\rx\ry\rx\r\20\20\20\20\r", "x", "> x\by\bx\a\r\n"},
      {"previous", "one\rtwo\r\033[A\033[A\r", "one", "> two" + B3 + "one\r\n"},
      {"next restores edit", "one\rab\20\16\r", "ab", "> ab\b\bone\b\b\bab \b\r\n"},
      {"first, last", "a\rb\r\033<\033>x\r", "x", "> a\b \bx\r\n"},
      {"last argument", "ls -l /tmp \rcd \033.\r", "cd /tmp", "> cd /tmp\r\n"},
      {"search", "make all\rls\rmake test\r\22mak\r\r", "make test",
       search + "mak" + rep('\b', 11) + rep(' ', 11) + rep('\b', 11) + "> make test\r\n"},
      {"search again", "make all\rls\rmake test\r\22mak\r\22ake\r\r", "make all", "*"},
      {"search fails", "ls\r\22zz\r\r", "", search + "zz" + rep('\b', 10) + rep(' ', 10) + rep('\b', 10) + "\a> \r\n"},
  };
  for (auto const& c : cases) {
    Shell ed(typed(c.keys, c.cols), c.flags);
    ed.SetNoEcho(c.noEcho);
    std::pair<std::string, std::string> last;  // the last line `get` returned, and its bytes
    std::string line;
    for (ed.tty().screen.clear(); ed.get(line); ed.tty().screen.clear())
      last = {line, ed.tty().screen};
    EXPECT_EQ(c.line, last.first) << c.name;
    EXPECT_TRUE(c.bytes == "*" || c.bytes == last.second) << c.name << ": " << ::testing::PrintToString(last.second);
    EXPECT_TRUE(ed.tty().restored()) << c.name;
  }
}

// clang-format on

TEST(EditorTest, HistoryAndLinesStopGrowingAtTheirLimits) {
  std::string keys, line;
  for (int i = 0; i < Editor::kHistorySize + 5; ++i) keys += "l" + std::to_string(i) + "\r";
  Shell full(typed(keys), 0);
  for (int i = 0; i < Editor::kHistorySize + 5; ++i) full.get(line);
  ASSERT_EQ(size_t(Editor::kHistorySize), full.History().size());
  EXPECT_EQ("l5", full.History().front());
  // Each line repeats the previous line's last argument six times (unbounded, the last would
  // hold 2 * 6^9 bytes); past the limit a line keeps what fitted and beeps for each refusal.
  keys = "ab\r";
  for (int i = 0; i < 9; ++i) keys += "\033.\033.\033.\033.\033.\033.\r";
  Shell ed(typed(keys), 0);
  std::vector<size_t> sizes;
  while (ed.get(line)) sizes.push_back(line.size());
  std::vector<size_t> expected{2};
  while (expected.size() < 10) expected.push_back(std::min<size_t>(6 * expected.back(), 559872));
  EXPECT_EQ(expected, sizes);
  EXPECT_EQ(2 * 5, std::count(ed.tty().screen.begin(), ed.tty().screen.end(), '\a'));
}

int sRaised;  // the signals caught, as the digit pairs of one number
void record(int sig) { sRaised = sRaised * 100 + sig; }

TEST(EditorTest, EveryWayOutRestoresTheModeAndLeavesNothingBehind) {
  int descriptors = testing::openDescriptorCount();
  for (int sig : {SIGINT, SIGQUIT, SIGTSTP}) signal(sig, record);
  struct {
    char const* keys;
    int flags, sig;
    bool ok;
    std::string screen;  // "*": not compared
  } const cases[] = {
      {"\4ab\r", 0, 0, false, "> "},  // end of input only on an empty line
      {"ab\x03", 0, 0, true, "> ab"},      {"ab\x03", 8, SIGINT, true, "> ab"},
      {"\x1c", 8, SIGQUIT, true, "> "},    {"x\x1a", 8, SIGTSTP, true, "> x"},
      {"\x12q\x03", 8, SIGINT, true, "*"},
  };
  for (auto const& c : cases) {
    sRaised = 0;
    Shell ed(typed(c.keys), c.flags);
    std::string line = "x";
    EXPECT_EQ(c.ok, ed.get(line)) << c.keys;
    EXPECT_TRUE(line.empty() && ed.History().empty()) << c.keys;
    EXPECT_TRUE(c.screen == "*" || c.screen == ed.tty().screen) << ed.tty().screen;
    EXPECT_EQ(0u, ed.tty().modes[1].c_lflag & (ICANON | ECHO | ISIG | IEXTEN));
    EXPECT_TRUE(ed.tty().restored()) << c.keys;
    EXPECT_EQ(c.sig, sRaised) << c.keys;
  }
  // Each editor closed its descriptors, as does one on a terminal.
  int fds[2];
  ASSERT_EQ(0, pipe(fds));
  delete Editor::FromTTY(fds[0], fds[1], 0);
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
  Shell woken(typed("ab\r"), 0);
  woken.IO()->Wake();
  std::string line;
  EXPECT_FALSE(woken.get(line));
  Shell failing(typed("!\x1b?"), 0);
  EXPECT_THROW(failing.get(line), std::runtime_error);
  EXPECT_TRUE(failing.tty().restored());
  EXPECT_TRUE(failing.History().empty());
}

}  // namespace
}  // namespace textui
}  // namespace corvane
