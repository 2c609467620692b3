//===- kivcolorproperty.h - A property holding a colour ---------*- C++ -*-===//
//
// KivColorProperty holds a KivColor (grey when new). Every set() fires, also
// with the value held. Its text is empty. Stored as one packed 32-bit word,
// (a << 24) | (b << 16) | (g << 8) | r, each channel rounded to the nearest
// of 0 to 255; reading divides each byte by 255. So a stored colour comes
// back to within half a step of 1/255 per channel, and a channel outside 0
// to 1 comes back held at the nearer end.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/tovcolor.h"
#include "properties/valueproperty.h"

class IKivColorProperty : public IKivValueProperty<KivColor> {};

class KivColorProperty : public TValueProperty<KivColorProperty, IKivColorProperty, KivColor> {
public:
  static constexpr const char* kClassName = "KivColorProperty";
  static constexpr const char* kInterfaceName = "IKivColorProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.KivColor";
  static constexpr bool kSkipsEqualValue = false;

  using TValueProperty::TValueProperty;

  static void textOf(const KivColor&, KivString& out) { out = KivString(); }
  static void writeValue(IKivDataModelWriter* writer, const KivColor& value);
  static bool readValue(IKivDataModelReader* reader, KivColor* value);

  // The stored word of a colour, and the colour of a stored word.
  static uint32_t pack(const KivColor& c);
  static KivColor unpack(uint32_t word);
};
