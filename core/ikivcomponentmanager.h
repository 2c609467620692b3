//===- ikivcomponentmanager.h - The host's component manager ----*- C++ -*-===//
//
// What the component needs of the host's manager. Operations are addressed by
// their place in the table, so the slot order is a contract: the manager's
// createObject, registerInterface, getObject, lastError, incrementRefCount,
// decrementRefCount and container are its 2nd, 5th, 7th, 10th, 11th, 12th and
// 13th operations. reservedN slots exist only to keep that order.
// A container answers createObject and getObject with the manager's meaning.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivCString;
class KivString;
class IKivComponent;
struct KivClassId;

class IKivComponentContainer : public virtual IKivUnknown {
public:
  virtual void reserved1() {}
  // Builds the class with the given identifier and queries it for `name`; 1 on success.
  virtual int createObject(KivClassId* id, const KivCString& name, void** out) = 0;
  virtual void reserved3() {}
  virtual void reserved4() {}
  // Remembers that `id` provides the interface `name`.
  virtual void registerInterface(const KivCString& name, const KivClassId& id) = 0;
  virtual void reserved6() {}
  // A singleton class gives its one instance, any other class a new object; 1 on success.
  virtual int getObject(const KivCString& name, void** out) = 0;
  virtual void reserved8() {}
  virtual void reserved9() {}
};

class IKivComponentManager : public IKivComponentContainer {
public:
  virtual KivString lastError() = 0;
  // Atomic; the decrement is true exactly when the counter reaches zero.
  virtual void incrementRefCount(int* counter) = 0;
  virtual bool decrementRefCount(int* counter) = 0;
  // The container of that name, or null. The component always passes 0 as flags.
  virtual IKivComponentContainer* container(const KivCString& name, int flags) = 0;
};

// Loading of component libraries is the host's own business; no operation of
// this interface is called from inside a component.
class IKivComponentLoader : public virtual IKivUnknown {
public:
  // Opens the shared library, calls its EntryPoint and initialises the
  // component with the manager. Null (and lastError set) on any failure.
  virtual IKivComponent* loadComponent(const char* path) = 0;
};
