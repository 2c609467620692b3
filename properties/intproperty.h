//===- intproperty.h - A property holding a bounded int ---------*- C++ -*-===//
//
// A bounded int (see TBoundedProperty), stored as a bare 32-bit value.
// Setting the value it reads is silent.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/boundedproperty.h"

class IKivIntProperty : public IKivValueProperty<int> {
public:
  // Both always give true; setBounds doesn't touch the value.
  virtual bool getBounds(int* min, int* max) = 0;
  virtual bool setBounds(int min, int max) = 0;
};

class IntProperty : public TBoundedProperty<IntProperty, IKivIntProperty, int> {
public:
  static constexpr const char* kClassName = "IntProperty";
  static constexpr const char* kInterfaceName = "IKivIntProperty";
  static constexpr const char* kTypeName = "int";
  static constexpr bool kSkipsEqualValue = true;

  using TBoundedProperty::TBoundedProperty;

  static void textOf(const int& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const int& value);
  static bool readValue(IKivDataModelReader* reader, int* value);
};
