// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: strict integer parsing of every instantiated width; a success must round-trip
// through the C library's own conversion of the same text.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "corvane/validator.h"

using corvane::config::validator::Number;

namespace {

template <class T>
void check(std::string const& text) {
  T value{};
  if (!Number<T>::Parse(text.c_str(), value)) return;
  // A success means the whole text was a number: strtoll/strtoull agree on its value.
  char* end = nullptr;
  if (std::is_signed<T>::value) {
    long long expected = std::strtoll(text.c_str(), &end, 0);
    if (*end != '\0' || static_cast<long long>(value) != expected) std::abort();
  } else {
    unsigned long long expected = std::strtoull(text.c_str(), &end, 0);
    if (*end != '\0' || static_cast<unsigned long long>(value) != expected) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  std::string text(reinterpret_cast<char const*>(data), size);
  text = text.c_str();  // the parsers read C strings
  check<unsigned long>(text);
  check<unsigned int>(text);
  check<unsigned short>(text);
  check<long>(text);
  check<int>(text);
  check<short>(text);
  return 0;
}
