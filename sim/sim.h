// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The simulated appliance: shared state of `corvane-sim` (options, event log, configuration
// store, per-manager faults) and the servers that carry each manager's handler.

#ifndef CORVANE_SIM_SIM_H
#define CORVANE_SIM_SIM_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <thrift/TProcessor.h>

#include <corvane/idl/j2t_types.h>

namespace apache {
namespace thrift {
namespace server {
class TThreadedServer;
}
}  // namespace thrift
}  // namespace apache

namespace corvane {
namespace sim {

// What a manager does with a call instead of answering it normally.
enum class Fault { kNone, kDown, kHung, kGarbage, kClose, kSlow };

// "none", "down", "hung", "garbage", "close", "slow"; false for any other word.
bool parseFault(std::string const& word, Fault& fault);
char const* faultName(Fault fault);

struct Options {
  bool verbose = false;        // echo every event and received log line to stderr
  std::string scenario;        // hardware scenario file; empty for the built-in one
  int unrecoverableAfter = 3;  // unhealthy notes after which a process is unrecoverable
  int upgradeSteps = 5;        // progress reports of a firmware upgrade
  int upgradeStepMs = 400;     // pause between them
  std::string controlPath = "/tmp/corvane-sim.control";
};

// Readable, line-per-event files under /var/log, mirrored to stderr when verbose.
class EventLog {
 public:
  EventLog(std::string path, bool echo);
  ~EventLog();
  // One line: "<time> <source>: <text>".
  void write(std::string const& source, std::string const& text);

 private:
  std::mutex mMutex;
  std::string mPath;
  bool mEcho;
  FILE* mFile;
};

// The configuration manager's objects, also read by the network manager for its status.
class ConfigStore {
 public:
  struct Object {
    std::vector<j2t::j2tValue> value;  // the flat value list as stored
    int32_t admin = 1;                 // enabled
    int32_t op = 0;                    // up
  };
  using Key = std::tuple<std::string, std::string, std::string>;  // domain, type, name

  bool get(Key const& key, Object& object) const;
  void put(Key const& key, Object const& object);
  bool erase(Key const& key);
  std::vector<std::string> names(std::string const& domain, std::string const& type) const;
  bool has(Key const& key) const;
  void clear();

 private:
  mutable std::mutex mMutex;
  std::map<Key, Object> mObjects;
};

struct Sim {
  explicit Sim(Options const& opts);
  Options options;
  EventLog events;
  ConfigStore config;
  std::atomic<bool> stopping{false};

  // Registers what a manager does when the appliance reboots; handlers live as long as the
  // simulator runs.
  void onReboot(std::function<void()> hook);
  // The appliance reboots (the reboot request of a device reset): every manager goes back to
  // the state it started in, and the event is recorded.
  void reboot();

 private:
  std::mutex mRebootMutex;
  std::vector<std::function<void()>> mRebootHooks;
};

// One manager's Thrift server: a threaded server on [::] at the services-database port of
// its service, with the fault in force wrapped around the generated processor.
class ManagerServer {
 public:
  ManagerServer(Sim& sim, std::string service,
                std::shared_ptr<apache::thrift::TProcessor> processor);
  ~ManagerServer();
  ManagerServer(ManagerServer const&) = delete;
  ManagerServer& operator=(ManagerServer const&) = delete;

  std::string const& service() const { return mService; }
  int port() const { return mPort; }
  // Listens and serves on a thread of its own; false when the service has no port or the
  // port cannot be bound. Returns once listening (or failed).
  bool start();
  // Stops listening and drops open connections; waits for the server thread.
  void stop();
  bool running() const { return mRunning; }

  // Sets the fault; "down" stops the server, anything else starts it again.
  void setFault(Fault fault, int slowMs);
  Fault fault() const { return mFault; }
  int slowMs() const { return mSlowMs; }
  bool stopping() const { return mStopping || mSim.stopping; }

 private:
  Sim& mSim;
  std::string mService;
  int mPort;
  std::shared_ptr<apache::thrift::TProcessor> mProcessor;
  std::shared_ptr<apache::thrift::server::TThreadedServer> mServer;
  std::thread mThread;
  std::mutex mLifecycle;
  std::atomic<bool> mRunning{false};
  std::atomic<bool> mStopping{false};
  std::atomic<Fault> mFault{Fault::kNone};
  std::atomic<int> mSlowMs{2000};
};

// The generated processor of each service with the simulator's handler behind it.
std::shared_ptr<apache::thrift::TProcessor> makeConfigManager(Sim& sim);
std::shared_ptr<apache::thrift::TProcessor> makeHardwareManager(Sim& sim);
std::shared_ptr<apache::thrift::TProcessor> makeNetworkManager(Sim& sim);
std::shared_ptr<apache::thrift::TProcessor> makeProcessManager(Sim& sim);
std::shared_ptr<apache::thrift::TProcessor> makeUserManager(Sim& sim);
std::shared_ptr<apache::thrift::TProcessor> makeFirmwareManager(Sim& sim);
std::shared_ptr<apache::thrift::TProcessor> makeStatusManager(Sim& sim);
std::shared_ptr<apache::thrift::TProcessor> makeLogReceiver(Sim& sim);

// Waits for firmware upgrades still reporting progress; called once at exit.
void finishUpgrades();

// Receives syslog datagrams on the "syslogng" UDP port and writes them to
// "/var/log/corvane-sim-syslog.log" until the simulator stops.
class SyslogSink {
 public:
  explicit SyslogSink(Sim& sim);
  ~SyslogSink();
  bool start();

 private:
  Sim& mSim;
  int mSocket = -1;
  std::thread mThread;
  EventLog mLog;
};

}  // namespace sim
}  // namespace corvane

#endif  // CORVANE_SIM_SIM_H
