// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Building and reading Thrift binary-protocol bytes by hand, for tests that check the wire.

#ifndef CORVANE_TESTS_SUPPORT_WIRE_H
#define CORVANE_TESTS_SUPPORT_WIRE_H

#include <cstdint>
#include <string>

namespace corvane {
namespace testing {

// Big-endian byte builder: Bytes().i32(1).str("x").bytes()
class Bytes {
 public:
  Bytes& i8(int v) {
    mBytes.push_back(static_cast<char>(v & 0xFF));
    return *this;
  }
  Bytes& i16(int v) { return i8(v >> 8).i8(v); }
  Bytes& i32(int64_t v) { return i16(static_cast<int>(v >> 16)).i16(static_cast<int>(v)); }
  Bytes& i64(int64_t v) { return i32(v >> 32).i32(v & 0xFFFFFFFF); }
  Bytes& str(std::string const& s) {
    i32(static_cast<int64_t>(s.size()));
    mBytes += s;
    return *this;
  }
  Bytes& raw(std::string const& s) {
    mBytes += s;
    return *this;
  }
  // Strict message header: version 1 with `type`, name, sequence id.
  Bytes& header(std::string const& name, int type, int32_t seqid) {
    return i32(static_cast<int64_t>(0x80010000u | static_cast<uint32_t>(type))).str(name).i32(seqid);
  }
  // Field header: type code and id.
  Bytes& field(int type, int id) { return i8(type).i16(id); }
  Bytes& stop() { return i8(0); }
  std::string const& bytes() const { return mBytes; }
  operator std::string const&() const { return mBytes; }

 private:
  std::string mBytes;
};

// Thrift type codes on the wire.
enum WireType {
  kStop = 0, kBool = 2, kByte = 3, kDouble = 4, kI16 = 6, kI32 = 8, kI64 = 10,
  kString = 11, kStruct = 12, kMap = 13, kSet = 14, kList = 15,
};

// Hex dump for readable assertion failures.
inline std::string hex(std::string const& bytes) {
  static char const digits[] = "0123456789abcdef";
  std::string out;
  for (unsigned char c : bytes) {
    out += digits[c >> 4];
    out += digits[c & 15];
    out += ' ';
  }
  return out;
}

}  // namespace testing
}  // namespace corvane

#endif  // CORVANE_TESTS_SUPPORT_WIRE_H
