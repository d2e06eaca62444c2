// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: the file and command manifests, read from a file holding the input.

#include <cstdint>
#include <memory>

#include "corvane/utils.h"
#include "fuzz_util.h"

using namespace corvane;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  fuzz::ScratchFile file("/tmp/fuzz_manifest.xml", data, size);
  std::unique_ptr<std::vector<types::fileEnt>> ents(utils::readFileEnts(file.path, false));
  std::unique_ptr<std::vector<std::string>> files(utils::readFilelist(file.path, false));
  std::unique_ptr<std::vector<std::string>> cmds(utils::readCmdlist(file.path, false));
  return 0;
}
