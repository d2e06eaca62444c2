// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: the typed readers of a flat record, each over the input as the value. A
// successful integer read must agree with strtol.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "corvane/key_val_pair.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  corvane::types::KeyValPair record;
  std::string text(reinterpret_cast<char const*>(data), size);
  record["v"] = text;
  int i = 1;
  double d = 1;
  bool b = false;
  char const* s = nullptr;
  if (record.getInt("v", i)) {
    long expected = std::strtol(text.c_str(), nullptr, 10);
    if (i != static_cast<int>(static_cast<unsigned long>(expected))) std::abort();
  } else if (i != 0) {
    std::abort();
  }
  (void)record.getDouble("v", d);
  (void)record.getBool("v", b);
  if (!record.getString("v", s) || s != record.findValue("v")) std::abort();
  (void)record.getInt("absent", i);
  return 0;
}
