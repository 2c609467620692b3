// Tests of KivRect: sorting on construction, clamping, containment and
// disjointness at touching edges, extension, and the text form.
#include "kivbasictypes/kivrect.h"

#include "valuestreams.h"
#include <gtest/gtest.h>

#include <sstream>

namespace {

TEST(KivRect, CornersSortAndClampReportsMovement) {
  const KivRect r(Vector2D(4, 1), Vector2D(2, 5));
  EXPECT_EQ(r, KivRect(2, 1, 4, 5));
  EXPECT_EQ(r.xMin, 2.0);
  EXPECT_EQ(r.yMax, 5.0);

  struct Case {
    const char* name;
    Vector2D in;
    Vector2D out;
    bool moved;
  };
  const Case cases[] = {
      {"inside", {3, 3}, {3, 3}, false},   {"on_edge", {2, 5}, {2, 5}, false},
      {"left", {0, 3}, {2, 3}, true},      {"above", {3, 9}, {3, 5}, true},
      {"corner_out", {9, -9}, {4, 1}, true},
  };
  for (const Case& c : cases) {
    Vector2D p = c.in;
    EXPECT_EQ(r.clamp(p), c.moved) << c.name;
    EXPECT_EQ(p, c.out) << c.name;
  }
  KivRect big(0, 0, 10, 10);
  EXPECT_TRUE(big.clampTo(r));
  EXPECT_EQ(big, r);
  EXPECT_FALSE(big.clampTo(KivRect(0, 0, 10, 10)));
}

TEST(KivRect, ContainmentAndDisjointnessIncludeEdges) {
  const KivRect r(0, 0, 2, 2);
  EXPECT_TRUE(r.contains(KivRect(0, 0, 2, 2)));
  EXPECT_TRUE(r.contains(KivRect(0.5, 0, 1, 2)));
  EXPECT_FALSE(r.contains(KivRect(0.5, 0, 2.1, 2)));
  EXPECT_TRUE(r.contains(2, 0));
  EXPECT_FALSE(r.contains(Vector2D(2.0000001, 0)));
  EXPECT_FALSE(r.isDisjoint(KivRect(2, 2, 3, 3)));  // touching corner
  EXPECT_TRUE(r.isDisjoint(KivRect(2.5, 0, 3, 2)));
  EXPECT_TRUE(r.isDisjoint(KivRect(0, -3, 2, -0.5)));
}

TEST(KivRect, GrowExtendTranslateAndText) {
  KivRect r(0, 0, 2, 2);
  r.grow(1, 0.5);
  EXPECT_EQ(r, KivRect(-1, -0.5, 3, 2.5));
  r.extend(Vector2D(5, -4));
  EXPECT_EQ(r, KivRect(-1, -4, 5, 2.5));
  r.extend(-2, 1);
  EXPECT_EQ(r, KivRect(-2, -4, 5, 2.5));
  r.translate(1, 1);
  EXPECT_EQ(r, KivRect(-1, -3, 6, 3.5));

  std::ostringstream os;
  os << KivRect(1.5, -2, 3, 4);
  EXPECT_EQ(os.str(), "xMin: 1.5\nxMax: 3\nyMin: -2\nyMax: 4\n");
}

TEST(KivRect, BareFormSortsOnReading) {
  expectBareForm(KivRect(1, 2, 3, 4),
                 "3FF0000000000000 4000000000000000 4008000000000000 4010000000000000", "rect");
  // xMin 3, yMin 4, xMax 1, yMax 2 in the file.
  MemoryInput in(hexBytes("4008000000000000 4010000000000000 3FF0000000000000 4000000000000000"));
  KivRect r;
  ASSERT_TRUE(readValue(in, r));
  EXPECT_EQ(r, KivRect(1, 2, 3, 4));
  EXPECT_EQ(r.xMin, 1.0);
  EXPECT_EQ(r.yMax, 4.0);
}

TEST(KivRect, TypedBlockSortsOnReading) {
  const Bytes file = valueFile(10, [](KivFileWrite& w) { writeBlock(w, KivRect(1, 2, 3, 4)); });
  EXPECT_EQ(afterRoot(file, 10),
            hexText(hexBytes("01000600 000000000000002C 3FF0000000000000 4000000000000000"
                             "4008000000000000 4010000000000000")));
  // Reversed edges: xMin 3, yMin 4, xMax 1, yMax 2; then a second block.
  const Bytes reversed = hexBytes(
      "544F5600 00000000 01000600 00000028 4008000000000000 4010000000000000"
      "3FF0000000000000 4000000000000000"
      "01000600 00000028 0000000000000000 0000000000000000 3FF0000000000000 3FF0000000000000");
  MemoryInput in(reversed);
  KivFileRead reader(&in);
  ASSERT_TRUE(reader.readRootHead());
  KivRect r, unit;
  EXPECT_TRUE(readBlock(reader, r));
  EXPECT_TRUE(readBlock(reader, unit));
  EXPECT_EQ(r, KivRect(1, 2, 3, 4));
  EXPECT_EQ(r.xMin, 1.0);
  EXPECT_EQ(unit, KivRect(0, 0, 1, 1));
  EXPECT_TRUE(reader.good());

  // A colour block where a rectangle should stand.
  MemoryInput wrong(hexBytes("544F5600 00000000 01000100 00000018 3F800000 3F000000 00000000 3E800000"));
  KivFileRead bad(&wrong);
  ASSERT_TRUE(bad.readRootHead());
  KivRect kept(5, 5, 6, 6);
  EXPECT_FALSE(readBlock(bad, kept));
  EXPECT_FALSE(bad.good());
  EXPECT_EQ(kept, KivRect());
}

}  // namespace
