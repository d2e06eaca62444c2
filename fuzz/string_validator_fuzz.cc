// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: String validator patterns and the values checked against them. The input is
// "pattern NUL value"; the first byte also picks length limits.

#include <cstdint>
#include <cstring>
#include <string>

#include "corvane/config_value.h"
#include "corvane/validator.h"

using namespace corvane::config;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  std::string bytes(reinterpret_cast<char const*>(data), size);
  size_t nul = bytes.find('\0');
  std::string pattern = bytes.substr(0, nul);
  std::string text = nul == std::string::npos ? std::string() : bytes.substr(nul + 1);

  validator::String check("fuzz");
  check.addPattern(pattern.c_str());
  if (!bytes.empty() && (bytes[0] & 1))
    check.setMinLength(static_cast<unsigned char>(bytes[0]) % 8);
  if (!bytes.empty() && (bytes[0] & 2))
    check.setMaxLength(static_cast<unsigned char>(bytes[0]) % 64);
  (void)check.Matches(text);
  SimpleValue value(text);
  if (!check.Valid(&value)) (void)check.message();
  (void)check.Valid(nullptr);
  return 0;
}
