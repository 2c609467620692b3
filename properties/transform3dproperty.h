//===- transform3dproperty.h - A property holding a 4 by 4 matrix -*- C++ -*-===//
//
// Transform3DProperty holds a KivMatrix; scripts know it as
// "kivapi.math.Transform3D". Every set() fires, also with the value held.
// The text is four lines "[a b c d]\n", one per row, two decimals each.
// Stored as the matrix block (0x10004). clearValue() makes the value the
// identity without an event.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivmatrix.h"
#include "properties/valueproperty.h"

class IKivMatrixProperty : public IKivValueProperty<KivMatrix> {};

class Transform3DProperty
    : public TValueProperty<Transform3DProperty, IKivMatrixProperty, KivMatrix> {
public:
  static constexpr const char* kClassName = "Transform3DProperty";
  static constexpr const char* kInterfaceName = "IKivMatrixProperty";
  static constexpr const char* kTypeName = "kivapi.math.Transform3D";
  static constexpr bool kSkipsEqualValue = false;

  using TValueProperty::TValueProperty;

  void clearValue() override { value_ = KivMatrix::identity; }

  static void textOf(const KivMatrix& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const KivMatrix& value);
  static bool readValue(IKivDataModelReader* reader, KivMatrix* value);
};
