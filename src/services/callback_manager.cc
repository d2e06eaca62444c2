// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The callback server: a single-connection Thrift server for this process's own callback
// service, run on the library's one thread and stopped by Thrift's own interrupt.

#include "corvane/callback_manager.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <exception>
#include <memory>

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/server/TSimpleServer.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TServerSocket.h>

#include "corvane/log.h"

namespace corvane {

using apache::thrift::server::TSimpleServer;
using apache::thrift::transport::TServerSocket;

namespace {

constexpr char const kFile[] = "callbackManagerHandler";
constexpr unsigned kAnyCategory = 0xFFFFFFFFu;
constexpr int kListenWaitMs = 2000;

// Blocks SIGTERM on the calling thread for the life of the object.
class TermBlocked {
 public:
  TermBlocked() {
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &term, &mOld);
  }
  ~TermBlocked() { pthread_sigmask(SIG_SETMASK, &mOld, nullptr); }
  TermBlocked(TermBlocked const&) = delete;
  TermBlocked& operator=(TermBlocked const&) = delete;

 private:
  sigset_t mOld;
};

}  // namespace

// Records the server once it listens: only then does an interrupt reach its accept loop.
class CallbackServerEvents : public apache::thrift::server::TServerEventHandler {
 public:
  CallbackServerEvents(TSimpleServer* server, TServerSocket* socket)
      : mServer(server), mSocket(socket) {}

  void preServe() override {
    callbackManagerHandler::sServerSocket.store(mSocket);
    callbackManagerHandler::sServer.store(mServer);
    if (callbackManagerHandler::sStopRequested.load()) callbackManagerHandler::stopServer();
  }

 private:
  TSimpleServer* mServer;
  TServerSocket* mSocket;
};

FirmwareUpgradeListener::~FirmwareUpgradeListener() = default;

callbackManagerHandler* callbackManagerHandler::handler = nullptr;
pthread_t callbackManagerHandler::mMgrThread;
std::atomic<TSimpleServer*> callbackManagerHandler::sServer{nullptr};
std::atomic<TServerSocket*> callbackManagerHandler::sServerSocket{nullptr};
std::atomic<bool> callbackManagerHandler::sStopRequested{false};
std::atomic<int> callbackManagerHandler::sStopsInFlight{0};
std::atomic<bool> callbackManagerHandler::sServeEnded{false};
std::atomic<bool> callbackManagerHandler::sThreadRecorded{false};

callbackManagerHandler::callbackManagerHandler(int listenPort)
    : mListener(nullptr), port(listenPort) {}

callbackManagerHandler::~callbackManagerHandler() {
  // Waiting for a server nobody stopped would never end, so stop it first.
  if (this == handler && sThreadRecorded.exchange(false)) {
    stopServer();
    pthread_join(mMgrThread, nullptr);
  }
}

void callbackManagerHandler::shutdown() { stopServer(); }

void callbackManagerHandler::setLogging(int32_t logLevel, int32_t logMask) {
  Tracer tracer("setLogging", kFile, __LINE__, kAnyCategory);
  tracer.args("inLog %08X, inMask %08X", static_cast<unsigned>(logLevel),
              static_cast<unsigned>(logMask));
  log::setLogging(static_cast<unsigned>(logLevel), logMask);
  tracer.resultVoid();
}

int32_t callbackManagerHandler::startTest(int32_t) { return 0; }

void callbackManagerHandler::performTest(int32_t) {}

bool callbackManagerHandler::stopTest() { return true; }

void callbackManagerHandler::firmwareUpgradeCallback(int32_t currentStep, int32_t totalSteps,
                                                     int32_t code) {
  log::trace(7,
             "call back server received firmwareupgrade callback: currentStep:%d, "
             "totalStep:%d, code:%d\n",
             currentStep, totalSteps, code);
  if (FirmwareUpgradeListener* listener = mListener.load()) {
    listener->firmwareUpgradeProgress(currentStep, totalSteps, code);
  }
}

void callbackManagerHandler::setFirmwareUpgradeListener(FirmwareUpgradeListener* listener) {
  mListener.store(listener);
}

FirmwareUpgradeListener* callbackManagerHandler::firmwareUpgradeListener() const {
  return mListener.load();
}

callbackManagerHandler* callbackManagerHandler::startCallbackManager() {
  if (handler != nullptr) return handler;
  int found = sFindAvailablePort(kLowPort, kHighPort);
  if (found == 0) return nullptr;
  handler = new callbackManagerHandler(found);
  sStopRequested.store(false);
  sServeEnded.store(false);
  int rc;
  {
    // The server thread starts with SIGTERM blocked, so the handler always runs on a thread
    // that holds none of the server's locks.
    TermBlocked blocked;
    rc = pthread_create(&mMgrThread, nullptr, sPthreadRoutine, handler);
  }
  if (rc != 0) {
    log::trace(3, "pthread_create failed");
    std::unique_ptr<callbackManagerHandler> failed(handler);
    handler = nullptr;
    return nullptr;
  }
  sThreadRecorded.store(true);
  signal(SIGTERM, sSignalHandler);
  // Managers are given the port right after this returns; a callback must not find it closed.
  for (int waited = 0; waited < kListenWaitMs && sServer.load() == nullptr && !sServeEnded.load();
       ++waited) {
    usleep(1000);
  }
  return handler;
}

int callbackManagerHandler::sFindAvailablePort(unsigned short low, unsigned short high) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    log::trace(3, "can't open socket");
    return 0;
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  auto binds = [&](int candidate) {
    address.sin_port = htons(static_cast<uint16_t>(candidate));
    return bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  };
  // Tries up to one above `high` and answers that port even when it did not bind:
  // deliberate, callers rely on it.
  int candidate = low;
  while (!binds(candidate) && candidate <= high) ++candidate;
  close(fd);
  log::trace(6, "got free port :%d", candidate);
  return candidate;
}

void* callbackManagerHandler::sPthreadRoutine(void* arg) {
  auto* self = static_cast<callbackManagerHandler*>(arg);
  if (self == nullptr || handler == nullptr) return nullptr;
  using apache::thrift::protocol::TBinaryProtocolFactory;
  using apache::thrift::transport::TBufferedTransportFactory;
  // `cleanup` owns the handler; the processor only borrows it.
  std::shared_ptr<callbackManager::callbackManagerIf> iface(
      self, [](callbackManager::callbackManagerIf*) {});
  auto processor = std::make_shared<callbackManager::callbackManagerProcessor>(iface);
  auto socket = std::make_shared<TServerSocket>(self->port);
  auto server = std::make_shared<TSimpleServer>(processor, socket,
                                                std::make_shared<TBufferedTransportFactory>(),
                                                std::make_shared<TBinaryProtocolFactory>());
  server->setServerEventHandler(std::make_shared<CallbackServerEvents>(server.get(), socket.get()));
  try {
    server->serve();
  } catch (std::exception const& e) {
    log::trace(3, "callback server ended: %s", e.what());
  }
  sServer.store(nullptr);
  sServerSocket.store(nullptr);
  sServeEnded.store(true);
  // A stop that picked up the server before it was cleared still uses it.
  while (sStopsInFlight.load() != 0) sched_yield();
  return nullptr;
}

void callbackManagerHandler::sSignalHandler(int sig) {
  log::trace(6, "callback manager was requested to gracefully stop via %d.", sig);
  stopServer();
}

void callbackManagerHandler::stopServer() {
  // With SIGTERM blocked here its handler cannot interrupt this thread inside the server's
  // interrupt lock and stop again on top of it.
  TermBlocked blocked;
  sStopRequested.store(true);
  sStopsInFlight.fetch_add(1);
  if (TSimpleServer* server = sServer.load()) {
    server->stop();
    if (TServerSocket* socket = sServerSocket.load()) socket->interrupt();
  }
  sStopsInFlight.fetch_sub(1);
}

void callbackManagerHandler::cleanup() {
  if (handler == nullptr) return;
  delete handler;
  handler = nullptr;
}

}  // namespace corvane
