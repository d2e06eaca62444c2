// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Message catalogs: message ids expanded to localized text from the ICU bundle `corvane`.
///   std::string text = corvane::getErrorString("@network_validation_invalid_ip_address",
///                                              1, &arg);

#ifndef CORVANE_MSG_CAT_H
#define CORVANE_MSG_CAT_H

#include "corvane/export.h"

#include <cstddef>
#include <string>

#include <unicode/fmtable.h>
#include <unicode/resbund.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>

namespace corvane {

/// One opened bundle in one locale. A bundle that cannot be opened gives an empty catalog.
/// Opening sets "ICU_DATA" to "/resource" for its duration when it is unset, so programs
/// must not open catalogs on several threads at once.
class CORVANE_EXPORT msgCat {
 public:
  /// An empty `locale` means "en_US".
  msgCat(std::string const& bundle, std::string const& locale);
  virtual ~msgCat();

  msgCat(msgCat const&) = delete;
  msgCat& operator=(msgCat const&) = delete;

  /// The string resource `id`, or a bogus string when it is missing, not a string, or the
  /// catalog is empty.
  icu::UnicodeString get(char const* id) const;

 private:
  icu::ResourceBundle* mBundle;  ///< owned; null for an empty catalog
};

/// Expands message references ("@id" or "@bundle:id") with arguments, switching bundles as
/// needed. Not to be shared between threads.
class CORVANE_EXPORT multiCat {
 public:
  multiCat(std::string const& bundle, std::string const& locale);
  virtual ~multiCat();

  multiCat(multiCat const&) = delete;
  multiCat& operator=(multiCat const&) = delete;

  /// Writes the expanded (or literal) text into `out` and returns true; on an unknown id
  /// writes "Unknown message <id>\n" and returns false. A text that fills `out` completely
  /// is not terminated: use buffers far larger than any text.
  bool expand(char const* text, char* out, size_t size, int argc, icu::Formattable* args);

 private:
  void reopen();

  /// Fields in this order.
  msgCat* mCatalog;  ///< owned
  std::string mDefaultBundle;
  std::string mLocale;
  std::string mCurrentBundle;
  UConverter* mConverter;
};

/// Expands `text` in the device locale with a fresh catalog; returns `text` unchanged when
/// the id is unknown.
CORVANE_EXPORT std::string getErrorString(char const* text, int argc = 0,
                                          icu::Formattable* args = nullptr);

}  // namespace corvane

#endif  // CORVANE_MSG_CAT_H
