//===- intproperty.h - A property holding a bounded int ---------*- C++ -*-===//
//
// The value lives between `min` and `max` (by default the whole int range).
// set() outside them fails with code 6 in the shape "Error in class : Value
// for property '<name>' is out of bounds '<v>', value between '<min>' and
// '<max>' is expected." and keeps the old value. get() clamps the stored
// value to the bounds of the moment, so setBounds() takes effect on reading
// at once, without an event. Setting the value it reads is silent.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/valueproperty.h"

#include <climits>

class IKivIntProperty : public IKivValueProperty<int> {
public:
  // Both always give true; setBounds doesn't touch the value.
  virtual bool getBounds(int* min, int* max) = 0;
  virtual bool setBounds(int min, int max) = 0;
};

class IntProperty : public TValueProperty<IntProperty, IKivIntProperty, int> {
public:
  static constexpr const char* kClassName = "IntProperty";
  static constexpr const char* kInterfaceName = "IKivIntProperty";
  static constexpr const char* kTypeName = "int";
  static constexpr bool kSkipsEqualValue = true;

  using TValueProperty::TValueProperty;
  IntProperty(const KivString& name, int value, bool readOnly, int min, int max, bool events);

  int get() const override;
  void set(const int& value) override;
  bool getBounds(int* min, int* max) override;
  bool setBounds(int min, int max) override;

  static void textOf(const int& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const int& value);
  static bool readValue(IKivDataModelReader* reader, int* value);

private:
  int min_ = INT_MIN;
  int max_ = INT_MAX;
};
