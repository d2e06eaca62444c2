// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Value trees through their two exchange forms, at 1k, 10k and 100k members. The cost per
// member must not grow with the tree: the run ends with the ratio of the per-member cost at
// 100k to that at 1k for each form.
//   sandbox/corvane-sandbox --resources <build>/resource <build>/bench/config_value_bench

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "corvane/config_value.h"
#include "corvane/xml.h"

namespace {

using corvane::config::ArrayValue;
using corvane::config::SimpleValue;
using corvane::config::StructValue;
using corvane::config::Value;
using corvane::config::ValueList;

// A configuration-shaped tree: an array of records, each a structure of five texts and an
// array of one text, so eight values per record; `members` counts every value.
std::unique_ptr<Value> makeTree(int members) {
  auto root = std::make_unique<StructValue>();
  root->insert("name", new SimpleValue("table"));
  auto records = new ArrayValue(true);
  for (int i = 0; i < members / 8; ++i) {
    auto record = new StructValue();
    std::string n = std::to_string(i);
    record->insert("address", new SimpleValue("10.0." + n));
    record->insert("enabled", new SimpleValue("true", true));
    record->insert("gateway", new SimpleValue("10.1." + n));
    record->insert("metric", new SimpleValue(n));
    record->insert("name", new SimpleValue("route-" + n));
    auto tags = new ArrayValue();
    tags->append(new SimpleValue("static"));
    record->insert("tags", tags);
    records->append(record);
  }
  root->insert("records", records);
  return root;
}

void setMembers(benchmark::State& state) {
  state.counters["members"] = static_cast<double>(state.range(0));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_ThriftRoundTrip(benchmark::State& state) {
  auto tree = makeTree(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    ValueList list;
    tree->asThrift(list, "");
    std::unique_ptr<Value> back(Value::parseThrift(list));
    benchmark::DoNotOptimize(back.get());
  }
  setMembers(state);
}

// Writing, parsing the document, and reading the tree from it.
void BM_XMLRoundTrip(benchmark::State& state) {
  auto tree = makeTree(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    std::istringstream in(tree->asXML());
    corvane::XML::Config doc;
    if (!doc.Parse(in)) state.SkipWithError("document did not parse");
    std::unique_ptr<Value> back(Value::parseXML(doc));
    benchmark::DoNotOptimize(back.get());
  }
  setMembers(state);
}

// The same without the document parser: writing plus reading an already parsed document.
void BM_XMLWriteAndRead(benchmark::State& state) {
  auto tree = makeTree(static_cast<int>(state.range(0)));
  corvane::XML::Config doc;
  std::istringstream in(tree->asXML());
  if (!doc.Parse(in)) state.SkipWithError("document did not parse");
  for (auto _ : state) {
    std::string text = tree->asXML();
    benchmark::DoNotOptimize(text.data());
    std::unique_ptr<Value> back(Value::parseXML(doc));
    benchmark::DoNotOptimize(back.get());
  }
  setMembers(state);
}

BENCHMARK(BM_ThriftRoundTrip)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_XMLRoundTrip)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_XMLWriteAndRead)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

// Keeps the CPU time per member of every run to print the ratios at the end. CPU time, not
// wall time: the machines this runs on are shared, and waiting for a core is not our cost.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(std::vector<Run> const& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (Run const& run : runs) {
      if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
      auto members = run.counters.find("members");
      if (members == run.counters.end()) continue;
      std::string family = run.run_name.function_name;
      mPerMember[family][static_cast<long>(members->second.value)] =
          run.GetAdjustedCPUTime() / members->second.value;
    }
  }

  // Prints one line per form; returns false when a ratio is above `goal`.
  bool PrintRatios(double goal) const {
    bool ok = true;
    for (auto const& family : mPerMember) {
      auto small = family.second.find(1000);
      auto large = family.second.find(100000);
      if (small == family.second.end() || large == family.second.end()) continue;
      double ratio = large->second / small->second;
      printf("%s: per-member cost at 100k / 1k = %.2f (goal <= %.2f)\n", family.first.c_str(),
             ratio, goal);
      if (ratio > goal) ok = false;
    }
    return ok;
  }

 private:
  std::map<std::string, std::map<long, double>> mPerMember;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return reporter.PrintRatios(1.3) ? 0 : 2;
}
