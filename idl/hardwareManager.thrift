// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Hardware manager: RAID, sensors, usage, machine identity and the resolver and time files.
// Field names keep their mixed capitalisation; other programs are built against them.

include "baseManager.thrift"

namespace cpp hardwareManager

struct HWInfo {
  1: string manufacturer,
  2: string productName,
  3: string version,
  4: string serialNumber,
  5: string uuid,
  6: string virt,
  7: bool isVirt
}

struct MemoryUsage {
  1: i32 Size,
  2: i32 Free
}

struct CPUUsage {
  1: i32 Seconds,
  2: i32 Usage
}

struct CPUDetails {
  1: i32 Seconds,
  2: i32 User,
  3: i32 Nice,
  4: i32 System,
  5: i32 Idle,
  6: i32 Iowait,
  7: i32 Irq,
  8: i32 SoftIrq,
  9: i32 Stead,  // spelled so on purpose
  10: i32 Guest
}

struct PartitionStatus {
  1: string Label,
  2: i32 TotalSize,
  3: i32 FreeSize,
  4: string Encryption,
  5: bool Online
}

struct VolumeStatus {
  1: string Name,
  2: i32 TotalSize,
  3: list<PartitionStatus> Partitions,
  4: bool Online,
  5: i32 RebuildPercentage
}

struct BatteryStatus {
  1: i32 Installed,
  2: i32 Expires
}

struct FanStatus {
  1: string FanID,
  2: string Formatted,
  3: i16 FanSpeed,
  4: i32 LowerCriticalThreshold,
  5: i32 ReadingStatus
}

struct TempStatus {
  1: string Name,
  2: string Formatted,
  3: i32 Value,
  4: i32 UpperNonCriticalThreshold,
  5: i32 UpperNonRecoverableThreshold,
  6: i32 ReadingStatus
}

struct PowerStatus {
  1: string Name,
  2: string Formatted,
  3: i32 ReadingStatus
}

struct VoltStatus {
  1: string Name,
  2: string Formatted,
  3: i32 Value,
  4: i32 LowerCriticalThreshold,
  5: i32 UpperCriticalThreshold,
  6: i32 ReadingStatus
}

struct DiskSnapShot {
  1: string mRaidCardType,
  2: string mVendorID,
  3: string mProductID,
  4: string mRaidVersion,
  5: string mRevision,
  6: byte mState,
  7: string mIdentifier,
  8: i32 mVolumeNumber,
  9: i32 mDiskNumber,
  10: i32 mPhysDiskNum,
  11: i32 mTarget,
  12: string mLocation,
  13: byte mRole,
  14: byte mOutOfSync,
  15: byte mQuiesced,
  16: byte mInactiveVolume,
  17: byte mOptimalPrevious,
  18: i32 mControllerID,
  19: i32 mDeviceID,
  20: i32 mArrayID,
  21: i32 mLogicalDriveID,
  22: string mLogicalDriveName,
  23: byte mPosition,
  24: i32 mProgressPercent,
  25: i64 mRawSize,
  26: i64 mCoercedSize,
  27: byte mInterfaceType,
  28: byte mInterfaceSpeed,
  29: string mSASaddress,
  30: string mSpecificInfo
}

struct FlashStatus {
  1: i32 totalSize,
  2: i32 freeSize,
  3: bool isOK
}

// A server list with the extra lines of its file.
struct ts {
  1: list<string> servers,
  2: list<string> extraLines
}

service hardwareManager extends baseManager.baseManager {
  bool shutdownRaid(),
  bool setWriteCaching(1: i16 volume, 2: bool enabled),
  void rebuildVolume(),
  void deleteVolume(1: bool quick),
  bool prepareHotSwap(1: i16 deviceId),
  bool recoverVolume(),
  bool hasUnsupportedPartitionTableType(),
  list<VolumeStatus> getVolumeStatus(),
  list<DiskSnapShot> getRaidPhyDiskStatus(),
  BatteryStatus getBatteryStatus(),
  void batteryReplaced(),
  FlashStatus getFlashStatus(),

  MemoryUsage getMemoryUsage(),
  list<CPUUsage> getCPUUsage(),
  list<CPUDetails> getCPUDetailedUsage(),
  list<FanStatus> getFanStatus(),
  list<TempStatus> getTempStatus(),
  list<PowerStatus> getPowerStatus(),
  list<VoltStatus> getVoltageStatus(),
  i32 getIntrusionStatus(),
  i32 clearIntrusionStatus(),
  void setLocateLED(1: bool on),
  i32 getUptime(),
  HWInfo getHardwareInfo(),
  bool isServiceReady(1: i32 who),

  bool setTimezone(1: string fsname),
  i32 setTimeServers(1: list<string> timeServers, 2: list<string> extraLines),
  ts getTimeServers(),
  i32 setNameServers(1: list<string> nameServers, 2: list<string> extraLines),
  ts getNameServers(),
  i32 setSearchDomains(1: list<string> domains),
  list<string> getSearchDomains()
}
