// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The device locale: read from "/etc/corvane/locale.xml", changed through the configuration
// manager, applied to ICU and "LANG".

#include <cstdlib>
#include <fstream>
#include <string>

#include <unicode/locid.h>

#include <corvane/idl/configManager.h>
#include "corvane/appliance_utils.h"
#include "corvane/client.h"
#include "corvane/log.h"
#include "corvane/xml.h"

namespace corvane {
namespace applianceUtils {

namespace {

char const kLocaleFile[] = "/etc/corvane/locale.xml";
char const kDefaultLocale[] = "en_US";

enum : int { kLocale = 1, kLanguage = 2, kCountry = 3 };
char const* const kLocaleKeywords[] = {"locale", "language", "country", nullptr};

// Text of the first child element `name` of `parent` without namespace; empty when absent.
std::string childText(XML::Element const* parent, int name) {
  for (XML::Node const* child : parent->mChildren) {
    auto const* element = dynamic_cast<XML::Element const*>(child);
    if (element != nullptr && element->mNamespace == 0 && element->mName == name) {
      return element->text();
    }
  }
  return std::string();
}

}  // namespace

std::string getLocale() {
  std::ifstream in(kLocaleFile);
  if (!in.is_open()) return kDefaultLocale;
  XML::Config doc(kLocaleKeywords);
  if (!doc.Parse(in)) {
    log::trace(3, "Cant parse %s file", kLocaleFile);
    return kDefaultLocale;
  }
  XML::Element const* root = doc.root();
  if (root->mNamespace != 0 || root->mName != kLocale) {
    log::trace(3, "Invalid root node in %s file", kLocaleFile);
    return kDefaultLocale;
  }
  return childText(root, kLanguage) + "_" + childText(root, kCountry);
}

bool setLocale(char const* language, char const* country) {
  std::string lang = language != nullptr ? language : "";
  std::string ctry = country != nullptr ? country : "";
  return callManager<configManager::configManagerClient, bool>(
      "configmgr", 0, false,
      [&](configManager::configManagerClient& client) { return client.setLocale(lang, ctry); });
}

bool setDefaultLocale(char const* name) {
  if (name == nullptr) return false;
  icu::Locale locale(name);
  if (locale.isBogus()) return false;
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(locale, status);
  if (U_FAILURE(status)) return false;
  if (setenv("LANG", name, 1) != 0) {
    log::trace(3, "setenv for LANG %s failed", name);
    return true;
  }
  log::trace(6, "setenv for LANG %s", name);
  char const* lang = getenv("LANG");
  log::trace(6, "getenv for LANG %s", lang != nullptr ? lang : "NULL");
  return lang != nullptr;
}

}  // namespace applianceUtils
}  // namespace corvane
