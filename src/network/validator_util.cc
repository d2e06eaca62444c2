// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Helpers shared by the network validators.

#include "network/validator_util.h"

#include <vector>

#include <unicode/fmtable.h>
#include <unicode/unistr.h>

#include "corvane/launch_exec.h"
#include "corvane/msg_cat.h"

namespace corvane {
namespace network {

char const* const kExecutionError = "@cli_gen_execution_error";

config::SimpleValue const* simpleMember(config::StructValue const* object, char const* name) {
  if (object == nullptr) return nullptr;
  return dynamic_cast<config::SimpleValue const*>(object->find(name));
}

config::StructValue const* structMember(config::StructValue const* object, char const* name) {
  if (object == nullptr) return nullptr;
  return dynamic_cast<config::StructValue const*>(object->find(name));
}

config::ArrayValue const* arrayMember(config::StructValue const* object, char const* name) {
  if (object == nullptr) return nullptr;
  return dynamic_cast<config::ArrayValue const*>(object->find(name));
}

std::string expand(char const* id, std::initializer_list<std::string> args) {
  std::vector<icu::Formattable> formattables;
  formattables.reserve(args.size());
  for (std::string const& arg : args) {
    formattables.emplace_back(icu::UnicodeString::fromUTF8(arg));
  }
  return getErrorString(id, static_cast<int>(formattables.size()),
                        formattables.empty() ? nullptr : formattables.data());
}

std::string baseAddress(std::string const& address) { return address.substr(0, address.find('/')); }

int run(char const* const* argv, char const* caller, int* status) {
  return LaunchExec::launch(argv, caller, nullptr, -1, -1, nullptr, status);
}

}  // namespace network
}  // namespace corvane
