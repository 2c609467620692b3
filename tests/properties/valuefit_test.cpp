#include "properties/valuefit.h"

#include "core/classids.h"
#include "properties/boolproperty.h"
#include "properties/dirindex.h"
#include "properties/doubleproperty.h"
#include "properties/gridindex.h"
#include "properties/intproperty.h"
#include "properties/kivboundsproperty.h"
#include "properties/kivcolorproperty.h"
#include "properties/kivgridpointproperty.h"
#include "properties/kivmaterialproperty.h"
#include "properties/kivquaternionproperty.h"
#include "properties/kivrectproperty.h"
#include "properties/stringproperty.h"
#include "properties/transform3dproperty.h"
#include "properties/vectorproperty.h"
#include "propertysupport.h"
#include "storedentries.h"

#include <gtest/gtest.h>

namespace {

struct StoredValueTest : ::testing::Test {
  StoredValueTest() { inProcessHost(); }
};

// Every name with its class and value text, in map order.
std::string snapshot(const PropertyMap& map) {
  std::string s;
  for (const auto& [key, property] : map.properties()) {
    KivString value;
    property->valueText(key, value);
    s += text(key) + ":" + property->className() + "=" + text(value) + ";";
  }
  return s;
}

KivMaterial sampleMaterial() {
  KivMaterial m;
  m.ambient = {0.2f, 0.4f, 0.6f, 1.0f};
  m.diffuse = {1.0f, 0.0f, 0.0f, 0.4f};
  m.specular = {0.0f, 0.0f, 1.0f, 1.0f};
  m.emission = {0.0f, 1.0f, 0.0f, 0.0f};
  m.transmission = 0.25f;
  m.shininess = 40.0f;
  m.face = KivMaterial::FrontAndBack;
  return m;
}

// One property of every value class. Colours hold values that survive the
// packing to bytes, so that the second write equals the first.
void fillEveryClass(PropertyMap& map) {
  map.set("bool", true);
  map.set("int", -7);
  map.set("double", 0.125);
  map.set("string", "text");
  map.addProperty(new Vector2DProperty(KivString("v2d"), Vector2D(1.5, -2.25), false));
  map.addProperty(new Vector2FProperty(KivString("v2f"), Vector2F(0.5f, 3.0f), false));
  map.addProperty(new Vector3DProperty(KivString("v3d"), KivVector(1, 2e38, -3), false));
  map.addProperty(new Transform3DProperty(
      KivString("matrix"), KivMatrix::translation(KivVector(1, 2, 3)), false));
  map.addProperty(new KivBoundsProperty(
      KivString("bounds"), KivBounds(KivVector(3, 2, 1), KivVector(-1, 5, 0)), false));
  map.addProperty(new KivBoundsProperty(KivString("empty"), KivBounds(), false));
  map.addProperty(new KivColorProperty(KivString("color"), KivColor::fromBytes(255, 128, 0, 64),
                                       false));
  map.addProperty(new KivMaterialProperty(KivString("material"), sampleMaterial(), false));
  map.addProperty(new DirIndexProperty(KivString("dir"), new DirIndex(5, 1), false));
  map.addProperty(new DirIndexProperty(KivString("nodir"), nullptr, false));
  map.addProperty(new GridIndexProperty(KivString("grid"), new GridIndex(4, 9), false));
  map.addProperty(new KivQuaternionProperty(KivString("quat"), KivQuaternion(0, 1, 0, 0), false));
  map.addProperty(new KivRectProperty(KivString("rect"), KivRect(0, 0, 2, 1), false));
  map.addProperty(new KivGridPointProperty(KivString("point"), KivGridPoint(42), false));
}

// Write, read through the class table, write again: the same bytes. The
// three classes without a stored form are left out, the rest comes back
// with the same values (a grid position isn't stored, so its property comes
// back without one).
TEST_F(StoredValueTest, AMapOfEveryClassRoundTripsToTheSameBytes) {
  PropertyMap original;
  fillEveryClass(original);
  const Bytes first = writeEntries(original);

  PropertyMap copy;
  ASSERT_EQ(readEntries(first, copy), 0);
  EXPECT_EQ(hexText(writeEntries(copy)), hexText(first));

  for (const char* gone : {"quat", "rect", "point"}) {
    original.removeProperty(KivString(gone));
    EXPECT_FALSE(copy.hasProperty(gone)) << gone;
  }
  EXPECT_EQ(kivQuery<GridIndexProperty>(copy.getProperty("grid"), "GridIndexProperty")->get(),
            nullptr);
  EXPECT_EQ(kivQuery<DirIndexProperty>(copy.getProperty("nodir"), "DirIndexProperty")->get(),
            nullptr);
  EXPECT_EQ(snapshot(copy), snapshot(original));
  auto* bounds = kivQuery<KivBoundsProperty>(copy.getProperty("empty"), "KivBoundsProperty");
  EXPECT_TRUE(bounds->get().isEmpty());
  auto* material =
      kivQuery<KivMaterialProperty>(copy.getProperty("material"), "KivMaterialProperty");
  EXPECT_EQ(material->get(), sampleMaterial());
}

// A section too short for its value is stepped over: the property keeps its
// value, the reader stays good and the entries behind it read as usual. An
// entry of a class the table doesn't know is skipped whole.
TEST_F(StoredValueTest, ShortSectionsAndUnknownClassesLeaveTheRestReadable) {
  struct Case {
    const char* name;
    const char* className;
    int32_t bytes;  // body bytes behind the section head
    int skipped;
  };
  const Case cases[] = {
      {"vector_missing", "Vector3DProperty", 0, 0},
      {"vector_cut_in_block", "Vector3DProperty", 20, 0},
      {"matrix_cut", "Transform3DProperty", 100, 0},
      {"bounds_one_corner", "KivBoundsProperty", 36, 0},
      {"color_cut", "KivColorProperty", 3, 0},
      {"material_cut", "KivMaterialProperty", 27, 0},
      {"dirindex_cut", "DirIndexProperty", 2, 0},
      {"unknown_class", nullptr, 8, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PropertyMap tail;
    tail.set("z", 7);
    const KivClassId unknown = makeClassId(0x12345678, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
    const Bytes bytes = writeEntries(
        tail,
        [&](KivFileWrite& w) {
          w.beginProperty(KivString("a"));
          w.beginClassBlock(c.className ? classIdOf(c.className) : unknown, 0);
          for (int32_t i = 0; i < c.bytes; ++i)
            w.writeUInt8(0x41);
          w.endBlock();
          w.endProperty(KivString("a"));
        },
        1);

    PropertyMap read;
    ASSERT_EQ(readEntries(bytes, read), c.skipped);
    EXPECT_EQ(read.getInt("z"), 7);
    if (c.className) {
      IKivProperty* a = read.getProperty("a");
      ASSERT_NE(a, nullptr);
      IPtr<IKivProperty> fresh(a->clone());
      void* out = nullptr;
      ASSERT_EQ(createObject(&classIdOf(c.className), "IKivProperty", &out), 1);
      IPtr<IKivProperty> untouched(static_cast<IKivProperty*>(out));
      KivString got, expected;
      a->valueText(a->name(), got);
      untouched->valueText(untouched->name(), expected);
      EXPECT_EQ(text(got), text(expected));
    }
  }
}

} // namespace
