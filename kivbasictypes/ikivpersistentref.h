//===- ikivpersistentref.h - Targets of references in a file ----*- C++ -*-===//
//
// IKivPersistentRef is the type under which an object goes into the host's
// number table (ikivpersistentrefmap.h): whatever can be referred to from
// another object's section. IKivPersistentRefCallback is the side that waits
// for the object of a number while a file is read: resolved() comes once per
// addCallback, either at once (the object was read first) or when the
// object's own reference section is read later. The object handed to
// resolved() may be null when a table resolves a number nobody claimed.
//
// A callback is reference-counted: the table keeps it alive, with one
// reference, until it has been resolved or the table is reset, so an owner
// that dies half-way through a damaged file never leaves a dangling callback.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IKivPersistentRef : public virtual IKivUnknown {
public:
  // Two queries whose meaning belongs to the table's side of the interface.
  // Every class of this component answers false to both; they exist so that
  // the slots of an implementation match what a host expects.
  virtual bool isPersistentRefQuery1() { return false; }
  virtual bool isPersistentRefQuery2() { return false; }
};

class IKivPersistentRefCallback : public virtual IKivUnknown {
public:
  // `object` is the one recorded for refId; no reference comes with it.
  virtual void resolved(uint32_t refId, IKivPersistentRef* object) = 0;
};
