// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// `statusUtils::getFanStatus` with 16 fans against the same call made on a bare Thrift client
// stack, measured interleaved in one run so that both see the same machine. The bare stack
// looks the port up by service name, connects with the same settings and reads the wire list:
//   "ratio"            library / bare, median of the per-round ratios: what the copy into
//                      plain records adds (goal <= 1.05);
//   "ratio_port_known" the same against a bare stack told the port: adds the services-database
//                      lookup that every library call makes by design;
//   "ratio_of_means"   library / bare over the whole run, disturbances included.
// Run inside the sandbox:
//   sandbox/corvane-sandbox --resources build/resource build/bench/status_bench

#include <netdb.h>
#include <netinet/in.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

#include <corvane/idl/hardwareManager.h>
#include "corvane/log.h"
#include "corvane/status_utils.h"
#include "fake_manager.h"

namespace {

using Clock = std::chrono::steady_clock;
using hardwareManager::hardwareManagerClient;
constexpr int kFans = 16;

size_t viaLibrary() {
  std::vector<corvane::statusUtils::FanStatus> fans;
  corvane::statusUtils::getFanStatus(fans);
  return fans.size();
}

size_t viaBareThrift(int knownPort) {
  using namespace apache::thrift;
  int port = knownPort;
  if (port < 0) port = ntohs(static_cast<uint16_t>(getservbyname("hardwaremgr", "tcp")->s_port));
  auto socket = std::make_shared<transport::TSocket>("fe80::de:adff:febe:ef20%dummy0", port);
  socket->setConnTimeout(1000);
  socket->setNoDelay(true);
  auto transport = std::make_shared<transport::TBufferedTransport>(socket, 512, 512);
  transport->open();
  hardwareManagerClient client(std::make_shared<protocol::TBinaryProtocol>(transport));
  std::vector<hardwareManager::FanStatus> fans;
  client.getFanStatus(fans);
  return fans.size();
}

void BM_GetFanStatus(benchmark::State& state) {
  corvane::log::init("status_bench", false);
  corvane::testing::FakeManager manager("hardwaremgr");
  hardwareManager::hardwareManager_getFanStatus_result result;
  result.success.resize(kFans);
  for (int i = 0; i < kFans; ++i) {
    auto& fan = result.success[i];
    fan.FanID = "FAN" + std::to_string(i);
    fan.Formatted = std::to_string(3000 + 37 * i) + " RPM";
    fan.FanSpeed = static_cast<int16_t>(3000 + 37 * i);
    fan.LowerCriticalThreshold = 600;
    fan.ReadingStatus = i % 5 == 0 ? 3 : 4;
  }
  result.__isset.success = true;
  manager.reply("getFanStatus", result);
  int port = manager.port();

  // The three forms take turns at going first, so that none profits from its place. Each
  // round's ratios are taken on the same moment of a shared machine; their median ignores
  // the rounds that another process disturbed.
  Clock::duration spent[3]{};
  std::vector<double> ratios, knownRatios;
  unsigned turn = 0;
  for (auto _ : state) {
    Clock::duration round[3]{};
    for (unsigned k = 0; k < 3; ++k) {
      unsigned form = (turn + k) % 3;
      auto start = Clock::now();
      benchmark::DoNotOptimize(form == 0 ? viaLibrary() : viaBareThrift(form == 1 ? -1 : port));
      round[form] = Clock::now() - start;
      spent[form] += round[form];
    }
    ratios.push_back(std::chrono::duration<double>(round[0]).count() /
                     std::chrono::duration<double>(round[1]).count());
    knownRatios.push_back(std::chrono::duration<double>(round[0]).count() /
                          std::chrono::duration<double>(round[2]).count());
    ++turn;
  }
  if (viaLibrary() != kFans) state.SkipWithError("the library read the wrong number of fans");
  auto us = [&](Clock::duration d) {
    return std::chrono::duration<double, std::micro>(d).count() /
           static_cast<double>(state.iterations());
  };
  auto median = [](std::vector<double>& v) {
    std::nth_element(v.begin(), v.begin() + static_cast<long>(v.size() / 2), v.end());
    return v[v.size() / 2];
  };
  state.counters["library_us"] = us(spent[0]);
  state.counters["bare_us"] = us(spent[1]);
  state.counters["ratio"] = median(ratios);
  state.counters["ratio_port_known"] = median(knownRatios);
  state.counters["ratio_of_means"] = us(spent[0]) / us(spent[1]);
}
BENCHMARK(BM_GetFanStatus)->MinTime(2.0)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
