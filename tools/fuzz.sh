#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Fuzz smoke run: builds the libFuzzer targets with clang in build-fuzz and runs each for a
# short fixed time inside the sandbox, starting from a copy of its seed corpus in build-fuzz/run
# (the sources are never written). Fails on any crash, leak, timeout or sanitizer report.
#   bash tools/fuzz.sh [SECONDS_PER_TARGET] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
seconds=${1:-8}
shift || true

source tools/fuzz-common.sh
fuzz_build build-fuzz address,undefined
fuzz_targets "$@"

# Inside the build tree: the sandbox's /tmp is private, the checkout stays reachable.
scratch=$root/build-fuzz/run
rm -rf "$scratch"
mkdir -p "$scratch"
failed=()
for t in "${targets[@]}"; do
  echo "== fuzz_$t (${seconds}s)"
  if ! fuzz_run build-fuzz "$t" "$scratch/corpus/$t" "$scratch/artifacts/$t" "$scratch/$t.log" \
      -max_total_time="$seconds"; then
    tail -n 60 "$scratch/$t.log"
    ls "$scratch/artifacts/$t" || true
    failed+=("$t")
  else
    grep -E '^stat::number_of_executed_units' "$scratch/$t.log" || true
  fi
done

echo "fuzz: ${#targets[@]} targets, ${#failed[@]} failed${failed:+: ${failed[*]}}"
[ ${#failed[@]} -eq 0 ]
