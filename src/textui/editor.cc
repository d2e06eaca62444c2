// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Line editor of the appliance's shell: key maps, editing commands, history, completion and
// an incremental screen model (the terminal cursor's column is tracked, so only what changed
// is written).

#include <ctype.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "corvane/editor.h"

namespace corvane {
namespace textui {

namespace {

using Command = elSTATUS (Editor::*)();

struct Binding {
  int key;
  Command command;
};

constexpr int ctl(char c) { return c & 0x1f; }
constexpr int kEscape = 27;
constexpr int kDel = 127;

// Control keys; first match wins, anything else is inserted.
Binding const kControlMap[] = {
    {ctl('@'), &Editor::Beep},          {ctl('A'), &Editor::StartOfLine},
    {ctl('B'), &Editor::BackwardChar},  {ctl('D'), &Editor::DelChar},
    {ctl('E'), &Editor::EndOfLine},     {ctl('F'), &Editor::ForwardChar},
    {ctl('G'), &Editor::Beep},          {ctl('H'), &Editor::BackDelChar},
    {ctl('I'), &Editor::TryToComplete}, {ctl('J'), &Editor::Finished},
    {ctl('K'), &Editor::KillLine},      {ctl('L'), &Editor::Redisplay},
    {ctl('M'), &Editor::Finished},      {ctl('N'), &Editor::HistNext},
    {ctl('O'), &Editor::Beep},          {ctl('P'), &Editor::HistPrev},
    {ctl('Q'), &Editor::Beep},          {ctl('R'), &Editor::HistSearch},
    {ctl('S'), &Editor::Beep},          {ctl('T'), &Editor::Transpose},
    {ctl('U'), &Editor::Beep},          {ctl('V'), &Editor::Quote},
    {ctl('W'), &Editor::Wipe},          {ctl('X'), &Editor::Exchange},
    {ctl('Y'), &Editor::Yank},          {ctl('Z'), &Editor::Beep},
    {kEscape, &Editor::Meta},           {ctl(']'), &Editor::MoveToChar},
    {ctl('^'), &Editor::Beep},          {ctl('_'), &Editor::Beep},
};

// Keys after the escape prefix.
Binding const kMetaMap[] = {
    {ctl('H'), &Editor::BackDelWord},
    {kDel, &Editor::BackDelWord},
    {' ', &Editor::SetMark},
    {'.', &Editor::LastArgument},
    {'<', &Editor::HistFirst},
    {'>', &Editor::HistLast},
    {'b', &Editor::BackwardWord},
    {'d', &Editor::DelWord},
    {'f', &Editor::ForwardWord},
    {'l', &Editor::DowncaseWord},
    {'m', &Editor::ToggleMetaMode},
    {'u', &Editor::UpcaseWord},
    {'y', &Editor::Yank},
    {'w', &Editor::CopyRegion},
    {'?', &Editor::ListCompletions},
};

template <size_t N>
Command lookup(Binding const (&map)[N], int key) {
  for (Binding const& b : map) {
    if (b.key == key) return b.command;
  }
  return nullptr;
}

bool isWordChar(unsigned char c) { return isalnum(c) != 0; }

}  // namespace

Editor::Editor(io::Base* base, int flags)
    : mIO(base),
      mFlags(flags),
      mLine(64),
      mPoint(0),
      mEnd(0),
      mWidth(80),
      mMark(0),
      mRepeat(-1),
      mPending(-1),
      mHistPos(0),
      mSaved(),
      mSignal(0),
      // Ends with a blank on purpose.
      mBreakChars("\"#;&|^$=`'{}()<>\n\t "),
      mNoEcho(false),
      mSearching(false),
      mHaveMode(false),
      mInputEnded(false),
      mLineWidth(0),
      mCursor(0),
      mShown(0) {
  mScreen.reserve(60);
}

Editor::~Editor() { delete mIO; }

std::vector<std::string>* Editor::GetCompletions() { return nullptr; }

int Editor::Complete(std::string&) { return 0; }

Editor* Editor::FromTTY(int in, int out, int flags) {
  return new Editor(new io::tty(in, out), flags);
}

std::string Editor::Line() const {
  return std::string(reinterpret_cast<char const*>(mLine.data()), mEnd);
}

// --- Terminal mode and the edit loop -------------------------------------------------------

bool Editor::get(std::string& out) {
  out.clear();
  mHaveMode = mIO->GetMode(&mSaved);
  if (!mHaveMode) {
    // Not a terminal: the usual special characters still work.
    mSaved = termios();
    mSaved.c_cc[VERASE] = kDel;
    mSaved.c_cc[VKILL] = ctl('U');
    mSaved.c_cc[VEOF] = ctl('D');
    mSaved.c_cc[VINTR] = ctl('C');
    mSaved.c_cc[VQUIT] = ctl('\\');
    mSaved.c_cc[VSUSP] = ctl('Z');
  } else {
    termios raw = mSaved;
    raw.c_lflag &= ~(ECHO | ICANON | ISIG | IEXTEN);
    raw.c_iflag &= ~(ISTRIP | INPCK | IXON);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    mIO->SetMode(&raw);
  }
  if (mHistory.size() >= static_cast<size_t>(kHistorySize)) mHistory.pop_front();
  mHistory.emplace_back();
  mHistPos = static_cast<int>(mHistory.size()) - 1;

  // Every way out, exceptions of the hooks included, drops the entry being edited and gives
  // the terminal its mode back.
  struct Restore {
    Editor* ed;
    ~Restore() {
      ed->flush();
      if (!ed->mHistory.empty()) ed->mHistory.pop_back();
      ed->mHistPos = static_cast<int>(ed->mHistory.size());
      ed->mSearching = false;
      if (ed->mHaveMode) ed->mIO->SetMode(&ed->mSaved);
    }
  };
  elSTATUS status;
  {
    Restore restore{this};
    mPoint = mEnd = mMark = mLineWidth = 0;
    mRepeat = mPending = -1;
    mSignal = 0;
    mInputEnded = false;
    updateWidth();
    mCursor = 0;
    put(mPrompt.data(), static_cast<int>(mPrompt.size()));
    mShown = 0;
    status = editLoop();
    if (status == elDone) {
      out = Line();
      put("\r\n", 2);
    }
  }
  if (status == elDone && !out.empty() && (mHistory.empty() || mHistory.back() != out)) {
    if (mHistory.size() >= static_cast<size_t>(kHistorySize)) mHistory.pop_front();
    mHistory.push_back(out);
  }
  if (status == elSignal) {
    int sig = mSignal;
    mSignal = 0;
    if ((mFlags & kRaiseSignal) != 0 && sig != 0) kill(getpid(), sig);
    return true;
  }
  return status == elDone;
}

elSTATUS Editor::editLoop() {
  for (;;) {
    int c = readKey();
    if (c < 0) return elEOF;
    elSTATUS s = special(c);
    if (s == elDispatch) s = dispatch(c);
    // A pushed-back character carries its repeat count to the next command.
    if (mPending < 0) mRepeat = -1;
    switch (s) {
      case elDone:
      case elEOF:
      case elSignal:
        return s;
      case elMove:
        moveTo(mPoint);
        break;
      default:
        break;
    }
  }
}

int Editor::readKey() {
  if (mPending >= 0) {
    int c = mPending;
    mPending = -1;
    return c;
  }
  if (!mIO->HasPending()) {
    // About to wait: show what the last commands did, and pick up a changed width.
    flush();
    updateWidth();
  }
  int c = mIO->GetChar();
  if (c < 0) mInputEnded = true;
  return c;
}

elSTATUS Editor::special(int c) {
  if ((mFlags & kMetaMode) != 0 && c >= 0x80) return elDispatch;
  auto is = [&](int index) {
    return mSaved.c_cc[index] != _POSIX_VDISABLE && c == mSaved.c_cc[index];
  };
  if (is(VERASE) || c == kDel) return BackDelChar();
  if (is(VKILL)) {
    if (mPoint != 0) {
      mPoint = 0;
      moveTo(0);
    }
    mRepeat = -1;
    return KillLine();
  }
  if (is(VEOF) && mPoint == 0 && mEnd == 0) return elEOF;
  if (is(VINTR)) {
    mSignal = SIGINT;
    return elSignal;
  }
  if (is(VQUIT)) {
    mSignal = SIGQUIT;
    return elSignal;
  }
  if (is(VSUSP)) {
    mSignal = SIGTSTP;
    return elSignal;
  }
  return elDispatch;
}

elSTATUS Editor::dispatch(int c) {
  if ((mFlags & kMetaMode) != 0 && c >= 0x80) {
    mPending = c & 0x7f;
    return Meta();
  }
  if (Command command = lookup(kControlMap, c)) return (this->*command)();
  insertText(std::string(count(), static_cast<char>(c)));
  return elStay;
}

int Editor::count() const { return mRepeat < 1 ? 1 : mRepeat; }

elSTATUS Editor::Meta() {
  int c = readKey();
  if (c < 0) return elEOF;
  if ((mFlags & kNoArrows) == 0 && (c == '[' || c == 'O')) {
    switch (readKey()) {
      case -1:
        return elEOF;
      case 'A':
        return HistPrev();
      case 'B':
        return HistNext();
      case 'C':
        return ForwardChar();
      case 'D':
        return BackwardChar();
      case '3':
        return readKey() == '~' ? DelChar() : elStay;
      default:
        return Beep();
    }
  }
  if (isdigit(c)) {
    int n = c - '0';
    while ((c = readKey()) >= 0 && isdigit(c)) n = std::min(n * 10 + (c - '0'), kMaxRepeat);
    if (c < 0) return elEOF;
    mRepeat = n;
    mPending = c;
    return elStay;
  }
  if (isupper(c)) return Beep();
  if (Command command = lookup(kMetaMap, c)) return (this->*command)();
  return Beep();
}

// --- Screen model --------------------------------------------------------------------------

int Editor::width(unsigned char c) const {
  if (mNoEcho) return 1;
  if (c < 0x20 || c == kDel) return 2;
  if (c >= 0x80 && (mFlags & kMetaMode) != 0) return 1 + width(c & 0x7f);
  return 1;
}

int Editor::widthOf(int from, int to) const {
  int w = 0;
  for (int i = from; i < to; ++i) w += width(mLine[i]);
  return w;
}

int Editor::column(int index) const {
  int base = static_cast<int>(mPrompt.size());
  return base + (index == mEnd ? mLineWidth : widthOf(0, index));
}

void Editor::show(unsigned char c) {
  if (mNoEcho) {
    mScreen += '*';
  } else if (c < 0x20 || c == kDel) {
    mScreen += '^';
    mScreen += static_cast<char>(c == kDel ? '?' : c + '@');
  } else if (c >= 0x80 && (mFlags & kMetaMode) != 0) {
    // The "M" takes a column of its own; the rest counts itself.
    mScreen += 'M';
    ++mCursor;
    show(c & 0x7f);
    return;
  } else {
    mScreen += static_cast<char>(c);
  }
  mCursor += width(c);
}

void Editor::put(char const* text, int length) {
  mScreen.append(text, length);
  mCursor += length;
}

void Editor::flush() {
  if (mScreen.empty()) return;
  mIO->Write(reinterpret_cast<unsigned char const*>(mScreen.data()),
             static_cast<int>(mScreen.size()));
  mScreen.clear();
}

void Editor::updateWidth() {
  int rows = 0, columns = 0;
  mWidth = mIO->GetSize(rows, columns) && columns > 0 ? columns : 80;
}

// A terminal leaves the cursor in the last column after filling a row; writing the next
// character and backing over it puts the cursor where the model has it, on the next row.
void Editor::wrapFix() {
  if (mCursor == 0 || mCursor % mWidth != 0) return;
  int at = mCursor;
  if (mShown < mEnd) {
    show(mLine[mShown]);
    mScreen.append(mCursor - at, '\b');
  } else {
    mScreen += " \b";
  }
  mCursor = at;
}

void Editor::backTo(int col) {
  int up = mCursor / mWidth - col / mWidth;
  if (up == 0) {
    mScreen.append(mCursor - col, '\b');
  } else {
    char move[32];
    int n = col % mWidth != 0 ? snprintf(move, sizeof move, "\r\033[%dA\033[%dC", up, col % mWidth)
                              : snprintf(move, sizeof move, "\r\033[%dA", up);
    mScreen.append(move, n);
  }
  mCursor = col;
}

void Editor::moveTo(int index) {
  if (index < mShown) {
    backTo(column(index));
  } else if (index > mShown) {
    for (int i = mShown; i < index; ++i) show(mLine[i]);
    mShown = index;
    wrapFix();
  }
  mShown = index;
}

// Writes the line from the cursor (`mShown`) to its end, blanks out `clear` columns left over
// from a longer line, and returns the cursor to the point.
void Editor::drawTail(int clear) {
  for (int i = mShown; i < mEnd; ++i) show(mLine[i]);
  mShown = mEnd;
  if (clear > 0) {
    mScreen.append(clear, ' ');
    mCursor += clear;
    if (mCursor % mWidth == 0) mScreen += " \b";
    backTo(column(mPoint));
    mShown = mPoint;
    return;
  }
  wrapFix();
  moveTo(mPoint);
}

void Editor::drawLine() {
  mCursor = 0;
  put(mPrompt.data(), static_cast<int>(mPrompt.size()));
  mShown = 0;
  drawTail(0);
}

// Blanks the prompt and the line and leaves the cursor where the prompt starts.
void Editor::clearLine() {
  backTo(0);
  int total = static_cast<int>(mPrompt.size()) + mLineWidth;
  mScreen.append(total, ' ');
  mCursor = total;
  if (total > 0 && total % mWidth == 0) mScreen += " \b";
  backTo(0);
  mPoint = mEnd = mLineWidth = mShown = 0;
}

void Editor::insertText(std::string const& text) {
  int n = static_cast<int>(text.size());
  if (n == 0) return;
  // Repeated last arguments and yanks grow a line geometrically; past the limit they beep.
  if (n > kMaxLine - mEnd) {
    Beep();
    return;
  }
  moveTo(mPoint);
  if (mEnd + n > static_cast<int>(mLine.size())) {
    mLine.resize(std::max(mLine.size() * 2, static_cast<size_t>(mEnd + n)));
  }
  memmove(&mLine[mPoint + n], &mLine[mPoint], mEnd - mPoint);
  memcpy(&mLine[mPoint], text.data(), n);
  mEnd += n;
  mLineWidth += widthOf(mPoint, mPoint + n);
  mPoint += n;
  drawTail(0);
}

void Editor::replaceLine(std::string const& text) {
  moveTo(0);
  int old = mLineWidth;
  mPoint = mEnd = mLineWidth = 0;
  mShown = 0;
  if (text.size() > mLine.size()) mLine.resize(text.size());
  memcpy(mLine.data(), text.data(), text.size());
  mPoint = mEnd = static_cast<int>(text.size());
  mLineWidth = widthOf(0, mEnd);
  drawTail(std::max(0, old - mLineWidth));
}

elSTATUS Editor::deleteAt(int n, bool keep) {
  n = std::min(n, mEnd - mPoint);
  if (n <= 0) return elStay;
  if (keep) mYank.assign(reinterpret_cast<char const*>(&mLine[mPoint]), n);
  moveTo(mPoint);
  int w = widthOf(mPoint, mPoint + n);
  memmove(&mLine[mPoint], &mLine[mPoint + n], mEnd - mPoint - n);
  mEnd -= n;
  mLineWidth -= w;
  drawTail(w);
  return elStay;
}

// --- Movement ------------------------------------------------------------------------------

int Editor::wordEnd() const {
  int i = mPoint;
  for (int k = count(); k > 0 && i < mEnd; --k) {
    while (i < mEnd && !isWordChar(mLine[i])) ++i;
    while (i < mEnd && isWordChar(mLine[i])) ++i;
  }
  return i;
}

int Editor::wordStart() const {
  int i = mPoint;
  for (int k = count(); k > 0 && i > 0; --k) {
    while (i > 0 && !isWordChar(mLine[i - 1])) --i;
    while (i > 0 && isWordChar(mLine[i - 1])) --i;
  }
  return i;
}

elSTATUS Editor::StartOfLine() {
  mPoint = 0;
  return elMove;
}

elSTATUS Editor::EndOfLine() {
  mPoint = mEnd;
  return elMove;
}

elSTATUS Editor::ForwardChar() {
  mPoint = std::min(mEnd, mPoint + count());
  return elMove;
}

elSTATUS Editor::BackwardChar() {
  mPoint = std::max(0, mPoint - count());
  return elMove;
}

elSTATUS Editor::ForwardWord() {
  mPoint = wordEnd();
  return elMove;
}

elSTATUS Editor::BackwardWord() {
  mPoint = wordStart();
  return elMove;
}

elSTATUS Editor::Exchange() {
  if (mMark > mEnd) return Beep();
  std::swap(mMark, mPoint);
  return elMove;
}

elSTATUS Editor::SetMark() {
  mMark = mPoint;
  return elStay;
}

elSTATUS Editor::MoveToChar() {
  int c = readKey();
  if (c < 0) return elEOF;
  for (int i = mPoint + 1; i < mEnd; ++i) {
    if (mLine[i] == c) {
      mPoint = i;
      return elMove;
    }
  }
  return elStay;
}

// --- Deletion, kill and yank ---------------------------------------------------------------

elSTATUS Editor::DelChar() { return deleteAt(count(), false); }

elSTATUS Editor::BackDelChar() {
  int n = std::min(count(), mPoint);
  if (n == 0) return elStay;
  mPoint -= n;
  return deleteAt(n, false);
}

elSTATUS Editor::DelWord() { return deleteAt(wordEnd() - mPoint, true); }

elSTATUS Editor::BackDelWord() {
  int start = wordStart();
  int n = mPoint - start;
  mPoint = start;
  return deleteAt(n, true);
}

elSTATUS Editor::KillLine() {
  if (mRepeat < 0) return deleteAt(mEnd - mPoint, true);
  int target = std::min(mRepeat, mEnd);
  if (target >= mPoint) return deleteAt(target - mPoint, true);
  int n = mPoint - target;
  mPoint = target;
  return deleteAt(n, true);
}

elSTATUS Editor::Wipe() {
  if (mMark > mEnd) return Beep();
  int from = std::min(mMark, mPoint);
  int n = std::max(mMark, mPoint) - from;
  mPoint = mMark = from;
  return deleteAt(n, true);
}

elSTATUS Editor::CopyRegion() {
  if (mMark > mEnd) return Beep();
  int from = std::min(mMark, mPoint);
  mYank.assign(reinterpret_cast<char const*>(&mLine[from]), std::max(mMark, mPoint) - from);
  return elStay;
}

elSTATUS Editor::Yank() {
  insertText(mYank);
  return elStay;
}

elSTATUS Editor::Quote() {
  int c = readKey();
  if (c < 0) return elEOF;
  insertText(std::string(count(), static_cast<char>(c)));
  return elStay;
}

// --- Case and transposition ----------------------------------------------------------------

elSTATUS Editor::changeCase(bool upper) {
  int end = wordEnd();
  if (std::none_of(&mLine[mPoint], &mLine[mPoint] + (end - mPoint), isWordChar)) return Beep();
  moveTo(mPoint);
  for (int i = mPoint; i < end; ++i) {
    mLine[i] = static_cast<unsigned char>(upper ? toupper(mLine[i]) : tolower(mLine[i]));
    show(mLine[i]);
  }
  mShown = mPoint = end;
  wrapFix();
  return elStay;
}

elSTATUS Editor::UpcaseWord() { return changeCase(true); }

elSTATUS Editor::DowncaseWord() { return changeCase(false); }

elSTATUS Editor::Transpose() {
  if (mEnd < 2 || mPoint == 0) return Beep();
  int i = mPoint == mEnd ? mEnd - 2 : mPoint - 1;
  moveTo(i);
  std::swap(mLine[i], mLine[i + 1]);
  show(mLine[i]);
  show(mLine[i + 1]);
  mShown = mPoint = i + 2;
  wrapFix();
  return elStay;
}

// --- History -------------------------------------------------------------------------------

namespace {
// Entries before the one being edited (the last).
int lastSaved(std::deque<std::string> const& history) {
  return static_cast<int>(history.size()) - 2;
}
}  // namespace

elSTATUS Editor::HistPrev() {
  if (mHistPos <= 0) return Beep();
  if (mHistPos == lastSaved(mHistory) + 1) mHistory.back() = Line();
  mHistPos = std::max(0, mHistPos - count());
  replaceLine(mHistory[mHistPos]);
  return elStay;
}

elSTATUS Editor::HistNext() {
  int last = lastSaved(mHistory) + 1;
  if (mHistPos >= last) return Beep();
  mHistPos = std::min(last, mHistPos + count());
  replaceLine(mHistory[mHistPos]);
  return elStay;
}

elSTATUS Editor::HistFirst() {
  if (mHistPos <= 0) return elStay;
  if (mHistPos == lastSaved(mHistory) + 1) mHistory.back() = Line();
  mHistPos = 0;
  replaceLine(mHistory[0]);
  return elStay;
}

elSTATUS Editor::HistLast() {
  int last = lastSaved(mHistory) + 1;
  if (mHistPos >= last) return elStay;
  mHistPos = last;
  replaceLine(mHistory[last]);
  return elStay;
}

elSTATUS Editor::HistSearch() {
  if (mSearching) return elStay;
  bool older = mRepeat < 0;
  mSearching = true;
  clearLine();
  std::string prompt = mPrompt;
  mPrompt = "Search: ";
  put(mPrompt.data(), static_cast<int>(mPrompt.size()));
  mRepeat = -1;
  elSTATUS s;
  try {
    s = editLoop();
  } catch (...) {
    mPrompt = prompt;
    mSearching = false;
    throw;
  }
  std::string text = Line();
  clearLine();
  mPrompt = prompt;
  mSearching = false;
  if (s == elSignal || (s == elEOF && mInputEnded)) {
    drawLine();
    return s;
  }
  if (s != elDone || text.empty()) {
    drawLine();
    return elStay;
  }
  int step = older ? -1 : 1;
  int last = lastSaved(mHistory);
  for (int i = mHistPos + step; i >= 0 && i <= last; i += step) {
    if (mHistory[i].find(text) == std::string::npos) continue;
    mHistPos = i;
    std::string const& found = mHistory[i];
    if (found.size() > mLine.size()) mLine.resize(found.size());
    memcpy(mLine.data(), found.data(), found.size());
    mPoint = mEnd = static_cast<int>(found.size());
    mLineWidth = widthOf(0, mEnd);
    drawLine();
    return elStay;
  }
  Beep();
  drawLine();
  return elStay;
}

elSTATUS Editor::LastArgument() {
  if (lastSaved(mHistory) < 0) return Beep();
  std::string const& line = mHistory[lastSaved(mHistory)];
  size_t end = line.find_last_not_of(" \t");
  if (end == std::string::npos) return Beep();
  size_t start = line.find_last_of(" \t", end);
  start = start == std::string::npos ? 0 : start + 1;
  insertText(line.substr(start, end + 1 - start));
  return elStay;
}

// --- Completion ----------------------------------------------------------------------------

elSTATUS Editor::TryToComplete() {
  auto isBreak = [this](unsigned char c) {
    return c != 0 && mBreakChars.find(static_cast<char>(c)) != std::string::npos;
  };
  int start = mPoint;
  while (start > 0 && !(isBreak(mLine[start - 1]) && !(start >= 2 && mLine[start - 2] == '\\'))) {
    --start;
  }
  std::string word;
  for (int i = start; i < mPoint; ++i) {
    if (mLine[i] == '\\' && i + 1 < mPoint) ++i;
    word += static_cast<char>(mLine[i]);
  }
  int matches = Complete(word);
  if (matches <= 0) return Beep();
  std::string text;
  for (char c : word) {
    if (isBreak(static_cast<unsigned char>(c))) text += '\\';
    text += c;
  }
  if (matches == 1) text += ' ';
  insertText(text);
  return matches > 1 ? Beep() : elStay;
}

void Editor::columnize(std::vector<std::string> const& items) {
  int longest = 0;
  for (std::string const& item : items) longest = std::max(longest, static_cast<int>(item.size()));
  int columnWidth = longest + 3;
  int screen = mWidth > 0 ? mWidth : 80;
  int columns = std::max(1, screen / columnWidth);
  int n = static_cast<int>(items.size());
  // One row more than needed when the candidates fill the columns exactly; deliberate.
  int rows = n / columns + 1;
  mScreen += "\r\n";
  for (int r = 0; r < rows; ++r) {
    for (int j = r; j < n; j += rows) {
      mScreen += items[j];
      if (j + rows < n) {
        mScreen.append(std::max(0, columnWidth - 1 - static_cast<int>(items[j].size())), ' ');
      }
    }
    mScreen += "\r\n";
  }
}

elSTATUS Editor::ListCompletions() {
  std::unique_ptr<std::vector<std::string>> items(GetCompletions());
  if (!items) return Beep();
  moveTo(mEnd);
  columnize(*items);
  items.reset();
  drawLine();
  return elStay;
}

// --- Display commands ----------------------------------------------------------------------

elSTATUS Editor::ToggleMetaMode() {
  bool shown =
      std::any_of(mLine.begin(), mLine.begin() + mEnd, [](unsigned char c) { return c >= 0x80; });
  if (shown) moveTo(mEnd);
  mFlags ^= kMetaMode;
  mLineWidth = widthOf(0, mEnd);
  if (!shown) return elStay;
  // The screen still shows the old glyphs; redraw on a fresh row with the new ones.
  put("\r\n", 2);
  drawLine();
  return elStay;
}

elSTATUS Editor::Redisplay() {
  moveTo(mEnd);
  put("\r\n", 2);
  drawLine();
  return elStay;
}

elSTATUS Editor::Finished() {
  moveTo(mEnd);
  return elDone;
}

elSTATUS Editor::Beep() {
  mScreen += '\a';
  flush();
  return elStay;
}

}  // namespace textui
}  // namespace corvane
