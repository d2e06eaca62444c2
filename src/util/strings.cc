// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The tokenizers, the filtered directory lister with its wildcard matcher, and date and time
// text.

#include <dirent.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <ctime>
#include <memory>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include "corvane/utils.h"

namespace corvane {
namespace utils {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isQuote(char c) { return c == '"' || c == '\''; }

// Matches `c` against the set that starts after a "[". Returns the position after the closing
// "]" and sets `in`, or null when the set is never closed.
char const* matchSet(char const* p, unsigned char c, bool* in) {
  bool negate = *p == '^';
  if (negate) ++p;
  bool found = false;
  for (bool first = true;; first = false) {
    if (*p == '\0') return nullptr;
    if (*p == ']' && !first) break;
    unsigned char low = static_cast<unsigned char>(*p);
    if (p[1] == '-' && p[2] != ']' && p[2] != '\0') {
      found = found || (low <= c && c <= static_cast<unsigned char>(p[2]));
      p += 3;
    } else {
      found = found || low == c;
      ++p;
    }
  }
  *in = found != negate;
  return p + 1;
}

}  // namespace

std::vector<std::string> Split(char const* text, char const* specials, char stop) {
  std::vector<std::string> tokens;
  if (text == nullptr) return tokens;
  auto isSpecial = [specials](char c) {
    return specials != nullptr && c != '\0' && std::strchr(specials, c) != nullptr;
  };
  char const* p = text;
  for (;;) {
    while (isBlank(*p)) ++p;
    if (*p == '\0' || (stop != '\0' && *p == stop)) break;
    if (isSpecial(*p)) {
      tokens.emplace_back(1, *p++);
    } else if (isQuote(*p)) {
      char quote = *p++;
      std::string token;
      while (*p != '\0' && *p != quote) {
        // A backslash at the very end has nothing to protect and is dropped.
        if (*p == '\\') ++p;
        if (*p != '\0') token += *p++;
      }
      if (*p == quote) ++p;
      tokens.push_back(std::move(token));
    } else {
      char const* start = p;
      while (*p != '\0' && !isBlank(*p) && !(stop != '\0' && *p == stop) && !isSpecial(*p) &&
             !isQuote(*p)) {
        ++p;
      }
      tokens.emplace_back(start, p);
    }
  }
  return tokens;
}

void Split2(std::string const& text, std::vector<std::string>* out) {
  if (out == nullptr) return;
  auto space = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  auto at = text.begin();
  for (;;) {
    at = std::find_if_not(at, text.end(), space);
    if (at == text.end()) return;
    auto end = std::find_if(at, text.end(), space);
    out->emplace_back(at, end);
    at = end;
  }
}

bool Match(char const* name, size_t length, char const* pattern) {
  if (name == nullptr || pattern == nullptr) return false;
  if (pattern[0] == '*' && pattern[1] == '\0') return true;
  char const* p = pattern;
  size_t n = 0;
  // The last "*" seen: where the pattern resumes and how much of the name it has taken.
  char const* star = nullptr;
  size_t starN = 0;
  for (;;) {
    if (*p == '*') {
      while (*p == '*') ++p;
      if (*p == '\0') return true;
      star = p;
      starN = n;
      continue;
    }
    if (n < length && *p != '\0') {
      unsigned char c = static_cast<unsigned char>(name[n]);
      bool ok;
      char const* next = p + 1;
      if (*p == '?') {
        ok = true;
      } else if (*p == '[') {
        next = matchSet(p + 1, c, &ok);
        if (next == nullptr) {  // unclosed: a literal "["
          ok = c == '[';
          next = p + 1;
        }
      } else {
        ok = static_cast<unsigned char>(*p) == c;
      }
      if (ok) {
        p = next;
        ++n;
        continue;
      }
    } else if (n == length && *p == '\0') {
      return true;
    }
    if (star == nullptr || starN >= length) return false;
    p = star;
    n = ++starN;
  }
}

std::vector<std::string> readDir(char const* path, char const* pattern) {
  std::vector<std::string> names;
  if (path == nullptr) return names;
  std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(path), closedir);
  if (!dir) return names;
  while (dirent* entry = readdir(dir.get())) {
    char const* name = entry->d_name;
    if (name[0] == '.') continue;
    if (pattern != nullptr && !Match(name, std::strlen(name), pattern)) continue;
    names.emplace_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string formatDateTime(long seconds, int mode, std::string const& zone) {
  if (mode == 1) {
    time_t t = static_cast<time_t>(seconds);
    tm parts;
    char buf[64];
    if (gmtime_r(&t, &parts) == nullptr) return std::string();
    size_t length = strftime(buf, sizeof buf, "%FT%TZ", &parts);
    return std::string(buf, length);
  }
  std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
      icu::DateFormat::kMedium, icu::DateFormat::kMedium, icu::Locale::getDefault()));
  if (!format) return std::string();
  if (!zone.empty()) {
    format->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
  }
  icu::UnicodeString text;
  format->format(static_cast<UDate>(seconds) * 1000.0, text);
  char buf[256];
  int32_t length = text.extract(0, text.length(), buf, static_cast<uint32_t>(sizeof buf), "utf-8");
  if (length < 0 || static_cast<size_t>(length) >= sizeof buf) return std::string();
  return std::string(buf, static_cast<size_t>(length));
}

}  // namespace utils
}  // namespace corvane
