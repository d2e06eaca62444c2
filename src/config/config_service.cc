// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Configuration manager façade: one connection per call, codes and exceptions translated.

#include "corvane/config_service.h"

#include <thrift/Thrift.h>

#include <cstdio>
#include <memory>

#include <corvane/idl/configManager.h>
#include "corvane/client.h"
#include "corvane/config_value.h"
#include "corvane/log.h"

namespace corvane {
namespace config {

char const* const RETURNCODE_STR[14] = {
    "kwOK",
    "kwInvalidDomain",
    "kwInvalidType",
    "kwTypeNotFound",
    "kwInvalidObjectName",
    "kwObjectNotFound",
    "kwObjectExists",
    "kwValidationFailed",
    "kwInvalidState",
    "kwInvalidValue",
    "kwApplyChangeFailed",
    "kwNotificationFailed",
    "kwInternalError",
    "kwCommError",
};

char const* const ADMINSTATE_STR[2] = {"kwDisabled", "kwEnabled"};

char const* const OPSTATE_STR[4] = {"kwUp", "kwDown", "kwPendingUp", "kwTransitionDown"};

namespace messaging {

ValidationException::ValidationException(std::string const& errorString_,
                                         std::string const& errorField_)
    : errorString(errorString_), errorField(errorField_) {}

ValidationException::~ValidationException() = default;

ConfigChangeException::ConfigChangeException(int32_t rc_, std::string const& messageID_,
                                             std::vector<std::string> const& parameters_)
    : rc(rc_), messageID(messageID_), parameters(parameters_) {
  char description[256];  // long message ids are cut here; `messageID` stays whole
  snprintf(description, sizeof description, "rc:%d, msgid:%s", rc, messageID.c_str());
  mDescription = description;
}

ConfigChangeException::~ConfigChangeException() = default;

char const* ConfigChangeException::what() const noexcept { return mDescription.c_str(); }

}  // namespace messaging

namespace {

using Client = configManager::configManagerClient;
using apache::thrift::TException;

// The client is deleted, and the connection closed, when the last owner goes.
std::shared_ptr<Client> connect() {
  return std::shared_ptr<Client>(getClient<Client>("configmgr", 0));
}

// Makes `call` on a fresh client; false when any Thrift exception ended the conversation.
// For the operations whose answers carry no declared exception.
template <class Call>
bool converse(Call&& call) {
  try {
    auto client = connect();
    call(*client);
    return true;
  } catch (TException const&) {
    return false;
  }
}

ValueList toList(Value const* value, std::string const& name) {
  ValueList list;
  if (value != nullptr) value->asThrift(list, name.c_str());
  return list;
}

[[noreturn]] void rethrow(configManager::ConfigChangeException const& e) {
  throw messaging::ConfigChangeException(e.rc, e.messageID, e.parameters);
}

[[noreturn]] void rethrow(configManager::ValidationException const& e) {
  log::trace(3, "Caught and rethrowing ValidationException");
  throw messaging::ValidationException(e.errorString, e.errorField);
}

}  // namespace

int Service::createObject(std::string const& domain, std::string const& objectType,
                          std::string const& objectName, Value const* value, AdminState state,
                          bool forceValidation) {
  if (value == nullptr) return kwInvalidValue;
  try {
    auto client = connect();
    return client->createObject(domain, objectType, objectName, toList(value, objectName), state,
                                forceValidation);
  } catch (configManager::ConfigChangeException const& e) {
    rethrow(e);
  } catch (configManager::ValidationException const& e) {
    rethrow(e);
  } catch (TException const&) {
    return kwCommError;
  }
}

int Service::queryObject(std::string const& domain, std::string const& objectType,
                         std::string const& objectName, Value** value) {
  if (value == nullptr) return kwInvalidValue;
  configManager::RtcValue answer;
  if (!converse([&](Client& c) { c.queryObject(answer, domain, objectType, objectName); })) {
    return kwCommError;
  }
  if (answer.code == kwOK) *value = Value::parseThrift(answer.values);
  return answer.code;
}

int Service::updateObject(std::string const& domain, std::string const& objectType,
                          std::string const& objectName, Value const* value, bool forceValidation) {
  if (value == nullptr) return kwInvalidValue;
  try {
    auto client = connect();
    return client->updateObject(domain, objectType, objectName, toList(value, objectName),
                                forceValidation);
  } catch (configManager::ConfigChangeException const& e) {
    // Only this operation logs the change exception and the failed conversation: as designed.
    log::trace(3, "Caught and rethrowing ConfigChangeException");
    rethrow(e);
  } catch (configManager::ValidationException const& e) {
    rethrow(e);
  } catch (TException const&) {
    log::trace(3, "Caught TException, returning kwCommError");
    return kwCommError;
  }
}

int Service::deleteObject(std::string const& domain, std::string const& objectType,
                          std::string const& objectName) {
  try {
    auto client = connect();
    return client->deleteObject(domain, objectType, objectName);
  } catch (configManager::ConfigChangeException const& e) {
    rethrow(e);
  } catch (TException const&) {
    return kwCommError;
  }
}

int Service::resetObject(std::string const& domain, std::string const& objectType,
                         std::string const& objectName) {
  try {
    auto client = connect();
    return client->resetObject(domain, objectType, objectName);
  } catch (configManager::ConfigChangeException const& e) {
    rethrow(e);
  } catch (TException const&) {
    return kwCommError;
  }
}

int Service::validateObject(std::string const& objectType, Value const* value) {
  try {
    auto client = connect();
    return client->validateObject(objectType, toList(value, objectType));
  } catch (configManager::ValidationException const& e) {
    rethrow(e);
  } catch (TException const&) {
    return kwCommError;
  }
}

std::vector<std::string> Service::getObjectTypes() {
  std::vector<std::string> types;
  if (!converse([&](Client& c) { c.getObjectTypes(types); })) return std::vector<std::string>();
  return types;
}

int Service::getNamesofObject(std::string const& domain, std::string const& objectType,
                              std::vector<std::string>& names) {
  configManager::RtcObjectName answer;
  if (!converse([&](Client& c) { c.getNamesofObject(answer, domain, objectType); })) {
    return kwCommError;
  }
  names = answer.objectNames;
  return answer.code;
}

int Service::setAdminState(std::string const& domain, std::string const& objectType,
                           std::string const& objectName, AdminState state) {
  try {
    auto client = connect();
    return client->setAdminState(domain, objectType, objectName, state);
  } catch (configManager::ConfigChangeException const& e) {
    rethrow(e);
  } catch (configManager::ValidationException const& e) {
    rethrow(e);
  } catch (TException const&) {
    return kwCommError;
  }
}

int Service::getAdminState(std::string const& domain, std::string const& objectType,
                           std::string const& objectName, AdminState& state) {
  configManager::RtcAdminState answer;
  if (!converse([&](Client& c) { c.getAdminState(answer, domain, objectType, objectName); })) {
    return kwCommError;
  }
  state = static_cast<AdminState>(answer.state);
  return answer.code;
}

int Service::setOpState(std::string const& domain, std::string const& objectType,
                        std::string const& objectName, OpState state) {
  int rc = kwCommError;
  converse([&](Client& c) { rc = c.setOpState(domain, objectType, objectName, state); });
  return rc;
}

int Service::getOpState(std::string const& domain, std::string const& objectType,
                        std::string const& objectName, OpState& state) {
  configManager::RtcOpState answer;
  if (!converse([&](Client& c) { c.getOpState(answer, domain, objectType, objectName); })) {
    return kwCommError;
  }
  state = static_cast<OpState>(answer.state);
  return answer.code;
}

}  // namespace config
}  // namespace corvane
