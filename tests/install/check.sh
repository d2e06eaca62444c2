#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Installs the built library into a scratch prefix, checks its SONAME, builds the first-program
# example with pkg-config and with find_package, and runs both against the installed simulator
# in the installed sandbox launcher.
#   tests/install/check.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
prefix="$build/install-check"; rm -rf "$prefix"; mkdir -p "$prefix"  # the sandbox hides the host /tmp
trap 'rm -rf "$prefix"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null
lib=$(find "$prefix" -name libcorvane.so.1 | head -n 1)
readelf -d "$lib" | grep -q 'SONAME.*\[libcorvane.so.1\]' || { echo "SONAME missing"; exit 1; }

# The README's first program, built once with pkg-config and once with find_package.
src="$here/../../examples/first_program.cc"
pcdir=$(dirname "$(find "$prefix" -name corvane.pc | head -n 1)")
PKG_CONFIG_PATH=$pcdir g++ -std=c++17 "$src" -o "$prefix/first-pc" \
  $(PKG_CONFIG_PATH=$pcdir pkg-config --cflags --libs corvane) -Wl,-rpath,"$(dirname "$lib")"
mkdir -p "$prefix/fp"
cat > "$prefix/fp/CMakeLists.txt" <<CM
cmake_minimum_required(VERSION 3.18)
project(first CXX)
find_package(corvane 1.0 REQUIRED)
add_executable(first-cmake "$src")
target_link_libraries(first-cmake corvane::corvane)
set_target_properties(first-cmake PROPERTIES CXX_STANDARD 17 BUILD_RPATH "$(dirname "$lib")")
CM
cmake -S "$prefix/fp" -B "$prefix/fp/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$prefix/fp/build" >/dev/null

expected="retries: 3
appliance-1: accepted
Bad_Name: The text does not have the required form.
initial configuration complete: yes
asked again: yes"
resources=$(dirname "$(find "$prefix" -path '*/resource/corvane' -type d | head -n 1)")
sim="$prefix/bin/corvane-sim"
for prog in "$prefix/first-pc" "$prefix/fp/build/first-cmake"; do
  # The control socket answers once every manager listens (waited for up to 10 s).
  out=$("$prefix/bin/corvane-sandbox" --resources "$resources" sh -c \
    "'$sim' >/dev/null & for i in \$(seq 100); do '$sim' --control status >/dev/null 2>&1 && break
     sleep 0.1; done; '$prog'; '$sim' --control quit >/dev/null; wait")
  [ "$out" = "$expected" ] || { echo "$prog printed:"; echo "$out"; exit 1; }
done
echo "first program built with pkg-config and find_package, runs against corvane-sim"
