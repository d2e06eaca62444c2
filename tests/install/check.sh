#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Installs the built library into a scratch prefix, checks its SONAME, builds a small program
# with `pkg-config corvane` only, and runs it in the sandbox against the fake managers.
#   tests/install/check.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
prefix="$build/install-check"; rm -rf "$prefix"; mkdir -p "$prefix"  # the sandbox hides the host /tmp
trap 'rm -rf "$prefix"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null
lib=$(find "$prefix" -name libcorvane.so.1 | head -n 1)
readelf -d "$lib" | grep -q 'SONAME.*\[libcorvane.so.1\]' || { echo "SONAME missing"; exit 1; }

cat > "$prefix/prog.cc" <<'CC'
#include <corvane/client.h>
#include <corvane/idl/configManager.h>
#include <cstdio>
#include <memory>
int main() {
  std::unique_ptr<configManager::configManagerClient> cm(
      corvane::getClient<configManager::configManagerClient>("configmgr", 0));
  std::printf("initial config complete: %d\n", cm->isInitialConfigComplete() ? 1 : 0);
  return 0;
}
CC
pcdir=$(dirname "$(find "$prefix" -name corvane.pc | head -n 1)")
export PKG_CONFIG_PATH=$pcdir
g++ -std=c++17 "$prefix/prog.cc" -o "$prefix/prog" $(pkg-config --cflags --libs corvane) \
  -Wl,-rpath,"$(dirname "$lib")"
out=$("$here/../sandbox/run" sh -c "'$build/examples/fake_managers' 20 >/dev/null & sleep 0.5; '$prefix/prog'; kill \$!")
echo "$out"
[ "$out" = "initial config complete: 0" ]
