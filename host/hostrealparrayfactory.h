//===- hostrealparrayfactory.h - The reference host's point array maker -*- C++ -*-===//
//
// HostRealPArrayFactory is the service behind "IRealPArrayFactory". It knows
// one stored word, the head of the storing array's record (identifier 758123,
// version 0), and gives a new empty KivVectorArray with the asked capacity
// for it, with reference count 0. Any other word gives null. Thread-safe.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/irealparrayfactory.h"

class HostRealPArrayFactory : public IRealPArrayFactory {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostRealPArrayFactory"; }

  IRealPArray* createForWord(uint32_t word, int32_t capacity) override;
};
