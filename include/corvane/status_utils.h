// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// The appliance's health as plain records: RAID disks and volumes, sensors, CPU, memory,
/// battery, flash, uptime, intrusion switch, locate LED and manager readiness, read from the
/// hardware manager (readiness of the network manager from that one), plus RAID display words.
///   std::vector<corvane::statusUtils::FanStatus> fans;
///   if (corvane::statusUtils::getFanStatus(fans) == 1) show(fans);

#ifndef CORVANE_STATUS_UTILS_H
#define CORVANE_STATUS_UTILS_H

#include <cstdint>
#include <string>
#include <vector>

#include "corvane/export.h"

namespace corvane {
namespace statusUtils {

// Every operation below opens its own connection, so all of them may run on any thread.
// None raises and none logs: a manager that cannot be reached, or a call that fails, gives
// the failure value stated with the operation. Vectors are appended to, never cleared first,
// and keep what was appended before a failure.

struct CORVANE_EXPORT FlashStatus {
  int32_t mTotalSize = 0;
  int32_t mFreeSize = 0;
};

struct CORVANE_EXPORT BatteryStatus {
  int32_t mInstalled = 0;
  int32_t mExpires = 0;
};

struct CORVANE_EXPORT CPUUsage {
  int32_t mSeconds = 0;
  int32_t mUsage = 0;  ///< percent busy
};

/// `mOk` is true exactly when the manager's reading status is 4.
struct CORVANE_EXPORT FanStatus {
  std::string mID;
  std::string mFormatted;
  bool mOk = false;
};

/// `mValue`, `mUpperNonCritical`, `mUpperNonRecoverable` in the manager's order.
struct CORVANE_EXPORT TempStatus {
  std::string mName;
  std::string mFormatted;
  int32_t mValue = 0;
  int32_t mUpperNonCritical = 0;
  int32_t mUpperNonRecoverable = 0;
  bool mOk = false;
};

/// `mValue`, `mLowerCritical`, `mUpperCritical` in the manager's order.
struct CORVANE_EXPORT VoltStatus {
  std::string mName;
  std::string mFormatted;
  int32_t mValue = 0;
  int32_t mLowerCritical = 0;
  int32_t mUpperCritical = 0;
  bool mOk = false;
};

struct CORVANE_EXPORT PowerStatus {
  std::string mName;
  std::string mFormatted;
  bool mOk = false;
};

struct CORVANE_EXPORT PartitionStatus {
  std::string mLabel;
  int32_t mTotalSize = 0;
  int32_t mFreeSize = 0;
  std::string mEncryption;
  bool mOnline = false;
};

struct CORVANE_EXPORT VolumeStatus {
  std::string mName;
  int32_t mTotalSize = 0;
  std::vector<PartitionStatus> mPartitions;
  bool mOnline = false;
  int32_t mRebuildPercentage = 0;
};

/// One physical disk, field for field as the hardware manager reports it. Codes are those of
/// the RAID enumerations below; `mState`, `mRole`, `mPosition`, `mInterfaceType` and
/// `mInterfaceSpeed` have display words (`state2text` ...).
struct CORVANE_EXPORT DiskSnapShot {
  std::string mRaidCardType;
  std::string mVendorID;
  std::string mProductID;
  std::string mRaidVersion;
  std::string mRevision;
  int mState = 0;
  std::string mIdentifier;
  int32_t mVolumeNumber = 0;
  int32_t mDiskNumber = 0;
  int32_t mPhysDiskNum = 0;
  int32_t mTarget = 0;
  std::string mLocation;
  int mRole = 0;
  int mOutOfSync = 0;
  int mQuiesced = 0;
  int mInactiveVolume = 0;
  int mOptimalPrevious = 0;
  int32_t mControllerID = 0;
  int32_t mDeviceID = 0;
  int32_t mArrayID = 0;
  int32_t mLogicalDriveID = 0;
  std::string mLogicalDriveName;
  int mPosition = 0;
  int32_t mProgressPercent = 0;
  int64_t mRawSize = 0;
  int64_t mCoercedSize = 0;
  int mInterfaceType = 0;
  int mInterfaceSpeed = 0;
  std::string mSASaddress;
  std::string mSpecificInfo;
};

/// Which readiness to ask for. The meaning of the hardware manager's two readiness codes is
/// the daemon's own.
enum ServiceStatus {
  kNetworkReady = 1,    // the network manager's readiness
  kHardwareReady1 = 2,  // the hardware manager's readiness code 1
  kHardwareReady2 = 3,  // the hardware manager's readiness code 2
};

enum raidPhysDiskState {
  kStateOnline = 1,
  kStateMissing = 2,
  kStateNotCompatible = 3,
  kStateFailed = 4,
  kStateInitializing = 5,
  kStateOffline = 6,
  kStateFailedRequested = 7,
  kStateOtherOffline = 8,
  kStateUnconfiguredGood = 9,
  kStateUnconfiguredGoodForeign = 10,
  kStateUnconfiguredBad = 11,
  kStateUnconfiguredBadForeign = 12,
  kStateHotSpare = 13,
  kStateRebuild = 14,
  kStateCopyback = 15,
  kStateJbod = 16,
};

enum raidPhysDiskRole { kRoleOther = 1, kRolePrimary = 2, kRoleSecondary = 3 };

enum raidPDPos { kPosHDD0 = 1, kPosHDD1 = 2, kPosHDD2 = 3, kPosHDD3 = 4 };

enum raidPDInterfaceType {
  kIfaceUnknown = 1,
  kIfaceParallelSCSI = 2,
  kIfaceSAS = 3,
  kIfaceSATA = 4,
  kIfaceFiberChannel = 5,
};

enum raidSasInterfaceSpeed { kSpeed1_5G = 1, kSpeed3_0G = 2, kSpeed6_0G = 3 };

/// Seconds since boot as the manager counts them; 0 on failure.
CORVANE_EXPORT int getUptime();
/// Switches the locate LED; a failure is not reported.
CORVANE_EXPORT void setLocateLED(bool on);
/// Fills `status` from the manager's flash record. 0 when the manager calls the flash device
/// healthy, -1 when not (the record is filled all the same) and -1 on failure.
CORVANE_EXPORT int getFlashStatus(FlashStatus& status);
/// 1 with `status` filled, 0 on failure (`status` left as it was).
CORVANE_EXPORT int getBatteryStatus(BatteryStatus& status);
/// Tells the manager the cache battery was replaced; 1 success, 0 failure.
CORVANE_EXPORT int batteryReplaced();
/// 1 with `size` and `free` set, 0 on failure (both left as they were).
CORVANE_EXPORT int getMemoryUse(unsigned& size, unsigned& free);
/// The chassis intrusion switch as the manager reads it; -1 on failure.
CORVANE_EXPORT int getIntrusionStatus();
/// Clears the intrusion switch: up to five attempts, each a clear and, one second later, a
/// read. 0 once the switch reads 0; a negative clear result as it came; -1 when the switch
/// stays set after five attempts (about five seconds) or on any failure.
CORVANE_EXPORT int clearIntrusionStatus();
/// Appends one record per CPU sample; 1 success, 0 failure.
CORVANE_EXPORT int getCPUUsage(std::vector<CPUUsage>& usage);
/// Appends one record per detailed sample, its usage being 100 minus the idle percentage;
/// 1 success, 0 failure.
CORVANE_EXPORT int getCPUDetailedUsage(std::vector<CPUUsage>& usage);
/// Appends one record per RAID volume with its partitions; 1 success, 0 failure.
CORVANE_EXPORT int getVolumeStatus(std::vector<VolumeStatus>& volumes);
/// Appends one newly allocated record per physical disk. Caller owns each; free with delete.
/// 1 success, 0 failure (also when an allocation fails; the disks appended so far stay).
CORVANE_EXPORT int getRaidPhysDiskStatus(std::vector<DiskSnapShot*>& disks);
/// Sensor readings, one record per sensor appended; 1 success, 0 failure.
CORVANE_EXPORT int getFanStatus(std::vector<FanStatus>& fans);
CORVANE_EXPORT int getTempStatus(std::vector<TempStatus>& temps);
CORVANE_EXPORT int getVoltageStatus(std::vector<VoltStatus>& volts);
CORVANE_EXPORT int getPowerStatus(std::vector<PowerStatus>& supplies);
/// The hardware manager's readiness: `kHardwareReady1` and `kHardwareReady2` ask it, with
/// `timeout` ms for send and receive (0: no limit); any other value is false without a call.
/// False on failure.
CORVANE_EXPORT bool isServiceReady(ServiceStatus status, int timeout);
/// The network manager's readiness: only `kNetworkReady` asks it, with `timeout` ms for send
/// and receive (0: no limit); any other value is false without a call. False on failure.
CORVANE_EXPORT bool isNetServiceReady(ServiceStatus status, int timeout);

/// Display words of the RAID codes; "unknown" for any code without one. The texts are
/// constants owned by the library.
CORVANE_EXPORT char const* state2text(int state);
CORVANE_EXPORT char const* role2text(int role);
CORVANE_EXPORT char const* raidpos2text(int position);
/// Code 1 has no word of its own and reads "unknown", deliberately.
CORVANE_EXPORT char const* raidiface2text(int type);
CORVANE_EXPORT char const* raidspeed2text(int speed);

}  // namespace statusUtils
}  // namespace corvane

#endif  // CORVANE_STATUS_UTILS_H
