//===- unstoredvalueproperty.h - Value classes kept out of files -*- C++ -*-===//
//
// The quaternion, rectangle and grid point properties have no row in the
// class table, so a reader could not rebuild them from a file. They are
// therefore never stored: isPersistent() is false whatever setPersistent()
// was given, so that an owner that stores its properties leaves them out and
// its file stays readable; write() and read() touch nothing and give true.
// Holding one costs a map nothing on a save or a load: the entry is simply
// not there afterwards. Their text is empty, and every set() fires.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/valueproperty.h"

template <class Derived, class Interface, class T>
class TUnstoredValueProperty : public TValueProperty<Derived, Interface, T> {
public:
  using Base = TValueProperty<Derived, Interface, T>;
  using Base::Base;

  bool isPersistent() override { return false; }
  bool write(IKivDataModelWriter*) override { return true; }
  bool read(IKivDataModelReader*) override { return true; }

  // What the stored-value pattern asks of a class; never called.
  static constexpr bool kSkipsEqualValue = false;
  static void textOf(const T&, KivString& out) { out = KivString(); }
  static void writeValue(IKivDataModelWriter*, const T&) {}
  static bool readValue(IKivDataModelReader*, T*) { return false; }
};
