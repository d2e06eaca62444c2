// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: the settings file. The input is written as the file; a few fixed keys and the
// key of the input's first line are read as integers and switches.

#include <cstdint>
#include <cstring>
#include <string>

#include "corvane/cv_config.h"
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  static char const kPath[] = "/tmp/fuzz_cvconfig.cfg";
  static_assert(sizeof(kPath) <= sizeof(cvConfig__Path), "path too long");
  std::strcpy(cvConfig__Path, kPath);
  fuzz::ScratchFile file(kPath, data, size);

  std::string text(reinterpret_cast<char const*>(data), size);
  std::string firstKey = text.substr(0, text.find_first_of("=\n"));
  firstKey = firstKey.c_str();
  for (char const* key : {"debug", "timeout", "", firstKey.c_str()}) {
    (void)cvConfig__Get_int(key, -7);
    (void)cvConfig__Get_flag(key, -7);
  }
  return 0;
}
