// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Soak: ten thousand mixed operations (launches, a validator that runs ipcalc, catalog
// lookups, manager calls, XML parses) must leave no descriptor, no temporary file and a flat
// resident size behind.

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "corvane/address_validators.h"
#include "corvane/config_value.h"
#include "corvane/idl/hardwareManager.h"
#include "corvane/launch_exec.h"
#include "corvane/msg_cat.h"
#include "corvane/raid_utils.h"
#include "corvane/xml.h"
#include "fake_manager.h"
#include "sandbox.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;  // ipcalc starts slowly; quarantine keeps freed memory resident
#else
constexpr bool kSanitized = false;
#endif

namespace corvane {
namespace {

using Lines = std::vector<std::string>;

// Resident KiB, and what /tmp holds.
std::pair<long, std::string> footprint() {
  std::ifstream statm("/proc/self/statm");
  long pages = 0, resident = 0;
  statm >> pages >> resident;
  return {resident * (sysconf(_SC_PAGESIZE) / 1024), testing::commandOutput("ls -A /tmp")};
}

TEST(SoakTest, TenThousandMixedOperationsLeaveNothingBehind) {
  testing::FakeManager manager("hardwaremgr");
  manager.replySuccess<hardwareManager::hardwareManager_shutdownRaid_result>("shutdownRaid", true);
  config::validator::IPv4AddressValidator address("address");
  multiCat catalog("corvane", "en_US");
  config::SimpleValue good("192.0.2.1"), bad("192.0.2.300");

  int failures = 0, descriptors = 0;
  std::pair<long, std::string> warm;
  for (int i = 0; i < 10000; ++i) {
    if (i == 1000) {            // allocator caches and lazily loaded data settle first
      manager.waitUntilIdle();  // the fake's side of the last call may still be closing
      descriptors = testing::openDescriptorCount();
      warm = footprint();
    }
    Lines args{"/bin/sh", "-c", "echo soak >&2; exit 3"}, err;
    int status = 0;
    char out[512];
    std::istringstream in("<object><name>eth0</name><list><I>a</I></list><mtu>1500</mtu></object>");
    XML::Config doc;
    std::unique_ptr<config::Value> value;
    if (i % (kSanitized ? 1000 : 100) == 0) {
      failures += !address.Valid(&good) || address.Valid(&bad);
    } else if (i % 20 == 1) {
      failures += LaunchExec::launch(args, "soak", &err, -1, -1, nullptr, &status) != 1 ||
                  status != 3 || err != Lines{"soak"};
    } else if (i % 5 == 2) {
      failures += raidUtils::shutdownRaid() != 1;
    } else if (i % 2 == 0) {
      failures += !catalog.expand("@prop_string_expected", out, sizeof out, 0, nullptr) ||
                  getErrorString("@no_such_message") != "@no_such_message";
    } else {
      value.reset(doc.Parse(in) ? config::Value::parseXML(doc) : nullptr);
      failures += !value || value->asXML().find("<mtu>1500</mtu>") == std::string::npos;
    }
  }
  EXPECT_EQ(0, failures);
  EXPECT_TRUE(manager.waitUntilIdle());
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
  auto end = footprint();
  EXPECT_EQ(warm.second, end.second);
  // A leak of even 100 bytes per operation would show as far more than this; under a
  // sanitizer the leak checker judges instead.
  EXPECT_TRUE(kSanitized || end.first - warm.first < 1024) << warm.first << " -> " << end.first;
  std::printf("soak: RSS %ld -> %ld KiB after warm-up\n", warm.first, end.first);
}

}  // namespace
}  // namespace corvane
