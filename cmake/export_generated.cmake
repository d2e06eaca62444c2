# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Gives the declarations of a generated header default visibility, so that the library, built
# with hidden visibility, exports what its version script selects (clients, records) and
# template instances over them such as getClient<T>.
#   cmake -DFILE=<header>.h -P export_generated.cmake
file(READ "${FILE}" text)
if(NOT text MATCHES "#pragma GCC visibility push")
  file(WRITE "${FILE}" "#pragma GCC visibility push(default)\n${text}\n#pragma GCC visibility pop\n")
endif()
