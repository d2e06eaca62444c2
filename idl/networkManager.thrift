// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Network manager: interface state, name map, addresses, tests, captures, DHCP events.
// It consumes configuration changes itself, hence its base service.

include "configManagerConsumer.thrift"

namespace cpp networkManager

struct NetifStatus {
  1: bool success,
  2: bool enabled,
  3: bool linked,
  4: list<map<string,string>> status
}

struct NetTestResult {
  1: bool ok,
  2: i32 errcode,
  3: string message
}

struct captureInfo {
  1: string mIntName,
  2: i32 mState,
  3: list<string> mFileNames
}

service networkManager extends configManagerConsumer.configManagerConsumer {
  NetifStatus getInterfaceStatus(1: string ifname),
  NetifStatus getAggregateStatus(1: string aggname),
  NetifStatus getVLANStatus(1: string vlanname),
  bool isNetServiceReady(),
  string getAppInterfaceName(1: string kernelInterfaceName),
  string getKernelInterfaceName(1: string appInterfaceName),
  map<string,string> dumpInterfaceNameMap(),

  i32 addVIPToInterface(1: string interfaceName, 2: string vipAddressNet),
  i32 removeVIPFromInterface(1: string interfaceName, 2: string vipAddressNet),
  i32 addVIPToLoopback(1: string vipAddressNet),
  i32 removeVIPFromLoopback(1: string vipAddressNet),
  i32 setHWAddressImmediate(1: string interfaceName, 2: string hwAddress),
  i32 resetHWAddressImmediate(1: string interfaceName),

  NetTestResult NetTest(1: i32 type, 2: list<string> params),
  i32 startPacketCapture(1: string intName, 2: string filter, 3: string fileName,
                         4: i32 seconds, 5: i32 fileSize, 6: i32 fileNum, 7: i32 packetNum),
  bool stopPacketCapture(1: string intName),
  bool removeCapture(1: string intName),
  captureInfo getCaptureInfo(1: string intName),
  list<string> getAllCapturedInterfaces(),

  // Name servers travel as a list, search domains as one string.
  void dhcpEvent(1: string eventType, 2: string interfaceName, 3: string interfaceAddress,
                 4: string defaultRoute, 5: list<string> dnsNameServers,
                 6: string dnsSearchDomains)
}
