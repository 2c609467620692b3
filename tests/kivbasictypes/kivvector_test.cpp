// Tests of the vectors: robust normalisation, perpendicular and frame
// construction, the parallel tests, projection and the text forms.
#include "kivbasictypes/kivvector.h"

#include "valuestreams.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

TEST(KivVector, NormalizeIsUnitAtEveryScaleAndRefusesZero) {
  struct Case {
    const char* name;
    KivVector in;
    KivVector out;
  };
  const Case cases[] = {
      {"tiny_axis", {1e-200, 0, 0}, {1, 0, 0}},
      {"negative_axis", {-3, 0, 0}, {-1, 0, 0}},
      {"pythagorean", {0, 3, -4}, {0, 0.6, -0.8}},
      {"huge", {1e200, 0, -1e200}, {0.7071067811865476, 0, -0.7071067811865476}},
      // A component whose square vanishes against the others becomes exactly 0.
      {"vanishing_component", {1, 1e-170, 0}, {1, 0, 0}},
  };
  for (const Case& c : cases) {
    KivVector v = c.in;
    ASSERT_TRUE(v.normalize()) << c.name;
    EXPECT_NEAR(v.x, c.out.x, 1e-15) << c.name;
    EXPECT_NEAR(v.y, c.out.y, 1e-15) << c.name;
    EXPECT_NEAR(v.z, c.out.z, 1e-15) << c.name;
    EXPECT_NEAR(v.length(), 1.0, 1e-15) << c.name;
  }
  KivVector v;
  EXPECT_FALSE(v.normalize());
  EXPECT_EQ(v, KivVector::zero);
  EXPECT_EQ(KivVector().normalized(), KivVector::zero);
  EXPECT_EQ(KivVector(1e-200, 0, 0).normalized(), KivVector(1, 0, 0));
}

TEST(KivVector, AnyPerpendicularCoversEveryOrderOfMagnitudes) {
  struct Case {
    const char* name;
    KivVector in;
  };
  const Case cases[] = {
      {"x_y_z", {3, 2, 1}},     {"x_z_y", {3, 1, 2}},  {"z_x_y", {2, 1, 3}},
      {"y_x_z", {2, 3, 1}},     {"y_z_x", {1, 3, 2}},  {"z_y_x", {1, 2, 3}},
      {"x_only", {-5, 0, 0}},   {"y_only", {0, 4, 0}}, {"z_only", {0, 0, -2}},
      {"all_equal", {1, 1, 1}}, {"negative", {-1, -7, 2}},
  };
  for (const Case& c : cases) {
    const KivVector p = c.in.anyPerpendicular();
    EXPECT_NEAR(p.dot(c.in), 0.0, 1e-14) << c.name;
    EXPECT_NEAR(p.length(), 1.0, 1e-15) << c.name;
  }
}

TEST(KivVector, FrameIsRightHandedOrthonormalAndRefusesZero) {
  for (const KivVector& v : {KivVector(0, 0, 1), KivVector(1, 0, 0), KivVector(0.9, 0.1, 0),
                             KivVector(-2, 3, 5), KivVector(1e-250, 0, 0)}) {
    KivVector first, second;
    ASSERT_TRUE(v.frame(first, second));
    const KivVector n = v.normalized();
    EXPECT_NEAR(first.length(), 1.0, 1e-15);
    EXPECT_NEAR(second.length(), 1.0, 1e-15);
    EXPECT_NEAR(first.dot(second), 0.0, 1e-15);
    EXPECT_NEAR(first.dot(n), 0.0, 1e-15);
    const KivVector third = first.cross(second);
    EXPECT_NEAR((third - n).length(), 0.0, 1e-15);
  }
  KivVector first(7, 7, 7), second(8, 8, 8);
  EXPECT_FALSE(KivVector().frame(first, second));
  EXPECT_EQ(first, KivVector(7, 7, 7));
  EXPECT_EQ(second, KivVector(8, 8, 8));
}

TEST(KivVector, ParallelPerpendicularAndLengthTests) {
  const KivVector a(1, 0, 0), b(-2, 0.001, 0), c(0.001, 3, 0);
  EXPECT_TRUE(a.isParallel(b, 0.01));
  EXPECT_FALSE(a.isParallel(c, 0.01));
  EXPECT_TRUE(a.isPerpendicular(c, 0.01));
  EXPECT_FALSE(a.isPerpendicular(b, 0.01));
  // Normalised forms: |cos| > t for parallel, 1 - t > |cos| for perpendicular.
  EXPECT_TRUE(a.isParallel(b, 0.99, 1e-6));
  EXPECT_FALSE(a.isParallel(c, 0.99, 1e-6));
  EXPECT_TRUE(a.isPerpendicular(c, 0.99, 1e-6));
  // A vector below the minimum length is both.
  const KivVector tiny(1e-9, 0, 0);
  EXPECT_TRUE(tiny.isParallel(c, 0.99, 1e-6));
  EXPECT_TRUE(tiny.isPerpendicular(b, 0.99, 1e-6));

  EXPECT_TRUE(KivVector(0.3, 0.4, 0).isShorterThan(0.5000001));
  EXPECT_FALSE(KivVector(0.3, 0.4, 0).isShorterThan(0.5));
  EXPECT_TRUE(KivVector(0, 1.0005, 0).isUnit(0.001));
  EXPECT_FALSE(KivVector(0, 1.0011, 0).isUnit(0.001));
}

TEST(KivVector, ProjectionAndPerpendicularPart) {
  const KivVector a(3, 4, 5), onto(0, 2, 0);
  EXPECT_EQ(a.projectionOn(onto), KivVector(0, 4, 0));
  EXPECT_EQ(a.perpendicularPart(onto), KivVector(3, 0, 5));
  // Below the epsilon of v·v, no projection.
  const KivVector tiny(1e-8, 0, 0);
  EXPECT_EQ(a.projectionOn(tiny), KivVector::zero);
  EXPECT_EQ(a.perpendicularPart(tiny), a);
}

TEST(KivVector, TextFormsRoundTripAndRejectWrongSeparators) {
  std::ostringstream os;
  os << KivVector(1, -2.5, 1e20);
  EXPECT_EQ(os.str(), "(1,-2.5,1e+20)");

  KivVector v;
  std::istringstream in(" (1,-2.5,1e+20)");
  in >> v;
  EXPECT_FALSE(in.fail());
  EXPECT_EQ(v, KivVector(1, -2.5, 1e20));

  for (const char* bad : {"[1,2,3)", "(1;2,3)", "(1,2,3]", "(1,x,3)", "(1,2"}) {
    KivVector w(9, 9, 9);
    std::istringstream is(bad);
    is >> w;
    EXPECT_TRUE(is.fail()) << bad;
    EXPECT_EQ(w, KivVector(9, 9, 9)) << bad;
  }
}

TEST(Vector2, DefaultsAreTheLargestFloatAndZero) {
  EXPECT_EQ(Vector2D().x, 3.4028234663852886e38);
  EXPECT_EQ(Vector2D().y, 3.4028234663852886e38);
  EXPECT_EQ(Vector2F(), Vector2F(0.0f, 0.0f));
}

TEST(KivVector, BareFormsAreBigEndianComponents) {
  expectBareForm(KivVector(1, -2, 0.5),
                 "3FF0000000000000 C000000000000000 3FE0000000000000", "vector");
  expectBareForm(Vector2D(1.5, -0.25), "3FF8000000000000 BFD0000000000000", "vector2d");
  expectBareForm(Vector2F(1.0f, -2.0f), "3F800000 C0000000", "vector2f");
}

}  // namespace
