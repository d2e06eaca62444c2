// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Terminal I/O of the line editor: byte input with a wake-up pipe, modes and window size.

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "corvane/editor.h"

namespace corvane {
namespace textui {
namespace io {

Base::Base(int in, int out) : mPipe{-1, -1}, mIn(in), mOut(out), mBuffer(), mNext(0), mFilled(0) {
  if (pipe2(mPipe, O_CLOEXEC) != 0) mPipe[0] = mPipe[1] = -1;
}

Base::~Base() {
  if (mPipe[0] >= 0) close(mPipe[0]);
  if (mPipe[1] >= 0) close(mPipe[1]);
  if (mIn >= 0) close(mIn);
  if (mOut >= 0 && mOut != mIn) close(mOut);
}

void Base::Wake() {
  if (mPipe[1] < 0) return;
  unsigned char one = 1;
  while (write(mPipe[1], &one, 1) < 0 && errno == EINTR) {
  }
}

int Base::Read() {
  if (mNext < mFilled) return mBuffer[mNext++];
  pollfd fds[2] = {{mIn, POLLIN | POLLPRI, 0}, {mPipe[0], POLLIN | POLLPRI, 0}};
  for (;;) {
    int n = poll(fds, 2, -1);
    if (n >= 0) break;
    if (errno != EINTR) return -1;
  }
  if (fds[1].revents != 0) {
    unsigned char wake;
    ssize_t got = read(mPipe[0], &wake, 1);
    (void)got;
    return -1;
  }
  if ((fds[0].revents & (POLLIN | POLLPRI)) == 0) return -1;
  for (;;) {
    ssize_t n = read(mIn, mBuffer, sizeof mBuffer);
    if (n > 0) {
      mNext = 1;
      mFilled = static_cast<int>(n);
      return mBuffer[0];
    }
    if (n < 0 && errno == EINTR) continue;
    return -1;
  }
}

int tty::Write(unsigned char const* data, int count) {
  int done = 0;
  while (done < count) {
    ssize_t n = write(mOut, data + done, count - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      return -1;
    }
    done += static_cast<int>(n);
  }
  return done;
}

bool tty::SetMode(termios const* mode) { return tcsetattr(mIn, TCSADRAIN, mode) == 0; }

bool tty::GetMode(termios* mode) const { return tcgetattr(mIn, mode) == 0; }

bool tty::GetSize(int& rows, int& columns) const {
  winsize size{};
  if (ioctl(mOut, TIOCGWINSZ, &size) != 0 && ioctl(mIn, TIOCGWINSZ, &size) != 0) return false;
  if (size.ws_col == 0) return false;
  rows = size.ws_row;
  columns = size.ws_col;
  return true;
}

}  // namespace io
}  // namespace textui
}  // namespace corvane
