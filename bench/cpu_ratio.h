// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The ratio loop shared by the benchmarks that compare a library path with a bare baseline:
// both run in every iteration and their thread CPU times are summed, so that both see the same
// machine and other load on a shared machine does not count.

#ifndef CORVANE_BENCH_CPU_RATIO_H
#define CORVANE_BENCH_CPU_RATIO_H

#include <time.h>

#include <benchmark/benchmark.h>

namespace corvane {
namespace bench {

inline double threadSeconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Runs `ours` then `bare` in every iteration and reports their CPU-time ratio as "ratio".
template <class Ours, class Bare>
void cpuRatio(benchmark::State& state, Ours&& ours, Bare&& bare) {
  double oursSeconds = 0;
  double bareSeconds = 0;
  for (auto _ : state) {
    double t0 = threadSeconds();
    benchmark::DoNotOptimize(ours());
    double t1 = threadSeconds();
    benchmark::DoNotOptimize(bare());
    double t2 = threadSeconds();
    oursSeconds += t1 - t0;
    bareSeconds += t2 - t1;
  }
  state.counters["ratio"] = oursSeconds / bareSeconds;
}

}  // namespace bench
}  // namespace corvane

#endif  // CORVANE_BENCH_CPU_RATIO_H
