// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Message catalogs on ICU resource bundles, and expansion of message references.

#include "corvane/msg_cat.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <unicode/locid.h>
#include <unicode/msgfmt.h>

#include "corvane/appliance_utils.h"

namespace corvane {

namespace {

char const kDataVariable[] = "ICU_DATA";
char const kDefaultDataDir[] = "/resource";
char const kDefaultLocale[] = "en_US";

// Sets "ICU_DATA" for one bundle open when the process has none, and removes it again, so
// the environment looks untouched afterwards; an existing value is never changed.
class DataDirectory {
 public:
  DataDirectory() : mSet(getenv(kDataVariable) == nullptr) {
    if (mSet) setenv(kDataVariable, kDefaultDataDir, 1);
  }
  ~DataDirectory() {
    if (mSet) unsetenv(kDataVariable);
  }
  DataDirectory(DataDirectory const&) = delete;
  DataDirectory& operator=(DataDirectory const&) = delete;

 private:
  bool mSet;
};

// Copies `text` into `out`, cut to `size` - 1 bytes and always terminated (when size > 0).
void copyTruncated(char* out, size_t size, char const* text) {
  if (size == 0) return;
  size_t length = strnlen(text, size - 1);
  memcpy(out, text, length);
  out[length] = '\0';
}

void unknownMessage(char* out, size_t size, char const* id) {
  snprintf(out, size, "Unknown message %s\n", id);
}

icu::UnicodeString bogus() {
  icu::UnicodeString text;
  text.setToBogus();
  return text;
}

}  // namespace

msgCat::msgCat(std::string const& bundle, std::string const& locale) : mBundle(nullptr) {
  DataDirectory dataDirectory;
  icu::Locale where(locale.empty() ? kDefaultLocale : locale.c_str());
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::ResourceBundle> opened(
      where.isBogus() ? new icu::ResourceBundle(bundle.c_str(), status)
                      : new icu::ResourceBundle(bundle.c_str(), where, status));
  // Fallback to a parent locale or root is only a warning and is fine.
  if (U_SUCCESS(status)) mBundle = opened.release();
}

msgCat::~msgCat() { delete mBundle; }

icu::UnicodeString msgCat::get(char const* id) const {
  if (mBundle == nullptr || id == nullptr) return bogus();
  UErrorCode status = U_ZERO_ERROR;
  icu::ResourceBundle resource = mBundle->get(id, status);
  if (U_FAILURE(status) || resource.getType() != URES_STRING) return bogus();
  icu::UnicodeString text = resource.getString(status);
  if (U_FAILURE(status)) return bogus();
  return text;
}

multiCat::multiCat(std::string const& bundle, std::string const& locale)
    : mCatalog(new msgCat(bundle, locale)),
      mDefaultBundle(bundle),
      mLocale(locale),
      mCurrentBundle(bundle),
      mConverter(nullptr) {
  UErrorCode status = U_ZERO_ERROR;
  mConverter = ucnv_open("utf-8", &status);
  if (U_FAILURE(status)) mConverter = nullptr;
}

multiCat::~multiCat() {
  delete mCatalog;
  if (mConverter != nullptr) ucnv_close(mConverter);
}

void multiCat::reopen() {
  delete mCatalog;
  mCatalog = nullptr;
  mCatalog = new msgCat(mCurrentBundle, mLocale);
}

bool multiCat::expand(char const* text, char* out, size_t size, int argc,
                      icu::Formattable* args) {
  if (text == nullptr) text = "";
  if (text[0] != '@') {
    copyTruncated(out, size, text);
    return true;
  }

  char const* rest = text + 1;
  std::string id;
  if (char const* colon = strchr(rest, ':')) {
    id = colon + 1;
    // Compares with the whole remainder, so a prefixed reference always reopens its bundle;
    // kept deliberately.
    if (mCurrentBundle != rest) {
      mCurrentBundle.assign(rest, static_cast<size_t>(colon - rest));
      reopen();
    }
  } else {
    id = rest;
    if (mCurrentBundle != mDefaultBundle) {
      mCurrentBundle = mDefaultBundle;
      reopen();
    }
  }

  icu::UnicodeString pattern = mCatalog->get(id.c_str());
  if (pattern.isBogus()) {
    unknownMessage(out, size, id.c_str());
    return false;
  }

  icu::UnicodeString result;
  if (argc < 1 || args == nullptr) {
    // Unformatted: quotes and braces come out exactly as stored.
    result = pattern;
  } else {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale where(mLocale.empty() ? kDefaultLocale : mLocale.c_str());
    icu::MessageFormat format(pattern, where, status);
    icu::FieldPosition position(icu::FieldPosition::DONT_CARE);
    if (U_SUCCESS(status)) format.format(args, argc, result, position, status);
    if (U_FAILURE(status)) {
      unknownMessage(out, size, id.c_str());
      return false;
    }
  }

  // ICU's extract rule: a text that fills `out` exactly is left unterminated.
  UErrorCode status = U_ZERO_ERROR;
  int32_t capacity = size > INT32_MAX ? INT32_MAX : static_cast<int32_t>(size);
  result.extract(out, capacity, mConverter, status);
  return true;
}

std::string getErrorString(char const* text, int argc, icu::Formattable* args) {
  if (text == nullptr) return std::string();
  char buffer[1024];
  std::unique_ptr<multiCat> catalog(new multiCat("corvane", applianceUtils::getLocale()));
  if (!catalog->expand(text, buffer, sizeof buffer, argc, args)) return text;
  return std::string(buffer, strnlen(buffer, sizeof buffer));
}

}  // namespace corvane
