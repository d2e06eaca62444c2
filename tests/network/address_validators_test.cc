// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Address validators against the sandbox's ipcalc stand-in: verdicts, stored messages, the
// command line each check runs (or that it runs none), and the bind probe.

#include "corvane/address_validators.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include <gtest/gtest.h>

#include "corvane/log.h"
#include "net_test_util.h"
#include "sandbox.h"

namespace corvane {
namespace config {
namespace validator {
namespace {

using testing::Args;

class AddressValidatorsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox());
    log::setLogLevel(7);
    testing::clearStandInCalls();
    mSink.drain(20);
  }
  testing::SyslogSink mSink;
};

enum Kind { any, v4, v6, net };

std::unique_ptr<Base> make(Kind kind) {
  switch (kind) {
    case any:
      return std::make_unique<IPAddressValidator>("any");
    case v4:
      return std::make_unique<IPv4AddressValidator>("v4");
    case v6:
      return std::make_unique<IPv6AddressValidator>("v6");
    default:
      return std::make_unique<IPAddressNetValidator>("net");
  }
}

TEST_F(AddressValidatorsTest, SyntaxVerdictsMessagesAndCommandLines) {
  struct Case {
    Kind kind;
    char const* text;
    bool ok;
    char const* message;  // after the call; "" when none was ever stored
    Args ipcalc;          // the one recorded call; empty when none
  } const cases[] = {
      {any, "192.168.1.10", true, "", {"-c", "-s", "192.168.1.10"}},
      {any, "fe80::1", true, "", {"-c", "-s", "fe80::1"}},
      {any,
       "192.168.1.300",
       false,
       "192.168.1.300 is not a valid IP address.",
       {"-c", "-s", "192.168.1.300"}},
      {any, "10.1.2.3/24", false, "10.1.2.3/24 must be an address without a prefix length.", {}},
      {any, "", false, " is not a valid IP address.", {"-c", "-s", ""}},
      {v4, "10.0.0.1", true, "", {"-4", "-c", "-s", "10.0.0.1"}},
      {v4, "fe80::1", false, "fe80::1 is not a valid IPv4 address.", {"-4", "-c", "-s", "fe80::1"}},
      {v4, "fe80::1/64", false, "fe80::1/64 must be an address without a prefix length.", {}},
      {v6, "fe80::1", true, "", {"-6", "-c", "-s", "fe80::1"}},
      {v6,
       "10.0.0.1",
       false,
       "10.0.0.1 is not a valid IPv6 address.",
       {"-6", "-c", "-s", "10.0.0.1"}},
      {net, "10.1.2.3/24", true, "", {"-c", "-s", "10.1.2.3/24"}},
      {net,
       "10.1.2.3/33",
       false,
       "10.1.2.3/33 is not a valid IP address.",
       {"-c", "-s", "10.1.2.3/33"}},
      {net, "10.1.2.3", false, "10.1.2.3 needs a prefix length, for example 10.1.2.3/24.", {}},
  };
  for (Case const& c : cases) {
    std::unique_ptr<Base> validator = make(c.kind);
    SCOPED_TRACE(*validator->property("name") + " " + c.text);
    testing::clearStandInCalls();
    SimpleValue value(c.text);
    EXPECT_EQ(c.ok, validator->Valid(&value));
    EXPECT_EQ(c.message, validator->message());
    auto calls = testing::standInCalls("ipcalc");
    if (c.ipcalc.empty()) {
      EXPECT_TRUE(calls.empty());
    } else {
      ASSERT_EQ(1u, calls.size());
      EXPECT_EQ(c.ipcalc, calls[0]);
    }
  }
}

TEST_F(AddressValidatorsTest, WrongKindsAreInternalErrorsWithoutProcess) {
  IPAddressAndBindValidator bind("e");
  StructValue object;
  ArrayValue list;
  std::unique_ptr<StructValue> portOnly(testing::record({{"port", "22"}}));
  for (Kind kind : {any, v4, v6, net}) {
    std::unique_ptr<Base> v = make(kind);
    for (Value const* value :
         {static_cast<Value const*>(nullptr), static_cast<Value const*>(&object),
          static_cast<Value const*>(&list)}) {
      EXPECT_FALSE(v->Valid(value));
      EXPECT_EQ("@cli_gen_execution_error", v->message());
    }
  }
  for (Value const* value : {static_cast<Value const*>(nullptr), static_cast<Value const*>(&list),
                             static_cast<Value const*>(portOnly.get())}) {
    EXPECT_FALSE(bind.Valid(value));
    EXPECT_EQ("@cli_gen_execution_error", bind.message());
  }
  EXPECT_TRUE(testing::standInCalls("ipcalc").empty());
  testing::Lines lines = testing::traces(mSink);
  for (char const* line : {"Unable to dynamic_cast in IPv6AddressValidator::Valid",
                           "Unable to dynamic_cast in IPAddressAndBindValidatorWeb::Valid"}) {
    EXPECT_NE(lines.end(), std::find(lines.begin(), lines.end(), line)) << line;
  }
}

TEST_F(AddressValidatorsTest, LogsTheVerdictLinesOfTheClass) {
  IPAddressNetValidator net("d");
  SimpleValue good("10.1.2.3/24"), bare("10.1.2.3");
  EXPECT_TRUE(net.Valid(&good));
  EXPECT_FALSE(net.Valid(&bare));
  testing::Lines lines = testing::traces(mSink);
  for (char const* line : {"Verifying that '10.1.2.3/24' is a valid IP address and network\n",
                           "ipcalc reports that '10.1.2.3/24' is a valid IP address and network",
                           "Unable to find CIDR suffix in value - IPAddressNetValidator::Valid"}) {
    EXPECT_NE(lines.end(), std::find(lines.begin(), lines.end(), line)) << line;
  }
}

TEST_F(AddressValidatorsTest, FailureLeavesMessageUntilTheNextFailure) {
  IPv4AddressValidator v4("b");
  SimpleValue bad("1.2.3.4/8"), good("1.2.3.4");
  EXPECT_FALSE(v4.Valid(&bad));
  EXPECT_TRUE(v4.Valid(&good));
  EXPECT_EQ("1.2.3.4/8 must be an address without a prefix length.", v4.message());
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
      {"127.0.0.1", "23", true},    // free
      {"127.0.0.1", "http", true},  // letters bind port 0
      {"10.9.9.9", "80", false},    // not on any interface (99)
      {"::1", "80", false},         // IPv4-shaped address on an IPv6 socket
      {"fe80::de:adff:febe:ef20", "80", false},
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
    EXPECT_NE(lines.end(), std::find(lines.begin(), lines.end(), line)) << line;
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
