//===- propertymap.h - The ordered bag of named properties ------*- C++ -*-===//
//
// PropertyMap is the base of DataObject and DataEventArgs. It holds each
// property with one strong reference, ordered by name (KivString::compare);
// look-ups by `const char*` compare the text against the keys without
// building a string.
//
// Invariants a user must know:
//  - set() of a new name creates the property (not read-only, with events if
//    kMapPropertyEvents is set) through the virtual addProperty, and fires
//    nothing. With kMapWarnNonExisting set it fails with code 1 instead, as
//    does every look-up of a missing name.
//  - set() of an existing name checks read-only (code 2), then the type
//    (code 3, by typeName()), and only then writes. A failing set leaves the
//    map and the property as they were.
//  - Properties leave the map only by removeProperty, a replacement, and the
//    destructor. A moved-from map holds no tree and may only be destroyed.
//  - defaultFlags() reads "Advanced/Warning About Non-Existing Properties"
//    once per process, at the first need; a later change has no effect.
//  - Nothing here is thread-safe, the documentation store included.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/kivcstringmap.h"
#include "core/kivptr.h"
#include "model/dataeventsource.h"
#include "properties/ikivproperty.h"
#include "properties/ikivpropertymap.h"

#include <cstdint>

class Property;

enum PropertyMapFlag : uint8_t {
  kMapArgsFlag = 0x01,         // carried by argument maps; nothing depends on it
  kMapWarnNonExisting = 0x02,  // missing names fail with code 1
  kMapPropertyEvents = 0x04,   // properties created by set() have events
  kMapObjectEvents = 0x08,     // the object has events of its own
  kMapRegisters = 0x10,        // the object registers with the Database
};

class PropertyMap : public DataEventSource, public IKivPropertyMap {
public:
  using Properties = KivCStringMap<IPtr<IKivProperty>>;

  PropertyMap();
  // Clones every property of `other`; takes its flags.
  PropertyMap(const PropertyMap& other);
  PropertyMap(PropertyMap&& other) noexcept;
  PropertyMap& operator=(const PropertyMap&) = delete;
  ~PropertyMap() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "PropertyMap"; }

  // Keeps the interface's deleted set() for pointers visible here.
  using IKivPropertyMap::set;

  void set(const char* name, const KivRect& value) override;
  void set(const char* name, const KivQuaternion& value) override;
  void set(const char* name, const KivMaterial& value) override;
  void set(const char* name, const KivColor& value) override;
  void set(const char* name, KivGridPoint value) override;
  void set(const char* name, GridIndex* value) override;
  void set(const char* name, DirIndex* value) override;
  void set(const char* name, IKivImage* value) override;
  void set(const char* name, const KivBounds& value) override;
  void set(const char* name, const KivMatrix& value) override;
  void replaceProperty(const char* name, IKivProperty* p) override;
  void set(const char* name, const Vector2F& value) override;
  void set(const char* name, const Vector2D& value) override;
  void set(const char* name, const KivVector& value) override;
  void set(const char* name, DataObject* value) override;
  void set(const char* name, IKivDataObject* value) override;
  void set(const char* name, const KivString& value) override;
  void set(const char* name, const char* value) override;
  void set(const char* name, bool value) override;
  void set(const char* name, int value) override;
  void set(const char* name, double value) override;

  void set(const char* name, ImageArray* value) override;
  void set(const char* name, Progress* value) override;
  void set(const char* name, Array3D* value) override;
  void set(const char* name, StringArray* value) override;
  void set(const char* name, IntArray* value) override;
  void set(const char* name, DoubleArray2D* value) override;
  void set(const char* name, Vector3DArray2D* value) override;
  void set(const char* name, Vector3DArray* value) override;
  void set(const char* name, Vector2FArray* value) override;
  void set(const char* name, Vector2DArray* value) override;
  void set(const char* name, ColorArray* value) override;
  void set(const char* name, DoubleArray* value) override;
  void set(const char* name, DataObjectArray* value) override;
  void set(const char* name, ByteArray* value) override;
  void set(const char* name, OrientedTriangleStackList* value) override;
  void set(const char* name, OrientedTriangleStack* value) override;
  void set(const char* name, OrientedTriangle* value) override;
  void set(const char* name, Transform3DArray* value) override;

  bool getDocumentation(const char* name, KivString& out) override;
  bool setDocumentation(const char* name, const KivString& text) override;
  IKivProperty* getProperty(const char* name) const override;
  IKivProperty* getProperty(const KivString& name) const override;
  IKivProperty* getProperty(const char* name) override;
  IKivProperty* getProperty(const KivString& name) override;
  bool hasProperty(const char* name) const override;
  bool hasProperty(const KivString& name) const override;
  IKivPropertyMapIter* iterator() const override;
  KivString propertyNames() const override;

  int getInt(const char* name) const override;
  bool getBool(const char* name) const override;
  double getDouble(const char* name) const override;
  KivVector getVector3D(const char* name) const override;
  KivString getString(const char* name) const override;
  DataObject* getDataObject(const char* name) const override;
  DataObject* getDataObject(const KivString& name) const override;
  KivImage* getImage(const char* name) const override;
  KivImage* getImage(const KivString& name) const override;
  IKivImage* getImageInterface(const char* name) const override;
  IKivImage* getImageInterface(const KivString& name) const override;
  Vector2D getVector2D(const char* name) const override;
  Vector2F getVector2F(const char* name) const override;
  KivMatrix getMatrix(const char* name) const override;
  KivBounds getBounds(const char* name) const override;
  DirIndex* getDirIndex(const char* name) const override;
  DirIndex* getDirIndex(const KivString& name) const override;
  GridIndex* getGridIndex(const char* name) const override;
  GridIndex* getGridIndex(const KivString& name) const override;
  KivGridPoint getGridPoint(const char* name) const override;
  KivGridPoint getGridPoint(const KivString& name) const override;
  KivColor getColor(const char* name) const override;
  KivMaterial getMaterial(const char* name) const override;
  KivQuaternion getQuaternion(const char* name) const override;
  KivRect getRect(const char* name) const override;
  DataObjectArray* getDataObjectArray(const char* name) const override;
  DataObjectArray* getDataObjectArray(const KivString& name) const override;
  Transform3DArray* getTransform3DArray(const char* name) const override;
  Transform3DArray* getTransform3DArray(const KivString& name) const override;
  OrientedTriangle* getOrientedTriangle(const char* name) const override;
  OrientedTriangle* getOrientedTriangle(const KivString& name) const override;
  OrientedTriangleStack* getOrientedTriangleStack(const char* name) const override;
  OrientedTriangleStack* getOrientedTriangleStack(const KivString& name) const override;
  OrientedTriangleStackList* getOrientedTriangleStackList(const char* name) const override;
  OrientedTriangleStackList* getOrientedTriangleStackList(const KivString& name) const override;
  Array3D* getArray3D(const char* name) const override;
  Array3D* getArray3D(const KivString& name) const override;
  ByteArray* getByteArray(const char* name) const override;
  ByteArray* getByteArray(const KivString& name) const override;
  StringArray* getStringArray(const char* name) const override;
  StringArray* getStringArray(const KivString& name) const override;
  IntArray* getIntArray(const char* name) const override;
  IntArray* getIntArray(const KivString& name) const override;
  DoubleArray* getDoubleArray(const char* name) const override;
  DoubleArray* getDoubleArray(const KivString& name) const override;
  ColorArray* getColorArray(const char* name) const override;
  ColorArray* getColorArray(const KivString& name) const override;
  Vector2DArray* getVector2DArray(const char* name) const override;
  Vector2DArray* getVector2DArray(const KivString& name) const override;
  Vector2FArray* getVector2FArray(const char* name) const override;
  Vector2FArray* getVector2FArray(const KivString& name) const override;
  Vector3DArray* getVector3DArray(const char* name) const override;
  Vector3DArray* getVector3DArray(const KivString& name) const override;
  DoubleArray2D* getDoubleArray2D(const char* name) const override;
  DoubleArray2D* getDoubleArray2D(const KivString& name) const override;
  Vector3DArray2D* getVector3DArray2D(const char* name) const override;
  Vector3DArray2D* getVector3DArray2D(const KivString& name) const override;
  IProgress* getProgressInterface(const char* name) const override;
  ImageArray* getImageArray(const char* name) const override;

  // Both give the text by value; an empty map gives an empty table.
  KivString documentationText() override;
  KivString documentationTable() override;
  void addProperty(IKivProperty* p) override;
  void addProperty(IKivProperty* p, const char* name) override;
  void detachProperty(const char*) override {}
  void setUtf8(const char* name, const char* text) override;
  uint64_t memorySize() const override;

  // getProperty, then the read-only check, then clearValue(); the property
  // stays in the map.
  virtual void clearProperty(const char* name);
  // As set() with a Progress, for a value given by its interface.
  virtual void set(const char* name, IProgress* value);
  // The property as class Property; null when absent (code 1 if warning).
  virtual Property* getPropertyObject(const char* name) const;
  virtual Property* getPropertyObject(const KivString& name) const;
  // The value of a ProgressProperty, as class Progress.
  virtual Progress* getProgress(const char* name) const;
  virtual void setWarnNonExisting(bool on);
  // Takes the flags of `other`; each property of `other` either gives its
  // value to this map's property of that name (copyValue, which fires) or
  // is cloned in. Properties that only this map has stay.
  virtual void copyFrom(const PropertyMap& other);
  // Swaps the two maps' properties of that name; see the source.
  virtual bool exchangeProperty(PropertyMap* other, const KivString& name);

  // Erases the entry and drops the map's reference; false if absent. No
  // detachProperty, no read-only check.
  bool removeProperty(const KivString& name);
  // Drops every entry and the map's references; as above, no
  // detachProperty and no read-only check.
  void removeAllProperties() { properties_.clear(); }

  uint8_t flags() const { return flags_; }
  void setFlags(uint8_t flags) { flags_ = flags; }
  int32_t count() const { return properties_.count(); }
  const Properties& properties() const { return properties_; }

  // 28, or 30 when the data-store setting asks for warnings.
  static uint8_t defaultFlags();
  static bool warnNonExisting();
  // Forgets the setting read, so that the next map reads it again. For a
  // host that installs its settings late, and for tests.
  static void resetWarnNonExistingSetting();

protected:
  // The property of an existing name after the read-only check; null when
  // absent, code 1 when absent and the map warns.
  IKivProperty* writableProperty(const char* name);

  Properties properties_;
  uint8_t flags_;

private:
  bool findDocumentation(const KivString& name, KivString& out);
  template <class P, class V>
  void setValue(const char* name, const V& value);
  // The mesh values: the read-only check, then the class query alone.
  template <class P, class V>
  void setUnchecked(const char* name, V* value);
  // The check and write shared by both object overloads of set().
  void setObject(const char* name, IKivProperty* p, DataObject* value, bool checkDeclared);
  // Name is `const char*` or KivString.
  template <class P, class Name>
  typename P::ValueType getValue(const Name& name, const char* label) const;
};
