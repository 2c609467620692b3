//===- ikivpersistentrefmap.h - The host's table of object numbers -*- C++ -*-===//
//
// The host provides this service under "IKivPersistentRefMap"; the component
// looks it up by name at each use and calls only the operations at places 1,
// 2, 3, 5, 8, 9, 10 and 11 (counted from 1 behind IKivUnknown's). The
// reservedN slots exist only to keep those places, so the slot order is a
// contract and must not change.
//
// Invariants a user must know:
//  - One table serves one write or one read at a time in a process; reset()
//    starts a new one. Numbers mean nothing outside that write or read.
//  - Number 0 means "no object": getId(null) gives 0, and 0 is never handed
//    out nor registered.
//  - getId() takes no reference (the writer's objects are held by their
//    owners while they are written); setObject() holds one until reset().
//  - A callback waiting for a number is held with a reference until it has
//    been resolved or reset() drops it.
//  - No lock: one thread at a time.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

template <class T>
class IterStack;
class IKivPersistentRef;
class IKivPersistentRefCallback;

class IKivPersistentRefMap : public virtual IKivUnknown {
public:
  // 1. The object of a number, or null in *out; true if there is one.
  virtual bool find(uint32_t refId, IKivPersistentRef** out) = 0;
  // 2. Records the object of a number and resolves the callbacks waiting
  //    for it. The first object recorded for a number keeps it.
  virtual void setObject(uint32_t refId, IKivPersistentRef* object) = 0;
  // 3. Whether the object has a number already.
  virtual bool contains(IKivPersistentRef* object) = 0;
  virtual void reserved4() {}
  // 5. The object's number, handed out at first sight; 0 for null.
  virtual uint32_t getId(IKivPersistentRef* object) = 0;
  virtual void reserved6() {}
  virtual void reserved7() {}
  // 8. Forgets all numbers, objects and callbacks.
  virtual void reset() = 0;
  // 9. Asks to be told the object of refId; at once if it is known.
  virtual void addCallback(uint32_t refId, IKivPersistentRefCallback* callback) = 0;
  // 10. Records that the object of refId stands in the file.
  virtual void setWritten(uint32_t refId) = 0;
  // 11. Appends, in ascending order, the numbers getId handed out that have
  //     not been marked written.
  virtual void getUnwritten(IterStack<int32_t>& out) = 0;
};
