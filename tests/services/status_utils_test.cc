// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Status utilities against a fake hardware and network manager: records copied field by
// field with the ok rule and left alone by a manager that is down, the intrusion-clearing
// attempts, the readiness codes, and the RAID display words.

#include "corvane/status_utils.h"

#include <chrono>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <corvane/idl/hardwareManager.h>
#include <corvane/idl/networkManager.h>
#include "fake_manager.h"

namespace corvane {
namespace statusUtils {
namespace {

namespace hw = ::hardwareManager;
using Clock = std::chrono::steady_clock;

// Fields joined with "|", so that one comparison covers a whole record.
template <class... T>
std::string join(T const&... fields) {
  std::ostringstream out;
  ((out << fields << '|'), ...);
  return out.str();
}

#define ANSWER(method, value) \
  mHw.replySuccess<hw::hardwareManager_##method##_result>(#method, value)

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

class StatusUtilsTest : public ::testing::Test {
 protected:
  testing::FakeManager mHw{"hardwaremgr"};
  testing::FakeManager mNet{"networkmgr"};
};

TEST_F(StatusUtilsTest, RecordsAreCopiedFieldByFieldAndAppended) {
  std::vector<hw::FanStatus> fans(2);
  fans[0].FanID = "F0", fans[0].Formatted = "4000 RPM", fans[0].ReadingStatus = 4;
  fans[1].FanID = "F1", fans[1].ReadingStatus = 5;
  ANSWER(getFanStatus, fans);
  hw::TempStatus t;
  t.Name = "CPU", t.Formatted = "41 C", t.Value = 41, t.UpperNonCriticalThreshold = 80;
  t.UpperNonRecoverableThreshold = 95, t.ReadingStatus = 4;
  ANSWER(getTempStatus, std::vector{t});
  hw::VoltStatus v;
  v.Name = "12V", v.Formatted = "12.1 V", v.Value = 12100, v.LowerCriticalThreshold = 11000;
  v.UpperCriticalThreshold = 13000, v.ReadingStatus = 3;
  ANSWER(getVoltageStatus, std::vector{v});
  hw::PowerStatus p;
  p.Name = "PSU1", p.Formatted = "present", p.ReadingStatus = 4;
  ANSWER(getPowerStatus, std::vector{p});
  hw::CPUUsage c;
  c.Seconds = 60, c.Usage = 17;
  ANSWER(getCPUUsage, std::vector{c});
  hw::CPUDetails details;
  details.Seconds = 2, details.Idle = 30, details.User = 50;
  ANSWER(getCPUDetailedUsage, std::vector{details});
  hw::VolumeStatus vol;
  vol.Name = "md0", vol.TotalSize = 900, vol.Online = true, vol.RebuildPercentage = 42;
  vol.Partitions.resize(1);
  vol.Partitions[0].Label = "data", vol.Partitions[0].TotalSize = 500;
  vol.Partitions[0].FreeSize = 100, vol.Partitions[0].Encryption = "aes";
  vol.Partitions[0].Online = true;
  ANSWER(getVolumeStatus, std::vector{vol});
  hw::DiskSnapShot d;
  d.mRaidCardType = "card", d.mVendorID = "ven", d.mProductID = "prod", d.mRaidVersion = "rv";
  d.mRevision = "rev", d.mState = 14, d.mIdentifier = "id", d.mVolumeNumber = 1;
  d.mDiskNumber = 2, d.mPhysDiskNum = 3, d.mTarget = 4, d.mLocation = "bay", d.mRole = 2;
  d.mOutOfSync = 5, d.mQuiesced = 6, d.mInactiveVolume = 7, d.mOptimalPrevious = 8;
  d.mControllerID = 9, d.mDeviceID = 10, d.mArrayID = 11, d.mLogicalDriveID = 12;
  d.mLogicalDriveName = "ld", d.mPosition = 3, d.mProgressPercent = 13;
  d.mRawSize = 4000000000123LL, d.mCoercedSize = 3999999999999LL, d.mInterfaceType = 4;
  d.mInterfaceSpeed = 3, d.mSASaddress = "sas", d.mSpecificInfo = "info";
  ANSWER(getRaidPhyDiskStatus, std::vector{d});

  std::vector<FanStatus> gotFans{{"kept", "", true}};
  std::vector<TempStatus> temps;
  std::vector<VoltStatus> volts;
  std::vector<PowerStatus> supplies;
  std::vector<CPUUsage> cpu;
  std::vector<VolumeStatus> volumes;
  std::vector<DiskSnapShot*> disks;
  EXPECT_EQ(1, getFanStatus(gotFans) + getTempStatus(temps) + getVoltageStatus(volts) +
                   getPowerStatus(supplies) + getCPUUsage(cpu) + getCPUDetailedUsage(cpu) +
                   getVolumeStatus(volumes) + getRaidPhysDiskStatus(disks) - 7);
  ASSERT_TRUE(gotFans.size() == 3 && temps.size() == 1 && volts.size() == 1);
  ASSERT_TRUE(supplies.size() == 1 && cpu.size() == 2 && volumes.size() == 1 && disks.size() == 1);
  std::unique_ptr<DiskSnapShot> disk(disks[0]);
  // The ok rule: only reading status 4. Detailed usage is 100 minus idle.
  TempStatus const& gt = temps[0];
  VoltStatus const& gv = volts[0];
  EXPECT_EQ(
      "kept|F0|4000 RPM|1|F1||0|CPU|41 C|41|80|95|1|12V|12.1 V|12100|11000|13000|0|PSU1|"
      "present|1|60|17|2|70|",
      join(gotFans[0].mID, gotFans[1].mID, gotFans[1].mFormatted, gotFans[1].mOk, gotFans[2].mID,
           gotFans[2].mFormatted, gotFans[2].mOk, gt.mName, gt.mFormatted, gt.mValue,
           gt.mUpperNonCritical, gt.mUpperNonRecoverable, gt.mOk, gv.mName, gv.mFormatted,
           gv.mValue, gv.mLowerCritical, gv.mUpperCritical, gv.mOk, supplies[0].mName,
           supplies[0].mFormatted, supplies[0].mOk, cpu[0].mSeconds, cpu[0].mUsage, cpu[1].mSeconds,
           cpu[1].mUsage));
  VolumeStatus const& gvol = volumes[0];
  ASSERT_EQ(1u, gvol.mPartitions.size());
  PartitionStatus const& p0 = gvol.mPartitions[0];
  EXPECT_EQ("md0|900|1|42|data|500|100|aes|1|",
            join(gvol.mName, gvol.mTotalSize, gvol.mOnline, gvol.mRebuildPercentage, p0.mLabel,
                 p0.mTotalSize, p0.mFreeSize, p0.mEncryption, p0.mOnline));
  DiskSnapShot const& g = *disk;
  EXPECT_EQ(
      "card|ven|prod|rv|rev|14|id|1|2|3|4|bay|2|5|6|7|8|9|10|11|12|ld|3|13|4000000000123|"
      "3999999999999|4|3|sas|info|",
      join(g.mRaidCardType, g.mVendorID, g.mProductID, g.mRaidVersion, g.mRevision, g.mState,
           g.mIdentifier, g.mVolumeNumber, g.mDiskNumber, g.mPhysDiskNum, g.mTarget, g.mLocation,
           g.mRole, g.mOutOfSync, g.mQuiesced, g.mInactiveVolume, g.mOptimalPrevious,
           g.mControllerID, g.mDeviceID, g.mArrayID, g.mLogicalDriveID, g.mLogicalDriveName,
           g.mPosition, g.mProgressPercent, g.mRawSize, g.mCoercedSize, g.mInterfaceType,
           g.mInterfaceSpeed, g.mSASaddress, g.mSpecificInfo));

  hw::FlashStatus flash;
  flash.totalSize = 2048, flash.freeSize = 1024, flash.isOK = false;
  ANSWER(getFlashStatus, flash);
  hw::BatteryStatus battery;
  battery.Installed = 20250101, battery.Expires = 20280101;
  ANSWER(getBatteryStatus, battery);
  hw::MemoryUsage memory;
  memory.Size = 16384, memory.Free = 4096;
  ANSWER(getMemoryUsage, memory);
  ANSWER(getUptime, 86400);
  ANSWER(getIntrusionStatus, 2);
  FlashStatus f;
  BatteryStatus b;
  unsigned size = 0, free = 0;
  EXPECT_EQ(-1, getFlashStatus(f));  // not ok, but filled
  EXPECT_EQ(
      "2048|1024|1|1|20250101|20280101|16384|4096|86400|2|1|",
      join(f.mTotalSize, f.mFreeSize, getBatteryStatus(b), getMemoryUse(size, free), b.mInstalled,
           b.mExpires, size, free, getUptime(), getIntrusionStatus(), batteryReplaced()));
  flash.isOK = true;
  ANSWER(getFlashStatus, flash);
  EXPECT_EQ(0, getFlashStatus(f));
  setLocateLED(true);
  EXPECT_TRUE(mHw.args<hw::hardwareManager_setLocateLED_args>("setLocateLED").on);
  EXPECT_EQ(1u, mHw.calls("batteryReplaced").size());

  // A manager that is down: neutral answers at once, records and vectors left as they were.
  mHw.stop(), mNet.stop();
  auto start = Clock::now();
  setLocateLED(true);
  std::string answers =
      join(getUptime(), getFlashStatus(f), getBatteryStatus(b), batteryReplaced(),
           getMemoryUse(size, free), getIntrusionStatus(), clearIntrusionStatus(), getCPUUsage(cpu),
           getCPUDetailedUsage(cpu), getVolumeStatus(volumes), getRaidPhysDiskStatus(disks),
           getFanStatus(gotFans), getTempStatus(temps), getVoltageStatus(volts),
           getPowerStatus(supplies), isServiceReady(kHardwareReady2, 0),
           isNetServiceReady(kNetworkReady, 0));
  EXPECT_EQ("0|-1|0|0|0|-1|-1|0|0|0|0|0|0|0|0|0|0|", answers);
  EXPECT_LT(secondsSince(start), 1.5);
  EXPECT_EQ(
      "2048|1024|20250101|20280101|16384|4096|3|1|1|1|2|1|1|",
      join(f.mTotalSize, f.mFreeSize, b.mInstalled, b.mExpires, size, free, gotFans.size(),
           temps.size(), volts.size(), supplies.size(), cpu.size(), volumes.size(), disks.size()));
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
    ANSWER(clearIntrusionStatus, c.clear);
    ANSWER(getIntrusionStatus, c.read);
    int accepted = mHw.acceptedConnections();
    auto start = Clock::now();
    EXPECT_EQ(c.expected, clearIntrusionStatus());
    double took = secondsSince(start);
    EXPECT_TRUE(took >= c.minSeconds && took <= c.maxSeconds) << took;
    EXPECT_EQ(c.clears, mHw.calls("clearIntrusionStatus").size());
    EXPECT_EQ(c.clear < 0 ? 0 : c.clears, mHw.calls("getIntrusionStatus").size());
    EXPECT_EQ(accepted + 1, mHw.acceptedConnections());  // one connection for all attempts
  }
}

// Which code reaches which manager (both answer true), and who the hardware manager is asked
// about.
TEST_F(StatusUtilsTest, ReadinessCodes) {
  struct Case {
    int status;
    bool hardware, network;
    int who;
  } const cases[] = {
      {1, false, true, 0}, {2, true, false, 1}, {3, true, false, 2}, {4, false, false, 0}};
  ANSWER(isServiceReady, true);
  mNet.replySuccess<networkManager::networkManager_isNetServiceReady_result>("isNetServiceReady",
                                                                             true);
  for (Case const& c : cases) {
    EXPECT_EQ(c.hardware, isServiceReady(static_cast<ServiceStatus>(c.status), 0)) << c.status;
    EXPECT_EQ(c.network, isNetServiceReady(static_cast<ServiceStatus>(c.status), 0)) << c.status;
    if (c.who != 0) {
      EXPECT_EQ(c.who, mHw.args<hw::hardwareManager_isServiceReady_args>("isServiceReady").who);
    }
  }
  // A hung network manager answers false once the caller's timeout runs out.
  mNet.setHang(true);
  auto start = Clock::now();
  EXPECT_FALSE(isNetServiceReady(kNetworkReady, 300));
  EXPECT_LT(secondsSince(start), 2.0);
}

// Each table: below its first code, its first and last word, above its last code.
TEST(StatusUtilsText, DisplayWords) {
  EXPECT_EQ(
      "unknown|online|failed requested|exposed and controlled by host|unknown|other|secondary|"
      "unknown|unknown|HDD0|HDD3|unknown|parallel SCSI|fiber channel|unknown|1.5Gb/s|6.0Gb/s|"
      "unknown|",
      join(state2text(0), state2text(1), state2text(7), state2text(16), state2text(17),
           role2text(1), role2text(3), role2text(4), raidpos2text(0), raidpos2text(1),
           raidpos2text(4), raidpos2text(5), raidiface2text(2), raidiface2text(5),
           raidiface2text(6), raidspeed2text(1), raidspeed2text(3), raidspeed2text(4)));
}

}  // namespace
}  // namespace statusUtils
}  // namespace corvane
