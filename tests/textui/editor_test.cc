// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Line editor driven through a real pseudo-terminal: scripted keystrokes in, the exact bytes
// the editor wrote, the returned line and the terminal mode out.

#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <fcntl.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "corvane/editor.h"
#include "sandbox.h"

namespace corvane {
namespace textui {
namespace {

// An editor whose hooks the tests program.
class Shell : public Editor {
 public:
  using Editor::Editor;
  std::vector<std::string> items;
  bool fail = false;
  int matches = 0;
  std::string text, seen;
  std::vector<std::string>* GetCompletions() override {
    if (fail) throw std::runtime_error("hook failed");
    return items.empty() ? nullptr : new std::vector<std::string>(items);
  }
  int Complete(std::string& word) override {
    seen = word;
    word = text;
    return matches;
  }
};

struct Typed {
  bool ok;
  std::string line, bytes;
};

// A pseudo-terminal in its usual cooked mode (without CR insertion, so the bytes read back are
// the editor's own) and an editor on a duplicate of its slave side.
struct Term {
  int master = -1, slave = -1;
  termios cooked{};
  Shell* ed = nullptr;
  explicit Term(int flags, int cols = 80) {
    winsize size{24, static_cast<unsigned short>(cols), 0, 0};
    if (openpty(&master, &slave, nullptr, nullptr, &size) != 0) throw std::runtime_error("no pty");
    tcgetattr(slave, &cooked);
    cooked.c_oflag &= ~ONLCR;
    tcsetattr(slave, TCSANOW, &cooked);
    int fd = dup(slave);
    ed = new Shell(new io::tty(fd, fd), flags);
    ed->SetPrompt("> ");
  }
  ~Term() {
    delete ed;
    close(master);
    close(slave);
  }
  bool raw() const {
    termios now;
    tcgetattr(slave, &now);
    return (now.c_lflag & ICANON) == 0;
  }
  bool restored() const {
    termios now;
    tcgetattr(slave, &now);
    return now.c_lflag == cooked.c_lflag && now.c_iflag == cooked.c_iflag &&
           memcmp(now.c_cc, cooked.c_cc, sizeof now.c_cc) == 0;
  }
  // Types `keys` once the editor has switched to raw mode, waits for `get`, and collects its
  // output up to a marker written behind it.
  Typed type(std::string const& keys, bool wake = false) {
    Typed r{};
    std::thread editor([&] { r.ok = ed->get(r.line); });
    for (int i = 0; i < 5000 && !raw(); ++i) usleep(1000);
    EXPECT_EQ(ssize_t(keys.size()), write(master, keys.data(), keys.size()));
    if (wake) ed->IO()->Wake();
    editor.join();
    std::string const marker = "\x1e#end#";
    EXPECT_EQ(ssize_t(marker.size()), write(slave, marker.data(), marker.size()));
    char buf[4096];
    while (r.bytes.size() < marker.size() ||
           r.bytes.compare(r.bytes.size() - marker.size(), marker.size(), marker) != 0) {
      ssize_t n = read(master, buf, sizeof buf);
      if (n <= 0) break;
      r.bytes.append(buf, n);
    }
    r.bytes.resize(r.bytes.size() - marker.size());
    return r;
  }
};

std::string rep(char c, int n) { return std::string(n, c); }
std::string const B3 = "\b\b\b", B4 = B3 + "\b", B5 = B4 + "\b", B6 = B5 + "\b", B7 = B6 + "\b";

struct Case {
  char const* name;
  std::vector<std::string> lines;  // keys of successive `get` calls
  std::string line, bytes;         // result of the last one ("*": bytes not compared)
  int flags = 0, cols = 80;
};

// clang-format off
TEST(EditorTest, KeysEditTheLineAndEchoExactly) {
  std::string const search = "> \b\b  \b\bSearch: ";
  Case const cases[] = {
      // Movement.
      {"chars", {"abc\2\2X\r"}, "aXbc", "> abc\b\bXbc\b\bbc\r\n"},
      {"line ends", {"ab cd\1\6Z\5!\r"}, "aZb cd!", "> ab cd" + B5 + "aZb cd" + B4 + "b cd!\r\n"},
      {"words", {"foo bar-baz\033b\033b\033fX\r"}, "foo barX-baz", "> foo bar-baz" + B7 + "barX-baz" + B4 + "-baz\r\n"},
      {"to char", {"a,b,c\1\35,\35,Q\r"}, "a,bQ,c", "> a,b,c" + B5 + "a,bQ,c\b\b,c\r\n"},
      {"exchange", {"abc\033 \1\30X\r"}, "abcX", "> abc" + B3 + "abcX\r\n"},
      {"redisplay", {"ab\2\14\r"}, "ab", "> ab\bb\r\n> ab\bb\r\n"},
      {"caret, quote", {"a\26\1\26\177\2\r"}, "a\1\177", "> a^A^?\b\b^?\r\n"},
      {"wraps at the width", {"abcdefgh\2X\r"}, "abcdefgXh", "> abcdefgh \b\r\033[1A\033[9CXh\bh\r\n", 0, 10},
      // Kill and yank.
      {"kill line, yank", {"hello world\033b\13\1\31\r"}, "worldhello ",
       "> hello world" + B5 + "     " + B5 + B6 + "worldhello " + B6 + "hello \r\n"},
      {"kill character", {"abc def\25xy\r"}, "xy", "> abc def" + B7 + "       " + B7 + "xy\r\n"},
      {"backward words", {"one two three\033\177\033\10\31\r"}, "one two ",
       "> one two three" + B5 + "     " + B5 + B4 + "    " + B4 + "two \r\n"},
      {"delete word, chars", {"abc def\1\033d\4\177Z\r"}, "Zdef",
       "> abc def" + B7 + " def   " + B7 + "def " + B4 + "Zdef" + B3 + "def\r\n"},
      {"wipe region", {"abcdef\2\2\033 \1\27\5\31\r"}, "efabcd", "> abcdef" + B6 + "ef    " + B6 + "efabcd\r\n"},
      {"copy region", {"ab\033 cd\033w\31\r"}, "abcdcd", "> abcdcd\r\n"},
      // Case and transpose.
      {"upcase", {"hello world\1\033u\r"}, "HELLO world", "> hello world" + rep('\b', 11) + "HELLO world\r\n"},
      {"downcase", {"ABC DEF\033b\033l\r"}, "ABC def", "> ABC DEF\b\b\bdef\r\n"},
      {"inside a word", {"hello\2\2\033u\r"}, "helLO", "> hello\b\bLO\r\n"},
      {"no word left", {"abc \033u\r"}, "abc ", "> abc \a\r\n"},
      {"transpose inside", {"abcd\2\2\24\r"}, "acbd", "> abcd\b\b\bcbd\r\n"},
      {"transpose at end", {"abcd\24\r"}, "abdc", "> abcd\b\bdc\r\n"},
      {"transpose at start", {"ab\1\24\r"}, "ab", "> ab\b\b\aab\r\n"},
      // Meta counts and unbound keys.
      {"insert", {"\0333x\r"}, "xxx", "> xxx\r\n"},
      {"backward", {"abcdef\0334\2Z\r"}, "abZcdef", "> abcdef" + B4 + "Zcdef" + B4 + "cdef\r\n"},
      {"delete", {"abcdef\1\0332\4\r"}, "cdef", "> abcdef" + B6 + "cdef  " + B6 + "cdef\r\n"},
      {"case words", {"aa bb cc\1\0332\033u\r"}, "AA BB cc", "> aa bb cc" + rep('\b', 8) + "AA BB cc\r\n"},
      {"erase, then no count", {"abcd\0332\177x\r"}, "abx", "> abcd\b\b  \b\bx\r\n"},
      {"unbound beeps", {"\033za\r"}, "a", "> \aa\r\n"},
      {"meta characters", {"ab\1\346X\26\341\r"}, "abX\341", "> ab\b\babXMa\r\n", 1},
      // Arrows and the delete key.
      {"left, right", {"abc\033[D\033[DX\033[C\r"}, "aXbc", "> abc\b\bXbc\b\bbc\r\n"},
      {"application mode", {"abc\033OD\033ODX\r"}, "aXbc", "> abc\b\bXbc\b\bbc\r\n"},
      {"delete key", {"abc\1\033[3~\r"}, "bc", "> abc" + B3 + "bc " + B3 + "bc\r\n"},
      {"3 without tilde", {"abc\1\033[3x\r"}, "abc", "> abc" + B3 + "abc\r\n"},
      {"unknown", {"\033[Zq\r"}, "q", "> \aq\r\n"},
      {"flag 4: bracket beeps", {"abc\033[D\r"}, "abcD", "> abc\aD\r\n", 4},
      {"flag 4: meta map", {"ab\033b\r"}, "ab", "> ab\b\bab\r\n", 4},
      // History and its search.
      {"previous", {"one\r", "two\r", "\033[A\033[A\r"}, "one", "> two" + B3 + "one\r\n"},
      {"next restores edit", {"one\r", "ab\20\16\r"}, "ab", "> ab\b\bone\b\b\bab \b\r\n"},
      {"first, last", {"a\r", "b\r", "\033<\033>x\r"}, "x", "> a\b \bx\r\n"},
      {"oldest beeps", {"a\r", "\20\20\r"}, "a", "> a\a\r\n"},
      {"last argument", {"ls -l /tmp \r", "cd \033.\r"}, "cd /tmp", "> cd /tmp\r\n"},
      {"search", {"make all\r", "ls\r", "make test\r", "\22mak\r\r"}, "make test",
       search + "mak" + rep('\b', 11) + rep(' ', 11) + rep('\b', 11) + "> make test\r\n"},
      {"search again", {"make all\r", "ls\r", "make test\r", "\22mak\r\22ake\r\r"}, "make all", "*"},
      {"search fails", {"ls\r", "\22zz\r\r"}, "", search + "zz" + rep('\b', 10) + rep(' ', 10) + rep('\b', 10) + "\a> \r\n"},
  };
  for (Case const& c : cases) {
    Term t(c.flags, c.cols);
    Typed r{};
    for (std::string const& keys : c.lines) r = t.type(keys);
    EXPECT_TRUE(r.ok) << c.name;
    EXPECT_EQ(c.line, r.line) << c.name;
    EXPECT_TRUE(c.bytes == "*" || c.bytes == r.bytes) << c.name << ": " << ::testing::PrintToString(r.bytes);
    EXPECT_TRUE(t.restored()) << c.name;
  }
}

TEST(EditorTest, CompletionInsertsQuotesAndListsInColumns) {
  struct {
    char const* name;
    int cols;
    std::vector<std::string> items;  // none: the list hook answers null
    int matches;
    char const *text, *keys;
    std::string line, bytes, seen;
  } const cases[] = {
      {"five in one row", 80, {"a", "bb", "ccc", "dddd", "eeeeeee"}, 0, "", "x\x1b?\r", "x",
       "> x\r\na" + rep(' ', 8) + "bb" + rep(' ', 7) + "ccc" + rep(' ', 6) + "dddd" + rep(' ', 5) + "eeeeeee\r\n> x\r\n", ""},
      // Columns filled exactly still get a row more; deliberate.
      {"column-major rows", 20, {"ab", "cd", "ef", "ghij"}, 0, "", "\x1b?\r", "", "> \r\nab    ghij\r\ncd\r\nef\r\n> \r\n", ""},
      {"no list", 80, {}, 0, "", "\x1b?\r", "", "> \a\r\n", ""},
      {"unique", 80, {}, 1, "lo", "hel\t\r", "hello ", "> hello \r\n", "hel"},
      {"ambiguous", 80, {}, 2, "p", "he\t\r", "hep", "> hep\a\r\n", "he"},
      {"quoted", 80, {}, 1, "r x", "cd my\\ di\t\r", "cd my\\ dir\\ x ", "> cd my\\ dir\\ x \r\n", "my di"},
      {"none", 80, {}, 0, "zz", "a\t\r", "a", "> a\a\r\n", "a"},
  };
  for (auto const& c : cases) {
    Term t(0, c.cols);
    t.ed->items = c.items;
    t.ed->matches = c.matches;
    t.ed->text = c.text;
    Typed r = t.type(c.keys);
    EXPECT_EQ(c.line, r.line) << c.name;
    EXPECT_EQ(c.bytes, r.bytes) << c.name;
    EXPECT_EQ(c.seen, t.ed->seen) << c.name;
  }
}
// clang-format on

TEST(EditorTest, HistoryKeepsNonEmptyDistinctLinesUpToCapacity) {
  Term t(0);
  for (char const* keys : {"x\r", "\r", "x\r", "y\r", "x\r"}) t.type(keys);
  EXPECT_EQ((std::deque<std::string>{"x", "y", "x"}), t.ed->History());
  for (int i = 0; i < Editor::kHistorySize + 5; ++i) t.type("l" + std::to_string(i) + "\r");
  ASSERT_EQ(size_t(Editor::kHistorySize), t.ed->History().size());
  EXPECT_EQ("l5", t.ed->History().front());
}

// Keys from a pipe, screen output counted for bells and otherwise dropped.
struct PipeIO : io::Base {
  int* bells;
  PipeIO(int in, int* counter) : io::Base(in, open("/dev/null", O_WRONLY)), bells(counter) {}
  int Write(unsigned char const* data, int count) override {
    *bells += static_cast<int>(std::count(data, data + count, '\a'));
    return count;
  }
  bool SetMode(termios const*) override { return false; }
  bool GetMode(termios*) const override { return false; }
  bool GetSize(int&, int&) const override { return false; }
};

TEST(EditorTest, LinesStopGrowingAtTheLimit) {
  // Each line repeats the previous line's last argument six times: unbounded, the last of
  // these lines would hold 2 * 6^9 bytes. The first that would pass the limit, and all after
  // it, keep what fitted (one copy) and beep for each refused copy.
  std::string keys = "ab\r";
  for (int i = 0; i < 9; ++i) keys += "\033.\033.\033.\033.\033.\033.\r";
  int fds[2];
  ASSERT_EQ(0, pipe(fds));
  ASSERT_EQ(ssize_t(keys.size()), write(fds[1], keys.data(), keys.size()));
  close(fds[1]);
  int bells = 0;
  Shell ed(new PipeIO(fds[0], &bells), 0);
  std::string line;
  std::vector<size_t> sizes;
  while (ed.get(line)) sizes.push_back(line.size());
  std::vector<size_t> expected{2};
  while (expected.size() < 10) expected.push_back(std::min<size_t>(6 * expected.back(), 559872));
  EXPECT_EQ(expected, sizes);
  EXPECT_EQ(2 * 5, bells);
}

TEST(EditorTest, EndOfInput) {
  Term t(0);
  Typed r = t.type("\x04");
  EXPECT_FALSE(r.ok);
  EXPECT_EQ("> ", r.bytes);
  r = t.type("ab\x02\x04\r");
  EXPECT_TRUE(r.ok);
  EXPECT_EQ("a", r.line);
  EXPECT_EQ("> ab\b \b\r\n", r.bytes);
  r = t.type("abc", true);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ("", r.line);
  EXPECT_TRUE(t.restored());
  EXPECT_EQ((std::deque<std::string>{"a"}), t.ed->History());
}

int sCaught[32];
void record(int sig) { ++sCaught[sig]; }

TEST(EditorTest, SignalCharactersRestoreTheModeAndReRaiseWithFlag8) {
  struct sigaction action {};
  action.sa_handler = record;
  for (int sig : {SIGINT, SIGQUIT, SIGTSTP}) sigaction(sig, &action, nullptr);
  struct {
    char const* keys;
    int flags, sig, raised;
  } const cases[] = {
      {"ab\x03", 0, SIGINT, 0}, {"ab\x03", 8, SIGINT, 1},    {"\x1c", 8, SIGQUIT, 1},
      {"x\x1a", 8, SIGTSTP, 1}, {"\x12q\x03", 8, SIGINT, 1},
  };
  for (auto const& c : cases) {
    memset(sCaught, 0, sizeof sCaught);
    Term t(c.flags);
    Typed r = t.type(c.keys);
    EXPECT_TRUE(r.ok) << c.keys;
    EXPECT_EQ("", r.line) << c.keys;
    EXPECT_TRUE(t.restored()) << c.keys;
    EXPECT_EQ(c.raised, sCaught[c.sig]) << c.keys;
    EXPECT_TRUE(t.ed->History().empty());
  }
  Term t(0);
  EXPECT_EQ("> ab", t.type("ab\x03").bytes);
}

TEST(EditorTest, HookExceptionRestoresTheMode) {
  Term t(0);
  t.ed->fail = true;
  std::thread typist([&] {
    for (int i = 0; i < 5000 && !t.raw(); ++i) usleep(1000);
    EXPECT_EQ(3, write(t.master, "a\x1b?", 3));
  });
  std::string line;
  EXPECT_THROW(t.ed->get(line), std::runtime_error);
  typist.join();
  EXPECT_TRUE(t.restored());
  EXPECT_TRUE(t.ed->History().empty());
}

TEST(EditorTest, NoEchoShowsStars) {
  Term t(0);
  t.ed->SetNoEcho(true);
  Typed r = t.type("pw\x02\x16\x01\r");
  EXPECT_EQ("p\x01w", r.line);
  EXPECT_EQ("> **\b**\b*\r\n", r.bytes);
}

TEST(EditorTest, DestructorClosesItsDescriptors) {
  int before = testing::openDescriptorCount();
  int fds[2];
  ASSERT_EQ(0, pipe(fds));
  delete Editor::FromTTY(fds[0], fds[1], 0);
  EXPECT_EQ(before, testing::openDescriptorCount());
  int fd = open("/dev/null", O_RDWR);
  delete Editor::FromTTY(fd, fd, 0);
  EXPECT_EQ(before, testing::openDescriptorCount());
}

}  // namespace
}  // namespace textui
}  // namespace corvane
