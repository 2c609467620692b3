//===- ikivcomponent.h - The component's interfaces -------------*- C++ -*-===//
//
// IKivComponent is what EntryPoint hands to the host; IKivCompInternal lets
// the host enumerate the component's classes. Slot order is a contract.
// createInstance kinds: 0 no such class, 1 a new instance (refCount 0),
// 2 the class's single instance.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IKivComponentManager;
class KivCString;
struct KivClassId;

class IKivComponent : public virtual IKivUnknown {
public:
  virtual void initialize(IKivComponentManager* manager) = 0;
  virtual void shutdown() = 0;
  virtual int32_t createInstance(const KivClassId& id, IKivUnknown** out) = 0;
  virtual const char* version() = 0;
};

class IKivCompInternal : public virtual IKivUnknown {
public:
  virtual void reserved1() {}
  virtual void reserved2() {}
  virtual const KivClassId* classId() = 0;
  virtual const char* name() = 0;
  virtual int32_t reserved5() { return 0; }
  virtual int32_t classCount() = 0;
  virtual bool firstClass(KivClassId* out) = 0;
  virtual bool nextClass(KivClassId* out) = 0;
  virtual const char* classNameOf(const KivClassId& id) = 0;
  virtual bool reserved10() { return true; }
  virtual void runTests(IKivUnknown* testService) = 0;
  virtual void setContainerName(const KivCString& name) = 0;
  virtual const KivCString& containerName() = 0;
  virtual void setBreakEnabled(bool enabled) = 0;
  virtual bool breakEnabled() = 0;
};

// The library's one export. Returns 1 and the component (refCount 0) with
// *apiVersion 100; 0 on failure.
extern "C" int32_t EntryPoint(uint32_t* apiVersion, IKivComponent** component);
using KivEntryPointFunction = int32_t (*)(uint32_t*, IKivComponent**);
