// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// DNS, NTP, host-table and node-name settings in one call each. The hardware manager keeps
/// name servers, search domains and time servers, the configuration manager host names and
/// the node name; the library forwards the calls and reads the node name from the kernel.
///   std::unique_ptr<std::vector<std::string>> servers(corvane::timeServers::getTimeServers());

#ifndef CORVANE_NET_SETTINGS_H
#define CORVANE_NET_SETTINGS_H

#include <string>
#include <vector>

#include "corvane/export.h"

namespace corvane {

// Every operation opens its own connection, so any thread may call them. When a manager
// cannot be reached, getters return a new empty vector (the caller still frees it) and
// leave the caller's extra lines as they were, and setters return the wrappers' neutral 0,
// following the library's client conventions.

class CORVANE_EXPORT nameServers {
 public:
  /// A new vector of the name servers; caller owns, free with delete. When `extraLines` is
  /// given it receives the resolver file's extra lines.
  static std::vector<std::string>* getNameServers(std::vector<std::string>* extraLines = nullptr);
  /// The manager's result; `extraLines` null sends none.
  static int setNameServers(std::vector<std::string> const& servers,
                            std::vector<std::string> const* extraLines = nullptr);
  /// A new vector of the search domains; caller owns, free with delete.
  static std::vector<std::string>* getSearchDomains();
  static int setSearchDomains(std::vector<std::string> const& domains);
  nameServers() = delete;
};

class CORVANE_EXPORT timeServers {
 public:
  /// The five access-control lines that follow every caller's extra lines, in order.
  static char const* const fixedLines[5];

  /// A new vector of the time servers; caller owns, free with delete. When `extraLines` is
  /// given it receives the extra lines as stored (the fixed lines included). Logs a failed
  /// call at level 3.
  static std::vector<std::string>* getTimeServers(std::vector<std::string>* extraLines = nullptr);
  /// Sends the servers with the caller's extra lines followed by `fixedLines`, which cannot be
  /// left out; restarts "ntpd" through the process manager only when the result is 0. Returns
  /// the hardware manager's result.
  static int setTimeServers(std::vector<std::string> const& servers,
                            std::vector<std::string> const* extraLines = nullptr);
  timeServers() = delete;
};

class CORVANE_EXPORT hostsUtils {
 public:
  /// New vectors; caller owns, free with delete. The addresses that have host names, and the
  /// names of one address.
  static std::vector<std::string>* getAddresses();
  static std::vector<std::string>* getHostnames(std::string const& address);
  /// 1 when the manager accepted the change, 0 when it refused or cannot be reached.
  static int setHostnames(std::string const& address, std::vector<std::string> const& names);
  static int deleteHostnames(std::string const& address);
  hostsUtils() = delete;
};

class CORVANE_EXPORT nodeName {
 public:
  /// The kernel's host name ("/proc/sys/kernel/hostname"): one line of at most 64 characters,
  /// cut at the first newline; empty (and logged at level 3) when it cannot be read.
  static std::string getFromKernel();
  /// Same as `getFromKernel`.
  static std::string get();
  /// The configuration manager's result of changing, or initialising, the node name.
  static int set(std::string const& name);
  static int init();
  nodeName() = delete;
};

}  // namespace corvane

#endif  // CORVANE_NET_SETTINGS_H
