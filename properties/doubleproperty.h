//===- doubleproperty.h - A property holding a bounded double ---*- C++ -*-===//
//
// As IntProperty, with the bounds of doubles (by default the whole finite
// range). A NaN passes the bounds check and reads back as `max`, since
// get() tests `min > value` first. Setting the value it reads is silent;
// a NaN never equals, so it fires every time.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/valueproperty.h"

class IKivDoubleProperty : public IKivValueProperty<double> {
public:
  virtual bool getBounds(double* min, double* max) = 0;
  virtual bool setBounds(double min, double max) = 0;
};

class DoubleProperty : public TValueProperty<DoubleProperty, IKivDoubleProperty, double> {
public:
  static constexpr const char* kClassName = "DoubleProperty";
  static constexpr const char* kInterfaceName = "IKivDoubleProperty";
  static constexpr const char* kTypeName = "double";
  static constexpr bool kSkipsEqualValue = true;

  using TValueProperty::TValueProperty;
  DoubleProperty(const KivString& name, double value, bool readOnly, double min, double max,
                 bool events);

  double get() const override;
  void set(const double& value) override;
  bool getBounds(double* min, double* max) override;
  bool setBounds(double min, double max) override;

  static void textOf(const double& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const double& value);
  static bool readValue(IKivDataModelReader* reader, double* value);

private:
  double min_ = -1.7976931348623157e308;
  double max_ = 1.7976931348623157e308;
};
