// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Strict integer parsing for property values.

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "corvane/validator.h"

namespace corvane {
namespace config {
namespace validator {

namespace {

// The narrow types refuse their own largest value; this off-by-one is relied upon by the
// schemas and is deliberate.
template <class T>
struct Limits;
template <>
struct Limits<unsigned int> {
  static constexpr unsigned long kMax = 4294967294UL;
};
template <>
struct Limits<unsigned short> {
  static constexpr unsigned long kMax = 65534UL;
};
template <>
struct Limits<int> {
  static constexpr long kMin = -2147483648L;
  static constexpr long kMax = 2147483646L;
};
template <>
struct Limits<short> {
  static constexpr long kMin = -32768L;
  static constexpr long kMax = 32766L;
};

// The conversion must have used at least one character and all of them.
bool consumedAll(char const* text, char const* end) { return end != text && *end == '\0'; }

// Refuses negative texts that strtoul would have wrapped around.
bool notNegative(char const* text) { return strtoll(text, nullptr, 0) >= 0; }

template <class T>
bool parseUnsigned(char const* text, T& result) {
  char* end = nullptr;
  errno = 0;
  unsigned long value = strtoul(text, &end, 0);
  if (value == 0 && errno != 0) return false;
  if (value > Limits<T>::kMax) return false;
  result = static_cast<T>(value);
  return consumedAll(text, end) && notNegative(text);
}

template <class T>
bool parseSigned(char const* text, T& result) {
  char* end = nullptr;
  errno = 0;
  long value = strtol(text, &end, 0);
  if (value == 0 && errno != 0) return false;
  if (value < Limits<T>::kMin || value > Limits<T>::kMax) return false;
  result = static_cast<T>(value);
  return consumedAll(text, end);
}

bool parseNumber(char const* text, unsigned long& result) {
  char* end = nullptr;
  errno = 0;
  unsigned long value = strtoul(text, &end, 0);
  if (value == 0 && errno != 0) return false;
  result = value;  // stored before the range test, unlike the narrow kinds
  if (errno == ERANGE && value == ULONG_MAX) return false;
  return consumedAll(text, end) && notNegative(text);
}

bool parseNumber(char const* text, unsigned int& result) { return parseUnsigned(text, result); }

bool parseNumber(char const* text, unsigned short& result) { return parseUnsigned(text, result); }

bool parseNumber(char const* text, long& result) {
  char* end = nullptr;
  errno = 0;
  long value = strtol(text, &end, 0);
  if (value == 0 && errno != 0) return false;
  if (errno == ERANGE && (value == LONG_MAX || value == LONG_MIN)) return false;
  result = value;
  return consumedAll(text, end);
}

bool parseNumber(char const* text, int& result) { return parseSigned(text, result); }

bool parseNumber(char const* text, short& result) { return parseSigned(text, result); }

}  // namespace

template <class T>
bool Number<T>::Parse(char const* text, T& result) {
  return text != nullptr && parseNumber(text, result);
}

template class Number<unsigned long>;
template class Number<unsigned int>;
template class Number<unsigned short>;
template class Number<long>;
template class Number<int>;
template class Number<short>;

}  // namespace validator
}  // namespace config
}  // namespace corvane
