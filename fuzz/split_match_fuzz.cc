// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: the tokenizers and the wildcard matcher. The input is "text NUL specials NUL
// pattern"; the last byte is the stop character.

#include <cstdint>
#include <string>
#include <vector>

#include "corvane/utils.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  std::string bytes(reinterpret_cast<char const*>(data), size);
  std::vector<std::string> parts;
  size_t start = 0;
  while (parts.size() < 3) {
    size_t nul = bytes.find('\0', start);
    parts.push_back(bytes.substr(start, nul == std::string::npos ? nul : nul - start));
    if (nul == std::string::npos) break;
    start = nul + 1;
  }
  parts.resize(3);
  char stop = size == 0 ? '\0' : static_cast<char>(data[size - 1]);

  (void)corvane::utils::Split(parts[0].c_str(), parts[1].c_str(), stop);
  std::vector<std::string> out;
  corvane::utils::Split2(parts[0], &out);
  // Length-bounded: the name need not be terminated where the length ends.
  (void)corvane::utils::Match(parts[0].data(), parts[0].size(), parts[2].c_str());
  (void)corvane::utils::Match(bytes.data(), size, parts[2].c_str());
  return 0;
}
