//===- kivquaternionproperty.h - A property holding a quaternion -*- C++ -*-===//
//
// KivQuaternionProperty holds a KivQuaternion (the identity rotation when
// new). It is never stored; see unstoredvalueproperty.h.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivquaternion.h"
#include "properties/unstoredvalueproperty.h"

class IKivQuaternionProperty : public IKivValueProperty<KivQuaternion> {};

class KivQuaternionProperty
    : public TUnstoredValueProperty<KivQuaternionProperty, IKivQuaternionProperty, KivQuaternion> {
public:
  static constexpr const char* kClassName = "KivQuaternionProperty";
  static constexpr const char* kInterfaceName = "IKivQuaternionProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.KivQuaternion";

  using TUnstoredValueProperty::TUnstoredValueProperty;
};
