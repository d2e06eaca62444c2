// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Pastes 1 MiB into the line editor through a pseudo-terminal: time until `get` returns the
// line (goal under 1 s) and bytes written to the terminal per pasted byte (goal <= 1.05).

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "corvane/editor.h"

namespace {

void BM_EditorPaste1MiB(benchmark::State& state) {
  std::string paste(1 << 20, 'x');
  for (size_t i = 0; i < paste.size(); ++i)
    paste[i] = "abcdefghij klmnopqrstuvwxyz-0123456789"[i % 38];
  double seconds = 0, ratio = 0;
  for (auto _ : state) {
    int master, slave;
    winsize size{24, 80, 0, 0};
    if (openpty(&master, &slave, nullptr, nullptr, &size) != 0) {
      state.SkipWithError("no pseudo-terminal");
      return;
    }
    // Non-blocking, so that pasting never stalls draining the editor's output.
    fcntl(master, F_SETFL, fcntl(master, F_GETFL) | O_NONBLOCK);
    int fd = dup(slave);
    std::unique_ptr<corvane::textui::Editor> ed(corvane::textui::Editor::FromTTY(fd, fd, 0));
    ed->SetPrompt("> ");
    std::atomic<bool> done{false};
    std::atomic<long> written{0};
    // The terminal side: drains the editor's output and pastes once raw mode is on.
    std::thread terminal([&] {
      termios mode;
      while (tcgetattr(slave, &mode) == 0 && (mode.c_lflag & ICANON) != 0) usleep(200);
      size_t sent = 0;
      std::string const all = paste + "\r";
      char buf[65536];
      while (!done || sent < all.size()) {
        pollfd fds[2] = {{master, POLLIN, 0}, {master, 0, 0}};
        if (sent < all.size()) fds[1].events = POLLOUT;
        if (poll(fds, 2, 10) <= 0) continue;
        if (fds[0].revents & POLLIN) {
          ssize_t n = read(master, buf, sizeof buf);
          if (n > 0) written += n;
        }
        if (sent < all.size() && (fds[1].revents & POLLOUT)) {
          ssize_t n = write(master, all.data() + sent, std::min<size_t>(4096, all.size() - sent));
          if (n > 0) sent += n;
        }
      }
      // What is left after the line came back.
      for (;;) {
        pollfd pfd{master, POLLIN, 0};
        if (poll(&pfd, 1, 100) <= 0) break;
        ssize_t n = read(master, buf, sizeof buf);
        if (n <= 0) break;
        written += n;
      }
    });
    auto start = std::chrono::steady_clock::now();
    std::string line;
    bool ok = ed->get(line);
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    done = true;
    terminal.join();
    if (!ok || line != paste) state.SkipWithError("line differs from the paste");
    ratio = double(written) / double(paste.size());
    ed.reset();
    close(master);
    close(slave);
    state.SetIterationTime(seconds);
  }
  state.counters["seconds_to_line"] = seconds;
  state.counters["written_per_pasted_byte"] = ratio;
}
BENCHMARK(BM_EditorPaste1MiB)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
