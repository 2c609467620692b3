//===- vectorproperty.h - Properties holding 2D and 3D vectors --*- C++ -*-===//
//
// Vector2DProperty, Vector2FProperty and Vector3DProperty hold a Vector2D,
// a Vector2F and a KivVector. Every set() fires, also with the value held.
// The text is "[x y]" or "[x y z]" with two decimals per component; a
// component beyond half the largest float prints as "+INF" or "-INF".
// Each is stored as its typed block (0x10009, 0x10010, 0x10000).
// clearValue() of the two 2D classes puts back the default value of the
// type without an event; the 3D class has nothing to clear.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivvector.h"
#include "properties/valueproperty.h"

class IKivVector2DProperty : public IKivValueProperty<Vector2D> {};
class IKivVector2FProperty : public IKivValueProperty<Vector2F> {};
class IKivVectorProperty : public IKivValueProperty<KivVector> {};

class Vector2DProperty : public TValueProperty<Vector2DProperty, IKivVector2DProperty, Vector2D> {
public:
  static constexpr const char* kClassName = "Vector2DProperty";
  static constexpr const char* kInterfaceName = "IKivVector2DProperty";
  static constexpr const char* kTypeName = "kivapi.math.Vector2D";
  static constexpr bool kSkipsEqualValue = false;

  using TValueProperty::TValueProperty;

  // The value becomes Vector2D(), the largest float in both components.
  void clearValue() override { value_ = Vector2D(); }

  static void textOf(const Vector2D& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const Vector2D& value);
  static bool readValue(IKivDataModelReader* reader, Vector2D* value);
};

class Vector2FProperty : public TValueProperty<Vector2FProperty, IKivVector2FProperty, Vector2F> {
public:
  static constexpr const char* kClassName = "Vector2FProperty";
  static constexpr const char* kInterfaceName = "IKivVector2FProperty";
  static constexpr const char* kTypeName = "kivapi.math.Vector2F";
  static constexpr bool kSkipsEqualValue = false;

  using TValueProperty::TValueProperty;

  // The value becomes Vector2F(), that is (0, 0).
  void clearValue() override { value_ = Vector2F(); }

  static void textOf(const Vector2F& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const Vector2F& value);
  static bool readValue(IKivDataModelReader* reader, Vector2F* value);
};

class Vector3DProperty : public TValueProperty<Vector3DProperty, IKivVectorProperty, KivVector> {
public:
  static constexpr const char* kClassName = "Vector3DProperty";
  static constexpr const char* kInterfaceName = "IKivVectorProperty";
  static constexpr const char* kTypeName = "kivapi.math.Vector3D";
  static constexpr bool kSkipsEqualValue = false;

  using TValueProperty::TValueProperty;

  static void textOf(const KivVector& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const KivVector& value);
  static bool readValue(IKivDataModelReader* reader, KivVector* value);
};
