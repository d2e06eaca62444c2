// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Simulated configuration manager: objects by domain, type and name as flat value lists,
// interface objects judged by the library's own validators, admin and operational states,
// and the machine settings (time zone, date, locale, host names, node name).

#include <sys/stat.h>

#include <cstdio>
#include <ctime>
#include <memory>
#include <set>

#include <corvane/idl/configManager.h>

#include "base_handler.h"
#include "corvane/config_value.h"
#include "corvane/interface_validators.h"
#include "sim.h"

namespace corvane {
namespace sim {

namespace {

using config::ArrayValue;
using config::SimpleValue;
using config::StructValue;
using config::Value;
using ValueList = std::vector<j2t::j2tValue>;

// Result codes of the configuration manager.
enum : int32_t { kOK = 0, kInvalidObjectName = 4, kObjectNotFound = 5, kObjectExists = 6 };

char const kDomain[] = "default";
char const kEthernet[] = "ethernet-interface";
char const kVlan[] = "vlan-interface";
char const kAggregate[] = "aggregate-interface";
char const kLocaleFile[] = "/etc/corvane/locale.xml";
int const kSeededInterfaces = 4;

void member(StructValue& s, char const* name, char const* text) {
  s.insert(name, new SimpleValue(text));
}

// eth0 enabled with an address, eth1..eth3 disabled and unaddressed: free for aggregates.
ValueList seededInterface(int index) {
  std::string name = "eth" + std::to_string(index);
  StructValue object;
  member(object, "name", name.c_str());
  member(object, "userdata", "");
  member(object, "AdminState", index == 0 ? "Enabled" : "Disabled");
  member(object, "mtu", "1500");
  member(object, "use-arp", "true");
  member(object, "mode", "Auto");
  auto* ip = new StructValue;
  auto* addresses = new ArrayValue;
  if (index == 0) addresses->append(new SimpleValue("192.168.1.10/24"));
  ip->insert("address", addresses);
  member(*ip, "use-dhcp", "false");
  member(*ip, "use-slaac", "false");
  member(*ip, "dad-transmits", "1");
  member(*ip, "dad-retransmit-timer", "1000");
  object.insert("ip", ip);
  ValueList list;
  object.asThrift(list, name.c_str());
  return list;
}

bool isSeeded(std::string const& type, std::string const& name) {
  if (type != kEthernet || name.size() != 4 || name.compare(0, 3, "eth") != 0) return false;
  return name[3] >= '0' && name[3] < '0' + kSeededInterfaces;
}

configManager::ValidationException refusal(config::validator::Base const& validator) {
  configManager::ValidationException e;
  e.errorString = validator.message();
  std::string const* field = validator.property("name");
  e.errorField = field != nullptr ? *field : std::string();
  return e;
}

// Runs the interface validators over `list` for `type`; throws the manager's
// ValidationException with the refusing validator's field and message. Other types pass.
void validate(std::string const& type, ValueList const& list) {
  namespace v = config::validator;
  std::unique_ptr<Value> value(Value::parseThrift(list));
  auto const* object = dynamic_cast<StructValue const*>(value.get());
  if (type == kEthernet) {
    v::EthernetInterfaceValidator whole(kEthernet);
    if (!whole.Valid(value.get())) throw refusal(whole);
  } else if (type == kVlan) {
    v::VLANSubInterfaceNameValidator sub("sub-interface");
    if (object != nullptr && !sub.Valid(object->find("sub-interface"))) throw refusal(sub);
    v::VLANInterfaceValidator whole(kVlan);
    if (!whole.Valid(value.get())) throw refusal(whole);
  } else if (type == kAggregate) {
    v::EthernetInterfaceNameValidator memberCheck("member");
    auto const* members =
        object != nullptr ? dynamic_cast<ArrayValue const*>(object->find("member")) : nullptr;
    if (members != nullptr) {
      for (Value const* m : members->elements()) {
        if (!memberCheck.Valid(m)) throw refusal(memberCheck);
      }
    }
    v::AggregateInterfaceValidator whole(kAggregate);
    if (!whole.Valid(value.get())) throw refusal(whole);
  }
}

class ConfigHandler : public BaseHandler<configManager::configManagerIf> {
 public:
  explicit ConfigHandler(Sim& sim) : BaseHandler(sim, "configmgr") {
    seed();
    mSim.onReboot([this] {
      mSim.config.clear();
      seed();
      std::lock_guard<std::mutex> lock(mMutex);
      mTimezone = "Etc/UTC";
      mNodename.clear();
      mHosts.clear();
    });
  }

  bool setTimezone(std::string const& zone) override {
    struct stat info;
    std::string path = "/usr/share/zoneinfo/" + zone;
    if (zone.empty() || zone.find("..") != std::string::npos || stat(path.c_str(), &info) != 0 ||
        !S_ISREG(info.st_mode)) {
      event("setTimezone refused: " + zone);
      return false;
    }
    std::lock_guard<std::mutex> lock(mMutex);
    mTimezone = zone;
    event("time zone " + zone);
    return true;
  }

  // The simulator keeps the machine clock: the new date is recorded, not set.
  int32_t setDateTime(int32_t datetime) override {
    event("date set to " + std::to_string(datetime) + " (offset " +
          std::to_string(static_cast<long>(datetime) - static_cast<long>(time(nullptr))) + " s)");
    return 0;
  }

  bool setLocale(std::string const& language, std::string const& country) override {
    if (language.empty() || language.find_first_of("<>&/") != std::string::npos ||
        country.find_first_of("<>&/") != std::string::npos) {
      return false;
    }
    std::string temp = std::string(kLocaleFile) + ".new";
    FILE* file = fopen(temp.c_str(), "we");
    if (file == nullptr) return false;
    bool written = fprintf(file,
                           "<?xml version=\"1.0\"?>\n<locale>\n  <language>%s</language>\n"
                           "  <country>%s</country>\n</locale>\n",
                           language.c_str(), country.c_str()) > 0;
    written = fclose(file) == 0 && written;
    if (!written || rename(temp.c_str(), kLocaleFile) != 0) {
      remove(temp.c_str());
      return false;
    }
    event("locale " + language + "_" + country);
    return true;
  }

  bool setHostnames(std::string const& ipAddr, std::vector<std::string> const& names) override {
    if (ipAddr.empty()) return false;
    std::lock_guard<std::mutex> lock(mMutex);
    mHosts[ipAddr] = names;
    return true;
  }
  bool deleteHostnames(std::string const& ipAddr) override {
    std::lock_guard<std::mutex> lock(mMutex);
    return mHosts.erase(ipAddr) != 0;
  }
  void getHostnames(std::vector<std::string>& result, std::string const& ipAddr) override {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mHosts.find(ipAddr);
    if (it != mHosts.end()) result = it->second;
  }
  void getAddresses(std::vector<std::string>& result) override {
    std::lock_guard<std::mutex> lock(mMutex);
    for (auto const& entry : mHosts) result.push_back(entry.first);
  }
  int32_t initNodename() override {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mNodename.empty()) mNodename = "corvane-sim";
    return 0;
  }
  int32_t setNodename(std::string const& name) override {
    if (name.empty()) return 1;
    std::lock_guard<std::mutex> lock(mMutex);
    mNodename = name;
    event("node name " + name);
    return 0;
  }
  bool collectPD(std::string const& file) override {
    event("problem data collection into " + file);
    return true;
  }
  bool isInitialConfigComplete() override { return true; }

  // Interface objects are judged whether or not validation is forced: a program must not be
  // able to store what the appliance would refuse.
  int32_t createObject(std::string const& domain, std::string const& type, std::string const& name,
                       ValueList const& value, int32_t state, bool) override {
    if (name.empty()) return kInvalidObjectName;
    if (mSim.config.has({domain, type, name})) return kObjectExists;
    validate(type, value);
    ConfigStore::Object object;
    object.value = value;
    object.admin = state;
    object.op = state == 1 ? 0 : 1;
    mSim.config.put({domain, type, name}, object);
    event("created " + domain + "/" + type + "/" + name);
    return kOK;
  }

  void queryObject(configManager::RtcValue& result, std::string const& domain,
                   std::string const& type, std::string const& name) override {
    ConfigStore::Object object;
    if (!mSim.config.get({domain, type, name}, object)) {
      result.code = kObjectNotFound;
      return;
    }
    result.values = object.value;
    result.code = kOK;
  }

  int32_t resetObject(std::string const& domain, std::string const& type,
                      std::string const& name) override {
    ConfigStore::Object object;
    if (!mSim.config.get({domain, type, name}, object)) return kObjectNotFound;
    if (isSeeded(type, name) && domain == kDomain) {
      object.value = seededInterface(name[3] - '0');
    } else {
      // Defaults are unknown for other objects: only the name survives.
      StructValue bare;
      member(bare, "name", name.c_str());
      object.value.clear();
      bare.asThrift(object.value, name.c_str());
    }
    mSim.config.put({domain, type, name}, object);
    event("reset " + domain + "/" + type + "/" + name);
    return kOK;
  }

  int32_t updateObject(std::string const& domain, std::string const& type, std::string const& name,
                       ValueList const& value, bool) override {
    ConfigStore::Object object;
    if (!mSim.config.get({domain, type, name}, object)) return kObjectNotFound;
    validate(type, value);
    object.value = value;
    mSim.config.put({domain, type, name}, object);
    event("updated " + domain + "/" + type + "/" + name);
    return kOK;
  }

  int32_t deleteObject(std::string const& domain, std::string const& type,
                       std::string const& name) override {
    if (!mSim.config.erase({domain, type, name})) return kObjectNotFound;
    event("deleted " + domain + "/" + type + "/" + name);
    return kOK;
  }

  int32_t validateObject(std::string const& type, ValueList const& value) override {
    validate(type, value);
    return kOK;
  }

  void getObjectTypes(std::vector<std::string>& result) override {
    result = {kAggregate, kEthernet, kVlan};
  }

  void getNamesofObject(configManager::RtcObjectName& result, std::string const& domain,
                        std::string const& type) override {
    result.objectNames = mSim.config.names(domain, type);
    result.code = kOK;
  }

  int32_t setAdminState(std::string const& domain, std::string const& type, std::string const& name,
                        int32_t state) override {
    ConfigStore::Object object;
    if (!mSim.config.get({domain, type, name}, object)) return kObjectNotFound;
    object.admin = state;
    object.op = state == 1 ? 0 : 1;
    mSim.config.put({domain, type, name}, object);
    return kOK;
  }
  void getAdminState(configManager::RtcAdminState& result, std::string const& domain,
                     std::string const& type, std::string const& name) override {
    ConfigStore::Object object;
    result.code = mSim.config.get({domain, type, name}, object) ? kOK : kObjectNotFound;
    result.state = object.admin;
  }
  int32_t setOpState(std::string const& domain, std::string const& type, std::string const& name,
                     int32_t state) override {
    ConfigStore::Object object;
    if (!mSim.config.get({domain, type, name}, object)) return kObjectNotFound;
    object.op = state;
    mSim.config.put({domain, type, name}, object);
    return kOK;
  }
  void getOpState(configManager::RtcOpState& result, std::string const& domain,
                  std::string const& type, std::string const& name) override {
    ConfigStore::Object object;
    result.code = mSim.config.get({domain, type, name}, object) ? kOK : kObjectNotFound;
    result.state = object.op;
  }
  void sendInitOpState() override { event("initial operational states sent"); }

 private:
  void seed() {
    for (int i = 0; i < kSeededInterfaces; ++i) {
      ConfigStore::Object object;
      object.value = seededInterface(i);
      object.admin = i == 0 ? 1 : 0;
      object.op = i == 0 ? 0 : 1;
      mSim.config.put({kDomain, kEthernet, "eth" + std::to_string(i)}, object);
    }
  }

  std::mutex mMutex;
  std::string mTimezone = "Etc/UTC";
  std::string mNodename;
  std::map<std::string, std::vector<std::string>> mHosts;
};

}  // namespace

std::shared_ptr<apache::thrift::TProcessor> makeConfigManager(Sim& sim) {
  return std::make_shared<configManager::configManagerProcessor>(
      std::make_shared<ConfigHandler>(sim));
}

}  // namespace sim
}  // namespace corvane
