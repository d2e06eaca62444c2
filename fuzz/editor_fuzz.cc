// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: the line editor's key input. The input (after a flags byte) is written into a
// pipe whose read end is the editor's input; lines are read until the end of input.

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "corvane/editor.h"

using namespace corvane::textui;

namespace {

// Input from a pipe, output dropped, no terminal: the editor keeps its default keys.
class PipeIO : public io::Base {
 public:
  PipeIO(int in, int out) : io::Base(in, out) {}
  // A few key strokes can grow a line towards its 1 MiB limit, and every later edit redraws
  // it: past a budget of screen output the input ends, so that each run stays short and the
  // campaign keeps exploring.
  int Read() override { return mWritten > kOutputBudget ? -1 : io::Base::Read(); }
  int Write(unsigned char const*, int count) override {
    mWritten += count;
    return count;
  }
  bool SetMode(termios const*) override { return false; }
  bool GetMode(termios*) const override { return false; }
  bool GetSize(int& rows, int& columns) const override {
    rows = 24;
    columns = 20;  // narrow, so that lines wrap across rows
    return true;
  }

 private:
  static constexpr long kOutputBudget = 256L << 10;
  long mWritten = 0;
};

class Shell : public Editor {
 public:
  using Editor::Editor;
  std::vector<std::string>* GetCompletions() override {
    return new std::vector<std::string>{"show", "shutdown", "set", "system"};
  }
  // Completes with a fixed tail: the line grows by a few bytes per TAB, not by the word.
  int Complete(std::string& word) override {
    if (word.empty()) return 0;
    int matches = static_cast<int>(word.size() % 3);
    word = "ow";
    return matches;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size == 0 || size > 60000) return 0;  // the whole input must fit the pipe's buffer
  int fds[2];
  if (pipe(fds) != 0) std::abort();
  size_t done = 1;
  while (done < size) {
    ssize_t n = write(fds[1], data + done, size - done);
    if (n <= 0) std::abort();
    done += static_cast<size_t>(n);
  }
  close(fds[1]);
  int out = open("/dev/null", O_WRONLY | O_CLOEXEC);
  // Never the flag that raises signals again: it would stop the fuzzer itself.
  int flags = data[0] & (Editor::kMetaMode | Editor::kNoArrows);
  Shell editor(new PipeIO(fds[0], out), flags);
  editor.SetNoEcho(data[0] & 0x80);
  std::string line;
  for (size_t lines = 0; lines <= size && editor.get(line); ++lines) {
  }
  return 0;
}
