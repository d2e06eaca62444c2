#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The libcorvane authors
# The library's exported symbols are its intended surface and nothing else: the corvane
# namespaces, the C settings functions, the generated records, and the type information of the
# generated clients. Any other symbol (a template instance of the standard library, a generated
# processor or argument holder, a private helper) fails the check.
#   abi_check.sh <libcorvane.so> <idl-dir>
set -euo pipefail
lib=$1
idl=$2

records=() services=() functions=()
for f in "$idl"/*.thrift; do
  ns=$(sed -n 's/^namespace cpp \([A-Za-z0-9_]*\).*/\1::/p' "$f")
  while read -r kind name; do
    case $kind in
      service) services+=("$ns${name}Client" "$ns${name}If") ;;
      *) records+=("$ns$name") ;;
    esac
  done < <(sed -n 's/^\(struct\|exception\|service\) \([A-Za-z0-9_]*\).*/\1 \2/p' "$f")
  if [ -n "$ns" ]; then functions+=("${ns}swap\\(" "${ns}operator<<\\("); fi
done
join() { local IFS='|'; echo "$*"; }
rec=$(join "${records[@]}")
fns=$(join "${functions[@]}")
svc=$(join "${services[@]}")
allowed="^(corvane::|[^ ]+\\* corvane::getClient<|cvConfig__(Get_int|Get_flag|Path)\$|CORVANE_1\$"
allowed+="|(vtable|VTT|typeinfo|typeinfo name) for (corvane::|($svc)\$|($rec)\$)"
allowed+="|(non-)?virtual thunk to (corvane::|($rec)::)|($rec)(::|\$)|$fns)"

symbols=$(nm -D --defined-only "$lib" | c++filt | sed -E 's/^[0-9a-f]+ [A-Za-z] //; s/@@?CORVANE_1$//')
stray=$(grep -v -E "$allowed" <<<"$symbols" || true)
count=$(wc -l <<<"$symbols")
echo "$count exported symbols"
if [ -n "$stray" ]; then
  echo "exported outside the intended surface:"
  echo "$stray" | head -50
  exit 1
fi
