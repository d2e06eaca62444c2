// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Helpers of the network validator tests: building values and reading what reached syslog.

#ifndef CORVANE_TESTS_NETWORK_NET_TEST_UTIL_H
#define CORVANE_TESTS_NETWORK_NET_TEST_UTIL_H

#include <glob.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "corvane/config_value.h"
#include "fake_manager.h"

namespace corvane {
namespace testing {

using Args = std::vector<std::string>;
using Lines = std::vector<std::string>;

inline config::SimpleValue* simple(std::string const& text) {
  return new config::SimpleValue(text);
}

inline config::ArrayValue* array(std::initializer_list<std::string> texts) {
  auto* list = new config::ArrayValue();
  for (std::string const& text : texts) list->append(simple(text));
  return list;
}

// A structure of simple members; a member whose text is "" is left out when `skipEmpty`.
inline config::StructValue* record(
    std::initializer_list<std::pair<char const*, std::string>> members, bool skipEmpty = true) {
  auto* object = new config::StructValue();
  for (auto const& m : members) {
    if (!skipEmpty || !m.second.empty()) object->insert(m.first, simple(m.second));
  }
  return object;
}

// Text of every syslog line since the last drain (the part after the header's "]:").
inline Lines traces(SyslogSink& sink) {
  Lines texts;
  for (std::string const& datagram : sink.drain(50)) {
    size_t colon = datagram.find("]:");
    texts.push_back(colon == std::string::npos ? datagram : datagram.substr(colon + 2));
  }
  return texts;
}

// Whether `lines` holds exactly `text`.
inline bool has(Lines const& lines, std::string const& text) {
  for (std::string const& line : lines)
    if (line == text) return true;
  return false;
}

// Recorded calls of a stand-in, arguments joined by " " and calls by "; ".
inline std::string joined(std::vector<Args> const& calls) {
  std::string text;
  for (Args const& call : calls) {
    if (&call != &calls.front()) text += "; ";
    for (std::string const& arg : call) text += (&arg == &call.front() ? "" : " ") + arg;
  }
  return text;
}

// Temporary files of the validators that are still there.
inline size_t leftoverFiles() {
  glob_t found;
  size_t count = glob("/tmp/nv.*", 0, nullptr, &found) == 0 ? found.gl_pathc : 0;
  globfree(&found);
  return count;
}

}  // namespace testing
}  // namespace corvane

#endif  // CORVANE_TESTS_NETWORK_NET_TEST_UTIL_H
