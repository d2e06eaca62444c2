#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Thread-sanitizer run of the tests that exercise the library's own thread (the callback
# server) and the logger it reconfigures from that thread, concurrent clients and the
# device-reset lock. Builds only what they need in
# build-tsan and runs them under ctest, each in its own sandbox.
#   bash tools/tsan.sh
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
tests=(services_callback_manager_test log_logger_test services_concurrency_test)

cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug -DCORVANE_TSAN=ON -DCORVANE_SANITIZE=OFF \
  -DCORVANE_TESTS=ON -DCORVANE_BENCH=OFF -DCORVANE_EXAMPLES=OFF >/dev/null
targets=(corvane corvane_resources)
targets+=("${tests[@]}")
cmake --build build-tsan -j"$jobs" --target "${targets[@]}"

regex="^($(IFS='|'; echo "${tests[*]}"))\$"
TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" \
  ctest --test-dir build-tsan --output-on-failure -j"$jobs" -R "$regex"
