#include "properties/propertymap.h"

#include "host/hostdatastore.h"
#include "model/dataobject.h"
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
#include "properties/objectproperty.h"
#include "properties/stringproperty.h"
#include "properties/transform3dproperty.h"
#include "properties/vectorproperty.h"
#include "propertysupport.h"

#include <gtest/gtest.h>

namespace {

struct PropertyMapTest : ::testing::Test {
  PropertyMapTest() { inProcessHost(); }
};

// Every name with its class and value text, in map order.
std::string snapshot(const PropertyMap& map) {
  std::string s;
  IPtr<IKivPropertyMapIter> it(map.iterator());
  for (; !it->isDone(); it->next()) {
    KivString value;
    it->value()->valueText(it->key(), value);
    s += text(it->key()) + ":" + it->value()->className() + "=" + text(value) + ";";
  }
  return s;
}

TEST_F(PropertyMapTest, SetCreatesSilentlyAndFiresFromTheSecondWrite) {
  PropertyMap map;
  EXPECT_EQ(map.flags(), 28);
  map.set("a", 1);
  IKivProperty* a = map.getProperty("a");
  ASSERT_NE(a, nullptr);
  EXPECT_STREQ(a->className(), "IntProperty");
  EXPECT_FALSE(a->isReadOnly());
  Changes changes;
  ASSERT_TRUE(a->subscribe(modified(), &changes));
  map.set("a", 2);
  map.set("a", 2);
  EXPECT_EQ(changes.calls, std::vector<std::string>{"property_modified 1 2"});

  // Each overload creates its own class; a map without the events bit
  // creates properties without events.
  map.set("b", true);
  map.set("d", 0.5);
  map.set("s", "text");
  map.setUtf8("u", "caf\xC3\xA9");
  map.setFlags(0);
  map.set("quiet", 3);
  EXPECT_EQ(snapshot(map), "a:IntProperty=2;b:BoolProperty=1;d:DoubleProperty=0.500000;"
                           "quiet:IntProperty=3;s:StringProperty=text;u:StringProperty=caf\xC3\xA9;");
  EXPECT_FALSE(map.getProperty("quiet")->hasEvents());
  EXPECT_TRUE(map.getProperty("s")->hasEvents());
}

TEST_F(PropertyMapTest, FailuresHaveTheirCodeAndTextAndChangeNothing) {
  struct Case {
    const char* name;
    std::function<void(PropertyMap&)> call;
    int code;
    const char* message;
  };
  const Case cases[] = {
      {"string_into_int", [](PropertyMap& m) { m.set("a", "text"); }, 3,
       "Wrong type (string) for attribute 'a'. Should be int"},
      {"double_into_int", [](PropertyMap& m) { m.set("a", 1.5); }, 3,
       "Wrong type (double) for attribute 'a'. Should be int"},
      {"int_into_string", [](PropertyMap& m) { m.set("s", 4); }, 3,
       "Wrong type (int) for attribute 's'. Should be string"},
      {"read_only_before_type", [](PropertyMap& m) { m.set("ro", "text"); }, 2,
       "Cannot modify read only attribute 'ro'"},
      {"clear_read_only", [](PropertyMap& m) { m.clearProperty("ro"); }, 2,
       "Cannot modify read only attribute 'ro'"},
      {"get_double_of_int", [](PropertyMap& m) { m.getDouble("a"); }, 3,
       "Wrong type (double) for attribute 'a'. Should be IntProperty"},
      {"get_int_of_bool", [](PropertyMap& m) { m.getInt("flag"); }, 3,
       "Wrong type (int) for attribute 'flag'. Should be BoolProperty"},
      {"missing_with_warning", [](PropertyMap& m) { m.getProperty("nope"); }, 1,
       "Property 'nope' does not exist."},
      {"set_missing_with_warning", [](PropertyMap& m) { m.set("nope", 1); }, 1,
       "Property 'nope' does not exist."},
      {"replace_missing_with_warning",
       [](PropertyMap& m) {
         IPtr<IntProperty> p(new IntProperty(KivString("n"), 1, false));
         m.replaceProperty("nope", p.get());
       },
       1, "Property 'nope' does not exist."},
      {"bounds_from_the_property", [](PropertyMap& m) { m.set("bounded", 11); }, 6,
       "Error in class : Value for property 'bounded' is out of bounds '11', value between '0' "
       "and '10' is expected."},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    PropertyMap map;
    map.set("a", 1);
    map.set("s", "x");
    map.set("flag", false);
    map.addProperty(new IntProperty(KivString("ro"), 5, true));
    map.addProperty(new IntProperty(KivString("bounded"), 5, false, 0, 10, true));
    map.setWarnNonExisting(k.code == 1);
    const std::string before = snapshot(map);
    Thrown t = catchCode([&] { k.call(map); });
    EXPECT_EQ(t.code, k.code);
    EXPECT_EQ(t.message, k.message);
    EXPECT_EQ(snapshot(map), before);
  }
}

TEST_F(PropertyMapTest, BoolAndIntWriteIntoEachOtherButDoNotReadSo) {
  PropertyMap map;
  map.set("flag", false);
  map.set("count", 0);
  map.set("flag", 7);
  map.set("count", true);
  EXPECT_TRUE(map.getBool("flag"));
  EXPECT_EQ(map.getInt("count"), 1);
  EXPECT_STREQ(map.getProperty("flag")->className(), "BoolProperty");

  // Missing names give the defaults when the map doesn't warn.
  EXPECT_EQ(map.getInt("nope"), 0);
  EXPECT_FALSE(map.getBool("nope"));
  EXPECT_EQ(map.getDouble("nope"), 0.0);
  EXPECT_TRUE(map.getString("nope").isEmpty());
  map.setWarnNonExisting(true);
  EXPECT_FALSE(map.hasProperty("nope"));
}

// Names are exact and ordered by 16-bit units; 8-bit look-up text is widened
// as signed bytes, the same as a KivString made from it.
TEST_F(PropertyMapTest, NamesAreExactOrderedAndFoundByEightBitText) {
  PropertyMap map;
  EXPECT_TRUE(map.propertyNames().isEmpty());
  map.set("name", 1);
  map.set("Name", 2);
  map.set("b", 3);
  map.set("\xE9t\xE9", 4);
  EXPECT_EQ(text(map.propertyNames()), "Name,b,name,\xEF\xBF\xA9t\xEF\xBF\xA9");
  EXPECT_EQ(map.getInt("Name"), 2);
  EXPECT_EQ(map.getProperty(KivString(u"\xFFE9t\xFFE9")), map.getProperty("\xE9t\xE9"));
  EXPECT_EQ(map.getProperty("nam"), nullptr);
  EXPECT_EQ(map.memorySize(), 8 + 4 * sizeof(IntProperty));

  PropertyMap empty;
  IPtr<IKivPropertyMapIter> it(empty.iterator());
  EXPECT_TRUE(it->isDone());
  EXPECT_EQ(it->value(), nullptr);
  EXPECT_TRUE(it->key().isEmpty());
}

// copyFrom pairs by name: shared names take the value (and fire), new names
// are cloned in, names only the target has stay.
TEST_F(PropertyMapTest, CopyFromTakesValuesClonesTheRestAndKeepsExtras) {
  PropertyMap source;
  source.set("a", 2);
  source.set("s", "same");
  source.set("fresh", 0.5);
  source.setWarnNonExisting(true);

  PropertyMap target;
  target.set("a", 1);
  target.set("s", "same");
  target.set("extra", true);
  Changes changes;
  target.getProperty("a")->subscribe(modified(), &changes);
  target.getProperty("s")->subscribe(modified(), &changes);

  target.copyFrom(source);
  EXPECT_EQ(changes.calls, (std::vector<std::string>{"property_modified 1 2",
                                                      "property_modified same same"}));
  EXPECT_EQ(snapshot(target), "a:IntProperty=2;extra:BoolProperty=1;"
                              "fresh:DoubleProperty=0.500000;s:StringProperty=same;");
  EXPECT_NE(target.getProperty("fresh"), source.getProperty("fresh"));
  EXPECT_EQ(target.flags(), source.flags());

  PropertyMap copy(target);
  EXPECT_EQ(snapshot(copy), snapshot(target));
  EXPECT_NE(copy.getProperty("a"), target.getProperty("a"));

  PropertyMap moved(std::move(copy));
  EXPECT_EQ(snapshot(moved), snapshot(target));
  EXPECT_EQ(copy.count(), 0);
  EXPECT_EQ(copy.flags() & (kMapWarnNonExisting | kMapPropertyEvents), 0);
}

class DetachingMap : public PropertyMap {
public:
  void detachProperty(const char* name) override { detached.push_back(name); }
  std::vector<std::string> detached;
};

TEST_F(PropertyMapTest, ReplacingAndRemovingKeepTheOldPropertysSubscribers) {
  DetachingMap map;
  map.set("a", 1);
  IPtr<IKivProperty> old(map.getProperty("a"));
  Changes changes;
  old->subscribe(modified(), &changes);

  auto* replacement = new StringProperty(KivString("other"), KivString("r"), false);
  map.replaceProperty("a", replacement);
  map.replaceProperty("b", replacement);
  EXPECT_EQ(map.detached, std::vector<std::string>{"a"});
  EXPECT_EQ(map.getProperty("a"), replacement);
  EXPECT_EQ(replacement->refCount(), 2u);
  map.addProperty(replacement, "a");  // the same pointer: nothing
  EXPECT_EQ(replacement->refCount(), 2u);
  kivQuery<IntProperty>(old.get(), "IntProperty")->set(9);
  EXPECT_EQ(changes.calls.size(), 1u);

  EXPECT_TRUE(map.removeProperty(KivString("a")));
  EXPECT_FALSE(map.removeProperty(KivString("a")));
  EXPECT_EQ(replacement->refCount(), 1u);

  PropertyMap other;
  other.set("b", 5);
  EXPECT_TRUE(map.exchangeProperty(&other, KivString("b")));
  EXPECT_EQ(map.getInt("b"), 5);
  EXPECT_EQ(other.getProperty("b"), replacement);
  EXPECT_FALSE(map.exchangeProperty(&other, KivString("none")));
}

TEST_F(PropertyMapTest, DocumentationIsFoundAlongTheClassTreeAndPrinted) {
  PropertyMap map;
  map.set("count", 3);
  map.addProperty(new DoubleProperty(KivString("ratio"), 0.25, false, -1.0, 1.0e39, true));
  map.addProperty(new StringProperty(KivString("label"), KivString("lbl"), true));
  EXPECT_FALSE(map.setDocumentation("nope", KivString("never")));
  EXPECT_TRUE(map.setDocumentation("count", KivString("How many.")));
  KivString doc;
  EXPECT_TRUE(map.getDocumentation("count", doc));
  EXPECT_EQ(doc, "How many.");

  // Stored under a base class, found for the derived one.
  IPtr<IKivDataEventArgs> args(SPtr<IKivDataEventArgs>("IKivDataEventArgs"));
  auto* derived = kivQuery<DataEventArgs>(args.get(), "DataEventArgs");
  derived->set("count", 1);
  EXPECT_TRUE(derived->getDocumentation("count", doc));
  EXPECT_EQ(doc, "How many.");
  EXPECT_FALSE(derived->getDocumentation("label", doc));

  EXPECT_EQ(text(map.documentationText()),
            "   int   count = 3   How many.\n"
            "   string   label = lbl   Property Documentation missing. \n (Read Only)\n"
            "   double   ratio = 0.250000   Property Documentation missing. \n\n");
  EXPECT_EQ(text(map.documentationTable()),
            "count@     - No@     - int@     - -INF - +INF@     - 3@     - How many.@@"
            "label@     - Yes@     - string@     - @     - lbl@     - "
            "Property Documentation missing. \n@@"
            "ratio@     - No@     - double@     - -1.000000 - +INF@     - 0.250000@     - "
            "Property Documentation missing. \n@@");
  EXPECT_TRUE(PropertyMap().documentationTable().isEmpty());
}

// The setting is read once and then kept; a reset reads it again.
TEST_F(PropertyMapTest, DefaultFlagsFollowTheDataStoreSetting) {
  HostDataStore* store = inProcessHost().dataStore();
  const char* key = "Advanced/Warning About Non-Existing Properties";
  store->addInt(key, 0, 0, 1, 0);
  store->setInt(0, key, 1);
  PropertyMap::resetWarnNonExistingSetting();
  EXPECT_EQ(PropertyMap().flags(), 30);
  store->setInt(0, key, 0);
  EXPECT_EQ(PropertyMap().flags(), 30);
  PropertyMap::resetWarnNonExistingSetting();
  EXPECT_EQ(PropertyMap().flags(), 28);
}

// Each value type creates its own class on a new name and writes through it
// on the second set; the getters give the value back, or the type's default
// for a missing name.
TEST_F(PropertyMapTest, EveryValueTypeCreatesItsClassAndReadsBack) {
  PropertyMap map;
  KivMaterial material;
  material.shininess = 3.0f;
  IPtr<GridIndex> grid(new GridIndex(1, 2));
  IPtr<DirIndex> dir(new DirIndex(3, 1));
  for (int round = 0; round < 2; ++round) {
    const double k = round + 1.0;
    map.set("v3", KivVector(k, 2, 3));
    map.set("v2d", Vector2D(k, 2));
    map.set("v2f", Vector2F(static_cast<float>(k), 2));
    map.set("m", KivMatrix::scaling(k));
    map.set("b", KivBounds(KivVector(0, 0, 0), KivVector(k, 1, 1)));
    map.set("c", KivColor(0.25f, 0.5f, 0.75f, static_cast<float>(k) / 2));
    material.transmission = static_cast<float>(k);
    map.set("mat", material);
    map.set("q", KivQuaternion(0, k, 0, 0));
    map.set("r", KivRect(0, 0, k, 1));
    map.set("gp", KivGridPoint(static_cast<uint64_t>(k)));
    map.set("gi", grid.get());
    map.set("di", dir.get());
  }
  EXPECT_EQ(snapshot(map),
            "b:KivBoundsProperty=[0.000000 0.000000 0.000000]\n[2.000000 1.000000 1.000000]\n;"
            "c:KivColorProperty=;di:DirIndexProperty=(3, 1);gi:GridIndexProperty=;"
            "gp:KivGridPointProperty=;"
            "m:Transform3DProperty=[2.00 0.00 0.00 0.00]\n[0.00 2.00 0.00 0.00]\n"
            "[0.00 0.00 2.00 0.00]\n[0.00 0.00 0.00 1.00]\n;"
            "mat:KivMaterialProperty=;q:KivQuaternionProperty=;r:KivRectProperty=;"
            "v2d:Vector2DProperty=[2.00 2.00];v2f:Vector2FProperty=[2.00 2.00];"
            "v3:Vector3DProperty=[2.00 2.00 3.00];");
  EXPECT_EQ(map.getVector3D("v3"), KivVector(2, 2, 3));
  EXPECT_EQ(map.getVector2D("v2d"), Vector2D(2, 2));
  EXPECT_EQ(map.getVector2F("v2f"), Vector2F(2, 2));
  EXPECT_EQ(map.getMatrix("m"), KivMatrix::scaling(2));
  EXPECT_EQ(map.getBounds("b").max, KivVector(2, 1, 1));
  EXPECT_EQ(map.getColor("c"), KivColor(0.25f, 0.5f, 0.75f, 1.0f));
  EXPECT_EQ(map.getMaterial("mat"), material);
  EXPECT_EQ(map.getQuaternion("q"), KivQuaternion(0, 2, 0, 0));
  EXPECT_EQ(map.getRect("r"), KivRect(0, 0, 2, 1));
  EXPECT_EQ(map.getGridPoint("gp"), KivGridPoint(2));
  EXPECT_EQ(map.getGridPoint(KivString("gp")), KivGridPoint(2));
  EXPECT_EQ(map.getGridIndex(KivString("gi")), grid.get());
  EXPECT_EQ(map.getDirIndex("di"), dir.get());

  EXPECT_EQ(map.getVector2D("nope"), Vector2D());
  EXPECT_TRUE(map.getBounds("nope").isEmpty());
  EXPECT_EQ(map.getColor("nope"), KivColor());
  EXPECT_TRUE(map.getMatrix("nope").isIdentity());
  EXPECT_EQ(map.getGridIndex("nope"), nullptr);
}

TEST_F(PropertyMapTest, WrongValueTypesFailWithTheirTextsAndChangeNothing) {
  struct Case {
    const char* name;
    std::function<void(PropertyMap&)> call;
    const char* message;
  };
  const Case cases[] = {
      {"vector_into_int", [](PropertyMap& m) { m.set("a", KivVector(1, 2, 3)); },
       "Wrong type (kivapi.math.Vector3D) for attribute 'a'. Should be int"},
      {"2d_into_2f", [](PropertyMap& m) { m.set("v2f", Vector2D(1, 2)); },
       "Wrong type (kivapi.math.Vector2D) for attribute 'v2f'. Should be kivapi.math.Vector2F"},
      {"colour_into_material", [](PropertyMap& m) { m.set("mat", KivColor()); },
       "Wrong type (kivapi.datamodel.KivColor) for attribute 'mat'. Should be "
       "kivapi.datamodel.Material"},
      {"dir_index_into_grid_index", [](PropertyMap& m) {
         // The caller holds the object: a refused set takes no reference.
         IPtr<DirIndex> index(new DirIndex);
         m.set("gi", index.get());
       },
       "Wrong type (kivapi.mesh.DirIndex) for attribute 'gi'. Should be "
       "kivapi.datamodel.GridIndex"},
      {"get_matrix_of_vector", [](PropertyMap& m) { m.getMatrix("v2f"); },
       "Wrong type (KivMatrix) for attribute 'v2f'. Should be Vector2FProperty"},
      {"get_color_of_int", [](PropertyMap& m) { m.getColor("a"); },
       "Wrong type (KivColor) for attribute 'a'. Should be IntProperty"},
      {"get_grid_point_by_string", [](PropertyMap& m) { m.getGridPoint(KivString("mat")); },
       "Wrong type (KivGridPoint) for attribute 'mat'. Should be KivMaterialProperty"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    PropertyMap map;
    map.set("a", 1);
    map.set("v2f", Vector2F(1, 2));
    map.set("mat", KivMaterial());
    map.set("gi", new GridIndex);
    const std::string before = snapshot(map);
    Thrown t = catchCode([&] { k.call(map); });
    EXPECT_EQ(t.code, 3);
    EXPECT_EQ(t.message, k.message);
    EXPECT_EQ(snapshot(map), before);
  }
}

// A pointer with an overload of its own (or of a base) compiles; any other
// pointer must not turn into a bool.
template <class T>
constexpr bool kSetCompiles = requires(PropertyMap& m, T* p) { m.set("x", p); };
class Scan : public DataObject {
public:
  const char* scriptClassName() const override { return "kivapi.test.Scan"; }
};
static_assert(kSetCompiles<DataObject> && kSetCompiles<Scan> && kSetCompiles<IKivDataObject>);
static_assert(kSetCompiles<char> && kSetCompiles<GridIndex>);
static_assert(!kSetCompiles<KivString> && !kSetCompiles<IKivProperty> && !kSetCompiles<int>);
static_assert(!kSetCompiles<const DataObject>);

class ScanProperty : public ObjectProperty {
public:
  using ObjectProperty::ObjectProperty;
  const char* declaredType() const override { return "kivapi.test.Scan"; }
};

TEST_F(PropertyMapTest, ObjectsGoInAndComeBackAsObjects) {
  IPtr<DataObject> plain(new DataObject);
  IPtr<Scan> scan(new Scan);
  PropertyMap map;
  map.set("child", plain.get());
  map.set("other", static_cast<IKivDataObject*>(scan.get()));
  map.set("none", static_cast<IKivDataObject*>(nullptr));
  EXPECT_EQ(map.getDataObject("child"), plain.get());
  EXPECT_EQ(map.getDataObject(KivString("other")), scan.get());
  EXPECT_EQ(map.getDataObject("none"), nullptr);
  EXPECT_EQ(map.getDataObject("nope"), nullptr);
  EXPECT_STREQ(map.getProperty("child")->className(), "ObjectProperty");
  EXPECT_STREQ(map.getProperty("child")->typeName(), "kivapi.datamodel.DataObject");
  EXPECT_STREQ(map.getProperty("other")->typeName(), "kivapi.test.Scan");
  // A property of plain DataObject takes any object, whatever it held.
  map.set("child", scan.get());
  EXPECT_EQ(map.getDataObject("child"), scan.get());

  struct Case {
    const char* name;
    std::function<void(PropertyMap&)> call;
    int code;
    const char* message;
  };
  const Case cases[] = {
      {"object_into_int", [&](PropertyMap& m) { m.set("a", plain.get()); }, 3,
       "Wrong type (int) for attribute 'a'. Should be DataObject"},
      {"interface_into_int",
       [&](PropertyMap& m) { m.set("a", static_cast<IKivDataObject*>(plain.get())); }, 3,
       "Wrong type (int) for attribute 'a'. Should be DataObject"},
      {"plain_into_declared", [&](PropertyMap& m) { m.set("scan", plain.get()); }, 3,
       "Wrong type (kivapi.datamodel.DataObject) for attribute 'scan'. Should be "
       "kivapi.test.Scan"},
      {"read_only_first", [&](PropertyMap& m) { m.set("ro", plain.get()); }, 2,
       "Cannot modify read only attribute 'ro'"},
      {"get_object_of_int", [](PropertyMap& m) { m.getDataObject("a"); }, 3,
       "Wrong type (DataObject) for attribute 'a'. Should be IntProperty"},
      {"get_int_of_object", [](PropertyMap& m) { m.getInt("child"); }, 3,
       "Wrong type (int) for attribute 'child'. Should be ObjectProperty"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    PropertyMap target;
    target.set("a", 1);
    target.addProperty(new IntProperty(KivString("ro"), 5, true));
    target.addProperty(new ScanProperty(KivString("scan"), nullptr, false));
    target.addProperty(new ObjectProperty(KivString("child"), nullptr, false));
    const std::string before = snapshot(target);
    Thrown t = catchCode([&] { k.call(target); });
    EXPECT_EQ(t.code, k.code);
    EXPECT_EQ(t.message, k.message);
    EXPECT_EQ(snapshot(target), before);
  }
  // The declared class takes an object of that script class, through either
  // overload; the interface overload compares no declared class.
  PropertyMap target;
  target.addProperty(new ScanProperty(KivString("scan"), nullptr, false));
  target.set("scan", scan.get());
  EXPECT_EQ(target.getDataObject("scan"), scan.get());
  target.set("scan", static_cast<IKivDataObject*>(plain.get()));
  EXPECT_EQ(target.getDataObject("scan"), plain.get());
}

TEST_F(PropertyMapTest, TheTableNamesAnEmptyBoxAndTheIdentity) {
  PropertyMap map;
  map.set("box", KivBounds());
  map.set("move", KivMatrix());
  map.addProperty(new KivBoundsProperty(KivString("fixed"), KivBounds(), true));
  const std::string table = text(map.documentationTable());
  EXPECT_NE(table.find("box@     - No@     - KivBounds@     - @     - empty@"), std::string::npos);
  EXPECT_NE(table.find("move@     - No@     - Transform3D@     - @     - identity@"),
            std::string::npos);
  EXPECT_EQ(table.find("fixed@     - Yes@     - KivBounds@     - @     - empty@"),
            std::string::npos);
}

} // namespace
