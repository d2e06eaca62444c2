// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// The local user accounts file ("/etc/corvane/users.xml" and its template): a `user::Store`
/// reads accounts and the new-account template from XML and writes the accounts back.

#ifndef CORVANE_USER_STORE_H
#define CORVANE_USER_STORE_H

#include <map>
#include <memory>
#include <string>

#include "corvane/export.h"
#include "corvane/stringtable.h"

namespace corvane {

/// One account: element name -> text. Texts are carried uninterpreted; nothing is checked.
class CORVANE_EXPORT user {
 public:
  /// The element names of the format, null-terminated. A store's table is seeded with it, so
  /// the n-th name has identifier n (the enumerators below).
  static char const* const sElements[];
  enum Element : int {
    kUsers = 1,
    kUser,
    kName,
    kNodelete,
    kUid,
    kPassword,
    kPasswordencrypted,
    kPasswordexpired,
    kDefaultpassword,
    kHome,
    kShell,
    kDescription,
    kTemplate,
  };

  class Store;

  /// Stores `text` under the name of identifier `element` (1 to 13), replacing earlier text.
  /// Any other identifier is ignored.
  void set(int element, std::string const& text);
  /// The text stored under `name`; empty when there is none.
  std::string get(std::string const& name) const;

  /// Ordered by name; this is also the order in which `write` emits the entries.
  std::map<std::string, std::string> mValues;
};

/// Accounts keyed by name, the template for new accounts and the highest uid seen. Every
/// failure is a false result with no message and leaves the store as it was (except `write`,
/// which may leave a partial file). Not thread-safe: one thread at a time per store.
class CORVANE_EXPORT user::Store {
 public:
  /// Seeds the store's table with `user::sElements`.
  Store();
  ~Store();

  Store(Store const&) = delete;
  Store& operator=(Store const&) = delete;

  /// Merges the accounts of the file at `path` into the store: an account with a name already
  /// present replaces it, a "user" without "name" is dropped, the highest uid only grows.
  /// False when the file cannot be opened or parsed or its root is not "users".
  bool read_users(char const* path);
  /// Takes the first "template" of the file at `path` as the template, with the defaults
  /// "home" "/", "shell" "/bin/cli", "description" "Administrator", unless the store already
  /// has one. False when the file cannot be opened or parsed or its root is not "users".
  bool read_template(char const* path);
  /// Replaces the file at `path` with the accounts as one line of XML, accounts and their
  /// entries in ascending name order, without the template. Texts are written unescaped
  /// (deliberate: callers keep "<" and "&" out of account data). False when the file cannot
  /// be opened or writing fails.
  bool write(char const* path) const;

  /// The account named `name`, or null. Owned by the store; valid until it is replaced.
  user const* find(std::string const& name) const;
  /// All accounts by name. Owned by the store.
  std::map<std::string, std::unique_ptr<user>> const& accounts() const { return mAccounts; }
  /// The template, or null before one was read. Owned by the store.
  user const* getTemplate() const { return mTemplate.get(); }
  /// The largest "uid" read so far (0 when none); never lowered.
  int highestUid() const { return mHighestUid; }

 private:
  /// Fields in this order.
  types::Stringtable mTable;  ///< seeded; parses work on copies of it
  std::map<std::string, std::unique_ptr<user>> mAccounts;
  std::unique_ptr<user> mTemplate;
  int mHighestUid;
};

}  // namespace corvane

#endif  // CORVANE_USER_STORE_H
