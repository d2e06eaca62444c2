#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Installs what is missing, builds, and runs the whole test suite, each test program in its
# own appliance sandbox; the API reference; the same suite again under address and
# undefined-behaviour sanitizers; the threaded tests under the thread sanitizer; and a short
# fuzz run of every parser.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh
jobs=$(nproc)

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs"
ctest --test-dir build --output-on-failure -j"$jobs"
# The API reference builds without a warning (the target fails on any).
cmake --build build --target doc

cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DCORVANE_SANITIZE=ON -DCORVANE_BENCH=OFF \
  -DCORVANE_EXAMPLES=OFF >/dev/null
cmake --build build-asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build-asan --output-on-failure -j"$jobs"

# The threaded parts (callback server, logger) under ThreadSanitizer.
bash tools/tsan.sh

# Every parser of outside input under libFuzzer for a few seconds each.
bash tools/fuzz.sh 8
