// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Manager connections: ports by service name, the appliance probe, getClient and its stack,
// the wrapper pattern, and what happens when a manager is down.

#include "corvane/client.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include <gtest/gtest.h>
#include <thrift/TOutput.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>
#include <thrift/transport/TTransportException.h>

#include <corvane/idl/FirmwareManager.h>
#include <corvane/idl/StatusManager.h>
#include <corvane/idl/baseManager.h>
#include <corvane/idl/configManager.h>
#include "corvane/appliance_utils.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/logReceiver.h>
#include <corvane/idl/networkManager.h>
#include <corvane/idl/processManager.h>
#include "sandbox.h"
#include <corvane/idl/userManager.h>

namespace corvane {
namespace {

using apache::thrift::transport::TTransportException;
using testing::FakeManager;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// The socket under a client built by getClient.
template <class T>
int socketOf(T& client) {
  auto buffered = std::dynamic_pointer_cast<apache::thrift::transport::TBufferedTransport>(
      client.getInputProtocol()->getTransport());
  auto socket = std::dynamic_pointer_cast<apache::thrift::transport::TSocket>(
      buffered->getUnderlyingTransport());
  return socket->getSocketFD();
}

int timeoutMs(int fd, int option) {
  timeval tv{};
  socklen_t len = sizeof tv;
  getsockopt(fd, SOL_SOCKET, option, &tv, &len);
  return static_cast<int>(tv.tv_sec * 1000 + tv.tv_usec / 1000);
}

TEST(ServicePortTest, LooksUpTheServicesDatabase) {
  ASSERT_TRUE(testing::inSandbox());
  struct {
    char const* name;
    char const* proto;
    int port;
  } const cases[] = {
      {"configmgr", "tcp", 9090},  {"hardwaremgr", nullptr, 9091}, {"networkmgr", "tcp", 9092},
      {"processmgr", "tcp", 9093}, {"usermgr", "tcp", 9094},       {"firmwaremgr", "tcp", 9095},
      {"statusmgr", "tcp", 9096},  {"logreceiver", "tcp", 9097},   {"syslogng", "udp", 1514},
      {"syslogng", "tcp", -1},     {"nosuchmgr", nullptr, -1},     {"", "tcp", -1},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(c.port, applianceUtils::getPortforService(c.name, c.proto))
        << c.name << "/" << (c.proto ? c.proto : "null");
  }
}

TEST(ApplianceProbeTest, FollowsDevFlash) {
  testing::setFlash(false);
  EXPECT_FALSE(applianceUtils::isAppliance());
  testing::setFlash(true);
  int before = testing::openDescriptorCount();
  EXPECT_TRUE(applianceUtils::isAppliance());
  EXPECT_EQ(before, testing::openDescriptorCount());
  testing::setFlash(false);
}

// Every client class reaches its own manager by service name and speaks the base service.
template <class T>
struct Managed;
#define CORVANE_MANAGED(T, S)                \
  template <>                                \
  struct Managed<T> {                        \
    static constexpr char const* kName = S;  \
  };
CORVANE_MANAGED(configManager::configManagerClient, "configmgr")
CORVANE_MANAGED(hardwareManager::hardwareManagerClient, "hardwaremgr")
CORVANE_MANAGED(networkManager::networkManagerClient, "networkmgr")
CORVANE_MANAGED(processManager::processManagerClient, "processmgr")
CORVANE_MANAGED(userManager::userManagerClient, "usermgr")
CORVANE_MANAGED(firmwareManager::FirmwareManagerClient, "firmwaremgr")
CORVANE_MANAGED(statusManager::StatusManagerClient, "statusmgr")
CORVANE_MANAGED(::baseManagerClient, "statusmgr")
#undef CORVANE_MANAGED

template <class T>
class GetClientTest : public ::testing::Test {};
using ClientTypes =
    ::testing::Types<configManager::configManagerClient, hardwareManager::hardwareManagerClient,
                     networkManager::networkManagerClient, processManager::processManagerClient,
                     userManager::userManagerClient, firmwareManager::FirmwareManagerClient,
                     statusManager::StatusManagerClient, ::baseManagerClient>;
TYPED_TEST_SUITE(GetClientTest, ClientTypes);

TYPED_TEST(GetClientTest, CallsTheBaseServiceOfItsManager) {
  char const* service = Managed<TypeParam>::kName;
  FakeManager manager(service);
  std::unique_ptr<TypeParam> client(getClient<TypeParam>(service, 0));
  client->setLogging(7, 0x22);
  EXPECT_EQ(0, client->startTest(3));
  client->performTest(1);
  EXPECT_FALSE(client->stopTest());
  client->shutdown();
  ASSERT_TRUE(manager.waitForCalls(5, 2000));
  auto calls = manager.calls();
  ASSERT_EQ(5u, calls.size());
  EXPECT_EQ("setLogging", calls[0].name);
  EXPECT_EQ("shutdown", calls[4].name);
  auto args = manager.args<baseManager_setLogging_args>("setLogging");
  EXPECT_EQ(7, args.logLevel);
  EXPECT_EQ(0x22, args.logMask);
  client.reset();
  // Deleting the client closes its connection.
  EXPECT_TRUE(manager.waitUntilIdle());
  EXPECT_EQ(1, manager.acceptedConnections());
}

TEST(GetClientTest, PortFormReachesTheLogReceiver) {
  FakeManager receiver("logreceiver");
  std::unique_ptr<logReceiverClient> client(getClient<logReceiverClient>(receiver.port(), 0));
  client->Log("obj", "KTXCV01100D", {"a", "b"});
  auto args = receiver.args<logReceiver_Log_args>("Log");
  EXPECT_EQ("obj", args.objectid);
  EXPECT_EQ("KTXCV01100D", args.entry_id);
  EXPECT_EQ((std::vector<std::string>{"a", "b"}), args.arguments);
}

TEST(GetClientTest, SetsTimeoutsOnlyWhenAsked) {
  FakeManager manager("configmgr");
  std::unique_ptr<configManager::configManagerClient> untimed(
      getClient<configManager::configManagerClient>("configmgr", 0));
  EXPECT_EQ(0, timeoutMs(socketOf(*untimed), SO_RCVTIMEO));
  EXPECT_EQ(0, timeoutMs(socketOf(*untimed), SO_SNDTIMEO));
  std::unique_ptr<configManager::configManagerClient> timed(
      getClient<configManager::configManagerClient>("configmgr", 2500));
  EXPECT_EQ(2500, timeoutMs(socketOf(*timed), SO_RCVTIMEO));
  EXPECT_EQ(2500, timeoutMs(socketOf(*timed), SO_SNDTIMEO));
  int one = 0;
  socklen_t len = sizeof one;
  getsockopt(socketOf(*timed), IPPROTO_TCP, 1 /* TCP_NODELAY */, &one, &len);
  EXPECT_EQ(1, one);
}

TEST(GetClientTest, TimedClientGivesUpOnAHungManager) {
  FakeManager manager("hardwaremgr");
  manager.setHang(true);
  std::unique_ptr<hardwareManager::hardwareManagerClient> client(
      getClient<hardwareManager::hardwareManagerClient>("hardwaremgr", 300));
  auto start = Clock::now();
  EXPECT_THROW(client->getUptime(), TTransportException);
  EXPECT_LT(secondsSince(start), 2.0);
}

TEST(GetClientTest, UnknownServiceThrowsInsteadOfReturning) {
  EXPECT_THROW(getClient<configManager::configManagerClient>("nosuchmgr", 0),
               TTransportException);
}

TEST(GetClientTest, ManagerDownThrowsQuickly) {
  auto start = Clock::now();
  EXPECT_THROW(getClient<processManager::processManagerClient>("processmgr", 0),
               TTransportException);
  EXPECT_LT(secondsSince(start), 1.5);
}

// A manager whose listen queue is full drops the connection request: the connect timeout of
// one second is what ends the wait.
TEST(GetClientTest, UnansweredConnectGivesUpAfterOneSecond) {
  int listener = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_any;
  address.sin6_port = htons(static_cast<uint16_t>(applianceUtils::getPortforService("usermgr", "tcp")));
  ASSERT_EQ(0, bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address));
  ASSERT_EQ(0, listen(listener, 0));
  std::vector<std::unique_ptr<userManager::userManagerClient>> queued;
  auto start = Clock::now();
  bool timedOut = false;
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
  EXPECT_GT(waited, 0.8);
  EXPECT_LT(waited, 1.6);
}

TEST(GetClientTest, ThousandCyclesLeakNoDescriptor) {
  FakeManager manager("statusmgr");
  {  // the first connection may open lazily held descriptors (services database, ...)
    std::unique_ptr<statusManager::StatusManagerClient> warm(
        getClient<statusManager::StatusManagerClient>("statusmgr", 0));
  }
  ASSERT_TRUE(manager.waitUntilIdle());
  int before = testing::openDescriptorCount();
  for (int i = 0; i < 1000; ++i) {
    delete getClient<statusManager::StatusManagerClient>("statusmgr", 0);
  }
  for (int i = 0; i < 1000; ++i) {
    EXPECT_THROW(getClient<userManager::userManagerClient>("usermgr", 0), TTransportException);
  }
  ASSERT_TRUE(manager.waitUntilIdle());
  EXPECT_EQ(before, testing::openDescriptorCount());
}

TEST(CallManagerTest, GivesNeutralValueWhenDownAndAnswerWhenUp) {
  auto uptime = [](hardwareManager::hardwareManagerClient& c) { return c.getUptime(); };
  auto start = Clock::now();
  EXPECT_EQ(-7, (callManager<hardwareManager::hardwareManagerClient, int>("hardwaremgr", 0, -7,
                                                                        uptime)));
  EXPECT_LT(secondsSince(start), 1.5);

  FakeManager manager("hardwaremgr");
  hardwareManager::hardwareManager_getUptime_result r;
  r.success = 4242;
  r.__isset.success = true;
  manager.reply("getUptime", r);
  EXPECT_EQ(4242, (callManager<hardwareManager::hardwareManagerClient, int>("hardwaremgr", 0, -7,
                                                                          uptime)));
  // An application exception from the manager is a Thrift exception too.
  manager.replyException("getUptime", apache::thrift::TApplicationException("boom"));
  EXPECT_EQ(-7, (callManager<hardwareManager::hardwareManagerClient, int>("hardwaremgr", 0, -7,
                                                                        uptime)));
  EXPECT_TRUE(callManager<hardwareManager::hardwareManagerClient>(
      "hardwaremgr", 0, [](hardwareManager::hardwareManagerClient& c) { c.setLocateLED(true); }));
  manager.stop();
  EXPECT_FALSE(callManager<hardwareManager::hardwareManagerClient>(
      "hardwaremgr", 0, [](hardwareManager::hardwareManagerClient& c) { c.setLocateLED(true); }));
}

TEST(CallManagerTest, OtherExceptionsPropagate) {
  FakeManager manager("networkmgr");
  EXPECT_THROW((callManager<networkManager::networkManagerClient, int>(
                   "networkmgr", 0, 0,
                   [](networkManager::networkManagerClient&) -> int {
                     throw std::runtime_error("not thrift");
                   })),
               std::runtime_error);
  // The client was released on that path as well.
  EXPECT_TRUE(manager.waitUntilIdle());
}

TEST(GetClientTest, RoutesThriftLibraryMessagesToTheLog) {
  testing::SyslogSink sink;
  log::init("clienttest", false);
  log::setLogLevel(7);
  FakeManager manager("configmgr");
  delete getClient<configManager::configManagerClient>("configmgr", 0);
  apache::thrift::GlobalOutput("library says hello");
  std::string datagram;
  bool found = false;
  while (!found && sink.next(datagram, 1000)) {
    found = datagram.find("thrift: library says hello") != std::string::npos;
  }
  EXPECT_TRUE(found);
  // Errors are at level 3 with the trace facility: priority 139.
  EXPECT_EQ(0u, datagram.find("<139>"));
}

}  // namespace
}  // namespace corvane
