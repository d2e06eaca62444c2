// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Self-tests over the base service of any manager, with the caller's time limit.

#include "corvane/service_test_utils.h"

#include <corvane/idl/baseManager.h>
#include "corvane/client.h"

namespace corvane {
namespace serviceTestUtils {

namespace {

using Client = ::baseManagerClient;
constexpr int kNoAnswer = -1;

}  // namespace

// A null name would reach the services database lookup, which does not accept it.

int startTest(char const* service, int numIterations, int timeout) {
  if (service == nullptr) return kNoAnswer;
  return callManager<Client, int>(service, timeout, kNoAnswer,
                                  [&](Client& client) { return client.startTest(numIterations); });
}

bool performTest(char const* service, int index, int timeout) {
  if (service == nullptr) return false;
  return callManager<Client>(service, timeout, [&](Client& client) { client.performTest(index); });
}

bool stopTest(char const* service, int timeout) {
  if (service == nullptr) return false;
  return callManager<Client, bool>(service, timeout, false,
                                   [](Client& client) { return client.stopTest(); });
}

}  // namespace serviceTestUtils
}  // namespace corvane
