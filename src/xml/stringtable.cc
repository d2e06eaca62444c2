// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Interning table: private copies of names keyed both ways.

#include "corvane/stringtable.h"

#include <cstdlib>
#include <new>

namespace corvane {
namespace types {

Stringtable::Stringtable() : mCounter(0) {}

Stringtable::Stringtable(char const* const* keywords) : mCounter(0) { Seed(keywords); }

Stringtable::~Stringtable() {
  // mById only aliases the copies owned through mByName.
  for (auto& entry : mByName) free(entry.first);
  mByName.clear();
  mById.clear();
}

int Stringtable::Add(char const* text) {
  auto found = mByName.find(const_cast<char*>(text));
  if (found != mByName.end()) return found->second;
  char* copy = strdup(text);
  if (copy == nullptr) throw std::bad_alloc();
  mByName.emplace(copy, ++mCounter);
  mById[mCounter] = copy;
  return mCounter;
}

void Stringtable::Seed(char const* const* keywords) {
  if (keywords == nullptr) return;
  for (; *keywords != nullptr; ++keywords) Add(*keywords);
}

int Stringtable::Find(char const* text) const {
  if (text == nullptr) return 0;
  auto found = mByName.find(const_cast<char*>(text));
  return found == mByName.end() ? 0 : found->second;
}

char const* Stringtable::Text(int id) const {
  auto found = mById.find(id);
  return found == mById.end() ? nullptr : found->second;
}

std::ostream& Stringtable::Print(std::ostream& os) const {
  for (auto const& entry : mById) os << '\t' << entry.first << '=' << entry.second << std::endl;
  return os;
}

}  // namespace types
}  // namespace corvane
