// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Manager servers of the simulator: threaded Thrift servers on the manager ports, the faults
// they can be told to show, the event log and the configuration store.

#include "sim.h"

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <ctime>

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/server/TServer.h>
#include <thrift/server/TThreadedServer.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TServerSocket.h>

#include "corvane/appliance_utils.h"

namespace corvane {
namespace sim {

using apache::thrift::TProcessor;
using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::protocol::TBinaryProtocolFactory;
using apache::thrift::protocol::TProtocol;
using apache::thrift::server::TServerEventHandler;
using apache::thrift::server::TThreadedServer;
using apache::thrift::transport::TBufferedTransportFactory;
using apache::thrift::transport::TMemoryBuffer;
using apache::thrift::transport::TServerSocket;

namespace {

char const* const kFaultNames[] = {"none", "down", "hung", "garbage", "close", "slow"};

// Not a Thrift message: a binary-protocol client reads a bad version and gives up at once.
// (Garbage read as a huge positive name length would instead keep a client without string
// limits reading until the connection closes.)
char const kGarbage[] = "\x80\x7f\x7f\x7f garbage from corvane-sim";

// Sleeps `ms` in short steps; false when `server` stops meanwhile.
bool pause(ManagerServer const& server, int ms) {
  auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (std::chrono::steady_clock::now() < until) {
    if (server.stopping()) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

// Puts the fault in force between the connection and the generated processor.
class FaultProcessor : public TProcessor {
 public:
  FaultProcessor(ManagerServer& server, std::shared_ptr<TProcessor> inner)
      : mServer(server), mInner(std::move(inner)) {}

  bool process(std::shared_ptr<TProtocol> in, std::shared_ptr<TProtocol> out,
               void* context) override {
    switch (mServer.fault()) {
      case Fault::kHung:
        // Never answers; the connection ends once the fault is lifted or the server stops.
        while (mServer.fault() == Fault::kHung && !mServer.stopping()) {
          std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
      case Fault::kSlow:
        if (!pause(mServer, mServer.slowMs())) return false;
        return mInner->process(in, out, context);
      case Fault::kGarbage:
      case Fault::kClose: {
        auto buffer = std::make_shared<TMemoryBuffer>();
        auto memory = std::make_shared<TBinaryProtocol>(buffer);
        mInner->process(in, memory, context);
        std::string reply = buffer->getBufferAsString();
        if (mServer.fault() == Fault::kGarbage) {
          reply.assign(kGarbage, sizeof kGarbage - 1);
        } else {
          reply.resize(reply.size() / 2);
        }
        auto transport = out->getTransport();
        transport->write(reinterpret_cast<uint8_t const*>(reply.data()),
                         static_cast<uint32_t>(reply.size()));
        transport->flush();
        return false;  // the connection is closed after the broken reply
      }
      default:
        return mInner->process(in, out, context);
    }
  }

 private:
  ManagerServer& mServer;
  std::shared_ptr<TProcessor> mInner;
};

// Tells `start` when the server listens.
class ReadyEvents : public TServerEventHandler {
 public:
  void preServe() override {
    std::lock_guard<std::mutex> lock(mutex);
    ready = true;
    changed.notify_all();
  }
  std::mutex mutex;
  std::condition_variable changed;
  bool ready = false;
  bool failed = false;
};

}  // namespace

bool parseFault(std::string const& word, Fault& fault) {
  for (size_t i = 0; i < sizeof kFaultNames / sizeof kFaultNames[0]; ++i) {
    if (word == kFaultNames[i]) {
      fault = static_cast<Fault>(i);
      return true;
    }
  }
  return false;
}

char const* faultName(Fault fault) { return kFaultNames[static_cast<int>(fault)]; }

EventLog::EventLog(std::string path, bool echo)
    : mPath(std::move(path)), mEcho(echo), mFile(fopen(mPath.c_str(), "ae")) {
  if (mFile == nullptr) fprintf(stderr, "corvane-sim: cannot write %s\n", mPath.c_str());
}

EventLog::~EventLog() {
  if (mFile != nullptr) fclose(mFile);
}

void EventLog::write(std::string const& source, std::string const& text) {
  char stamp[32];
  time_t now = time(nullptr);
  struct tm parts;
  strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&now, &parts));
  std::lock_guard<std::mutex> lock(mMutex);
  // A device reset removes the files in /var/log: start a new file rather than write on
  // into a removed one.
  if (access(mPath.c_str(), F_OK) != 0) {
    if (mFile != nullptr) fclose(mFile);
    mFile = fopen(mPath.c_str(), "ae");
  }
  if (mFile != nullptr) {
    fprintf(mFile, "%s %s: %s\n", stamp, source.c_str(), text.c_str());
    fflush(mFile);
  }
  if (mEcho) fprintf(stderr, "%s %s: %s\n", stamp, source.c_str(), text.c_str());
}

bool ConfigStore::get(Key const& key, Object& object) const {
  std::lock_guard<std::mutex> lock(mMutex);
  auto it = mObjects.find(key);
  if (it == mObjects.end()) return false;
  object = it->second;
  return true;
}

void ConfigStore::put(Key const& key, Object const& object) {
  std::lock_guard<std::mutex> lock(mMutex);
  mObjects[key] = object;
}

bool ConfigStore::erase(Key const& key) {
  std::lock_guard<std::mutex> lock(mMutex);
  return mObjects.erase(key) != 0;
}

void ConfigStore::clear() {
  std::lock_guard<std::mutex> lock(mMutex);
  mObjects.clear();
}

bool ConfigStore::has(Key const& key) const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mObjects.count(key) != 0;
}

std::vector<std::string> ConfigStore::names(std::string const& domain,
                                            std::string const& type) const {
  std::vector<std::string> found;
  std::lock_guard<std::mutex> lock(mMutex);
  for (auto const& entry : mObjects) {
    if (std::get<0>(entry.first) == domain && std::get<1>(entry.first) == type) {
      found.push_back(std::get<2>(entry.first));
    }
  }
  return found;
}

Sim::Sim(Options const& opts) : options(opts), events("/var/log/corvane-sim.log", opts.verbose) {}

void Sim::onReboot(std::function<void()> hook) {
  std::lock_guard<std::mutex> lock(mRebootMutex);
  mRebootHooks.push_back(std::move(hook));
}

void Sim::reboot() {
  std::lock_guard<std::mutex> lock(mRebootMutex);
  for (auto const& hook : mRebootHooks) hook();
  events.write("corvane-sim", "rebooted: managers back in their starting state");
}

ManagerServer::ManagerServer(Sim& sim, std::string service, std::shared_ptr<TProcessor> processor)
    : mSim(sim),
      mService(std::move(service)),
      mPort(applianceUtils::getPortforService(mService.c_str(), "tcp")) {
  mProcessor = std::make_shared<FaultProcessor>(*this, std::move(processor));
}

ManagerServer::~ManagerServer() { stop(); }

bool ManagerServer::start() {
  std::lock_guard<std::mutex> lock(mLifecycle);
  if (mRunning) return true;
  if (mPort <= 0) {
    mSim.events.write(mService, "no port in the services database; not served");
    return false;
  }
  // Without an address Thrift asks for configured address families, and a machine with only
  // a link-local IPv6 address gets an IPv4-only socket the manager address cannot reach: bind
  // the IPv6 wildcard by name (Thrift leaves IPv4 mapped in).
  auto socket = std::make_shared<TServerSocket>("::", mPort);
  auto events = std::make_shared<ReadyEvents>();
  mServer = std::make_shared<TThreadedServer>(mProcessor, socket,
                                              std::make_shared<TBufferedTransportFactory>(),
                                              std::make_shared<TBinaryProtocolFactory>());
  mServer->setServerEventHandler(events);
  mStopping = false;
  auto server = mServer;
  mThread = std::thread([server, events] {
    try {
      server->serve();
    } catch (std::exception const&) {
      std::lock_guard<std::mutex> guard(events->mutex);
      events->failed = true;
      events->changed.notify_all();
    }
  });
  std::unique_lock<std::mutex> wait(events->mutex);
  events->changed.wait_for(wait, std::chrono::seconds(5),
                           [&] { return events->ready || events->failed; });
  if (!events->ready) {
    wait.unlock();
    mServer->stop();
    mThread.join();
    mServer.reset();
    mSim.events.write(mService, "cannot listen on port " + std::to_string(mPort));
    return false;
  }
  mRunning = true;
  return true;
}

void ManagerServer::stop() {
  std::lock_guard<std::mutex> lock(mLifecycle);
  if (!mRunning) return;
  mStopping = true;
  mServer->stop();
  mThread.join();
  mServer.reset();
  mRunning = false;
}

void ManagerServer::setFault(Fault fault, int slowMs) {
  if (slowMs > 0) mSlowMs = slowMs;
  mFault = fault;
  if (fault == Fault::kDown) {
    stop();
  } else {
    start();
  }
}

}  // namespace sim
}  // namespace corvane
