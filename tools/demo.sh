#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Installs what is missing, builds, and runs the simulated appliance in the sandbox.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target appliance_demo corvane_resources
tests/sandbox/run --resources build/resource build/examples/appliance_demo
