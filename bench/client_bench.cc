// getClient + one call + delete against a bare Thrift client stack doing the same, measured
// interleaved in one run so that both see the same machine; the "ratio" counter is the answer
// (goal: at most 1.05). Run inside the sandbox:
//   tests/sandbox/run --resources build/resource build/bench/client_bench

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
#include "hardwareManager.h"

namespace {

using Clock = std::chrono::steady_clock;
using hardwareManager::hardwareManagerClient;

int viaLibrary() {
  std::unique_ptr<hardwareManagerClient> client(
      corvane::getClient<hardwareManagerClient>("hardwaremgr", 0));
  return client->getUptime();
}

int viaBareThrift(int port) {
  using namespace apache::thrift;
  auto socket = std::make_shared<transport::TSocket>("fe80::de:adff:febe:ef20%dummy0", port);
  auto transport = std::make_shared<transport::TBufferedTransport>(socket, 512, 512);
  transport->open();
  hardwareManagerClient client(std::make_shared<protocol::TBinaryProtocol>(transport));
  return client.getUptime();
}

void BM_GetClientCallDelete(benchmark::State& state) {
  corvane::log::init("client_bench", false);
  corvane::testing::FakeManager manager("hardwaremgr");
  int port = corvane::applianceUtils::getPortforService("hardwaremgr", "tcp");
  Clock::duration library{}, bare{};
  for (auto _ : state) {
    auto t0 = Clock::now();
    benchmark::DoNotOptimize(viaLibrary());
    auto t1 = Clock::now();
    benchmark::DoNotOptimize(viaBareThrift(port));
    auto t2 = Clock::now();
    library += t1 - t0;
    bare += t2 - t1;
  }
  double n = static_cast<double>(state.iterations());
  state.counters["library_us"] = std::chrono::duration<double, std::micro>(library).count() / n;
  state.counters["bare_us"] = std::chrono::duration<double, std::micro>(bare).count() / n;
  state.counters["ratio"] = static_cast<double>(library.count()) / static_cast<double>(bare.count());
}
BENCHMARK(BM_GetClientCallDelete)->MinTime(2.0)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
