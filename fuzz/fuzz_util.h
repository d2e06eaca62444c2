// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Helpers shared by the fuzz targets: input written to a scratch file under /tmp (the targets
// run inside the sandbox, whose /tmp is private) and removed again.

#ifndef CORVANE_FUZZ_FUZZ_UTIL_H
#define CORVANE_FUZZ_FUZZ_UTIL_H

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

// Writes `size` bytes to `path`; aborts when it cannot, since the run would test nothing.
inline void writeFile(char const* path, uint8_t const* data, size_t size) {
  FILE* f = std::fopen(path, "wb");
  if (f == nullptr) std::abort();
  if (size != 0 && std::fwrite(data, 1, size, f) != size) std::abort();
  std::fclose(f);
}

// Removes the file when the scope ends, so no run leaves a temporary file behind.
struct ScratchFile {
  char const* path;
  ScratchFile(char const* p, uint8_t const* data, size_t size) : path(p) {
    writeFile(path, data, size);
  }
  ~ScratchFile() { unlink(path); }
};

}  // namespace fuzz

#endif  // CORVANE_FUZZ_FUZZ_UTIL_H
