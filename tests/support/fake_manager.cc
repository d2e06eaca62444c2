// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fake manager daemons: a small socket server that records every message byte for byte and
// answers either as programmed or through the generated processor of the service.

#include "fake_manager.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <thrift/TProcessor.h>
#include <thrift/transport/TTransportException.h>

#include <corvane/idl/FirmwareManager.h>
#include <corvane/idl/StatusManager.h>
#include <corvane/idl/baseManager.h>
#include <corvane/idl/configManager.h>
#include "corvane/appliance_utils.h"
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/logReceiver.h>
#include <corvane/idl/networkManager.h>
#include <corvane/idl/processManager.h>
#include <corvane/idl/userManager.h>

namespace corvane {
namespace testing {

namespace {

using apache::thrift::TProcessor;
using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::transport::TMemoryBuffer;

constexpr int kPollMs = 20;

template <class Processor, class Handler>
std::shared_ptr<TProcessor> makeProcessor() {
  return std::make_shared<Processor>(std::make_shared<Handler>());
}

std::shared_ptr<TProcessor> processorFor(std::string const& service) {
  if (service == "configmgr")
    return makeProcessor<configManager::configManagerProcessor, configManager::configManagerNull>();
  if (service == "hardwaremgr")
    return makeProcessor<hardwareManager::hardwareManagerProcessor,
                         hardwareManager::hardwareManagerNull>();
  if (service == "networkmgr")
    return makeProcessor<networkManager::networkManagerProcessor,
                         networkManager::networkManagerNull>();
  if (service == "processmgr")
    return makeProcessor<processManager::processManagerProcessor,
                         processManager::processManagerNull>();
  if (service == "usermgr")
    return makeProcessor<userManager::userManagerProcessor, userManager::userManagerNull>();
  if (service == "firmwaremgr")
    return makeProcessor<firmwareManager::FirmwareManagerProcessor,
                         firmwareManager::FirmwareManagerNull>();
  if (service == "statusmgr")
    return makeProcessor<statusManager::StatusManagerProcessor,
                         statusManager::StatusManagerNull>();
  if (service == "logreceiver") return makeProcessor<logReceiverProcessor, logReceiverNull>();
  return makeProcessor<baseManagerProcessor, baseManagerNull>();
}

std::shared_ptr<TMemoryBuffer> bufferOf(std::string const& bytes) {
  auto buffer = std::make_shared<TMemoryBuffer>(static_cast<uint32_t>(bytes.size() + 1));
  buffer->write(reinterpret_cast<uint8_t const*>(bytes.data()),
                static_cast<uint32_t>(bytes.size()));
  return buffer;
}

// Cuts one complete message off the front of `pending`; false when more bytes are needed.
// Throws on bytes that cannot be a message.
bool takeMessage(std::string& pending, Call& call) {
  if (pending.empty()) return false;
  auto buffer = bufferOf(pending);
  TBinaryProtocol protocol(buffer);
  apache::thrift::protocol::TMessageType type;
  try {
    protocol.readMessageBegin(call.name, type, call.seqid);
    size_t argsStart = pending.size() - buffer->available_read();
    protocol.skip(apache::thrift::protocol::T_STRUCT);
    protocol.readMessageEnd();
    size_t end = pending.size() - buffer->available_read();
    call.type = type;
    call.message = pending.substr(0, end);
    call.args = pending.substr(argsStart, end - argsStart);
    pending.erase(0, end);
    return true;
  } catch (apache::thrift::transport::TTransportException const& e) {
    if (e.getType() == apache::thrift::transport::TTransportException::END_OF_FILE) return false;
    throw;
  }
}

bool writeAll(int fd, std::string const& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t n = send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

struct Answer {
  enum Kind { kFramed, kRaw } kind = kFramed;
  int32_t messageType = 2;
  std::string body;
  std::string replyName;
  bool close = false;
  std::function<std::string(std::string const&)> compute;  // makes `body` per call when set
};

}  // namespace

struct FakeManager::Impl {
  std::string service;
  int port = -1;
  std::shared_ptr<TProcessor> processor;

  mutable std::mutex mutex;
  mutable std::condition_variable changed;
  std::map<std::string, Answer> answers;
  std::vector<Call> recorded;
  bool hang = false;
  int accepted = 0;
  int open = 0;
  int accepting = 0;  // inside accept4: a descriptor may exist that `open` does not count yet

  std::atomic<bool> running{false};
  int listener = -1;
  std::thread acceptor;
  struct Connection {
    std::thread thread;
    std::shared_ptr<std::atomic<bool>> done;
  };
  std::vector<Connection> connections;

  void listen() {
    // Non-blocking, and a deep queue: clients that connect and hang up in a tight loop must
    // not outrun the accept loop, or the kernel drops their SYNs and they stall a second.
    listener = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener < 0) throw std::runtime_error("fake manager: socket");
    int one = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_any;
    address.sin6_port = htons(static_cast<uint16_t>(port));
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener, SOMAXCONN) != 0) {
      close(listener);
      listener = -1;
      throw std::runtime_error("fake manager: cannot listen on port " + std::to_string(port) +
                               " for " + service + " (run inside sandbox/corvane-sandbox)");
    }
    running = true;
    acceptor = std::thread([this] { acceptLoop(); });
  }

  void shut() {
    running = false;
    if (acceptor.joinable()) acceptor.join();
    for (auto& c : connections) c.thread.join();
    connections.clear();
    if (listener >= 0) close(listener);
    listener = -1;
  }

  void acceptLoop() {
    while (running) {
      pollfd p{listener, POLLIN, 0};
      if (poll(&p, 1, kPollMs) <= 0) continue;
      reap();
      for (;;) {
        {
          std::lock_guard<std::mutex> lock(mutex);
          ++accepting;
        }
        int fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd >= 0) spawn(fd);
        std::lock_guard<std::mutex> lock(mutex);
        --accepting;
        if (fd < 0) break;
      }
    }
  }

  void spawn(int fd) {
    {
      std::lock_guard<std::mutex> lock(mutex);
      ++accepted;
      ++open;
    }
    auto done = std::make_shared<std::atomic<bool>>(false);
    connections.push_back({std::thread([this, fd, done] {
                             serve(fd);
                             *done = true;
                           }),
                           done});
  }

  // Joins the connection threads that have finished, so long runs do not pile them up.
  void reap() {
    for (auto it = connections.begin(); it != connections.end();) {
      if (*it->done) {
        it->thread.join();
        it = connections.erase(it);
      } else {
        ++it;
      }
    }
  }

  void serve(int fd) {
    std::string pending;
    char chunk[4096];
    bool alive = true;
    while (alive && running) {
      pollfd p{fd, POLLIN, 0};
      if (poll(&p, 1, kPollMs) <= 0) continue;
      ssize_t n = recv(fd, chunk, sizeof chunk, 0);
      if (n <= 0) break;
      pending.append(chunk, static_cast<size_t>(n));
      try {
        Call call;
        while (alive && takeMessage(pending, call)) alive = answer(fd, call);
      } catch (std::exception const&) {
        break;  // not a Thrift message: drop the connection like a real server
      }
    }
    close(fd);
    std::lock_guard<std::mutex> lock(mutex);
    --open;
    changed.notify_all();
  }

  // Records `call` and writes its answer; false when the connection is to be closed.
  bool answer(int fd, Call const& call) {
    Answer programmed;
    bool found = false;
    bool hanging;
    {
      std::lock_guard<std::mutex> lock(mutex);
      recorded.push_back(call);
      changed.notify_all();
      hanging = hang;
      auto it = answers.find(call.name);
      if (it == answers.end()) it = answers.find("");
      if (it != answers.end()) {
        programmed = it->second;
        found = true;
      }
    }
    if (hanging) return true;
    if (!found) {
      auto in = bufferOf(call.message);
      auto out = std::make_shared<TMemoryBuffer>();
      auto inProtocol = std::make_shared<TBinaryProtocol>(in);
      auto outProtocol = std::make_shared<TBinaryProtocol>(out);
      processor->process(inProtocol, outProtocol, nullptr);
      return writeAll(fd, out->getBufferAsString());
    }
    if (programmed.kind == Answer::kRaw) {
      return writeAll(fd, programmed.body) && !programmed.close;
    }
    if (programmed.compute) programmed.body = programmed.compute(call.args);
    auto out = std::make_shared<TMemoryBuffer>();
    TBinaryProtocol protocol(out);
    protocol.writeMessageBegin(programmed.replyName.empty() ? call.name : programmed.replyName,
                               static_cast<apache::thrift::protocol::TMessageType>(
                                   programmed.messageType),
                               call.seqid);
    return writeAll(fd, out->getBufferAsString() + programmed.body);
  }
};

FakeManager::FakeManager(std::string const& service) : mImpl(new Impl) {
  mImpl->service = service;
  mImpl->port = applianceUtils::getPortforService(service.c_str(), "tcp");
  mImpl->processor = processorFor(service);
  mImpl->listen();
}

FakeManager::~FakeManager() { mImpl->shut(); }

int FakeManager::port() const { return mImpl->port; }

void FakeManager::stop() { mImpl->shut(); }

void FakeManager::start() {
  if (!mImpl->running) mImpl->listen();
}

void FakeManager::replyException(std::string const& method,
                                 apache::thrift::TApplicationException const& e) {
  replyBytes(method, apache::thrift::protocol::T_EXCEPTION, serialize(e));
}

void FakeManager::replyBytes(std::string const& method, int32_t messageType,
                             std::string const& body, std::string const& replyName) {
  std::lock_guard<std::mutex> lock(mImpl->mutex);
  Answer& a = mImpl->answers[method];
  a = Answer();
  a.messageType = messageType;
  a.body = body;
  a.replyName = replyName;
}

void FakeManager::replyFunction(std::string const& method,
                                std::function<std::string(std::string const&)> answer) {
  std::lock_guard<std::mutex> lock(mImpl->mutex);
  Answer& a = mImpl->answers[method];
  a = Answer();
  a.compute = std::move(answer);
}

void FakeManager::replyRaw(std::string const& method, std::string const& bytes, bool close) {
  std::lock_guard<std::mutex> lock(mImpl->mutex);
  Answer& a = mImpl->answers[method];
  a = Answer();
  a.kind = Answer::kRaw;
  a.body = bytes;
  a.close = close;
}

void FakeManager::setHang(bool hang) {
  std::lock_guard<std::mutex> lock(mImpl->mutex);
  mImpl->hang = hang;
}

void FakeManager::reset() {
  std::lock_guard<std::mutex> lock(mImpl->mutex);
  mImpl->answers.clear();
  mImpl->recorded.clear();
  mImpl->hang = false;
}

std::vector<Call> FakeManager::calls() const {
  std::lock_guard<std::mutex> lock(mImpl->mutex);
  return mImpl->recorded;
}

std::vector<Call> FakeManager::calls(std::string const& method) const {
  std::vector<Call> selected;
  std::lock_guard<std::mutex> lock(mImpl->mutex);
  for (auto const& c : mImpl->recorded) {
    if (c.name == method) selected.push_back(c);
  }
  return selected;
}

bool FakeManager::waitForCalls(size_t count, int timeoutMs) const {
  std::unique_lock<std::mutex> lock(mImpl->mutex);
  return mImpl->changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                 [&] { return mImpl->recorded.size() >= count; });
}

int FakeManager::acceptedConnections() const {
  std::lock_guard<std::mutex> lock(mImpl->mutex);
  return mImpl->accepted;
}

bool FakeManager::waitUntilIdle(int timeoutMs) const {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    bool queued = false;
    if (mImpl->listener >= 0) {
      pollfd p{mImpl->listener, POLLIN, 0};
      queued = poll(&p, 1, 0) > 0;
    }
    {
      std::lock_guard<std::mutex> lock(mImpl->mutex);
      if (!queued && mImpl->accepting == 0 && mImpl->open == 0) return true;
    }
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

namespace {
char const* const kServices[] = {"configmgr", "hardwaremgr", "networkmgr", "processmgr",
                                 "usermgr",   "firmwaremgr", "statusmgr",  "logreceiver"};
}

FakeManagers::FakeManagers() {
  for (char const* s : kServices) mManagers.emplace_back(new FakeManager(s));
}

FakeManagers::~FakeManagers() = default;

FakeManager& FakeManagers::networkmgr() { return *mManagers[2]; }

FakeManager& FakeManagers::get(std::string const& service) {
  for (size_t i = 0; i < mManagers.size(); ++i) {
    if (service == kServices[i]) return *mManagers[i];
  }
  throw std::out_of_range("no fake for service " + service);
}

SyslogSink::SyslogSink() {
  mSocket = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_any;
  address.sin6_port =
      htons(static_cast<uint16_t>(applianceUtils::getPortforService("syslogng", "udp")));
  int size = 4 << 20;
  setsockopt(mSocket, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
  if (mSocket < 0 || bind(mSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("syslog sink: cannot bind (run inside sandbox/corvane-sandbox)");
  }
}

SyslogSink::~SyslogSink() { close(mSocket); }

bool SyslogSink::next(std::string& datagram, int timeoutMs) {
  pollfd p{mSocket, POLLIN, 0};
  if (poll(&p, 1, timeoutMs) <= 0) return false;
  char buffer[65536];
  ssize_t n = recv(mSocket, buffer, sizeof buffer, 0);
  if (n < 0) return false;
  datagram.assign(buffer, static_cast<size_t>(n));
  return true;
}

std::vector<std::string> SyslogSink::drain(int quietMs) {
  std::vector<std::string> all;
  std::string one;
  while (next(one, quietMs)) all.push_back(one);
  return all;
}

}  // namespace testing
}  // namespace corvane
