// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-shell's commands: the command table, completion, and each command carried out
// through the library's utility groups and the configuration manager façade.

#include "shell.h"

#include <unicode/fmtable.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <mutex>
#include <sstream>

#include "corvane/appliance_utils.h"
#include "corvane/callback_manager.h"
#include "corvane/config_service.h"
#include "corvane/config_value.h"
#include "corvane/ethernet_interfaces.h"
#include "corvane/firmware_utils.h"
#include "corvane/msg_cat.h"
#include "corvane/net_settings.h"
#include "corvane/process_manager_utils.h"
#include "corvane/status_utils.h"
#include "corvane/user_utils.h"

namespace corvane {
namespace shell {
namespace {

char const kDomain[] = "default";
char const kEthernetType[] = "ethernet-interface";
char const kVlanType[] = "vlan-interface";
char const kAggregateType[] = "aggregate-interface";

// The interface settings a person names, and the record keys they stand for.
struct Field {
  char const* name;
  char const* key;
};
Field const kFields[] = {
    {"address", "IPAddress"},
    {"gateway", "DefaultGateway"},
    {"mtu", "MTU"},
    {"mode", "Mode"},
    {"enabled", "enabled"},
    {"ipv6-address", "IPv6Address"},
    {"ipv6-gateway", "DefaultIPv6Gateway"},
    {"description", "userdata"},
};

// Locales the message bundle has texts for.
char const* const kLocales[] = {"en_US", "de_DE"};

// Seconds to wait for the next progress report of a firmware upgrade before giving up.
int const kProgressWaitSeconds = 30;
int const kBarWidth = 30;

Words splitWords(std::string const& line) {
  Words words;
  std::istringstream in(line);
  for (std::string w; in >> w;) words.push_back(w);
  return words;
}

std::string joined(Words const& words, char const* separator) {
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) text += (i == 0 ? "" : separator) + words[i];
  return text;
}

// Owning results of the utility groups, freed as their headers say.
template <typename T>
std::unique_ptr<T> own(T* p) {
  return std::unique_ptr<T>(p);
}

// Receives the upgrade's progress on the callback server's thread.
class Progress : public FirmwareUpgradeListener {
 public:
  void firmwareUpgradeProgress(int currentStep, int totalSteps, int code) override {
    std::lock_guard<std::mutex> lock(mMutex);
    mStep = currentStep;
    mTotal = totalSteps;
    mCode = code;
    ++mReports;
    mChanged.notify_all();
  }
  // Waits for a report after the `seen`-th; false when none came in time.
  bool next(int& seen, int& step, int& total, int& code) {
    std::unique_lock<std::mutex> lock(mMutex);
    if (!mChanged.wait_for(lock, std::chrono::seconds(kProgressWaitSeconds),
                           [&] { return mReports > seen; })) {
      return false;
    }
    seen = mReports;
    step = mStep;
    total = mTotal;
    code = mCode;
    return true;
  }

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  int mStep = 0;
  int mTotal = 0;
  int mCode = 0;
  int mReports = 0;
};

}  // namespace

// --- The command table ---------------------------------------------------------------------

std::vector<Command> const& Shell::commands() {
  using A = Arg;
  // clang-format off: one command per line
  static std::vector<Command> const table = {
      {{"help"}, {}, 0, false, "", "list the commands", &Shell::help},
      {{"show", "interfaces"},
       {},
       0,
       false,
       "",
       "every interface and its state",
       &Shell::showInterfaces},
      {{"show", "interface"},
       {A::kEthernet},
       1,
       false,
       "NAME",
       "the record of one ethernet interface",
       &Shell::showInterface},
      {{"set", "interface"},
       {A::kEthernet, A::kField, A::kValue},
       2,
       false,
       "NAME FIELD VALUE",
       "change one setting (no value restores the default)",
       &Shell::setInterface},
      {{"clear", "interface"},
       {A::kEthernet},
       1,
       false,
       "NAME",
       "reset an interface to its defaults",
       &Shell::clearInterface},
      {{"create", "vlan"},
       {A::kText, A::kEthernet, A::kText},
       3,
       false,
       "NAME INTERFACE ID",
       "a VLAN on an ethernet or aggregate interface",
       &Shell::createVlan},
      {{"delete", "vlan"}, {A::kVlan}, 1, false, "NAME", "remove a VLAN", &Shell::deleteVlan},
      {{"create", "aggregate"},
       {A::kText, A::kEthernet},
       2,
       true,
       "NAME MEMBER...",
       "an aggregate of disabled ethernet interfaces",
       &Shell::createAggregate},
      {{"delete", "aggregate"},
       {A::kAggregate},
       1,
       false,
       "NAME",
       "remove an aggregate",
       &Shell::deleteAggregate},
      {{"show", "dns"}, {}, 0, false, "", "name servers and search domains", &Shell::showDns},
      {{"set", "dns"}, {A::kText}, 0, true, "SERVER...", "the name servers", &Shell::setDns},
      {{"set", "search"},
       {A::kText},
       0,
       true,
       "DOMAIN...",
       "the search domains",
       &Shell::setSearch},
      {{"show", "ntp"}, {}, 0, false, "", "the time servers", &Shell::showNtp},
      {{"set", "ntp"}, {A::kText}, 0, true, "SERVER...", "the time servers", &Shell::setNtp},
      {{"show", "hosts"}, {}, 0, false, "", "the host table", &Shell::showHosts},
      {{"set", "host"},
       {A::kHost, A::kText},
       2,
       true,
       "ADDRESS NAME...",
       "names of an address",
       &Shell::setHost},
      {{"delete", "host"},
       {A::kHost},
       1,
       false,
       "ADDRESS",
       "remove an address from the host table",
       &Shell::deleteHost},
      {{"show", "nodename"}, {}, 0, false, "", "the appliance's node name", &Shell::showNodename},
      {{"set", "nodename"},
       {A::kText},
       1,
       false,
       "NAME",
       "change the node name",
       &Shell::setNodename},
      {{"show", "health"},
       {},
       0,
       false,
       "",
       "fans, temperatures, voltages, power, RAID, CPU, memory",
       &Shell::showHealth},
      {{"show", "users"}, {}, 0, false, "", "the user accounts", &Shell::showUsers},
      {{"create", "user"},
       {A::kText},
       1,
       false,
       "NAME",
       "a new account (asks for the password)",
       &Shell::createUser},
      {{"delete", "user"}, {A::kUser}, 1, false, "NAME", "remove an account", &Shell::deleteUser},
      {{"set", "password"}, {A::kUser}, 1, false, "NAME", "change a password", &Shell::setPassword},
      {{"show", "logging"},
       {},
       0,
       false,
       "",
       "the appliance's log level and trace mask",
       &Shell::showLogging},
      {{"set", "logging"},
       {A::kLevel, A::kMask},
       1,
       false,
       "LEVEL [MASK+MASK...]",
       "log level and trace mask of every manager",
       &Shell::setLogging},
      {{"show", "locale"}, {}, 0, false, "", "the device locale", &Shell::showLocale},
      {{"set", "locale"},
       {A::kLocale},
       1,
       false,
       "LANGUAGE_COUNTRY",
       "the device locale",
       &Shell::setLocale},
      {{"upgrade", "firmware"},
       {A::kText},
       1,
       false,
       "IMAGE",
       "install a firmware image",
       &Shell::upgradeFirmware},
      {{"reset", "device"},
       {},
       0,
       false,
       "",
       "factory reset and reboot (asks first)",
       &Shell::resetDevice},
      {{"exit"}, {}, 0, false, "", "leave the shell (or Ctrl-D)", &Shell::exitShell},
  };
  // clang-format on
  return table;
}

Shell::Shell(FILE* out, bool terminal, Prompter& prompter)
    : mOut(out), mTerminal(terminal), mPrompter(prompter), mLeave(false) {}

Shell::~Shell() {
  if (callbackManagerHandler::handler != nullptr) {
    callbackManagerHandler::handler->setFirmwareUpgradeListener(nullptr);
    callbackManagerHandler::cleanup();
  }
}

void Shell::print(char const* format, ...) {
  va_list args;
  va_start(args, format);
  vfprintf(mOut, format, args);
  va_end(args);
  fflush(mOut);
}

std::string Shell::text(std::string const& id) { return getErrorString(("@" + id).c_str()); }

bool Shell::execute(std::string const& line) {
  Words words = splitWords(line);
  if (words.empty() || words[0][0] == '#') return true;
  Command const* best = nullptr;
  for (Command const& c : commands()) {
    if (words.size() >= c.words.size() &&
        std::equal(c.words.begin(), c.words.end(), words.begin()) &&
        (best == nullptr || c.words.size() > best->words.size())) {
      best = &c;
    }
  }
  if (best == nullptr) {
    print("unknown command: %s (try \"help\")\n", line.c_str());
    return true;
  }
  Words args(words.begin() + static_cast<long>(best->words.size()), words.end());
  if (args.size() < best->required || (!best->variadic && args.size() > best->args.size())) {
    print("usage: %s %s\n", joined(best->words, " ").c_str(), best->params);
    return true;
  }
  try {
    (this->*best->run)(args);
  } catch (std::exception const& e) {
    // A manager that fails in a way the library passes on: report it and carry on.
    print("error: %s\n", e.what());
  }
  return !mLeave;
}

// --- Completion ----------------------------------------------------------------------------

Words Shell::objectNames(char const* type) const {
  Words names;
  config::Service::getNamesofObject(kDomain, type, names);
  return names;
}

Words Shell::candidates(std::string const& line, std::string const& partial) const {
  Words before = splitWords(line);
  Words all;
  size_t position = before.size();
  for (Command const& c : commands()) {
    size_t fixed = std::min(position, c.words.size());
    if (!std::equal(c.words.begin(), c.words.begin() + static_cast<long>(fixed), before.begin())) {
      continue;
    }
    if (position < c.words.size()) {
      all.push_back(c.words[position]);
      continue;
    }
    size_t index = position - c.words.size();
    if (c.args.empty() || (index >= c.args.size() && !c.variadic)) continue;
    Arg kind = c.args[std::min(index, c.args.size() - 1)];
    switch (kind) {
      case Arg::kEthernet: {
        auto names = own(ethernetInterfaces::getInterfaceNames());
        if (names) all.insert(all.end(), names->begin(), names->end());
        // A VLAN may also sit on an aggregate.
        if (c.run == &Shell::createVlan) {
          Words aggregates = objectNames(kAggregateType);
          all.insert(all.end(), aggregates.begin(), aggregates.end());
        }
        break;
      }
      case Arg::kVlan: {
        Words names = objectNames(kVlanType);
        all.insert(all.end(), names.begin(), names.end());
        break;
      }
      case Arg::kAggregate: {
        Words names = objectNames(kAggregateType);
        all.insert(all.end(), names.begin(), names.end());
        break;
      }
      case Arg::kField:
        for (Field const& f : kFields) all.push_back(f.name);
        break;
      case Arg::kValue:
        if (before.back() == "mode") {
          for (int i = 0; ethernetInterfaces::validModes[i][0] != '\0'; ++i) {
            all.push_back(ethernetInterfaces::validModes[i]);
          }
        } else if (before.back() == "enabled") {
          all.insert(all.end(), {"true", "false"});
        }
        break;
      case Arg::kUser: {
        Words users;
        userUtils::listUsers(users);
        all.insert(all.end(), users.begin(), users.end());
        break;
      }
      case Arg::kLevel:
        for (int i = 0; processManagerUtils::kLevelNames[i].name[0] != '\0'; ++i) {
          all.push_back(processManagerUtils::kLevelNames[i].name);
        }
        break;
      case Arg::kMask: {
        // Names joined by "+": complete the one after the last "+".
        size_t plus = partial.rfind('+');
        std::string head = plus == std::string::npos ? "" : partial.substr(0, plus + 1);
        for (int i = 0; processManagerUtils::kMaskNames[i].name[0] != '\0'; ++i) {
          all.push_back(head + processManagerUtils::kMaskNames[i].name);
        }
        break;
      }
      case Arg::kLocale:
        all.insert(all.end(), std::begin(kLocales), std::end(kLocales));
        break;
      case Arg::kHost: {
        auto addresses = own(hostsUtils::getAddresses());
        if (addresses) all.insert(all.end(), addresses->begin(), addresses->end());
        break;
      }
      case Arg::kText:
        break;
    }
  }
  Words matching;
  for (std::string const& a : all) {
    if (a.compare(0, partial.size(), partial) == 0 &&
        std::find(matching.begin(), matching.end(), a) == matching.end()) {
      matching.push_back(a);
    }
  }
  return matching;
}

void ShellEditor::split(std::string& before, std::string& partial) const {
  before = Line().substr(0, static_cast<size_t>(Point()));
  size_t blank = before.find_last_of(" \t");
  partial = blank == std::string::npos ? before : before.substr(blank + 1);
  before.resize(before.size() - partial.size());
}

std::vector<std::string>* ShellEditor::GetCompletions() {
  std::string before, partial;
  split(before, partial);
  Words found = mShell.candidates(before, partial);
  if (found.empty()) return nullptr;
  return new std::vector<std::string>(std::move(found));
}

int ShellEditor::Complete(std::string& word) {
  std::string before, partial;
  split(before, partial);
  Words found = mShell.candidates(before, partial);
  if (found.empty()) return 0;
  // The longest extension all candidates share.
  std::string common = found[0];
  for (std::string const& f : found) {
    size_t n = 0;
    while (n < common.size() && n < f.size() && common[n] == f[n]) ++n;
    common.resize(n);
  }
  word = common.substr(std::min(partial.size(), common.size()));
  return static_cast<int>(found.size());
}

// --- Reporting -----------------------------------------------------------------------------

void Shell::reportCode(int rc) {
  if (rc >= 0 && rc < 14) {
    print("%s\n", text(config::RETURNCODE_STR[rc]).c_str());
  } else {
    print("the configuration manager answered %d\n", rc);
  }
}

void Shell::createObject(char const* type, std::string const& name, void* value) {
  try {
    int rc =
        config::Service::createObject(kDomain, type, name, static_cast<config::Value const*>(value),
                                      config::Service::kwEnabled, true);
    if (rc == config::kwOK) {
      print("%s created\n", name.c_str());
    } else {
      reportCode(rc);
    }
  } catch (config::messaging::ValidationException const& e) {
    // The manager's validators leave either expanded text or a bare catalog reference.
    print("%s\n  %s: %s\n", text("kwValidationFailed").c_str(), e.errorField.c_str(),
          getErrorString(e.errorString.c_str()).c_str());
  } catch (config::messaging::ConfigChangeException const& e) {
    std::vector<icu::Formattable> args;
    for (std::string const& p : e.parameters) args.emplace_back(p.c_str());
    std::string id = e.messageID.empty() || e.messageID[0] == '@' ? e.messageID : "@" + e.messageID;
    reportCode(e.rc);
    if (!id.empty()) {
      print("  %s\n",
            getErrorString(id.c_str(), static_cast<int>(args.size()), args.data()).c_str());
    }
  }
}

void Shell::deleteObject(char const* type, std::string const& name) {
  try {
    int rc = config::Service::deleteObject(kDomain, type, name);
    if (rc == config::kwOK) {
      print("%s deleted\n", name.c_str());
    } else {
      reportCode(rc);
    }
  } catch (config::messaging::ConfigChangeException const& e) {
    reportCode(e.rc);
  }
}

// --- Commands ------------------------------------------------------------------------------

void Shell::help(Words const&) {
  for (Command const& c : commands()) {
    std::string usage = joined(c.words, " ") + " " + c.params;
    print("  %-33s %s\n", usage.c_str(), c.help);
  }
  print("TAB completes, Escape-? lists, Ctrl-R searches the history, Ctrl-D leaves.\n");
}

void Shell::showInterfaces(Words const&) {
  std::vector<types::KeyValPair*> records;
  ethernetInterfaces::getInterfaces(records);
  if (records.empty()) {
    print("%s\n", text("kwCommError").c_str());
    return;
  }
  print("%-10s %-8s %-20s %-6s %-14s %s\n", "NAME", "ENABLED", "ADDRESS", "MTU", "MODE", "LINK");
  for (types::KeyValPair* r : records) {
    auto value = [r](char const* key) {
      char const* v = r->findValue(key);
      return v == nullptr || *v == '\0' ? "-" : v;
    };
    auto status = own(ethernetInterfaces::getInterfaceStatus(value("name")));
    char const* link = status == nullptr || !status->mSuccess ? "?"
                       : status->mLinked                      ? "up"
                                                              : "down";
    print("%-10s %-8s %-20s %-6s %-14s %s\n", value("name"), value("enabled"), value("IPAddress"),
          value("MTU"), value("Mode"), link);
  }
  ethernetInterfaces::delInterfaces(records);
  struct Kind {
    char const* type;
    char const* label;
    std::vector<InterfaceStatus*>* (*statuses)();
  } const kinds[] = {{kVlanType, "vlan", &ethernetInterfaces::getVLANStatuses},
                     {kAggregateType, "aggregate", &ethernetInterfaces::getAggregateStatuses}};
  for (Kind const& k : kinds) {
    std::vector<InterfaceStatus*>* list = k.statuses();
    if (list == nullptr) continue;
    for (InterfaceStatus const* s : *list) {
      print("%-10s %-8s %s\n", s->mName.c_str(), s->mEnabled ? "true" : "false", k.label);
    }
    ethernetInterfaces::delInterfaceStatuses(list);
  }
}

void Shell::showInterface(Words const& args) {
  std::unique_ptr<types::KeyValPair, void (*)(types::KeyValPair*)> record(
      ethernetInterfaces::getInterface(args[0]), &ethernetInterfaces::delInterface);
  if (record == nullptr) {
    print("%s: %s\n", args[0].c_str(), text("kwObjectNotFound").c_str());
    return;
  }
  for (int i = 0; ethernetInterfaces::validKeys[i][0] != '\0'; ++i) {
    char const* v = record->findValue(ethernetInterfaces::validKeys[i]);
    if (v != nullptr) print("  %-20s %s\n", ethernetInterfaces::validKeys[i], *v == '\0' ? "-" : v);
  }
}

void Shell::setInterface(Words const& args) {
  Field const* field = nullptr;
  for (Field const& f : kFields) {
    if (args[1] == f.name) field = &f;
  }
  if (field == nullptr) {
    print("unknown setting %s\n", args[1].c_str());
    return;
  }
  types::KeyValPair record{{"name", args[0]}, {field->key, args.size() > 2 ? args[2] : ""}};
  int rc = ethernetInterfaces::setInterface(record);
  if (rc == 0) {
    print("%s: %s set\n", args[0].c_str(), field->name);
  } else if (rc == -1) {
    // The record was refused or could not be stored; the reason stays with the library.
    print("%s: %s\n", args[0].c_str(), text("kwValidationFailed").c_str());
  } else {
    reportCode(rc);
  }
}

void Shell::clearInterface(Words const& args) {
  int rc = ethernetInterfaces::clearInterface(args[0]);
  if (rc == 0) {
    print("%s: defaults restored\n", args[0].c_str());
  } else {
    reportCode(rc < 0 ? static_cast<int>(config::kwApplyChangeFailed) : rc);
  }
}

namespace {

// A new interface object: simple members, no addresses, optionally one list.
config::StructValue* interfaceObject(std::vector<std::pair<char const*, std::string>> members,
                                     char const* listName, Words const& list) {
  auto* object = new config::StructValue;
  for (auto const& m : members) object->insert(m.first, new config::SimpleValue(m.second));
  auto* ip = new config::StructValue;
  ip->insert("address", new config::ArrayValue);
  object->insert("ip", ip);
  if (listName != nullptr) {
    auto* array = new config::ArrayValue;
    for (std::string const& e : list) array->append(new config::SimpleValue(e));
    object->insert(listName, array);
  }
  return object;
}

}  // namespace

void Shell::createVlan(Words const& args) {
  std::unique_ptr<config::Value> object(interfaceObject(
      {{"name", args[0]}, {"sub-interface", args[1]}, {"vlan-identifier", args[2]}}, nullptr, {}));
  createObject(kVlanType, args[0], object.get());
}

void Shell::deleteVlan(Words const& args) { deleteObject(kVlanType, args[0]); }

void Shell::createAggregate(Words const& args) {
  Words members(args.begin() + 1, args.end());
  std::unique_ptr<config::Value> object(interfaceObject({{"name", args[0]}}, "member", members));
  createObject(kAggregateType, args[0], object.get());
}

void Shell::deleteAggregate(Words const& args) { deleteObject(kAggregateType, args[0]); }

void Shell::showDns(Words const&) {
  auto servers = own(nameServers::getNameServers());
  auto domains = own(nameServers::getSearchDomains());
  if (!servers || !domains) return;
  print("name servers:   %s\n", joined(*servers, " ").c_str());
  print("search domains: %s\n", joined(*domains, " ").c_str());
}

void Shell::setDns(Words const& args) {
  int rc = nameServers::setNameServers(args);
  print(rc == 0 ? "name servers set\n" : "the hardware manager answered %d\n", rc);
}

void Shell::setSearch(Words const& args) {
  int rc = nameServers::setSearchDomains(args);
  print(rc == 0 ? "search domains set\n" : "the hardware manager answered %d\n", rc);
}

void Shell::showNtp(Words const&) {
  auto servers = own(timeServers::getTimeServers());
  if (!servers) return;
  print("time servers: %s\n", joined(*servers, " ").c_str());
}

void Shell::setNtp(Words const& args) {
  int rc = timeServers::setTimeServers(args);
  print(rc == 0 ? "time servers set\n" : "the hardware manager answered %d\n", rc);
}

void Shell::showHosts(Words const&) {
  auto addresses = own(hostsUtils::getAddresses());
  if (!addresses) return;
  for (std::string const& a : *addresses) {
    auto names = own(hostsUtils::getHostnames(a));
    if (!names) continue;
    print("%-40s %s\n", a.c_str(), joined(*names, " ").c_str());
  }
}

void Shell::setHost(Words const& args) {
  Words names(args.begin() + 1, args.end());
  print(hostsUtils::setHostnames(args[0], names) == 1 ? "%s: names set\n" : "%s: refused\n",
        args[0].c_str());
}

void Shell::deleteHost(Words const& args) {
  print(hostsUtils::deleteHostnames(args[0]) == 1 ? "%s: removed\n" : "%s: not in the table\n",
        args[0].c_str());
}

void Shell::showNodename(Words const&) { print("%s\n", nodeName::get().c_str()); }

void Shell::setNodename(Words const& args) {
  int rc = nodeName::set(args[0]);
  print(rc == 0 ? "node name set\n" : "the configuration manager answered %d\n", rc);
}

void Shell::showHealth(Words const&) {
  namespace su = statusUtils;
  auto row = [this](char const* what, std::string const& name, std::string const& reading,
                    bool ok) {
    print("%-12s %-22s %-24s %s\n", what, name.c_str(), reading.c_str(), ok ? "ok" : "ATTENTION");
  };
  print("%-12s %-22s %-24s %s\n", "COMPONENT", "NAME", "READING", "STATE");
  std::vector<su::FanStatus> fans;
  if (su::getFanStatus(fans) == 1) {
    for (auto const& f : fans) row("fan", f.mID, f.mFormatted, f.mOk);
  }
  std::vector<su::TempStatus> temps;
  if (su::getTempStatus(temps) == 1) {
    for (auto const& t : temps) row("temperature", t.mName, t.mFormatted, t.mOk);
  }
  std::vector<su::VoltStatus> volts;
  if (su::getVoltageStatus(volts) == 1) {
    for (auto const& v : volts) row("voltage", v.mName, v.mFormatted, v.mOk);
  }
  std::vector<su::PowerStatus> supplies;
  if (su::getPowerStatus(supplies) == 1) {
    for (auto const& p : supplies) row("power", p.mName, p.mFormatted, p.mOk);
  }
  std::vector<su::VolumeStatus> volumes;
  if (su::getVolumeStatus(volumes) == 1) {
    for (auto const& v : volumes) {
      std::string reading = std::to_string(v.mTotalSize) + " MB";
      if (v.mRebuildPercentage > 0 && v.mRebuildPercentage < 100) {
        reading += ", rebuild " + std::to_string(v.mRebuildPercentage) + " %";
      }
      row("raid volume", v.mName, reading, v.mOnline);
    }
  }
  std::vector<su::DiskSnapShot*> disks;
  su::getRaidPhysDiskStatus(disks);
  for (su::DiskSnapShot* d : disks) {
    std::unique_ptr<su::DiskSnapShot> disk(d);
    std::string reading = std::string(su::state2text(disk->mState)) + ", " +
                          su::role2text(disk->mRole) + ", " + su::raidpos2text(disk->mPosition);
    row("raid disk", disk->mIdentifier, reading,
        disk->mState == su::kStateOnline || disk->mState == su::kStateHotSpare);
  }
  std::vector<su::CPUUsage> cpu;
  if (su::getCPUUsage(cpu) == 1 && !cpu.empty()) {
    // The first sample is the whole machine, the others single processors.
    row("cpu", "usage", std::to_string(cpu.front().mUsage) + " % busy", cpu.front().mUsage < 90);
  }
  unsigned size = 0, free = 0;
  if (su::getMemoryUse(size, free) == 1) {
    row("memory", "in use",
        std::to_string(size - std::min(free, size)) + " of " + std::to_string(size) + " kB",
        size == 0 || free * 10 >= size);
  }
  int uptime = su::getUptime();
  char up[64];
  snprintf(up, sizeof up, "%d d %02d:%02d", uptime / 86400, uptime / 3600 % 24, uptime / 60 % 60);
  row("uptime", "since boot", up, uptime > 0);
}

void Shell::showUsers(Words const&) {
  Words users;
  if (!userUtils::listUsers(users)) {
    print("the user manager cannot be reached\n");
    return;
  }
  for (std::string const& u : users) print("  %s\n", u.c_str());
}

void Shell::createUser(Words const& args) {
  std::string password;
  if (!mPrompter.ask("password: ", true, password)) return;
  int rc = userUtils::addUser(args[0], password);
  print(rc == 0 ? "%s created\n" : "%s: the user manager answered %d\n", args[0].c_str(), rc);
}

void Shell::deleteUser(Words const& args) {
  int rc = userUtils::deleteUser(args[0]);
  print(rc == 0 ? "%s deleted\n" : "%s: the user manager answered %d\n", args[0].c_str(), rc);
}

void Shell::setPassword(Words const& args) {
  std::string password;
  if (!mPrompter.ask("new password: ", true, password)) return;
  print(userUtils::changePasswd("local", args[0], password) ? "password changed\n"
                                                            : "password refused\n");
}

void Shell::showLogging(Words const&) {
  namespace pm = processManagerUtils;
  pm::PlatformLogLevel level = pm::kLevelUnknown;
  if (pm::getPlatformLogLevel(level) == 0) {
    char const* name = pm::Level2Text(level);
    print("log level: %s\n", name == nullptr ? "unknown" : name);
  } else {
    print("log level: not set\n");
  }
  std::string mask;
  pm::Mask2Text(pm::getPlatformTraceMask(), mask);
  print("trace mask:\n%s", mask.c_str());
}

void Shell::setLogging(Words const& args) {
  namespace pm = processManagerUtils;
  pm::PlatformLogLevel level = pm::Level2Enum(args[0]);
  if (level == pm::kLevelUnknown) {
    print("unknown level %s\n", args[0].c_str());
    return;
  }
  int mask = 0;
  if (args.size() > 1) {
    std::vector<char> names(args[1].begin(), args[1].end());
    names.push_back('\0');
    char* parts[32];
    int n = pm::split(names.data(), parts, 32);
    for (int i = 0; i < n; ++i) {
      int bit = pm::Mask2Enum(parts[i]);
      if (bit == pm::kMaskUnknown) {
        print("unknown trace category %s\n", parts[i]);
        return;
      }
      mask |= bit;
    }
  }
  pm::distributeLogging(static_cast<unsigned>(level), mask);
  pm::setPlatformLogLevel(level);
  print("log level %s sent to every manager\n", pm::Level2Text(level));
}

void Shell::showLocale(Words const&) { print("%s\n", applianceUtils::getLocale().c_str()); }

void Shell::setLocale(Words const& args) {
  std::string language = args[0], country;
  size_t underscore = language.find('_');
  if (underscore != std::string::npos) {
    country = language.substr(underscore + 1);
    language.resize(underscore);
  }
  if (!applianceUtils::setLocale(language.c_str(), country.c_str())) {
    print("locale %s refused\n", args[0].c_str());
    return;
  }
  print("locale %s\n", applianceUtils::getLocale().c_str());
}

void Shell::upgradeFirmware(Words const& args) {
  callbackManagerHandler* server = callbackManagerHandler::startCallbackManager();
  if (server == nullptr) {
    print("no callback server could be started: progress cannot be followed\n");
    return;
  }
  Progress progress;
  server->setFirmwareUpgradeListener(&progress);
  struct Detach {
    callbackManagerHandler* server;
    ~Detach() { server->setFirmwareUpgradeListener(nullptr); }
  } detach{server};
  int rc = firmwareUtils::upgrade(args[0], false, false);
  if (rc != 0) {
    print(rc == -1 ? "the firmware manager cannot be reached\n"
                   : "the firmware manager refused the upgrade (%d)\n",
          rc);
    return;
  }
  int seen = 0, step = 0, total = 0, code = 0;
  while (progress.next(seen, step, total, code)) {
    int percent = total > 0 ? std::min(100, step * 100 / total) : 0;
    std::string bar(static_cast<size_t>(kBarWidth * percent / 100), '#');
    bar.resize(kBarWidth, ' ');
    // On a terminal the bar grows in place; a transcript gets one line per report.
    print(mTerminal ? "\rfirmware upgrade [%s] %3d %%" : "firmware upgrade [%s] %3d %%\n",
          bar.c_str(), percent);
    if (code != 0) {
      print("%sfirmware upgrade failed (code %d)\n", mTerminal ? "\n" : "", code);
      return;
    }
    if (total > 0 && step >= total) {
      print("%sfirmware upgrade complete\n", mTerminal ? "\n" : "");
      return;
    }
  }
  print("%sno progress report for %d s: the upgrade may still be running\n", mTerminal ? "\n" : "",
        kProgressWaitSeconds);
}

void Shell::resetDevice(Words const&) {
  std::string answer;
  if (!mPrompter.ask("Reset the appliance to its factory settings and reboot? (yes/no) ", false,
                     answer) ||
      answer != "yes") {
    print("reset cancelled\n");
    return;
  }
  std::vector<applianceUtils::resetFileError> errors;
  std::vector<std::string> messages;
  int rc = applianceUtils::deviceRESET(errors, messages);
  for (std::string const& m : messages) print("%s\n", text(m).c_str());
  if (rc == 3) print("the reboot could not be requested\n");
}

void Shell::exitShell(Words const&) { mLeave = true; }

}  // namespace shell
}  // namespace corvane
