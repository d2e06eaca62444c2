// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Small helpers shared by the network validators: member lookup, message expansion and the
// ipcalc check they all run the same way.

#ifndef CORVANE_NETWORK_VALIDATOR_UTIL_H
#define CORVANE_NETWORK_VALIDATOR_UTIL_H

#include <initializer_list>
#include <string>

#include "corvane/config_value.h"

namespace corvane {
namespace network {

// Category bit of the network validators' enter/exit tracing ("networkmanager").
constexpr unsigned kTraceCategory = 2;

// Failure message kept for internal failures; stored bare, never expanded.
extern char const* const kExecutionError;

// The member `name` of `object` when it is a simple value, else null.
config::SimpleValue const* simpleMember(config::StructValue const* object, char const* name);
// The member `name` of `object` when it is a structure / an array, else null.
config::StructValue const* structMember(config::StructValue const* object, char const* name);
config::ArrayValue const* arrayMember(config::StructValue const* object, char const* name);

// `id` expanded in the device locale with UTF-8 texts as its arguments.
std::string expand(char const* id, std::initializer_list<std::string> args);

// The part of an address text before its first "/" (all of it when there is none).
std::string baseAddress(std::string const& address);

// Runs `argv` (null-ended) without capturing anything. Returns the launcher's result, which
// is negative when the program cannot be started; `status` receives its exit status.
int run(char const* const* argv, char const* caller, int* status);

}  // namespace network
}  // namespace corvane

#endif  // CORVANE_NETWORK_VALIDATOR_UTIL_H
