//===- kivmaterialproperty.h - A property holding a material ----*- C++ -*-===//
//
// KivMaterialProperty holds a KivMaterial (all zero when new). Every set()
// fires, also with the value held. Its text is empty. Stored as the four
// colours ambient, diffuse, specular, emission, each as the packed word of
// KivColorProperty, then transmission and shininess as floats and the face
// as a 32-bit integer: 28 bytes. Reading starts from an all-zero material
// and hands the result to set().
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/tovcolor.h"
#include "properties/valueproperty.h"

class IKivMaterialProperty : public IKivValueProperty<KivMaterial> {};

class KivMaterialProperty
    : public TValueProperty<KivMaterialProperty, IKivMaterialProperty, KivMaterial> {
public:
  static constexpr const char* kClassName = "KivMaterialProperty";
  static constexpr const char* kInterfaceName = "IKivMaterialProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.Material";
  static constexpr bool kSkipsEqualValue = false;

  using TValueProperty::TValueProperty;

  static void textOf(const KivMaterial&, KivString& out) { out = KivString(); }
  static void writeValue(IKivDataModelWriter* writer, const KivMaterial& value);
  static bool readValue(IKivDataModelReader* reader, KivMaterial* value);
};
