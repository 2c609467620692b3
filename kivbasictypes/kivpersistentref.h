//===- kivpersistentref.h - Base of what a file can refer to ----*- C++ -*-===//
//
// KivPersistentRef is the base of every object that other objects' sections
// refer to by number. Its own section, the reference section, is what ties the
// object to its number: tag 0xB0002, version 0, the object's classId(), then
// the number as a bare uint32. write() takes the number from the host's table
// ("IKivPersistentRefMap", looked up at each use) and marks it written; read()
// announces the object under the number it had, so that references waiting
// for it, or coming later, resolve to this very instance.
//
// Invariants a user must know:
//  - classId() of this class is all zero; a derived class overrides it, and
//    the override heads the reference section too.
//  - Without the service every number is 0 and nothing resolves; no failure
//    is reported.
//  - A reference section of another version is not understood: read() gives
//    false and the object stays without a number.
//  - persistent is true from the default constructor; a copy takes the
//    source's isPersistent(). Copies never share a number: numbers live in
//    the table, not in the object.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivpersistentref.h"
#include "kivbasictypes/ikivwriteable.h"

#include <cstdint>

class KivPersistentRef : public IKivPersistentRef, public IKivWriteable {
public:
  KivPersistentRef() = default;
  KivPersistentRef(const KivPersistentRef& other);
  KivPersistentRef& operator=(const KivPersistentRef& other);
  ~KivPersistentRef() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "KivPersistentRef"; }

  const KivClassId* classId() override;
  // The reference section; always true (a failing stream shows in good()).
  bool write(IKivDataModelWriter* writer) override;
  // True unless the section has a version other than 0.
  bool read(IKivDataModelReader* reader) override;
  void setPersistent(bool persistent) override { persistent_ = persistent ? 1 : 0; }
  bool isPersistent() override { return persistent_ != 0; }

private:
  uint8_t persistent_ = 1;
};
