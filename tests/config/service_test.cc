// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Configuration service client against a fake manager: the calls on the wire, the codes and
// outputs passed back, the exceptions translated and logged, and a manager down or confused.

#include "corvane/config_service.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <thrift/TApplicationException.h>

#include <corvane/idl/configManager.h>
#include "corvane/config_value.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace config {
namespace {

using messaging::ConfigChangeException;
using messaging::ValidationException;
using testing::serialize;
using Lines = std::vector<std::string>;
using Names = std::vector<std::string>;
namespace cm = ::configManager;

ValueList listOf(Value const* value, char const* name) {
  ValueList list;
  if (value != nullptr) value->asThrift(list, name);
  return list;
}

class ServiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox());
    log::setLogLevel(7);
    mSink.drain(50);
  }

  // Trace lines since the last call, without the header and without the Thrift library's own
  // reports ("thrift: ..."), which are not this client's.
  Lines traces() {
    Lines texts;
    for (std::string const& line : mSink.drain(50)) {
      std::string text = line.substr(line.find("]:") + 2);
      if (text.rfind("thrift: ", 0) != 0) texts.push_back(text);
    }
    return texts;
  }

  testing::FakeManager mManager{"configmgr"};
  testing::SyslogSink mSink;
  SimpleValue mValue{"1500", true};
  Value* mOut = reinterpret_cast<Value*>(0x1234);  // never dereferenced
  Names mNames{"kept"};
  Service::AdminState mAdmin = Service::kwEnabled;
  Service::OpState mOp = Service::kwPendingUp;

  // Every operation by method name; getObjectTypes answers 13 for an empty list.
  std::map<std::string, std::function<int()>> operations() {
    Value const* v = &mValue;
    using S = Service;
    return {
        {"createObject", [=] { return S::createObject("d", "t", "n", v, S::kwEnabled, true); }},
        {"deleteObject", [] { return S::deleteObject("d", "t", "n"); }},
        {"getAdminState", [=] { return S::getAdminState("d", "t", "n", mAdmin); }},
        {"getNamesofObject", [=] { return S::getNamesofObject("d", "t", mNames); }},
        {"getObjectTypes", [] { return S::getObjectTypes().empty() ? 13 : 0; }},
        {"getOpState", [=] { return S::getOpState("d", "t", "n", mOp); }},
        {"queryObject", [=] { return S::queryObject("d", "t", "n", &mOut); }},
        {"resetObject", [] { return S::resetObject("d", "t", "n"); }},
        {"setAdminState", [] { return S::setAdminState("d", "t", "n", S::kwEnabled); }},
        {"setOpState", [] { return S::setOpState("d", "t", "n", S::kwTransitionDown); }},
        {"updateObject", [=] { return S::updateObject("d", "t", "n2", v, false); }},
        {"validateObject", [=] { return S::validateObject("iface", v); }},
    };
  }
  // What a generated client sends for the same operations in the same order (it numbers
  // every call 0).
  std::string sendAll() {
    auto buffer = std::make_shared<apache::thrift::transport::TMemoryBuffer>();
    cm::configManagerClient c(std::make_shared<apache::thrift::protocol::TBinaryProtocol>(buffer));
    c.send_createObject("d", "t", "n", listOf(&mValue, "n"), 1, true);
    c.send_deleteObject("d", "t", "n");
    c.send_getAdminState("d", "t", "n");
    c.send_getNamesofObject("d", "t");
    c.send_getObjectTypes();
    c.send_getOpState("d", "t", "n");
    c.send_queryObject("d", "t", "n");
    c.send_resetObject("d", "t", "n");
    c.send_setAdminState("d", "t", "n", 1);
    c.send_setOpState("d", "t", "n", 3);
    c.send_updateObject("d", "t", "n2", listOf(&mValue, "n2"), false);
    c.send_validateObject("iface", listOf(&mValue, "iface"));
    return buffer->getBufferAsString();
  }
};

TEST_F(ServiceTest, EachOperationMakesOneCallAndPassesOnTheAnswerOrCommError) {
  using apache::thrift::TApplicationException;
  auto ops = operations();
  EXPECT_TRUE(mManager.waitUntilIdle());
  int descriptors = testing::openDescriptorCount();
  // An application exception, then no manager at all: kwCommError, outputs left alone, and
  // only updateObject reports the failed conversation.
  for (bool down : {false, true}) {
    if (down) mManager.stop();
    for (auto const& [method, call] : ops) {
      if (!down) {
        mManager.replyException(method,
                                TApplicationException(TApplicationException::INTERNAL_ERROR, "x"));
      }
      EXPECT_EQ(kwCommError, call()) << method << " " << down;
      bool reports = method == "updateObject";
      EXPECT_EQ(reports ? Lines{"Caught TException, returning kwCommError"} : Lines(), traces())
          << method << " " << down;
    }
  }
  EXPECT_STREQ("kwCommError", RETURNCODE_STR[kwCommError]);
  EXPECT_EQ(std::make_tuple(reinterpret_cast<Value*>(0x1234), Names{"kept"}, Service::kwEnabled,
                            Service::kwPendingUp),
            std::make_tuple(mOut, mNames, mAdmin, mOp));
  mManager.reset();
  mManager.start();
  EXPECT_TRUE(mManager.waitUntilIdle());
  EXPECT_EQ(descriptors, testing::openDescriptorCount());

  // Every method answering a bare code reads the same bytes as createObject's result;
  // getOpState gets the fake's neutral answer (kwUp, code 0).
  std::pair<char const*, int> const codes[] = {
      {"createObject", 6},   {"updateObject", 10}, {"deleteObject", 5}, {"resetObject", 8},
      {"validateObject", 7}, {"setAdminState", 4}, {"setOpState", 11}};
  for (auto const& c : codes) {
    mManager.replySuccess<cm::configManager_createObject_result>(c.first, c.second);
  }
  mManager.replySuccess<cm::configManager_getObjectTypes_result>("getObjectTypes",
                                                                 Names{"interface", "route"});
  cm::RtcObjectName names;
  names.objectNames = {"eth0", "eth1"}, names.code = 3;
  mManager.replySuccess<cm::configManager_getNamesofObject_result>("getNamesofObject", names);
  cm::RtcAdminState admin;
  admin.state = 0, admin.code = 12;
  mManager.replySuccess<cm::configManager_getAdminState_result>("getAdminState", admin);
  cm::RtcValue query;
  query.values = listOf(&mValue, "x"), query.code = 5;
  mManager.replySuccess<cm::configManager_queryObject_result>("queryObject", query);

  // Null values are refused without a connection.
  EXPECT_EQ(kwInvalidValue, Service::createObject("d", "t", "n", nullptr, Service::kwEnabled, 0));
  EXPECT_EQ(kwInvalidValue, Service::updateObject("d", "t", "n", nullptr, false));
  EXPECT_EQ(kwInvalidValue, Service::queryObject("d", "t", "n", nullptr));

  int const expected[] = {6, 5, 12, 3, 0, 0, 5, 8, 4, 11, 10, 7};
  int i = 0, connections = mManager.acceptedConnections();
  for (auto const& [method, call] : ops) EXPECT_EQ(expected[i++], call()) << method;
  std::string wire;
  for (auto const& call : mManager.calls()) wire += call.message;
  EXPECT_EQ(sendAll(), wire);
  EXPECT_EQ(connections + i, mManager.acceptedConnections());
  // The tree is untouched unless the code is 0; the names are replaced whatever the code.
  EXPECT_EQ(std::make_tuple(reinterpret_cast<Value*>(0x1234), Names{"eth0", "eth1"},
                            Service::kwDisabled, Service::kwUp),
            std::make_tuple(mOut, mNames, mAdmin, mOp));
  EXPECT_EQ((Names{"interface", "route"}), Service::getObjectTypes());
  // validateObject has no null check: a null value goes out as an empty list.
  EXPECT_EQ(7, Service::validateObject("iface", nullptr));
  EXPECT_TRUE(mManager.args<cm::configManager_validateObject_args>("validateObject").value.empty());

  query.code = 0;
  mManager.replySuccess<cm::configManager_queryObject_result>("queryObject", query);
  EXPECT_EQ(0, Service::queryObject("d", "t", "n", &mOut));
  std::unique_ptr<Value> tree(mOut);
  EXPECT_EQ(listOf(&mValue, ""), listOf(tree.get(), ""));
  EXPECT_TRUE(mManager.waitUntilIdle());
  EXPECT_EQ(Lines(), traces());
}

TEST_F(ServiceTest, ManagerExceptionsAreTranslatedAndLoggedUnevenly) {
  // The change exception is field 1 of every result that declares it, the validation exception
  // field 2 (field 1 for validateObject). Its description cuts a long message id at 255
  // bytes; the id itself stays whole.
  std::string const longId = "@" + std::string(300, 'k');
  cm::configManager_createObject_result change, invalid;
  change.e.rc = -12, change.e.messageID = longId, change.__isset.e = true;
  change.e.__set_parameters({"9000", "eth0"});
  invalid.ve.errorString = "@prop_string_too_long", invalid.ve.errorField = "mtu";
  invalid.__isset.ve = true;
  cm::configManager_validateObject_result invalidOnly;
  invalidOnly.ve = invalid.ve, invalidOnly.__isset.ve = true;
  // (method, answered with the change exception, what is logged as caught and rethrown)
  std::tuple<std::string, bool, char const*> const cases[] = {
      {"createObject", true, nullptr},
      {"createObject", false, "ValidationException"},
      {"updateObject", true, "ConfigChangeException"},
      {"updateObject", false, "ValidationException"},
      {"validateObject", false, "ValidationException"},
      {"deleteObject", true, nullptr},
      {"resetObject", true, nullptr},
      {"setAdminState", true, nullptr},
  };
  auto ops = operations();
  for (auto const& [method, isChange, logged] : cases) {
    std::string caught = "nothing";
    mManager.replyBytes(method, 2,
                        method == "validateObject" ? serialize(invalidOnly)
                                                   : serialize(isChange ? change : invalid));
    try {
      ops.at(method)();
    } catch (ConfigChangeException const& e) {
      caught = std::string(e.what()) + " " + std::to_string(e.rc) + " " + e.messageID + " " +
               e.parameters.at(0) + "," + e.parameters.at(1);
    } catch (ValidationException const& e) {
      caught = e.errorString + " " + e.errorField;
    }
    EXPECT_EQ(isChange ? "rc:-12, msgid:@" + std::string(240, 'k') + " -12 " + longId + " 9000,eth0"
                       : "@prop_string_too_long mtu",
              caught)
        << method;
    EXPECT_EQ(logged ? Lines{std::string("Caught and rethrowing ") + logged} : Lines(), traces())
        << method;
  }
}

}  // namespace
}  // namespace config
}  // namespace corvane
