//===- doubleproperty.h - A property holding a bounded double ---*- C++ -*-===//
//
// As IntProperty, with the bounds of doubles (by default the whole finite
// range). A NaN passes the bounds check and reads back as `max`, since
// get() tests `min > value` first. Setting the value it reads is silent;
// a NaN never equals, so it fires every time.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/boundedproperty.h"

class IKivDoubleProperty : public IKivValueProperty<double> {
public:
  virtual bool getBounds(double* min, double* max) = 0;
  virtual bool setBounds(double min, double max) = 0;
};

class DoubleProperty : public TBoundedProperty<DoubleProperty, IKivDoubleProperty, double> {
public:
  static constexpr const char* kClassName = "DoubleProperty";
  static constexpr const char* kInterfaceName = "IKivDoubleProperty";
  static constexpr const char* kTypeName = "double";
  static constexpr bool kSkipsEqualValue = true;

  using TBoundedProperty::TBoundedProperty;

  static void textOf(const double& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const double& value);
  static bool readValue(IKivDataModelReader* reader, double* value);
};
