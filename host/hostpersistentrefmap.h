//===- hostpersistentrefmap.h - The reference host's object numbers -*- C++ -*-===//
//
// HostPersistentRefMap is the table behind "IKivPersistentRefMap" (see
// kivbasictypes/ikivpersistentrefmap.h for the contract). Writing: getId()
// hands out 1, 2, 3, ... in order of first sight, skipping numbers a read has
// claimed. Reading: a number and the wish for its object may come in either
// order. A callback that comes after its object is resolved at once, inside
// addCallback(); one that comes first waits, with a reference, and is resolved
// inside the setObject() that claims the number, in the order the callbacks
// were added. A number nobody claims leaves its callbacks waiting until
// reset() drops them unresolved.
//
// Invariants a user must know:
//  - Objects given to setObject() are held with a reference until reset();
//    objects numbered by getId() are not held, and are keyed by address, so
//    they must live until reset() (a document keeps its objects while it is
//    written).
//  - A number from a file is trusted for nothing: any value is a key, a
//    second claim of a number is ignored, and 0 is never recorded.
//  - Callbacks may call back into the table (add callbacks, claim numbers,
//    even reset); waiting lists are detached before they are delivered.
//  - No lock: one load or save runs at a time in a process.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "kivbasictypes/ikivpersistentref.h"
#include "kivbasictypes/ikivpersistentrefmap.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

class HostPersistentRefMap : public IKivPersistentRefMap {
public:
  HostPersistentRefMap();
  ~HostPersistentRefMap() override;
  HostPersistentRefMap(const HostPersistentRefMap&) = delete;
  HostPersistentRefMap& operator=(const HostPersistentRefMap&) = delete;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostPersistentRefMap"; }

  bool find(uint32_t refId, IKivPersistentRef** out) override;
  void setObject(uint32_t refId, IKivPersistentRef* object) override;
  bool contains(IKivPersistentRef* object) override;
  uint32_t getId(IKivPersistentRef* object) override;
  void reset() override;
  void addCallback(uint32_t refId, IKivPersistentRefCallback* callback) override;
  void setWritten(uint32_t refId) override;
  void getUnwritten(IterStack<int32_t>& out) override;

  // Numbers that have an object, and callbacks still waiting; for tests and
  // diagnostics.
  size_t objectCount() const;
  size_t waitingCount() const;

private:
  struct Entry {
    IKivPersistentRef* object = nullptr;        // null while only callbacks wait
    IPtr<IKivPersistentRef> held;               // set by setObject
    std::vector<IPtr<IKivPersistentRefCallback>> waiting;
    bool handedOut = false;                     // numbered by getId
    bool written = false;
  };

  std::unordered_map<uint32_t, Entry> byId_;
  std::unordered_map<IKivPersistentRef*, uint32_t> byObject_;
  uint32_t nextId_ = 1;
};
