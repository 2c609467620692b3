#include "properties/propertymap.h"

#include "properties/arrayproperties.h"
#include "properties/dataobjectarrayproperty.h"
#include "properties/orientedtriangle.h"
#include "propertysupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

// The vtable place that a pointer to a virtual member names, counted from 1
// as the interface's table counts (the pointer holds 1 + the byte offset).
template <class F>
int placeOf(F f) {
  struct {
    uintptr_t ptr;
    ptrdiff_t adjust;
  } raw;
  static_assert(sizeof(raw) == sizeof(f));
  std::memcpy(&raw, &f, sizeof(raw));
  return static_cast<int>((raw.ptr - 1) / sizeof(void*)) + 1;
}

using M = IKivPropertyMap;
#define SET(T) placeOf(static_cast<void (M::*)(const char*, T)>(&M::set))
#define GET(R, F, A) placeOf(static_cast<R (M::*)(A) const>(&M::F))

struct PlaceCase {
  int place;
  int found;
};

TEST(PropertyMapPlaces, EveryOperationStandsAtItsPlace) {
  const PlaceCase cases[] = {
      {1, SET(ImageArray*)},
      {2, SET(Progress*)},
      {3, SET(const KivRect&)},
      {4, SET(const KivQuaternion&)},
      {5, SET(const KivMaterial&)},
      {6, SET(const KivColor&)},
      {7, SET(KivGridPoint)},
      {8, SET(GridIndex*)},
      {9, SET(DirIndex*)},
      {10, SET(Array3D*)},
      {11, SET(IKivImage*)},
      {12, SET(StringArray*)},
      {13, SET(IntArray*)},
      {14, SET(DoubleArray2D*)},
      {15, SET(Vector3DArray2D*)},
      {16, SET(Vector3DArray*)},
      {17, SET(Vector2FArray*)},
      {18, SET(Vector2DArray*)},
      {19, SET(ColorArray*)},
      {20, SET(DoubleArray*)},
      {21, SET(DataObjectArray*)},
      {22, SET(ByteArray*)},
      {23, SET(const KivBounds&)},
      {24, SET(OrientedTriangleStackList*)},
      {25, SET(OrientedTriangleStack*)},
      {26, SET(OrientedTriangle*)},
      {27, SET(Transform3DArray*)},
      {28, SET(const KivMatrix&)},
      {29, placeOf(&M::replaceProperty)},
      {30, SET(const Vector2F&)},
      {31, SET(const Vector2D&)},
      {32, SET(const KivVector&)},
      {33, SET(DataObject*)},
      {34, SET(IKivDataObject*)},
      {35, SET(const KivString&)},
      {36, SET(const char*)},
      {37, SET(bool)},
      {38, SET(int)},
      {39, SET(double)},
      {40, placeOf(&M::getDocumentation)},
      {41, placeOf(&M::setDocumentation)},
      {42, GET(IKivProperty*, getProperty, const char*)},
      {43, placeOf(static_cast<IKivProperty* (M::*)(const char*)>(&M::getProperty))},
      {44, GET(IKivProperty*, getProperty, const KivString&)},
      {45, placeOf(static_cast<IKivProperty* (M::*)(const KivString&)>(&M::getProperty))},
      {46, GET(bool, hasProperty, const char*)},
      {47, GET(bool, hasProperty, const KivString&)},
      {48, placeOf(&M::iterator)},
      {49, placeOf(&M::propertyNames)},
      {50, placeOf(&M::getInt)},
      {51, placeOf(&M::getBool)},
      {52, placeOf(&M::getDouble)},
      {53, placeOf(&M::getVector3D)},
      {54, placeOf(&M::getString)},
      {55, GET(DataObject*, getDataObject, const char*)},
      {56, GET(DataObject*, getDataObject, const KivString&)},
      {57, GET(DataObjectArray*, getDataObjectArray, const char*)},
      {58, GET(DataObjectArray*, getDataObjectArray, const KivString&)},
      {59, GET(KivImage*, getImage, const char*)},
      {60, GET(KivImage*, getImage, const KivString&)},
      {61, GET(IKivImage*, getImageInterface, const char*)},
      {62, GET(IKivImage*, getImageInterface, const KivString&)},
      {63, placeOf(&M::getVector2D)},
      {64, placeOf(&M::getVector2F)},
      {65, placeOf(&M::getMatrix)},
      {66, placeOf(&M::getBounds)},
      {67, GET(Transform3DArray*, getTransform3DArray, const char*)},
      {68, GET(Transform3DArray*, getTransform3DArray, const KivString&)},
      {69, GET(OrientedTriangle*, getOrientedTriangle, const char*)},
      {70, GET(OrientedTriangle*, getOrientedTriangle, const KivString&)},
      {71, GET(OrientedTriangleStack*, getOrientedTriangleStack, const char*)},
      {72, GET(OrientedTriangleStack*, getOrientedTriangleStack, const KivString&)},
      {73, GET(OrientedTriangleStackList*, getOrientedTriangleStackList, const char*)},
      {74, GET(OrientedTriangleStackList*, getOrientedTriangleStackList, const KivString&)},
      {75, GET(Array3D*, getArray3D, const char*)},
      {76, GET(Array3D*, getArray3D, const KivString&)},
      {77, GET(DirIndex*, getDirIndex, const char*)},
      {78, GET(DirIndex*, getDirIndex, const KivString&)},
      {79, GET(GridIndex*, getGridIndex, const char*)},
      {80, GET(GridIndex*, getGridIndex, const KivString&)},
      {81, GET(KivGridPoint, getGridPoint, const char*)},
      {82, GET(KivGridPoint, getGridPoint, const KivString&)},
      {83, GET(ByteArray*, getByteArray, const char*)},
      {84, GET(ByteArray*, getByteArray, const KivString&)},
      {85, GET(StringArray*, getStringArray, const char*)},
      {86, GET(StringArray*, getStringArray, const KivString&)},
      {87, GET(IntArray*, getIntArray, const char*)},
      {88, GET(IntArray*, getIntArray, const KivString&)},
      {89, GET(DoubleArray*, getDoubleArray, const char*)},
      {90, GET(DoubleArray*, getDoubleArray, const KivString&)},
      {91, GET(ColorArray*, getColorArray, const char*)},
      {92, GET(ColorArray*, getColorArray, const KivString&)},
      {93, GET(Vector2DArray*, getVector2DArray, const char*)},
      {94, GET(Vector2DArray*, getVector2DArray, const KivString&)},
      {95, GET(Vector2FArray*, getVector2FArray, const char*)},
      {96, GET(Vector2FArray*, getVector2FArray, const KivString&)},
      {97, GET(Vector3DArray*, getVector3DArray, const char*)},
      {98, GET(Vector3DArray*, getVector3DArray, const KivString&)},
      {99, GET(DoubleArray2D*, getDoubleArray2D, const char*)},
      {100, GET(DoubleArray2D*, getDoubleArray2D, const KivString&)},
      {101, GET(Vector3DArray2D*, getVector3DArray2D, const char*)},
      {102, GET(Vector3DArray2D*, getVector3DArray2D, const KivString&)},
      {103, placeOf(&M::getColor)},
      {104, placeOf(&M::getMaterial)},
      {105, placeOf(&M::getQuaternion)},
      {106, placeOf(&M::getRect)},
      {107, placeOf(&M::getProgressInterface)},
      {108, placeOf(&M::getImageArray)},
      {109, placeOf(&M::documentationText)},
      {110, placeOf(&M::documentationTable)},
      {111, placeOf(static_cast<void (M::*)(IKivProperty*)>(&M::addProperty))},
      {112, placeOf(static_cast<void (M::*)(IKivProperty*, const char*)>(&M::addProperty))},
      {113, placeOf(&M::detachProperty)},
      {114, placeOf(&M::setUtf8)},
      {115, placeOf(&M::memorySize)},
  };
  int expected = 1;
  for (const PlaceCase& c : cases) {
    EXPECT_EQ(c.place, expected++) << "case list out of order";
    EXPECT_EQ(c.found, c.place);
  }
  EXPECT_EQ(expected, 116);

  // PropertyMap's own operations follow one another in their order.
  using P = PropertyMap;
  const int own[] = {
      placeOf(&P::clearProperty),
      placeOf(static_cast<void (P::*)(const char*, IProgress*)>(&P::set)),
      placeOf(static_cast<Property* (P::*)(const char*) const>(&P::getPropertyObject)),
      placeOf(static_cast<Property* (P::*)(const KivString&) const>(&P::getPropertyObject)),
      placeOf(&P::getProgress),
      placeOf(&P::setWarnNonExisting),
      placeOf(&P::copyFrom),
      placeOf(&P::exchangeProperty),
  };
  for (size_t i = 1; i < std::size(own); ++i)
    EXPECT_EQ(own[i], own[0] + static_cast<int>(i)) << i;
}

// A call by place reaches the operation: the collection pairs store
// through their own property classes and read back, and a wrong class
// fails with the getter's short label.
TEST(PropertyMapPlaces, CollectionPairsStoreAndRefuseOtherClasses) {
  inProcessHost();
  PropertyMap map;
  IPtr<DoubleArray> doubles(new DoubleArray);
  IPtr<IntArray> ints(new IntArray);
  IKivPropertyMap& m = map;
  m.set("d", doubles.get());
  m.set("i", ints.get());
  m.set("t", IPtr<OrientedTriangle>(new OrientedTriangle(2, 1)).get());
  EXPECT_EQ(m.getDoubleArray("d"), doubles.get());
  EXPECT_EQ(std::string(m.getProperty("d")->typeName()), "kivapi.datamodel.DoubleArray");
  EXPECT_EQ(m.getIntArray(KivString("i")), ints.get());
  EXPECT_EQ(m.getOrientedTriangle("t")->value(), 25u);
  EXPECT_EQ(m.getByteArray("nope"), nullptr);
  Thrown wrong = catchCode([&] { m.set("d", ints.get()); });
  EXPECT_EQ(wrong.code, 3);
  EXPECT_EQ(wrong.message,
            "Wrong type (kivapi.datamodel.IntArray) for attribute 'd'. Should be "
            "kivapi.datamodel.DoubleArray");
  Thrown label = catchCode([&] { m.getIntArray("d"); });
  EXPECT_EQ(label.code, 3);
  EXPECT_EQ(label.message.rfind("Wrong type (IntArray) for attribute 'd'. Should be ", 0), 0u);
  // The mesh values skip the type check; the class query decides.
  m.set("i", IPtr<OrientedTriangleStack>(new OrientedTriangleStack).get());
  EXPECT_EQ(m.getIntArray("i"), ints.get());
}

} // namespace
