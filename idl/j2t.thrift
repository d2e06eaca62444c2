// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Flat value lists: how configuration objects travel between programs and managers.

namespace cpp j2t

struct j2tValue {
  1: i32 mType,
  2: string mName,
  3: string mValue
}

exception BadType {
  1: i32 t
}

exception Unterminated {
  1: string namehint
}

exception TooBig {
  1: string namehint
}

service json2thrift {
  void send(1: list<j2tValue> V),
  list<j2tValue> receive()
}
