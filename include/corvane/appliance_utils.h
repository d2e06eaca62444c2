// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Facts about the appliance itself: service ports, the appliance probe, the device locale.
// Maintenance operations join this group as they are built.

#ifndef CORVANE_APPLIANCE_UTILS_H
#define CORVANE_APPLIANCE_UTILS_H

#include "corvane/export.h"

#include <string>

namespace corvane {
namespace applianceUtils {

// Port of `name` for protocol `proto` ("tcp" when null) in the services database, in host
// byte order; -1 when there is no entry. Uses the non-reentrant `getservbyname`.
CORVANE_EXPORT int getPortforService(char const* name, char const* proto);

// True when "/dev/flash" can be opened for reading: the program runs on the appliance.
CORVANE_EXPORT bool isAppliance();

// The device locale from "/etc/corvane/locale.xml" (language "_" country), "en_US" when
// the file is missing.
CORVANE_EXPORT std::string getLocale();

// Asks the configuration manager to change the device locale; a null `country` is sent as
// an empty string. Returns the manager's answer; false when it cannot be reached.
CORVANE_EXPORT bool setLocale(char const* language, char const* country);

// Makes `name` ICU's default locale and the value of "LANG". False when ICU refuses it.
CORVANE_EXPORT bool setDefaultLocale(char const* name);

}  // namespace applianceUtils
}  // namespace corvane

#endif  // CORVANE_APPLIANCE_UTILS_H
