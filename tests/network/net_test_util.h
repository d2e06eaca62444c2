// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Helpers of the network tests: building values, the common fixture, and reading what
// reached syslog or the stand-in programs.

#ifndef CORVANE_TESTS_NETWORK_NET_TEST_UTIL_H
#define CORVANE_TESTS_NETWORK_NET_TEST_UTIL_H

#include <glob.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "corvane/config_value.h"
#include "corvane/log.h"
#include "corvane/validator.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace testing {

using Lines = std::vector<std::string>;

inline config::SimpleValue* simple(std::string const& text) {
  return new config::SimpleValue(text);
}

inline config::ArrayValue* array(std::initializer_list<std::string> texts) {
  auto* list = new config::ArrayValue();
  for (std::string const& text : texts) list->append(simple(text));
  return list;
}

// A structure of simple members; a member whose text is "" is left out.
inline config::StructValue* record(
    std::initializer_list<std::pair<char const*, std::string>> members) {
  auto* object = new config::StructValue();
  for (auto const& m : members)
    if (!m.second.empty()) object->insert(m.first, simple(m.second));
  return object;
}

// "" when `validator` accepts `value`, else the message it stored.
inline std::string verdict(config::validator::Base const& validator, config::Value const* value) {
  return validator.Valid(value) ? "" : validator.message().empty() ? "(none)" : validator.message();
}

// Whether one of `lines` begins with `text`.
inline bool has(Lines const& lines, std::string const& text) {
  for (std::string const& line : lines)
    if (line.compare(0, text.size(), text) == 0) return true;
  return false;
}

// Recorded calls of a stand-in, arguments joined by " " and calls by "; ".
inline std::string joined(std::string const& program) {
  std::string text;
  for (auto const& call : standInCalls(program)) {
    text += text.empty() ? "" : "; ";
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

// Runs in the sandbox at full trace level with no stand-in calls recorded yet.
class NetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(inSandbox());
    log::setLogLevel(7);
    clearStandInCalls();
    mSink.drain(20);
  }
  // Text of every syslog line since the last drain (the part after the header's "]: ").
  Lines traces() {
    Lines texts;
    for (std::string const& datagram : mSink.drain(50)) {
      size_t colon = datagram.find("]:");
      texts.push_back(colon == std::string::npos ? datagram : datagram.substr(colon + 2));
    }
    return texts;
  }
  bool logged(std::string const& text) { return has(traces(), text); }
  SyslogSink mSink;
};

}  // namespace testing
}  // namespace corvane

#endif  // CORVANE_TESTS_NETWORK_NET_TEST_UTIL_H
