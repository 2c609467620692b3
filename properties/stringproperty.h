//===- stringproperty.h - A property holding a KivString --------*- C++ -*-===//
//
// Stored as a string block. Every set() fires, also with the value held.
// memorySize counts the characters on top of the object.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/valueproperty.h"

class IKivStringProperty : public IKivValueProperty<KivString> {};

class StringProperty : public TValueProperty<StringProperty, IKivStringProperty, KivString> {
public:
  static constexpr const char* kClassName = "StringProperty";
  static constexpr const char* kInterfaceName = "IKivStringProperty";
  static constexpr const char* kTypeName = "string";
  static constexpr bool kSkipsEqualValue = false;

  using TValueProperty::TValueProperty;

  uint64_t memorySize() const override;

  static void textOf(const KivString& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const KivString& value);
  static bool readValue(IKivDataModelReader* reader, KivString* value);
};
