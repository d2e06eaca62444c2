// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Facts about the appliance itself and its machine-wide maintenance: service ports, the
/// appliance probe, the device locale, the factory reset, SSH host keys, time zone, date and
/// time, NTP, the machine's identity and component firmware levels, the CPU count.

#ifndef CORVANE_APPLIANCE_UTILS_H
#define CORVANE_APPLIANCE_UTILS_H

#include <pthread.h>

#include <string>
#include <vector>

#include "corvane/export.h"

namespace corvane {
namespace applianceUtils {

/// Port of `name` for protocol `proto` ("tcp" when null) in the services database, in host
/// byte order; -1 when there is no entry. Uses the non-reentrant `getservbyname`.
CORVANE_EXPORT int getPortforService(char const* name, char const* proto);

/// True when "/dev/flash" can be opened for reading: the program runs on the appliance.
CORVANE_EXPORT bool isAppliance();

/// The device locale from "/etc/corvane/locale.xml" (language "_" country), "en_US" when
/// the file is missing.
CORVANE_EXPORT std::string getLocale();

/// Asks the configuration manager to change the device locale; a null `country` is sent as
/// an empty string. Returns the manager's answer; false when it cannot be reached.
CORVANE_EXPORT bool setLocale(char const* language, char const* country);

/// Makes `name` ICU's default locale and the value of "LANG". False when ICU refuses it.
CORVANE_EXPORT bool setDefaultLocale(char const* name);

// --- Maintenance ------------------------------------------------------------------------
// Calls to a manager open a fresh client (service "configmgr", "hardwaremgr", "processmgr" or
// "firmwaremgr", no time limit) and release it on every path; Thrift exceptions from the call
// pass to the caller. Apart from the device reset, any thread may call these.

/// One file that a reset could not remove.
struct CORVANE_EXPORT resetFileError {
  std::string path;
  int error;  ///< the errno of the failed removal
};

/// The machine identity, as the hardware manager reports it.
struct CORVANE_EXPORT HWInfo {
  std::string manufacturer;
  std::string productName;
  std::string version;
  std::string serialNumber;
  std::string uuid;
  std::string virt;
  bool isVirt = false;
};

/// One component's firmware level.
struct CORVANE_EXPORT ComponentFirmware {
  /// Codes of the component types, from the firmware manager's type names "mordel" (1) to
  /// "ferrow" (10).
  enum : int {
    kMordel = 1,
    kQuenby,
    kTarrock,
    kVelmar,
    kOskin,
    kPellum,
    kDrevan,
    kHasket,
    kLunwick,
    kFerrow,
  };
  int type;
  std::string currentVersion;  ///< empty when the manager "cannot detect" it
};

/// The files a reset removes, in order, null-terminated: the four SSH host key files, the DNS
/// and NTP settings, "/etc/resolv.conf", "/etc/ntp.conf", "/etc/hostname", the locale file and
/// "/etc/localtime". Owned by the library.
CORVANE_EXPORT extern char const* const resetFileList[];

/// Held for the whole of a device reset: a reset from another thread waits; one from the
/// thread that holds it fails at once (error-checking mutex). Statically initialised.
CORVANE_EXPORT extern pthread_mutex_t mResetMutex;

/// Unlinks `path`; any failure but ENOENT is appended to `errors`, which is a copy: the caller
/// never sees it. By value deliberately, as the interface has always been.
CORVANE_EXPORT void removeFile(std::string const& path, std::vector<resetFileError> errors);

/// Removes the files of the tree `path` (recursing into subdirectories, which stay) except
/// the paths equal to one of `exclusions` (an excluded directory is skipped whole). Failures
/// are traced. `exclusions` and `errors` are taken by value deliberately, like `removeFile`.
CORVANE_EXPORT void removeDir(std::string const& path, std::vector<std::string> exclusions,
                              std::vector<resetFileError> errors);

/// The factory reset: empties the configuration tree (but its message library) and the
/// network manager's run-time tree, removes `resetFileList` and the files directly in
/// "/var/log", restores "/etc/corvane/users.xml" from its factory copy, and asks for a reboot
/// with "/sbin/telinit 6". `errors` and `messages` are emptied first; `messages` gets the
/// catalog keys to show, in order; `errors` stays empty (deliberate, see `removeFile`).
/// Returns 0 when the reboot was requested, 3 when telinit failed, 1 when the reset lock could
/// not be taken ("cli_dev_shutdown_in_prog").
CORVANE_EXPORT int deviceRESET(std::vector<resetFileError>& errors,
                               std::vector<std::string>& messages);
/// The same, with the messages discarded.
CORVANE_EXPORT int deviceRESET(std::vector<resetFileError>& errors);

/// Sets (`on`) or clears FD_CLOEXEC on `fd`. False when the flags cannot be read or set.
CORVANE_EXPORT bool closeOnExec(int fd, bool on);

/// 1 off the appliance or without "/proc/cpuinfo"; else 1 plus the number of "processor"
/// lines, so n processors give n + 1: deliberate, relied upon.
CORVANE_EXPORT int getCPUCount();

/// The zone name of "/etc/localtime": its link text without the first 20 characters (the
/// length of "/usr/share/zoneinfo/"). Empty when it is not a symbolic link.
CORVANE_EXPORT std::string getTimezone();
/// Asks the configuration manager to switch to `zone`; returns its answer.
CORVANE_EXPORT bool setTimezone(std::string const& zone);
/// The zones to offer: those of "/etc/corvane/tzsubset.xml" (a file list) that exist as
/// regular files under "/usr/share/zoneinfo", in manifest order; without that manifest every
/// zone file found by `recurseAndFindTZ`.
CORVANE_EXPORT std::vector<std::string> getTimezones();
/// Appends to `list` every file under `dir` that begins with "TZif", as its path without the
/// first 20 characters, in directory order, depth first.
CORVANE_EXPORT void recurseAndFindTZ(std::string const& dir, std::vector<std::string>& list);

/// The current time twice: as `formatDateTime` mode 1 (UTC, ISO form), then mode 0 (local
/// medium form), both without a zone name.
CORVANE_EXPORT std::vector<std::string> getDateTime();
/// Asks the configuration manager to set the clock to `seconds` (narrowed to 32 bits); `rc`
/// gets its code. True when the code is 0.
CORVANE_EXPORT bool setDateTime(long seconds, int& rc);
/// Asks the process manager to synchronise with the NTP servers; returns its answer.
CORVANE_EXPORT bool syncNTPServer(std::string const& timeout);

/// Fills `info` from the hardware manager (all fields emptied first).
CORVANE_EXPORT void getHardwareInfo(HWInfo& info);
/// The serial number; "00000000" when the manager reports none or "*UNKNOWN*".
CORVANE_EXPORT std::string getSerialNumber();
/// The product name, cut to its first 4 characters on real hardware; "*UNKNOWN*" when unknown.
CORVANE_EXPORT std::string getMachineType();
/// As `getMachineType`, cut to 7 characters.
CORVANE_EXPORT std::string getMTM();
/// Replaces `list` by the firmware manager's components of known type, in its order.
CORVANE_EXPORT void getComponentInfo(std::vector<ComponentFirmware>& list);

/// False exactly when the first line of "/etc/corvane/keyStrength" is "false"; true (and a
/// level 3 trace) when that file cannot be opened.
CORVANE_EXPORT bool areHostSSHKeysStrong();
/// Deletes the RSA and DSA host keys and runs "/usr/sbin/sshdStarter" to make new ones.
/// 0 done; 1 done but the keys are not optimally strong; 2 the starter failed.
CORVANE_EXPORT int resetHostSSHKeys();

}  // namespace applianceUtils
}  // namespace corvane

#endif  // CORVANE_APPLIANCE_UTILS_H
