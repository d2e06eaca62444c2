// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The bytes on the wire: what the generated clients send, how they react to each kind of
// reply, what the generated processors answer, and how records are written.

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include <gtest/gtest.h>
#include <thrift/TApplicationException.h>
#include <thrift/server/TSimpleServer.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TServerSocket.h>

#include <corvane/idl/FirmwareManager.h>
#include <corvane/idl/baseManager.h>
#include <corvane/idl/callbackManager.h>
#include <corvane/idl/configManager.h>
#include <corvane/idl/configManagerConsumer.h>
#include "corvane/client.h"
#include "fake_manager.h"
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/networkManager.h>
#include <corvane/idl/processManager.h>
#include "wire.h"

namespace corvane {
namespace {

using apache::thrift::TApplicationException;
using testing::Bytes;
using testing::FakeManager;
using testing::hex;
using testing::serialize;
namespace w = testing;

std::unique_ptr<::baseManagerClient> baseClient() {
  return std::unique_ptr<::baseManagerClient>(getClient<::baseManagerClient>("processmgr", 0));
}

TEST(ClientFramingTest, OnewayGoesOutAsCallAndReadsNothing) {
  FakeManager manager("processmgr");
  manager.setHang(true);  // a reply would never come; the call must not wait for one
  auto client = baseClient();
  client->shutdown();
  ASSERT_TRUE(manager.waitForCalls(1, 2000));
  std::string expected = Bytes().header("shutdown", 1, 0).stop();
  EXPECT_EQ(hex(expected), hex(manager.calls()[0].message));

  std::unique_ptr<callbackManager::callbackManagerClient> callback(
      new callbackManager::callbackManagerClient(client->getOutputProtocol()));
  callback->firmwareUpgradeCallback(3, 9, -1);
  ASSERT_TRUE(manager.waitForCalls(2, 2000));
  expected = Bytes()
                 .header("firmwareUpgradeCallback", 1, 0)
                 .field(w::kI32, 1).i32(3)
                 .field(w::kI32, 2).i32(9)
                 .field(w::kI32, 3).i32(-1)
                 .stop();
  EXPECT_EQ(hex(expected), hex(manager.calls()[1].message));
}

TEST(ClientFramingTest, TwoWayCallBytesAndSequenceIds) {
  FakeManager manager("processmgr");
  // The client never checks the sequence id of a reply.
  manager.replyBytes("startTest", 2, Bytes().field(w::kI32, 0).i32(77).stop());
  auto client = baseClient();
  EXPECT_EQ(77, client->startTest(5));
  client->setLogging(6, -1);
  auto calls = manager.calls();
  ASSERT_EQ(2u, calls.size());
  EXPECT_EQ(hex(Bytes().header("startTest", 1, 0).field(w::kI32, 1).i32(5).stop()),
            hex(calls[0].message));
  EXPECT_EQ(hex(Bytes()
                    .header("setLogging", 1, 0)
                    .field(w::kI32, 1).i32(6)
                    .field(w::kI32, 2).i32(-1)
                    .stop()),
            hex(calls[1].message));
}

TEST(ClientFramingTest, AcceptsAReplyWithAnySequenceId) {
  FakeManager manager("processmgr");
  manager.replyRaw("stopTest", Bytes().header("stopTest", 2, 12345).field(w::kBool, 0).i8(1).stop());
  EXPECT_TRUE(baseClient()->stopTest());
}

// How the client treats each kind of reply, in the order it checks them.
TEST(ClientReplyTest, RejectsEachWrongKindOfReply) {
  struct Case {
    char const* what;
    std::string reply;
    int kind;  // expected TApplicationException type, -1 for none
    char const* text;
  };
  TApplicationException remote(TApplicationException::INTERNAL_ERROR, "remote trouble");
  Case const cases[] = {
      {"exception reply", Bytes().header("startTest", 3, 0).raw(serialize(remote)),
       TApplicationException::INTERNAL_ERROR, "remote trouble"},
      {"call instead of reply",
       Bytes().header("startTest", 1, 0).field(w::kI32, 0).i32(1).stop(),
       TApplicationException::INVALID_MESSAGE_TYPE, nullptr},
      {"oneway instead of reply",
       Bytes().header("startTest", 4, 0).field(w::kI32, 0).i32(1).stop(),
       TApplicationException::INVALID_MESSAGE_TYPE, nullptr},
      {"reply for another method",
       Bytes().header("stopTest", 2, 0).field(w::kI32, 0).i32(1).stop(),
       TApplicationException::WRONG_METHOD_NAME, nullptr},
      {"empty result", Bytes().header("startTest", 2, 0).stop(),
       TApplicationException::MISSING_RESULT, "startTest failed: unknown result"},
      {"unknown fields only",
       Bytes().header("startTest", 2, 0).field(w::kString, 9).str("x").stop(),
       TApplicationException::MISSING_RESULT, "startTest failed: unknown result"},
      {"good reply", Bytes().header("startTest", 2, 0).field(w::kI32, 0).i32(5).stop(), -1,
       nullptr},
  };
  FakeManager manager("processmgr");
  for (auto const& c : cases) {
    SCOPED_TRACE(c.what);
    manager.replyRaw("startTest", c.reply);
    auto client = baseClient();
    try {
      int32_t answer = client->startTest(1);
      EXPECT_EQ(-1, c.kind);
      EXPECT_EQ(5, answer);
    } catch (TApplicationException const& e) {
      EXPECT_EQ(c.kind, e.getType());
      if (c.text != nullptr) {
        EXPECT_STREQ(c.text, e.what());
      }
    }
  }
}

// After a rejected reply the record has been skipped: the connection reads the next reply
// from a clean position.
TEST(ClientReplyTest, SkipsTheRejectedRecord) {
  FakeManager manager("processmgr");
  manager.replyRaw("startTest", Bytes()
                                    .header("stopTest", 2, 0).field(w::kBool, 0).i8(1).stop()
                                    .header("startTest", 2, 0).field(w::kI32, 0).i32(8).stop());
  auto client = baseClient();
  EXPECT_THROW(client->startTest(1), TApplicationException);
  EXPECT_EQ(8, client->recv_startTest());
}

TEST(ClientReplyTest, VoidMethodReturnsOnceTheResultIsRead) {
  FakeManager manager("processmgr");
  manager.replyRaw("performTest", Bytes().header("performTest", 2, 0).stop());
  baseClient()->performTest(3);
  auto args = manager.args<baseManager_performTest_args>("performTest");
  EXPECT_EQ(3, args.index);
}

TEST(ClientReplyTest, DeclaredExceptionIsThrownAsItsOwnType) {
  FakeManager manager("configmgr");
  configManager::configManager_createObject_result r;
  r.ve.errorString = "@prop_string_too_long";
  r.ve.errorField = "hostname";
  r.__isset.ve = true;
  manager.reply("createObject", r);
  std::unique_ptr<configManager::configManagerClient> client(
      getClient<configManager::configManagerClient>("configmgr", 0));
  try {
    client->createObject("d", "t", "n", {}, 1, true);
    FAIL() << "no exception";
  } catch (configManager::ValidationException const& e) {
    EXPECT_EQ("@prop_string_too_long", e.errorString);
    EXPECT_EQ("hostname", e.errorField);
  }
  configManager::configManager_deleteObject_result d;
  d.e.rc = 10;
  d.e.messageID = "kwApplyChangeFailed";
  d.__isset.e = true;
  manager.reply("deleteObject", d);
  try {
    client->deleteObject("d", "t", "n");
    FAIL() << "no exception";
  } catch (configManager::ConfigChangeException const& e) {
    EXPECT_EQ(10, e.rc);
    EXPECT_FALSE(e.__isset.parameters);
  }
}

// A network-manager client reaches both of its base services.
TEST(ClientReplyTest, DerivedClientReachesExtendedServices) {
  FakeManager manager("networkmgr");
  std::unique_ptr<networkManager::networkManagerClient> client(
      getClient<networkManager::networkManagerClient>("networkmgr", 0));
  j2t::j2tValue v;
  v.mType = 61;
  v.mName = "mtu";
  v.mValue = "1500";
  client->ConfigChange("networkmgr", 2, "system", "ethernet", "eth0", {v});
  client->AdminStateChange("networkmgr", "system", "ethernet", "eth0", 1);
  client->shutdown();
  ASSERT_TRUE(manager.waitForCalls(3, 2000));
  auto args = manager.args<configManagerConsumer::configManagerConsumer_ConfigChange_args>(
      "ConfigChange");
  EXPECT_EQ("eth0", args.objectName);
  ASSERT_EQ(1u, args.properties.size());
  EXPECT_EQ("1500", args.properties[0].mValue);
  EXPECT_EQ("shutdown", manager.calls()[2].name);
  EXPECT_EQ(1, manager.calls()[2].type);
}

// --- Records --------------------------------------------------------------------------------

TEST(RecordTest, OptionalParametersWrittenOnlyWhenSet) {
  configManagerConsumer::ConfigChangeException unset;
  unset.rc = 7;
  unset.messageID = "m";
  EXPECT_EQ(hex(Bytes().field(w::kI32, 1).i32(7).field(w::kString, 2).str("m").stop()),
            hex(serialize(unset)));
  auto back = testing::deserialize<configManagerConsumer::ConfigChangeException>(serialize(unset));
  EXPECT_FALSE(back.__isset.parameters);
  EXPECT_TRUE(back.parameters.empty());

  configManager::ConfigChangeException empty;
  empty.rc = 7;
  empty.messageID = "m";
  empty.__set_parameters({});
  EXPECT_EQ(hex(Bytes()
                    .field(w::kI32, 1).i32(7)
                    .field(w::kString, 2).str("m")
                    .field(w::kList, 3).i8(w::kString).i32(0)
                    .stop()),
            hex(serialize(empty)));
}

TEST(RecordTest, EmptyContainersAreStillWritten) {
  networkManager::NetifStatus status;
  EXPECT_EQ(hex(Bytes()
                    .field(w::kBool, 1).i8(0)
                    .field(w::kBool, 2).i8(0)
                    .field(w::kBool, 3).i8(0)
                    .field(w::kList, 4).i8(w::kMap).i32(0)
                    .stop()),
            hex(serialize(status)));
  hardwareManager::ts servers;
  servers.servers = {"ntp1"};
  EXPECT_EQ(hex(Bytes()
                    .field(w::kList, 1).i8(w::kString).i32(1).str("ntp1")
                    .field(w::kList, 2).i8(w::kString).i32(0)
                    .stop()),
            hex(serialize(servers)));
  processManager::processManager_registerProcess_pargs reg;
  std::string name = "web", path = "/usr/bin/web";
  std::vector<std::string> none;
  reg.name = &name;
  reg.fullPath = &path;
  reg.parameters = &none;
  reg.dependencies = &none;
  auto buffer = std::make_shared<apache::thrift::transport::TMemoryBuffer>();
  apache::thrift::protocol::TBinaryProtocol protocol(buffer);
  reg.write(&protocol);
  EXPECT_EQ(hex(Bytes()
                    .field(w::kString, 1).str("web")
                    .field(w::kString, 2).str("/usr/bin/web")
                    .field(w::kList, 3).i8(w::kString).i32(0)
                    .field(w::kList, 4).i8(w::kString).i32(0)
                    .stop()),
            hex(buffer->getBufferAsString()));
}

TEST(RecordTest, EmptyListAndMapRepliesAreResults) {
  FakeManager hw("hardwaremgr");
  hardwareManager::hardwareManager_getCPUUsage_result cpu;
  cpu.__isset.success = true;
  hw.reply("getCPUUsage", cpu);
  std::unique_ptr<hardwareManager::hardwareManagerClient> hc(
      getClient<hardwareManager::hardwareManagerClient>("hardwaremgr", 0));
  std::vector<hardwareManager::CPUUsage> usage{hardwareManager::CPUUsage()};
  hc->getCPUUsage(usage);
  EXPECT_TRUE(usage.empty());

  FakeManager net("networkmgr");
  networkManager::networkManager_dumpInterfaceNameMap_result map;
  map.__isset.success = true;
  net.reply("dumpInterfaceNameMap", map);
  std::unique_ptr<networkManager::networkManagerClient> nc(
      getClient<networkManager::networkManagerClient>("networkmgr", 0));
  std::map<std::string, std::string> names{{"x", "y"}};
  nc->dumpInterfaceNameMap(names);
  EXPECT_TRUE(names.empty());

  FakeManager fw("firmwaremgr");
  std::unique_ptr<firmwareManager::FirmwareManagerClient> fc(
      getClient<firmwareManager::FirmwareManagerClient>("firmwaremgr", 0));
  std::vector<firmwareManager::ComponentFirmware> components;
  fc->getComponentInfo(components);  // answered by the processor: an empty list, set
  EXPECT_TRUE(components.empty());
  EXPECT_EQ(0, fc->upgrade("/tmp/image", true, false, 9101));
  auto upgrade = fw.calls("upgrade");
  ASSERT_EQ(1u, upgrade.size());
  firmwareManager::FirmwareManager_upgrade_args args =
      testing::deserialize<firmwareManager::FirmwareManager_upgrade_args>(upgrade[0].args);
  EXPECT_EQ(9101, args.port);
}

TEST(RecordTest, SixtyFourBitSizesTravelWhole) {
  FakeManager hw("hardwaremgr");
  hardwareManager::hardwareManager_getRaidPhyDiskStatus_result r;
  hardwareManager::DiskSnapShot disk;
  disk.mRawSize = 5000000000LL;
  disk.mCoercedSize = (1LL << 40) + 3;
  disk.mState = 14;
  r.success = {disk};
  r.__isset.success = true;
  hw.reply("getRaidPhyDiskStatus", r);
  std::string bytes = serialize(disk);
  EXPECT_NE(std::string::npos,
            bytes.find(Bytes().field(w::kI64, 25).i64(5000000000LL).bytes()));
  std::unique_ptr<hardwareManager::hardwareManagerClient> client(
      getClient<hardwareManager::hardwareManagerClient>("hardwaremgr", 0));
  std::vector<hardwareManager::DiskSnapShot> disks;
  client->getRaidPhyDiskStatus(disks);
  ASSERT_EQ(1u, disks.size());
  EXPECT_EQ(5000000000LL, disks[0].mRawSize);
  EXPECT_EQ((1LL << 40) + 3, disks[0].mCoercedSize);
  EXPECT_EQ(14, disks[0].mState);
}

// --- Processors -----------------------------------------------------------------------------

class CountingHandler : public callbackManager::callbackManagerNull {
 public:
  void shutdown() override { ++shutdowns; }
  int32_t startTest(int32_t n) override { return n * 2; }
  void firmwareUpgradeCallback(int32_t a, int32_t b, int32_t c) override { last = a + b + c; }
  std::atomic<int> shutdowns{0};
  std::atomic<int> last{0};
};

// A real Thrift server on a generated processor, talked to over a raw socket.
class ProcessorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    using namespace apache::thrift;
    handler = std::make_shared<CountingHandler>();
    auto socket = std::make_shared<transport::TServerSocket>("::1", 0);
    server = std::make_shared<server::TSimpleServer>(
        std::make_shared<callbackManager::callbackManagerProcessor>(handler), socket,
        std::make_shared<transport::TBufferedTransportFactory>(),
        std::make_shared<protocol::TBinaryProtocolFactory>());
    thread = std::thread([this] { server->serve(); });
    for (int i = 0; i < 200 && socket->getPort() == 0; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    address.sin6_port = htons(static_cast<uint16_t>(socket->getPort()));
    fd = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(0, connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
  }
  void TearDown() override {
    close(fd);
    server->stop();
    thread.join();
  }

  void sendBytes(std::string const& bytes) {
    ASSERT_EQ(static_cast<ssize_t>(bytes.size()), send(fd, bytes.data(), bytes.size(), 0));
  }
  // Everything that arrives within `ms`.
  std::string receive(int ms) {
    std::string got;
    char chunk[4096];
    pollfd p{fd, POLLIN, 0};
    while (poll(&p, 1, ms) > 0) {
      ssize_t n = recv(fd, chunk, sizeof chunk, 0);
      if (n <= 0) break;
      got.append(chunk, static_cast<size_t>(n));
    }
    return got;
  }

  std::shared_ptr<CountingHandler> handler;
  std::shared_ptr<apache::thrift::server::TSimpleServer> server;
  std::thread thread;
  int fd = -1;
};

TEST_F(ProcessorTest, UnknownMethodGetsAnExceptionAndTheConnectionLives) {
  sendBytes(Bytes().header("reboot", 1, 41).field(w::kString, 1).str("x").stop());
  TApplicationException expected(TApplicationException::UNKNOWN_METHOD,
                                 "Invalid method name: 'reboot'");
  EXPECT_EQ(hex(Bytes().header("reboot", 3, 41).raw(serialize(expected))), hex(receive(300)));
  sendBytes(Bytes().header("startTest", 1, 42).field(w::kI32, 1).i32(21).stop());
  EXPECT_EQ(hex(Bytes().header("startTest", 2, 42).field(w::kI32, 0).i32(42).stop()),
            hex(receive(300)));
}

TEST_F(ProcessorTest, OnewayCallsRunTheHandlerAndAnswerNothing) {
  sendBytes(Bytes().header("shutdown", 1, 0).stop());
  sendBytes(Bytes()
                .header("firmwareUpgradeCallback", 1, 0)
                .field(w::kI32, 1).i32(1)
                .field(w::kI32, 2).i32(2)
                .field(w::kI32, 3).i32(3)
                .stop());
  EXPECT_EQ("", hex(receive(300)));
  EXPECT_EQ(1, handler->shutdowns.load());
  EXPECT_EQ(6, handler->last.load());
  // Base-service methods answer REPLY with the result record; void ones an empty record.
  sendBytes(Bytes().header("performTest", 1, 7).field(w::kI32, 1).i32(1).stop());
  EXPECT_EQ(hex(Bytes().header("performTest", 2, 7).stop()), hex(receive(300)));
}

TEST_F(ProcessorTest, MissingArgumentsReadAsDefaults) {
  sendBytes(Bytes().header("startTest", 1, 0).stop());
  EXPECT_EQ(hex(Bytes().header("startTest", 2, 0).field(w::kI32, 0).i32(0).stop()),
            hex(receive(300)));
}

}  // namespace
}  // namespace corvane
