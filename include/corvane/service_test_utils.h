// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Self-tests of any manager through the base service every manager answers: start, perform
/// and stop a test, with a send and receive time limit chosen by the caller.

#ifndef CORVANE_SERVICE_TEST_UTILS_H
#define CORVANE_SERVICE_TEST_UTILS_H

#include "corvane/export.h"

namespace corvane {
namespace serviceTestUtils {

// `service` is the manager's name in the services database ("configmgr", "networkmgr",
// ...); null or unknown names get the neutral answer. `timeout` is the send and receive
// limit in milliseconds (0: none, so a hung manager blocks the caller); connecting always
// gives up after one second. Each call opens its own connection; any thread.

/// Starts a test of `numIterations` iterations. The manager's answer; -1 when it cannot be
/// reached or does not answer in time.
CORVANE_EXPORT int startTest(char const* service, int numIterations, int timeout);

/// Runs step `index` of the started test. True once the manager has answered; false when it
/// cannot be reached or does not answer in time.
CORVANE_EXPORT bool performTest(char const* service, int index, int timeout);

/// Stops the test. The manager's answer; false when it cannot be reached or does not answer
/// in time.
CORVANE_EXPORT bool stopTest(char const* service, int timeout);

}  // namespace serviceTestUtils
}  // namespace corvane

#endif  // CORVANE_SERVICE_TEST_UTILS_H
