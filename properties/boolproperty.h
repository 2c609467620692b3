//===- boolproperty.h - A property holding a bool ---------------*- C++ -*-===//
//
// Text "0" or "1"; stored as one bare byte. Setting the value it holds is
// silent.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/valueproperty.h"

class IKivBoolProperty : public IKivValueProperty<bool> {};

class BoolProperty : public TValueProperty<BoolProperty, IKivBoolProperty, bool> {
public:
  static constexpr const char* kClassName = "BoolProperty";
  static constexpr const char* kInterfaceName = "IKivBoolProperty";
  static constexpr const char* kTypeName = "bool";
  static constexpr bool kSkipsEqualValue = true;

  using TValueProperty::TValueProperty;

  static void textOf(const bool& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const bool& value);
  static bool readValue(IKivDataModelReader* reader, bool* value);
};
