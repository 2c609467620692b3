#include "properties/valueproperty.h"

#include "core/classids.h"
#include "core/lookup.h"
#include "host/hostlog.h"
#include "kivbasictypes/binstreams.h"
#include "kivbasictypes/kivfile.h"
#include "properties/boolproperty.h"
#include "properties/doubleproperty.h"
#include "properties/intproperty.h"
#include "properties/propertymap.h"
#include "properties/stringproperty.h"
#include "propertysupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace {

struct ValuePropertyTest : ::testing::Test {
  ValuePropertyTest() { inProcessHost(); }
};

// Number of firings when a property is set to the value it holds, and to
// another one.
template <class P>
std::pair<size_t, size_t> firings(typename P::ValueType held, typename P::ValueType other) {
  IPtr<P> p(new P(KivString("p"), held, false));
  Changes changes;
  p->subscribe(modified(), &changes);
  p->set(held);
  const size_t same = changes.calls.size();
  p->set(other);
  return {same, changes.calls.size() - same};
}

TEST_F(ValuePropertyTest, OnlyBoolIntAndDoubleStaySilentOnTheirOwnValue) {
  EXPECT_EQ(firings<BoolProperty>(true, false), std::make_pair(size_t{0}, size_t{1}));
  EXPECT_EQ(firings<IntProperty>(7, 8), std::make_pair(size_t{0}, size_t{1}));
  EXPECT_EQ(firings<DoubleProperty>(0.5, 0.25), std::make_pair(size_t{0}, size_t{1}));
  EXPECT_EQ(firings<StringProperty>(KivString("a"), KivString("b")),
            std::make_pair(size_t{1}, size_t{1}));
  // A NaN never equals itself.
  EXPECT_EQ(firings<DoubleProperty>(NAN, NAN), std::make_pair(size_t{1}, size_t{1}));
}

TEST_F(ValuePropertyTest, BoundsRefuseAWriteAndClampAReadWithoutAnEvent) {
  IPtr<IntProperty> p(new IntProperty(KivString("x"), 5, false, 0, 10, true));
  Changes changes;
  p->subscribe(modified(), &changes);
  const int lines = inProcessHost().log()->lineCount();
  Thrown t = catchCode([&] { p->set(11); });
  EXPECT_EQ(t.code, 6);
  EXPECT_EQ(t.message, "Error in class : Value for property 'x' is out of bounds '11', value "
                       "between '0' and '10' is expected.");
  EXPECT_EQ(inProcessHost().log()->lineCount(), lines + 1);
  EXPECT_EQ(p->get(), 5);

  p->setBounds(0, 100);
  p->set(50);
  p->setBounds(0, 10);
  EXPECT_EQ(p->get(), 10);
  p->setBounds(0, 100);
  EXPECT_EQ(p->get(), 50);
  EXPECT_EQ(changes.calls.size(), 1u);

  IPtr<IntProperty> wide(new IntProperty(KivString("w"), 0, false));
  wide->set(INT_MIN);
  wide->set(INT_MAX);
  EXPECT_EQ(wide->get(), INT_MAX);

  // A NaN passes the check and reads as the maximum.
  IPtr<DoubleProperty> d(new DoubleProperty(KivString("d"), 1.0, false, -2.0, 2.0, true));
  d->set(NAN);
  EXPECT_EQ(d->get(), 2.0);
  EXPECT_EQ(catchCode([&] { d->set(-2.5); }).code, 6);
}

TEST_F(ValuePropertyTest, CloneAndCopyValueGoThroughTheValue) {
  IPtr<StringProperty> a(new StringProperty(KivString("a"), KivString("one"), false));
  IPtr<IKivProperty> clone(a->clone());
  KivString text;
  clone->valueText(clone->name(), text);
  EXPECT_EQ(text, "one");

  IPtr<IntProperty> target(new IntProperty(KivString("t"), 1, false));
  IPtr<IntProperty> source(new IntProperty(KivString("s"), 2, false));
  Changes changes;
  target->subscribe(modified(), &changes);
  target->copyValue(source.get());
  EXPECT_EQ(changes.last(), "property_modified 1 2");
  target->copyValue(a.get());  // another class: ignored
  EXPECT_EQ(target->get(), 2);
}

// A stored BoolProperty "expanded" = true: the name block, then the section.
TEST_F(ValuePropertyTest, AStoredEntryHasTheDocumentedBytes) {
  IPtr<BoolProperty> p(new BoolProperty(KivString("expanded"), true, false));
  MemoryOutput out;
  out.setFileVersion(10);
  {
    KivFileWrite writer(&out, false);
    writer.beginProperty(p->name());
    EXPECT_TRUE(p->write(&writer));
    writer.endProperty(p->name());
    EXPECT_TRUE(writer.good());
  }
  out.flush();
  EXPECT_EQ(hexText(out.bytes()),
            hexText(hexBytes("01 00 05 00  00 00 00 00 00 00 00 1C"
                             "00 65 00 78 00 70 00 61 00 6E 00 64 00 65 00 64"
                             "0B 00 02 00  00 00 00 00 00 00 00 1D"
                             "BB 34 60 9A 22 FD 4E B0 90 9C 7E 7B C8 19 51 5C"
                             "01")));
}

// A map's entries, in name order, as a data object stores them: the count,
// then the name and the section of each property.
Bytes writeEntries(const PropertyMap& map) {
  MemoryOutput out;
  out.setFileVersion(10);
  KivFileWrite writer(&out, true);
  writer.writeRootHead();
  writer.writeInt32(map.count());
  for (const auto& [key, property] : map.properties()) {
    writer.beginProperty(key);
    kivQuery<IKivWriteable>(property.get(), "IKivWriteable")->write(&writer);
    writer.endProperty(key);
  }
  writer.close();
  return out.bytes();
}

// The entries are rebuilt from their class identifiers through the class
// table into a new map, which writes the same bytes again.
TEST_F(ValuePropertyTest, AMapRoundTripsThroughTheClassTable) {
  PropertyMap original;
  original.set("b", true);
  original.set("i", -123456);
  original.set("d", 2.5e-7);
  original.setUtf8("s", "caf\xC3\xA9");
  const Bytes first = writeEntries(original);

  MemoryInput in(first);
  KivFileRead reader(&in);
  ASSERT_TRUE(reader.readRootHead());
  int32_t count = 0;
  reader.readInt32(&count);
  ASSERT_EQ(count, 4);
  PropertyMap copy;
  for (int32_t i = 0; i < count; ++i) {
    KivString name;
    KivClassId id;
    reader.beginProperty(&name, &id);
    void* out = nullptr;
    ASSERT_EQ(createObject(&id, "IKivProperty", &out), 1);
    IPtr<IKivProperty> p(static_cast<IKivProperty*>(out));
    p->setName(name);
    EXPECT_TRUE(kivQuery<IKivWriteable>(p.get(), "IKivWriteable")->read(&reader));
    reader.endProperty(name);
    copy.addProperty(p.get());
  }
  EXPECT_TRUE(reader.good());
  EXPECT_EQ(copy.documentationText(), original.documentationText());
  EXPECT_EQ(hexText(writeEntries(copy)), hexText(first));
}

// A section of a version this class doesn't know is stepped over whole.
TEST_F(ValuePropertyTest, ASectionOfAnotherVersionIsSkipped) {
  MemoryOutput out;
  out.setFileVersion(10);
  {
    KivFileWrite writer(&out, false);
    writer.beginClassBlock(classIdOf("IntProperty"), 1);
    writer.writeInt32(99);
    writer.writeDouble(1.0);
    writer.endBlock();
    writer.writeInt32(7);
  }
  out.flush();
  MemoryInput in(out.bytes());
  in.useLength64();
  KivFileRead reader(&in);
  IPtr<IntProperty> p(new IntProperty(KivString("i"), 3, false));
  EXPECT_TRUE(p->read(&reader));
  EXPECT_EQ(p->get(), 3);
  int32_t next = 0;
  reader.readInt32(&next);
  EXPECT_EQ(next, 7);
}

} // namespace
