//===- ikivproperty.h - One named, typed, observable value ------*- C++ -*-===//
//
// What every property offers, whatever its value type. typeName() is the
// text a PropertyMap compares when it checks a type, and what a script sees.
// clone() hands out a new object without a reference. Read-only is a rule of
// the map that holds the property: the value interfaces don't test it.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IKivEventSubscriber;
class KivCString;
class KivString;

class IKivProperty : public virtual IKivUnknown {
public:
  virtual const char* typeName() const = 0;
  // The value as display text. Callers pass the property's name; no class
  // reads it.
  virtual void valueText(const KivString& name, KivString& out) const = 0;
  // False if the property has no event of that name.
  virtual bool subscribe(const KivCString& event, IKivEventSubscriber* subscriber) = 0;
  virtual bool unsubscribe(const KivCString& event, IKivEventSubscriber* subscriber) = 0;
  virtual IKivProperty* clone() const = 0;
  virtual const KivString& name() const = 0;
  // A map that holds the property doesn't notice.
  virtual void setName(const KivString& name) = 0;
  virtual void clearValue() = 0;
  virtual bool isReadOnly() const = 0;
  // Takes over the value of a property of the same class through set(), so
  // that a change fires.
  virtual void copyValue(IKivProperty* source) = 0;
  // Bytes held, for the undo budget; only the order of magnitude matters.
  virtual uint64_t memorySize() const = 0;
  virtual bool hasEvents() const = 0;
  // False when nothing changed (already on, or already off).
  virtual bool enableEvents(bool on) = 0;
};
