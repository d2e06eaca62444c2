// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Time zone, date and time, NTP, machine identity and component firmware: local reads of the
// zone files and one manager call each for the rest.

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <fstream>
#include <memory>

#include <corvane/idl/FirmwareManager.h>
#include <corvane/idl/configManager.h>
#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/processManager.h>
#include "corvane/appliance_utils.h"
#include "corvane/client.h"
#include "corvane/cv_file_utility.h"
#include "corvane/utils.h"

namespace corvane {
namespace applianceUtils {

namespace {

char const kZoneDir[] = "/usr/share/zoneinfo";
// Zone names are paths with this prefix cut off by count.
size_t const kZonePrefix = sizeof "/usr/share/zoneinfo/" - 1;
char const kUnknown[] = "*UNKNOWN*";

// One call on a fresh client without time limit; the client goes on every path and the
// call's exceptions pass to the caller.
template <class T, class Call>
auto withClient(char const* service, Call&& call) {
  std::unique_ptr<T> client(getClient<T>(service, 0));
  return call(*client);
}

std::string zoneName(std::string const& path) {
  return path.size() > kZonePrefix ? path.substr(kZonePrefix) : std::string();
}

bool isZoneFile(std::string const& path) {
  char magic[4];
  std::ifstream in(path, std::ios::binary);
  return in.read(magic, sizeof magic) && std::memcmp(magic, "TZif", 4) == 0;
}

std::string machineType(size_t length) {
  HWInfo info;
  getHardwareInfo(info);
  if (info.productName.empty() || info.productName == kUnknown) return kUnknown;
  return info.isVirt ? info.productName : info.productName.substr(0, length);
}

struct TypeCode {
  char const* name;
  int code;
};
TypeCode const kComponentTypes[] = {
    {"mordel", 1}, {"quenby", 2}, {"tarrock", 3}, {"velmar", 4},  {"oskin", 5},
    {"pellum", 6}, {"drevan", 7}, {"hasket", 8},  {"lunwick", 9}, {"ferrow", 10},
};

}  // namespace

std::string getTimezone() {
  char link[256];
  ssize_t length = readlink("/etc/localtime", link, 255);
  if (length < 0) return std::string();
  return zoneName(std::string(link, static_cast<size_t>(length)));
}

bool setTimezone(std::string const& zone) {
  return withClient<configManager::configManagerClient>(
      "configmgr", [&](configManager::configManagerClient& c) { return c.setTimezone(zone); });
}

std::vector<std::string> getTimezones() {
  std::vector<std::string> zones;
  std::unique_ptr<std::vector<std::string>> subset(
      utils::readFilelist("/etc/corvane/tzsubset.xml", false));
  if (!subset) {
    recurseAndFindTZ(kZoneDir, zones);
    return zones;
  }
  for (std::string const& name : *subset) {
    if (cvFileUtility::isRegularFile(std::string(kZoneDir) + "/" + name)) zones.push_back(name);
  }
  return zones;
}

void recurseAndFindTZ(std::string const& dir, std::vector<std::string>& list) {
  std::unique_ptr<DIR, int (*)(DIR*)> handle(opendir(dir.c_str()), closedir);
  if (!handle) return;
  while (dirent* entry = readdir(handle.get())) {
    if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
    std::string path = dir + "/" + entry->d_name;
    struct stat st;
    // Linked directories are not followed (zone trees link back to themselves); linked zone
    // files count like their targets.
    if (lstat(path.c_str(), &st) != 0) continue;
    if (S_ISDIR(st.st_mode)) {
      recurseAndFindTZ(path, list);
    } else if (cvFileUtility::isRegularFile(path) && isZoneFile(path)) {
      list.push_back(zoneName(path));
    }
  }
}

std::vector<std::string> getDateTime() {
  long now = static_cast<long>(time(nullptr));
  return {utils::formatDateTime(now, 1, std::string()),
          utils::formatDateTime(now, 0, std::string())};
}

bool setDateTime(long seconds, int& rc) {
  rc = withClient<configManager::configManagerClient>(
      "configmgr", [&](configManager::configManagerClient& c) {
        return c.setDateTime(static_cast<int32_t>(seconds));
      });
  return rc == 0;
}

bool syncNTPServer(std::string const& timeout) {
  return withClient<processManager::processManagerClient>(
      "processmgr",
      [&](processManager::processManagerClient& c) { return c.syncNTPServer(timeout); });
}

void getHardwareInfo(HWInfo& info) {
  info = HWInfo();
  hardwareManager::HWInfo answer;
  withClient<hardwareManager::hardwareManagerClient>(
      "hardwaremgr", [&](hardwareManager::hardwareManagerClient& c) {
        c.getHardwareInfo(answer);
        return 0;
      });
  info.manufacturer = answer.manufacturer;
  info.productName = answer.productName;
  info.version = answer.version;
  info.serialNumber = answer.serialNumber;
  info.uuid = answer.uuid;
  info.virt = answer.virt;
  info.isVirt = answer.isVirt;
}

std::string getSerialNumber() {
  HWInfo info;
  getHardwareInfo(info);
  if (info.serialNumber.empty() || info.serialNumber == kUnknown) return "00000000";
  return info.serialNumber;
}

std::string getMachineType() { return machineType(4); }

std::string getMTM() { return machineType(7); }

void getComponentInfo(std::vector<ComponentFirmware>& list) {
  list.clear();
  std::vector<firmwareManager::ComponentFirmware> answer;
  withClient<firmwareManager::FirmwareManagerClient>(
      "firmwaremgr", [&](firmwareManager::FirmwareManagerClient& c) {
        c.getComponentInfo(answer);
        return 0;
      });
  for (auto const& component : answer) {
    for (TypeCode const& known : kComponentTypes) {
      if (component.type != known.name) continue;
      std::string const& version = component.currentVersion;
      list.push_back({known.code, version == "cannot detect" ? std::string() : version});
      break;
    }
  }
}

}  // namespace applianceUtils
}  // namespace corvane
