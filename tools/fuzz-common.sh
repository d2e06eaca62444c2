# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# What the fuzz smoke run (fuzz.sh) and the long campaign (fuzz-campaign.sh) share: building
# the targets, naming them, and running one inside the sandbox. Sourced from the checkout.

# fuzz_build DIR SANITIZERS: configures DIR for the fuzz targets and builds them all.
fuzz_build() {
  bash tools/setup.sh
  cmake -S . -B "$1" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCORVANE_FUZZ=ON -DCORVANE_FUZZ_SANITIZERS="$2" -DCORVANE_TESTS=OFF -DCORVANE_BENCH=OFF \
    -DCORVANE_EXAMPLES=OFF -DCORVANE_SIM=OFF -DCORVANE_SHELL=OFF >/dev/null
  cmake --build "$1" -j"$(nproc)" --target fuzz_all
}

# fuzz_targets [TARGET...]: sets the array `targets` to those named, else every target.
fuzz_targets() {
  targets=("$@")
  if [ ${#targets[@]} -eq 0 ]; then
    for src in fuzz/*_fuzz.cc; do targets+=("$(basename "$src" _fuzz.cc)"); done
  fi
}

# fuzz_run BUILD TARGET CORPUS ARTIFACTS LOG [OPTION...]: adds the target's seeds to CORPUS
# and runs it there with its dictionary and the given libFuzzer options; the exit status is
# the fuzzer's (non-zero on any crash, leak, timeout or sanitizer report).
fuzz_run() {
  local build=$1 t=$2 corpus=$3 artifacts=$4 log=$5
  shift 5
  mkdir -p "$corpus" "$artifacts"
  [ -d "fuzz/corpus/$t" ] && cp -rn "fuzz/corpus/$t/." "$corpus/"
  local args=("$@" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
              -artifact_prefix="$artifacts/")
  [ -f "fuzz/$t.dict" ] && args+=(-dict="$PWD/fuzz/$t.dict")
  # Key sequences longer than this find nothing new and cost the editor target its speed.
  [ "$t" = editor ] && args+=(-max_len=512)
  ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1" \
    UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
    sandbox/corvane-sandbox --resources "$build/resource" "$build/fuzz/fuzz_$t" "${args[@]}" \
    "$corpus" >"$log" 2>&1
}
