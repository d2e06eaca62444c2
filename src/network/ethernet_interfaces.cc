// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Ethernet interface records: translation between flat records and the nested
// "ethernet-interface" objects, and the network manager's status and address actions.

#include "corvane/ethernet_interfaces.h"

#include <memory>

#include <corvane/idl/networkManager.h>
#include "corvane/client.h"
#include "corvane/config_service.h"
#include "corvane/config_value.h"
#include "corvane/log.h"

namespace corvane {

using config::ArrayValue;
using config::Service;
using config::SimpleValue;
using config::StructValue;
using config::Value;
using types::KeyValPair;

char const* const ethernetInterfaces::validKeys[18] = {"name",
                                                       "userdata",
                                                       "enabled",
                                                       "DefaultGateway",
                                                       "IPv4GwMetric",
                                                       "IPAddress",
                                                       "MTU",
                                                       "UseARP",
                                                       "UseDHCP",
                                                       "Mode",
                                                       "IPv6Address",
                                                       "DefaultIPv6Gateway",
                                                       "IPv6GwMetric",
                                                       "UseIPv6",
                                                       "UseSLAAC",
                                                       "DADTransmits",
                                                       "DADRetransmitTimer",
                                                       ""};

char const* const ethernetInterfaces::configManagerKeys[18] = {"name",
                                                               "userdata",
                                                               "AdminState",
                                                               "gateway",
                                                               "metric",
                                                               "address",
                                                               "mtu",
                                                               "use-arp",
                                                               "use-dhcp",
                                                               "mode",
                                                               "address",
                                                               "gateway",
                                                               "metric",
                                                               "UseIPv6",
                                                               "use-slaac",
                                                               "dad-transmits",
                                                               "dad-retransmit-timer",
                                                               ""};

char const* const ethernetInterfaces::validModes[8] = {
    "Auto",         "10baseT-FD",    "10baseT-HD",     "100baseTx-FD",
    "100baseTx-HD", "1000baseTx-FD", "10000baseTx-FD", ""};

namespace {

using Network = networkManager::networkManagerClient;

constexpr char kDomain[] = "default";
constexpr char kEthernetType[] = "ethernet-interface";
constexpr char kVLANType[] = "vlan-interface";
constexpr char kAggregateType[] = "aggregate-interface";
constexpr char kNetworkService[] = "networkmgr";
constexpr char kIPv4Gateway[] = "ipv4-default-gateway";
constexpr char kIPv6Gateway[] = "ipv6-default-gateway";
constexpr unsigned kRecordCategory = 2048;
constexpr unsigned kCommandsCategory = 1;  // "commands": the VLAN and aggregate queries

// Where each record key lives in the object, by index of the key tables.
enum Place { kTop, kEnabled, kGateway4, kGateway6, kAddress4, kAddress6, kIp, kDHCP, kUseIPv6 };
constexpr Place kPlaces[17] = {kTop,      kTop,     kEnabled, kGateway4, kGateway4, kAddress4,
                               kTop,      kTop,     kDHCP,    kTop,      kAddress6, kGateway6,
                               kGateway6, kUseIPv6, kIp,      kIp,       kIp};
// What an empty value stores; null where it removes the setting instead.
constexpr char const* kDefaults[17] = {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       "1500",  "true",  nullptr, "Auto",  nullptr, nullptr,
                                       nullptr, nullptr, "false", "1",     "1000"};

bool isIPv6(std::string const& address) { return address.find(':') != std::string::npos; }

SimpleValue* simpleMember(StructValue const* s, char const* key) {
  return s == nullptr ? nullptr : dynamic_cast<SimpleValue*>(s->find(key));
}

StructValue* structMember(StructValue const* s, char const* key) {
  return s == nullptr ? nullptr : dynamic_cast<StructValue*>(s->find(key));
}

// A null member writes nothing, so this removes `key` from the object that is stored.
void removeMember(StructValue* s, char const* key) { s->insert(key, nullptr); }

// The parts of an object that hold record keys below "ip".
struct Parts {
  StructValue* ip = nullptr;
  ArrayValue* addresses = nullptr;
  StructValue* gateway4 = nullptr;
  StructValue* gateway6 = nullptr;
};

Parts locate(StructValue* ip) {
  Parts parts;
  parts.ip = ip;
  parts.addresses = dynamic_cast<ArrayValue*>(ip->find("address"));
  if (parts.addresses == nullptr) log::trace(7, "Could not find address in configStruct");
  parts.gateway4 = structMember(ip, kIPv4Gateway);
  if (parts.gateway4 == nullptr) log::trace(7, "Could not find ipv4Gateway in configStruct");
  parts.gateway6 = structMember(ip, kIPv6Gateway);
  if (parts.gateway6 == nullptr) log::trace(7, "Could not find ipv6Gateway in configStruct");
  return parts;
}

// The stored object, or null when it cannot be fetched or is not a structure.
std::unique_ptr<StructValue> fetch(std::string const& name) {
  log::trace(6, "Calling queryObject for Interface: %s", name.c_str());
  Value* value = nullptr;
  int rc = Service::queryObject(kDomain, kEthernetType, name, &value);
  std::unique_ptr<Value> owned(rc == config::kwOK ? value : nullptr);
  auto object = dynamic_cast<StructValue*>(owned.get());
  if (object == nullptr) return nullptr;
  owned.release();
  return std::unique_ptr<StructValue>(object);
}

// Replaces the text of `key` in `s`, inserting the member when absent.
void setMember(StructValue* s, char const* key, std::string const& text) {
  if (SimpleValue* member = simpleMember(s, key)) {
    log::trace(7, "Updating value from: %s to: %s", member->text().c_str(), text.c_str());
    member->setText(text);
  } else {
    log::trace(7, "Inserting %s value: %s", key, text.c_str());
    s->insert(key, new SimpleValue(text));
  }
}

// Makes `value` the one entry of its key's family; entries of the other family stay.
void setAddress(Parts& parts, bool v6, std::string const& value) {
  ArrayValue const* old = parts.addresses;
  auto list = std::make_unique<ArrayValue>(old != nullptr && old->mustUnderstand());
  if (old != nullptr) {
    for (Value const* element : old->elements()) {
      auto simple = dynamic_cast<SimpleValue const*>(element);
      if (simple != nullptr && isIPv6(simple->text()) == v6) {
        log::trace(7, "Pulled %s out of the IPAddress Array", simple->text().c_str());
        continue;
      }
      if (simple != nullptr) {
        log::trace(7, "Pulled %s out tmp and back into main", simple->text().c_str());
      }
      list->append(element == nullptr ? nullptr : element->clone());
    }
  }
  if (!value.empty()) {
    log::trace(7, "Inserting IPAddress value: %s", value.c_str());
    list->append(new SimpleValue(value));
  }
  parts.addresses = list.get();
  parts.ip->insert("address", list.release());
}

void setGateway(Parts& parts, bool v6, char const* key, std::string const& value) {
  StructValue*& gateway = v6 ? parts.gateway6 : parts.gateway4;
  char const* structName = v6 ? kIPv6Gateway : kIPv4Gateway;
  char const* family = v6 ? "ipv6" : "ipv4";
  log::trace(7, v6 ? "Doing IPv6 Gateway Stuff" : "Doing IPv4 Gateway Stuff");
  if (!value.empty()) {
    if (gateway == nullptr) {
      log::trace(7, "Adding %s struct", structName);
      gateway = new StructValue();
      parts.ip->insert(structName, gateway);
    }
    log::trace(7, "Trying to find %s", key);
    if (simpleMember(gateway, key) == nullptr) log::trace(7, "SV Was NULL");
    setMember(gateway, key, value);
  } else if (gateway != nullptr) {
    log::trace(7, "Removing %s from %sGateway Struct", key, family);
    removeMember(gateway, key);
    if (std::string(key) == "gateway") {
      // A metric means nothing without its gateway.
      log::trace(7, "Removing %sGateway struct from ip struct", family);
      removeMember(parts.ip, structName);
      gateway = nullptr;
    }
  } else {
    log::trace(7, "%s not specified", structName);
  }
}

int indexOf(std::string const& key) {
  for (int i = 0; ethernetInterfaces::validKeys[i][0] != '\0'; ++i) {
    if (key == ethernetInterfaces::validKeys[i]) return i;
  }
  return -1;
}

// Stores `value` under `key` unless the key is already there.
void store(KeyValPair& record, char const* key, std::string const& value) {
  if (record.emplace(key, value).second) {
    log::trace(7, "Storing Key: %s, Value: %s", key, value.c_str());
  }
}

template <class Get>
InterfaceStatus* statusOf(std::string const& name, Get get) {
  return callManager<Network, InterfaceStatus*>(
      kNetworkService, 0, nullptr, [&](Network& client) -> InterfaceStatus* {
        networkManager::NetifStatus wire;
        (client.*get)(wire, name);
        auto status = std::make_unique<InterfaceStatus>();
        status->mName = name;
        status->mSuccess = wire.success;
        status->mEnabled = wire.enabled;
        status->mLinked = wire.linked;
        status->mStatus.reserve(wire.status.size());
        for (auto const& entry : wire.status)
          status->mStatus.emplace_back(entry.begin(), entry.end());
        return status.release();
      });
}

template <class Get>
std::vector<InterfaceStatus*>* statusesOf(char const* type, Get get) {
  std::vector<std::string> names;
  int rc = Service::getNamesofObject(kDomain, type, names);
  if (rc != config::kwOK) {
    if (type == kEthernetType) {
      log::trace(3, "Could not obtain list of interface names");
    } else {
      log::trace(3, "getNamesofObject for %s, rc %d, length %d", type, rc,
                 static_cast<int>(names.size()));
    }
    return nullptr;
  }
  auto statuses = std::make_unique<std::vector<InterfaceStatus*>>();
  statuses->reserve(names.size());
  for (std::string const& name : names) {
    InterfaceStatus* status = get(name);
    if (status == nullptr) {
      log::trace(3, "Could not obtain status for interface");
      continue;
    }
    statuses->push_back(status);
  }
  return statuses.release();
}

template <class Call>
int network(Call&& call) {
  return callManager<Network, int>(kNetworkService, 0, 0, std::forward<Call>(call));
}

}  // namespace

KeyValPair* ethernetInterfaces::getInterface(std::string const& name) {
  Tracer tracer("getInterface", "ethernetInterfaces", __LINE__, kRecordCategory);
  tracer.args("name %s", name.c_str());
  std::unique_ptr<StructValue> object = fetch(name);
  if (object == nullptr) return nullptr;
  StructValue* ip = structMember(object.get(), "ip");
  if (ip == nullptr) {
    log::trace(3, "Calling cleanup because Object was missing required values");
    return nullptr;
  }
  Parts parts = locate(ip);
  auto record = std::make_unique<KeyValPair>();
  for (int i = 0; validKeys[i][0] != '\0'; ++i) {
    char const* key = validKeys[i];
    char const* cmKey = configManagerKeys[i];
    log::trace(7, "Looking for validKey: %s, configManagerKey: %s ", key, cmKey);
    switch (kPlaces[i]) {
      case kTop:
      case kEnabled: {
        SimpleValue const* member = simpleMember(object.get(), cmKey);
        if (member == nullptr) {
          log::trace(3, "Find for %s failed", cmKey);
        } else if (kPlaces[i] == kEnabled) {
          std::string const& state = member->text();
          store(*record, key, state == "Enabled" || state == "enabled" ? "true" : "false");
        } else {
          store(*record, key, member->text());
        }
        break;
      }
      case kIp:
      case kGateway4:
      case kGateway6: {
        StructValue const* holder = kPlaces[i] == kIp         ? ip
                                    : kPlaces[i] == kGateway4 ? parts.gateway4
                                                              : parts.gateway6;
        if (holder == nullptr) break;
        SimpleValue const* member = simpleMember(holder, cmKey);
        // "abort" although the walk goes on: the line is kept as it always read, deliberately.
        if (member == nullptr) {
          log::trace(3, "Find for %s failed, abort!", cmKey);
        } else {
          store(*record, key, member->text());
        }
        break;
      }
      case kAddress4:
      case kAddress6: {
        if (parts.addresses == nullptr) break;
        bool v6 = kPlaces[i] == kAddress6;
        for (Value const* element : parts.addresses->elements()) {
          auto simple = dynamic_cast<SimpleValue const*>(element);
          if (simple == nullptr) {
            log::trace(3, "Find for %s failed, abort!", cmKey);
          } else if (isIPv6(simple->text()) == v6) {
            store(*record, key, simple->text());
            if (v6) store(*record, "UseIPv6", "true");
          }
        }
        break;
      }
      case kDHCP:
      case kUseIPv6:
        store(*record, key, "false");
        break;
    }
  }
  tracer.result(static_cast<void const*>(record.get()));
  return record.release();
}

void ethernetInterfaces::delInterface(KeyValPair* record) { delete record; }

void ethernetInterfaces::getInterfaces(std::vector<KeyValPair*>& records) {
  Tracer tracer("getInterfaces", "ethernetInterfaces", __LINE__, kRecordCategory);
  std::unique_ptr<std::vector<std::string>> names(getInterfaceNames());
  if (names == nullptr) return;
  for (std::string const& name : *names) {
    std::unique_ptr<KeyValPair> record(getInterface(name));
    if (record == nullptr) {
      log::trace(3, "getInterface returned NULL, interface list changed under us");
      continue;
    }
    records.push_back(record.get());
    record.release();
  }
}

void ethernetInterfaces::delInterfaces(std::vector<KeyValPair*>& records) {
  for (KeyValPair* record : records) delete record;
  records.clear();
}

std::vector<std::string>* ethernetInterfaces::getInterfaceNames() {
  auto names = std::make_unique<std::vector<std::string>>();
  if (Service::getNamesofObject(kDomain, kEthernetType, *names) != config::kwOK) return nullptr;
  return names.release();
}

int ethernetInterfaces::setInterface(KeyValPair& record) {
  Tracer tracer("setInterface", "ethernetInterfaces", __LINE__, kRecordCategory);
  char const* given = record.findValue("name");
  if (given == nullptr || *given == '\0') {
    log::trace(3, "No interface name specified");
    tracer.result(-1);
    return -1;
  }
  std::string name(given);
  std::unique_ptr<StructValue> object = fetch(name);
  if (object == nullptr) {
    log::trace(3, "Couldn't find Interface %s", name.c_str());
    tracer.result(-1);
    return -1;
  }
  StructValue* ip = structMember(object.get(), "ip");
  if (ip == nullptr) {
    ip = new StructValue();
    object->insert("ip", ip);
  }
  Parts parts = locate(ip);

  log::trace(7, "Iterate over the Interface");
  for (auto const& entry : record) {
    std::string const& key = entry.first;
    std::string const& value = entry.second;
    log::trace(7, "Setting Key: %s, Value: %s", key.c_str(), value.c_str());
    int i = indexOf(key);
    if (i < 0) continue;
    char const* cmKey = configManagerKeys[i];
    switch (kPlaces[i]) {
      case kEnabled:
        if (value != "true" && value != "false") {
          log::trace(3, "Enabled must be true or false");
          tracer.result(-1);
          return -1;
        }
        log::trace(7, "Inserting %s value: %s", cmKey, value == "true" ? "Enabled" : "Disabled");
        setMember(object.get(), cmKey, value == "true" ? "Enabled" : "Disabled");
        break;
      case kDHCP:
        // DHCP is switched only through the configuration objects themselves.
        if (value == "true") {
          log::trace(3, "Cannot set DHCP via netif commands");
          tracer.result(-1);
          return -1;
        }
        break;
      case kTop:
        if (key == "name") break;  // names the object; never renamed from here
        if (value.empty() && kDefaults[i] == nullptr) {
          log::trace(7, "Removing %s from configStruct", cmKey);
          removeMember(object.get(), cmKey);
        } else {
          setMember(object.get(), cmKey, value.empty() ? kDefaults[i] : value);
        }
        break;
      case kIp:
        setMember(ip, cmKey, value.empty() ? kDefaults[i] : value);
        break;
      case kAddress4:
      case kAddress6:
        setAddress(parts, kPlaces[i] == kAddress6, value);
        break;
      case kGateway4:
      case kGateway6:
        setGateway(parts, kPlaces[i] == kGateway6, cmKey, value);
        break;
      case kUseIPv6:
        break;  // derived from the addresses
    }
  }

  log::trace(6, "Calling updateObject for interface: %s", name.c_str());
  int rc;
  try {
    rc = Service::updateObject(kDomain, kEthernetType, name, object.get(), true);
  } catch (config::messaging::ValidationException const& e) {
    log::trace(3, "caught ValidationException, errorField:%s, error:%s", e.errorField.c_str(),
               e.errorString.c_str());
    tracer.result(-1);
    return -1;
  } catch (config::messaging::ConfigChangeException const& e) {
    log::trace(3, "caught ConfigChangeException, rc:%d, msgid:%s", e.rc, e.messageID.c_str());
    tracer.result(static_cast<int>(e.rc));
    return e.rc;
  }
  if (rc != config::kwOK) {
    log::trace(3, "Call to update object failed RC: %d", rc);
    rc = -1;
  }
  tracer.result(rc);
  return rc;
}

int ethernetInterfaces::clearInterface(std::string const& name) {
  Tracer tracer("clearInterface", "ethernetInterfaces", __LINE__, kRecordCategory);
  int rc;
  try {
    rc = Service::resetObject(kDomain, kEthernetType, name);
  } catch (config::messaging::ConfigChangeException const& e) {
    log::trace(3, "caught ConfigChangeException, rc:%d, msgid:%s", e.rc, e.messageID.c_str());
    tracer.result(static_cast<int>(e.rc));
    return e.rc;
  }
  if (rc != config::kwOK) {
    log::trace(3, "Call to reset object failed RC: %d", rc);
    rc = -1;
  }
  tracer.result(rc);
  return rc;
}

InterfaceStatus* ethernetInterfaces::getInterfaceStatus(std::string const& name) {
  Tracer tracer("getInterfaceStatus", "ethernetInterfaces", __LINE__, kRecordCategory);
  return statusOf(name, &Network::getInterfaceStatus);
}

InterfaceStatus* ethernetInterfaces::getVLANStatus(std::string const& name) {
  Tracer tracer("getVLANStatus", "ethernetInterfaces", __LINE__, kCommandsCategory);
  return statusOf(name, &Network::getVLANStatus);
}

InterfaceStatus* ethernetInterfaces::getAggregateStatus(std::string const& name) {
  Tracer tracer("getAggregateStatus", "ethernetInterfaces", __LINE__, kCommandsCategory);
  return statusOf(name, &Network::getAggregateStatus);
}

std::vector<InterfaceStatus*>* ethernetInterfaces::getInterfaceStatuses() {
  return statusesOf(kEthernetType, &ethernetInterfaces::getInterfaceStatus);
}

std::vector<InterfaceStatus*>* ethernetInterfaces::getVLANStatuses() {
  return statusesOf(kVLANType, &ethernetInterfaces::getVLANStatus);
}

std::vector<InterfaceStatus*>* ethernetInterfaces::getAggregateStatuses() {
  return statusesOf(kAggregateType, &ethernetInterfaces::getAggregateStatus);
}

void ethernetInterfaces::delInterfaceStatus(InterfaceStatus* status) { delete status; }

void ethernetInterfaces::delInterfaceStatuses(std::vector<InterfaceStatus*>* statuses) {
  if (statuses == nullptr) return;
  for (InterfaceStatus* status : *statuses) delete status;
  delete statuses;
}

int ethernetInterfaces::addVIPToInterface(std::string const& interfaceName,
                                          std::string const& address) {
  return network([&](Network& c) { return c.addVIPToInterface(interfaceName, address); });
}

int ethernetInterfaces::removeVIPFromInterface(std::string const& interfaceName,
                                               std::string const& address) {
  return network([&](Network& c) { return c.removeVIPFromInterface(interfaceName, address); });
}

int ethernetInterfaces::addVIPToLoopback(std::string const& address) {
  return network([&](Network& c) { return c.addVIPToLoopback(address); });
}

int ethernetInterfaces::removeVIPFromLoopback(std::string const& address) {
  return network([&](Network& c) { return c.removeVIPFromLoopback(address); });
}

int ethernetInterfaces::setHWAddressImmediate(std::string const& interfaceName,
                                              std::string const& address) {
  return network([&](Network& c) { return c.setHWAddressImmediate(interfaceName, address); });
}

int ethernetInterfaces::resetHWAddressImmediate(std::string const& interfaceName) {
  return network([&](Network& c) { return c.resetHWAddressImmediate(interfaceName); });
}

}  // namespace corvane
