// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Simulated network, process, user, firmware and status managers, the log receiver and the
// syslog sink.

#include <crypt.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <set>

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

#include <corvane/idl/FirmwareManager.h>
#include <corvane/idl/StatusManager.h>
#include <corvane/idl/callbackManager.h>
#include <corvane/idl/logReceiver.h>
#include <corvane/idl/networkManager.h>
#include <corvane/idl/processManager.h>
#include <corvane/idl/userManager.h>

#include "base_handler.h"
#include "corvane/appliance_utils.h"
#include "corvane/client.h"
#include "corvane/config_value.h"
#include "corvane/user_store.h"
#include "sim.h"

namespace corvane {
namespace sim {

namespace {

using config::ArrayValue;
using config::SimpleValue;
using config::StructValue;
using config::Value;

std::string joined(std::vector<std::string> const& words) {
  std::string text;
  for (auto const& w : words) text += (text.empty() ? "" : " ") + ("\"" + w + "\"");
  return text;
}

// --- Network manager ------------------------------------------------------------------
class NetworkHandler : public BaseHandler<networkManager::networkManagerIf> {
 public:
  explicit NetworkHandler(Sim& sim) : BaseHandler(sim, "networkmgr") {
    mSim.onReboot([this] {
      std::lock_guard<std::mutex> lock(mMutex);
      mVIPs.clear();
      mCaptures.clear();
    });
  }

  void ConfigChange(std::string const& receiver, int32_t operation, std::string const& domain,
                    std::string const& type, std::string const& name,
                    std::vector<j2t::j2tValue> const&) override {
    event("ConfigChange for " + receiver + ": operation " + std::to_string(operation) + " on " +
          domain + "/" + type + "/" + name);
  }
  void OpStateChange(std::string const&, std::string const& domain, std::string const& type,
                     std::string const& name, std::string const&, int32_t state,
                     std::vector<j2t::j2tValue> const&) override {
    event("OpStateChange " + domain + "/" + type + "/" + name + " " + std::to_string(state));
  }
  void AdminStateChange(std::string const&, std::string const& domain, std::string const& type,
                        std::string const& name, int32_t state) override {
    event("AdminStateChange " + domain + "/" + type + "/" + name + " " + std::to_string(state));
  }

  void getInterfaceStatus(networkManager::NetifStatus& r, std::string const& name) override {
    status(r, "ethernet-interface", name);
  }
  void getAggregateStatus(networkManager::NetifStatus& r, std::string const& name) override {
    status(r, "aggregate-interface", name);
  }
  void getVLANStatus(networkManager::NetifStatus& r, std::string const& name) override {
    status(r, "vlan-interface", name);
  }
  bool isNetServiceReady() override { return true; }
  // Application and kernel names coincide on the simulated appliance.
  void getAppInterfaceName(std::string& r, std::string const& kernel) override {
    if (mSim.config.has({"default", "ethernet-interface", kernel})) r = kernel;
  }
  void getKernelInterfaceName(std::string& r, std::string const& app) override {
    if (mSim.config.has({"default", "ethernet-interface", app})) r = app;
  }
  void dumpInterfaceNameMap(std::map<std::string, std::string>& r) override {
    for (auto const& name : mSim.config.names("default", "ethernet-interface")) r[name] = name;
  }

  int32_t addVIPToInterface(std::string const& iface, std::string const& vip) override {
    return changeVIP(iface, vip, true);
  }
  int32_t removeVIPFromInterface(std::string const& iface, std::string const& vip) override {
    return changeVIP(iface, vip, false);
  }
  int32_t addVIPToLoopback(std::string const& vip) override { return changeVIP("lo", vip, true); }
  int32_t removeVIPFromLoopback(std::string const& vip) override {
    return changeVIP("lo", vip, false);
  }
  int32_t setHWAddressImmediate(std::string const& iface, std::string const& mac) override {
    event("hardware address of " + iface + " set to " + mac);
    return 0;
  }
  int32_t resetHWAddressImmediate(std::string const& iface) override {
    event("hardware address of " + iface + " reset");
    return 0;
  }

  // Every test passes; the answer names the test and its parameters.
  void NetTest(networkManager::NetTestResult& r, int32_t type,
               std::vector<std::string> const& params) override {
    r.ok = true;
    r.errcode = 0;
    r.message = "test " + std::to_string(type) + " " + joined(params) + ": ok";
    event("NetTest " + std::to_string(type) + " " + joined(params));
  }

  int32_t startPacketCapture(std::string const& iface, std::string const& filter,
                             std::string const& file, int32_t, int32_t, int32_t fileNum,
                             int32_t) override {
    std::lock_guard<std::mutex> lock(mMutex);
    auto& info = mCaptures[iface];
    info.mIntName = iface;
    info.mState = 1;
    info.mFileNames.clear();
    for (int i = 0; i < std::max(1, fileNum); ++i) {
      info.mFileNames.push_back(file + (i == 0 ? "" : std::to_string(i)));
    }
    event("capture on " + iface + " filter \"" + filter + "\" into " + file);
    return 0;
  }
  bool stopPacketCapture(std::string const& iface) override {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mCaptures.find(iface);
    if (it == mCaptures.end()) return false;
    it->second.mState = 0;
    return true;
  }
  bool removeCapture(std::string const& iface) override {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCaptures.erase(iface) != 0;
  }
  void getCaptureInfo(networkManager::captureInfo& r, std::string const& iface) override {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mCaptures.find(iface);
    if (it != mCaptures.end()) r = it->second;
  }
  void getAllCapturedInterfaces(std::vector<std::string>& r) override {
    std::lock_guard<std::mutex> lock(mMutex);
    for (auto const& entry : mCaptures) r.push_back(entry.first);
  }
  void dhcpEvent(std::string const& type, std::string const& iface, std::string const& address,
                 std::string const& route, std::vector<std::string> const& dns,
                 std::string const& search) override {
    event("DHCP " + type + " on " + iface + " address " + address + " route " + route +
          " name servers " + joined(dns) + " search \"" + search + "\"");
  }

 private:
  // The status of a configuration object: enabled from its admin state, linked while
  // enabled, one map with its main settings.
  void status(networkManager::NetifStatus& r, char const* type, std::string const& name) {
    ConfigStore::Object object;
    if (!mSim.config.get({"default", type, name}, object)) return;
    std::unique_ptr<Value> value(Value::parseThrift(object.value));
    auto const* s = dynamic_cast<StructValue const*>(value.get());
    r.success = true;
    r.enabled = object.admin == 1;
    if (s != nullptr) {
      auto const* admin = dynamic_cast<SimpleValue const*>(s->find("AdminState"));
      if (admin != nullptr) r.enabled = admin->text() == "Enabled" || admin->text() == "enabled";
    }
    r.linked = r.enabled;
    std::map<std::string, std::string> entry{{"name", name}, {"state", r.linked ? "up" : "down"}};
    if (s != nullptr) {
      for (auto const& m : s->members()) {
        if (auto const* simple = dynamic_cast<SimpleValue const*>(m.second)) {
          entry[m.first] = simple->text();
        }
      }
      auto const* ip = dynamic_cast<StructValue const*>(s->find("ip"));
      auto const* addresses =
          ip != nullptr ? dynamic_cast<ArrayValue const*>(ip->find("address")) : nullptr;
      std::string list;
      for (Value const* a : addresses != nullptr ? addresses->elements() : std::vector<Value*>()) {
        if (auto const* simple = dynamic_cast<SimpleValue const*>(a)) {
          list += (list.empty() ? "" : ",") + simple->text();
        }
      }
      entry["address"] = list;
    }
    r.status.push_back(entry);
  }

  int32_t changeVIP(std::string const& iface, std::string const& vip, bool add) {
    std::lock_guard<std::mutex> lock(mMutex);
    auto& set = mVIPs[iface];
    bool changed = add ? set.insert(vip).second : set.erase(vip) != 0;
    event(std::string(add ? "add " : "remove ") + "virtual address " + vip + " on " + iface);
    return changed ? 0 : 1;
  }

  std::mutex mMutex;
  std::map<std::string, std::set<std::string>> mVIPs;
  std::map<std::string, networkManager::captureInfo> mCaptures;
};

// --- Process manager ------------------------------------------------------------------
class ProcessHandler : public BaseHandler<processManager::processManagerIf> {
 public:
  explicit ProcessHandler(Sim& sim) : BaseHandler(sim, "processmgr") {
    mSim.onReboot([this] {
      std::lock_guard<std::mutex> lock(mMutex);
      mProcesses.clear();
      mUnhealthy.clear();
      mLevel = "info";
    });
  }

  int32_t requestReboot() override { return recorded("reboot requested", 0); }
  void reboot() override { event("reboot"); }
  int32_t requestShutdown() override { return recorded("shutdown requested", 0); }
  void halt() override { event("halt"); }
  bool refreshProcess(std::string const& name) override {
    return recorded("refresh " + name, known(name));
  }
  bool restartProcess(std::string const& name) override {
    std::lock_guard<std::mutex> lock(mMutex);
    mUnhealthy.erase(name);
    event("restart " + name);
    return mProcesses.count(name) != 0;
  }
  bool registerProcess(std::string const& name, std::string const& path,
                       std::vector<std::string> const& params,
                       std::vector<std::string> const& deps) override {
    if (name.empty() || path.empty()) return false;
    std::lock_guard<std::mutex> lock(mMutex);
    mProcesses[name] = path;
    event("register " + name + " " + path + " " + joined(params) + " after " + joined(deps));
    return true;
  }
  bool deregisterProcess(std::string const& name) override {
    std::lock_guard<std::mutex> lock(mMutex);
    event("deregister " + name);
    return mProcesses.erase(name) != 0;
  }
  void noteUnhealthy(std::string const& name) override {
    std::lock_guard<std::mutex> lock(mMutex);
    int count = ++mUnhealthy[name];
    event("unhealthy " + name + " (" + std::to_string(count) + ")");
  }
  bool isUnrecoverable(std::string const& name) override {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mUnhealthy.find(name);
    return it != mUnhealthy.end() && it->second >= mSim.options.unrecoverableAfter;
  }
  bool syncNTPServer(std::string const& timeout) override {
    return recorded("NTP sync, timeout " + timeout, true);
  }
  int32_t setPlatformLogLevel(std::string const& level) override {
    static std::set<std::string> const kLevels = {"debug", "info",  "message",
                                                  "warn",  "error", "fatal"};
    if (kLevels.count(level) == 0) return 1;
    std::lock_guard<std::mutex> lock(mMutex);
    mLevel = level;
    event("platform log level " + level);
    return 0;
  }
  void getPlatformLogLevel(std::string& r) override {
    std::lock_guard<std::mutex> lock(mMutex);
    r = mLevel;
  }

 private:
  template <class T>
  T recorded(std::string const& text, T answer) {
    event(text);
    return answer;
  }
  bool known(std::string const& name) {
    std::lock_guard<std::mutex> lock(mMutex);
    return mProcesses.count(name) != 0;
  }

  std::mutex mMutex;
  std::map<std::string, std::string> mProcesses;
  std::map<std::string, int> mUnhealthy;
  std::string mLevel = "info";
};

// --- User manager: accounts in the user store ------------------------------------------
char const kUsersFile[] = "/etc/corvane/users.xml";
char const kUsersFactoryFile[] = "/etc/corvane/users.xml.orig";

using Account = std::map<std::string, std::string>;  // element name -> text, as in the store

// Passwords are kept as SHA-512 crypt hashes, flagged by "passwordencrypted"; a factory file
// may carry plain text instead. Empty when hashing fails.
std::string hashPassword(std::string const& password) {
  char salt[CRYPT_GENSALT_OUTPUT_SIZE];
  auto data = std::make_unique<crypt_data>();
  if (crypt_gensalt_rn("$6$", 0, nullptr, 0, salt, sizeof salt) == nullptr) return "";
  char const* hash = crypt_r(password.c_str(), salt, data.get());
  return hash != nullptr && hash[0] == '$' ? hash : "";
}

bool passwordMatches(Account const& account, std::string const& password) {
  auto stored = account.find("password");
  if (stored == account.end() || stored->second.empty()) return false;
  auto encrypted = account.find("passwordencrypted");
  if (encrypted == account.end() || encrypted->second != "true") return stored->second == password;
  auto data = std::make_unique<crypt_data>();
  char const* hash = crypt_r(password.c_str(), stored->second.c_str(), data.get());
  return hash != nullptr && stored->second == hash;
}

// The store writes texts unescaped: names that would break the file are refused.
bool storable(std::string const& text) { return text.find_first_of("<&") == std::string::npos; }

class UserHandler : public BaseHandler<userManager::userManagerIf> {
 public:
  explicit UserHandler(Sim& sim) : BaseHandler(sim, "usermgr") {
    seed();
    // The accounts are in the file (a reset restores it); the keys were in memory.
    mSim.onReboot([this] {
      std::lock_guard<std::mutex> lock(mMutex);
      mKeys.clear();
      seed();
    });
  }

  bool login(std::string const& type, std::string const& user, std::string const& pw) override {
    std::lock_guard<std::mutex> lock(mMutex);
    auto accounts = load();
    auto it = accounts.find(user);
    bool ok = it != accounts.end() && passwordMatches(it->second, pw);
    event("login " + type + " " + user + (ok ? " accepted" : " refused"));
    return ok;
  }
  bool changePasswd(std::string const&, std::string const& user, std::string const& pw) override {
    std::lock_guard<std::mutex> lock(mMutex);
    auto accounts = load();
    auto it = accounts.find(user);
    if (it == accounts.end() || pw.empty() || !setPassword(it->second, pw)) return false;
    if (!save(accounts, kUsersFile)) return false;
    event("password of " + user + " changed");
    return true;
  }
  int32_t addUser(std::string const& user, std::string const& pw) override {
    if (user.empty() || !storable(user)) return 1;
    std::lock_guard<std::mutex> lock(mMutex);
    int highest = 0;
    auto accounts = load(&highest);
    Account account{{"name", user},
                    {"uid", std::to_string(std::max(highest, 1000) + 1)},
                    {"home", "/"},
                    {"shell", "/bin/cli"}};
    if (accounts.count(user) != 0 || !setPassword(account, pw)) return 1;
    accounts[user] = account;
    if (!save(accounts, kUsersFile)) return 1;
    event("user " + user + " added");
    return 0;
  }
  int32_t sshKeyAdd(std::string const& user, std::string const& keyfile) override {
    std::lock_guard<std::mutex> lock(mMutex);
    if (load().count(user) == 0) return 1;
    mKeys[user] = keyfile;  // the store has no place for keys
    return 0;
  }
  int32_t sshKeyDel(std::string const& user) override {
    std::lock_guard<std::mutex> lock(mMutex);
    return mKeys.erase(user) != 0 ? 0 : 1;
  }
  int32_t deleteUser(std::string const& user) override {
    std::lock_guard<std::mutex> lock(mMutex);
    auto accounts = load();
    auto it = accounts.find(user);
    if (it == accounts.end() || it->second["nodelete"] == "true") return 1;
    accounts.erase(it);
    if (!save(accounts, kUsersFile)) return 1;
    mKeys.erase(user);
    event("user " + user + " deleted");
    return 0;
  }
  void listUsers(std::vector<std::string>& r) override {
    std::lock_guard<std::mutex> lock(mMutex);
    for (auto const& entry : load()) r.push_back(entry.first);
  }

 private:
  // The file is read afresh for every call, so that edits by others (a device reset restoring
  // the factory copy) count at once.
  static std::map<std::string, Account> load(int* highest = nullptr) {
    user::Store store;
    std::map<std::string, Account> accounts;
    if (!store.read_users(kUsersFile)) return accounts;
    for (auto const& entry : store.accounts()) accounts[entry.first] = entry.second->mValues;
    if (highest != nullptr) *highest = store.highestUid();
    return accounts;
  }

  // The store takes accounts only from a file: they are staged in its format next to `path`,
  // read back, written by the store and moved into place.
  static bool save(std::map<std::string, Account> const& accounts, char const* path) {
    std::string stage = std::string(path) + ".new";
    {
      std::ofstream out(stage, std::ios::trunc);
      out << "<users>";
      for (auto const& account : accounts) {
        out << "<user>";
        for (auto const& e : account.second)
          out << "<" << e.first << ">" << e.second << "</" << e.first << ">";
        out << "</user>";
      }
      out << "</users>";
      out.flush();
    }
    user::Store store;
    // A failed staging write leaves a file the store refuses to read.
    bool ok = store.read_users(stage.c_str()) && store.write(stage.c_str()) &&
              rename(stage.c_str(), path) == 0;
    if (!ok) unlink(stage.c_str());
    return ok;
  }

  // Seeds the file and its factory copy with the "admin" account (password "admin") when the
  // appliance has none, as a freshly installed one would.
  void seed() {
    if (access(kUsersFile, F_OK) == 0) return;
    Account admin{{"name", "admin"}, {"uid", "1000"},       {"nodelete", "true"},
                  {"home", "/"},     {"shell", "/bin/cli"}, {"description", "Administrator"}};
    setPassword(admin, "admin");
    admin["defaultpassword"] = "true";
    std::map<std::string, Account> accounts{{"admin", admin}};
    if (save(accounts, kUsersFile) && access(kUsersFactoryFile, F_OK) != 0) {
      save(accounts, kUsersFactoryFile);
    }
  }

  static bool setPassword(Account& account, std::string const& pw) {
    std::string hash = hashPassword(pw);
    if (hash.empty()) return false;
    account["password"] = hash;
    account["passwordencrypted"] = "true";
    account["defaultpassword"] = "false";
    account["passwordexpired"] = "false";
    return true;
  }

  std::mutex mMutex;
  std::map<std::string, std::string> mKeys;
};

// --- Firmware manager -----------------------------------------------------------------
std::mutex gUpgradeMutex;
std::vector<std::thread> gUpgrades;

// A connection to the caller's callback server on this machine. Such servers often listen
// on IPv4 only, which name lookups hide on a machine without a routable IPv4 address: IPv4
// loopback is connected by hand, then IPv6 loopback is tried by name.
std::shared_ptr<apache::thrift::transport::TSocket> callbackSocket(int port) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  if (fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
    return std::make_shared<apache::thrift::transport::TSocket>(fd);
  }
  if (fd >= 0) close(fd);
  auto six = std::make_shared<apache::thrift::transport::TSocket>("::1", port);
  six->setConnTimeout(2000);
  return six;
}

class FirmwareHandler : public BaseHandler<firmwareManager::FirmwareManagerIf> {
 public:
  explicit FirmwareHandler(Sim& sim) : BaseHandler(sim, "firmwaremgr") {}

  // Starts reporting progress to the caller's callback server on `port`; answers 0 at once,
  // 1 when an upgrade is already under way or the image path is empty.
  int8_t upgrade(std::string const& image, bool, bool pristine, int32_t port) override {
    if (image.empty() || mRunning.exchange(true)) return 1;
    event("upgrade from " + image + (pristine ? " (pristine)" : "") + ", progress to port " +
          std::to_string(port));
    std::lock_guard<std::mutex> lock(gUpgradeMutex);
    gUpgrades.emplace_back([this, port] { report(port); });
    return 0;
  }
  int8_t reflash(std::string const& image) override {
    event("reflash from " + image);
    return image.empty() ? 1 : 0;
  }
  bool deletePrevious() override {
    event("previous firmware deleted");
    return true;
  }
  int8_t rollback() override {
    event("rollback");
    return 0;
  }
  bool wasPreviousSuccess() override { return mSucceeded; }
  bool hasRunningUpgradeWithCallback() override { return mRunning; }
  void getComponentInfo(std::vector<firmwareManager::ComponentFirmware>& r) override {
    static char const* const kTypes[] = {"mordel", "quenby", "tarrock"};
    for (char const* type : kTypes) {
      firmwareManager::ComponentFirmware c;
      c.type = type;
      c.currentVersion = "1.0.0";
      r.push_back(c);
    }
  }

 private:
  // Sends steps 1..n of n, code 0, a pause apart; a vanished callback server ends the
  // reporting and marks the upgrade failed.
  void report(int32_t port) {
    using namespace apache::thrift;
    int steps = mSim.options.upgradeSteps;
    bool ok = true;
    for (int step = 1; step <= steps && ok && port > 0 && !mSim.stopping; ++step) {
      std::this_thread::sleep_for(std::chrono::milliseconds(mSim.options.upgradeStepMs));
      ok = false;
      std::string error;
      try {
        auto buffered = std::make_shared<transport::TBufferedTransport>(callbackSocket(port));
        callbackManager::callbackManagerClient client(
            std::make_shared<protocol::TBinaryProtocol>(buffered));
        if (!buffered->isOpen()) buffered->open();
        client.firmwareUpgradeCallback(step, steps, 0);
        buffered->close();
        ok = true;
      } catch (TException const& e) {
        error = e.what();
      }
      if (!ok) event("progress report failed: " + error);
    }
    event(ok ? "upgrade complete" : "upgrade failed");
    mSucceeded = ok;
    mRunning = false;
  }

  std::atomic<bool> mRunning{false};
  std::atomic<bool> mSucceeded{true};
};

// --- Status manager and log receiver --------------------------------------------------
class StatusHandler : public BaseHandler<statusManager::StatusManagerIf> {
 public:
  explicit StatusHandler(Sim& sim) : BaseHandler(sim, "statusmgr") {}
  void issueSensorTrap(std::string const& stamp, int32_t type, int16_t num, std::string const& name,
                       std::string const& code, int32_t dir, bool ok) override {
    event("sensor trap " + stamp + " type " + std::to_string(type) + " #" + std::to_string(num) +
          " \"" + name + "\" event " + code + " direction " + std::to_string(dir) +
          (ok ? " ok" : " failed"));
  }
  void issueLinkEventTrap(bool down, int32_t index, std::string const& admin,
                          std::string const& oper) override {
    event(std::string("link ") + (down ? "down" : "up") + " trap, ifIndex " +
          std::to_string(index) + " admin " + admin + " oper " + oper);
  }
};

class LogHandler : public logReceiverIf {
 public:
  explicit LogHandler(Sim& sim)
      : mLog("/var/log/corvane-sim-logreceiver.log", sim.options.verbose) {}
  void Log(std::string const& object, std::string const& entry,
           std::vector<std::string> const& args) override {
    mLog.write(object, entry + " " + joined(args));
  }

 private:
  EventLog mLog;
};

}  // namespace

std::shared_ptr<apache::thrift::TProcessor> makeNetworkManager(Sim& sim) {
  return std::make_shared<networkManager::networkManagerProcessor>(
      std::make_shared<NetworkHandler>(sim));
}
std::shared_ptr<apache::thrift::TProcessor> makeProcessManager(Sim& sim) {
  return std::make_shared<processManager::processManagerProcessor>(
      std::make_shared<ProcessHandler>(sim));
}
std::shared_ptr<apache::thrift::TProcessor> makeUserManager(Sim& sim) {
  return std::make_shared<userManager::userManagerProcessor>(std::make_shared<UserHandler>(sim));
}
std::shared_ptr<apache::thrift::TProcessor> makeFirmwareManager(Sim& sim) {
  return std::make_shared<firmwareManager::FirmwareManagerProcessor>(
      std::make_shared<FirmwareHandler>(sim));
}
std::shared_ptr<apache::thrift::TProcessor> makeStatusManager(Sim& sim) {
  return std::make_shared<statusManager::StatusManagerProcessor>(
      std::make_shared<StatusHandler>(sim));
}
std::shared_ptr<apache::thrift::TProcessor> makeLogReceiver(Sim& sim) {
  return std::make_shared<logReceiverProcessor>(std::make_shared<LogHandler>(sim));
}

void finishUpgrades() {
  std::vector<std::thread> threads;
  {
    std::lock_guard<std::mutex> lock(gUpgradeMutex);
    threads.swap(gUpgrades);
  }
  for (auto& t : threads) t.join();
}

// --- Syslog sink ----------------------------------------------------------------------
SyslogSink::SyslogSink(Sim& sim)
    : mSim(sim), mLog("/var/log/corvane-sim-syslog.log", sim.options.verbose) {}

SyslogSink::~SyslogSink() {
  if (mThread.joinable()) mThread.join();
  if (mSocket >= 0) close(mSocket);
}

bool SyslogSink::start() {
  int port = applianceUtils::getPortforService("syslogng", "udp");
  if (port <= 0) return false;
  mSocket = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_any;
  address.sin6_port = htons(static_cast<uint16_t>(port));
  if (mSocket < 0 || bind(mSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    mSim.events.write("syslog", "cannot bind UDP port " + std::to_string(port));
    return false;
  }
  mThread = std::thread([this] {
    char buffer[65536];
    while (!mSim.stopping) {
      pollfd p{mSocket, POLLIN, 0};
      if (poll(&p, 1, 100) <= 0) continue;
      ssize_t n = recv(mSocket, buffer, sizeof buffer, 0);
      if (n <= 0) continue;
      std::string text(buffer, static_cast<size_t>(n));
      // One readable line per datagram.
      while (!text.empty() && (text.back() == '\n' || text.back() == '\0')) text.pop_back();
      for (char& c : text) {
        if (c == '\n' || c == '\0') c = ' ';
      }
      mLog.write("syslog", text);
    }
  });
  return true;
}

}  // namespace sim
}  // namespace corvane
