// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Callback server: port choice, the service operations as a real Thrift client sees them,
// the progress listener, and stopping by SIGTERM and by the remote shutdown.

#include "corvane/callback_manager.h"

#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

#include "corvane/client.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using Lines = std::vector<std::string>;

// A real client of the callback service over IPv4 loopback, where Thrift listens when the
// host has no global IPv6 address (the sandbox). Connected by hand: Thrift's own resolver
// refuses IPv4 there for the same reason.
std::unique_ptr<callbackManager::callbackManagerClient> connect(int port) {
  using namespace apache::thrift;
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    close(fd);
    throw transport::TTransportException(transport::TTransportException::NOT_OPEN, "refused");
  }
  auto transport =
      std::make_shared<transport::TBufferedTransport>(std::make_shared<transport::TSocket>(fd));
  return std::make_unique<callbackManager::callbackManagerClient>(
      std::make_shared<protocol::TBinaryProtocol>(transport));
}

// An IPv4 socket holding `port`, as another program would.
int takePort(int port) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int on = 1;  // past connections may linger in TIME_WAIT
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0) << port;
  return fd;
}

// Waits until nothing accepts connections on `port` any more.
bool stopsListening(int port) {
  for (int i = 0; i < 300; ++i) {
    try {
      connect(port);
    } catch (apache::thrift::TException const&) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

struct Recorder : FirmwareUpgradeListener {
  void firmwareUpgradeProgress(int current, int total, int code) override {
    std::lock_guard<std::mutex> lock(mutex);
    reports.push_back({current, total, code});
  }
  std::vector<std::array<int, 3>> seen() {
    std::lock_guard<std::mutex> lock(mutex);
    return reports;
  }
  std::mutex mutex;
  std::vector<std::array<int, 3>> reports;
};

class CallbackManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    log::init("cbm", false);
    log::setLogging(7, 1);
    mSink.drain(50);
  }
  void TearDown() override { callbackManagerHandler::cleanup(); }

  bool logged(unsigned level, std::string const& text) {
    for (auto const& l : mSink.drain(150)) mLines.push_back(l);
    std::string line = "<" + std::to_string(136 + level) + ">Feb 15 23:53:07 localhost cbm(" +
                       std::to_string(getpid()) + ")[]:" + text;
    return std::find(mLines.begin(), mLines.end(), line) != mLines.end();
  }

  testing::SyslogSink mSink;
  Lines mLines;
};

TEST_F(CallbackManagerTest, ServesOnTheFirstFreePort) {
  int descriptors = testing::openDescriptorCount();
  std::vector<int> taken;
  for (int port = 9100; port <= 9105; ++port) taken.push_back(takePort(port));
  // 9106 in a fresh sandbox; later when repeated runs left connections in TIME_WAIT.
  int expected = callbackManagerHandler::sFindAvailablePort(9100, 9200);
  EXPECT_GE(expected, 9106);
  callbackManagerHandler* handler = callbackManagerHandler::startCallbackManager();
  ASSERT_NE(handler, nullptr);
  EXPECT_EQ(handler->port, expected);
  EXPECT_EQ(callbackManagerHandler::handler, handler);
  EXPECT_EQ(callbackManagerHandler::startCallbackManager(), handler);
  EXPECT_TRUE(logged(6, "got free port :" + std::to_string(expected)));
  EXPECT_EQ(callbackManagerHandler::sFindAvailablePort(9100, 9103), 9104);  // deliberate

  Recorder recorder;
  handler->setFirmwareUpgradeListener(&recorder);
  auto client = connect(handler->port);
  EXPECT_EQ(client->startTest(5), 0);
  EXPECT_TRUE(client->stopTest());
  client->setLogging(7, 2);
  EXPECT_EQ(log::getLogLevel(), 7u);
  EXPECT_TRUE(Tracer("f", "networkmanager", 1, 2).enabled());
  client->setLogging(5, 0xFF);
  EXPECT_EQ(log::getLogMask(), 2);  // the mask changes only at level 7
  client->firmwareUpgradeCallback(3, 10, 0);
  client->performTest(1);  // answered after the callback before it: that one has run
  handler->setFirmwareUpgradeListener(nullptr);
  client->firmwareUpgradeCallback(4, 10, 9);
  client->performTest(1);
  EXPECT_EQ(recorder.seen(), (std::vector<std::array<int, 3>>{{3, 10, 0}}));
  EXPECT_TRUE(logged(7, "---- Args  setLogging, inLog 00000007, inMask 00000002"));
  char self[32];
  snprintf(self, sizeof self, "%p", static_cast<void*>(sLog));
  EXPECT_TRUE(logged(4, std::string("LOGGER sLog ") + self + ", mLogLevel 5, mLogMask 00000002"));
  EXPECT_FALSE(logged(7,
                      "call back server received firmwareupgrade callback: currentStep:4, "
                      "totalStep:10, code:9\n"));  // level 5 by then

  client.reset();
  callbackManagerHandler::cleanup();
  EXPECT_EQ(callbackManagerHandler::handler, nullptr);
  EXPECT_TRUE(stopsListening(expected));
  for (int fd : taken) close(fd);
  EXPECT_EQ(testing::openDescriptorCount(), descriptors);
}

TEST_F(CallbackManagerTest, SigtermStopsOnlyTheServer) {
  callbackManagerHandler* handler = callbackManagerHandler::startCallbackManager();
  ASSERT_NE(handler, nullptr);
  int first = handler->port;
  connect(first)->performTest(0);
  ASSERT_EQ(kill(getpid(), SIGTERM), 0);
  EXPECT_TRUE(stopsListening(first));
  EXPECT_TRUE(logged(6, "callback manager was requested to gracefully stop via 15."));
  callbackManagerHandler::cleanup();

  // A new start chooses again: with the old port taken it moves on.
  int blocker = takePort(first);
  int next = callbackManagerHandler::sFindAvailablePort(9100, 9200);
  EXPECT_GT(next, first);
  handler = callbackManagerHandler::startCallbackManager();
  ASSERT_NE(handler, nullptr);
  EXPECT_EQ(handler->port, next);
  auto client = connect(handler->port);
  EXPECT_EQ(client->startTest(0), 0);
  client->shutdown();  // the remote way
  EXPECT_TRUE(stopsListening(next));
  EXPECT_EQ(callbackManagerHandler::handler, handler);  // stopped, not gone
  close(blocker);
}

}  // namespace
}  // namespace corvane
