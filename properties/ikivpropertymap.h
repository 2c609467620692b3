//===- ikivpropertymap.h - The named, ordered bag of properties -*- C++ -*-===//
//
// What a client or a script sees of an object: set(name, value) finds or
// creates the property, checks read-only and type, and hands the value to
// the property, which fires. Each value type has its own set and getter.
//
// Invariants a user must know:
//  - Names are compared exactly (case and all) and kept in order of their
//    16-bit units. A look-up by `const char*` builds no string.
//  - Failures are PlatformExceptions thrown by pointer: code 1 for a missing
//    name when the map warns about non-existing names, 2 for a write to a
//    read-only property, 3 for a value of the wrong type. A failed set
//    leaves the map and the property as they were.
//  - Pointers handed out (getProperty, iterator) carry no reference.
//
// The overloads of set and the getters come in the order of the value types
// below; a new value class adds its pair at its place in that order (the
// table order of the interface: the image, progress, rectangle, quaternion,
// material, colour, grid values and collections first, then the mesh values,
// matrix, vectors and objects, then string, bool, int, double).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>
#include <type_traits>

class DataObject;
class DirIndex;
class IKivImage;
class KivImage;
class GridIndex;
class IKivDataObject;
class IKivProperty;
class KivString;
struct KivBounds;
struct KivColor;
struct KivGridPoint;
struct KivMaterial;
struct KivMatrix;
struct KivQuaternion;
struct KivRect;
struct KivVector;
struct Vector2D;
struct Vector2F;

class IKivPropertyMapIter : public virtual IKivUnknown {
public:
  virtual void first() = 0;
  // Stays at the end once there.
  virtual void next() = 0;
  virtual bool isDone() const = 0;
  // Null at the end.
  virtual IKivProperty* value() const = 0;
  // KivString::empty() at the end.
  virtual const KivString& key() const = 0;
};

// True for a pointer that one of the pointer overloads of set() takes, also
// through a conversion to a base class or to const text. A pointer that none
// takes must not quietly become a bool: see the deleted set() below.
template <class T>
inline constexpr bool kivMapTakesPointer =
    std::is_convertible_v<T*, const char*> || std::is_convertible_v<T*, DataObject*> ||
    std::is_convertible_v<T*, IKivDataObject*> || std::is_convertible_v<T*, GridIndex*> ||
    std::is_convertible_v<T*, DirIndex*> || std::is_convertible_v<T*, IKivImage*>;

class IKivPropertyMap : public virtual IKivUnknown {
public:
  virtual void set(const char* name, const KivRect& value) = 0;
  virtual void set(const char* name, const KivQuaternion& value) = 0;
  virtual void set(const char* name, const KivMaterial& value) = 0;
  virtual void set(const char* name, const KivColor& value) = 0;
  virtual void set(const char* name, KivGridPoint value) = 0;
  // The property holds the object itself, with a reference.
  virtual void set(const char* name, GridIndex* value) = 0;
  virtual void set(const char* name, DirIndex* value) = 0;
  // Into an ImageProperty, which holds the image with a reference.
  virtual void set(const char* name, IKivImage* value) = 0;
  virtual void set(const char* name, const KivBounds& value) = 0;
  virtual void set(const char* name, const KivMatrix& value) = 0;
  // Enters `p` under `name`, replacing what stands there; the old property
  // keeps its subscribers. detachProperty(name) runs first if the name is
  // present; an absent name fails with code 1 when the map warns.
  virtual void replaceProperty(const char* name, IKivProperty* p) = 0;
  virtual void set(const char* name, const Vector2F& value) = 0;
  virtual void set(const char* name, const Vector2D& value) = 0;
  virtual void set(const char* name, const KivVector& value) = 0;
  // The property must be an ObjectProperty (code 3, "... Should be
  // DataObject"); one declared for a narrower class takes only an object of
  // that script class.
  virtual void set(const char* name, DataObject* value) = 0;
  // As above; the value goes in as the DataObject it answers to (null if it
  // answers to none), and no declared class is compared.
  virtual void set(const char* name, IKivDataObject* value) = 0;
  virtual void set(const char* name, const KivString& value) = 0;
  // The 8-bit text widened as KivString widens it.
  virtual void set(const char* name, const char* value) = 0;
  // Also writes 0 or 1 into an IntProperty.
  virtual void set(const char* name, bool value) = 0;
  // Also writes value != 0 into a BoolProperty.
  virtual void set(const char* name, int value) = 0;
  virtual void set(const char* name, double value) = 0;
  // Any other pointer would convert to bool; it doesn't compile instead.
  template <class T>
    requires(!kivMapTakesPointer<T>)
  void set(const char* name, T* value) = delete;

  // Documentation stored under this object's class name or, failing that,
  // under the first class or interface of its class tree that has it.
  virtual bool getDocumentation(const char* name, KivString& out) = 0;
  // False, and nothing stored, if the map has no property of that name.
  virtual bool setDocumentation(const char* name, const KivString& text) = 0;
  virtual IKivProperty* getProperty(const char* name) const = 0;
  virtual IKivProperty* getProperty(const KivString& name) const = 0;
  // Never fails; a null name is a programmer's fault ("data_").
  virtual bool hasProperty(const char* name) const = 0;
  virtual bool hasProperty(const KivString& name) const = 0;
  // A new iterator on the first name; the caller takes the reference.
  virtual IKivPropertyMapIter* iterator() const = 0;
  // All names in order, joined by ",".
  virtual KivString propertyNames() const = 0;

  // Getters: the type's default (0, false, 0.0, empty, null, the default
  // value of a value type: the empty bounds, a grey colour) for a missing
  // name, code 3 for a property of another class. Objects come without a
  // reference.
  virtual int getInt(const char* name) const = 0;
  virtual bool getBool(const char* name) const = 0;
  virtual double getDouble(const char* name) const = 0;
  virtual KivVector getVector3D(const char* name) const = 0;
  virtual KivString getString(const char* name) const = 0;
  virtual DataObject* getDataObject(const char* name) const = 0;
  virtual DataObject* getDataObject(const KivString& name) const = 0;
  // The image of an ImageProperty, as class and as interface.
  virtual KivImage* getImage(const char* name) const = 0;
  virtual KivImage* getImage(const KivString& name) const = 0;
  virtual IKivImage* getImageInterface(const char* name) const = 0;
  virtual IKivImage* getImageInterface(const KivString& name) const = 0;
  virtual Vector2D getVector2D(const char* name) const = 0;
  virtual Vector2F getVector2F(const char* name) const = 0;
  virtual KivMatrix getMatrix(const char* name) const = 0;
  virtual KivBounds getBounds(const char* name) const = 0;
  virtual DirIndex* getDirIndex(const char* name) const = 0;
  virtual DirIndex* getDirIndex(const KivString& name) const = 0;
  virtual GridIndex* getGridIndex(const char* name) const = 0;
  virtual GridIndex* getGridIndex(const KivString& name) const = 0;
  virtual KivGridPoint getGridPoint(const char* name) const = 0;
  virtual KivGridPoint getGridPoint(const KivString& name) const = 0;
  virtual KivColor getColor(const char* name) const = 0;
  virtual KivMaterial getMaterial(const char* name) const = 0;
  virtual KivQuaternion getQuaternion(const char* name) const = 0;
  virtual KivRect getRect(const char* name) const = 0;

  // Reports of the properties with their types, values and documentation.
  virtual KivString documentationText() = 0;
  virtual KivString documentationTable() = 0;
  // The map takes a reference; a property of the same name is replaced.
  virtual void addProperty(IKivProperty* p) = 0;
  // Under `name`, which need not be p->name(); nothing happens if that very
  // pointer stands there already.
  virtual void addProperty(IKivProperty* p, const char* name) = 0;
  // Called before a property is replaced through replaceProperty.
  virtual void detachProperty(const char* name) = 0;
  virtual void setUtf8(const char* name, const char* text) = 0;
  // 8 plus what the properties report.
  virtual uint64_t memorySize() const = 0;
};
