// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Address validators against the ipcalc stand-in, and the bind probe.

#include "corvane/address_validators.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <tuple>

#include "net_test_util.h"

namespace corvane::config::validator {
namespace {

using testing::record;

class AddressValidatorsTest : public testing::NetTest {
 protected:
  IPAddressValidator mAny{"any"};
  IPv4AddressValidator mV4{"v4"};
  IPv6AddressValidator mV6{"v6"};
  IPAddressNetValidator mNet{"net"};
  IPAddressAndBindValidator mBind{"bind"};
};

TEST_F(AddressValidatorsTest, SyntaxVerdictsMessagesAndCommandLines) {
  struct Case {
    Base const& validator;
    char const* text;
    std::string message;  // "" when valid
    char const* ipcalc;   // "" when no process runs
  } const cases[] = {
      {mAny, "192.168.1.10", "", "-c -s 192.168.1.10"},
      {mAny, "192.168.1.300", "192.168.1.300 is not a valid IP address.", "-c -s 192.168.1.300"},
      {mAny, "10.1.2.3/24", "10.1.2.3/24 must be an address without a prefix length.", ""},
      {mV4, "fe80::1", "fe80::1 is not a valid IPv4 address.", "-4 -c -s fe80::1"},
      {mV4, "10.0.0.1", "", "-4 -c -s 10.0.0.1"},
      {mV6, "10.0.0.1", "10.0.0.1 is not a valid IPv6 address.", "-6 -c -s 10.0.0.1"},
      {mV6, "fe80::1", "", "-6 -c -s fe80::1"},
      {mNet, "10.1.2.3/24", "", "-c -s 10.1.2.3/24"},
      // The network check shares the address check's rejection on purpose.
      {mNet, "10.1.2.3/33", "10.1.2.3/33 is not a valid IP address.", "-c -s 10.1.2.3/33"},
      {mNet, "10.1.2.3", "10.1.2.3 needs a prefix length, for example 10.1.2.3/24.", ""},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(*c.validator.property("name") + " " + c.text);
    testing::clearStandInCalls();
    SimpleValue value(c.text);
    EXPECT_EQ(c.message, testing::verdict(c.validator, &value));
    EXPECT_EQ(c.ipcalc, testing::joined("ipcalc"));
  }
  // A success leaves the message of the previous failure in place.
  EXPECT_EQ("fe80::1 is not a valid IPv4 address.", mV4.message());
}

TEST_F(AddressValidatorsTest, WrongKindsAreInternalErrorsWithoutProcess) {
  ArrayValue list;
  std::unique_ptr<StructValue> portOnly(record({{"port", "22"}}));
  for (Base const* v : std::initializer_list<Base const*>{&mAny, &mV4, &mV6, &mNet, &mBind}) {
    for (Value const* value : {static_cast<Value const*>(nullptr), static_cast<Value const*>(&list),
                               static_cast<Value const*>(portOnly.get())})
      EXPECT_EQ("@cli_gen_execution_error", testing::verdict(*v, value)) << *v->property("name");
  }
  EXPECT_TRUE(testing::standInCalls("ipcalc").empty());
  EXPECT_TRUE(logged("Unable to dynamic_cast in IPAddressAndBindValidatorWeb::Valid"));
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
  std::tuple<char const*, char const*, bool> const cases[] = {
      {"127.0.0.1", "http", true},  // letters bind port 0
      {"::1", "80", false},         // IPv4-shaped address on an IPv6 socket
  };
  for (auto const& [address, port, ok] : cases)
    EXPECT_EQ(ok, checkBind(address, port)) << address << " " << port;
  // In use (98) counts as present; not on any interface (99) does not.
  std::unique_ptr<StructValue> here(record({{"address", "127.0.0.1"}, {"port", "22"}}));
  std::unique_ptr<StructValue> away(record({{"address", "10.9.9.9"}, {"port", "22"}}));
  EXPECT_EQ("", testing::verdict(mBind, here.get()));
  EXPECT_EQ(
      "The address and port cannot be used on this appliance: the address belongs to none "
      "of its interfaces.",
      testing::verdict(mBind, away.get()));
  EXPECT_EQ(before, testing::openDescriptorCount());
  testing::Lines lines = traces();
  EXPECT_TRUE(testing::has(lines, "Address appears to already be in use"));
  EXPECT_TRUE(testing::has(lines, "Bind failed for ::1:80, err 22"));
  close(listener);
}

}  // namespace
}  // namespace corvane::config::validator
