// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// getClient + one call + delete against a bare Thrift client stack doing the same, measured
// interleaved in one run so that both see the same machine. The bare stack is told the port
// and makes the same connection (1000 ms connect timeout, no delay):
//   "ratio"         getClient(port) against it: what the library's stack adds (goal <= 1.05);
//   "ratio_by_name" getClient(service name): adds the services-database lookup, which reads
//                   the database on every call by design;
//   "ratio_default_socket" getClient(port) against a socket left at Thrift's defaults.
// Run inside the sandbox:
//   sandbox/corvane-sandbox --resources build/resource build/bench/client_bench

#include <chrono>
#include <memory>

#include <benchmark/benchmark.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

#include "corvane/appliance_utils.h"
#include "corvane/client.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include <corvane/idl/hardwareManager.h>

namespace {

using Clock = std::chrono::steady_clock;
using hardwareManager::hardwareManagerClient;

int viaLibrary() {
  std::unique_ptr<hardwareManagerClient> client(
      corvane::getClient<hardwareManagerClient>("hardwaremgr", 0));
  return client->getUptime();
}

int viaLibraryPort(int port) {
  std::unique_ptr<hardwareManagerClient> client(
      corvane::getClient<hardwareManagerClient>(port, 0));
  return client->getUptime();
}

int viaBareThrift(int port, bool sameSettings) {
  using namespace apache::thrift;
  auto socket = std::make_shared<transport::TSocket>("fe80::de:adff:febe:ef20%dummy0", port);
  if (sameSettings) {
    socket->setConnTimeout(1000);
    socket->setNoDelay(true);
  }
  auto transport = std::make_shared<transport::TBufferedTransport>(socket, 512, 512);
  transport->open();
  hardwareManagerClient client(std::make_shared<protocol::TBinaryProtocol>(transport));
  return client.getUptime();
}

void BM_GetClientCallDelete(benchmark::State& state) {
  corvane::log::init("client_bench", false);
  corvane::testing::FakeManager manager("hardwaremgr");
  int port = corvane::applianceUtils::getPortforService("hardwaremgr", "tcp");
  Clock::duration byName{}, library{}, bare{}, plain{};
  for (auto _ : state) {
    auto t0 = Clock::now();
    benchmark::DoNotOptimize(viaLibrary());
    auto t1 = Clock::now();
    benchmark::DoNotOptimize(viaLibraryPort(port));
    auto t2 = Clock::now();
    benchmark::DoNotOptimize(viaBareThrift(port, true));
    auto t3 = Clock::now();
    benchmark::DoNotOptimize(viaBareThrift(port, false));
    auto t4 = Clock::now();
    byName += t1 - t0;
    library += t2 - t1;
    bare += t3 - t2;
    plain += t4 - t3;
  }
  auto us = [&](Clock::duration d) {
    return std::chrono::duration<double, std::micro>(d).count() /
           static_cast<double>(state.iterations());
  };
  state.counters["library_us"] = us(library);
  state.counters["bare_us"] = us(bare);
  state.counters["ratio"] = us(library) / us(bare);
  state.counters["ratio_by_name"] = us(byName) / us(bare);
  state.counters["ratio_default_socket"] = us(library) / us(plain);
}
BENCHMARK(BM_GetClientCallDelete)->MinTime(2.0)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
