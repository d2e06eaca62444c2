// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Soak: ten thousand mixed operations (launches, a validator that runs ipcalc, catalog
// lookups, manager calls, XML parses) must leave no descriptor, no temporary file and a flat
// resident size behind.

#include <dirent.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
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
#define CORVANE_SOAK_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define CORVANE_SOAK_SANITIZED 1
#endif
#endif

namespace corvane {
namespace {

long residentKiB() {
  std::ifstream in("/proc/self/statm");
  long pages = 0, resident = 0;
  in >> pages >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

std::vector<std::string> tmpEntries() {
  std::vector<std::string> names;
  if (DIR* dir = opendir("/tmp")) {
    while (dirent* e = readdir(dir)) {
      std::string name = e->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    closedir(dir);
  }
  return names;
}

TEST(SoakTest, TenThousandMixedOperationsLeaveNothingBehind) {
  testing::FakeManager manager("hardwaremgr");
  hardwareManager::hardwareManager_shutdownRaid_result answer;
  answer.success = true;
  answer.__isset.success = true;
  manager.reply("shutdownRaid", answer);

  config::validator::IPv4AddressValidator address("address");
  multiCat catalog("corvane", "en_US");
  config::SimpleValue good("192.0.2.1"), bad("192.0.2.300");
  std::string const xml =
      "<object><name>eth0</name><list><I>a</I><I>b</I></list><mtu>1500</mtu></object>";
#ifdef CORVANE_SOAK_SANITIZED
  int const kValidatorEvery = 1000;  // ipcalc is slow to start under the sanitizers
#else
  int const kValidatorEvery = 100;
#endif

  int const kOps = 10000, kWarmUp = 1000;
  int counts[5] = {0, 0, 0, 0, 0};
  int failures = 0, descriptors = 0;
  long warmRss = 0;
  std::vector<std::string> tmpBefore;
  for (int i = 0; i < kOps; ++i) {
    if (i == kWarmUp) {
      manager.waitUntilIdle();  // the fake's side of the last call may still be closing
      descriptors = testing::openDescriptorCount();
      tmpBefore = tmpEntries();
      warmRss = residentKiB();
    }
    if (i % kValidatorEvery == 0) {
      ++counts[0];
      if (!address.Valid(&good) || address.Valid(&bad)) ++failures;
    } else if (i % 20 == 1) {
      ++counts[1];
      std::vector<std::string> args{"/bin/sh", "-c", "echo soak >&2; exit 3"}, err;
      int status = 0;
      if (LaunchExec::launch(args, "soak", &err, -1, -1, nullptr, &status) != 1 || status != 3 ||
          err != std::vector<std::string>{"soak"})
        ++failures;
    } else if (i % 5 == 2) {
      ++counts[2];
      if (raidUtils::shutdownRaid() != 1) ++failures;
    } else if (i % 2 == 0) {
      ++counts[3];
      char out[512];
      if (!catalog.expand("@prop_string_expected", out, sizeof out, 0, nullptr)) ++failures;
      if (getErrorString("@no_such_message") != "@no_such_message") ++failures;
    } else {
      ++counts[4];
      std::istringstream in(xml);
      XML::Config doc;
      std::unique_ptr<config::Value> value(doc.Parse(in) ? config::Value::parseXML(doc) : nullptr);
      if (!value || value->asXML().find("<mtu>1500</mtu>") == std::string::npos) ++failures;
    }
  }
  EXPECT_EQ(0, failures);
  EXPECT_TRUE(manager.waitUntilIdle());
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
  EXPECT_EQ(tmpBefore, tmpEntries());
  long endRss = residentKiB();
#ifndef CORVANE_SOAK_SANITIZED
  // Allocator caches settle during the warm-up; a leak of even 100 bytes per operation
  // would show as far more than this. (A sanitizer's quarantine keeps freed memory resident,
  // so there the leak checker judges instead.)
  EXPECT_LT(endRss - warmRss, 1024) << warmRss << " KiB after warm-up, " << endRss << " at the end";
#endif
  std::printf(
      "soak: validators %d, launches %d, manager calls %d, catalog %d, XML %d; "
      "RSS %ld -> %ld KiB\n",
      counts[0], counts[1], counts[2], counts[3], counts[4], warmRss, endRss);
}

}  // namespace
}  // namespace corvane
