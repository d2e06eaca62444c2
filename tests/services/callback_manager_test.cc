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
#include <mutex>

#include <gtest/gtest.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

sockaddr_in ipv4(int port, in_addr_t host = INADDR_LOOPBACK) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(host);
  return address;
}

// A real client over IPv4 loopback, where Thrift listens when the host has no global IPv6
// address (the sandbox); connected by hand as Thrift's resolver then refuses IPv4 names.
std::unique_ptr<callbackManager::callbackManagerClient> connect(int port) {
  using namespace apache::thrift;
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = ipv4(port);
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    close(fd);
    throw transport::TTransportException("refused");
  }
  auto socket = std::make_shared<transport::TSocket>(fd);
  return std::make_unique<callbackManager::callbackManagerClient>(
      std::make_shared<protocol::TBinaryProtocol>(
          std::make_shared<transport::TBufferedTransport>(socket)));
}

// An IPv4 socket holding `port`, as another program would (past connections may linger).
int takePort(int port) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address = ipv4(port, INADDR_ANY);
  EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0) << port;
  return fd;
}

bool stopsListening(int port) {
  for (int i = 0; i < 300; ++i, usleep(10000)) {
    try {
      connect(port);
    } catch (std::exception const&) {
      return true;
    }
  }
  return false;
}

struct Recorder : FirmwareUpgradeListener {
  void firmwareUpgradeProgress(int current, int total, int code) override {
    std::lock_guard<std::mutex> lock(mutex);
    seen.push_back({current, total, code});
  }
  std::mutex mutex;
  std::vector<std::vector<int>> seen;
};

class CallbackManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
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
  std::vector<std::string> mLines;
};

TEST_F(CallbackManagerTest, ServesOnTheFirstFreePort) {
  int descriptors = testing::openDescriptorCount();
  std::vector<int> taken;
  for (int port = 9100; port <= 9105; ++port) taken.push_back(takePort(port));
  // 9106 in a fresh sandbox; later when repeated runs left connections in TIME_WAIT.
  int expected = callbackManagerHandler::sFindAvailablePort(9100, 9200);
  EXPECT_GE(expected, 9106);
  EXPECT_EQ(callbackManagerHandler::sFindAvailablePort(9100, 9103), 9104);  // deliberate
  callbackManagerHandler* handler = callbackManagerHandler::startCallbackManager();
  ASSERT_NE(handler, nullptr);
  EXPECT_EQ(handler->port, expected);
  EXPECT_EQ(callbackManagerHandler::startCallbackManager(), handler);

  Recorder recorder;
  handler->setFirmwareUpgradeListener(&recorder);
  auto client = connect(handler->port);
  EXPECT_TRUE(client->startTest(5) == 0 && client->stopTest());
  client->setLogging(7, 2);
  client->firmwareUpgradeCallback(3, 10, 0);
  client->performTest(1);  // answered after the report before it has run
  handler->setFirmwareUpgradeListener(nullptr);
  client->setLogging(5, 0xFF);
  client->firmwareUpgradeCallback(4, 10, 9);
  client->performTest(1);
  EXPECT_EQ(log::getLogLevel(), 5u);
  EXPECT_EQ(log::getLogMask(), 2);  // the mask changes only at level 7
  std::unique_lock<std::mutex> lock(recorder.mutex);
  EXPECT_EQ(recorder.seen, (std::vector<std::vector<int>>{{3, 10, 0}}));
  lock.unlock();
  EXPECT_TRUE(logged(7, "---- Args  setLogging, inLog 00000007, inMask 00000002"));
  EXPECT_TRUE(logged(7,
                     "call back server received firmwareupgrade callback: currentStep:3, "
                     "totalStep:10, code:0\n"));

  client.reset();
  callbackManagerHandler::cleanup();
  EXPECT_EQ(callbackManagerHandler::handler, nullptr);
  EXPECT_TRUE(stopsListening(expected));
  for (int fd : taken) close(fd);
  EXPECT_EQ(testing::openDescriptorCount(), descriptors);
}

// SIGTERM stops the server but not the process; after a cleanup a new one starts, and the
// remote shutdown stops it while the handler stays.
TEST_F(CallbackManagerTest, SigtermAndRemoteShutdownStopTheServer) {
  callbackManagerHandler* handler = callbackManagerHandler::startCallbackManager();
  ASSERT_NE(handler, nullptr);
  connect(handler->port)->performTest(0);
  ASSERT_EQ(kill(getpid(), SIGTERM), 0);
  EXPECT_TRUE(stopsListening(handler->port));
  EXPECT_TRUE(logged(6, "callback manager was requested to gracefully stop via 15."));
  callbackManagerHandler::cleanup();
  handler = callbackManagerHandler::startCallbackManager();
  ASSERT_NE(handler, nullptr);
  connect(handler->port)->shutdown();
  EXPECT_TRUE(stopsListening(handler->port));
  EXPECT_EQ(callbackManagerHandler::handler, handler);
}

}  // namespace
}  // namespace corvane
