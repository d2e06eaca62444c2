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

bash tools/setup.sh
jobs=$(nproc)
cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCORVANE_FUZZ=ON -DCORVANE_TESTS=OFF -DCORVANE_BENCH=OFF -DCORVANE_EXAMPLES=OFF >/dev/null
cmake --build build-fuzz -j"$jobs" --target fuzz_all

if [ $# -gt 0 ]; then
  targets=("$@")
else
  targets=()
  for src in fuzz/*_fuzz.cc; do
    name=$(basename "$src" _fuzz.cc)
    targets+=("$name")
  done
fi

# Inside the build tree: the sandbox's /tmp is private, the checkout stays reachable.
scratch=$root/build-fuzz/run
rm -rf "$scratch"
mkdir -p "$scratch"
failed=()
for t in "${targets[@]}"; do
  corpus=$scratch/corpus/$t
  mkdir -p "$corpus" "$scratch/artifacts/$t"
  [ -d "fuzz/corpus/$t" ] && cp -r "fuzz/corpus/$t/." "$corpus/"
  args=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
        -artifact_prefix="$scratch/artifacts/$t/")
  [ -f "fuzz/$t.dict" ] && args+=(-dict="$root/fuzz/$t.dict")
  echo "== fuzz_$t (${seconds}s)"
  if ! ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1" \
      UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
      tests/sandbox/run --resources build-fuzz/resource \
      "build-fuzz/fuzz/fuzz_$t" "${args[@]}" "$corpus" >"$scratch/$t.log" 2>&1; then
    tail -n 60 "$scratch/$t.log"
    ls "$scratch/artifacts/$t" || true
    failed+=("$t")
  else
    grep -E '^stat::number_of_executed_units' "$scratch/$t.log" || true
  fi
done

echo "fuzz: ${#targets[@]} targets, ${#failed[@]} failed${failed:+: ${failed[*]}}"
[ ${#failed[@]} -eq 0 ]
