// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Status utilities against a fake hardware and network manager: records copied field by
// field with the ok rule, the intrusion-clearing attempts, the readiness codes, the neutral
// answers of a manager that is down, and the RAID display words.

#include "corvane/status_utils.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/networkManager.h>
#include "fake_manager.h"
#include "sandbox.h"

namespace corvane {
namespace statusUtils {
namespace {

namespace hw = ::hardwareManager;
using Clock = std::chrono::steady_clock;

template <class Result, class T>
Result success(T const& value) {
  Result r;
  r.success = value;
  r.__isset.success = true;
  return r;
}

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

class StatusUtilsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(testing::inSandbox()); }
  testing::FakeManager mHw{"hardwaremgr"};
  testing::FakeManager mNet{"networkmgr"};
};

TEST_F(StatusUtilsTest, RecordsAreCopiedFieldByFieldAndAppended) {
  std::vector<hw::FanStatus> fans(3);
  for (int i = 0; i < 3; ++i) {
    fans[i].FanID = "FAN" + std::to_string(i),
    fans[i].Formatted = std::to_string(4000 + i) + " RPM";
    fans[i].FanSpeed = 4000, fans[i].ReadingStatus = 3 + i;  // 3, 4, 5: only 4 is ok
  }
  mHw.reply("getFanStatus", success<hw::hardwareManager_getFanStatus_result>(fans));
  hw::TempStatus t;
  t.Name = "CPU", t.Formatted = "41 C", t.Value = 41, t.UpperNonCriticalThreshold = 80;
  t.UpperNonRecoverableThreshold = 95, t.ReadingStatus = 4;
  mHw.reply("getTempStatus", success<hw::hardwareManager_getTempStatus_result>(std::vector{t}));
  hw::VoltStatus v;
  v.Name = "12V", v.Formatted = "12.1 V", v.Value = 12100, v.LowerCriticalThreshold = 11000;
  v.UpperCriticalThreshold = 13000, v.ReadingStatus = 5;
  mHw.reply("getVoltageStatus",
            success<hw::hardwareManager_getVoltageStatus_result>(std::vector{v}));
  hw::PowerStatus p;
  p.Name = "PSU1", p.Formatted = "present", p.ReadingStatus = 4;
  mHw.reply("getPowerStatus", success<hw::hardwareManager_getPowerStatus_result>(std::vector{p}));
  hw::CPUUsage c;
  c.Seconds = 60, c.Usage = 17;
  mHw.reply("getCPUUsage", success<hw::hardwareManager_getCPUUsage_result>(std::vector{c}));
  std::vector<hw::CPUDetails> details(2);
  details[0].Seconds = 1, details[0].Idle = 100, details[0].User = 50;
  details[1].Seconds = 2, details[1].Idle = 0;
  mHw.reply("getCPUDetailedUsage",
            success<hw::hardwareManager_getCPUDetailedUsage_result>(details));
  hw::VolumeStatus vol;
  vol.Name = "md0", vol.TotalSize = 900, vol.Online = true, vol.RebuildPercentage = 42;
  vol.Partitions.resize(2);
  vol.Partitions[0].Label = "data", vol.Partitions[0].TotalSize = 500;
  vol.Partitions[0].FreeSize = 100, vol.Partitions[0].Encryption = "aes",
  vol.Partitions[0].Online = true;
  vol.Partitions[1].Label = "logs", vol.Partitions[1].FreeSize = 7;
  mHw.reply("getVolumeStatus",
            success<hw::hardwareManager_getVolumeStatus_result>(std::vector{vol}));
  hw::DiskSnapShot d;
  d.mRaidCardType = "card", d.mVendorID = "ven", d.mProductID = "prod", d.mRaidVersion = "rv";
  d.mRevision = "rev", d.mState = 14, d.mIdentifier = "id", d.mVolumeNumber = 1;
  d.mDiskNumber = 2, d.mPhysDiskNum = 3, d.mTarget = 4, d.mLocation = "bay", d.mRole = 2;
  d.mOutOfSync = 5, d.mQuiesced = 6, d.mInactiveVolume = 7, d.mOptimalPrevious = 8;
  d.mControllerID = 9, d.mDeviceID = 10, d.mArrayID = 11, d.mLogicalDriveID = 12;
  d.mLogicalDriveName = "ld", d.mPosition = 3, d.mProgressPercent = 13;
  d.mRawSize = 4000000000123LL, d.mCoercedSize = 3999999999999LL, d.mInterfaceType = 4;
  d.mInterfaceSpeed = 3, d.mSASaddress = "sas", d.mSpecificInfo = "info";
  mHw.reply("getRaidPhyDiskStatus",
            success<hw::hardwareManager_getRaidPhyDiskStatus_result>(std::vector{d, d}));
  hw::FlashStatus flash;
  flash.totalSize = 2048, flash.freeSize = 1024, flash.isOK = false;
  mHw.reply("getFlashStatus", success<hw::hardwareManager_getFlashStatus_result>(flash));
  hw::BatteryStatus battery;
  battery.Installed = 20250101, battery.Expires = 20280101;
  mHw.reply("getBatteryStatus", success<hw::hardwareManager_getBatteryStatus_result>(battery));
  hw::MemoryUsage memory;
  memory.Size = 16384, memory.Free = 4096;
  mHw.reply("getMemoryUsage", success<hw::hardwareManager_getMemoryUsage_result>(memory));
  mHw.reply("getUptime", success<hw::hardwareManager_getUptime_result>(86400));
  mHw.reply("getIntrusionStatus", success<hw::hardwareManager_getIntrusionStatus_result>(2));

  std::vector<FanStatus> gotFans{{"kept", "", true}};
  ASSERT_EQ(1, getFanStatus(gotFans));
  ASSERT_EQ(4u, gotFans.size());
  EXPECT_EQ("kept", gotFans[0].mID);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(fans[i].FanID, gotFans[i + 1].mID);
    EXPECT_EQ(fans[i].Formatted, gotFans[i + 1].mFormatted);
    EXPECT_EQ(i == 1, gotFans[i + 1].mOk) << "reading status " << fans[i].ReadingStatus;
  }
  std::vector<TempStatus> temps;
  ASSERT_EQ(1, getTempStatus(temps));
  ASSERT_EQ(1u, temps.size());
  EXPECT_EQ("CPU|41 C|41|80|95|1",
            temps[0].mName + "|" + temps[0].mFormatted + "|" + std::to_string(temps[0].mValue) +
                "|" + std::to_string(temps[0].mUpperNonCritical) + "|" +
                std::to_string(temps[0].mUpperNonRecoverable) + "|" + std::to_string(temps[0].mOk));
  std::vector<VoltStatus> volts;
  ASSERT_EQ(1, getVoltageStatus(volts));
  ASSERT_EQ(1u, volts.size());
  EXPECT_EQ("12V|12.1 V|12100|11000|13000|0",
            volts[0].mName + "|" + volts[0].mFormatted + "|" + std::to_string(volts[0].mValue) +
                "|" + std::to_string(volts[0].mLowerCritical) + "|" +
                std::to_string(volts[0].mUpperCritical) + "|" + std::to_string(volts[0].mOk));
  std::vector<PowerStatus> supplies;
  ASSERT_EQ(1, getPowerStatus(supplies));
  ASSERT_EQ(1u, supplies.size());
  EXPECT_EQ("PSU1", supplies[0].mName);
  EXPECT_EQ("present", supplies[0].mFormatted);
  EXPECT_TRUE(supplies[0].mOk);
  std::vector<CPUUsage> cpu;
  ASSERT_EQ(1, getCPUUsage(cpu));
  ASSERT_EQ(1, getCPUDetailedUsage(cpu));
  ASSERT_EQ(3u, cpu.size());
  int const cpuExpected[][2] = {{60, 17}, {1, 0}, {2, 100}};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(cpuExpected[i][0], cpu[i].mSeconds) << i;
    EXPECT_EQ(cpuExpected[i][1], cpu[i].mUsage) << i;
  }
  std::vector<VolumeStatus> volumes;
  ASSERT_EQ(1, getVolumeStatus(volumes));
  ASSERT_EQ(1u, volumes.size());
  EXPECT_EQ("md0", volumes[0].mName);
  EXPECT_EQ(900, volumes[0].mTotalSize);
  EXPECT_TRUE(volumes[0].mOnline);
  EXPECT_EQ(42, volumes[0].mRebuildPercentage);
  ASSERT_EQ(2u, volumes[0].mPartitions.size());
  PartitionStatus const& part = volumes[0].mPartitions[0];
  EXPECT_EQ("data|500|100|aes|1", part.mLabel + "|" + std::to_string(part.mTotalSize) + "|" +
                                      std::to_string(part.mFreeSize) + "|" + part.mEncryption +
                                      "|" + std::to_string(part.mOnline));
  EXPECT_EQ("logs", volumes[0].mPartitions[1].mLabel);
  EXPECT_FALSE(volumes[0].mPartitions[1].mOnline);

  std::vector<DiskSnapShot*> disks;
  ASSERT_EQ(1, getRaidPhysDiskStatus(disks));
  ASSERT_EQ(2u, disks.size());
  std::unique_ptr<DiskSnapShot> first(disks[0]), second(disks[1]);
  EXPECT_NE(first.get(), second.get());
  DiskSnapShot const& g = *first;
  EXPECT_EQ("card ven prod rv rev id bay ld sas info",
            g.mRaidCardType + " " + g.mVendorID + " " + g.mProductID + " " + g.mRaidVersion + " " +
                g.mRevision + " " + g.mIdentifier + " " + g.mLocation + " " + g.mLogicalDriveName +
                " " + g.mSASaddress + " " + g.mSpecificInfo);
  std::vector<int64_t> const numbers{g.mState,           g.mVolumeNumber,   g.mDiskNumber,
                                     g.mPhysDiskNum,     g.mTarget,         g.mRole,
                                     g.mOutOfSync,       g.mQuiesced,       g.mInactiveVolume,
                                     g.mOptimalPrevious, g.mControllerID,   g.mDeviceID,
                                     g.mArrayID,         g.mLogicalDriveID, g.mPosition,
                                     g.mProgressPercent, g.mRawSize,        g.mCoercedSize,
                                     g.mInterfaceType,   g.mInterfaceSpeed};
  EXPECT_EQ(
      (std::vector<int64_t>{
          14, 1, 2, 3, 4, 2, 5, 6, 7, 8, 9, 10, 11, 12, 3, 13, 4000000000123LL, 3999999999999LL,
          4,  3}),
      numbers);

  FlashStatus f;
  EXPECT_EQ(-1, getFlashStatus(f));  // not ok, but filled
  EXPECT_EQ(2048, f.mTotalSize);
  EXPECT_EQ(1024, f.mFreeSize);
  flash.isOK = true;
  mHw.reply("getFlashStatus", success<hw::hardwareManager_getFlashStatus_result>(flash));
  EXPECT_EQ(0, getFlashStatus(f));
  BatteryStatus b;
  EXPECT_EQ(1, getBatteryStatus(b));
  EXPECT_EQ(20250101, b.mInstalled);
  EXPECT_EQ(20280101, b.mExpires);
  unsigned size = 0, free = 0;
  EXPECT_EQ(1, getMemoryUse(size, free));
  EXPECT_EQ(16384u, size);
  EXPECT_EQ(4096u, free);
  EXPECT_EQ(86400, getUptime());
  EXPECT_EQ(2, getIntrusionStatus());
  EXPECT_EQ(1, batteryReplaced());
  setLocateLED(true);
  EXPECT_TRUE(mHw.args<hw::hardwareManager_setLocateLED_args>("setLocateLED").on);
  EXPECT_EQ(1u, mHw.calls("batteryReplaced").size());
}

TEST_F(StatusUtilsTest, ClearIntrusionTriesFiveTimesAndStopsEarly) {
  struct Case {
    int clear, read, expected;
    size_t clears;
    double minSeconds, maxSeconds;
  } const cases[] = {
      {0, 1, -1, 5, 4.8, 7.0},   // the switch stays set
      {0, 0, 0, 1, 0.9, 2.0},    // cleared at the first read
      {-3, 0, -3, 1, 0.0, 0.5},  // a refused clear is passed on at once
  };
  for (Case const& c : cases) {
    mHw.reset();
    mHw.reply("clearIntrusionStatus",
              success<hw::hardwareManager_clearIntrusionStatus_result>(c.clear));
    mHw.reply("getIntrusionStatus", success<hw::hardwareManager_getIntrusionStatus_result>(c.read));
    int accepted = mHw.acceptedConnections();
    auto start = Clock::now();
    EXPECT_EQ(c.expected, clearIntrusionStatus());
    double took = secondsSince(start);
    EXPECT_GE(took, c.minSeconds) << c.clear << "/" << c.read;
    EXPECT_LE(took, c.maxSeconds) << c.clear << "/" << c.read;
    EXPECT_EQ(c.clears, mHw.calls("clearIntrusionStatus").size());
    EXPECT_EQ(c.clear < 0 ? 0 : c.clears, mHw.calls("getIntrusionStatus").size());
    EXPECT_EQ(accepted + 1, mHw.acceptedConnections());  // one connection for all attempts
  }
}

TEST_F(StatusUtilsTest, ReadinessCodesAndTimeouts) {
  struct Case {
    int status;
    bool hardware, network;
    int who;  // sent to the hardware manager, 0 for no call
  } const cases[] = {{1, false, true, 0},
                     {2, true, false, 1},
                     {3, true, false, 2},
                     {0, false, false, 0},
                     {4, false, false, 0}};
  for (Case const& c : cases) {
    mHw.reset(), mNet.reset();
    mHw.reply("isServiceReady", success<hw::hardwareManager_isServiceReady_result>(true));
    mNet.reply("isNetServiceReady",
               success<networkManager::networkManager_isNetServiceReady_result>(true));
    int hwBefore = mHw.acceptedConnections(), netBefore = mNet.acceptedConnections();
    EXPECT_EQ(c.hardware, isServiceReady(static_cast<ServiceStatus>(c.status), 0)) << c.status;
    EXPECT_EQ(c.network, isNetServiceReady(static_cast<ServiceStatus>(c.status), 0)) << c.status;
    EXPECT_EQ(c.who != 0 ? 1 : 0, mHw.acceptedConnections() - hwBefore) << c.status;
    EXPECT_EQ(c.network ? 1 : 0, mNet.acceptedConnections() - netBefore) << c.status;
    if (c.who != 0) {
      EXPECT_EQ(c.who, mHw.args<hw::hardwareManager_isServiceReady_args>("isServiceReady").who);
    }
  }
  // A hung manager answers false once the caller's timeout runs out.
  mHw.setHang(true), mNet.setHang(true);
  auto start = Clock::now();
  EXPECT_FALSE(isServiceReady(kHardwareReady1, 300));
  EXPECT_FALSE(isNetServiceReady(kNetworkReady, 300));
  EXPECT_LT(secondsSince(start), 2.0);
}

TEST_F(StatusUtilsTest, NeutralAnswersWhenTheManagerIsDown) {
  mHw.stop(), mNet.stop();
  FlashStatus flash{7, 8};
  BatteryStatus battery{9, 10};
  unsigned size = 11, free = 12;
  std::vector<CPUUsage> cpu(1);
  std::vector<VolumeStatus> volumes;
  std::vector<DiskSnapShot*> disks;
  std::vector<FanStatus> fans;
  std::vector<TempStatus> temps;
  std::vector<VoltStatus> volts;
  std::vector<PowerStatus> supplies;
  std::pair<char const*, std::function<int()>> const ops[] = {
      {"getUptime", [] { return getUptime(); }},
      {"setLocateLED", [] { return setLocateLED(true), 0; }},
      {"getFlashStatus", [&] { return getFlashStatus(flash) + 100; }},
      {"getBatteryStatus", [&] { return getBatteryStatus(battery); }},
      {"batteryReplaced", [] { return batteryReplaced(); }},
      {"getMemoryUse", [&] { return getMemoryUse(size, free); }},
      {"getIntrusionStatus", [] { return getIntrusionStatus() + 1; }},
      {"clearIntrusionStatus", [] { return clearIntrusionStatus() + 1; }},
      {"getCPUUsage", [&] { return getCPUUsage(cpu); }},
      {"getCPUDetailedUsage", [&] { return getCPUDetailedUsage(cpu); }},
      {"getVolumeStatus", [&] { return getVolumeStatus(volumes); }},
      {"getRaidPhysDiskStatus", [&] { return getRaidPhysDiskStatus(disks); }},
      {"getFanStatus", [&] { return getFanStatus(fans); }},
      {"getTempStatus", [&] { return getTempStatus(temps); }},
      {"getVoltageStatus", [&] { return getVoltageStatus(volts); }},
      {"getPowerStatus", [&] { return getPowerStatus(supplies); }},
      {"isServiceReady", [] { return isServiceReady(kHardwareReady2, 0) ? 1 : 0; }},
      {"isNetServiceReady", [] { return isNetServiceReady(kNetworkReady, 0) ? 1 : 0; }},
  };
  for (auto const& op : ops) {
    auto start = Clock::now();
    EXPECT_EQ(op.first == std::string("getFlashStatus") ? 99 : 0, op.second()) << op.first;
    EXPECT_LT(secondsSince(start), 1.5) << op.first;
  }
  EXPECT_EQ(7, flash.mTotalSize);
  EXPECT_EQ(10, battery.mExpires);
  EXPECT_EQ(11u, size);
  EXPECT_EQ(12u, free);
  EXPECT_EQ(1u, cpu.size());
  EXPECT_TRUE(volumes.empty() && disks.empty() && fans.empty() && temps.empty() && volts.empty() &&
              supplies.empty());
}

TEST(StatusUtilsText, DisplayWords) {
  struct Case {
    char const* (*table)(int);
    int code;
    char const* text;
  } const cases[] = {
      {state2text, 0, "unknown"},
      {state2text, 1, "online"},
      {state2text, 7, "failed requested"},
      {state2text, 8, "other_offline"},
      {state2text, 15, "getting copied"},
      {state2text, 16, "exposed and controlled by host"},
      {state2text, 17, "unknown"},
      {state2text, -1, "unknown"},
      {role2text, 1, "other"},
      {role2text, 3, "secondary"},
      {role2text, 4, "unknown"},
      {raidpos2text, 1, "HDD0"},
      {raidpos2text, 4, "HDD3"},
      {raidpos2text, 5, "unknown"},
      {raidiface2text, 1, "unknown"},
      {raidiface2text, 2, "parallel SCSI"},
      {raidiface2text, 5, "fiber channel"},
      {raidiface2text, 6, "unknown"},
      {raidspeed2text, 1, "1.5Gb/s"},
      {raidspeed2text, 3, "6.0Gb/s"},
      {raidspeed2text, 0, "unknown"},
  };
  for (Case const& c : cases) EXPECT_STREQ(c.text, c.table(c.code)) << c.code;
}

}  // namespace
}  // namespace statusUtils
}  // namespace corvane
