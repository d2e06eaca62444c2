// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Threads against the library's shared state: clients made and used on several threads at
// once, and device resets racing for their lock. Run under the thread sanitizer too.

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "corvane/appliance_utils.h"
#include "corvane/client.h"
#include "corvane/idl/configManager.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace {

TEST(ConcurrencyTest, ClientsOnManyThreadsEachGetTheirOwnAnswer) {
  testing::FakeManager manager("configmgr");
  manager.replyWith<configManager::configManager_getHostnames_args,
                    configManager::configManager_getHostnames_result>(
      "getHostnames", [](configManager::configManager_getHostnames_args const& a) {
        configManager::configManager_getHostnames_result r;
        r.success = {a.ipAddr};
        r.__isset.success = true;
        return r;
      });
  int const kThreads = 6, kCalls = 20;
  std::atomic<int> right{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &right] {
      for (int i = 0; i < kCalls; ++i) {
        std::string mine = std::to_string(t) + "." + std::to_string(i);
        std::unique_ptr<configManager::configManagerClient> client(
            getClient<configManager::configManagerClient>("configmgr", 1000));
        std::vector<std::string> names;
        client->getHostnames(names, mine);
        if (names == std::vector<std::string>{mine}) ++right;
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(kThreads * kCalls, right.load());
  EXPECT_EQ(kThreads * kCalls, manager.acceptedConnections());
  EXPECT_TRUE(manager.waitUntilIdle());
}

TEST(ConcurrencyTest, DeviceResetsTakeTheLockInTurn) {
  // Two threads reset at once: the second waits for the first, both reach telinit.
  testing::clearStandInCalls();
  std::atomic<int> sum{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&sum] {
      std::vector<applianceUtils::resetFileError> errors;
      sum += 10 + applianceUtils::deviceRESET(errors);
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(20, sum.load());
  EXPECT_EQ(2u, testing::standInCalls("telinit").size());
}

}  // namespace
}  // namespace corvane
