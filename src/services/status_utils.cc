// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Status utilities: one hardware (or network) manager call each, copied into plain records.

#include "corvane/status_utils.h"

#include <unistd.h>

#include <iterator>
#include <new>

#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/networkManager.h>
#include "corvane/client.h"

namespace corvane {
namespace statusUtils {

namespace {

using Hardware = hardwareManager::hardwareManagerClient;
using Network = networkManager::networkManagerClient;

constexpr char kHardwareService[] = "hardwaremgr";
constexpr char kNetworkService[] = "networkmgr";
constexpr int32_t kReadingOk = 4;
constexpr int kIntrusionAttempts = 5;

// One hardware manager call with no send or receive limit; `neutral` on a Thrift failure.
template <class R, class Call>
R hardware(R neutral, Call&& call) {
  return callManager<Hardware, R>(kHardwareService, 0, neutral, std::forward<Call>(call));
}

// Fetches a wire list with `get` and appends `copy` of each element to `out`.
template <class Wire, class Record, class Get, class Copy>
int appendAll(std::vector<Record>& out, Get get, Copy copy) {
  return hardware(0, [&](Hardware& client) {
    std::vector<Wire> wire;
    (client.*get)(wire);
    out.reserve(out.size() + wire.size());
    for (Wire const& w : wire) out.push_back(copy(w));
    return 1;
  });
}

// Looks `code` up in a table indexed from `first`.
template <size_t N>
char const* word(char const* const (&table)[N], int first, int code) {
  if (code < first || code - first >= static_cast<int>(N)) return "unknown";
  return table[code - first];
}

}  // namespace

int getUptime() {
  return hardware(0, [](Hardware& client) { return client.getUptime(); });
}

void setLocateLED(bool on) {
  callManager<Hardware>(kHardwareService, 0, [on](Hardware& client) { client.setLocateLED(on); });
}

int getFlashStatus(FlashStatus& status) {
  return hardware(-1, [&](Hardware& client) {
    hardwareManager::FlashStatus wire;
    client.getFlashStatus(wire);
    status.mTotalSize = wire.totalSize;
    status.mFreeSize = wire.freeSize;
    return wire.isOK ? 0 : -1;
  });
}

int getBatteryStatus(BatteryStatus& status) {
  return hardware(0, [&](Hardware& client) {
    hardwareManager::BatteryStatus wire;
    client.getBatteryStatus(wire);
    status.mInstalled = wire.Installed;
    status.mExpires = wire.Expires;
    return 1;
  });
}

int batteryReplaced() {
  return callManager<Hardware>(kHardwareService, 0,
                               [](Hardware& client) { client.batteryReplaced(); })
             ? 1
             : 0;
}

int getMemoryUse(unsigned& size, unsigned& free) {
  return hardware(0, [&](Hardware& client) {
    hardwareManager::MemoryUsage wire;
    client.getMemoryUsage(wire);
    size = static_cast<unsigned>(wire.Size);
    free = static_cast<unsigned>(wire.Free);
    return 1;
  });
}

int getIntrusionStatus() {
  return hardware(-1, [](Hardware& client) { return client.getIntrusionStatus(); });
}

int clearIntrusionStatus() {
  return hardware(-1, [](Hardware& client) {
    for (int attempt = 0; attempt < kIntrusionAttempts; ++attempt) {
      int32_t rc = client.clearIntrusionStatus();
      if (rc < 0) return rc;
      sleep(1);  // the switch needs a moment to settle before it reads cleared
      if (client.getIntrusionStatus() == 0) return 0;
    }
    return -1;
  });
}

int getCPUUsage(std::vector<CPUUsage>& usage) {
  return appendAll<hardwareManager::CPUUsage>(usage, &Hardware::getCPUUsage,
                                              [](hardwareManager::CPUUsage const& w) {
                                                return CPUUsage{w.Seconds, w.Usage};
                                              });
}

int getCPUDetailedUsage(std::vector<CPUUsage>& usage) {
  // Busy time is what idle leaves; the other counters are not needed for it.
  return appendAll<hardwareManager::CPUDetails>(usage, &Hardware::getCPUDetailedUsage,
                                                [](hardwareManager::CPUDetails const& w) {
                                                  return CPUUsage{w.Seconds, 100 - w.Idle};
                                                });
}

int getVolumeStatus(std::vector<VolumeStatus>& volumes) {
  return appendAll<hardwareManager::VolumeStatus>(
      volumes, &Hardware::getVolumeStatus, [](hardwareManager::VolumeStatus const& w) {
        VolumeStatus v;
        v.mName = w.Name;
        v.mTotalSize = w.TotalSize;
        v.mPartitions.reserve(w.Partitions.size());
        for (auto const& p : w.Partitions) {
          v.mPartitions.push_back({p.Label, p.TotalSize, p.FreeSize, p.Encryption, p.Online});
        }
        v.mOnline = w.Online;
        v.mRebuildPercentage = w.RebuildPercentage;
        return v;
      });
}

int getRaidPhysDiskStatus(std::vector<DiskSnapShot*>& disks) {
  return hardware(0, [&](Hardware& client) {
    std::vector<hardwareManager::DiskSnapShot> wire;
    client.getRaidPhyDiskStatus(wire);
    for (auto const& w : wire) {
      DiskSnapShot* d = new (std::nothrow) DiskSnapShot;
      if (d == nullptr) return 0;
      *d = DiskSnapShot{w.mRaidCardType,
                        w.mVendorID,
                        w.mProductID,
                        w.mRaidVersion,
                        w.mRevision,
                        w.mState,
                        w.mIdentifier,
                        w.mVolumeNumber,
                        w.mDiskNumber,
                        w.mPhysDiskNum,
                        w.mTarget,
                        w.mLocation,
                        w.mRole,
                        w.mOutOfSync,
                        w.mQuiesced,
                        w.mInactiveVolume,
                        w.mOptimalPrevious,
                        w.mControllerID,
                        w.mDeviceID,
                        w.mArrayID,
                        w.mLogicalDriveID,
                        w.mLogicalDriveName,
                        w.mPosition,
                        w.mProgressPercent,
                        w.mRawSize,
                        w.mCoercedSize,
                        w.mInterfaceType,
                        w.mInterfaceSpeed,
                        w.mSASaddress,
                        w.mSpecificInfo};
      disks.push_back(d);
    }
    return 1;
  });
}

int getFanStatus(std::vector<FanStatus>& fans) {
  return appendAll<hardwareManager::FanStatus>(
      fans, &Hardware::getFanStatus, [](hardwareManager::FanStatus const& w) {
        return FanStatus{w.FanID, w.Formatted, w.ReadingStatus == kReadingOk};
      });
}

int getTempStatus(std::vector<TempStatus>& temps) {
  return appendAll<hardwareManager::TempStatus>(temps, &Hardware::getTempStatus,
                                                [](hardwareManager::TempStatus const& w) {
                                                  return TempStatus{w.Name,
                                                                    w.Formatted,
                                                                    w.Value,
                                                                    w.UpperNonCriticalThreshold,
                                                                    w.UpperNonRecoverableThreshold,
                                                                    w.ReadingStatus == kReadingOk};
                                                });
}

int getVoltageStatus(std::vector<VoltStatus>& volts) {
  return appendAll<hardwareManager::VoltStatus>(volts, &Hardware::getVoltageStatus,
                                                [](hardwareManager::VoltStatus const& w) {
                                                  return VoltStatus{w.Name,
                                                                    w.Formatted,
                                                                    w.Value,
                                                                    w.LowerCriticalThreshold,
                                                                    w.UpperCriticalThreshold,
                                                                    w.ReadingStatus == kReadingOk};
                                                });
}

int getPowerStatus(std::vector<PowerStatus>& supplies) {
  return appendAll<hardwareManager::PowerStatus>(
      supplies, &Hardware::getPowerStatus, [](hardwareManager::PowerStatus const& w) {
        return PowerStatus{w.Name, w.Formatted, w.ReadingStatus == kReadingOk};
      });
}

bool isServiceReady(ServiceStatus status, int timeout) {
  int32_t who;
  switch (status) {
    case kHardwareReady1:
      who = 1;
      break;
    case kHardwareReady2:
      who = 2;
      break;
    default:
      return false;
  }
  return callManager<Hardware, bool>(kHardwareService, timeout, false, [who](Hardware& client) {
    return client.isServiceReady(who);
  });
}

bool isNetServiceReady(ServiceStatus status, int timeout) {
  if (status != kNetworkReady) return false;
  return callManager<Network, bool>(kNetworkService, timeout, false,
                                    [](Network& client) { return client.isNetServiceReady(); });
}

char const* state2text(int state) {
  static char const* const kWords[] = {
      "online",
      "missing",
      "not compatible",
      "failed",
      "initializing",
      "offline",
      "failed requested",
      "other_offline",
      "unconfigured good drive",
      "unconfigured good foreign drive",
      "unconfigured bad drive",
      "unconfigured bad foreign drive",
      "hot spare drive",
      "rebuild",
      "getting copied",
      "exposed and controlled by host",
  };
  return word(kWords, kStateOnline, state);
}

char const* role2text(int role) {
  static char const* const kWords[] = {"other", "primary", "secondary"};
  return word(kWords, kRoleOther, role);
}

char const* raidpos2text(int position) {
  static char const* const kWords[] = {"HDD0", "HDD1", "HDD2", "HDD3"};
  return word(kWords, kPosHDD0, position);
}

char const* raidiface2text(int type) {
  static char const* const kWords[] = {"parallel SCSI", "SAS", "SATA", "fiber channel"};
  return word(kWords, kIfaceParallelSCSI, type);
}

char const* raidspeed2text(int speed) {
  static char const* const kWords[] = {"1.5Gb/s", "3.0Gb/s", "6.0Gb/s"};
  return word(kWords, kSpeed1_5G, speed);
}

}  // namespace statusUtils
}  // namespace corvane
