// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Runs the fake manager daemons in the foreground until SIGTERM/SIGINT or the given number of
// seconds, so that separate programs can be tried against them inside the sandbox:
//   tests/sandbox/run sh -c 'build/examples/fake_managers 10 & sleep 0.3; ./my_program'

#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "fake_manager.h"

namespace {
volatile sig_atomic_t gStop = 0;
void onSignal(int) { gStop = 1; }
}  // namespace

int main(int argc, char** argv) {
  int seconds = argc > 1 ? std::atoi(argv[1]) : 0;
  signal(SIGTERM, onSignal);
  signal(SIGINT, onSignal);
  corvane::testing::FakeManagers managers;
  std::printf("fake managers listening\n");
  std::fflush(stdout);
  for (int tenths = 0; !gStop && (seconds <= 0 || tenths < seconds * 10); ++tenths) {
    usleep(100000);
  }
  return 0;
}
