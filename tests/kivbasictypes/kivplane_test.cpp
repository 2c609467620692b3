// Tests of KivPlane: construction and distance signs, validity, the three
// intersections, transformation with a matrix, the rectangle covering a box
// and the text form.
#include "kivbasictypes/kivplane.h"

#include "kivbasictypes/kivbounds.h"
#include "kivbasictypes/kivmatrix.h"

#include "valuestreams.h"
#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace {

TEST(KivPlane, ConstructionSidesAndFoot) {
  // Counter-clockwise seen from +z: the normal points up.
  const KivPlane p(KivVector(0, 0, 2), KivVector(1, 0, 2), KivVector(0, 1, 2));
  EXPECT_EQ(p.normal(), KivVector(0, 0, 1));
  EXPECT_EQ(p.d, 2.0);
  struct Case {
    const char* name;
    KivVector point;
    double distance;
    bool positive;
  };
  const Case cases[] = {
      {"above", {5, -3, 3.5}, 1.5, true},
      {"below", {0, 0, -1}, -3.0, false},
      {"on", {7, 7, 2}, 0.0, true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(p.signedDistance(c.point), c.distance) << c.name;
    EXPECT_EQ(p.isOnPositiveSide(c.point), c.positive) << c.name;
    EXPECT_EQ(p.foot(c.point), KivVector(c.point.x, c.point.y, 2)) << c.name;
  }
  KivPlane flipped = p;
  flipped.flip();
  EXPECT_FALSE(flipped.isOnPositiveSide({0, 0, 3}));
  EXPECT_EQ(flipped.foot({1, 1, 5}), KivVector(1, 1, 2));
  EXPECT_EQ(p.withNegatedOffset(), KivPlane(KivVector(0, 0, 1), -2));

  const KivPlane q(KivVector(0, 3, 0), KivVector(4, 5, 6));  // normal gets normalised
  EXPECT_EQ(q, KivPlane(KivVector(0, 1, 0), 5));

  EXPECT_FALSE(KivPlane().isValid());
  EXPECT_TRUE(KivPlane(KivVector(0, 0, 1e-300), 0).isValid());
  EXPECT_FALSE(KivPlane(KivVector(0, 0, 1), std::numeric_limits<double>::quiet_NaN()).isValid());
}

TEST(KivPlane, SegmentLineAndPlaneIntersections) {
  const KivPlane p(KivVector(0, 0, 1), 1);
  double t = -1;
  KivVector hit;
  ASSERT_TRUE(p.intersectSegment({0, 0, 0}, {0, 0, 4}, true, &t, &hit));
  EXPECT_EQ(t, 0.75);  // weight of the first end
  EXPECT_EQ(hit, KivVector(0, 0, 1));
  // Both ends above: only the non-strict form extends the segment.
  EXPECT_FALSE(p.intersectSegment({0, 0, 2}, {0, 0, 3}, true, &t, &hit));
  ASSERT_TRUE(p.intersectSegment({0, 0, 2}, {0, 0, 3}, false, nullptr, &hit));
  EXPECT_EQ(hit, KivVector(0, 0, 1));
  // Equal distances never cross, whatever the mode.
  EXPECT_FALSE(p.intersectSegment({0, 0, 2}, {5, 0, 2}, false, &t, nullptr));
  EXPECT_FALSE(p.intersectSegment({0, 0, 1}, {5, 0, 1}, true, &t, nullptr));
  // A segment ending on the plane touches it in strict mode.
  EXPECT_TRUE(p.intersectSegment({0, 0, 1}, {0, 0, 3}, true, &t, nullptr));

  ASSERT_TRUE(p.intersectLine({2, 3, 5}, {0, 0, -10}, hit));
  EXPECT_EQ(hit, KivVector(2, 3, 1));
  EXPECT_FALSE(p.intersectLine({2, 3, 5}, {1, 0, 1e-11}, hit));

  KivVector dir, point;
  const KivPlane other(KivVector(0, 2, 0), 6);  // y = 3, unnormalised
  ASSERT_TRUE(p.intersectPlane(other, dir, point));
  EXPECT_EQ(dir, KivVector(-1, 0, 0));
  EXPECT_NEAR(p.signedDistance(point), 0.0, 1e-15);
  EXPECT_NEAR(other.signedDistance(point), 0.0, 1e-15);
  EXPECT_FALSE(p.intersectPlane(KivPlane(KivVector(0, 0, -3), 1), dir, point));
}

TEST(KivPlane, BoundsTestAndRectangleCovering) {
  const KivBounds box(KivVector(0, 0, 0), KivVector(1, 2, 3));
  EXPECT_TRUE(KivPlane(KivVector(0, 0, 1), 1).intersects(box));
  EXPECT_TRUE(KivPlane(KivVector(0, 0, 1), 3).intersects(box));  // touching counts
  EXPECT_FALSE(KivPlane(KivVector(0, 0, 1), 3.5).intersects(box));
  EXPECT_FALSE(KivPlane(KivVector(0, 0, 1), -0.5).intersects(box));

  const KivPlane p(KivVector(0, 0, 1), 5);
  KivVector corners[4];
  ASSERT_TRUE(p.rectangleCovering(box, corners));
  KivBounds covered;
  for (const KivVector& c : corners) {
    EXPECT_NEAR(p.signedDistance(c), 0.0, 1e-12);
    covered.extend(c);
  }
  EXPECT_NEAR(covered.min.x, 0.0, 1e-12);
  EXPECT_NEAR(covered.max.x, 1.0, 1e-12);
  EXPECT_NEAR(covered.min.y, 0.0, 1e-12);
  EXPECT_NEAR(covered.max.y, 2.0, 1e-12);
  // Corners 0 and 3 are opposite, 1 and 2 are opposite.
  EXPECT_NEAR((corners[0] - corners[3]).length(), std::sqrt(5.0), 1e-12);
  EXPECT_NEAR((corners[1] - corners[2]).length(), std::sqrt(5.0), 1e-12);

  ASSERT_FALSE(p.rectangleCovering(KivBounds(), corners));
  for (const KivVector& c : corners)
    EXPECT_EQ(c, KivVector::zero);
}

TEST(KivPlane, TransformMovesWithThePoints) {
  const KivPlane p(KivVector(1, 2, 3), KivVector(4, 5, 6), KivVector(-1, 0, 2));
  const KivMatrix m = KivMatrix::translation({1, -2, 0.5}) *
                      KivMatrix::rotation(KivVector(1, 1, 0), 0.8) * KivMatrix::scaling(2, 1, 3);
  KivPlane moved = p;
  moved.transform(m);
  EXPECT_NEAR(moved.normal().length(), 1.0, 1e-12);
  for (const KivVector& q : {KivVector(1, 2, 3), KivVector(4, 5, 6), KivVector(-1, 0, 2)})
    EXPECT_NEAR(moved.signedDistance(m.transformPoint(q)), 0.0, 1e-12);
  // A point off the plane keeps its side.
  EXPECT_EQ(moved.isOnPositiveSide(m.transformPoint({0, 0, 100})),
            p.isOnPositiveSide({0, 0, 100}));

  KivPlane invalid(KivVector(0, 0, 0), 3);
  invalid.transform(m);
  EXPECT_EQ(invalid, KivPlane(KivVector(0, 0, 0), 3));
}

TEST(KivPlane, TextForm) {
  std::ostringstream os;
  os << KivPlane(KivVector(0, 0.5, -1), 2.25);
  EXPECT_EQ(os.str(), "(0 0.5 -1 : 2.25) ");
}

TEST(KivPlane, BareFormIsFourDoubles) {
  expectBareForm(KivPlane(KivVector(0, -2, 1), 0.5),
                 "0000000000000000 C000000000000000 3FF0000000000000 3FE0000000000000", "plane");
}

}  // namespace
