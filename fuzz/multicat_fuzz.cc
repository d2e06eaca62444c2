// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: message expansion ("@id", "@bundle:id", literal text) with arguments, into
// buffers of varying size. The first byte picks the buffer size and the argument count.

#include <unicode/fmtable.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "corvane/msg_cat.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  static corvane::multiCat catalog("corvane", "en_US");
  if (size == 0) return 0;
  size_t outSize = 1 + data[0] % 200;
  int argc = (data[0] >> 5) % 4;
  std::string text(reinterpret_cast<char const*>(data + 1), size - 1);
  text = text.c_str();
  icu::Formattable args[3] = {icu::Formattable(static_cast<int32_t>(42)), icu::Formattable("eth0"),
                              icu::Formattable(2.5)};
  // Exactly the buffer's size, so overruns reach the address sanitizer.
  std::vector<char> out(outSize);
  (void)catalog.expand(text.c_str(), out.data(), out.size(), argc, argc == 0 ? nullptr : args);
  return 0;
}
