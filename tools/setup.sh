#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Installs the Debian packages libcorvane needs to build and test; skips what is present.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  thrift-compiler libthrift-dev libboost-dev
  libicu-dev icu-devtools
  libexpat1-dev
  libpcre3-dev
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  iproute2 ipcalc-ng util-linux
  doxygen
  tmux
  clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
