// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// A flat record: an ordered map from key text to value text with typed readers, as used for
/// ethernet interfaces ("IPAddress", "UseDHCP", "Mode" ...) and interface status entries.
///   corvane::types::KeyValPair rec;
///   rec["MTU"] = "9000";
///   int mtu;
///   if (rec.getInt("MTU", mtu)) ...

#ifndef CORVANE_KEY_VAL_PAIR_H
#define CORVANE_KEY_VAL_PAIR_H

#include <map>
#include <string>

#include "corvane/export.h"

namespace corvane {
namespace types {

/// Keys in byte-wise order. The readers differ in what they do on failure; the differences
/// are deliberate and callers rely on them. Not safe for concurrent modification.
class CORVANE_EXPORT KeyValPair : public std::map<std::string, std::string> {
 public:
  using std::map<std::string, std::string>::map;

  /// The value of `key`, or null when the key is absent. Owned by the record; valid until the
  /// entry changes.
  char const* findValue(std::string const& key) const;
  /// True when the value is a complete, non-empty base-10 number that did not overflow a long;
  /// `value` gets it truncated to int. Otherwise `value` is set to 0 and false is returned.
  bool getInt(std::string const& key, int& value) const;
  /// True when the whole value converts as a decimal number without error; otherwise `value`
  /// is set to 0.0. An empty value converts to 0.0 with success, unlike `getInt`, deliberately.
  bool getDouble(std::string const& key, double& value) const;
  /// "true" or "false" in any case; anything else, or an absent key, returns false and leaves
  /// `value` as it was (unlike the two readers above).
  bool getBool(std::string const& key, bool& value) const;
  /// Points `value` at the value text inside the record (valid until the entry changes); true
  /// when the key exists, otherwise `value` is left as it was.
  bool getString(std::string const& key, char const*& value) const;
};

}  // namespace types
}  // namespace corvane

#endif  // CORVANE_KEY_VAL_PAIR_H
