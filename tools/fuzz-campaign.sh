#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Long fuzz campaign: builds build-campaign with libFuzzer and the sanitizers in
# CORVANE_FUZZ_SANITIZERS (default "undefined": about twice the speed of address+undefined,
# which the CI smoke run keeps), then runs every target (or those named) for RUNS executions
# inside the sandbox, JOBS targets at a time. Each starts from its seeds plus what earlier
# campaigns kept in build-campaign/corpus/<target>. One line per target: executions, seconds
# and the outcome; crashes land in build-campaign/artifacts/<target>/.
#   bash tools/fuzz-campaign.sh [RUNS] [TARGET...]      (RUNS defaults to 10000000)
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
runs=${1:-10000000}
shift || true
sanitizers=${CORVANE_FUZZ_SANITIZERS:-undefined}
jobs=${JOBS:-$(nproc)}

bash tools/setup.sh
cmake -S . -B build-campaign -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCORVANE_FUZZ=ON -DCORVANE_FUZZ_SANITIZERS="$sanitizers" -DCORVANE_TESTS=OFF \
  -DCORVANE_BENCH=OFF -DCORVANE_EXAMPLES=OFF -DCORVANE_SIM=OFF -DCORVANE_SHELL=OFF >/dev/null
cmake --build build-campaign -j"$(nproc)" --target fuzz_all

if [ $# -gt 0 ]; then
  targets=("$@")
else
  targets=()
  for src in fuzz/*_fuzz.cc; do targets+=("$(basename "$src" _fuzz.cc)"); done
fi

one() {
  local t=$1 dir=$root/build-campaign
  mkdir -p "$dir/corpus/$t" "$dir/artifacts/$t" "$dir/logs"
  [ -d "fuzz/corpus/$t" ] && cp -rn "fuzz/corpus/$t/." "$dir/corpus/$t/"
  local args=(-runs="$runs" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
              -artifact_prefix="$dir/artifacts/$t/")
  [ -f "fuzz/$t.dict" ] && args+=(-dict="$root/fuzz/$t.dict")
  # Key sequences longer than this find nothing new and cost the editor target its speed.
  [ "$t" = editor ] && args+=(-max_len=512)
  local start=$SECONDS outcome=ok
  UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
    ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1" \
    tests/sandbox/run --resources "$dir/resource" "$dir/fuzz/fuzz_$t" "${args[@]}" \
    "$dir/corpus/$t" >"$dir/logs/$t.log" 2>&1 || outcome=FAILED
  local executed
  executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$dir/logs/$t.log")
  echo "$t ${executed:-?} executions $((SECONDS - start)) s $outcome"
}
export -f one
export root runs
printf '%s\n' "${targets[@]}" | xargs -P "$jobs" -I{} bash -c 'one {}' | tee build-campaign/summary.txt
! grep -q FAILED build-campaign/summary.txt
