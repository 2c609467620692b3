//===- arrayproperties.h - The properties of the array family ---*- C++ -*-===//
//
// <Member>Property holds one strong reference on a member of the array
// family, typeName() "kivapi.datamodel.<Member>", on the pattern of
// TPointerProperty: set() fires on every call, a change inside the array
// tells nobody, clone() copies the array deeply, copyValue() shares it,
// clearValue() drops it silently. valueText is empty: no elements printed.
//
// Stored form, version 0: the count as int32 (-1 without an array), then
// each element in the member's element form. Reading makes a new array and
// hands it to set(), so that a read fires; a negative count sets null. A
// count that the section can't hold is left unread (the property keeps its
// value): no room is reserved from a stored count. The 2D members store
// rows and columns (or -1 alone) and then the elements row by row.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/array3d.h"
#include "properties/imagearray.h"
#include "properties/intarray.h"
#include "properties/pointerproperty.h"
#include "properties/valuearrays.h"

class IKivDataModelReader;
class IKivDataModelWriter;

#define KIV_ARRAY_PROPERTY_INTERFACE(Member)                                                       \
  class IKiv##Member##Property : public IKivValueProperty<Member*> {};

KIV_ARRAY_PROPERTY_INTERFACE(IntArray)
KIV_ARRAY_PROPERTY_INTERFACE(ByteArray)
KIV_ARRAY_PROPERTY_INTERFACE(DoubleArray)
KIV_ARRAY_PROPERTY_INTERFACE(ColorArray)
KIV_ARRAY_PROPERTY_INTERFACE(StringArray)
KIV_ARRAY_PROPERTY_INTERFACE(Vector2DArray)
KIV_ARRAY_PROPERTY_INTERFACE(Vector2FArray)
KIV_ARRAY_PROPERTY_INTERFACE(Vector3DArray)
KIV_ARRAY_PROPERTY_INTERFACE(Array3D)
KIV_ARRAY_PROPERTY_INTERFACE(Transform3DArray)
KIV_ARRAY_PROPERTY_INTERFACE(ImageArray)
KIV_ARRAY_PROPERTY_INTERFACE(DoubleArray2D)
KIV_ARRAY_PROPERTY_INTERFACE(Vector3DArray2D)

// The element forms of the stored arrays: write, read, and the fewest bytes
// an element takes in the file (for the check of a stored count).
template <class T>
struct StoredElement;

template <class Derived, class Interface, class Array>
class TArrayProperty : public TPointerProperty<Derived, Interface, Array> {
public:
  using TPointerProperty<Derived, Interface, Array>::TPointerProperty;

  uint64_t memorySize() const override;
  static void textOf(Array*, KivString& out) { out = KivString(); }
  static void writeValue(IKivDataModelWriter* writer, Array* value);
  static void readValue(IKivDataModelReader* reader, Derived* property);
};

#define KIV_ARRAY_PROPERTY(Member)                                                                 \
  class Member##Property                                                                           \
      : public TArrayProperty<Member##Property, IKiv##Member##Property, Member> {                  \
  public:                                                                                          \
    static constexpr const char* kClassName = #Member "Property";                                  \
    static constexpr const char* kInterfaceName = "IKiv" #Member "Property";                       \
    static constexpr const char* kTypeName = "kivapi.datamodel." #Member;                          \
    using TArrayProperty::TArrayProperty;                                                          \
  };

KIV_ARRAY_PROPERTY(IntArray)
KIV_ARRAY_PROPERTY(ByteArray)
KIV_ARRAY_PROPERTY(DoubleArray)
KIV_ARRAY_PROPERTY(ColorArray)
KIV_ARRAY_PROPERTY(StringArray)
KIV_ARRAY_PROPERTY(Vector2DArray)
KIV_ARRAY_PROPERTY(Vector2FArray)
KIV_ARRAY_PROPERTY(Vector3DArray)
KIV_ARRAY_PROPERTY(Array3D)
KIV_ARRAY_PROPERTY(Transform3DArray)
KIV_ARRAY_PROPERTY(DoubleArray2D)
KIV_ARRAY_PROPERTY(Vector3DArray2D)

// Version 1: the count as above, then each image through writeBinary.
class ImageArrayProperty
    : public TPointerProperty<ImageArrayProperty, IKivImageArrayProperty, ImageArray> {
public:
  static constexpr const char* kClassName = "ImageArrayProperty";
  static constexpr const char* kInterfaceName = "IKivImageArrayProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.ImageArray";
  using TPointerProperty::TPointerProperty;

  uint64_t memorySize() const override;
  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;
  static void textOf(ImageArray*, KivString& out) { out = KivString(); }
  static void writeValue(IKivDataModelWriter*, ImageArray*) {}
  static void readValue(IKivDataModelReader*, ImageArrayProperty*) {}
};
