// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// The callback server: this process's own `callbackManager` service, through which managers
/// change its log level and trace mask, stop the server and report firmware-upgrade progress.
/// It runs on the one thread the library starts, on the first free port from 9100.
///   corvane::callbackManagerHandler* h = corvane::callbackManagerHandler::startCallbackManager();
///   if (h != nullptr) passPortToManager(h->port);

#ifndef CORVANE_CALLBACK_MANAGER_H
#define CORVANE_CALLBACK_MANAGER_H

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include <corvane/idl/callbackManager.h>
#include "corvane/export.h"

namespace apache {
namespace thrift {
namespace server {
class TSimpleServer;
}
namespace transport {
class TServerSocket;
}
}  // namespace thrift
}  // namespace apache

namespace corvane {

/// Receives the progress of a firmware upgrade that a manager reports to the callback server.
class CORVANE_EXPORT FirmwareUpgradeListener {
 public:
  virtual ~FirmwareUpgradeListener();
  /// Called on the server thread, one report at a time, with the values the manager sent.
  virtual void firmwareUpgradeProgress(int currentStep, int totalSteps, int code) = 0;
};

/// Serves the callback service. One handler per process, created by `startCallbackManager`
/// and served by a single-connection Thrift server on the server thread; service operations
/// run on that thread one at a time. Start, stop and clean up from one program thread.
class CORVANE_EXPORT callbackManagerHandler : virtual public callbackManager::callbackManagerIf {
 public:
  /// First and last port tried by `startCallbackManager`.
  static constexpr unsigned short kLowPort = 9100;
  static constexpr unsigned short kHighPort = 9200;

  /// A handler for `port` with no progress listener. Starts nothing by itself.
  explicit callbackManagerHandler(int port);
  /// For the running handler (`handler`): stops the server if it still runs and waits for the
  /// server thread to end. Never call it on the server thread.
  ~callbackManagerHandler() override;

  callbackManagerHandler(callbackManagerHandler const&) = delete;
  callbackManagerHandler& operator=(callbackManagerHandler const&) = delete;

  // Service operations, in the interface's slot order. Called by the Thrift processor.

  /// Stops the server (see `shutdown` below); also the local way to stop it. Any thread.
  void shutdown() override;
  /// Sets this process's logger level and mask through `log::setLogging` (the mask only with
  /// level 7), traced.
  void setLogging(int32_t logLevel, int32_t logMask) override;
  /// Does nothing and answers 0.
  int32_t startTest(int32_t numIterations) override;
  /// Does nothing.
  void performTest(int32_t index) override;
  /// Does nothing and answers true (1). Deliberately unlike `startTest`; callers rely on it.
  bool stopTest() override;
  /// Traces the three values at level 7 and hands them to the progress listener, if any.
  void firmwareUpgradeCallback(int32_t currentStep, int32_t totalSteps, int32_t code) override;

  /// Attaches the progress listener (null detaches it); any thread. Not owned: it must stay
  /// alive until the server has stopped or until it was replaced and no report is running.
  void setFirmwareUpgradeListener(FirmwareUpgradeListener* listener);
  FirmwareUpgradeListener* firmwareUpgradeListener() const;

  /// Starts the server once per process and returns the handler; later calls return the same
  /// handler until `cleanup`. Null when no socket could be made or the thread could not start.
  /// Returns once the server listens (or has failed to), waiting at most about two seconds, so
  /// the port may be handed to a manager at once. Installs `sSignalHandler` for SIGTERM. Not
  /// thread-safe: call from one program thread.
  static callbackManagerHandler* startCallbackManager();
  /// Probes `low`, `low`+1, ... with an IPv4 TCP socket bound to the wildcard address and
  /// returns the first port that binds. When none binds up to `high`, the result is `high`+1
  /// all the same (deliberate; callers rely on it). 0 when no socket could be made. The port
  /// is released again before returning.
  static int sFindAvailablePort(unsigned short low, unsigned short high);
  /// Body of the server thread: serves `arg` (the handler) until stopped. Returns null.
  static void* sPthreadRoutine(void* arg);
  /// SIGTERM handler: traces the signal and stops the server; the process keeps running.
  static void sSignalHandler(int sig);
  /// Deletes `handler` (stopping its server and waiting for the thread) and clears it.
  static void cleanup();

  /// The running handler, null when none. Owned by the library; released by `cleanup`.
  static callbackManagerHandler* handler;
  /// The server thread, valid while `handler` is set.
  static pthread_t mMgrThread;

 private:
  friend class CallbackServerEvents;

  /// Stops the recorded server, or marks the stop for a server that has not started to listen.
  static void stopServer();

  /// Fields in this order.
  std::atomic<FirmwareUpgradeListener*> mListener;

 public:
  /// The TCP port the server listens on.
  int port;

 private:
  /// The running server and its listening socket, null while none listens. Owned by the server
  /// thread; atomics because the SIGTERM handler and other threads read them.
  static std::atomic<apache::thrift::server::TSimpleServer*> sServer;
  static std::atomic<apache::thrift::transport::TServerSocket*> sServerSocket;
  /// A stop asked for before the server listened; applied as soon as it listens.
  static std::atomic<bool> sStopRequested;
  /// Stops using the recorded server right now; the server thread waits for none to be left
  /// before releasing the server.
  static std::atomic<int> sStopsInFlight;
  /// Set by the server thread when `serve` has returned or failed.
  static std::atomic<bool> sServeEnded;
  /// Whether `mMgrThread` names a thread that has not been joined yet.
  static std::atomic<bool> sThreadRecorded;
};

}  // namespace corvane

#endif  // CORVANE_CALLBACK_MANAGER_H
