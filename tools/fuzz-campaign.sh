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

source tools/fuzz-common.sh
fuzz_build build-campaign "$sanitizers"
fuzz_targets "$@"

one() {
  local t=$1 dir=$root/build-campaign start=$SECONDS outcome=ok executed
  mkdir -p "$dir/logs"
  fuzz_run "$dir" "$t" "$dir/corpus/$t" "$dir/artifacts/$t" "$dir/logs/$t.log" -runs="$runs" ||
    outcome=FAILED
  executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$dir/logs/$t.log")
  echo "$t ${executed:-?} executions $((SECONDS - start)) s $outcome"
}
export -f one fuzz_run
export root runs
printf '%s\n' "${targets[@]}" | xargs -P "$jobs" -I{} bash -c 'one {}' | tee build-campaign/summary.txt
! grep -q FAILED build-campaign/summary.txt
