// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Cost of `utils::obfuscateFile` on 64 MiB against a bare base64 encoding of the same file
// (the same 4096-byte reads, a plain encoder, one write per block).
//   sandbox/corvane-sandbox --resources build/resource build/bench/obfuscate_bench
// BM_ObfuscateRatio reports "ratio" = obfuscateFile time / bare time, measured side by side.
// The input and outputs live under the sandbox's /tmp and are removed at the end.

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "cpu_ratio.h"

#include "corvane/utils.h"

namespace {

char const kInput[] = "/tmp/obfuscate_bench.in";
char const kOutput[] = "/tmp/obfuscate_bench.out";
size_t const kSize = 64u << 20;

bool makeInput() {
  std::mt19937_64 random(42);
  std::vector<unsigned long long> block(1 << 16);
  FILE* out = std::fopen(kInput, "we");
  if (out == nullptr) return false;
  for (size_t done = 0; done < kSize; done += block.size() * sizeof block[0]) {
    for (auto& word : block) word = random();
    std::fwrite(block.data(), sizeof block[0], block.size(), out);
  }
  return std::fclose(out) == 0;
}

// Textbook base64 of one block.
size_t encode(unsigned char const* in, size_t n, char* out) {
  static char const alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  char* start = out;
  size_t i = 0;
  for (; i + 2 < n; i += 3) {
    *out++ = alphabet[in[i] >> 2];
    *out++ = alphabet[((in[i] & 3) << 4) | (in[i + 1] >> 4)];
    *out++ = alphabet[((in[i + 1] & 15) << 2) | (in[i + 2] >> 6)];
    *out++ = alphabet[in[i + 2] & 63];
  }
  if (i < n) {
    *out++ = alphabet[in[i] >> 2];
    if (i + 1 < n) {
      *out++ = alphabet[((in[i] & 3) << 4) | (in[i + 1] >> 4)];
      *out++ = alphabet[(in[i + 1] & 15) << 2];
    } else {
      *out++ = alphabet[(in[i] & 3) << 4];
      *out++ = '=';
    }
    *out++ = '=';
  }
  return static_cast<size_t>(out - start);
}

int bare() {
  int in = open(kInput, O_RDONLY | O_CLOEXEC);
  FILE* out = std::fopen(kOutput, "we");
  if (in < 0 || out == nullptr) return -1;
  unsigned char block[4096];
  char text[5466];
  ssize_t got;
  while ((got = read(in, block, sizeof block)) > 0) {
    std::fwrite(text, 1, encode(block, static_cast<size_t>(got), text), out);
  }
  close(in);
  return std::fclose(out);
}

void BM_ObfuscateFile(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(corvane::utils::obfuscateFile(kInput, kOutput));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_ObfuscateFile)->Unit(benchmark::kMillisecond);

void BM_BareBase64(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(bare());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_BareBase64)->Unit(benchmark::kMillisecond);

// Alternates the two in every iteration and compares their CPU time.
void BM_ObfuscateRatio(benchmark::State& state) {
  corvane::bench::cpuRatio(
      state, [] { return corvane::utils::obfuscateFile(kInput, kOutput); }, [] { return bare(); });
}
BENCHMARK(BM_ObfuscateRatio)->Unit(benchmark::kMillisecond)->MinTime(3.0);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  int rc = 0;
  if (makeInput()) {
    benchmark::RunSpecifiedBenchmarks();
  } else {
    std::fprintf(stderr, "cannot write %s\n", kInput);
    rc = 1;
  }
  benchmark::Shutdown();
  unlink(kInput);
  unlink(kOutput);
  return rc;
}
