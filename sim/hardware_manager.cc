// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Simulated hardware manager: sensors, RAID, battery, flash and intrusion switch from a small
// scenario (built in, or a file given on the command line); CPU, memory and uptime from the
// machine's own /proc; name and time servers kept in memory.

#include <cstdio>
#include <fstream>
#include <sstream>

#include <corvane/idl/hardwareManager.h>

#include "base_handler.h"
#include "sim.h"

namespace corvane {
namespace sim {

namespace {

using namespace hardwareManager;

// Sensor reading status of a healthy sensor, as the appliance reports it.
int32_t const kReadingOk = 4;

// One line per item; see the manual page for the fields.
char const kBuiltinScenario[] =
    "hwinfo Corvane CV-1000 1.0 SIM0001 6f1d0c2e-5b7a-4c1e-9a55-000000000001\n"
    "fan FAN1 4200 1000 4\n"
    "fan FAN2 4150 1000 4\n"
    "temp CPU 48 85 95 4\n"
    "temp Board 36 70 80 4\n"
    "volt 12V 12050 11400 12600 4\n"
    "volt 5V 5010 4750 5250 4\n"
    "power PSU1 4\n"
    "power PSU2 4\n"
    "volume Volume0 476000 1 100\n"
    "partition root 20000 12000 1\n"
    "partition data 456000 400000 1\n"
    "disk Disk0 1 0 0 Slot0\n"
    "disk Disk1 1 0 1 Slot1\n"
    "battery 1 1893456000\n"
    "flash 2048 1024 1\n"
    "intrusion 0\n";

struct Scenario {
  HWInfo info;
  std::vector<FanStatus> fans;
  std::vector<TempStatus> temps;
  std::vector<VoltStatus> volts;
  std::vector<PowerStatus> power;
  std::vector<VolumeStatus> volumes;
  std::vector<DiskSnapShot> disks;
  BatteryStatus battery;
  FlashStatus flash;
  int32_t intrusion = 0;
};

// Reads the scenario; unknown or short lines are reported and skipped.
Scenario parseScenario(std::istream& in, EventLog& log) {
  Scenario s;
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    std::istringstream words(line);
    std::string kind;
    if (!(words >> kind) || kind[0] == '#') continue;
    bool ok = true;
    if (kind == "hwinfo") {
      ok = static_cast<bool>(words >> s.info.manufacturer >> s.info.productName >> s.info.version >>
                             s.info.serialNumber >> s.info.uuid);
    } else if (kind == "fan") {
      FanStatus f;
      ok = static_cast<bool>(words >> f.FanID >> f.FanSpeed >> f.LowerCriticalThreshold >>
                             f.ReadingStatus);
      f.Formatted = std::to_string(f.FanSpeed) + " RPM";
      s.fans.push_back(f);
    } else if (kind == "temp") {
      TempStatus t;
      ok = static_cast<bool>(words >> t.Name >> t.Value >> t.UpperNonCriticalThreshold >>
                             t.UpperNonRecoverableThreshold >> t.ReadingStatus);
      t.Formatted = std::to_string(t.Value) + " degrees C";
      s.temps.push_back(t);
    } else if (kind == "volt") {
      VoltStatus v;
      ok = static_cast<bool>(words >> v.Name >> v.Value >> v.LowerCriticalThreshold >>
                             v.UpperCriticalThreshold >> v.ReadingStatus);
      char text[32];
      snprintf(text, sizeof text, "%.3f Volts", v.Value / 1000.0);
      v.Formatted = text;
      s.volts.push_back(v);
    } else if (kind == "power") {
      PowerStatus p;
      ok = static_cast<bool>(words >> p.Name >> p.ReadingStatus);
      p.Formatted = p.ReadingStatus == kReadingOk ? "Presence detected" : "Failure detected";
      s.power.push_back(p);
    } else if (kind == "volume") {
      VolumeStatus v;
      ok = static_cast<bool>(words >> v.Name >> v.TotalSize >> v.Online >> v.RebuildPercentage);
      s.volumes.push_back(v);
    } else if (kind == "partition" && !s.volumes.empty()) {
      PartitionStatus p;
      ok = static_cast<bool>(words >> p.Label >> p.TotalSize >> p.FreeSize >> p.Online);
      p.Encryption = "none";
      s.volumes.back().Partitions.push_back(p);
    } else if (kind == "disk") {
      DiskSnapShot d;
      int state = 0;
      ok = static_cast<bool>(words >> d.mIdentifier >> state >> d.mVolumeNumber >> d.mDiskNumber >>
                             d.mLocation);
      d.mState = static_cast<int8_t>(state);
      d.mRaidCardType = "sim";
      d.mVendorID = "CORVANE";
      d.mProductID = "SIMDISK";
      d.mPhysDiskNum = d.mDiskNumber;
      d.mRawSize = d.mCoercedSize = 500107862016LL;
      s.disks.push_back(d);
    } else if (kind == "battery") {
      ok = static_cast<bool>(words >> s.battery.Installed >> s.battery.Expires);
    } else if (kind == "flash") {
      ok = static_cast<bool>(words >> s.flash.totalSize >> s.flash.freeSize >> s.flash.isOK);
    } else if (kind == "intrusion") {
      ok = static_cast<bool>(words >> s.intrusion);
    } else {
      ok = false;
    }
    if (!ok) log.write("hardwaremgr", "scenario line " + std::to_string(number) + " skipped");
  }
  return s;
}

// Seconds since boot from /proc/uptime; 0 when unreadable.
int32_t uptime() {
  std::ifstream in("/proc/uptime");
  double seconds = 0;
  in >> seconds;
  return static_cast<int32_t>(seconds);
}

// The "cpu..." lines of /proc/stat: name and the ten counters.
std::vector<std::pair<std::string, std::vector<long long>>> cpuLines() {
  std::vector<std::pair<std::string, std::vector<long long>>> lines;
  std::ifstream in("/proc/stat");
  std::string line;
  while (std::getline(in, line)) {
    if (line.compare(0, 3, "cpu") != 0) continue;
    std::istringstream words(line);
    std::string name;
    words >> name;
    std::vector<long long> counters(10, 0);
    for (auto& c : counters) words >> c;
    lines.emplace_back(name, counters);
  }
  return lines;
}

class HardwareHandler : public BaseHandler<hardwareManagerIf> {
 public:
  explicit HardwareHandler(Sim& sim) : BaseHandler(sim, "hardwaremgr") {
    if (sim.options.scenario.empty()) {
      std::istringstream in(kBuiltinScenario);
      mScenario = parseScenario(in, sim.events);
    } else {
      std::ifstream in(sim.options.scenario);
      if (!in) event("cannot read scenario " + sim.options.scenario);
      mScenario = parseScenario(in, sim.events);
    }
  }

  bool shutdownRaid() override { return record("RAID shut down", true); }
  bool setWriteCaching(int16_t volume, bool enabled) override {
    return record("write caching of volume " + std::to_string(volume) + (enabled ? " on" : " off"),
                  true);
  }
  void rebuildVolume() override { record("volume rebuild", true); }
  void deleteVolume(bool quick) override {
    record(quick ? "quick volume delete" : "volume delete", true);
  }
  bool prepareHotSwap(int16_t id) override {
    return record("hot swap of device " + std::to_string(id), true);
  }
  bool recoverVolume() override { return record("volume recovery", true); }
  bool hasUnsupportedPartitionTableType() override { return false; }
  void getVolumeStatus(std::vector<VolumeStatus>& r) override { r = mScenario.volumes; }
  void getRaidPhyDiskStatus(std::vector<DiskSnapShot>& r) override { r = mScenario.disks; }
  void getBatteryStatus(BatteryStatus& r) override {
    std::lock_guard<std::mutex> lock(mMutex);
    r = mScenario.battery;
  }
  void batteryReplaced() override {
    std::lock_guard<std::mutex> lock(mMutex);
    mScenario.battery.Installed = 1;
    mScenario.battery.Expires = static_cast<int32_t>(time(nullptr)) + 3 * 365 * 86400;
    event("battery replaced");
  }
  void getFlashStatus(FlashStatus& r) override { r = mScenario.flash; }

  void getMemoryUsage(MemoryUsage& r) override {
    std::ifstream in("/proc/meminfo");
    std::string key;
    long long kb = 0;
    std::string unit;
    while (in >> key >> kb >> unit) {
      if (key == "MemTotal:") r.Size = static_cast<int32_t>(kb / 1024);
      if (key == "MemAvailable:") r.Free = static_cast<int32_t>(kb / 1024);
    }
  }
  void getCPUUsage(std::vector<CPUUsage>& r) override {
    for (auto const& line : cpuLines()) {
      auto const& c = line.second;
      long long total = 0;
      for (int i = 0; i < 8; ++i) total += c[i];
      CPUUsage u;
      u.Seconds = uptime();
      u.Usage = total > 0 ? static_cast<int32_t>(100 * (total - c[3] - c[4]) / total) : 0;
      r.push_back(u);
    }
  }
  void getCPUDetailedUsage(std::vector<CPUDetails>& r) override {
    for (auto const& line : cpuLines()) {
      auto const& c = line.second;
      CPUDetails d;
      d.Seconds = uptime();
      int32_t* fields[] = {&d.User, &d.Nice,    &d.System, &d.Idle, &d.Iowait,
                           &d.Irq,  &d.SoftIrq, &d.Stead,  &d.Guest};
      for (int i = 0; i < 9; ++i) *fields[i] = static_cast<int32_t>(c[i] & 0x7fffffff);
      r.push_back(d);
    }
  }
  void getFanStatus(std::vector<FanStatus>& r) override { r = mScenario.fans; }
  void getTempStatus(std::vector<TempStatus>& r) override { r = mScenario.temps; }
  void getPowerStatus(std::vector<PowerStatus>& r) override { r = mScenario.power; }
  void getVoltageStatus(std::vector<VoltStatus>& r) override { r = mScenario.volts; }
  int32_t getIntrusionStatus() override {
    std::lock_guard<std::mutex> lock(mMutex);
    return mScenario.intrusion;
  }
  int32_t clearIntrusionStatus() override {
    std::lock_guard<std::mutex> lock(mMutex);
    mScenario.intrusion = 0;
    event("intrusion status cleared");
    return 0;
  }
  void setLocateLED(bool on) override { record(on ? "locate LED on" : "locate LED off", true); }
  int32_t getUptime() override { return uptime(); }
  void getHardwareInfo(HWInfo& r) override { r = mScenario.info; }
  bool isServiceReady(int32_t) override { return true; }

  bool setTimezone(std::string const& name) override { return record("time zone " + name, true); }
  int32_t setTimeServers(std::vector<std::string> const& servers,
                         std::vector<std::string> const& extra) override {
    std::lock_guard<std::mutex> lock(mMutex);
    mTime.servers = servers;
    mTime.extraLines = extra;
    return 0;
  }
  void getTimeServers(ts& r) override {
    std::lock_guard<std::mutex> lock(mMutex);
    r = mTime;
  }
  int32_t setNameServers(std::vector<std::string> const& servers,
                         std::vector<std::string> const& extra) override {
    std::lock_guard<std::mutex> lock(mMutex);
    mNames.servers = servers;
    mNames.extraLines = extra;
    return 0;
  }
  void getNameServers(ts& r) override {
    std::lock_guard<std::mutex> lock(mMutex);
    r = mNames;
  }
  int32_t setSearchDomains(std::vector<std::string> const& domains) override {
    std::lock_guard<std::mutex> lock(mMutex);
    mDomains = domains;
    return 0;
  }
  void getSearchDomains(std::vector<std::string>& r) override {
    std::lock_guard<std::mutex> lock(mMutex);
    r = mDomains;
  }

 private:
  bool record(std::string const& text, bool answer) {
    event(text);
    return answer;
  }

  std::mutex mMutex;
  Scenario mScenario;
  ts mTime;
  ts mNames;
  std::vector<std::string> mDomains;
};

}  // namespace

std::shared_ptr<apache::thrift::TProcessor> makeHardwareManager(Sim& sim) {
  return std::make_shared<hardwareManagerProcessor>(std::make_shared<HardwareHandler>(sim));
}

}  // namespace sim
}  // namespace corvane
