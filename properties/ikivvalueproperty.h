//===- ikivvalueproperty.h - The value interface of a property --*- C++ -*-===//
//
// Every value class has an interface of its own (IKivBoolProperty,
// IKivIntProperty, ...) made from this one: init sets name, value and the
// read-only flag directly, without a check or an event; get reads the value;
// set writes it, with the class's checks, and announces the change.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivString;

template <class T>
class IKivValueProperty : public virtual IKivUnknown {
public:
  virtual void init(const KivString& name, const T& value, bool readOnly) = 0;
  virtual T get() const = 0;
  virtual void set(const T& value) = 0;
};
