// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Address validators against the sandbox's ipcalc stand-in: verdicts, stored messages, the
// command line each check runs (or that it runs none), and the bind probe.

#include "corvane/address_validators.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

#include <gtest/gtest.h>

#include "corvane/log.h"
#include "net_test_util.h"
#include "sandbox.h"

namespace corvane {
namespace config {
namespace validator {
namespace {

using testing::has;

enum Kind { any, v4, v6, net, bindable };

class AddressValidatorsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox());
    log::setLogLevel(7);
    testing::clearStandInCalls();
    mSink.drain(20);
  }
  Base const& make(Kind kind) {
    Base const* all[] = {&mAny, &mV4, &mV6, &mNet, &mBind};
    return *all[kind];
  }
  IPAddressValidator mAny{"any"};
  IPv4AddressValidator mV4{"v4"};
  IPv6AddressValidator mV6{"v6"};
  IPAddressNetValidator mNet{"net"};
  IPAddressAndBindValidator mBind{"bind"};
  testing::SyslogSink mSink;
};

TEST_F(AddressValidatorsTest, SyntaxVerdictsMessagesAndCommandLines) {
  char const* const kNoPrefix = " must be an address without a prefix length.";
  struct Case {
    Kind kind;
    std::string text;
    bool ok;
    std::string message;
    char const* ipcalc;  // the one recorded call; "" when none
  } const cases[] = {
      {any, "192.168.1.10", true, "", "-c -s 192.168.1.10"},
      {any, "192.168.1.300", false, "192.168.1.300 is not a valid IP address.",
       "-c -s 192.168.1.300"},
      {any, "10.1.2.3/24", false, std::string("10.1.2.3/24") + kNoPrefix, ""},
      {any, "", false, " is not a valid IP address.", "-c -s "},
      {v4, "10.0.0.1", true, "", "-4 -c -s 10.0.0.1"},
      {v4, "fe80::1", false, "fe80::1 is not a valid IPv4 address.", "-4 -c -s fe80::1"},
      {v4, "fe80::1/64", false, std::string("fe80::1/64") + kNoPrefix, ""},
      {v6, "fe80::1", true, "", "-6 -c -s fe80::1"},
      {v6, "10.0.0.1", false, "10.0.0.1 is not a valid IPv6 address.", "-6 -c -s 10.0.0.1"},
      {net, "10.1.2.3/24", true, "", "-c -s 10.1.2.3/24"},
      {net, "10.1.2.3/33", false, "10.1.2.3/33 is not a valid IP address.", "-c -s 10.1.2.3/33"},
      {net, "10.1.2.3", false, "10.1.2.3 needs a prefix length, for example 10.1.2.3/24.", ""},
  };
  for (Case const& c : cases) {
    Base const& validator = make(c.kind);
    SCOPED_TRACE(*validator.property("name") + " " + c.text);
    testing::clearStandInCalls();
    SimpleValue value(c.text);
    EXPECT_EQ(c.ok, validator.Valid(&value));
    if (!c.ok) {
      EXPECT_EQ(c.message, validator.message());
    }
    EXPECT_EQ(c.ipcalc, testing::joined(testing::standInCalls("ipcalc")));
  }
  // A success leaves the message of the previous failure in place.
  IPv4AddressValidator kept("b");
  SimpleValue bad("1.2.3.4/8"), good("1.2.3.4");
  EXPECT_FALSE(kept.Valid(&bad));
  EXPECT_TRUE(kept.Valid(&good));
  EXPECT_EQ(std::string("1.2.3.4/8") + kNoPrefix, kept.message());
}

TEST_F(AddressValidatorsTest, WrongKindsAreInternalErrorsWithoutProcess) {
  ArrayValue list;
  std::unique_ptr<StructValue> portOnly(testing::record({{"port", "22"}}));
  for (Kind kind : {any, v4, v6, net, bindable}) {
    Base const* v = &make(kind);
    for (Value const* value : {static_cast<Value const*>(nullptr), static_cast<Value const*>(&list),
                               static_cast<Value const*>(portOnly.get())}) {
      EXPECT_FALSE(v->Valid(value)) << kind;
      EXPECT_EQ("@cli_gen_execution_error", v->message()) << kind;
    }
  }
  EXPECT_TRUE(testing::standInCalls("ipcalc").empty());
  testing::Lines lines = testing::traces(mSink);
  EXPECT_TRUE(has(lines, "Unable to dynamic_cast in IPv6AddressValidator::Valid"));
  EXPECT_TRUE(has(lines, "Unable to dynamic_cast in IPAddressAndBindValidatorWeb::Valid"));
}

// The port is bound in host order: port text "22" is port 5632 on the wire of this machine.
TEST_F(AddressValidatorsTest, CheckBindVerdicts) {
  int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_port = htons(5632);
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(0, bind(listener, reinterpret_cast<sockaddr*>(&at), sizeof at));
  ASSERT_EQ(0, listen(listener, 1));
  int before = testing::openDescriptorCount();
  struct Case {
    char const* address;
    char const* port;
    bool ok;
  } const cases[] = {
      {"127.0.0.1", "22", true},    // in use (98) counts as present
      {"127.0.0.1", "http", true},  // letters bind port 0
      {"10.9.9.9", "80", false},    // not on any interface (99)
      {"::1", "80", false},         // IPv4-shaped address on an IPv6 socket
  };
  for (Case const& c : cases) {
    EXPECT_EQ(c.ok, checkBind(c.address, c.port)) << c.address << " " << c.port;
  }
  EXPECT_EQ(before, testing::openDescriptorCount());
  testing::Lines lines = testing::traces(mSink);
  for (char const* line :
       {"Address appears to already be in use", "Bind failed for 10.9.9.9:80, err 99",
        "The address specified 10.9.9.9, is not available on the system",
        "Bind failed for ::1:80, err 22"}) {
    EXPECT_TRUE(has(lines, line)) << line;
  }
  IPAddressAndBindValidator validator("listen");
  std::unique_ptr<StructValue> here(testing::record({{"address", "127.0.0.1"}, {"port", "22"}}));
  std::unique_ptr<StructValue> away(testing::record({{"address", "10.9.9.9"}, {"port", "22"}}));
  EXPECT_TRUE(validator.Valid(here.get()));
  EXPECT_FALSE(validator.Valid(away.get()));
  EXPECT_EQ(
      "The address and port cannot be used on this appliance: the address belongs to none "
      "of its interfaces.",
      validator.message());
  close(listener);
}

}  // namespace
}  // namespace validator
}  // namespace config
}  // namespace corvane
