// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Cost of building a document tree: `Config::Parse` against bare Expat with empty callbacks,
// both fed the same generated document in the same 8192-byte chunks.
//   sandbox/corvane-sandbox --resources build/resource build/bench/xml_parse_bench
// BM_ParseRatio reports "ratio" = tree time / bare Expat time, measured side by side.

#include <time.h>

#include <sstream>
#include <string>

#include <benchmark/benchmark.h>

#include <expat.h>
#include "cpu_ratio.h"

#include "corvane/xml.h"

namespace {

// About 2.5 MB: a user-store-like list with attributes, nested elements, text and a namespace.
std::string const& document() {
  static std::string const text = [] {
    std::string doc = "<?xml version=\"1.0\"?>\n<users xmlns:x=\"urn:corvane:ext\">\n";
    for (int i = 0; i < 20000; ++i) {
      std::string n = std::to_string(i);
      doc += "  <user id=\"" + n + "\" role='admin' x:flag=\"on\">\n";
      doc += "    <name>user" + n + "</name>\n";
      doc += "    <password hash=\"sha512\">$6$salt$" + std::string(40, 'a' + i % 26) +
             "</password>\n";
      doc += "    <x:keys><key>ssh-ed25519 AAAA" + n + " user@host</key></x:keys>\n";
      doc += "    <comment>first &amp; second line\nthird</comment>\n";
      doc += "  </user>\n";
    }
    doc += "</users>\n";
    return doc;
  }();
  return text;
}

char const* const kKeywords[] = {"users", "user", "name", "password", "key", nullptr};

bool parseWithTree() {
  corvane::XML::Config doc(kKeywords);
  std::istringstream in(document());
  return doc.Parse(in);
}

void XMLCALL noStart(void*, XML_Char const*, XML_Char const**) {}
void XMLCALL noEnd(void*, XML_Char const*) {}
void XMLCALL noNamespace(void*, XML_Char const*, XML_Char const*) {}
void XMLCALL noText(void*, XML_Char const*, int) {}

// The same reading loop as the tree builder, with callbacks that do nothing.
bool parseBare() {
  XML_Parser parser = XML_ParserCreateNS(nullptr, '\t');
  XML_SetElementHandler(parser, noStart, noEnd);
  XML_SetStartNamespaceDeclHandler(parser, noNamespace);
  XML_SetCharacterDataHandler(parser, noText);
  std::istringstream in(document());
  bool ok = true;
  for (;;) {
    void* buffer = XML_GetBuffer(parser, 8192);
    in.read(static_cast<char*>(buffer), 8192);
    bool end = in.eof();
    if (XML_ParseBuffer(parser, static_cast<int>(in.gcount()), end) == XML_STATUS_ERROR) {
      ok = false;
      break;
    }
    if (end) break;
  }
  XML_ParserFree(parser);
  return ok;
}

void BM_ConfigParse(benchmark::State& state) {
  for (auto _ : state) {
    if (!parseWithTree()) state.SkipWithError("parse failed");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * document().size()));
}
BENCHMARK(BM_ConfigParse)->Unit(benchmark::kMillisecond);

void BM_BareExpat(benchmark::State& state) {
  for (auto _ : state) {
    if (!parseBare()) state.SkipWithError("parse failed");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * document().size()));
}
BENCHMARK(BM_BareExpat)->Unit(benchmark::kMillisecond);

// Alternates the two in every iteration and compares their CPU time, so that both see the
// same machine and other load on a shared machine does not count.
void BM_ParseRatio(benchmark::State& state) {
  corvane::bench::cpuRatio(
      state, [] { return parseWithTree(); }, [] { return parseBare(); });
}
BENCHMARK(BM_ParseRatio)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
