// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Configuration manager: configuration objects and system-wide settings.

include "baseManager.thrift"
include "j2t.thrift"

namespace cpp configManager

struct RtcValue {
  1: list<j2t.j2tValue> values,
  2: i32 code
}

struct RtcObjectName {
  1: list<string> objectNames,
  2: i32 code
}

struct RtcAdminState {
  1: i32 state,
  2: i32 code
}

struct RtcOpState {
  1: i32 state,
  2: i32 code
}

// Carried by no method; kept for the daemons that share this file.
struct ResetFileError {
  1: string fileIdent,
  2: i32 errorCode
}

struct ResetReturn {
  1: i32 returnCode,
  2: list<ResetFileError> filesInErr
}

exception ValidationException {
  1: string errorString,
  2: string errorField
}

exception ConfigChangeException {
  1: i32 rc,
  2: string messageID,
  3: optional list<string> parameters
}

service configManager extends baseManager.baseManager {
  bool setTimezone(1: string zone),
  // i32 on purpose: the wire keeps the narrow time field.
  i32 setDateTime(1: i32 datetime),
  bool setLocale(1: string language, 2: string country),
  bool setHostnames(1: string ipAddr, 2: list<string> hostnames),
  bool deleteHostnames(1: string ipAddr),
  list<string> getHostnames(1: string ipAddr),
  list<string> getAddresses(),
  i32 initNodename(),
  i32 setNodename(1: string newName),
  bool collectPD(1: string shellFilename),
  bool isInitialConfigComplete(),

  i32 createObject(1: string domain, 2: string objectType, 3: string objectName,
                   4: list<j2t.j2tValue> value, 5: i32 state, 6: bool forceValidation)
      throws (1: ConfigChangeException e, 2: ValidationException ve),
  RtcValue queryObject(1: string domain, 2: string objectType, 3: string objectName),
  i32 resetObject(1: string domain, 2: string objectType, 3: string objectName)
      throws (1: ConfigChangeException e),
  i32 updateObject(1: string domain, 2: string objectType, 3: string objectName,
                   4: list<j2t.j2tValue> value, 5: bool forceValidation)
      throws (1: ConfigChangeException e, 2: ValidationException ve),
  i32 deleteObject(1: string domain, 2: string objectType, 3: string objectName)
      throws (1: ConfigChangeException e),
  i32 validateObject(1: string objectType, 2: list<j2t.j2tValue> value)
      throws (1: ValidationException ve),
  list<string> getObjectTypes(),
  RtcObjectName getNamesofObject(1: string domain, 2: string objectType),
  i32 setAdminState(1: string domain, 2: string objectType, 3: string objectName,
                    4: i32 state)
      throws (1: ConfigChangeException e),
  RtcAdminState getAdminState(1: string domain, 2: string objectType, 3: string objectName),
  i32 setOpState(1: string domain, 2: string objectType, 3: string objectName, 4: i32 state),
  RtcOpState getOpState(1: string domain, 2: string objectType, 3: string objectName),
  void sendInitOpState()
}
