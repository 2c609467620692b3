//===- kivboundsproperty.h - A property holding a 3D box --------*- C++ -*-===//
//
// KivBoundsProperty holds a KivBounds; a new property holds the empty box.
// Every set() fires, also with the value held. The text is two lines
// "[x y z]\n", min then max, in the plain number form (six decimals or an
// exponent). Stored as two vector blocks, min then max; reading builds the
// box from the two corners, so a stored empty box comes back as the shared
// empty value.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivbounds.h"
#include "properties/valueproperty.h"

class IKivBoundsProperty : public IKivValueProperty<KivBounds> {};

class KivBoundsProperty
    : public TValueProperty<KivBoundsProperty, IKivBoundsProperty, KivBounds> {
public:
  static constexpr const char* kClassName = "KivBoundsProperty";
  static constexpr const char* kInterfaceName = "IKivBoundsProperty";
  static constexpr const char* kTypeName = "kivapi.math.KivBounds";
  static constexpr bool kSkipsEqualValue = false;

  using TValueProperty::TValueProperty;

  static void textOf(const KivBounds& value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, const KivBounds& value);
  static bool readValue(IKivDataModelReader* reader, KivBounds* value);
};
