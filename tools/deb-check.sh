#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# Packagers' check: builds a throwaway Debian package from `cmake --install` of BUILD_DIR and
# runs lintian on it (errors fail). Needs lintian and dpkg-deb; installs nothing.
#   bash tools/deb-check.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
pkg=$work/pkg
version=$(sed -n 's/^project(corvane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)

DESTDIR=$pkg cmake --install "$build" --prefix /usr >/dev/null
doc=$pkg/usr/share/doc/libcorvane1
mv "$pkg/usr/share/doc/corvane" "$doc"
rm -f "$doc/LICENSE"
{
  printf 'Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n'
  printf 'Upstream-Name: libcorvane\n\nFiles: *\nCopyright: 2026 The libcorvane authors\nLicense: Expat\n'
  sed -n '5,$p' LICENSE | sed 's/^$/./; s/^/ /'
} > "$doc/copyright"
printf 'libcorvane1 (%s-1) unstable; urgency=medium\n\n  * Throwaway package.\n\n -- libcorvane authors <dev@example.org>  Mon, 23 Nov 2026 00:00:00 +0000\n' \
  "$version" | gzip -9n > "$doc/changelog.Debian.gz"
gzip -9n "$doc/NEWS"
mkdir -p "$pkg/DEBIAN"
cat > "$pkg/DEBIAN/control" <<CTL
Package: libcorvane1
Version: $version-1
Architecture: $(dpkg --print-architecture)
Maintainer: libcorvane authors <dev@example.org>
Section: libs
Priority: optional
Depends: libthrift-0.17.0, libicu72, libexpat1, libpcrecpp0v5, libc6, libstdc++6, libgcc-s1
Description: client and support library of the appliance's programs
 Manager connections over Thrift, logging, catalogs, configuration values
 and validators, launcher and XML readers.
CTL
echo 'activate-noawait ldconfig' > "$pkg/DEBIAN/triggers"
echo "libcorvane 1 libcorvane1 (>= $version)" > "$pkg/DEBIAN/shlibs"
find "$pkg" -type d -exec chmod 755 {} +
find "$pkg" -name 'libcorvane.so.*.*' -exec strip --strip-unneeded {} +
dpkg-deb --root-owner-group --build "$pkg" "$work/libcorvane1.deb" >/dev/null
lintian "$work/libcorvane1.deb" | tee "$work/lintian.txt"
! grep -q '^E:' "$work/lintian.txt"
