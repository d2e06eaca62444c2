// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Cost of the trace path, each measured against its baseline in the same run, interleaved in
// batches so that machine noise hits both sides alike. Run inside sandbox/corvane-sandbox.
//   ratio = trace cost / baseline cost (counter "ratio"); trace_ns and the baseline's *_ns
//   counters are the per-line figures.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>

#include "fake_manager.h"
#include "corvane/appliance_utils.h"
#include "corvane/log.h"

namespace {

using corvane::log::trace;

constexpr int kBatch = 200;

// An out-of-line call with the same arguments that does nothing: the floor for a filtered line.
__attribute__((noinline, format(printf, 2, 3))) void emptyCall(unsigned level, char const* format,
                                                               ...) {
  benchmark::DoNotOptimize(level);
  benchmark::DoNotOptimize(format);
}

template <class Body>
double batchNs(Body&& body) {
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kBatch; ++i) body(i);
  std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
  return elapsed.count();
}

void report(benchmark::State& state, double traceNs, double baseNs, long batches,
            char const* baseName) {
  double lines = static_cast<double>(batches) * kBatch;
  state.counters["trace_ns"] = traceNs / lines;
  state.counters[baseName] = baseNs / lines;
  state.counters["ratio"] = traceNs / baseNs;
  state.SetItemsProcessed(static_cast<int64_t>(lines));
}

void BM_TraceFilteredByLevel(benchmark::State& state) {
  corvane::log::init("bench", false);
  corvane::log::setLogLevel(3);
  double traceNs = 0;
  double baseNs = 0;
  long batches = 0;
  for (auto _ : state) {
    traceNs += batchNs([](int i) { trace(7, "filtered line %d of %s", i, "bench"); });
    baseNs += batchNs([](int i) { emptyCall(7, "filtered line %d of %s", i, "bench"); });
    ++batches;
  }
  report(state, traceNs, baseNs, batches, "empty_call_ns");
}
BENCHMARK(BM_TraceFilteredByLevel);

void BM_TraceEmittedVsBareSend(benchmark::State& state) {
  corvane::testing::SyslogSink sink;
  corvane::log::init("bench", false);
  corvane::log::setLogLevel(7);

  // The same datagram built the plainest way: one snprintf, one sendto, from a socket made
  // like the logger's (no options) to the same address and port; the process id is read once.
  int bare = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 destination{};
  destination.sin6_family = AF_INET6;
  destination.sin6_port =
      htons(static_cast<uint16_t>(corvane::applianceUtils::getPortforService("syslogng", "udp")));
  inet_pton(AF_INET6, "fe80::de:adff:febe:ef20", &destination.sin6_addr);
  int const pid = static_cast<int>(getpid());
  auto bareSend = [&](int i) {
    char datagram[1024];
    int length = snprintf(datagram, sizeof datagram,
                          "<%u>Feb 15 23:53:07 localhost %s(%i)[%.10s]:emitted line %d of %s", 142u,
                          "bench", pid, "", i, "bench");
    sendto(bare, datagram, static_cast<size_t>(length), 0,
           reinterpret_cast<sockaddr*>(&destination), sizeof destination);
  };

  // Both sides must send the same bytes to the same place, or the ratio means nothing.
  std::string datagram, traced, plain;
  while (sink.next(datagram, 0)) {
  }
  trace(6, "emitted line %d of %s", 7, "bench");
  bareSend(7);
  if (!sink.next(traced, 1000) || !sink.next(plain, 1000) || traced != plain) {
    state.SkipWithError("the trace line and the bare datagram differ");
    close(bare);
    return;
  }
  double traceNs = 0;
  double baseNs = 0;
  long batches = 0;
  for (auto _ : state) {
    traceNs += batchNs([](int i) { trace(6, "emitted line %d of %s", i, "bench"); });
    baseNs += batchNs(bareSend);
    ++batches;
    state.PauseTiming();
    while (sink.next(datagram, 0)) {
    }
    state.ResumeTiming();
  }
  close(bare);
  report(state, traceNs, baseNs, batches, "bare_send_ns");
}
BENCHMARK(BM_TraceEmittedVsBareSend)->Iterations(2000);

}  // namespace

BENCHMARK_MAIN();
