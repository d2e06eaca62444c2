// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Emacs-style line editor of the appliance's shell, over a small terminal I/O layer.
///   std::unique_ptr<corvane::textui::Editor> ed(corvane::textui::Editor::FromTTY(0, 1, 0));
///   ed->SetPrompt("> ");
///   std::string line;
///   while (ed->get(line)) run(line);

#ifndef CORVANE_EDITOR_H
#define CORVANE_EDITOR_H

#include <termios.h>

#include <deque>
#include <string>
#include <vector>

#include "corvane/export.h"

namespace corvane {
namespace textui {
namespace io {

/// Byte-wise input and output of an editor: an input and an output descriptor and a wake-up
/// pipe that lets another thread end a blocked `Read`. Owns its descriptors: the destructor
/// closes both pipe ends and the input descriptor, and the output descriptor when it differs
/// from the input one. One thread reads; `Wake` may be called from any thread.
class CORVANE_EXPORT Base {
 public:
  /// Takes ownership of `in` and `out` (they may be equal) and opens the wake-up pipe; when
  /// the pipe cannot be opened the editor simply cannot be woken.
  Base(int in, int out);
  virtual ~Base();

  Base(Base const&) = delete;
  Base& operator=(Base const&) = delete;

  /// Returns the next input byte (0..255). When none is buffered, waits without a time limit
  /// for the input descriptor or the wake-up pipe, retrying after signals, and reads what is
  /// waiting (up to `kBufferSize` bytes) at once, so that a paste costs one system call per
  /// chunk instead of one per byte. Bytes typed ahead of a finished line stay here for the
  /// next `get`; a program that reads the terminal between two lines does not see them.
  /// Returns -1 (end of input) when the pipe was written to (one wake-up byte is consumed per
  /// such -1), or the input hung up or failed.
  virtual int Read();
  /// Writes `count` bytes; returns the number written or -1 on failure.
  virtual int Write(unsigned char const* data, int count) = 0;
  /// Sets the terminal mode; false when the input is not a terminal.
  virtual bool SetMode(termios const* mode) = 0;
  /// Reads the terminal mode; false when the input is not a terminal.
  virtual bool GetMode(termios* mode) const = 0;
  /// Reads the window size; false when unknown or zero columns.
  virtual bool GetSize(int& rows, int& columns) const = 0;

  /// One byte through `Read`: 0..255, or -1 at end of input.
  int GetChar() { return Read(); }
  /// True when input bytes are buffered, so `Read` will not block. The editor holds back its
  /// screen output while this is true, which keeps a paste to one write per chunk.
  bool HasPending() const { return mNext < mFilled; }
  /// Makes the blocked (or the next) `Read` return -1. Any thread; async-signal-safe.
  void Wake();

 protected:
  /// Fields in this order.
  int mPipe[2];
  int mIn;
  int mOut;
  /// Input read ahead and not yet handed out.
  static constexpr int kBufferSize = 4096;
  unsigned char mBuffer[kBufferSize];
  int mNext;
  int mFilled;
};

/// `Base` on a terminal: termios modes and the window size through the input descriptor.
class CORVANE_EXPORT tty : public Base {
 public:
  tty(int in, int out) : Base(in, out) {}
  /// Writes everything, retrying after signals and partial writes.
  int Write(unsigned char const* data, int count) override;
  /// tcsetattr after the pending output drained.
  bool SetMode(termios const* mode) override;
  bool GetMode(termios* mode) const override;
  bool GetSize(int& rows, int& columns) const override;
};

}  // namespace io

/// Result of every editing command.
enum elSTATUS {
  elDone = 0,      // line finished
  elEOF = 1,       // end of input
  elMove = 2,      // the cursor must be repositioned to the point
  elDispatch = 3,  // the character is to be inserted or looked up
  elStay = 4,      // nothing to redraw
  elSignal = 5,    // a signal character was typed
};

/// Reads command lines with in-place editing. Keys: the control map (Ctrl-A start, Ctrl-E end,
/// Ctrl-B/F char, Ctrl-D delete, Ctrl-H backward delete, TAB complete, Ctrl-K kill, Ctrl-L
/// redisplay, Ctrl-P/N history, Ctrl-R search, Ctrl-T transpose, Ctrl-V quote, Ctrl-W wipe
/// region, Ctrl-X exchange, Ctrl-Y yank, Ctrl-] move to char, Escape meta prefix), the meta map
/// (Escape b/f/d/l/u/y/w/m/./</>/?/blank, Escape DEL or Ctrl-H), Escape digits as repeat count,
/// ANSI arrows and Delete, and the terminal's erase, kill, eof, intr, quit and susp characters.
///
/// Rules where the editor had to choose:
/// - Words are runs of letters and digits (movement, deletion, case); completion words end at
///   the break characters instead.
/// - `UpcaseWord`/`DowncaseWord` change from the point to the end of the next word and leave the
///   point there; with no word after the point they beep.
/// - `Transpose` swaps the characters before and at the point and advances; at the end of the
///   line it swaps the last two; at the start or on lines shorter than two it beeps.
/// - History: `kHistorySize` entries including the line being edited. An accepted line is added
///   after `get` unless it is empty or equal to the newest entry. Moving away from the line
///   being edited keeps it, so moving back restores it; edits of older entries are not kept.
/// - `HistSearch` matches the search text anywhere in an entry (substring). It searches towards
///   older entries, or towards newer ones when a repeat count was given; a signal or the end of
///   input while searching ends `get` as usual.
/// - The repeat count field is -1 when no count was given; commands then act once. Counts stop
///   growing at `kMaxRepeat`.
/// - A line holds at most `kMaxLine` bytes: an insertion (typed, yanked, completed or a last
///   argument) that would pass it beeps and leaves the line as it was.
/// - Completion: see `Complete`.
/// - Typing at the end of the line writes only the new characters; edits inside the line
///   rewrite from the point onward. The cursor moves back with backspaces within a row and with
///   "\r" plus cursor-up/right sequences across rows.
///
/// One editor belongs to one thread; only `IO()->Wake()` may be called from another.
class CORVANE_EXPORT Editor {
 public:
  static constexpr int kHistorySize = 100;
  static constexpr int kMaxRepeat = 10000;
  static constexpr int kMaxLine = 1 << 20;  ///< longest line in bytes (1 MiB)
  /// Bits of the flags given at construction.
  static constexpr int kMetaMode = 1;     ///< high-bit characters are commands, shown as "M"
  static constexpr int kNoArrows = 4;     ///< no ANSI arrow decoding after Escape
  static constexpr int kRaiseSignal = 8;  ///< `get` re-raises a caught signal after restoring

  /// Takes ownership of `base` (deleted with the editor).
  Editor(io::Base* base, int flags);
  virtual ~Editor();

  Editor(Editor const&) = delete;
  Editor& operator=(Editor const&) = delete;

  /// Hook: a newly allocated list of candidates for the word before the point, or null
  /// (beeps). The editor owns and deletes the result. The base returns null.
  virtual std::vector<std::string>* GetCompletions();
  /// Hook used by `TryToComplete` (TAB). On entry `word` holds the word before the point
  /// (from the last unquoted break character, backslashes removed). The hook sets `word` to the
  /// text to insert at the point and returns the number of matching candidates: 0 beeps and
  /// inserts nothing; 1 inserts the text and a blank; more inserts the text (the common
  /// extension, may be empty) and beeps. Break characters in the text are quoted with "\".
  /// The base returns 0.
  virtual int Complete(std::string& word);

  /// Makes an `io::tty` over `in` and `out` (owned from now on) and an editor on it.
  /// Caller owns; free with delete.
  static Editor* FromTTY(int in, int out, int flags);

  /// Reads one line into `out`. Sets the terminal to raw editing mode for the duration and
  /// restores the saved mode on every way out (also exceptions of the hooks). Returns false at
  /// end of input (`out` empty). A signal character returns true with `out` empty; with flag 8
  /// the signal is raised again on this process after the mode is restored.
  bool get(std::string& out);

  /// Prompt written at the start of each line (raw, one column per byte).
  void SetPrompt(std::string const& prompt) { mPrompt = prompt; }
  std::string const& Prompt() const { return mPrompt; }
  /// Shows every character as "*" (password entry).
  void SetNoEcho(bool noEcho) { mNoEcho = noEcho; }
  /// Current line, point and history (oldest first, the line being edited last while `get`
  /// runs).
  std::string Line() const;
  int Point() const { return mPoint; }
  std::deque<std::string> const& History() const { return mHistory; }
  io::Base* IO() const { return mIO; }

  /// Editing commands, bound by the key maps; all take the repeat count into account where it
  /// makes sense and return what the edit loop has to do next.
  elSTATUS StartOfLine();
  elSTATUS EndOfLine();
  elSTATUS ForwardChar();
  elSTATUS BackwardChar();
  elSTATUS ForwardWord();
  elSTATUS BackwardWord();
  elSTATUS DelChar();
  elSTATUS BackDelChar();
  elSTATUS DelWord();
  elSTATUS BackDelWord();
  /// Kills to the end of the line; with a repeat count, between the point and that column.
  elSTATUS KillLine();
  /// Kills the region between mark and point; beeps when the mark is past the end.
  elSTATUS Wipe();
  elSTATUS CopyRegion();
  elSTATUS Yank();
  elSTATUS Exchange();
  elSTATUS SetMark();
  elSTATUS Transpose();
  elSTATUS UpcaseWord();
  elSTATUS DowncaseWord();
  elSTATUS Quote();
  elSTATUS MoveToChar();
  elSTATUS HistPrev();
  elSTATUS HistNext();
  elSTATUS HistFirst();
  elSTATUS HistLast();
  elSTATUS HistSearch();
  /// Inserts the last blank-separated word of the newest history entry.
  elSTATUS LastArgument();
  elSTATUS TryToComplete();
  elSTATUS ListCompletions();
  elSTATUS ToggleMetaMode();
  /// Writes "\r\n", the prompt and the line again.
  elSTATUS Redisplay();
  elSTATUS Finished();
  /// Writes the bell (7) and flushes; stay.
  elSTATUS Beep();
  /// Escape prefix: arrows, repeat counts and the meta map.
  elSTATUS Meta();

 private:
  elSTATUS editLoop();
  int readKey();
  elSTATUS special(int c);
  elSTATUS dispatch(int c);
  int count() const;
  int width(unsigned char c) const;
  int widthOf(int from, int to) const;
  int column(int index) const;
  void show(unsigned char c);
  void put(char const* text, int length);
  void flush();
  void wrapFix();
  void backTo(int col);
  void moveTo(int index);
  void drawTail(int clear);
  void drawLine();
  void clearLine();
  void insertText(std::string const& text);
  void replaceLine(std::string const& text);
  elSTATUS deleteAt(int count, bool keep);
  elSTATUS changeCase(bool upper);
  int wordEnd() const;
  int wordStart() const;
  void updateWidth();
  void columnize(std::vector<std::string> const& items);

  /// Fields in this order.
  io::Base* mIO;
  int mFlags;
  std::vector<unsigned char> mLine;  ///< room for 64 at first, grown as needed
  int mPoint;
  int mEnd;
  std::string mScreen;  ///< bytes of one refresh, room for 60 at first
  int mWidth;
  int mMark;
  std::string mYank;
  int mRepeat;
  int mPending;
  std::deque<std::string> mHistory;
  int mHistPos;
  termios mSaved;
  int mSignal;
  std::string const mBreakChars;
  /// Further state of the display and the loop.
  std::string mPrompt;
  bool mNoEcho;
  bool mSearching;
  bool mHaveMode;
  bool mInputEnded;  ///< `Read` reported the end of input
  int mLineWidth;    ///< columns of the whole line
  int mCursor;       ///< terminal cursor column counted from the prompt's start
  int mShown;        ///< index of the line the cursor stands at
};

}  // namespace textui
}  // namespace corvane

#endif  // CORVANE_EDITOR_H
