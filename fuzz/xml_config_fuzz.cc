// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: the XML reader from a stream and from a line-filtered file, and the printing of
// whatever tree it built.

#include <cstdint>
#include <sstream>
#include <string>

#include "corvane/xml.h"
#include "fuzz_util.h"

using corvane::XML::Config;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  {
    std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
    Config doc;
    if (doc.Parse(in)) {
      std::ostringstream out;
      doc.Print(out, doc.root());
    } else {
      (void)doc.GetParseError();
    }
  }
  {
    fuzz::ScratchFile file("/tmp/fuzz_xml_config.xml", data, size);
    static char const* const keywords[] = {"object", "I", "mustUnderstand", nullptr};
    Config doc(keywords);
    if (doc.Parse(file.path, true) && doc.root() != nullptr) {
      std::ostringstream out;
      doc.Print(out, doc.root());
      delete doc.releaseRoot();
    }
  }
  return 0;
}
