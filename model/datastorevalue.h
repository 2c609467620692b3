//===- datastorevalue.h - Modifiers that read and write settings -*- C++ -*-===//
//
// GetDataStoreValue and SetDataStoreValue address one key of the host's
// IDataStore, named by "option" (a slash-separated path). The value travels
// in "intValue", "floatValue" or "stringValue", its bounds in the min/max
// properties, and its kind in "type": 0 unknown or any, 1 wide string,
// 2 8-bit string, 3 integer, 4 floating point (not the store's numbering).
//
// Invariants a user must know:
//  - GetDataStoreValue writes its results through the properties, which are
//    read-only for callers of PropertyMap's set operations.
//  - SetDataStoreValue creates a missing key (and the group ahead of its last
//    "/") with the given value as default and the given bounds; an existing
//    key keeps its bounds.
//  - Failures leave the store unchanged and throw the class-error form.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/modifier.h"

class IKivGetDataStoreValue : public virtual IKivUnknown {
public:
  virtual void run() = 0;  // 1
};

class IKivSetDataStoreValue : public virtual IKivUnknown {
public:
  virtual void run() = 0;  // 1
};

class GetDataStoreValue : public Modifier, public IKivGetDataStoreValue {
public:
  static constexpr const char* kClassName = "GetDataStoreValue";

  GetDataStoreValue();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void run() override;
};

class SetDataStoreValue : public Modifier, public IKivSetDataStoreValue {
public:
  static constexpr const char* kClassName = "SetDataStoreValue";

  SetDataStoreValue();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void run() override;
};
