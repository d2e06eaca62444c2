// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Interning table between names and small integer identifiers (1, 2, 3 ... in order of first
/// appearance). Seed it with a keyword list so that known names get fixed identifiers.

#ifndef CORVANE_STRINGTABLE_H
#define CORVANE_STRINGTABLE_H

#include "corvane/export.h"

#include <cstring>
#include <map>
#include <ostream>

namespace corvane {
namespace types {

/// Byte-wise order of C strings, as `strcmp`.
struct CORVANE_EXPORT strcomp {
  bool operator()(char const* a, char const* b) const { return std::strcmp(a, b) < 0; }
};

/// Integer less-than.
struct CORVANE_EXPORT intcomp {
  bool operator()(int a, int b) const { return a < b; }
};

/// Names interned as private copies. Identifier 0 is never issued and means "no name".
/// Not thread-safe; identifiers and texts stay valid for the life of the table.
class CORVANE_EXPORT Stringtable {
 public:
  Stringtable();
  /// Interns each word of the null-terminated list `keywords` (may be null) in order, so the
  /// n-th distinct word gets identifier n.
  explicit Stringtable(char const* const* keywords);
  /// Frees every interned text.
  ~Stringtable();

  Stringtable(Stringtable const&) = delete;
  Stringtable& operator=(Stringtable const&) = delete;

  /// The identifier of `text`, interning a copy of it when it is new. `text` must not be null.
  int Add(char const* text);
  /// Interns each word of the null-terminated list `keywords` (may be null), in order.
  void Seed(char const* const* keywords);
  /// The identifier of `text` without adding it; 0 when it is not in the table or null.
  int Find(char const* text) const;
  /// The text of identifier `id`, owned by the table; null when there is none.
  char const* Text(int id) const;
  /// The last identifier issued (0 for an empty table).
  int Count() const { return mCounter; }

  /// Writes every pair in identifier order, one per line: TAB, identifier, "=", text; each
  /// line flushed.
  std::ostream& Print(std::ostream& os) const;

 private:
  /// Fields in this order.
  int mCounter;
  std::map<char*, int, strcomp> mByName;  ///< keys are the owned copies
  std::map<int, char*, intcomp> mById;    ///< values alias the keys of mByName
};

}  // namespace types
}  // namespace corvane

#endif  // CORVANE_STRINGTABLE_H
