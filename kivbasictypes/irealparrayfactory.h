//===- irealparrayfactory.h - The host's maker of point arrays --*- C++ -*-===//
//
// Found by the name "IRealPArrayFactory". Place 4 gives a new, empty point
// array for the head word of a stored record (any word the host does not know
// gives null), with the given capacity; its reference count may be 0.
// Places 0 to 3 keep their order for the host.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IRealPArray;

class IRealPArrayFactory : public virtual IKivUnknown {
public:
  virtual void reserved0() {}                                             // 0
  virtual void reserved1() {}                                             // 1
  virtual void reserved2() {}                                             // 2
  virtual void reserved3() {}                                             // 3
  virtual IRealPArray* createForWord(uint32_t word, int32_t capacity) = 0;  // 4
};
