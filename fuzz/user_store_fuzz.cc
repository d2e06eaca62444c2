// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: the user store read from a file holding the input, as accounts and as the
// template; what was read is written back and read again.

#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "corvane/user_store.h"
#include "fuzz_util.h"

using corvane::user;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  fuzz::ScratchFile file("/tmp/fuzz_users.xml", data, size);
  user::Store store;
  bool users = store.read_users(file.path);
  (void)store.read_template(file.path);
  if (users && store.write("/tmp/fuzz_users_out.xml")) {
    user::Store again;
    (void)again.read_users("/tmp/fuzz_users_out.xml");
  }
  unlink("/tmp/fuzz_users_out.xml");
  return 0;
}
