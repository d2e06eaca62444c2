// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fake manager daemons for tests: real Thrift servers built on the generated processors,
// listening on the sandbox's manager address at the services-database port of their service.
//
//   corvane::testing::FakeManager cm("configmgr");
//   configManager::configManager_queryObject_result r;
//   r.success.code = 5;
//   r.__isset.success = true;
//   cm.reply("queryObject", r);
//   ... code under test ...
//   auto args = cm.args<configManager::configManager_queryObject_args>("queryObject");

#ifndef CORVANE_TESTS_SUPPORT_FAKE_MANAGER_H
#define CORVANE_TESTS_SUPPORT_FAKE_MANAGER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <thrift/TApplicationException.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

namespace corvane {
namespace testing {

// Serialises a generated record with the binary protocol.
template <class Record>
std::string serialize(Record const& record) {
  auto buffer = std::make_shared<apache::thrift::transport::TMemoryBuffer>();
  apache::thrift::protocol::TBinaryProtocol protocol(buffer);
  record.write(&protocol);
  return buffer->getBufferAsString();
}

// Reads a generated record from binary-protocol bytes.
template <class Record>
Record deserialize(std::string const& bytes) {
  auto buffer = std::make_shared<apache::thrift::transport::TMemoryBuffer>(
      reinterpret_cast<uint8_t*>(const_cast<char*>(bytes.data())),
      static_cast<uint32_t>(bytes.size()));
  apache::thrift::protocol::TBinaryProtocol protocol(buffer);
  Record record;
  record.read(&protocol);
  return record;
}

// One received message, as it came off the wire.
struct Call {
  std::string name;
  int32_t type = 0;  // 1 CALL, 4 ONEWAY, ...
  int32_t seqid = 0;
  std::string message;  // the whole message
  std::string args;     // the argument record's bytes
};

// The generated result record `Result` answering with `value`.
template <class Result, class T>
Result success(T const& value) {
  Result r;
  r.success = value;
  r.__isset.success = true;
  return r;
}

class FakeManager {
 public:
  // `service` is a services-database name: "configmgr", "hardwaremgr", "networkmgr",
  // "processmgr", "usermgr", "firmwaremgr", "statusmgr" or "logreceiver". Starts listening
  // at once on [::] and the service's port. Unprogrammed methods answer through the
  // generated processor with neutral values (0, false, empty).
  explicit FakeManager(std::string const& service);
  ~FakeManager();

  FakeManager(FakeManager const&) = delete;
  FakeManager& operator=(FakeManager const&) = delete;

  int port() const;
  // Stops listening and drops open connections: clients then get "connection refused".
  void stop();
  // Listens again after `stop`.
  void start();

  // Every later call of `method` is answered with a REPLY carrying `result` (a generated
  // `<service>_<method>_result` or any record with the same fields).
  template <class Result>
  void reply(std::string const& method, Result const& result) {
    replyBytes(method, 2, serialize(result));
  }
  // Every later call of `method` is answered with the `Result` record whose success is `value`.
  template <class Result, class T>
  void replySuccess(std::string const& method, T const& value) {
    reply(method, success<Result>(value));
  }
  // Every later call of `method` is answered with a REPLY carrying the record that `answer`
  // makes from the call's decoded argument record (generated `<service>_<method>_args` and
  // `_result` types), so that one method can answer differently per argument. `answer` runs
  // on a connection thread.
  template <class Args, class Result>
  void replyWith(std::string const& method, std::function<Result(Args const&)> answer) {
    replyFunction(method, [answer](std::string const& args) {
      return serialize(answer(deserialize<Args>(args)));
    });
  }
  // The same with the argument bytes in and the result record's bytes out.
  void replyFunction(std::string const& method,
                     std::function<std::string(std::string const&)> answer);
  // Every later call of `method` is answered with an EXCEPTION message.
  void replyException(std::string const& method, apache::thrift::TApplicationException const& e);
  // Answers `method` with a message header of `messageType` (and, when `replyName` is not
  // empty, that method name instead of the called one) followed by `body`.
  void replyBytes(std::string const& method, int32_t messageType, std::string const& body,
                  std::string const& replyName = std::string());
  // Raw mode: every later call of `method` ("" for any method) is answered with exactly
  // `bytes`, then the connection is closed when `close` is set.
  void replyRaw(std::string const& method, std::string const& bytes, bool close = false);
  // Accepts connections and reads calls but never answers while set.
  void setHang(bool hang);
  // Forgets programmed answers and recorded calls.
  void reset();

  std::vector<Call> calls() const;
  // Recorded calls of `method` only.
  std::vector<Call> calls(std::string const& method) const;
  // Waits until at least `count` calls were recorded or `timeoutMs` passed.
  bool waitForCalls(size_t count, int timeoutMs) const;
  // Connections accepted so far.
  int acceptedConnections() const;
  // Waits until no connection is waiting to be accepted, being accepted or open: every
  // descriptor of this fake's connections is closed. False after `timeoutMs`.
  bool waitUntilIdle(int timeoutMs = 3000) const;

  // The argument record of the last call of `method`, decoded.
  template <class Args>
  Args args(std::string const& method) const {
    auto recorded = calls(method);
    return recorded.empty() ? Args() : deserialize<Args>(recorded.back().args);
  }

 private:
  struct Impl;
  std::unique_ptr<Impl> mImpl;
};

// Starts one fake for each of the seven manager services and the log receiver.
class FakeManagers {
 public:
  FakeManagers();
  ~FakeManagers();
  FakeManager& networkmgr();
  // By services-database name.
  FakeManager& get(std::string const& service);

 private:
  std::vector<std::unique_ptr<FakeManager>> mManagers;
};

// Receives the syslog datagrams sent to the "syslogng" UDP port.
class SyslogSink {
 public:
  SyslogSink();
  ~SyslogSink();
  SyslogSink(SyslogSink const&) = delete;
  SyslogSink& operator=(SyslogSink const&) = delete;

  // The next datagram, or false after `timeoutMs` without one.
  bool next(std::string& datagram, int timeoutMs);
  // Every datagram that arrives within `quietMs` of the previous one.
  std::vector<std::string> drain(int quietMs = 100);

 private:
  int mSocket;
};

}  // namespace testing
}  // namespace corvane

#endif  // CORVANE_TESTS_SUPPORT_FAKE_MANAGER_H
