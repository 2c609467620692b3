//===- kivrectproperty.h - A property holding a rectangle -------*- C++ -*-===//
//
// KivRectProperty holds a KivRect (all zero when new). It is never stored;
// see unstoredvalueproperty.h.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivrect.h"
#include "properties/unstoredvalueproperty.h"

class IKivRectProperty : public IKivValueProperty<KivRect> {};

class KivRectProperty
    : public TUnstoredValueProperty<KivRectProperty, IKivRectProperty, KivRect> {
public:
  static constexpr const char* kClassName = "KivRectProperty";
  static constexpr const char* kInterfaceName = "IKivRectProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.KivRect";

  using TUnstoredValueProperty::TUnstoredValueProperty;
};
