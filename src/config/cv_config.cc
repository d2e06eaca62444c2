// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Settings file readers with C linkage: every call opens the file anew and scans it for
// the first line that sets the key; any problem gives the caller's default, silently.

#include "corvane/cv_config.h"

#include <ctype.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

char cvConfig__Path[32] = "/etc/corvane.cfg";

namespace corvane {

// Holds the open settings file and closes it when the read ends.
class cvConfig {
 public:
  // Takes ownership of `file`, which may be null.
  explicit cvConfig(FILE* file) : mFile(file) {}
  virtual ~cvConfig();

  cvConfig(cvConfig const&) = delete;
  cvConfig& operator=(cvConfig const&) = delete;

  FILE* file() const { return mFile; }

 private:
  FILE* mFile;
};

cvConfig::~cvConfig() {
  if (mFile != nullptr) fclose(mFile);
}

namespace {

// Lines longer than this minus one are read in pieces, each piece a line of its own.
constexpr size_t kLineSize = 128;

// strlcpy's contract; the C library here does not have it.
void copyBounded(char* dst, char const* src, size_t size) {
  size_t length = strnlen(src, size - 1);
  memcpy(dst, src, length);
  dst[length] = '\0';
}

char const* skipSpace(char const* text) {
  while (isspace(static_cast<unsigned char>(*text))) ++text;
  return text;
}

// Copies the value of the first line that sets `key` into `value`; false when the file
// cannot be opened or no line sets the key.
bool findValue(char const* key, char (&value)[kLineSize]) {
  if (key == nullptr) return false;
  // "e": a program launched meanwhile by another thread must not inherit the file.
  cvConfig config(fopen(cvConfig__Path, "re"));
  if (config.file() == nullptr) return false;
  size_t const keyLength = strlen(key);
  char line[kLineSize];
  while (fgets(line, sizeof line, config.file()) != nullptr) {
    char* lineFeed = strchr(line, '\n');
    if (lineFeed != nullptr) *lineFeed = '\0';
    char const* text = skipSpace(line);
    if (*text == '\0' || *text == '#') continue;
    // The key must be followed directly by "="; "key =" never matches.
    if (strncasecmp(text, key, keyLength) != 0 || text[keyLength] != '=') continue;
    copyBounded(value, skipSpace(text + keyLength + 1), sizeof value);
    return true;
  }
  return false;
}

}  // namespace
}  // namespace corvane

int cvConfig__Get_int(char const* key, int defaultValue) {
  char value[corvane::kLineSize];
  if (!corvane::findValue(key, value)) return defaultValue;
  errno = 0;
  char* end = nullptr;
  long number = strtol(value, &end, 0);
  // Both extreme int values are refused on purpose, keeping the accepted range symmetric.
  if (number != 0 && (number > 2147483646L || number < -2147483647L)) return defaultValue;
  if (number == 0 && errno != 0) return defaultValue;
  // Deliberate: an empty or non-numeric value reads as 0, not as the default.
  if (end == value) return 0;
  if (*end != '\0') return defaultValue;
  return static_cast<int>(number);
}

int cvConfig__Get_flag(char const* key, int defaultValue) {
  char value[corvane::kLineSize];
  if (!corvane::findValue(key, value)) return defaultValue;
  switch (value[0]) {
    case 'T':
    case 't':
    case 'Y':
    case 'y':
      return 1;
    case 'F':
    case 'f':
    case 'N':
    case 'n':
      return 0;
    default:
      return defaultValue;
  }
}
