// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Cost of reading the user accounts file: `user::Store::read_users` of 10k accounts against a
// bare `XML::Config::Parse` of the same file, alternated in one run.
//   sandbox/corvane-sandbox --resources build/resource build/bench/user_store_bench
// BM_ReadUsersRatio reports "ratio" = read_users time / bare parse time (store teardown
// included, as the tree's teardown is in the bare parse).

#include <time.h>

#include <fstream>
#include <string>

#include <benchmark/benchmark.h>

#include "cpu_ratio.h"

#include "corvane/user_store.h"
#include "corvane/xml.h"

namespace {

char const kPath[] = "/tmp/users-bench.xml";

// 10k accounts as the appliance writes them, pretty-printed as a person might keep them.
void writeDocument() {
  static bool written = false;
  if (written) return;
  std::ofstream out(kPath, std::ios::trunc);
  out << "<?xml version=\"1.0\"?>\n<users>\n";
  for (int i = 0; i < 10000; ++i) {
    std::string n = std::to_string(i);
    out << "  <user>\n    <name>user" << n << "</name>\n    <uid>" << 1000 + i
        << "</uid>\n    <password>$6$salt$" << std::string(43, 'a' + i % 26)
        << "</password>\n    <passwordencrypted>true</passwordencrypted>\n"
        << "    <passwordexpired>false</passwordexpired>\n"
        << "    <defaultpassword>false</defaultpassword>\n    <nodelete>" << (i == 0)
        << "</nodelete>\n    <home>/home/user" << n << "</home>\n"
        << "    <shell>/bin/cli</shell>\n    <description>account " << n
        << "</description>\n  </user>\n";
  }
  out << "</users>\n";
  written = true;
}

bool readUsers() {
  corvane::user::Store store;
  return store.read_users(kPath) && store.accounts().size() == 10000;
}

bool parseBare() {
  corvane::XML::Config doc(corvane::user::sElements);
  std::ifstream in(kPath);
  return doc.Parse(in) && doc.root() != nullptr;
}

void BM_ReadUsers(benchmark::State& state) {
  writeDocument();
  for (auto _ : state) {
    if (!readUsers()) state.SkipWithError("read_users failed");
  }
}
BENCHMARK(BM_ReadUsers)->Unit(benchmark::kMillisecond);

void BM_BareParse(benchmark::State& state) {
  writeDocument();
  for (auto _ : state) {
    if (!parseBare()) state.SkipWithError("parse failed");
  }
}
BENCHMARK(BM_BareParse)->Unit(benchmark::kMillisecond);

// Alternates the two in every iteration and compares their CPU time, so that both see the
// same machine and other load on a shared machine does not count.
void BM_ReadUsersRatio(benchmark::State& state) {
  writeDocument();
  corvane::bench::cpuRatio(
      state, [] { return readUsers(); }, [] { return parseBare(); });
}
BENCHMARK(BM_ReadUsersRatio)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
