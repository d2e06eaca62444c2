// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Configuration manager façade: create, query, change and delete configuration objects as
/// `Value` trees, with result codes and the two configuration exceptions.
///   int rc = corvane::config::Service::updateObject("local", "interface", "eth0", tree, false);

#ifndef CORVANE_CONFIG_SERVICE_H
#define CORVANE_CONFIG_SERVICE_H

#include "corvane/export.h"

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

namespace corvane {
namespace config {

class Value;

/// Result codes of the configuration operations. Only 9 and 13 are produced by the library;
/// every other code comes from the configuration manager.
enum ReturnCode : int32_t {
  kwOK = 0,
  kwInvalidDomain = 1,
  kwInvalidType = 2,
  kwTypeNotFound = 3,
  kwInvalidObjectName = 4,
  kwObjectNotFound = 5,
  kwObjectExists = 6,
  kwValidationFailed = 7,
  kwInvalidState = 8,
  kwInvalidValue = 9,
  kwApplyChangeFailed = 10,
  kwNotificationFailed = 11,
  kwInternalError = 12,
  kwCommError = 13,
};

/// Names of the result codes, indexed by code; they are message-catalog keys.
extern CORVANE_EXPORT char const* const RETURNCODE_STR[14];
/// Names of `Service::AdminState` and `Service::OpState` values, indexed by value.
extern CORVANE_EXPORT char const* const ADMINSTATE_STR[2];
extern CORVANE_EXPORT char const* const OPSTATE_STR[4];

namespace messaging {

/// The configuration manager found a configuration object invalid. `what()` is the standard
/// exception's.
class CORVANE_EXPORT ValidationException : public std::exception {
 public:
  ValidationException(std::string const& errorString, std::string const& errorField);
  ~ValidationException() override;

  std::string errorString;  ///< what is wrong, usually a message identifier
  std::string errorField;   ///< which property
};

/// A change was refused or could not be applied. `what()` is "rc:%d, msgid:%s" built once,
/// cut to 255 bytes.
class CORVANE_EXPORT ConfigChangeException : public std::exception {
 public:
  ConfigChangeException(int32_t rc, std::string const& messageID,
                        std::vector<std::string> const& parameters);
  ~ConfigChangeException() override;
  char const* what() const noexcept override;

  int32_t rc;
  std::string messageID;
  std::vector<std::string> parameters;

 private:
  std::string mDescription;
};

}  // namespace messaging

/// One connection per call to the configuration manager ("configmgr"), closed before
/// returning; no state, safe from any thread. A failed conversation returns `kwCommError`
/// (out arguments untouched); exceptions that are not Thrift's pass through unchanged.
class CORVANE_EXPORT Service {
 public:
  enum AdminState : int32_t { kwDisabled = 0, kwEnabled = 1 };
  enum OpState : int32_t { kwUp = 0, kwDown = 1, kwPendingUp = 2, kwTransitionDown = 3 };

  /// Null `value` gives `kwInvalidValue` without connecting. Throws
  /// `messaging::ConfigChangeException` or `messaging::ValidationException` when the manager
  /// raises them.
  static int createObject(std::string const& domain, std::string const& objectType,
                          std::string const& objectName, Value const* value, AdminState state,
                          bool forceValidation);
  /// Null `value` gives `kwInvalidValue` without connecting. On `kwOK` stores the object (null
  /// for an empty one) in `*value`; caller owns it, free with delete. Otherwise `*value` is
  /// left as it was.
  static int queryObject(std::string const& domain, std::string const& objectType,
                         std::string const& objectName, Value** value);
  /// As `createObject`, without a state.
  static int updateObject(std::string const& domain, std::string const& objectType,
                          std::string const& objectName, Value const* value, bool forceValidation);
  /// Throws `messaging::ConfigChangeException` when the manager raises it.
  static int deleteObject(std::string const& domain, std::string const& objectType,
                          std::string const& objectName);
  static int resetObject(std::string const& domain, std::string const& objectType,
                         std::string const& objectName);
  /// A null `value` is sent as an empty object. Throws `messaging::ValidationException`.
  static int validateObject(std::string const& objectType, Value const* value);
  /// The object types the manager knows; empty when it cannot be reached.
  static std::vector<std::string> getObjectTypes();
  /// `names` receives the manager's list whatever the code.
  static int getNamesofObject(std::string const& domain, std::string const& objectType,
                              std::vector<std::string>& names);
  /// Throws `messaging::ConfigChangeException` or `messaging::ValidationException`.
  static int setAdminState(std::string const& domain, std::string const& objectType,
                           std::string const& objectName, AdminState state);
  /// `state` receives the manager's state whatever the code.
  static int getAdminState(std::string const& domain, std::string const& objectType,
                           std::string const& objectName, AdminState& state);
  static int setOpState(std::string const& domain, std::string const& objectType,
                        std::string const& objectName, OpState state);
  /// `state` receives the manager's state whatever the code.
  static int getOpState(std::string const& domain, std::string const& objectType,
                        std::string const& objectName, OpState& state);

  Service() = delete;
};

}  // namespace config
}  // namespace corvane

#endif  // CORVANE_CONFIG_SERVICE_H
