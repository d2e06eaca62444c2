// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Calls per second served by the callback server against a bare `TSimpleServer` on the same
// generated processor and handler class, measured interleaved in one run:
//   "ratio"       callback server / bare server, one connection kept open (goal >= 0.95);
//   "ratio_fresh" the same with a new connection per call, as managers call back.
// Run inside the sandbox:
//   sandbox/corvane-sandbox --resources build/resource build/bench/callback_server_bench

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <thread>

#include <benchmark/benchmark.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/server/TSimpleServer.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TServerSocket.h>
#include <thrift/transport/TSocket.h>

#include "corvane/callback_manager.h"
#include "corvane/log.h"

namespace {

using namespace apache::thrift;
using Clock = std::chrono::steady_clock;
using Client = callbackManager::callbackManagerClient;

constexpr int kBarePort = 9300;
constexpr int kBatch = 50;

// Over IPv4 loopback, connected by hand: in the sandbox both servers listen on IPv4 only and
// Thrift's resolver refuses IPv4 names there.
std::unique_ptr<Client> connectTo(int port) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  for (int tries = 0; ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0;
       ++tries) {
    if (tries == 200) throw transport::TTransportException("cannot connect");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  auto buffered =
      std::make_shared<transport::TBufferedTransport>(std::make_shared<transport::TSocket>(fd));
  return std::make_unique<Client>(std::make_shared<protocol::TBinaryProtocol>(buffered));
}

// The bare server: what the callback server is built from, started by hand.
class BareServer {
 public:
  BareServer() : mHandler(kBarePort) {
    std::shared_ptr<callbackManager::callbackManagerIf> iface(
        &mHandler, [](callbackManager::callbackManagerIf*) {});
    mServer = std::make_shared<server::TSimpleServer>(
        std::make_shared<callbackManager::callbackManagerProcessor>(iface),
        std::make_shared<transport::TServerSocket>(kBarePort),
        std::make_shared<transport::TBufferedTransportFactory>(),
        std::make_shared<protocol::TBinaryProtocolFactory>());
    mThread = std::thread([this] { mServer->serve(); });
  }
  ~BareServer() {
    mServer->stop();
    mThread.join();
  }

 private:
  corvane::callbackManagerHandler mHandler;
  std::shared_ptr<server::TSimpleServer> mServer;
  std::thread mThread;
};

void BM_CallsServed(benchmark::State& state) {
  bool fresh = state.range(0) != 0;
  corvane::log::init("callback_server_bench", false);
  corvane::log::setLogLevel(6);
  corvane::callbackManagerHandler* handler =
      corvane::callbackManagerHandler::startCallbackManager();
  if (handler == nullptr) {
    state.SkipWithError("callback server did not start");
    return;
  }
  {
    BareServer bare;
    std::unique_ptr<Client> library = connectTo(handler->port);
    std::unique_ptr<Client> direct = connectTo(kBarePort);
    Clock::duration libraryTime{}, bareTime{};
    auto batch = [fresh](std::unique_ptr<Client>& client, int port) {
      auto start = Clock::now();
      for (int i = 0; i < kBatch; ++i) {
        if (fresh) client = connectTo(port);
        benchmark::DoNotOptimize(client->startTest(i));
      }
      return Clock::now() - start;
    };
    for (auto _ : state) {
      libraryTime += batch(library, handler->port);
      bareTime += batch(direct, kBarePort);
    }
    double calls = static_cast<double>(state.iterations()) * kBatch;
    auto perSecond = [calls](Clock::duration d) {
      return calls / std::chrono::duration<double>(d).count();
    };
    state.counters["library_cps"] = perSecond(libraryTime);
    state.counters["bare_cps"] = perSecond(bareTime);
    state.counters[fresh ? "ratio_fresh" : "ratio"] = perSecond(libraryTime) / perSecond(bareTime);
  }
  corvane::callbackManagerHandler::cleanup();
}
BENCHMARK(BM_CallsServed)->Arg(0)->Arg(1)->MinTime(2.0)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
