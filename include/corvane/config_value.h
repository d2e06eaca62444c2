// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Configuration values: trees of texts, keyed structures and ordered arrays, with their XML,
/// JSON-like, display-text and flat value-list (`j2t::j2tValue`) renderings.

#ifndef CORVANE_CONFIG_VALUE_H
#define CORVANE_CONFIG_VALUE_H

#include "corvane/export.h"

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include <corvane/idl/j2t_types.h>

namespace corvane {

class multiCat;

namespace XML {
class Config;
class Element;
}  // namespace XML

namespace config {

namespace validator {
class Base;
}  // namespace validator

/// Flat value list exchanged with the configuration manager.
using ValueList = std::vector<j2t::j2tValue>;

/// Abstract node of a configuration value tree. Containers own their children. A tree is not
/// safe for concurrent modification; const operations may run on several threads at once.
/// Renderers treat a null child anywhere in the tree as writing nothing.
class CORVANE_EXPORT Value {
 public:
  virtual ~Value();
  /// A new deep copy with the same flags. Caller owns; free with delete.
  virtual Value* clone() const = 0;

  /// The must-understand flag: the receiver must not silently ignore this value.
  bool mustUnderstand() const { return mMustUnderstand; }
  void setMustUnderstand(bool flag) { mMustUnderstand = flag; }

  /// XML form. A simple value writes its text with only "<" escaped; with `top` a structure
  /// is wrapped in "<object>" lines.
  void asXML(std::ostream& out, bool top) const;
  /// The XML form with `top` on, as a string.
  std::string asXML() const;
  /// Reads `element` of `doc` (or its root); null when there is no root. Elements nested
  /// deeper than `kMaxDepth` read as null and are left out. Caller owns; free with delete.
  static Value* parseXML(XML::Config const& doc, XML::Element const* element);
  static Value* parseXML(XML::Config const& doc);

  /// JSON-like form driven by `validator`; kinds the validator does not describe write
  /// nothing. `validator` may be null.
  void asJSON(std::ostream& out, validator::Base const* validator) const;
  std::string asJSON(validator::Base const* validator) const;

  /// Display text of a structure described by a `Struct` validator, labels expanded through
  /// `catalog`, two blanks of indentation per `indent` level. Anything else writes nothing.
  void asText(std::ostream& out, validator::Base const* validator, multiCat& catalog,
              int indent) const;
  std::string asText(validator::Base const* validator, multiCat& catalog) const;

  /// Appends this tree, depth-first and bracket-balanced, to `list`; the top entry carries
  /// `name` (null counts as empty).
  void asThrift(ValueList& list, char const* name) const;
  /// Reads the tree that starts at the first entry; null for an empty list or an unusable
  /// first entry. Caller owns; free with delete.
  static Value* parseThrift(ValueList const& list);
  /// Reads one value starting at `it` and leaves `it` on the last entry consumed (on `end`
  /// when a container is not closed). Containers nested deeper than `kMaxDepth` are consumed
  /// and read as null. Caller owns the result; free with delete.
  static Value* parseThrift(ValueList::const_iterator& it, ValueList::const_iterator end);

  /// Nesting limit of the readers, far beyond any real object; keeps hostile input from
  /// exhausting the stack of the recursive renderers.
  static constexpr int kMaxDepth = 512;

 protected:
  explicit Value(bool mustUnderstand = false) : mMustUnderstand(mustUnderstand) {}
  Value(Value const&) = default;
  Value& operator=(Value const&) = default;

  bool mMustUnderstand;
};

/// A leaf: one text.
class CORVANE_EXPORT SimpleValue : public Value {
 public:
  explicit SimpleValue(std::string text, bool mustUnderstand = false);
  ~SimpleValue() override;
  /// Caller owns; free with delete.
  SimpleValue* clone() const override;

  /// A copy of the text.
  std::string str() const { return mText; }
  /// The text without copying; valid while the value lives and is not changed.
  std::string const& text() const { return mText; }
  void setText(std::string text) { mText = std::move(text); }

 private:
  std::string mText;
};

/// Members by name in byte-wise order; each member value is owned.
class CORVANE_EXPORT StructValue : public Value {
 public:
  using Members = std::map<std::string, Value*>;

  explicit StructValue(bool mustUnderstand = false);
  ~StructValue() override;
  StructValue(StructValue const&) = delete;
  StructValue& operator=(StructValue const&) = delete;
  /// Caller owns; free with delete.
  StructValue* clone() const override;

  /// Takes ownership of `value` (which may be null). An earlier member of the same name is
  /// deleted first, so the last insert wins.
  void insert(std::string const& name, Value* value);
  /// The member called `name`, or null. Owned by this structure.
  Value* find(std::string const& name) const;
  Members const& members() const { return mMembers; }
  size_t size() const { return mMembers.size(); }

 private:
  Members mMembers;
};

/// Elements in order; each element is owned.
class CORVANE_EXPORT ArrayValue : public Value {
 public:
  explicit ArrayValue(bool mustUnderstand = false);
  ~ArrayValue() override;
  ArrayValue(ArrayValue const&) = delete;
  ArrayValue& operator=(ArrayValue const&) = delete;
  /// Caller owns; free with delete.
  ArrayValue* clone() const override;

  /// Takes ownership of `value` (which may be null) and appends it.
  void append(Value* value);
  /// Element `index`; throws std::out_of_range when `index` is not below `size()`.
  Value* at(unsigned index) const { return mElements.at(index); }
  std::vector<Value*> const& elements() const { return mElements; }
  size_t size() const { return mElements.size(); }

 private:
  std::vector<Value*> mElements;
};

}  // namespace config
}  // namespace corvane

#endif  // CORVANE_CONFIG_VALUE_H
