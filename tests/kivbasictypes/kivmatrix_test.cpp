// Tests of KivMatrix: inversion with pivoting and singular input, the
// quaternion and Euler conversions over all their branches, rotation between
// directions, the shape tests, the solvers and the text forms.
#include "kivbasictypes/kivmatrix.h"

#include "kivbasictypes/kivquaternion.h"
#include "kivbasictypes/kivrect.h"

#include "valuestreams.h"
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>

namespace {

constexpr double kPi = 3.141592653589793;

void expectNear(const KivMatrix& a, const KivMatrix& b, double tolerance, const char* name) {
  for (int i = 0; i < 16; ++i)
    EXPECT_NEAR(a.m[i], b.m[i], tolerance) << name << " element " << i;
}

KivMatrix fromEuler(double rx, double ry, double rz) {
  return KivMatrix::rotation(KivVector(0, 0, 1), rz) * KivMatrix::rotation(KivVector(0, 1, 0), ry) *
         KivMatrix::rotation(KivVector(1, 0, 0), rx);
}

TEST(KivMatrix, InverseTimesMatrixIsIdentity) {
  struct Case {
    const char* name;
    KivMatrix m;
  };
  const Case cases[] = {
      {"affine", KivMatrix::translation({1, -2, 3}) *
                     KivMatrix::rotation(KivVector(1, 2, 3), 0.7) * KivMatrix::scaling(2, 3, 0.5)},
      // A zero on the diagonal forces a row exchange.
      {"needs_pivot", {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 2, 0, 0, 3, 0}},
      {"perspective", KivMatrix::perspective(1.2f, 0.9f, 0.5f, 100.0f)},
      {"dense", {4, 7, 2, 3, 0, 5, 1, 1, 2, 6, 9, 4, 1, 1, 3, 8}},
  };
  for (const Case& c : cases) {
    KivMatrix inv;
    ASSERT_TRUE(c.m.invert(inv)) << c.name;
    expectNear(inv * c.m, KivMatrix::identity, 1e-12, c.name);
    expectNear(c.m * inv, KivMatrix::identity, 1e-12, c.name);
    expectNear(c.m.inverse(), inv, 0.0, c.name);
  }
}

TEST(KivMatrix, SingularLeavesOutputUntouchedAndCopyIsIdentity) {
  const KivMatrix singular(1, 2, 3, 4, 2, 4, 6, 8, 0, 0, 1, 0, 0, 0, 0, 1);
  const KivMatrix marker = KivMatrix::scaling(7);
  KivMatrix out = marker;
  EXPECT_FALSE(singular.invert(out));
  EXPECT_EQ(out, marker);
  EXPECT_TRUE(singular.inverse().isIdentity());
  EXPECT_EQ(singular.determinant(), 0.0);
  EXPECT_FALSE(KivMatrix(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0).invert(out));
}

TEST(KivMatrix, QuaternionRoundTripThroughEveryBranch) {
  struct Case {
    const char* name;
    KivVector axis;
    double angle;
  };
  // Small angles take the trace branch; half turns take the one of the
  // largest diagonal element.
  const Case cases[] = {
      {"trace_positive", {1, 2, 3}, 0.4},
      {"x_dominant", {1, 0.1, 0.2}, 3.0},
      {"y_dominant", {0.1, 1, 0.2}, 3.0},
      {"z_dominant", {0.2, 0.1, 1}, 3.0},
      {"half_turn_x", {1, 0, 0}, kPi},
  };
  for (const Case& c : cases) {
    const KivMatrix m = KivMatrix::rotation(c.axis, c.angle);
    const KivQuaternion q = m.toQuaternion();
    EXPECT_NEAR(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z, 1.0, 1e-12) << c.name;
    expectNear(KivMatrix(q), m, 1e-12, c.name);
    EXPECT_NEAR(m.rotationAngle(), c.angle, 1e-7) << c.name;
    if (c.angle < kPi) {
      const KivVector axis = m.rotationAxis();
      EXPECT_NEAR((axis - c.axis.normalized()).length(), 0.0, 1e-9) << c.name;
    }
  }
  const KivMatrix withT(KivQuaternion(), KivVector(1, 2, 3));
  EXPECT_TRUE(withT.isPureTranslation());
  EXPECT_EQ(withT.getTranslation(), KivVector(1, 2, 3));
}

TEST(KivMatrix, EulerAnglesRebuildTheRotation) {
  struct Case {
    const char* name;
    double rx, ry, rz;
  };
  const Case cases[] = {
      {"x_only", 0.3, 0, 0},          {"y_only", 0, -0.4, 0},        {"z_only", 0, 0, 2.0},
      {"x_then_y", 0.3, 0.5, 0},      {"x_then_z", -0.7, 0, 0.2},    {"y_then_z", 0, 0.6, -1.1},
      {"gimbal", 0.25, kPi / 2, 0},   {"general", 0.3, 0.2, 0.1},    {"general_neg_y", 0.3, -0.2, 1.0},
      {"identity", 0, 0, 0},
  };
  for (const Case& c : cases) {
    const KivMatrix m = fromEuler(c.rx, c.ry, c.rz);
    const KivVector e = m.toEulerAngles();
    expectNear(fromEuler(e.x, e.y, e.z), m, 1e-9, c.name);
  }
  const KivVector e = fromEuler(0.3, 0.2, 0.1).toEulerAngles();
  EXPECT_NEAR(e.x, 0.3, 1e-12);
  EXPECT_NEAR(e.y, 0.2, 1e-12);
  EXPECT_NEAR(e.z, 0.1, 1e-12);
}

TEST(KivMatrix, RotationBetweenDirections) {
  const KivVector a(1, 2, -1);
  EXPECT_EQ(KivMatrix::rotation(a, a * 3.0), KivMatrix::identity);
  for (const KivVector& b : {KivVector(0, 1, 0), -a, KivVector(-1, -2, 1.0000001), KivVector(5, 0, 0)}) {
    const KivMatrix r = KivMatrix::rotation(a, b);
    EXPECT_TRUE(r.isRigid());
    EXPECT_NEAR(r.determinant3(), 1.0, 1e-12);
    EXPECT_NEAR((r.rotateVector(a.normalized()) - b.normalized()).length(), 0.0, 1e-6);
  }
}

TEST(KivMatrix, EqualityAccessorsAndShapes) {
  KivMatrix nan;
  nan.m[5] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(nan == nan);
  EXPECT_TRUE(nan != nan);
  EXPECT_FALSE(nan.isIdentity());

  KivMatrix m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
  EXPECT_EQ(m.column(1), KivVector(2, 6, 10));
  EXPECT_EQ(m.row(2), KivVector(9, 10, 11));
  EXPECT_EQ(m.column(4), KivVector::zero);
  EXPECT_EQ(m.row(-1), KivVector::zero);
  const KivMatrix before = m;
  m.setColumn(4, {9, 9, 9});
  m.setRow(-1, {9, 9, 9});
  double values[4] = {0, 0, 0, 0};
  m.exchangeColumn(4, values);
  EXPECT_EQ(m, before);
  m.exchangeColumn(3, values);
  EXPECT_EQ(values[3], 16.0);
  EXPECT_EQ(m.column(3), KivVector::zero);
  m.transpose();
  EXPECT_EQ(m.row(1), KivVector(2, 6, 10));

  EXPECT_TRUE(KivMatrix::scaling(2).isUniformScale());
  EXPECT_FALSE(KivMatrix::scaling(2, 2, 2.001).isUniformScale());
  EXPECT_TRUE(KivMatrix::scaling(-2).isUniformScale());
  EXPECT_FALSE((KivMatrix::scaling(2) * KivMatrix::translation({1, 0, 0})).isUniformScale());
  EXPECT_TRUE(KivMatrix::translation({1, 2, 3}).isPureTranslation());
  EXPECT_FALSE(KivMatrix::rotation(KivVector(0, 0, 1), 0.1).isPureTranslation());
  EXPECT_TRUE(KivMatrix::rotation(KivVector(0, 0, 1), 0.1).hasRotation(0.05));
  EXPECT_FALSE(KivMatrix::rotation(KivVector(0, 0, 1), 0.1).hasRotation(0.2));
  EXPECT_FALSE(KivMatrix::perspective(1, 1, 1, 10).isAffine());
  EXPECT_TRUE(KivMatrix::scaling(1, 2, 3).isDiagonal());
  EXPECT_FALSE(KivMatrix::translation({1, 0, 0}).isDiagonal());

  double scale = 0;
  const KivMatrix conformal = KivMatrix::rotation(KivVector(1, 1, 0), 0.5) * KivMatrix::scaling(3);
  EXPECT_TRUE(conformal.isConformal(&scale));
  EXPECT_NEAR(scale, 3.0, 1e-12);
  EXPECT_TRUE((conformal * KivMatrix::reflection({0, 0, 1})).isConformal(&scale));
  EXPECT_NEAR(scale, -3.0, 1e-12);
  EXPECT_FALSE(KivMatrix::scaling(1, 1, 2).isConformal(&scale));
  EXPECT_GT(scale, 0.0);
  EXPECT_FALSE(conformal.isRigid());
  EXPECT_NEAR(conformal.averageScale(), 3.0, 1e-12);
  const KivVector factors = KivMatrix::scaling(1, -2, 3).scaleFactors();
  EXPECT_EQ(factors, KivVector(1, 2, 3));
  EXPECT_EQ(KivMatrix::scaling(2).distanceFromIdentity(), 3.0);

  EXPECT_EQ(KivMatrix::translation({1, 2, 3}).translationPart(), KivMatrix::translation({1, 2, 3}));
  EXPECT_TRUE(KivMatrix::translation({1, 2, 3}).rotationPart().isIdentity());
  EXPECT_TRUE(KivMatrix(nullptr).isIdentity());
}

TEST(KivMatrix, BuildersPlaceTheirElements) {
  const KivMatrix r(KivRect(4, 1, 2, 5));  // sorted into x 2..4, y 1..5
  EXPECT_EQ(r, KivMatrix(1, 0, 0, 3, 0, 2, 0, 3, 0, 0, 1, 0, 0, 0, 0, 1));

  const KivMatrix refl = KivMatrix::reflection({0, 0, 2});  // not normalised
  EXPECT_EQ(refl.m[10], -7.0);

  const KivMatrix p = KivMatrix::perspective(float(kPi / 2), float(kPi / 2), 1.0f, 3.0f);
  EXPECT_NEAR(p(0, 0), 1.0, 1e-7);
  EXPECT_EQ(p(2, 2), -1.5);
  EXPECT_EQ(p(2, 3), -1.5);
  EXPECT_EQ(p(3, 2), -1.0);
  EXPECT_EQ(p(3, 3), 0.0);

  const KivMatrix o = KivMatrix::orthographic(4.0f, 2.0f, 1.0f, 5.0f);
  EXPECT_EQ(o, KivMatrix(0.5, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0.25, 0, 0, 0, -0.25, 1));

  const KivMatrix cols = KivMatrix::fromColumns({1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12});
  EXPECT_EQ(cols.row(0), KivVector(1, 4, 7));
  EXPECT_EQ(cols.getTranslation(), KivVector(10, 11, 12));
  EXPECT_TRUE(cols.isAffine());
  const KivMatrix rows = KivMatrix::fromRows({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
  EXPECT_EQ(rows.column(0), KivVector(1, 4, 7));
  EXPECT_EQ(rows.getTranslation(), KivVector::zero);

  // The full transform divides by w; rotateVector ignores translation.
  const KivMatrix t = KivMatrix(2, 0, 0, 2, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2);
  EXPECT_EQ(t.transformPoint(KivVector(1, 1, 1)), KivVector(2, 1, 1));
  EXPECT_EQ(t.rotateVector(KivVector(1, 1, 1)), KivVector(2, 2, 2));
  const float in[3] = {1, 1, 1};
  float out[3];
  t.transformPoint(in, out);
  EXPECT_EQ(out[0], 2.0f);
  EXPECT_EQ(out[1], 1.0f);
}

TEST(KivMatrix, SolversAndOrthonormalisation) {
  const KivMatrix a(2, 1, -1, 0, -3, -1, 2, 0, -2, 1, 2, 0, 0, 0, 0, 1);
  KivVector x;
  ASSERT_TRUE(a.solve3({8, -11, -3}, x));
  EXPECT_NEAR((x - KivVector(2, 3, -1)).length(), 0.0, 1e-12);
  EXPECT_FALSE(KivMatrix::solve3({1, 2, 3}, {2, 4, 6}, {0, 0, 1}, {1, 1, 1}, x));

  const KivMatrix b(4, 7, 2, 3, 0, 5, 1, 1, 2, 6, 9, 4, 1, 1, 3, 8);
  const double expected[4] = {1, -2, 0.5, 3};
  double rhs[4];
  for (int r = 0; r < 4; ++r)
    rhs[r] = b(r, 0) * expected[0] + b(r, 1) * expected[1] + b(r, 2) * expected[2] +
             b(r, 3) * expected[3];
  double solution[4] = {};
  ASSERT_TRUE(b.solve4(rhs, solution));
  for (int i = 0; i < 4; ++i)
    EXPECT_NEAR(solution[i], expected[i], 1e-12);
  const double zero4[4] = {1, 1, 1, 1};
  EXPECT_FALSE(KivMatrix::scaling(1e-6, 1e-6, 1e-6).solve4(zero4, solution));

  KivMatrix skew(1, 0.3, 0.1, 5, 0.2, 2, 0.4, 6, 0.1, 0.5, 3, 7, 0, 0, 0, 1);
  ASSERT_TRUE(skew.orthonormalize());
  EXPECT_TRUE(skew.isRigid());
  EXPECT_EQ(skew.getTranslation(), KivVector(5, 6, 7));
  KivMatrix flat = KivMatrix::fromRows({1, 0, 1}, {0, 1, 1}, {0, 0, 0});
  EXPECT_FALSE(flat.orthonormalize());
}

TEST(KivMatrix, TextForms) {
  std::ostringstream os;
  os << KivMatrix::translation({1.5, -2, 1e-7});
  EXPECT_EQ(os.str(), "1 0 0 1.5 0 1 0 -2 0 0 1 1e-07 0 0 0 1 ");
  KivMatrix back = KivMatrix::scaling(9);
  std::istringstream is(os.str());
  is >> back;
  EXPECT_EQ(back, KivMatrix::translation({1.5, -2, 1e-7}));

  testing::internal::CaptureStdout();
  KivMatrix::identity.debugPrint("I");
  const std::string printed = testing::internal::GetCapturedStdout();
  const char* row0 = "(    1.000000     0.000000     0.000000     0.000000\n";
  EXPECT_EQ(printed.substr(0, 2), "I\n");
  EXPECT_EQ(printed.substr(2, std::string(row0).size()), row0);
  EXPECT_EQ(printed.size(), 2 + 4 * std::string(row0).size() + 1);
}

TEST(KivMatrix, BareFormsOfMatrixAndQuaternion) {
  KivMatrix m = KivMatrix::translation({2, 0, 0});
  m.m[15] = -0.5;
  expectBareForm(m,
                 "3FF0000000000000 0000000000000000 0000000000000000 4000000000000000"
                 "0000000000000000 3FF0000000000000 0000000000000000 0000000000000000"
                 "0000000000000000 0000000000000000 3FF0000000000000 0000000000000000"
                 "0000000000000000 0000000000000000 0000000000000000 BFE0000000000000",
                 "matrix");
  expectBareForm(KivQuaternion(1, 0, -2, 0.5),
                 "3FF0000000000000 0000000000000000 C000000000000000 3FE0000000000000",
                 "quaternion");
}

}  // namespace
