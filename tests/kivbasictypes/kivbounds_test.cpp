// Tests of the bounds types: the three different empty rules, building from
// corners, union, clipping and scaling in 2D, and the text forms.
#include "kivbasictypes/kivbounds.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

template <class T>
std::string text(const T& value) {
  std::ostringstream os;
  os << value;
  return os.str();
}

TEST(KivBounds, CornersSortPerAxisAndTheEmptyValueSurvives) {
  const KivBounds b(KivVector(1, 5, 2), KivVector(0, 7, 1));
  EXPECT_EQ(b.min, KivVector(0, 5, 1));
  EXPECT_EQ(b.max, KivVector(1, 7, 2));
  EXPECT_FALSE(b.isEmpty());

  const KivBounds empty;
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_EQ(empty.min.x, 3.4028234663852886e38);
  EXPECT_EQ(empty.max.z, -3.4028234663852886e38);
  // Sorting the empty corners would turn them into a huge box.
  EXPECT_EQ(KivBounds(empty.min, empty.max), KivBounds::emptyBounds);
  EXPECT_TRUE(KivBounds(empty.min, empty.max).isEmpty());
  // Only x decides: a box reaching the float edge on x alone is still a box.
  EXPECT_FALSE(KivBounds(KivVector(0, 0, 0), KivVector(kKivLargestFloat, 1, 1)).isEmpty());
}

TEST(KivBounds, ExtendAndAddRespectEmptiness) {
  KivBounds acc;
  acc.add(KivBounds());
  EXPECT_TRUE(acc.isEmpty());
  acc.extend(KivVector(1, -1, 2));
  EXPECT_EQ(acc.min, KivVector(1, -1, 2));
  EXPECT_EQ(acc.max, KivVector(1, -1, 2));
  acc.add(KivBounds(KivVector(-3, 0, 0), KivVector(0, 4, 1)));
  EXPECT_EQ(acc, KivBounds(KivVector(-3, -1, 0), KivVector(1, 4, 2)));
  const KivBounds before = acc;
  acc.add(KivBounds::emptyBounds);
  EXPECT_EQ(acc, before);
  EXPECT_EQ(acc.center(), KivVector(-1, 1.5, 1));
  EXPECT_EQ(text(KivBounds(KivVector(1, 5, 2), KivVector(0, 7, 1))), "((0,5,1) (1,7,2)) ");
}

TEST(KivBounds2D, EmptyRulesAreItsOwn) {
  // The default corners are equal, so a default box is not empty.
  EXPECT_FALSE(KivBounds2D().isEmpty());
  EXPECT_TRUE(KivBounds2D::emptyBounds.isEmpty());
  EXPECT_EQ(KivBounds2D::emptyBounds.min.x, 1.7976931348623157e308);
  EXPECT_EQ(KivBounds2D::emptyBounds.max.y, -1.7976931348623157e308);

  KivBounds2D e = KivBounds2D::emptyBounds;
  e.grow(5);
  e.scale(-2, true);
  EXPECT_EQ(e, KivBounds2D::emptyBounds);
  EXPECT_EQ(e.size(), 0.0);
  e.clip(KivBounds2D({0, 0}, {1, 1}));
  EXPECT_TRUE(e.isEmpty());

  const KivBounds2D unit({0, 0}, {1, 1});
  KivBounds2D acc = KivBounds2D::emptyBounds;
  acc.add(unit);
  EXPECT_EQ(acc, unit);
  acc.add(KivBounds2D::emptyBounds);
  EXPECT_EQ(acc, unit);
  acc.add(KivBounds2D({-1, 2}, {0.5, 3}));
  EXPECT_EQ(acc, KivBounds2D({-1, 0}, {1, 3}));
  EXPECT_EQ(acc.size(), 3.0);
}

TEST(KivBounds2D, ClipDisjointAndOverlap) {
  struct Case {
    const char* name;
    KivBounds2D other;
    bool disjoint;
    bool area;
  };
  const KivBounds2D box({0, 0}, {2, 2});
  const Case cases[] = {
      {"inside", {{0.5, 0.5}, {1, 1}}, false, true},
      {"crossing", {{1, 1}, {3, 3}}, false, true},
      {"touching_edge", {{2, 0}, {3, 2}}, false, false},
      {"touching_corner", {{2, 2}, {3, 3}}, false, false},
      {"apart_on_x", {{2.5, 0}, {3, 2}}, true, false},
      // Overlap on x alone is no overlap.
      {"apart_on_y_only", {{0, 3}, {2, 4}}, true, false},
      {"other_empty", KivBounds2D::emptyBounds, true, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(box.isDisjoint(c.other), c.disjoint) << c.name;
    EXPECT_EQ(box.overlapsWithArea(c.other), c.area) << c.name;
  }
  KivBounds2D clipped = box;
  clipped.clip(KivBounds2D({1, -1}, {3, 1.5}));
  EXPECT_EQ(clipped, KivBounds2D({1, 0}, {2, 1.5}));
  clipped.clip(KivBounds2D({0, 3}, {2, 4}));
  EXPECT_EQ(clipped, KivBounds2D::emptyBounds);
}

TEST(KivBounds2D, ScaleGrowAndText) {
  KivBounds2D b({1, 2}, {3, 6});
  b.scale(2, true);
  EXPECT_EQ(b, KivBounds2D({0, 0}, {4, 8}));
  b.scale(-1, false);  // corners change places and stay ordered
  EXPECT_EQ(b, KivBounds2D({-4, -8}, {0, 0}));
  b.grow(0.5);
  EXPECT_EQ(b, KivBounds2D({-4.5, -8.5}, {0.5, 0.5}));
  EXPECT_EQ(b.center().x, -2.0);
  EXPECT_EQ(text(KivBounds2D({0, 1}, {2.5, 3})), "((0, 1)  (2.5, 3) ) ");
}

TEST(KivBoundsF, DefaultIsTheFloatEdgeAndCornersSort) {
  const KivBoundsF empty;
  EXPECT_EQ(empty.min[0], 3.4028235e38f);
  EXPECT_EQ(empty.max[2], -3.4028235e38f);
  const KivBoundsF b(KivVector(1, 5, 2), KivVector(0, 7, 1));
  EXPECT_EQ(b.min[0], 0.0f);
  EXPECT_EQ(b.min[1], 5.0f);
  EXPECT_EQ(b.max[2], 2.0f);
  // No empty test: the empty corners sort into a huge box.
  const KivBoundsF huge(KivBounds().min, KivBounds().max);
  EXPECT_EQ(huge.min[0], -3.4028235e38f);
  EXPECT_EQ(huge.max[0], 3.4028235e38f);
}

}  // namespace
