// Configuration service client against a fake configuration manager: the call each operation
// puts on the wire, the codes and out arguments it passes back, the exceptions it translates
// and logs, and its answers when the manager is down or talks nonsense.

#include "corvane/config_service.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <thrift/TApplicationException.h>

#include "configManager.h"
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

std::unique_ptr<StructValue> object() {
  auto value = std::make_unique<StructValue>();
  value->insert("mtu", new SimpleValue("1500", true));
  value->insert("addrs", new ArrayValue());
  static_cast<ArrayValue*>(value->find("addrs"))->append(new SimpleValue("a"));
  return value;
}

ValueList listOf(Value const* value, char const* name) {
  ValueList list;
  if (value != nullptr) value->asThrift(list, name);
  return list;
}

// A result record answering with `success`.
template <class Result, class T>
Result success(T const& value) {
  Result r;
  r.success = value;
  r.__isset.success = true;
  return r;
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
    for (std::string const& line : mSink.drain(150)) {
      std::string text = line.substr(line.find("]:") + 2);
      if (text.rfind("thrift: ", 0) != 0) texts.push_back(text);
    }
    return texts;
  }

  void waitIdle() {
    for (int i = 0; i < 100 && mManager.openConnections() != 0; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(0, mManager.openConnections());
  }

  testing::FakeManager mManager{"configmgr"};
  testing::SyslogSink mSink;
  std::unique_ptr<StructValue> mValue = object();
  Value* mOut = reinterpret_cast<Value*>(0x1234);  // never dereferenced
  Names mNames{"kept"};
  Service::AdminState mAdmin = Service::kwEnabled;
  Service::OpState mOp = Service::kwPendingUp;

  struct Operation {
    char const* method;
    std::function<int()> call;
    std::string args;  // the argument record expected on the wire
  };
  // Every operation; getObjectTypes answers 13 for an empty list.
  std::vector<Operation> operations() {
    Value const* v = mValue.get();
    cm::configManager_createObject_args create;
    create.domain = "d", create.objectType = "t", create.objectName = "n";
    create.value = listOf(v, "n"), create.state = 1, create.forceValidation = true;
    cm::configManager_updateObject_args update;
    update.domain = "d", update.objectType = "t", update.objectName = "n2";
    update.value = listOf(v, "n2"), update.forceValidation = false;
    cm::configManager_queryObject_args dtn;  // the same three fields for many methods
    dtn.domain = "d", dtn.objectType = "t", dtn.objectName = "n";
    cm::configManager_validateObject_args validate;
    validate.objectType = "iface", validate.value = listOf(v, "iface");
    cm::configManager_getNamesofObject_args names;
    names.domain = "d", names.objectType = "t";
    cm::configManager_setAdminState_args admin;
    admin.domain = "d", admin.objectType = "t", admin.objectName = "n", admin.state = 1;
    cm::configManager_setOpState_args op;
    op.domain = "d", op.objectType = "t", op.objectName = "n", op.state = 3;
    return {
        {"createObject",
         [=] { return Service::createObject("d", "t", "n", v, Service::kwEnabled, true); },
         serialize(create)},
        {"queryObject", [=] { return Service::queryObject("d", "t", "n", &mOut); }, serialize(dtn)},
        {"updateObject", [=] { return Service::updateObject("d", "t", "n2", v, false); },
         serialize(update)},
        {"deleteObject", [] { return Service::deleteObject("d", "t", "n"); }, serialize(dtn)},
        {"resetObject", [] { return Service::resetObject("d", "t", "n"); }, serialize(dtn)},
        {"validateObject", [=] { return Service::validateObject("iface", v); },
         serialize(validate)},
        {"getObjectTypes", [] { return Service::getObjectTypes().empty() ? 13 : 0; },
         std::string(1, '\0')},
        {"getNamesofObject", [=] { return Service::getNamesofObject("d", "t", mNames); },
         serialize(names)},
        {"setAdminState", [] { return Service::setAdminState("d", "t", "n", Service::kwEnabled); },
         serialize(admin)},
        {"getAdminState", [=] { return Service::getAdminState("d", "t", "n", mAdmin); },
         serialize(dtn)},
        {"setOpState", [] { return Service::setOpState("d", "t", "n", Service::kwTransitionDown); },
         serialize(op)},
        {"getOpState", [=] { return Service::getOpState("d", "t", "n", mOp); }, serialize(dtn)},
    };
  }
};

TEST_F(ServiceTest, EachOperationMakesOneCallOnItsOwnConnection) {
  auto ops = operations();
  for (auto const& op : ops) op.call();  // unprogrammed: neutral answers
  auto calls = mManager.calls();
  ASSERT_EQ(ops.size(), calls.size());
  for (size_t i = 0; i < ops.size(); ++i) {
    EXPECT_EQ(ops[i].method, calls[i].name);
    EXPECT_EQ(1, calls[i].type) << ops[i].method;
    EXPECT_EQ(ops[i].args, calls[i].args) << ops[i].method;
  }
  EXPECT_EQ(static_cast<int>(ops.size()), mManager.acceptedConnections());
  waitIdle();
  EXPECT_EQ(Lines(), traces());
}

TEST_F(ServiceTest, CodesAndOutArgumentsComeFromTheManager) {
  mManager.reply("createObject", success<cm::configManager_createObject_result>(6));
  mManager.reply("updateObject", success<cm::configManager_updateObject_result>(10));
  mManager.reply("deleteObject", success<cm::configManager_deleteObject_result>(5));
  mManager.reply("resetObject", success<cm::configManager_resetObject_result>(8));
  mManager.reply("validateObject", success<cm::configManager_validateObject_result>(7));
  mManager.reply("setAdminState", success<cm::configManager_setAdminState_result>(4));
  mManager.reply("setOpState", success<cm::configManager_setOpState_result>(11));
  mManager.reply("getObjectTypes",
                 success<cm::configManager_getObjectTypes_result>(Names{"interface", "route"}));
  cm::RtcObjectName names;
  names.objectNames = {"eth0", "eth1"}, names.code = 3;
  mManager.reply("getNamesofObject", success<cm::configManager_getNamesofObject_result>(names));
  cm::RtcAdminState admin;
  admin.state = 0, admin.code = 12;
  mManager.reply("getAdminState", success<cm::configManager_getAdminState_result>(admin));
  cm::RtcOpState op;
  op.state = 3, op.code = 0;
  mManager.reply("getOpState", success<cm::configManager_getOpState_result>(op));
  cm::RtcValue query;
  query.values = listOf(mValue.get(), "x"), query.code = 5;
  mManager.reply("queryObject", success<cm::configManager_queryObject_result>(query));

  int const expected[] = {6, 5, 10, 5, 8, 7, 0, 3, 4, 12, 11, 0};
  auto ops = operations();
  for (size_t i = 0; i < ops.size(); ++i) EXPECT_EQ(expected[i], ops[i].call()) << ops[i].method;
  EXPECT_EQ(reinterpret_cast<Value*>(0x1234), mOut);  // untouched unless the code is 0
  EXPECT_EQ((Names{"eth0", "eth1"}), mNames);         // replaced whatever the code
  EXPECT_EQ(Service::kwDisabled, mAdmin);
  EXPECT_EQ(Service::kwTransitionDown, mOp);
  EXPECT_EQ((Names{"interface", "route"}), Service::getObjectTypes());

  query.code = 0;
  mManager.reply("queryObject", success<cm::configManager_queryObject_result>(query));
  EXPECT_EQ(0, Service::queryObject("d", "t", "n", &mOut));
  std::unique_ptr<Value> tree(mOut);
  EXPECT_EQ(listOf(mValue.get(), ""), listOf(tree.get(), ""));
  query.values.clear();
  mManager.reply("queryObject", success<cm::configManager_queryObject_result>(query));
  EXPECT_EQ(0, Service::queryObject("d", "t", "n", &mOut));
  EXPECT_EQ(nullptr, mOut);
}

TEST_F(ServiceTest, NullValuesAreRefusedWithoutConnecting) {
  EXPECT_EQ(kwInvalidValue, Service::createObject("d", "t", "n", nullptr, Service::kwEnabled, 0));
  EXPECT_EQ(kwInvalidValue, Service::updateObject("d", "t", "n", nullptr, false));
  EXPECT_EQ(kwInvalidValue, Service::queryObject("d", "t", "n", nullptr));
  EXPECT_EQ(0, mManager.acceptedConnections());
  // validateObject has no such check: a null value goes out as an empty list.
  EXPECT_EQ(kwOK, Service::validateObject("iface", nullptr));
  EXPECT_TRUE(mManager.args<cm::configManager_validateObject_args>("validateObject").value.empty());
  EXPECT_EQ(Lines(), traces());
}

TEST_F(ServiceTest, ManagerExceptionsAreTranslatedAndLoggedUnevenly) {
  cm::ConfigChangeException change;
  change.rc = 7, change.messageID = "@mtu_too_big";
  change.__set_parameters({"9000", "eth0"});
  cm::ValidationException invalid;
  invalid.errorString = "@prop_string_too_long", invalid.errorField = "mtu";
  // Results of every method that declares them: the change exception is field 1, the
  // validation exception field 2 (field 1 for validateObject).
  cm::configManager_createObject_result changeResult, invalidResult;
  changeResult.e = change, changeResult.__isset.e = true;
  invalidResult.ve = invalid, invalidResult.__isset.ve = true;
  cm::configManager_validateObject_result invalidOnly;
  invalidOnly.ve = invalid, invalidOnly.__isset.ve = true;

  std::string const rethrowChange = "Caught and rethrowing ConfigChangeException";
  std::string const rethrowInvalid = "Caught and rethrowing ValidationException";
  struct Case {
    char const* method;
    bool change;
    Lines logged;
  } const cases[] = {
      {"createObject", true, {}},
      {"createObject", false, {rethrowInvalid}},
      {"updateObject", true, {rethrowChange}},
      {"updateObject", false, {rethrowInvalid}},
      {"validateObject", false, {rethrowInvalid}},
      {"deleteObject", true, {}},
      {"resetObject", true, {}},
      {"setAdminState", true, {}},
  };
  auto ops = operations();
  for (auto const& c : cases) {
    std::string method = c.method;
    if (method == "validateObject")
      mManager.reply(method, invalidOnly);
    else
      mManager.reply(method, c.change ? changeResult : invalidResult);
    auto op =
        std::find_if(ops.begin(), ops.end(), [&](Operation& o) { return o.method == method; });
    try {
      op->call();
      ADD_FAILURE() << method << " did not throw";
    } catch (ConfigChangeException const& e) {
      EXPECT_TRUE(c.change) << method;
      EXPECT_EQ(7, e.rc);
      EXPECT_EQ("@mtu_too_big", e.messageID);
      EXPECT_EQ((Names{"9000", "eth0"}), e.parameters);
      EXPECT_STREQ("rc:7, msgid:@mtu_too_big", e.what());
    } catch (ValidationException const& e) {
      EXPECT_FALSE(c.change) << method;
      EXPECT_EQ("@prop_string_too_long", e.errorString);
      EXPECT_EQ("mtu", e.errorField);
    }
    EXPECT_EQ(c.logged, traces()) << method;
  }
}

TEST_F(ServiceTest, ManagerDownGivesCommErrorQuicklyAndLeavesOutputsAlone) {
  mManager.stop();
  int descriptors = testing::openDescriptorCount();
  for (auto const& op : operations()) {
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(kwCommError, op.call()) << op.method;
    std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    EXPECT_LT(took.count(), 1.5) << op.method;
    // Only updateObject reports the failed conversation.
    Lines expected;
    if (std::string(op.method) == "updateObject") {
      expected.push_back("Caught TException, returning kwCommError");
    }
    EXPECT_EQ(expected, traces()) << op.method;
  }
  EXPECT_EQ(reinterpret_cast<Value*>(0x1234), mOut);
  EXPECT_EQ(Names{"kept"}, mNames);
  EXPECT_EQ(Service::kwEnabled, mAdmin);
  EXPECT_EQ(Service::kwPendingUp, mOp);
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
}

TEST_F(ServiceTest, BrokenAnswersCountAsCommErrors) {
  auto ops = operations();
  waitIdle();
  int descriptors = testing::openDescriptorCount();
  for (auto const& op : ops) {
    mManager.replyException(op.method,
                            apache::thrift::TApplicationException(
                                apache::thrift::TApplicationException::INTERNAL_ERROR, "boom"));
    EXPECT_EQ(kwCommError, op.call()) << op.method;
  }
  mManager.reset();
  mManager.replyRaw("", std::string("\x80\x01\x00\x02\x00\x00", 6), true);  // cut short
  for (auto const& op : ops) EXPECT_EQ(kwCommError, op.call()) << op.method;
  waitIdle();
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
  EXPECT_EQ(Names{"kept"}, mNames);
}

TEST(ConfigChangeExceptionTest, DescriptionIsCutMessageIdIsNot) {
  std::string longId = "@" + std::string(300, 'k');
  ConfigChangeException e(-12, longId, {});
  ConfigChangeException copy(e);
  EXPECT_EQ(longId, copy.messageID);
  EXPECT_EQ("rc:-12, msgid:@" + std::string(240, 'k'), copy.what());
  EXPECT_STREQ("kwCommError", RETURNCODE_STR[kwCommError]);
  EXPECT_STREQ("kwInvalidObjectName", RETURNCODE_STR[kwInvalidObjectName]);
  EXPECT_STREQ("kwEnabled", ADMINSTATE_STR[Service::kwEnabled]);
  EXPECT_STREQ("kwTransitionDown", OPSTATE_STR[Service::kwTransitionDown]);
}

}  // namespace
}  // namespace config
}  // namespace corvane
