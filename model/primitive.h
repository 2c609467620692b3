//===- primitive.h - Implementation base of small model objects -*- C++ -*-===//
//
// Primitive has no data and no behaviour beyond naming itself: it answers
// queryInterface for "Primitive" and "IKivPrimitive", so that code inside the
// component can tell a model object from a foreign IKivUnknown. Classes that
// derive from it report it in their class walk.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class IKivPrimitive : public virtual IKivUnknown {};

class Primitive : public IKivPrimitive {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "Primitive"; }
};
