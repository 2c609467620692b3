//===- iguibusy.h - The host's means of showing it is busy ------*- C++ -*-===//
//
// IGuiBusyState is a service of the host; of its operations the component
// calls only the 14th, isBusy(). An IGuiBusyBlock is a new object from the
// class table for each request: begin() (its first operation) starts a busy
// block, which lasts until the last reference on the object goes. Slots are
// counted from 1 and are a contract.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivString;

class IGuiBusyState : public virtual IKivUnknown {
public:
  virtual void reserved1() {}   // 1
  virtual void reserved2() {}   // 2
  virtual void reserved3() {}   // 3
  virtual void reserved4() {}   // 4
  virtual void reserved5() {}   // 5
  virtual void reserved6() {}   // 6
  virtual void reserved7() {}   // 7
  virtual void reserved8() {}   // 8
  virtual void reserved9() {}   // 9
  virtual void reserved10() {}  // 10
  virtual void reserved11() {}  // 11
  virtual void reserved12() {}  // 12
  virtual void reserved13() {}  // 13
  // Whether the application is in a busy state already.
  virtual bool isBusy() = 0;    // 14
};

class IGuiBusyBlock : public virtual IKivUnknown {
public:
  virtual void begin(const KivString& text, int flags) = 0;  // 1
};
