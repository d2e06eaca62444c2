// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The bytes on the wire: what the generated clients send, how they react to each kind of
// reply, what the generated processors answer, and how records are written.

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include <gtest/gtest.h>
#include <thrift/TApplicationException.h>
#include <thrift/server/TSimpleServer.h>
#include <thrift/transport/TServerSocket.h>

#include <corvane/idl/baseManager.h>
#include <corvane/idl/callbackManager.h>
#include <corvane/idl/configManager.h>
#include <corvane/idl/networkManager.h>
#include <corvane/idl/processManager.h>
#include "corvane/client.h"
#include "fake_manager.h"
#include "wire.h"

namespace corvane {
namespace {

using apache::thrift::TApplicationException;
using namespace testing;  // NOLINT: the byte builders

std::unique_ptr<::baseManagerClient> baseClient() {
  return std::unique_ptr<::baseManagerClient>(getClient<::baseManagerClient>("processmgr", 0));
}

// Every call goes out as CALL with sequence id 0; oneway ones do not wait for an answer.
TEST(ClientWireTest, CallBytes) {
  FakeManager manager("processmgr");
  manager.setHang(true);
  auto client = baseClient();
  client->shutdown();
  callbackManager::callbackManagerClient(client->getOutputProtocol())
      .firmwareUpgradeCallback(3, 9, -1);
  ASSERT_TRUE(manager.waitForCalls(2, 2000));
  manager.setHang(false);
  client = baseClient();
  client->startTest(5);
  client->setLogging(6, -1);
  // clang-format off
  std::string const expected[] = {
      Bytes().header("shutdown", 1, 0).stop(),
      Bytes().header("firmwareUpgradeCallback", 1, 0).field(kI32, 1).i32(3).field(kI32, 2)
          .i32(9).field(kI32, 3).i32(-1).stop(),
      Bytes().header("startTest", 1, 0).field(kI32, 1).i32(5).stop(),
      Bytes().header("setLogging", 1, 0).field(kI32, 1).i32(6).field(kI32, 2).i32(-1).stop(),
  };
  // clang-format on
  auto calls = manager.calls();
  ASSERT_EQ(4u, calls.size());
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(hex(expected[i]), hex(calls[i].message)) << i;
}

// How the client treats each kind of reply, in the order it checks them.
TEST(ClientWireTest, RepliesOfEachKind) {
  TApplicationException remote(TApplicationException::INTERNAL_ERROR, "remote trouble");
  auto answer = [](int type, char const* name, int seqid) -> std::string {
    return Bytes().header(name, type, seqid).field(kI32, 0).i32(5).stop();
  };
  char const* const unknown = "startTest failed: unknown result";
  // clang-format off
  struct {
    std::string reply;
    int kind;  // expected TApplicationException type, -1 for an answer of 5
    char const* text;
  } const cases[] = {
      {Bytes().header("startTest", 3, 0).raw(serialize(remote)),
       TApplicationException::INTERNAL_ERROR, "remote trouble"},
      {answer(1, "startTest", 0), TApplicationException::INVALID_MESSAGE_TYPE, nullptr},
      {answer(2, "stopTest", 0), TApplicationException::WRONG_METHOD_NAME, nullptr},
      {Bytes().header("startTest", 2, 0).stop(), TApplicationException::MISSING_RESULT, unknown},
      {answer(2, "startTest", 12345), -1, nullptr},  // the sequence id is never checked
  };
  // clang-format on
  FakeManager manager("processmgr");
  for (auto const& c : cases) {
    SCOPED_TRACE(hex(c.reply));
    manager.replyRaw("startTest", c.reply);
    try {
      EXPECT_EQ(5, baseClient()->startTest(1));
      EXPECT_EQ(-1, c.kind);
    } catch (TApplicationException const& e) {
      EXPECT_EQ(c.kind, e.getType());
      if (c.text != nullptr) {
        EXPECT_STREQ(c.text, e.what());
      }
    }
  }
  // A rejected record is skipped whole: the next reply is read from a clean position. A void
  // method returns once its empty result is read.
  manager.replyRaw("startTest", answer(2, "stopTest", 0) + answer(2, "startTest", 0));
  manager.replyRaw("performTest", Bytes().header("performTest", 2, 0).stop());
  auto client = baseClient();
  EXPECT_THROW(client->startTest(1), TApplicationException);
  EXPECT_EQ(5, client->recv_startTest());
  client->performTest(3);
  EXPECT_EQ(3, manager.args<baseManager_performTest_args>("performTest").index);
}

TEST(ClientWireTest, DeclaredExceptionsAndDerivedServices) {
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
    ADD_FAILURE() << "no exception";
  } catch (configManager::ValidationException const& e) {
    EXPECT_EQ("@prop_string_too_long|hostname", e.errorString + "|" + e.errorField);
  }
  // A network-manager client reaches both of its base services.
  FakeManager net("networkmgr");
  std::unique_ptr<networkManager::networkManagerClient> nc(
      getClient<networkManager::networkManagerClient>("networkmgr", 0));
  j2t::j2tValue v;
  v.mValue = "1500";
  nc->ConfigChange("networkmgr", 2, "system", "ethernet", "eth0", {v});
  nc->shutdown();
  ASSERT_TRUE(net.waitForCalls(2, 2000));
  auto args =
      net.args<configManagerConsumer::configManagerConsumer_ConfigChange_args>("ConfigChange");
  EXPECT_EQ("eth0|1500", args.objectName + "|" + args.properties.at(0).mValue);
  EXPECT_EQ("shutdown", net.calls()[1].name);
}

TEST(RecordWireTest, OptionalFieldsAndEmptyContainers) {
  configManagerConsumer::ConfigChangeException unset;
  unset.rc = 7;
  unset.messageID = "m";
  configManager::ConfigChangeException empty;
  empty.rc = 7;
  empty.messageID = "m";
  empty.__set_parameters({});
  processManager::processManager_registerProcess_pargs reg;
  std::string name = "web", path = "/usr/bin/web";
  std::vector<std::string> none;
  reg.name = &name, reg.fullPath = &path, reg.parameters = &none, reg.dependencies = &none;
  // clang-format off
  struct {
    std::string bytes, expected;
  } const cases[] = {
      {serialize(unset), Bytes().field(kI32, 1).i32(7).field(kString, 2).str("m").stop()},
      {serialize(empty), Bytes().field(kI32, 1).i32(7).field(kString, 2).str("m")
                             .field(kList, 3).i8(kString).i32(0).stop()},
      {serialize(networkManager::NetifStatus()),
       Bytes().field(kBool, 1).i8(0).field(kBool, 2).i8(0).field(kBool, 3).i8(0)
           .field(kList, 4).i8(kMap).i32(0).stop()},
      {serialize(reg), Bytes().field(kString, 1).str("web").field(kString, 2).str("/usr/bin/web")
                           .field(kList, 3).i8(kString).i32(0).field(kList, 4).i8(kString)
                           .i32(0).stop()},
  };
  // clang-format on
  for (auto const& c : cases) EXPECT_EQ(hex(c.expected), hex(c.bytes));
  EXPECT_FALSE(deserialize<configManagerConsumer::ConfigChangeException>(serialize(unset))
                   .__isset.parameters);
}

class CountingHandler : public callbackManager::callbackManagerNull {
 public:
  void shutdown() override { ++shutdowns; }
  int32_t startTest(int32_t n) override { return n * 2; }
  std::atomic<int> shutdowns{0};
};

// A real Thrift server on a generated processor, talked to over a raw socket: each request
// in turn and everything that comes back within 300 ms.
TEST(ProcessorWireTest, AnswersEachKindOfRequest) {
  using namespace apache::thrift;
  auto handler = std::make_shared<CountingHandler>();
  auto socket = std::make_shared<transport::TServerSocket>("::1", 0);
  server::TSimpleServer server(std::make_shared<callbackManager::callbackManagerProcessor>(handler),
                               socket, std::make_shared<transport::TBufferedTransportFactory>(),
                               std::make_shared<protocol::TBinaryProtocolFactory>());
  std::thread thread([&] { server.serve(); });
  for (int i = 0; i < 200 && socket->getPort() == 0; ++i) usleep(5000);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  address.sin6_port = htons(static_cast<uint16_t>(socket->getPort()));
  int fd = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(0, connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
  TApplicationException unknown(TApplicationException::UNKNOWN_METHOD,
                                "Invalid method name: 'reboot'");
  // clang-format off
  struct {
    std::string request, answer;
  } const exchanges[] = {
      // An unknown method gets an exception and the connection lives on.
      {Bytes().header("reboot", 1, 41).field(kString, 1).str("x").stop(),
       Bytes().header("reboot", 3, 41).raw(serialize(unknown))},
      {Bytes().header("startTest", 1, 42).field(kI32, 1).i32(21).stop(),
       Bytes().header("startTest", 2, 42).field(kI32, 0).i32(42).stop()},
      {Bytes().header("shutdown", 1, 0).stop(), ""},  // oneway: no answer
      {Bytes().header("performTest", 1, 7).field(kI32, 1).i32(1).stop(),
       Bytes().header("performTest", 2, 7).stop()},  // void: an empty result record
  };
  // clang-format on
  for (auto const& x : exchanges) {
    EXPECT_EQ(static_cast<ssize_t>(x.request.size()),
              send(fd, x.request.data(), x.request.size(), 0));
    std::string got;
    char chunk[4096];
    pollfd p{fd, POLLIN, 0};
    for (ssize_t n; poll(&p, 1, 300) > 0 && (n = recv(fd, chunk, sizeof chunk, 0)) > 0;)
      got.append(chunk, static_cast<size_t>(n));
    EXPECT_EQ(hex(x.answer), hex(got)) << hex(x.request);
  }
  EXPECT_EQ(1, handler->shutdowns.load());
  close(fd);
  server.stop();
  thread.join();
}

}  // namespace
}  // namespace corvane
