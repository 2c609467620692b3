#include "properties/dirindex.h"

#include "properties/gridindex.h"
#include "propertysupport.h"
#include "storedentries.h"

#include <gtest/gtest.h>

namespace {

struct DirIndexTest : ::testing::Test {
  DirIndexTest() { inProcessHost(); }
};

TEST_F(DirIndexTest, VersionsOtherThanZeroAndOneFailAndChangeNothing) {
  IPtr<DirIndex> d(new DirIndex(5, 1));
  for (int bad : {2, -1}) {
    Thrown t = catchCode([&] { d->setVersion(bad); });
    EXPECT_EQ(t.code, 6);
    EXPECT_EQ(t.message, "Error in class DirIndex: version must have a value of 0 or 1..");
  }
  EXPECT_EQ(catchCode([] { DirIndex(3, 2); }).code, 6);
  EXPECT_EQ(d->word(), 13);
  d->setIndex(-1);
  EXPECT_EQ(d->version(), 1);
  EXPECT_EQ(d->flip(), static_cast<IKivDirIndex*>(d.get()));
  EXPECT_EQ(d->word(), 0);
  IPtr<IKivDirIndex> other(d->flipped());
  EXPECT_EQ(other->index(), -1);
  EXPECT_EQ(other->version(), 1);
}

// Index 5 with version 1 stores 11. Reading gives the property's own
// DirIndex the stored value and fires; a property without one gets a new one.
TEST_F(DirIndexTest, StoresIndexTimesTwoWithTheVersionAndReadsIntoTheObjectHeld) {
  PropertyMap map;
  map.addProperty(new DirIndexProperty(KivString("d"), new DirIndex(5, 1), false));
  const Bytes bytes = writeEntries(map);
  EXPECT_EQ(hexText(Bytes(bytes.end() - 4, bytes.end())), "00 00 00 0B");

  IPtr<DirIndex> held(new DirIndex(0, 0));
  PropertyMap target;
  target.addProperty(new DirIndexProperty(KivString("d"), held.get(), false));
  auto* p = kivQuery<DirIndexProperty>(target.getProperty("d"), "DirIndexProperty");
  Changes changes;
  p->subscribe(modified(), &changes);
  MemoryInput in(bytes);
  KivFileRead reader(&in);
  ASSERT_TRUE(reader.readRootHead());
  int32_t count = 0;
  reader.readInt32(&count);
  reader.beginProperty(nullptr, nullptr);
  p->read(&reader);
  EXPECT_TRUE(reader.good());
  EXPECT_EQ(p->get(), held.get());
  EXPECT_EQ(changes.last(), "property_modified (5, 1) (5, 1)");

  PropertyMap fresh;
  ASSERT_EQ(readEntries(bytes, fresh), 0);
  KivString out;
  fresh.getProperty("d")->valueText(KivString(), out);
  EXPECT_EQ(text(out), "(5, 1)");
}

// A copy of either property owns a copy of the object, except that a grid
// index property clones as a plain Property; copyValue shares.
TEST_F(DirIndexTest, CopiesOwnTheirObjectAndCopyValueShares) {
  IPtr<DirIndexProperty> a(new DirIndexProperty(KivString("a"), new DirIndex(2, 0), false));
  IPtr<IKivProperty> clone(a->clone());
  DirIndex* copied = kivQuery<DirIndexProperty>(clone.get(), "DirIndexProperty")->get();
  ASSERT_NE(copied, nullptr);
  EXPECT_NE(copied, a->get());
  EXPECT_EQ(copied->word(), a->get()->word());

  IPtr<DirIndexProperty> b(new DirIndexProperty(KivString("b"), false));
  b->copyValue(a.get());
  EXPECT_EQ(b->get(), a->get());
  b->clearValue();
  EXPECT_EQ(b->get(), nullptr);

  IPtr<GridIndexProperty> g(new GridIndexProperty(KivString("g"), new GridIndex(1, 2), false));
  IPtr<IKivProperty> plain(g->clone());
  EXPECT_STREQ(plain->className(), "Property");
  EXPECT_EQ(plain->name(), KivString("g"));
}

} // namespace
