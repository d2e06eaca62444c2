// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Typed readers of flat records.

#include "corvane/key_val_pair.h"

#include <strings.h>

#include <cerrno>
#include <cstdlib>

namespace corvane {
namespace types {

char const* KeyValPair::findValue(std::string const& key) const {
  auto it = find(key);
  return it == end() ? nullptr : it->second.c_str();
}

bool KeyValPair::getInt(std::string const& key, int& value) const {
  value = 0;
  char const* text = findValue(key);
  if (text == nullptr || *text == '\0') return false;
  char* stop = nullptr;
  errno = 0;
  long number = strtol(text, &stop, 10);
  if (errno != 0 || *stop != '\0') return false;
  value = static_cast<int>(number);  // truncated to int, deliberately
  return true;
}

bool KeyValPair::getDouble(std::string const& key, double& value) const {
  value = 0.0;
  char const* text = findValue(key);
  if (text == nullptr) return false;
  char* stop = nullptr;
  errno = 0;
  double number = strtod(text, &stop);
  if (errno != 0 || *stop != '\0') return false;
  value = number;
  return true;
}

bool KeyValPair::getBool(std::string const& key, bool& value) const {
  char const* text = findValue(key);
  if (text == nullptr) return false;
  if (strcasecmp(text, "true") == 0) {
    value = true;
  } else if (strcasecmp(text, "false") == 0) {
    value = false;
  } else {
    return false;
  }
  return true;
}

bool KeyValPair::getString(std::string const& key, char const*& value) const {
  char const* text = findValue(key);
  if (text == nullptr) return false;
  value = text;
  return true;
}

}  // namespace types
}  // namespace corvane
