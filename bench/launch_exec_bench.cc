// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Cost of `LaunchExec::launch` next to a bare fork/execv/waitpid of the same program.
//   sandbox/corvane-sandbox --resources <build>/resource <build>/bench/launch_exec_bench
// BM_LaunchOverBare alternates the two in every iteration, so that load from other work on
// the machine hits both alike; its "ratio" counter is launch time over bare time.

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "corvane/launch_exec.h"
#include "corvane/log.h"

namespace {

char const* const kArgv[] = {"/bin/true", nullptr};

bool bareForkExec() {
  pid_t child = fork();
  if (child == 0) {
    execv(kArgv[0], const_cast<char* const*>(kArgv));
    _exit(127);
  }
  int status = -1;
  while (waitpid(child, &status, 0) < 0) {
  }
  return status == 0;
}

bool launch() {
  std::vector<std::string> err;
  return corvane::LaunchExec::launch(kArgv, "bench", &err, -1, -1, nullptr, nullptr) == 0;
}

void BM_BareForkExec(benchmark::State& state) {
  for (auto _ : state) {
    if (!bareForkExec()) state.SkipWithError("child failed");
  }
}
BENCHMARK(BM_BareForkExec)->UseRealTime();

// The argument is the log level; 7 is the library's default, where every trace line of a
// launch becomes a datagram, 3 keeps only the error-level lines.
void BM_Launch(benchmark::State& state) {
  corvane::log::setLogLevel(static_cast<unsigned>(state.range(0)));
  for (auto _ : state) {
    if (!launch()) state.SkipWithError("launch failed");
  }
}
BENCHMARK(BM_Launch)->Arg(7)->Arg(3)->UseRealTime();

void BM_LaunchOverBare(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  corvane::log::setLogLevel(static_cast<unsigned>(state.range(0)));
  Clock::duration bare{}, launched{};
  for (auto _ : state) {
    auto t0 = Clock::now();
    bool ok = bareForkExec();
    auto t1 = Clock::now();
    ok = launch() && ok;
    auto t2 = Clock::now();
    if (!ok) state.SkipWithError("child failed");
    bare += t1 - t0;
    launched += t2 - t1;
  }
  double bareUs = std::chrono::duration<double, std::micro>(bare).count();
  double launchUs = std::chrono::duration<double, std::micro>(launched).count();
  state.counters["bare_us"] = benchmark::Counter(bareUs, benchmark::Counter::kAvgIterations);
  state.counters["launch_us"] = benchmark::Counter(launchUs, benchmark::Counter::kAvgIterations);
  state.counters["ratio"] = bareUs > 0 ? launchUs / bareUs : 0;
}
BENCHMARK(BM_LaunchOverBare)->Arg(7)->Arg(3)->UseRealTime()->MinTime(3.0);

}  // namespace

BENCHMARK_MAIN();
