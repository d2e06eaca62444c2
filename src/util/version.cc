// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The version the library was built as.

#include "corvane/version.h"

namespace corvane {

char const* version() { return CORVANE_VERSION_STRING; }

int versionNumber() { return CORVANE_VERSION; }

}  // namespace corvane
