// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Interface validators: local rules first, then walks over the interface objects that the
// configuration manager holds. Every fetched object is released before the next fetch.

#include "corvane/interface_validators.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "corvane/config_service.h"
#include "corvane/config_value.h"
#include "corvane/diagnostic_utils.h"
#include "corvane/log.h"
#include "network/validator_util.h"

namespace corvane {
namespace config {
namespace validator {

namespace {

using network::arrayMember;
using network::kExecutionError;
using network::simpleMember;
using network::structMember;
using Names = std::vector<std::string>;

char const* const kDomain = "default";
char const* const kEthernet = "ethernet-interface";
char const* const kVlan = "vlan-interface";
char const* const kAggregate = "aggregate-interface";
char const* const kNotUnique = "@network_validation_interface_name_is_not_unique";

// The names of all objects of `type`; false (and no names) when they cannot be had.
bool fetchNames(char const* type, Names& names) {
  if (Service::getNamesofObject(kDomain, type, names) == kwOK) return true;
  names.clear();
  return false;
}

// The object `name` of `type`, or false when it cannot be had. An empty object reads as a
// structure without members.
bool fetchObject(char const* type, std::string const& name, std::unique_ptr<Value>& object) {
  Value* value = nullptr;
  int rc = Service::queryObject(kDomain, type, name, &value);
  object.reset(value);
  return rc == kwOK;
}

StructValue const* asStruct(std::unique_ptr<Value> const& object) {
  return dynamic_cast<StructValue const*>(object.get());
}

bool contains(Names const& names, std::string const& name) {
  for (std::string const& n : names) {
    if (n == name) return true;
  }
  return false;
}

// Whether the simple elements of `list` (may be null) include `text`.
bool contains(ArrayValue const* list, std::string const& text) {
  if (list == nullptr) return false;
  for (Value const* element : list->elements()) {
    auto const* simple = dynamic_cast<SimpleValue const*>(element);
    if (simple != nullptr && simple->text() == text) return true;
  }
  return false;
}

// One call of `Valid`: its trace scope and its single stored message.
class Verdict {
 public:
  explicit Verdict(std::string& message)
      : mMessage(message),
        mTracer("Valid", "InterfaceNameValidator", __LINE__, network::kTraceCategory) {}
  bool reject(std::string text) {
    mMessage = std::move(text);
    mTracer.result(false);
    return false;
  }
  bool accept() {
    mTracer.result(true);
    return true;
  }

 private:
  std::string& mMessage;
  Tracer mTracer;
};

// The MTU rule shared by the three object validators; "" when it holds.
std::string checkMTU(StructValue const* object, char const* validator, std::string const& name) {
  SimpleValue const* mtu = simpleMember(object, "mtu");
  ArrayValue const* addresses = arrayMember(structMember(object, "ip"), "address");
  if (mtu == nullptr || addresses == nullptr) return std::string();
  std::string result = validateMTU(mtu->text(), addresses);
  if (!result.empty()) {
    log::trace(7, "%s::Valid: MTU less than 1280 and IPv6 address specified on interface '%s'",
               validator, name.c_str());
  }
  return result;
}

// The duplicate-address walk for every address of `ip`; "" when none is taken elsewhere.
std::string checkAddresses(StructValue const* ip, std::string const& name) {
  ArrayValue const* addresses = arrayMember(ip, "address");
  if (addresses == nullptr) return std::string();
  for (Value const* element : addresses->elements()) {
    auto const* address = dynamic_cast<SimpleValue const*>(element);
    if (address == nullptr) continue;
    std::string message = checkForDupBaseAddr(name, network::baseAddress(address->text()));
    if (!message.empty()) return message;
  }
  return std::string();
}

// Cast and "name" checks of the three object validators; null when `Valid` must reject.
StructValue const* objectWithName(Value const* value, char const* validator,
                                  SimpleValue const*& name) {
  auto const* object = dynamic_cast<StructValue const*>(value);
  name = simpleMember(object, "name");
  if (object == nullptr) {
    log::trace(7, "Unable to dynamic_cast in %s::Valid", validator);
  } else if (name == nullptr) {
    log::trace(7, "Unable to obtain object name in %s::Valid", validator);
  }
  return name != nullptr ? object : nullptr;
}

}  // namespace

std::string validateMTU(std::string mtu, ArrayValue const* addresses) {
  long value = strtol(mtu.c_str(), nullptr, 10);
  if (value > 1279 || addresses == nullptr || addresses->size() == 0) return std::string();
  for (Value const* element : addresses->elements()) {
    auto const* address = dynamic_cast<SimpleValue const*>(element);
    if (address != nullptr && address->text().find(':') != std::string::npos) {
      return "@network_validation_mtu_too_small";
    }
  }
  return std::string();
}

std::string checkForDupBaseAddr(std::string name, std::string base) {
  Tracer tracer("checkForDupBaseAddr", "InterfaceNameValidator", __LINE__, network::kTraceCategory);
  struct Kind {
    char const* type;
    char const* word;
  } const kinds[] = {{kEthernet, "ethernet"}, {kVlan, "vlan"}, {kAggregate, "aggregate"}};
  for (Kind const& kind : kinds) {
    log::trace(7, "Searching %s interfaces for IP address %s", kind.word, base.c_str());
    Names names;
    if (!fetchNames(kind.type, names)) {
      log::trace(7, "checkForDupBaseAddr could not fetch list of %s interfaces", kind.word);
      return kExecutionError;
    }
    for (std::string const& other : names) {
      log::trace(7, "...Checking %s interface %s", kind.word, other.c_str());
      if (other == name) continue;
      std::unique_ptr<Value> object;
      if (!fetchObject(kind.type, other, object)) {
        log::trace(7, "Unable to obtain config for %s interface '%s' in checkForDupBaseAddr",
                   kind.word, other.c_str());
        return kExecutionError;
      }
      StructValue const* ip = structMember(asStruct(object), "ip");
      if (ip == nullptr) {
        log::trace(7, "Unable to obtain ip properties for %s interface '%s' in checkForDupBaseAddr",
                   kind.word, other.c_str());
        return kExecutionError;
      }
      ArrayValue const* addresses = arrayMember(ip, "address");
      if (addresses == nullptr) continue;
      for (Value const* element : addresses->elements()) {
        auto const* address = dynamic_cast<SimpleValue const*>(element);
        if (address != nullptr && network::baseAddress(address->text()) == base) {
          return network::expand("@network_validation_invalid_ip_address_already_exists",
                                 {base, other});
        }
      }
    }
  }
  return std::string();
}

bool EthernetInterfaceValidator::Valid(Value const* value) const {
  Verdict verdict(mMessage);
  SimpleValue const* nameValue = nullptr;
  StructValue const* object = objectWithName(value, "EthernetInterfaceValidator", nameValue);
  if (object == nullptr) return verdict.reject(kExecutionError);
  std::string const& name = nameValue->text();
  SimpleValue const* admin = simpleMember(object, "AdminState");
  if (admin == nullptr) {
    log::trace(7, "Unable to obtain AdminState in EthernetInterfaceValidator::Valid");
    return verdict.reject(kExecutionError);
  }

  // An aggregate member must stay disabled. Only these two spellings count as enabled.
  if (admin->text() == "Enabled" || admin->text() == "enabled") {
    Names aggregates;
    // Tolerated on purpose, unlike the other list failures.
    if (!fetchNames(kAggregate, aggregates)) {
      log::trace(7,
                 "EthernetInterfaceValidator::Valid: could not fetch list of aggregate "
                 "interfaces");
    }
    for (std::string const& aggregate : aggregates) {
      std::unique_ptr<Value> other;
      if (!fetchObject(kAggregate, aggregate, other)) {
        log::trace(7,
                   "Unable to obtain config for aggregate interface '%s' in "
                   "EthernetInterfaceValidator::Valid",
                   aggregate.c_str());
        return verdict.reject(kExecutionError);
      }
      if (contains(arrayMember(asStruct(other), "member"), name)) {
        log::trace(7,
                   "EthernetInterfaceValidator::Valid: aggregate interface named '%s' has "
                   "ethernet interface '%s' as member; failing validation",
                   aggregate.c_str(), name.c_str());
        return verdict.reject(network::expand(
            "@network_validation_ethernet_interface_cannot_be_enabled", {name, aggregate}));
      }
    }
  }

  std::string message = checkMTU(object, "EthernetInterfaceValidator", name);
  if (!message.empty()) return verdict.reject(message);

  SimpleValue const* mode = simpleMember(object, "mode");
  if (mode == nullptr) {
    log::trace(7, "Unable to obtain mode in EthernetInterfaceValidator::Valid");
    return verdict.reject(kExecutionError);
  }
  log::trace(7, "Verifying that '%s' is a valid mode for ethernet interface '%s'\n",
             mode->text().c_str(), name.c_str());
  int result = diagnosticUtils::testMode(name, mode->text());
  if (result != 0) {
    log::trace(3, "'%s' is not a valid mode for ethernet interface '%s', error %d\n",
               mode->text().c_str(), name.c_str(), result);
  }
  // Only a definite "unsupported" refuses: a card whose modes cannot be read must not block
  // the configuration.
  if (result == diagnosticUtils::kModeUnsupported) {
    log::trace(7, "nicctlw.sh reports that '%s' is not a valid ethernet mode for '%s'",
               mode->text().c_str(), name.c_str());
    return verdict.reject(
        network::expand("@network_validation_invalid_mode", {mode->text(), name}));
  }
  if (result == diagnosticUtils::kModesUnknown) {
    log::trace(7, "nicctlw.sh failed to obtain valid ethernet modes for '%s'", name.c_str());
  }

  StructValue const* ip = structMember(object, "ip");
  if (ip == nullptr) {
    log::trace(7,
               "Unable to obtain ip properties for ethernet interface '%s' in "
               "EthernetInterfaceValidator::Valid",
               name.c_str());
    return verdict.reject(kExecutionError);
  }
  message = checkAddresses(ip, name);
  return message.empty() ? verdict.accept() : verdict.reject(message);
}

bool VLANInterfaceValidator::Valid(Value const* value) const {
  Verdict verdict(mMessage);
  SimpleValue const* nameValue = nullptr;
  StructValue const* object = objectWithName(value, "VLANInterfaceValidator", nameValue);
  if (object == nullptr) return verdict.reject(kExecutionError);
  std::string const& name = nameValue->text();

  struct Clash {
    char const* type;
    char const* word;
  } const clashes[] = {{kEthernet, "ethernet"}, {kAggregate, "aggregate"}};
  for (Clash const& clash : clashes) {
    Names names;
    if (!fetchNames(clash.type, names)) {
      // The ethernet wording for both lists is deliberate.
      log::trace(7, "VLANInterfaceValidator::Valid: could not fetch list of ethernet interfaces");
      return verdict.reject(kExecutionError);
    }
    if (contains(names, name)) {
      log::trace(7,
                 "VLANInterfaceValidator::Valid: requested name is duplicate of existing %s "
                 "interface name",
                 clash.word);
      return verdict.reject(kNotUnique);
    }
  }

  SimpleValue const* sub = simpleMember(object, "sub-interface");
  SimpleValue const* id = simpleMember(object, "vlan-identifier");
  if (sub == nullptr) {
    log::trace(7, "Unable to obtain sub-interface property in VLANInterfaceValidator::Valid");
    return verdict.reject(kExecutionError);
  }
  if (id == nullptr) {
    log::trace(7, "Unable to obtain vlan identifier property in VLANInterfaceValidator::Valid");
    return verdict.reject(kExecutionError);
  }
  std::string message = checkMTU(object, "VLANInterfaceValidator", name);
  if (!message.empty()) return verdict.reject(message);

  Names vlans;
  if (!fetchNames(kVlan, vlans)) {
    log::trace(7, "VLANInterfaceValidator::Valid: could not fetch list of vlan interfaces");
    return verdict.reject(kExecutionError);
  }
  for (std::string const& vlan : vlans) {
    if (vlan == name) continue;
    std::unique_ptr<Value> other;
    if (!fetchObject(kVlan, vlan, other)) {
      log::trace(7,
                 "Unable to obtain config for vlan interface '%s' in "
                 "VLANInterfaceValidator::Valid",
                 vlan.c_str());
      return verdict.reject(kExecutionError);
    }
    SimpleValue const* otherSub = simpleMember(asStruct(other), "sub-interface");
    if (otherSub == nullptr) {
      log::trace(7,
                 "Unable to obtain sub-interface property for vlan interface '%s' in "
                 "VLANInterfaceValidator::Valid",
                 vlan.c_str());
      return verdict.reject(kExecutionError);
    }
    SimpleValue const* otherId = simpleMember(asStruct(other), "vlan-identifier");
    if (otherId == nullptr) {
      log::trace(7,
                 "Unable to obtain vlan-identifier property for vlan interface '%s' in "
                 "VLANInterfaceValidator::Valid",
                 vlan.c_str());
      return verdict.reject(kExecutionError);
    }
    // Compared as text: "10" and "010" differ.
    if (otherSub->text() == sub->text() && otherId->text() == id->text()) {
      log::trace(7,
                 "VLAN Interface '%s' has conflict with proposed config; same sub-interface "
                 "and vlan identifier - in VLANInterfaceValidator::Valid",
                 name.c_str());
      return verdict.reject(
          network::expand("@network_validation_vlan_duplicate", {name, sub->text(), id->text()}));
    }
  }

  StructValue const* ip = structMember(object, "ip");
  if (ip == nullptr) {
    log::trace(7,
               "Unable to obtain ip properties for vlan interface '%s' in "
               "VLANInterfaceValidator::Valid",
               name.c_str());
    return verdict.reject(kExecutionError);
  }
  message = checkAddresses(ip, name);
  return message.empty() ? verdict.accept() : verdict.reject(message);
}

bool AggregateInterfaceValidator::Valid(Value const* value) const {
  Verdict verdict(mMessage);
  SimpleValue const* nameValue = nullptr;
  StructValue const* object = objectWithName(value, "AggregateInterfaceValidator", nameValue);
  if (object == nullptr) return verdict.reject(kExecutionError);
  std::string const& name = nameValue->text();

  struct Clash {
    char const* type;
    char const* word;
  } const clashes[] = {{kEthernet, "ethernet"}, {kVlan, "vlan"}};
  for (Clash const& clash : clashes) {
    Names names;
    if (!fetchNames(clash.type, names)) {
      log::trace(7, "AggregateInterfaceValidator::Valid: could not fetch list of %s interfaces",
                 clash.word);
      return verdict.reject(kExecutionError);
    }
    if (contains(names, name)) {
      log::trace(7,
                 "AggregateInterfaceValidator::Valid: requested name is duplicate of "
                 "existing %s interface name",
                 clash.word);
      return verdict.reject(kNotUnique);
    }
  }

  ArrayValue const* members = arrayMember(object, "member");
  if (SimpleValue const* policy = simpleMember(object, "aggregation-policy")) {
    if (policy->text() == "lacp") {
      if (simpleMember(object, "lacp-selection-logic") == nullptr) {
        log::trace(7,
                   "LACP policy selected but no 'selection-logic' specified in "
                   "AggregateInterfaceValidator::Valid");
        return verdict.reject("@network_validation_lacp_selection_logic_not_specified");
      }
      if (simpleMember(object, "transmit-hash-policy") == nullptr) {
        log::trace(7,
                   "LACP policy selected but no 'transmit-hash-policy' specified in "
                   "AggregateInterfaceValidator::Valid");
        return verdict.reject("@network_validation_lacp_transmit_hash_policy_not_specified");
      }
    } else if (policy->text() == "active-backup") {
      SimpleValue const* primary = simpleMember(object, "primary-member");
      if (primary == nullptr) {
        log::trace(7,
                   "Primary member not specified but active-backup policy specified in "
                   "AggregateInterfaceValidator::Valid");
        return verdict.reject("@network_validation_primary_member_not_specified");
      }
      // A missing "member" list reads as empty here; the schema keeps it present.
      if (!contains(members, primary->text())) {
        log::trace(7,
                   "Primary member specified but not found in member list in "
                   "AggregateInterfaceValidator::Valid");
        return verdict.reject(network::expand(
            "@network_validation_primary_member_not_in_member_list", {primary->text()}));
      }
    }
  }
  std::string message = checkMTU(object, "AggregateInterfaceValidator", name);
  if (!message.empty()) return verdict.reject(message);
  if (members == nullptr) {
    log::trace(7, "Unable to obtain member list in AggregateInterfaceValidator::Valid");
    return verdict.reject(kExecutionError);
  }

  // An ethernet interface belongs to at most one aggregate.
  Names aggregates;
  if (!fetchNames(kAggregate, aggregates)) {
    log::trace(7,
               "AggregateInterfaceValidator::Valid: could not fetch list of aggregate "
               "interfaces");
    return verdict.reject(kExecutionError);
  }
  for (std::string const& aggregate : aggregates) {
    if (aggregate == name) continue;
    std::unique_ptr<Value> other;
    if (!fetchObject(kAggregate, aggregate, other)) {
      log::trace(7,
                 "Unable to obtain config for aggregate interface '%s' in "
                 "AggregateInterfaceValidator::Valid",
                 aggregate.c_str());
      return verdict.reject(kExecutionError);
    }
    ArrayValue const* otherMembers = arrayMember(asStruct(other), "member");
    if (otherMembers == nullptr) {
      log::trace(7,
                 "Unable to obtain member list for interface '%s' in "
                 "AggregateInterfaceValidator::Valid",
                 aggregate.c_str());
      return verdict.reject(kExecutionError);
    }
    for (Value const* element : members->elements()) {
      auto const* member = dynamic_cast<SimpleValue const*>(element);
      if (member == nullptr || !contains(otherMembers, member->text())) continue;
      log::trace(7,
                 "AggregateInterfaceValidator::Valid: aggregate interface named '%s' has "
                 "ethernet interface '%s' as member; failing validation",
                 aggregate.c_str(), member->text().c_str());
      return verdict.reject(
          network::expand("@network_validation_member_already_in_aggregate_interface",
                          {member->text(), aggregate}));
    }
  }

  StructValue const* ip = structMember(object, "ip");
  if (ip == nullptr) {
    log::trace(7,
               "Unable to obtain ip properties for aggregate interface '%s' in "
               "AggregateInterfaceValidator::Valid",
               name.c_str());
    return verdict.reject(kExecutionError);
  }
  message = checkAddresses(ip, name);
  return message.empty() ? verdict.accept() : verdict.reject(message);
}

bool VLANSubInterfaceNameValidator::Valid(Value const* value) const {
  Verdict verdict(mMessage);
  auto const* simple = dynamic_cast<SimpleValue const*>(value);
  if (simple == nullptr) {
    log::trace(7, "Unable to dynamic_cast in VLANSubInterfaceNameValidator::Valid");
    return verdict.reject(kExecutionError);
  }
  std::string const& name = simple->text();
  Names ethernets, aggregates;
  if (!fetchNames(kEthernet, ethernets)) {
    log::trace(7,
               "VLANSubInterfaceNameValidator::Valid: could not fetch list of ethernet "
               "interfaces");
    return verdict.reject(kExecutionError);
  }
  // Tolerated on purpose, like the ethernet validator's aggregate list.
  if (!fetchNames(kAggregate, aggregates)) {
    log::trace(7,
               "VLANSubInterfaceNameValidator::Valid: could not fetch list of aggregate "
               "interfaces");
  }
  if (!contains(ethernets, name) && !contains(aggregates, name)) {
    log::trace(7,
               "VLANSubInterfaceNameValidator::Valid: ethernet or aggregate interface named "
               "'%s' does not exist",
               name.c_str());
    return verdict.reject(
        network::expand("@network_validation_cannot_locate_specified_subinterface", {name}));
  }
  // A VLAN rides on an aggregate or a free ethernet interface, never on an aggregate's member.
  for (std::string const& aggregate : aggregates) {
    std::unique_ptr<Value> other;
    if (!fetchObject(kAggregate, aggregate, other)) {
      log::trace(7,
                 "Unable to obtain config for aggregate interface '%s' in "
                 "VLANSubInterfaceNameValidator::Valid",
                 aggregate.c_str());
      return verdict.reject(kExecutionError);
    }
    if (contains(arrayMember(asStruct(other), "member"), name)) {
      log::trace(7,
                 "VLANSubInterfaceNameValidator::Valid: aggregate interface named '%s' has "
                 "ethernet interface '%s' as member; failing validation",
                 aggregate.c_str(), name.c_str());
      return verdict.reject(network::expand(
          "@network_validation_sub_interface_already_in_aggregate_interface", {name, aggregate}));
    }
  }
  return verdict.accept();
}

bool EthernetInterfaceNameValidator::Valid(Value const* value) const {
  Verdict verdict(mMessage);
  auto const* simple = dynamic_cast<SimpleValue const*>(value);
  if (simple == nullptr) {
    log::trace(7, "Unable to dynamic_cast in EthernetInterfaceNameValidator::Valid");
    return verdict.reject(kExecutionError);
  }
  std::string const& name = simple->text();
  std::unique_ptr<Value> ethernet;
  if (!fetchObject(kEthernet, name, ethernet)) {
    log::trace(7, "EthernetInterfaceNameValidator::Valid: interface %s does not exist",
               name.c_str());
    return verdict.reject(network::expand("@network_validation_interface_not_found", {name}));
  }
  SimpleValue const* admin = simpleMember(asStruct(ethernet), "AdminState");
  if (admin == nullptr) {
    log::trace(7,
               "Unable to obtain AdminState property for ethernet interface '%s' in "
               "EthernetInterfaceNameValidator::Valid",
               name.c_str());
    return verdict.reject(kExecutionError);
  }
  // Case-sensitive on purpose, unlike the two spellings of enabled.
  if (admin->text() != "Disabled") {
    log::trace(7,
               "AdminState of member ethernet interface '%s' is not disabled in "
               "EthernetInterfaceNameValidator::Valid",
               name.c_str());
    return verdict.reject(
        network::expand("@network_validation_member_not_admin_state_disabled", {name}));
  }
  return verdict.accept();
}

}  // namespace validator
}  // namespace config
}  // namespace corvane
