// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Cost of `IPConfigValidator` with the IPv4 default gateway on the k-th of k addresses, next
// to 2k bare launches of the same ipcalc command lines.
//   sandbox/corvane-sandbox --resources <build>/resource <build>/bench/ipconfig_validator_bench
// "processes" counts the ipcalc calls one check makes (2k expected). BM_IPConfigOverBare
// alternates the check and the bare launches in every iteration, so that load from other work
// on the machine hits both alike; its "ratio" is check time over bare time.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "corvane/config_value.h"
#include "corvane/ip_config_validators.h"
#include "corvane/log.h"

namespace {

using corvane::config::ArrayValue;
using corvane::config::SimpleValue;
using corvane::config::StructValue;

std::string address(int i) { return "10.0." + std::to_string(i) + ".1/24"; }

// DHCP off, addresses 10.0.1.1/24 ... 10.0.k.1/24, gateway 10.0.k.254.
std::unique_ptr<StructValue> settings(int k) {
  auto ip = std::make_unique<StructValue>();
  ip->insert("use-dhcp", new SimpleValue("false"));
  auto* list = new ArrayValue();
  for (int i = 1; i <= k; ++i) list->append(new SimpleValue(address(i)));
  ip->insert("address", list);
  auto* gateway = new StructValue();
  gateway->insert("gateway", new SimpleValue("10.0." + std::to_string(k) + ".254"));
  ip->insert("ipv4-default-gateway", gateway);
  return ip;
}

size_t recordedCalls() {
  std::ifstream in("/sandbox/calls/ipcalc");
  size_t lines = 0;
  for (std::string line; std::getline(in, line);) ++lines;
  return lines;
}

// The 2k command lines of a check, each spawned and waited for with its output discarded.
bool bareLaunches(int k, std::string const& gateway) {
  static int const sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, sink, 1);
  bool ok = true;
  for (int i = 1; i <= k; ++i) {
    std::string a = address(i), g = gateway + a.substr(a.find('/'));
    for (std::string const* arg : {&g, &a}) {
      char const* argv[] = {"/bin/ipcalc", "-s", "-n", arg->c_str(), nullptr};
      pid_t child;
      if (posix_spawn(&child, argv[0], &actions, nullptr, const_cast<char* const*>(argv),
                      environ) != 0) {
        ok = false;
        continue;
      }
      int status = -1;
      while (waitpid(child, &status, 0) < 0) {
      }
      ok = ok && status == 0;
    }
  }
  posix_spawn_file_actions_destroy(&actions);
  return ok;
}

void BM_IPConfig(benchmark::State& state) {
  int k = static_cast<int>(state.range(0));
  corvane::log::setLogLevel(static_cast<unsigned>(state.range(1)));
  auto ip = settings(k);
  corvane::config::validator::IPConfigValidator validator("ip");
  size_t before = recordedCalls();
  for (auto _ : state) {
    if (!validator.Valid(ip.get())) state.SkipWithError("gateway refused");
  }
  state.counters["processes"] =
      static_cast<double>(recordedCalls() - before) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_IPConfig)->ArgsProduct({{1, 4, 16}, {7, 3}})->UseRealTime();

void BM_IPConfigOverBare(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  int k = static_cast<int>(state.range(0));
  corvane::log::setLogLevel(static_cast<unsigned>(state.range(1)));
  auto ip = settings(k);
  std::string gateway = "10.0." + std::to_string(k) + ".254";
  corvane::config::validator::IPConfigValidator validator("ip");
  Clock::duration checked{}, bare{};
  for (auto _ : state) {
    auto t0 = Clock::now();
    if (!validator.Valid(ip.get())) state.SkipWithError("gateway refused");
    auto t1 = Clock::now();
    if (!bareLaunches(k, gateway)) state.SkipWithError("bare launch failed");
    auto t2 = Clock::now();
    checked += t1 - t0;
    bare += t2 - t1;
  }
  state.counters["ratio"] =
      std::chrono::duration<double>(checked).count() / std::chrono::duration<double>(bare).count();
}
BENCHMARK(BM_IPConfigOverBare)->ArgsProduct({{1, 4, 16}, {7, 3}})->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
