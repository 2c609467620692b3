//===- ikivrandom.h - The host's random number service ----------*- C++ -*-===//
//
// Found by the name "IKivRandom". Places are counted from 0 and are a
// contract; this system calls only places 3 and 4, the others keep their
// order for the host.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IKivRandom : public virtual IKivUnknown {
public:
  virtual void reserved0() {}                      // 0
  virtual void reserved1() {}                      // 1
  virtual void reserved2() {}                      // 2
  // A whole number from 0 up to but not including `bound` (0 for bound < 1).
  virtual int32_t randomBelow(int32_t bound) = 0;  // 3
  virtual void seed(uint32_t seed) = 0;            // 4
};
