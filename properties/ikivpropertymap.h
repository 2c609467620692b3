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
// A host calls this interface by place: every operation stands at its
// numbered place (the comments), none appended out of turn. Places 1 to 39
// are the set overloads, 40 to 49 documentation and look-up, 50 to 108 the
// getters, 109 to 115 reports and maintenance.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>
#include <type_traits>

class Array3D;
class ByteArray;
class ColorArray;
class DataObject;
class DataObjectArray;
class DoubleArray;
class DoubleArray2D;
class ImageArray;
class IntArray;
class IProgress;
class OrientedTriangle;
class OrientedTriangleStack;
class OrientedTriangleStackList;
class Progress;
class StringArray;
class Transform3DArray;
class Vector2DArray;
class Vector2FArray;
class Vector3DArray;
class Vector3DArray2D;
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
    std::is_convertible_v<T*, DirIndex*> || std::is_convertible_v<T*, IKivImage*> ||
    std::is_convertible_v<T*, ImageArray*> || std::is_convertible_v<T*, Progress*> ||
    std::is_convertible_v<T*, Array3D*> || std::is_convertible_v<T*, StringArray*> ||
    std::is_convertible_v<T*, IntArray*> || std::is_convertible_v<T*, DoubleArray2D*> ||
    std::is_convertible_v<T*, Vector3DArray2D*> || std::is_convertible_v<T*, Vector3DArray*> ||
    std::is_convertible_v<T*, Vector2FArray*> || std::is_convertible_v<T*, Vector2DArray*> ||
    std::is_convertible_v<T*, ColorArray*> || std::is_convertible_v<T*, DoubleArray*> ||
    std::is_convertible_v<T*, DataObjectArray*> || std::is_convertible_v<T*, ByteArray*> ||
    std::is_convertible_v<T*, OrientedTriangleStackList*> ||
    std::is_convertible_v<T*, OrientedTriangleStack*> ||
    std::is_convertible_v<T*, OrientedTriangle*> || std::is_convertible_v<T*, Transform3DArray*>;

class IKivPropertyMap : public virtual IKivUnknown {
public:
  // Places 1 to 39: set, one overload per value type. Collections, images
  // and other objects go in themselves, held by the property with a
  // reference.
  virtual void set(const char* name, ImageArray* value) = 0;                        // 1
  virtual void set(const char* name, Progress* value) = 0;                          // 2
  virtual void set(const char* name, const KivRect& value) = 0;                     // 3
  virtual void set(const char* name, const KivQuaternion& value) = 0;               // 4
  virtual void set(const char* name, const KivMaterial& value) = 0;                 // 5
  virtual void set(const char* name, const KivColor& value) = 0;                    // 6
  virtual void set(const char* name, KivGridPoint value) = 0;                       // 7
  virtual void set(const char* name, GridIndex* value) = 0;                         // 8
  virtual void set(const char* name, DirIndex* value) = 0;                          // 9
  virtual void set(const char* name, Array3D* value) = 0;                           // 10
  // Into an ImageProperty, asked for by interface ("... Should be Image").
  virtual void set(const char* name, IKivImage* value) = 0;                         // 11
  virtual void set(const char* name, StringArray* value) = 0;                       // 12
  virtual void set(const char* name, IntArray* value) = 0;                          // 13
  virtual void set(const char* name, DoubleArray2D* value) = 0;                     // 14
  virtual void set(const char* name, Vector3DArray2D* value) = 0;                   // 15
  virtual void set(const char* name, Vector3DArray* value) = 0;                     // 16
  virtual void set(const char* name, Vector2FArray* value) = 0;                     // 17
  virtual void set(const char* name, Vector2DArray* value) = 0;                     // 18
  virtual void set(const char* name, ColorArray* value) = 0;                        // 19
  virtual void set(const char* name, DoubleArray* value) = 0;                       // 20
  virtual void set(const char* name, DataObjectArray* value) = 0;                   // 21
  virtual void set(const char* name, ByteArray* value) = 0;                         // 22
  virtual void set(const char* name, const KivBounds& value) = 0;                   // 23
  // The three mesh values check read-only but no type name.
  virtual void set(const char* name, OrientedTriangleStackList* value) = 0;         // 24
  virtual void set(const char* name, OrientedTriangleStack* value) = 0;             // 25
  virtual void set(const char* name, OrientedTriangle* value) = 0;                  // 26
  virtual void set(const char* name, Transform3DArray* value) = 0;                  // 27
  virtual void set(const char* name, const KivMatrix& value) = 0;                   // 28
  // Enters `p` under `name`, replacing what stands there; the old property
  // keeps its subscribers. detachProperty(name) runs first if the name is
  // present; an absent name fails with code 1 when the map warns.
  virtual void replaceProperty(const char* name, IKivProperty* p) = 0;              // 29
  virtual void set(const char* name, const Vector2F& value) = 0;                    // 30
  virtual void set(const char* name, const Vector2D& value) = 0;                    // 31
  virtual void set(const char* name, const KivVector& value) = 0;                   // 32
  // The property must be an ObjectProperty (code 3, "... Should be
  // DataObject"); one declared for a narrower class takes only an object of
  // that script class.
  virtual void set(const char* name, DataObject* value) = 0;                        // 33
  // As above; the value goes in as the DataObject it answers to (null if it
  // answers to none), and no declared class is compared.
  virtual void set(const char* name, IKivDataObject* value) = 0;                    // 34
  virtual void set(const char* name, const KivString& value) = 0;                   // 35
  // The 8-bit text widened as KivString widens it.
  virtual void set(const char* name, const char* value) = 0;                        // 36
  // Also writes 0 or 1 into an IntProperty.
  virtual void set(const char* name, bool value) = 0;                               // 37
  // Also writes value != 0 into a BoolProperty.
  virtual void set(const char* name, int value) = 0;                                // 38
  virtual void set(const char* name, double value) = 0;                             // 39
  // Any other pointer would convert to bool; it doesn't compile instead.
  template <class T>
    requires(!kivMapTakesPointer<T>)
  void set(const char* name, T* value) = delete;

  // Places 40 to 49. Documentation stored under this object's class name
  // or, failing that, under the first class or interface of its class tree
  // that has it.
  virtual bool getDocumentation(const char* name, KivString& out) = 0;              // 40
  // False, and nothing stored, if the map has no property of that name.
  virtual bool setDocumentation(const char* name, const KivString& text) = 0;       // 41
  virtual IKivProperty* getProperty(const char* name) const = 0;                    // 42
  virtual IKivProperty* getProperty(const char* name) = 0;                          // 43
  virtual IKivProperty* getProperty(const KivString& name) const = 0;               // 44
  virtual IKivProperty* getProperty(const KivString& name) = 0;                     // 45
  // Never fails; a null name is a programmer's fault ("data_").
  virtual bool hasProperty(const char* name) const = 0;                             // 46
  virtual bool hasProperty(const KivString& name) const = 0;                        // 47
  // A new iterator on the first name; the caller takes the reference.
  virtual IKivPropertyMapIter* iterator() const = 0;                                // 48
  // All names in order, joined by ",".
  virtual KivString propertyNames() const = 0;                                      // 49

  // Places 50 to 108, the getters: the type's default (0, false, 0.0,
  // empty, null, the default value of a value type: the empty bounds, a
  // grey colour) for a missing name, code 3 for a property of another
  // class. Objects come without a reference.
  virtual int getInt(const char* name) const = 0;                                   // 50
  virtual bool getBool(const char* name) const = 0;                                 // 51
  virtual double getDouble(const char* name) const = 0;                             // 52
  virtual KivVector getVector3D(const char* name) const = 0;                        // 53
  virtual KivString getString(const char* name) const = 0;                          // 54
  virtual DataObject* getDataObject(const char* name) const = 0;                    // 55
  virtual DataObject* getDataObject(const KivString& name) const = 0;               // 56
  virtual DataObjectArray* getDataObjectArray(const char* name) const = 0;          // 57
  virtual DataObjectArray* getDataObjectArray(const KivString& name) const = 0;     // 58
  // The image of an ImageProperty, as class and as interface.
  virtual KivImage* getImage(const char* name) const = 0;                           // 59
  virtual KivImage* getImage(const KivString& name) const = 0;                      // 60
  virtual IKivImage* getImageInterface(const char* name) const = 0;                 // 61
  virtual IKivImage* getImageInterface(const KivString& name) const = 0;            // 62
  virtual Vector2D getVector2D(const char* name) const = 0;                         // 63
  virtual Vector2F getVector2F(const char* name) const = 0;                         // 64
  virtual KivMatrix getMatrix(const char* name) const = 0;                          // 65
  virtual KivBounds getBounds(const char* name) const = 0;                          // 66
  virtual Transform3DArray* getTransform3DArray(const char* name) const = 0;        // 67
  virtual Transform3DArray* getTransform3DArray(const KivString& name) const = 0;   // 68
  virtual OrientedTriangle* getOrientedTriangle(const char* name) const = 0;        // 69
  virtual OrientedTriangle* getOrientedTriangle(const KivString& name) const = 0;   // 70
  virtual OrientedTriangleStack* getOrientedTriangleStack(const char* name) const = 0;       // 71
  virtual OrientedTriangleStack* getOrientedTriangleStack(const KivString& name) const = 0;  // 72
  virtual OrientedTriangleStackList* getOrientedTriangleStackList(const char* name) const = 0;      // 73
  virtual OrientedTriangleStackList* getOrientedTriangleStackList(const KivString& name) const = 0; // 74
  virtual Array3D* getArray3D(const char* name) const = 0;                          // 75
  virtual Array3D* getArray3D(const KivString& name) const = 0;                     // 76
  virtual DirIndex* getDirIndex(const char* name) const = 0;                        // 77
  virtual DirIndex* getDirIndex(const KivString& name) const = 0;                   // 78
  virtual GridIndex* getGridIndex(const char* name) const = 0;                      // 79
  virtual GridIndex* getGridIndex(const KivString& name) const = 0;                 // 80
  virtual KivGridPoint getGridPoint(const char* name) const = 0;                    // 81
  virtual KivGridPoint getGridPoint(const KivString& name) const = 0;               // 82
  virtual ByteArray* getByteArray(const char* name) const = 0;                      // 83
  virtual ByteArray* getByteArray(const KivString& name) const = 0;                 // 84
  virtual StringArray* getStringArray(const char* name) const = 0;                  // 85
  virtual StringArray* getStringArray(const KivString& name) const = 0;             // 86
  virtual IntArray* getIntArray(const char* name) const = 0;                        // 87
  virtual IntArray* getIntArray(const KivString& name) const = 0;                   // 88
  virtual DoubleArray* getDoubleArray(const char* name) const = 0;                  // 89
  virtual DoubleArray* getDoubleArray(const KivString& name) const = 0;             // 90
  virtual ColorArray* getColorArray(const char* name) const = 0;                    // 91
  virtual ColorArray* getColorArray(const KivString& name) const = 0;               // 92
  virtual Vector2DArray* getVector2DArray(const char* name) const = 0;              // 93
  virtual Vector2DArray* getVector2DArray(const KivString& name) const = 0;         // 94
  virtual Vector2FArray* getVector2FArray(const char* name) const = 0;              // 95
  virtual Vector2FArray* getVector2FArray(const KivString& name) const = 0;         // 96
  virtual Vector3DArray* getVector3DArray(const char* name) const = 0;              // 97
  virtual Vector3DArray* getVector3DArray(const KivString& name) const = 0;         // 98
  virtual DoubleArray2D* getDoubleArray2D(const char* name) const = 0;              // 99
  virtual DoubleArray2D* getDoubleArray2D(const KivString& name) const = 0;         // 100
  virtual Vector3DArray2D* getVector3DArray2D(const char* name) const = 0;          // 101
  virtual Vector3DArray2D* getVector3DArray2D(const KivString& name) const = 0;     // 102
  virtual KivColor getColor(const char* name) const = 0;                            // 103
  virtual KivMaterial getMaterial(const char* name) const = 0;                      // 104
  virtual KivQuaternion getQuaternion(const char* name) const = 0;                  // 105
  virtual KivRect getRect(const char* name) const = 0;                              // 106
  virtual IProgress* getProgressInterface(const char* name) const = 0;              // 107
  virtual ImageArray* getImageArray(const char* name) const = 0;                    // 108

  // Places 109 to 115. Reports of the properties with their types, values
  // and documentation.
  virtual KivString documentationText() = 0;                                        // 109
  virtual KivString documentationTable() = 0;                                       // 110
  // The map takes a reference; a property of the same name is replaced.
  virtual void addProperty(IKivProperty* p) = 0;                                    // 111
  // Under `name`, which need not be p->name(); nothing happens if that very
  // pointer stands there already.
  virtual void addProperty(IKivProperty* p, const char* name) = 0;                  // 112
  // Called before a property is replaced through replaceProperty.
  virtual void detachProperty(const char* name) = 0;                                // 113
  virtual void setUtf8(const char* name, const char* text) = 0;                     // 114
  // 8 plus what the properties report.
  virtual uint64_t memorySize() const = 0;                                          // 115
};
