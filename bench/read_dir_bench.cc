// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Cost of `utils::readDir` with a pattern over 100k names against bare readdir + fnmatch +
// sort of the same directory.
//   sandbox/corvane-sandbox --resources build/resource build/bench/read_dir_bench
// BM_ReadDirRatio reports "ratio" = readDir time / bare time, measured side by side.

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "cpu_ratio.h"

#include "corvane/cv_file_utility.h"
#include "corvane/utils.h"

namespace {

char const kDir[] = "/tmp/read_dir_bench";
char const kPattern[] = "log-*[13579].t?t";
int const kNames = 100000;

void populate() {
  mkdir(kDir, 0755);
  char name[64];
  for (int i = 0; i < kNames; ++i) {
    // Names in no particular order, a few hidden ones and two suffixes.
    unsigned scrambled = static_cast<unsigned>(i) * 2654435761u;
    std::snprintf(name, sizeof name, "%s/%slog-%010u.%s", kDir, i % 100 == 0 ? "." : "", scrambled,
                  i % 3 == 0 ? "dat" : "txt");
    int fd = open(name, O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
    if (fd >= 0) close(fd);
  }
}

std::vector<std::string> bare() {
  std::vector<std::string> names;
  DIR* dir = opendir(kDir);
  if (dir == nullptr) return names;
  while (dirent* entry = readdir(dir)) {
    if (entry->d_name[0] == '.') continue;
    if (fnmatch(kPattern, entry->d_name, 0) == 0) names.emplace_back(entry->d_name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

void BM_ReadDir(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(corvane::utils::readDir(kDir, kPattern));
}
BENCHMARK(BM_ReadDir)->Unit(benchmark::kMillisecond);

void BM_BareReaddirFnmatch(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(bare());
}
BENCHMARK(BM_BareReaddirFnmatch)->Unit(benchmark::kMillisecond);

// Alternates the two in every iteration and compares their CPU time.
void BM_ReadDirRatio(benchmark::State& state) {
  if (corvane::utils::readDir(kDir, kPattern) != bare()) {
    state.SkipWithError("readDir and fnmatch disagree");
    return;
  }
  corvane::bench::cpuRatio(
      state, [] { return corvane::utils::readDir(kDir, kPattern); }, [] { return bare(); });
}
BENCHMARK(BM_ReadDirRatio)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  populate();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  corvane::cvFileUtility::removeDir(kDir, true);
  return 0;
}
