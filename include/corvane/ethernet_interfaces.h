// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Ethernet interfaces as flat records: the configuration manager's "ethernet-interface"
/// objects (domain "default") read into and written from `types::KeyValPair` records, the
/// network manager's interface, VLAN and aggregate status, and its immediate address actions.
///   std::unique_ptr<KeyValPair, ...> rec(ethernetInterfaces::getInterface("eth0"));
///   (*rec)["MTU"] = "9000";
///   int rc = ethernetInterfaces::setInterface(*rec);

#ifndef CORVANE_ETHERNET_INTERFACES_H
#define CORVANE_ETHERNET_INTERFACES_H

#include <string>
#include <vector>

#include "corvane/export.h"
#include "corvane/key_val_pair.h"

namespace corvane {

/// The network manager's status answer for one interface, whole. `mStatus` holds its list of
/// string maps in order; their keys are the network manager's own. `mSuccess` is the
/// manager's word on whether it could read the interface at all.
struct CORVANE_EXPORT InterfaceStatus {
  std::string mName;  ///< the interface asked about
  bool mSuccess = false;
  bool mEnabled = false;
  bool mLinked = false;
  std::vector<types::KeyValPair> mStatus;
};

/// Static operations; every one opens its own connections, so any thread may call them.
/// Record keys and their places in the stored object are those of `validKeys`.
class CORVANE_EXPORT ethernetInterfaces {
 public:
  /// Record keys and, at the same index, the configuration keys they map to; each table has
  /// 17 texts and ends with an empty text.
  static char const* const validKeys[18];
  static char const* const configManagerKeys[18];
  /// Ethernet modes, "Auto" first; ends with an empty text.
  static char const* const validModes[8];

  /// A new record of the named interface, or null when the object cannot be fetched or has
  /// no "ip" structure. Caller owns; free with `delInterface`. Holds the first address of
  /// each family only; "UseDHCP" always reads "false", "UseIPv6" "true" exactly when an IPv6
  /// address is stored.
  static types::KeyValPair* getInterface(std::string const& name);
  static void delInterface(types::KeyValPair* record);
  /// Appends one new record per ethernet object to `records`, skipping objects that vanish
  /// meanwhile; nothing when the names cannot be fetched. Free with `delInterfaces`.
  static void getInterfaces(std::vector<types::KeyValPair*>& records);
  /// Deletes every record of `records` and empties it.
  static void delInterfaces(std::vector<types::KeyValPair*>& records);
  /// A new vector of the names of all ethernet objects; null when the configuration manager
  /// cannot answer. Caller owns; free with delete.
  static std::vector<std::string>* getInterfaceNames();

  /// Applies `record` to the stored object of its "name" and writes it once at the end: 0 on
  /// success, -1 when the record is refused, the object cannot be fetched or the write fails
  /// or is found invalid, or the code of a configuration change exception. A refused record
  /// writes nothing. Keys not in `validKeys` are ignored; an empty value restores the
  /// documented default or removes the setting.
  static int setInterface(types::KeyValPair& record);
  /// Resets the object to its defaults: 0, -1 when the manager refuses or cannot be reached,
  /// or the code of a configuration change exception.
  static int clearInterface(std::string const& name);

  /// A new status record from the network manager; null when it cannot be reached. Caller
  /// owns; free with `delInterfaceStatus`.
  static InterfaceStatus* getInterfaceStatus(std::string const& name);
  static InterfaceStatus* getVLANStatus(std::string const& name);
  static InterfaceStatus* getAggregateStatus(std::string const& name);
  /// A new vector with one status per object of the type ("ethernet-interface",
  /// "vlan-interface", "aggregate-interface"), in the order of the names list; interfaces
  /// whose status cannot be read are left out. Null when the names cannot be fetched. Caller
  /// owns; free with `delInterfaceStatuses`.
  static std::vector<InterfaceStatus*>* getInterfaceStatuses();
  static std::vector<InterfaceStatus*>* getVLANStatuses();
  static std::vector<InterfaceStatus*>* getAggregateStatuses();
  static void delInterfaceStatus(InterfaceStatus* status);
  /// Deletes every status and the vector itself.
  static void delInterfaceStatuses(std::vector<InterfaceStatus*>* statuses);

  /// Network manager actions taking effect at once; each returns the manager's result. Like
  /// every thin wrapper they answer the neutral 0 when the manager cannot be reached.
  static int addVIPToInterface(std::string const& interfaceName, std::string const& address);
  static int removeVIPFromInterface(std::string const& interfaceName, std::string const& address);
  static int addVIPToLoopback(std::string const& address);
  static int removeVIPFromLoopback(std::string const& address);
  static int setHWAddressImmediate(std::string const& interfaceName, std::string const& address);
  static int resetHWAddressImmediate(std::string const& interfaceName);

  ethernetInterfaces() = delete;
};

}  // namespace corvane

#endif  // CORVANE_ETHERNET_INTERFACES_H
