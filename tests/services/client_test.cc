// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Manager connections: ports by service name, the appliance probe, getClient and its socket,
// callManager, and what happens when a manager is down, hung or unreachable.

#include "corvane/client.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include <gtest/gtest.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>
#include <thrift/transport/TTransportException.h>

#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/userManager.h>
#include "corvane/appliance_utils.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

using apache::thrift::transport::TTransportException;
using testing::FakeManager;
using Clock = std::chrono::steady_clock;
using Hw = hardwareManager::hardwareManagerClient;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

TEST(ClientTest, PortsByServiceNameAndApplianceProbe) {
  struct {
    char const *name, *proto;
    int port;
  } const cases[] = {
      {"configmgr", "tcp", 9090}, {"hardwaremgr", nullptr, 9091}, {"syslogng", "udp", 1514},
      {"syslogng", "tcp", -1},    {"nosuchmgr", nullptr, -1},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(c.port, applianceUtils::getPortforService(c.name, c.proto)) << c.name;
  }
  EXPECT_FALSE(applianceUtils::isAppliance());
  testing::setFlash(true);
  int before = testing::openDescriptorCount();
  EXPECT_TRUE(applianceUtils::isAppliance());
  EXPECT_EQ(before, testing::openDescriptorCount());
  testing::setFlash(false);
}

// Timeouts on the socket only when asked, no Nagle, and the connection closed on delete.
TEST(ClientTest, SocketOptionsAndNoLeak) {
  FakeManager manager("hardwaremgr");
  delete getClient<Hw>("hardwaremgr", 0);  // the first client opens the logger's descriptors
  // The fake serves in this process: its end of that connection must be closed first.
  ASSERT_TRUE(manager.waitUntilIdle());
  int descriptors = testing::openDescriptorCount();
  for (int timeout : {0, 2500}) {
    std::unique_ptr<Hw> client(getClient<Hw>("hardwaremgr", timeout));
    auto buffered = std::dynamic_pointer_cast<apache::thrift::transport::TBufferedTransport>(
        client->getInputProtocol()->getTransport());
    int fd = std::dynamic_pointer_cast<apache::thrift::transport::TSocket>(
                 buffered->getUnderlyingTransport())
                 ->getSocketFD();
    for (int option : {SO_RCVTIMEO, SO_SNDTIMEO}) {
      timeval tv{};
      socklen_t len = sizeof tv;
      getsockopt(fd, SOL_SOCKET, option, &tv, &len);
      EXPECT_EQ(timeout, tv.tv_sec * 1000 + tv.tv_usec / 1000);
    }
    int noDelay = 0;
    socklen_t len = sizeof noDelay;
    getsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &noDelay, &len);
    EXPECT_EQ(1, noDelay);
  }
  EXPECT_TRUE(manager.waitUntilIdle());
  EXPECT_EQ(3, manager.acceptedConnections());
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

// A full listen queue drops connection requests: the one-second connect timeout ends it.
TEST(ClientTest, UnansweredConnectEndsAfterASecond) {
  int listener = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(9094);
  ASSERT_EQ(0, bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address));
  ASSERT_EQ(0, listen(listener, 0));
  std::vector<std::unique_ptr<userManager::userManagerClient>> queued;
  bool timedOut = false;
  Clock::time_point start;
  for (int i = 0; i < 4 && !timedOut; ++i) {
    start = Clock::now();
    try {
      queued.emplace_back(getClient<userManager::userManagerClient>("usermgr", 0));
    } catch (TTransportException const&) {
      timedOut = true;
    }
  }
  double waited = secondsSince(start);
  close(listener);
  ASSERT_TRUE(timedOut);
  EXPECT_TRUE(waited > 0.8 && waited < 1.6) << waited;
}

// Thrift exceptions (down, remote failure) give the neutral value; others pass through.
// Thrift's own complaints reach the log at level 3.
TEST(ClientTest, CallManagerAnswersAndThriftMessagesAreLogged) {
  testing::SyslogSink sink;
  log::init("clienttest", false);
  auto uptime = [](Hw& c) { return c.getUptime(); };
  auto led = [](Hw& c) { c.setLocateLED(true); };
  auto start = Clock::now();
  EXPECT_THROW(getClient<Hw>("nosuchmgr", 0), TTransportException);
  EXPECT_FALSE(callManager<Hw>("hardwaremgr", 0, led));  // down
  EXPECT_LT(secondsSince(start), 1.5);
  std::string datagram;
  bool found = false;
  while (!found && sink.next(datagram, 1000)) {
    found = datagram.find("]:thrift: TSocket::open()") != std::string::npos;
  }
  EXPECT_TRUE(found);
  EXPECT_EQ(0u, datagram.find("<139>")) << datagram;  // level 3 with the trace facility
  FakeManager manager("hardwaremgr");
  EXPECT_TRUE(callManager<Hw>("hardwaremgr", 0, led));
  manager.replyException("getUptime", apache::thrift::TApplicationException("boom"));
  EXPECT_EQ(-7, (callManager<Hw, int>("hardwaremgr", 0, -7, uptime)));
  EXPECT_THROW((callManager<Hw, int>("hardwaremgr", 0, 0,
                                     [](Hw&) -> int { throw std::runtime_error("not thrift"); })),
               std::runtime_error);
  EXPECT_TRUE(manager.waitUntilIdle());  // the client was released on that path as well
}

}  // namespace
}  // namespace corvane
