// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The thin manager wrappers, one table per group: each row is an operation, the argument
// record it must put on the wire, the result the fake manager answers, and the operation's
// answer with the manager up and with it down.

#include <functional>

#include <gtest/gtest.h>

#include "corvane/capture_utils.h"
#include "corvane/diagnostic_utils.h"
#include "corvane/firmware_utils.h"
#include "corvane/raid_utils.h"
#include "corvane/service_test_utils.h"
#include "corvane/snmp_utils.h"
#include "corvane/user_utils.h"
#include "fake_manager.h"
#include "sandbox.h"
#include "wire.h"

namespace corvane {
namespace {

using namespace testing;  // NOLINT: the tables' builders
using Strings = std::vector<std::string>;

struct WireCase {
  char const* method;                 // null: the operation must refuse its input without a call
  std::string args;                   // expected argument record, byte for byte
  std::string result;                 // result record the fake answers with
  std::function<std::string()> call;  // the operation, its answer as text
  std::string up, down;               // answers with the manager answering and down
};
#define CALL(expr) [] { return std::to_string(expr); }

std::string join(bool ok, Strings const& list) {
  std::string out = std::to_string(ok);
  for (size_t i = 0; i < list.size(); ++i) out += (i ? "," : " ") + list[i];
  return out;
}

// A record of strings with ids 1, 2, ...; result records with field 0 as the answer.
std::string S(Strings const& values) {
  Bytes b;
  int id = 0;
  for (auto const& v : values) b.field(kString, ++id).str(v);
  return b.stop();
}
std::string const none = Bytes().stop();
std::string boolR(bool v) { return Bytes().field(kBool, 0).i8(v).stop(); }
std::string byteR(int v) { return Bytes().field(kByte, 0).i8(v).stop(); }
std::string i32R(int v) { return Bytes().field(kI32, 0).i32(v).stop(); }
std::string listR(Strings const& list) {
  Bytes b;
  b.field(kList, 0).i8(kString).i32(static_cast<int64_t>(list.size()));
  for (auto const& s : list) b.str(s);
  return b.stop();
}

// Every row against a fake `service`, then again with it down.
void runWireCases(char const* service, std::vector<WireCase> const& cases) {
  FakeManager manager(service);
  for (auto const& c : cases) {
    SCOPED_TRACE(c.method ? c.method : c.up);
    manager.reset();
    if (c.method) manager.replyBytes(c.method, 2, c.result);
    EXPECT_EQ(c.up, c.call());
    auto calls = manager.calls();
    ASSERT_EQ(c.method ? 1u : 0u, calls.size());
    if (c.method) {
      EXPECT_EQ(hex(c.args), hex(calls[0].args));
    }
  }
  manager.stop();
  for (auto const& c : cases) EXPECT_EQ(c.down, c.call()) << (c.method ? c.method : c.up);
}

// clang-format off
TEST(UserUtilsTest, ForwardsOneCallEach) {
  runWireCases("usermgr", {
    {"login", S({"console", "admin", "pw"}), boolR(true),
     CALL(userUtils::login("console", "admin", "pw")), "1", "0"},
    {"changePasswd", S({"web", "admin", "n3w"}), boolR(true),
     CALL(userUtils::changePasswd("web", "admin", "n3w")), "1", "0"},
    {"addUser", S({"bob", "pw"}), i32R(4), CALL(userUtils::addUser("bob", "pw")), "4", "-1"},
    {"deleteUser", S({"bob"}), i32R(0), CALL(userUtils::deleteUser("bob")), "0", "-1"},
    {"sshKeyAdd", S({"bob", "/tmp/k.pub"}), i32R(2),
     CALL(userUtils::sshKeyAdd("bob", "/tmp/k.pub")), "2", "-1"},
    {"listUsers", none, listR({"admin", "bob"}),
     [] { Strings v{"kept"}; return join(userUtils::listUsers(v), v); }, "1 admin,bob", "0 kept"},
  });
}

TEST(FirmwareUtilsTest, ForwardsOneCallEach) {
  auto upgrade = [](int port) {
    return std::string(Bytes().field(kString, 1).str("/fw.img").field(kBool, 2).i8(1)
                           .field(kBool, 3).i8(0).field(kI32, 4).i32(port).stop());
  };
  runWireCases("firmwaremgr", {
    // Byte codes keep their sign.
    {"upgrade", upgrade(65535), byteR(-2),
     CALL(firmwareUtils::upgrade("/fw.img", true, false, 65535)), "-2", "-1"},
    {nullptr, "", "", CALL(firmwareUtils::upgrade("/fw.img", true, false, 65536)), "-1", "-1"},
    {"reflash", S({"/old.img"}), byteR(0), CALL(firmwareUtils::reflash("/old.img")), "0", "-1"},
    {"rollback", none, byteR(7), CALL(firmwareUtils::rollback()), "7", "-1"},
    {"deletePrevious", none, boolR(true), CALL(firmwareUtils::deletePrevious()), "1", "0"},
  });
  // The release type: first line of its file, without line end and trailing blanks.
  struct { char const* text; char const* type; } const types[] = {
    {nullptr, ""}, {"beta \t\r\nGA\n", "beta"}, 
    {"early access", "early access"},
  };
  for (auto const& t : types) {
    writeFile("/etc/corvane/releaseType", t.text);
    EXPECT_EQ(t.type, firmwareUtils::getReleaseType()) << (t.text ? t.text : "(no file)");
  }
}

TEST(RaidUtilsTest, ForwardsOneCallEach) {
  runWireCases("hardwaremgr", {
    {"shutdownRaid", none, boolR(true), CALL(raidUtils::shutdownRaid()), "1", "0"},
    {"setWriteCaching", Bytes().field(kI16, 1).i16(-3).field(kBool, 2).i8(1).stop(), boolR(true),
     CALL(raidUtils::setWriteCaching(-3, true)), "1", "0"},
    {"deleteVolume", Bytes().field(kBool, 1).i8(1).stop(), none,
     CALL(raidUtils::deleteVolume(true)), "1", "0"},
    {"prepareHotSwap", Bytes().field(kI16, 1).i16(0x1234).stop(), boolR(true),
     CALL(raidUtils::prepareHotSwap(0x1234)), "1", "0"},
  });
}

TEST(SnmpUtilsTest, TrapsGoToTheStatusManagerAndTheAgentToItsScript) {
  runWireCases("statusmgr", {
    {"issueSensorTrap", Bytes().field(kString, 1).str("2026-01-02").field(kI32, 2).i32(4)
         .field(kI16, 3).i16(-2).field(kString, 4).str("Fan 1").field(kString, 5).str("0x0A")
         .field(kI32, 6).i32(1).field(kBool, 7).i8(1).stop(), none,
     CALL(snmpUtils::issueSensorTrap("2026-01-02", 4, -2, "Fan 1", "0x0A", 1, true)), "1", "0"},
    {"issueLinkEventTrap", Bytes().field(kBool, 1).i8(1).field(kI32, 2).i32(12)
         .field(kString, 3).str("up").field(kString, 4).str("down").stop(), none,
     CALL(snmpUtils::issueLinkEventTrap(true, 12, "up", "down")), "1", "0"},
  });
  struct { int (*op)(); char const* action; int exitCode; int rc; } const agent[] = {
    {snmpUtils::startAgent, "start", -1, 0}, {snmpUtils::stopAgent, "stop", -1, 0},
    {snmpUtils::restartAgent, "restart", 3, 1},
  };
  for (auto const& a : agent) {
    clearStandInCalls();
    setStandInResult("snmpd", a.exitCode, "");
    EXPECT_EQ(a.rc, a.op()) << a.action;
    EXPECT_EQ(std::vector<Strings>{{a.action}}, standInCalls("snmpd"));
  }
}

TEST(ServiceTestUtilsTest, ForwardsOneCallEachWithItsOwnTimeout) {
  runWireCases("networkmgr", {
    {"startTest", Bytes().field(kI32, 1).i32(12).stop(), i32R(9),
     CALL(serviceTestUtils::startTest("networkmgr", 12, 0)), "9", "-1"},
    {"performTest", Bytes().field(kI32, 1).i32(-4).stop(), none,
     CALL(serviceTestUtils::performTest("networkmgr", -4, 0)), "1", "0"},
    {"stopTest", none, boolR(true), CALL(serviceTestUtils::stopTest("networkmgr", 0)), "1", "0"},
    {nullptr, "", "", CALL(serviceTestUtils::startTest(nullptr, 1, 0)), "-1", "-1"},
    {nullptr, "", "", CALL(serviceTestUtils::stopTest("nosuchmgr", 0)), "0", "0"},
  });
}

TEST(CaptureUtilsTest, ForwardsOneCallEach) {
  runWireCases("networkmgr", {
    {"startPacketCapture", Bytes().field(kString, 1).str("eth1").field(kString, 2).str("port 22")
         .field(kString, 3).str("cap").field(kI32, 4).i32(60).field(kI32, 5).i32(1024)
         .field(kI32, 6).i32(3).field(kI32, 7).i32(-1).stop(), i32R(0),
     CALL(captureUtils::startPacketCapture("eth1", "port 22", "cap", 60, 1024, 3, -1)),
     "0", "-1"},
    {"stopPacketCapture", S({"eth1"}), boolR(true),
     CALL(captureUtils::stopPacketCapture("eth1")), "1", "0"},
    {"getCaptureInfo", S({"eth1"}), Bytes().field(kStruct, 0).field(kString, 1).str("eth1")
         .field(kI32, 2).i32(2).field(kList, 3).i8(kString).i32(2).str("c0").str("c1")
         .stop().stop(),
     [] { captureUtils::CaptureInfo i{"kept", 9, {"old"}};
          bool ok = captureUtils::getCaptureInfo("eth1", i);
          return join(ok, {i.interfaceName, std::to_string(i.state), join(1, i.fileNames)}); },
     "1 eth1,2,1 c0,c1", "0 kept,9,1 old"},
    {"getAllCapturedInterfaces", none, listR({"eth0", "eth1"}),
     [] { Strings v{"kept"}; return join(captureUtils::getAllCapturedInterfaces(v), v); },
     "1 eth0,eth1", "0 kept"},
  });
}

TEST(DiagnosticUtilsTest, ForwardsOneNetTestEach) {
  auto args = [](int type, Strings const& params) {
    Bytes b;
    b.field(kI32, 1).i32(type).field(kList, 2).i8(kString).i32(static_cast<int64_t>(params.size()));
    for (auto const& p : params) b.str(p);
    return std::string(b.stop());
  };
  auto result = [](bool ok, int code, std::string const& text) {
    return std::string(Bytes().field(kStruct, 0).field(kBool, 1).i8(ok).field(kI32, 2).i32(code)
                           .field(kString, 3).str(text).stop().stop());
  };
  using diagnosticUtils::NetTestResult;
  auto shown = [](NetTestResult const& r) {
    return join(r.ok, {std::to_string(r.errcode), r.message});
  };
  runWireCases("networkmgr", {
    {"NetTest", args(1, {"192.0.2.7"}), result(true, 0, "3 replies"),
     [=] { return shown(diagnosticUtils::ping("192.0.2.7")); }, "1 0,3 replies", "0 -1,"},
    {"NetTest", args(2, {"example.org"}), result(false, 2, "NXDOMAIN"),
     [=] { return shown(diagnosticUtils::nslookup("example.org")); }, "0 2,NXDOMAIN", "0 -1,"},
    {"NetTest", args(3, {"fe80::1", "65535"}), result(true, 0, "open"),
     [=] { return shown(diagnosticUtils::tcpConnect("fe80::1", 65535)); }, "1 0,open", "0 -1,"},
    {nullptr, "", "", [=] { return shown(diagnosticUtils::tcpConnect("fe80::1", 0)); },
     "0 -1,", "0 -1,"},
  });
}
// clang-format on

}  // namespace
}  // namespace corvane
