// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The bytes on the wire: what the generated clients send, how they react to each kind of
// reply, what the generated processors answer, and how records are written.

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <thrift/TApplicationException.h>

#include <corvane/idl/baseManager.h>
#include <corvane/idl/callbackManager.h>
#include <corvane/idl/configManager.h>
#include <corvane/idl/networkManager.h>
#include <corvane/idl/processManager.h>
#include "corvane/callback_manager.h"
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
}

// The callback server's generated processor over a raw socket: each request in turn and
// everything that comes back within 300 ms.
TEST(ProcessorWireTest, AnswersEachKindOfRequest) {
  ASSERT_NE(nullptr, callbackManagerHandler::startCallbackManager());
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(callbackManagerHandler::handler->port));
  int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
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
       Bytes().header("startTest", 2, 42).field(kI32, 0).i32(0).stop()},
      {Bytes().header("performTest", 1, 7).field(kI32, 1).i32(1).stop(),
       Bytes().header("performTest", 2, 7).stop()},  // void: an empty result record
      {Bytes().header("shutdown", 1, 0).stop(), ""},  // oneway: no answer
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
  close(fd);
  callbackManagerHandler::cleanup();
}

}  // namespace
}  // namespace corvane
