//===- kivgridpointproperty.h - A property holding a grid point -*- C++ -*-===//
//
// KivGridPointProperty holds an opaque KivGridPoint (0 when new).
// clearValue() sets it to 0 without an event. It is never stored; see
// unstoredvalueproperty.h.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivgridpoint.h"
#include "properties/unstoredvalueproperty.h"

class IKivGridPointProperty : public IKivValueProperty<KivGridPoint> {};

class KivGridPointProperty
    : public TUnstoredValueProperty<KivGridPointProperty, IKivGridPointProperty, KivGridPoint> {
public:
  static constexpr const char* kClassName = "KivGridPointProperty";
  static constexpr const char* kInterfaceName = "IKivGridPointProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.KivGridPoint";

  using TUnstoredValueProperty::TUnstoredValueProperty;

  void clearValue() override { value_ = KivGridPoint(); }
};
