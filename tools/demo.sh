#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Installs what is missing, builds, then runs corvane-shell inside the simulated appliance in
# the sandbox: interactive on a terminal, otherwise the scripted session shell/demo.txt,
# whose transcript is printed.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target corvane-shell corvane-sim corvane_resources

# Inside the sandbox: the simulator in the background, the shell once every manager listens.
appliance='
build/sim/corvane-sim --upgrade-step-ms 150 >/tmp/corvane-sim.out 2>&1 &
sim=$!
tries=0
until grep -q "corvane-sim: ready" /tmp/corvane-sim.out; do
  tries=$((tries + 1))
  if [ $tries -gt 100 ] || ! kill -0 $sim 2>/dev/null; then
    echo "demo: the simulated appliance did not start" >&2
    cat /tmp/corvane-sim.out >&2
    exit 1
  fi
  sleep 0.1
done
build/shell/corvane-shell
status=$?
kill $sim
wait $sim || true
exit $status
'
if [ -t 0 ] && [ -t 1 ]; then
  echo "corvane-shell on the simulated appliance: type \"help\", leave with Ctrl-D."
  exec sandbox/corvane-sandbox --resources build/resource sh -c "$appliance"
fi
# Comment lines of the script are skipped by the shell; the rest reads as a session.
exec sandbox/corvane-sandbox --resources build/resource sh -c "$appliance" <shell/demo.txt
