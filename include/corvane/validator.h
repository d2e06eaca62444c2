// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Validators: what one property of a configuration object may hold. A tree of validators
/// mirrors a value tree, checks it and drives its JSON and text renderings.
///   corvane::config::validator::String name("name");
///   name.setMaxLength(64).addPattern("[a-z][a-z0-9]*");
///   if (!name.Valid(value)) show(name.message());   // "@prop_string_no_match" ...

#ifndef CORVANE_VALIDATOR_H
#define CORVANE_VALIDATOR_H

#include "corvane/export.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace pcrecpp {
class RE;
}  // namespace pcrecpp

namespace corvane {
namespace config {

class Value;

namespace validator {

using Properties = std::map<std::string, std::string>;

/// Common part of every validator. Validators never throw for bad values: `Valid` returns
/// false and leaves a message identifier ("@...") or an expanded text in `message()`.
/// `Valid` writes the message, so one validator tree must not be used by two threads at once.
/// Validators are not copyable; the schema owns them and keeps them alive while in use.
class CORVANE_EXPORT Base {
 public:
  /// Sets property "name" to `name` (null counts as empty). `defaultProperties` is shared,
  /// not owned, may be null, and must outlive the validator.
  explicit Base(char const* name, Properties const* defaultProperties = nullptr);
  virtual ~Base();
  Base(Base const&) = delete;
  Base& operator=(Base const&) = delete;

  /// True when `value` (possibly null) is acceptable; on false `message()` says why.
  virtual bool Valid(Value const* value) const = 0;
  /// A new simple value holding property "default" with this validator's must-understand
  /// flag, or null when there is no such property. Caller owns; free with delete.
  virtual Value* createDefaultValue() const;

  /// The custom check every kind ends with: true without a custom validator; otherwise its
  /// verdict, copying its message here when it rejects with a non-empty one.
  bool CheckCustom(Value const* value) const;

  bool mustUnderstand() const { return mMustUnderstand; }
  void setMustUnderstand(bool flag) { mMustUnderstand = flag; }
  /// Runs after this validator's own checks have passed. Not owned; may be null.
  Base const* customValidator() const { return mCustomValidator; }
  void setCustomValidator(Base const* custom) { mCustomValidator = custom; }

  /// Property `key` from this validator's own properties, else from the shared defaults;
  /// null when neither has it. Valid while the maps are unchanged.
  std::string const* property(std::string const& key) const;
  void setProperty(std::string const& key, std::string const& value) { mProperties[key] = value; }
  Properties const& properties() const { return mProperties; }
  Properties const* defaultProperties() const { return mDefaultProperties; }

  /// The message of the last rejection; not cleared by a later success.
  std::string const& message() const { return mMessage; }

 protected:
  /// Fields in this order.
  bool mMustUnderstand;
  Base const* mCustomValidator;
  Properties const* mDefaultProperties;
  Properties mProperties;
  mutable std::string mMessage;
  mutable std::string mMessage2;  ///< reserved for derived validators; unused here
};

/// Accepts one of a set of texts (exact, case-sensitive); a display map gives the text an
/// accepted word stands for in the renderings.
class CORVANE_EXPORT Enum : public Base {
 public:
  /// Every element of `accepted` becomes an accepted text without a display entry.
  Enum(char const* name, std::vector<std::string> const& accepted,
       Properties const* defaultProperties = nullptr);
  ~Enum() override;

  /// "@prop_enum_expected" for a null or non-simple value, "@prop_enum_unknown" for a text
  /// not accepted, then the custom check.
  bool Valid(Value const* value) const override;

  /// Accepts `text` and makes it stand for `standsFor` (replacing an earlier entry).
  Enum& insert(char const* text, char const* standsFor);

  bool accepts(std::string const& text) const { return mAccepted.count(text) != 0; }
  /// The text `text` stands for, or null when it has no display entry.
  std::string const* display(std::string const& text) const;
  std::set<std::string> const& accepted() const { return mAccepted; }

 protected:
  std::set<std::string> mAccepted;
  std::map<std::string, std::string> mDisplay;
};

/// "true" and "false", and "t", "yes", "on" for true, "f", "no", "off" for false.
class CORVANE_EXPORT Boolean : public Enum {
 public:
  explicit Boolean(char const* name, Properties const* defaultProperties = nullptr);
  ~Boolean() override;
  /// The `Enum` checks, but every rejection reports "@prop_bool_bad".
  bool Valid(Value const* value) const override;
};

/// A combination of flag names separated by TAB, blank, "+" or ",".
class CORVANE_EXPORT Bitmask : public Enum {
 public:
  Bitmask(char const* name, std::vector<std::string> const& flags,
          Properties const* defaultProperties = nullptr);
  ~Bitmask() override;

  /// "@prop_bitmask_expected" for a null or non-simple value; an empty mask is accepted
  /// without the custom check; "@prop_bitmask_unknown" for a name not accepted.
  bool Valid(Value const* value) const override;

  /// The tokens of `text` between runs of separators. Caller owns; free with delete.
  static std::vector<std::string>* Split(std::string const& text);
};

/// A text with optional length limits (minimum inclusive, maximum exclusive) and patterns.
class CORVANE_EXPORT String : public Base {
 public:
  explicit String(char const* name, Properties const* defaultProperties = nullptr);
  ~String() override;

  /// "@prop_string_expected", "@prop_string_too_short", "@prop_string_too_long",
  /// "@prop_string_no_match" in this order of checks, then the custom check.
  bool Valid(Value const* value) const override;

  /// Appends a pattern compiled with the default options; one that does not compile never
  /// matches.
  String& addPattern(char const* pattern);
  /// True when `text` fully matches at least one pattern; false without patterns.
  bool Matches(std::string const& text) const;

  /// Texts shorter than `bytes` are refused.
  String& setMinLength(unsigned bytes);
  /// Texts of `bytes` or more are refused: a text exactly `bytes` long is too long.
  String& setMaxLength(unsigned bytes);
  String& clearMinLength() {
    mHasMinLength = false;
    return *this;
  }
  String& clearMaxLength() {
    mHasMaxLength = false;
    return *this;
  }

 private:
  bool mHasMinLength;
  unsigned mMinLength;
  bool mHasMaxLength;
  unsigned mMaxLength;
  std::vector<pcrecpp::RE*> mPatterns;  ///< owned
};

/// An ordered list whose elements are all checked by one element validator.
class CORVANE_EXPORT Array : public Base {
 public:
  /// `element` is not owned, may be null and must outlive this validator.
  Array(char const* name, Base const* element, Properties const* defaultProperties = nullptr);
  ~Array() override;

  /// "@prop_array_expected" for a null or non-array value; an element the element validator
  /// refuses passes its message on; then the custom check.
  bool Valid(Value const* value) const override;

  Base const* element() const { return mElement; }
  void setElement(Base const* element) { mElement = element; }

 private:
  Base const* mElement;
};

/// A structure whose known members each have a validator; unknown or absent members are not
/// checked.
class CORVANE_EXPORT Struct : public Base {
 public:
  using Members = std::map<std::string, Base const*>;

  explicit Struct(char const* name, Properties const* defaultProperties = nullptr);
  ~Struct() override;

  /// "@prop_struct_expected" for a null or non-structure value; a member its validator
  /// refuses passes its message on (members in declaration order); then the custom check.
  bool Valid(Value const* value) const override;

  /// Declares member `name` checked by `member` (not owned; must outlive this validator). A
  /// repeated name replaces the validator and keeps its first position.
  Struct& addMember(std::string const& name, Base const* member);
  /// The validator of member `name`, or null.
  Base const* member(std::string const& name) const;
  Members const& members() const { return mMembers; }
  /// Member names in declaration order.
  std::vector<std::string> const& order() const { return mOrder; }

 private:
  Members mMembers;
  std::vector<std::string> mOrder;
};

/// Strict integer parsing, base 0 (0x hex, leading 0 octal). Instantiated for unsigned long,
/// unsigned int, unsigned short, long, int and short.
template <class T>
class CORVANE_EXPORT Number {
 public:
  /// True when all of `text` is a number of type T, stored in `result`. The largest value of
  /// unsigned int, unsigned short, int and short is refused on purpose, and so is any negative
  /// text for the unsigned kinds. `result` may be written even when false is returned. A null
  /// `text` gives false.
  static bool Parse(char const* text, T& result);
};

extern template class Number<unsigned long>;
extern template class Number<unsigned int>;
extern template class Number<unsigned short>;
extern template class Number<long>;
extern template class Number<int>;
extern template class Number<short>;

}  // namespace validator
}  // namespace config
}  // namespace corvane

#endif  // CORVANE_VALIDATOR_H
