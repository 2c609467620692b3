//===- kivmatrix.cpp - 4 by 4 transform of doubles -----------------------===//
#include "kivbasictypes/kivmatrix.h"

#include "kivbasictypes/binio.h"
#include "kivbasictypes/kivquaternion.h"
#include "kivbasictypes/kivrect.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <istream>
#include <ostream>
#include <utility>

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kThird = 0.3333333333333333;
// Below this angle two directions count as the same; within it of pi, as opposed.
constexpr double kAngleEpsilon = 1e-7;
constexpr double kRigidTolerance = 1e-7;
constexpr double kUniformScaleTolerance = 1e-10;
// Eight times the double epsilon.
constexpr double kConformalTolerance = 1.7763568394002505e-15;
constexpr double kEulerTolerance = 0.0001;

double det3(double a00, double a01, double a02, double a10, double a11, double a12, double a20,
            double a21, double a22) {
  return a00 * (a11 * a22 - a12 * a21) - a01 * (a10 * a22 - a12 * a20) +
         a02 * (a10 * a21 - a11 * a20);
}

double signedCubeRoot(double v) {
  const double r = std::pow(std::fabs(v), kThird);
  return v < 0.0 ? -r : r;
}

bool near(double a, double b) { return std::fabs(a - b) < kEulerTolerance; }

}  // namespace

const KivMatrix KivMatrix::identity{};

KivMatrix::KivMatrix(const double* values) {
  if (values)
    std::copy(values, values + 16, m);
}

KivMatrix::KivMatrix(const KivQuaternion& q) {
  const double w = q.w, x = q.x, y = q.y, z = q.z;
  const double ww = w * w, xx = x * x, yy = y * y, zz = z * z;
  m[0] = ww + xx - yy - zz;
  m[1] = 2.0 * (x * y - w * z);
  m[2] = 2.0 * (x * z + w * y);
  m[4] = 2.0 * (x * y + w * z);
  m[5] = ww - xx + yy - zz;
  m[6] = 2.0 * (y * z - w * x);
  m[8] = 2.0 * (x * z - w * y);
  m[9] = 2.0 * (y * z + w * x);
  m[10] = ww - xx - yy + zz;
}

KivMatrix::KivMatrix(const KivQuaternion& q, const KivVector& translation) : KivMatrix(q) {
  setTranslation(translation);
}

KivMatrix::KivMatrix(const KivRect& r)
    : m{(r.xMax - r.xMin) / 2, 0, 0, (r.xMin + r.xMax) / 2,
        0, (r.yMax - r.yMin) / 2, 0, (r.yMin + r.yMax) / 2,
        0, 0, 1, 0,
        0, 0, 0, 1} {}

KivMatrix KivMatrix::fromRows(const KivVector& r0, const KivVector& r1, const KivVector& r2) {
  KivMatrix r;
  r.setRow(0, r0);
  r.setRow(1, r1);
  r.setRow(2, r2);
  return r;
}

KivMatrix KivMatrix::fromColumns(const KivVector& c0, const KivVector& c1, const KivVector& c2,
                                 const KivVector& c3) {
  return {c0.x, c1.x, c2.x, c3.x, c0.y, c1.y, c2.y, c3.y,
          c0.z, c1.z, c2.z, c3.z, 0,    0,    0,    1};
}

KivMatrix KivMatrix::scaling(double s) { return scaling(s, s, s); }

KivMatrix KivMatrix::scaling(double sx, double sy, double sz) {
  return {sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, sz, 0, 0, 0, 0, 1};
}

KivMatrix KivMatrix::translation(const KivVector& t) {
  KivMatrix r;
  r.setTranslation(t);
  return r;
}

KivMatrix KivMatrix::rotation(const KivVector& axis, double angle) {
  const KivVector k = axis.normalized();
  const double c = std::cos(angle), s = std::sin(angle), t = 1.0 - c;
  return {t * k.x * k.x + c,       t * k.x * k.y - s * k.z, t * k.x * k.z + s * k.y, 0,
          t * k.x * k.y + s * k.z, t * k.y * k.y + c,       t * k.y * k.z - s * k.x, 0,
          t * k.x * k.z - s * k.y, t * k.y * k.z + s * k.x, t * k.z * k.z + c,       0,
          0,                       0,                       0,                       1};
}

KivMatrix KivMatrix::rotation(const KivVector& a, const KivVector& b) {
  const KivVector na = a.normalized(), nb = b.normalized();
  const double theta = std::acos(std::clamp(na.dot(nb), -1.0, 1.0));
  if (theta < kAngleEpsilon)
    return identity;
  if (theta > kPi - kAngleEpsilon) {
    // a × b vanishes: turn about any axis perpendicular to a.
    KivVector first, second;
    na.frame(first, second);
    return rotation(second, kPi);
  }
  return rotation(na.cross(nb), theta);
}

KivMatrix KivMatrix::reflection(const KivVector& n) {
  KivMatrix r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      r(i, j) = (i == j ? 1.0 : 0.0) - 2.0 * n[i] * n[j];
  return r;
}

KivMatrix KivMatrix::perspective(float horizontalAngle, float verticalAngle, float nearPlane,
                                 float farPlane) {
  const double n = nearPlane, f = farPlane;
  KivMatrix r(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  r(0, 0) = 1.0 / std::tan(double(horizontalAngle) / 2.0);
  r(1, 1) = 1.0 / std::tan(double(verticalAngle) / 2.0);
  r(2, 2) = f / (n - f);
  r(2, 3) = n * f / (n - f);
  r(3, 2) = -1.0;
  return r;
}

KivMatrix KivMatrix::orthographic(float width, float height, float nearPlane, float farPlane) {
  const double n = nearPlane, f = farPlane;
  KivMatrix r(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  r(0, 0) = 2.0 / double(width);
  r(1, 1) = 2.0 / double(height);
  r(2, 2) = 1.0 / (f - n);
  r(3, 2) = -n / (f - n);
  r(3, 3) = 1.0;
  return r;
}

void KivMatrix::multiply(const KivMatrix& other, KivMatrix& result) const {
  double out[16];
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) {
      double sum = 0.0;
      for (int k = 0; k < 4; ++k)
        sum += m[4 * r + k] * other.m[4 * k + c];
      out[4 * r + c] = sum;
    }
  std::copy(out, out + 16, result.m);
}

bool KivMatrix::invert(KivMatrix& out) const {
  double a[16], inv[16];
  std::copy(m, m + 16, a);
  std::copy(identity.m, identity.m + 16, inv);
  for (int k = 0; k < 4; ++k) {
    // Partial pivoting: the first row with the greatest magnitude; never a 0.
    int pivotRow = -1;
    double best = 0.0;
    for (int r = k; r < 4; ++r) {
      const double v = std::fabs(a[4 * r + k]);
      if (v > best) {
        best = v;
        pivotRow = r;
      }
    }
    if (pivotRow < 0)
      return false;
    if (pivotRow != k)
      for (int c = 0; c < 4; ++c) {
        std::swap(a[4 * k + c], a[4 * pivotRow + c]);
        std::swap(inv[4 * k + c], inv[4 * pivotRow + c]);
      }
    const double pivot = a[4 * k + k];
    for (int c = 0; c < 4; ++c) {
      a[4 * k + c] /= pivot;
      inv[4 * k + c] /= pivot;
    }
    for (int r = 0; r < 4; ++r) {
      if (r == k)
        continue;
      const double f = a[4 * r + k];
      for (int c = 0; c < 4; ++c) {
        a[4 * r + c] -= f * a[4 * k + c];
        inv[4 * r + c] -= f * inv[4 * k + c];
      }
    }
  }
  std::copy(inv, inv + 16, out.m);
  return true;
}

KivMatrix KivMatrix::inverse() const {
  KivMatrix r;
  if (!invert(r))
    return identity;
  return r;
}

void KivMatrix::transpose() {
  for (int r = 0; r < 4; ++r)
    for (int c = r + 1; c < 4; ++c)
      std::swap(m[4 * r + c], m[4 * c + r]);
}

KivVector KivMatrix::column(int i) const {
  if (i < 0 || i > 3)
    return KivVector::zero;
  return {m[i], m[4 + i], m[8 + i]};
}

void KivMatrix::setColumn(int i, const KivVector& v) {
  if (i < 0 || i > 3)
    return;
  m[i] = v.x;
  m[4 + i] = v.y;
  m[8 + i] = v.z;
}

KivVector KivMatrix::row(int i) const {
  if (i < 0 || i > 3)
    return KivVector::zero;
  return {m[4 * i], m[4 * i + 1], m[4 * i + 2]};
}

void KivMatrix::setRow(int i, const KivVector& v) {
  if (i < 0 || i > 3)
    return;
  m[4 * i] = v.x;
  m[4 * i + 1] = v.y;
  m[4 * i + 2] = v.z;
}

void KivMatrix::exchangeColumn(int i, double values[4]) {
  if (i < 0 || i > 3)
    return;
  for (int r = 0; r < 4; ++r)
    std::swap(values[r], m[4 * r + i]);
}

KivMatrix KivMatrix::translationPart() const { return translation(getTranslation()); }

KivMatrix KivMatrix::rotationPart() const {
  return {m[0], m[1], m[2], 0, m[4], m[5], m[6], 0, m[8], m[9], m[10], 0, 0, 0, 0, 1};
}

double KivMatrix::determinant() const {
  // Cofactors along the top row; a zero factor skips its minor.
  double det = 0.0;
  for (int c = 0; c < 4; ++c) {
    const double f = m[c];
    if (f == 0.0)
      continue;
    int cols[3];
    for (int k = 0, j = 0; k < 4; ++k)
      if (k != c)
        cols[j++] = k;
    const double minor =
        det3(m[4 + cols[0]], m[4 + cols[1]], m[4 + cols[2]], m[8 + cols[0]], m[8 + cols[1]],
             m[8 + cols[2]], m[12 + cols[0]], m[12 + cols[1]], m[12 + cols[2]]);
    det += (c % 2 == 0 ? f : -f) * minor;
  }
  return det;
}

double KivMatrix::determinant3() const {
  return det3(m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]);
}

double KivMatrix::averageScale() const { return std::pow(std::fabs(determinant3()), kThird); }

KivVector KivMatrix::scaleFactors() const {
  return {column(0).length(), column(1).length(), column(2).length()};
}

KivQuaternion KivMatrix::toQuaternion() const {
  const double m00 = m[0], m01 = m[1], m02 = m[2];
  const double m10 = m[4], m11 = m[5], m12 = m[6];
  const double m20 = m[8], m21 = m[9], m22 = m[10];
  const double t = m00 + m11 + m22;
  KivQuaternion q;
  if (t > 0.0) {
    const double s = std::sqrt(t + 1.0);
    const double k = 0.5 / s;
    q.w = 0.25 / k;
    q.x = (m21 - m12) * k;
    q.y = (m02 - m20) * k;
    q.z = (m10 - m01) * k;
  } else if (m00 > m11 && m00 > m22) {
    const double s = 2.0 * std::sqrt(m00 + 1.0 - m11 - m22);
    q.w = (m21 - m12) / s;
    q.x = s / 4.0;
    q.y = (m01 + m10) / s;
    q.z = (m02 + m20) / s;
  } else if (m11 > m22) {
    const double s = 2.0 * std::sqrt(m11 + 1.0 - m00 - m22);
    q.w = (m02 - m20) / s;
    q.x = (m01 + m10) / s;
    q.y = s / 4.0;
    q.z = (m12 + m21) / s;
  } else {
    const double s = 2.0 * std::sqrt(m22 + 1.0 - m00 - m11);
    q.w = (m10 - m01) / s;
    q.x = (m02 + m20) / s;
    q.y = (m12 + m21) / s;
    q.z = s / 4.0;
  }
  return q;
}

double KivMatrix::rotationAngle() const { return 2.0 * std::acos(toQuaternion().w); }

KivVector KivMatrix::rotationAxis() const {
  const KivQuaternion q = toQuaternion();
  const double s = std::sin(std::acos(q.w));
  return {q.x / s, q.y / s, q.z / s};
}

KivVector KivMatrix::toEulerAngles() const {
  double a[3][3];
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c)
      a[r][c] = m[4 * r + c];
  // Snap tiny elements to zero so the exact patterns below can match, then
  // make each column unit.
  for (int c = 0; c < 3; ++c) {
    double sq = 0.0;
    for (int r = 0; r < 3; ++r) {
      if (std::fabs(a[r][c]) < kEulerTolerance)
        a[r][c] = 0.0;
      sq += a[r][c] * a[r][c];
    }
    if (sq != 1.0 && sq > 0.0) {
      const double len = std::sqrt(sq);
      for (int r = 0; r < 3; ++r)
        a[r][c] /= len;
    }
  }
  const double m00 = a[0][0], m01 = a[0][1], m02 = a[0][2];
  const double m10 = a[1][0], m11 = a[1][1], m12 = a[1][2];
  const double m20 = a[2][0], m21 = a[2][1], m22 = a[2][2];

  // Single axes.
  if (m01 == 0.0 && m02 == 0.0 && m10 == 0.0 && m20 == 0.0)
    return {std::atan2(m21, m11), 0.0, 0.0};
  if (m01 == 0.0 && m10 == 0.0 && m12 == 0.0 && m21 == 0.0)
    return {0.0, std::atan2(-m20, m00), 0.0};
  if (m20 == 0.0 && m21 == 0.0 && m12 == 0.0 && m02 == 0.0)
    return {0.0, 0.0, std::atan2(m10, m00)};
  // Gimbal lock: ry is a quarter turn and rx absorbs rz.
  if (m00 == 0.0 && m10 == 0.0 && m21 == 0.0 && m22 == 0.0)
    return {std::atan2(m01, m02), kHalfPi, 0.0};
  // Two axes, the third angle 0.
  if (near(m10, 0.0) && near(m01, m12 * m20) && near(m21, -m12 * m00) && near(m02, -m20 * m11) &&
      near(m22, m11 * m00))
    return {std::atan2(-m12, m11), std::atan2(-m20, m00), 0.0};
  if (near(m20, 0.0) && near(m22 * m10 + m01, 0.0) && near(m02, m21 * m10) &&
      near(m11, m22 * m00) && near(m21 * m00 + m12, 0.0))
    return {std::atan2(m21, m22), 0.0, std::atan2(m10, m00)};
  if (near(m21, 0.0) && near(m00, m22 * m11) && near(m10, -m01 * m22) && near(m02, -m20 * m11) &&
      near(m12, m20 * m01))
    return {0.0, std::atan2(-m20, m22), std::atan2(-m01, m11)};

  double ry = -std::asin(m20);
  if (ry < 0.0)
    ry = kPi - ry;
  const double c = 1.0 / std::cos(ry);
  return {std::atan2(c * m21, c * m22), ry, std::atan2(c * m10, c * m00)};
}

double KivMatrix::distanceFromIdentity() const {
  double sum = 0.0;
  for (int i = 0; i < 16; ++i) {
    const double d = m[i] - identity.m[i];
    sum += d * d;
  }
  return sum;
}

bool operator==(const KivMatrix& a, const KivMatrix& b) {
  // Plain == per element: a NaN on either side is unequal, also to itself.
  for (int i = 0; i < 16; ++i)
    if (!(a.m[i] == b.m[i]))
      return false;
  return true;
}

bool KivMatrix::isIdentity() const { return *this == identity; }

bool KivMatrix::isAffine() const {
  return m[12] == 0.0 && m[13] == 0.0 && m[14] == 0.0 && m[15] == 1.0;
}

bool KivMatrix::isDiagonal() const {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      if (r != c && m[4 * r + c] != 0.0)
        return false;
  return true;
}

bool KivMatrix::isPureTranslation() const {
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c)
      if (m[4 * r + c] != (r == c ? 1.0 : 0.0))
        return false;
  return isAffine();
}

bool KivMatrix::hasRotation(double t) const {
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c)
      if (r != c && std::fabs(m[4 * r + c]) > t)
        return true;
  return false;
}

bool KivMatrix::isRigid() const {
  const KivVector c0 = column(0), c1 = column(1), c2 = column(2);
  for (const KivVector* c : {&c0, &c1, &c2})
    if (std::fabs(c->length() - 1.0) > kRigidTolerance)
      return false;
  return std::fabs(c0.dot(c1)) <= kRigidTolerance && std::fabs(c0.dot(c2)) <= kRigidTolerance &&
         std::fabs(c1.dot(c2)) <= kRigidTolerance;
}

bool KivMatrix::isUniformScale() const {
  if (!isAffine() || !isDiagonal())
    return false;
  const double c = signedCubeRoot(m[0] * m[5] * m[10]);
  return std::fabs(m[0] - c) < kUniformScaleTolerance &&
         std::fabs(m[5] - c) < kUniformScaleTolerance &&
         std::fabs(m[10] - c) < kUniformScaleTolerance;
}

bool KivMatrix::isConformal(double* scale) const {
  const KivVector c0 = column(0), c1 = column(1), c2 = column(2);
  const double l = c0.squaredLength();
  // Absolute below unit length, relative above.
  const double lengthTolerance = l < 1.0 ? kConformalTolerance : l * kConformalTolerance;
  const double dotTolerance = l * kConformalTolerance;
  const bool conformal = std::fabs(c1.squaredLength() - l) < lengthTolerance &&
                         std::fabs(c2.squaredLength() - l) < lengthTolerance &&
                         std::fabs(c0.dot(c1)) < dotTolerance &&
                         std::fabs(c0.dot(c2)) < dotTolerance &&
                         std::fabs(c1.dot(c2)) < dotTolerance;
  if (scale) {
    *scale = std::sqrt(l);
    if (conformal && determinant3() < 0.0)
      *scale = -*scale;
  }
  return conformal;
}

KivVector KivMatrix::transformPoint(const KivVector& p) const {
  const double x = m[0] * p.x + m[1] * p.y + m[2] * p.z + m[3];
  const double y = m[4] * p.x + m[5] * p.y + m[6] * p.z + m[7];
  const double z = m[8] * p.x + m[9] * p.y + m[10] * p.z + m[11];
  const double w = m[12] * p.x + m[13] * p.y + m[14] * p.z + m[15];
  return {x / w, y / w, z / w};
}

void KivMatrix::transformPoint(const float in[3], float out[3]) const {
  const KivVector r = transformPoint(KivVector(in[0], in[1], in[2]));
  out[0] = static_cast<float>(r.x);
  out[1] = static_cast<float>(r.y);
  out[2] = static_cast<float>(r.z);
}

KivVector KivMatrix::rotateVector(const KivVector& v) const {
  return {m[0] * v.x + m[1] * v.y + m[2] * v.z, m[4] * v.x + m[5] * v.y + m[6] * v.z,
          m[8] * v.x + m[9] * v.y + m[10] * v.z};
}

void KivMatrix::rotateVector(const float in[3], float out[3]) const {
  const KivVector r = rotateVector(KivVector(in[0], in[1], in[2]));
  out[0] = static_cast<float>(r.x);
  out[1] = static_cast<float>(r.y);
  out[2] = static_cast<float>(r.z);
}

bool KivMatrix::solve3(const KivVector& rhs, KivVector& out) const {
  return solve3(row(0), row(1), row(2), rhs, out);
}

bool KivMatrix::solve3(const KivVector& r0, const KivVector& r1, const KivVector& r2,
                       const KivVector& rhs, KivVector& out) {
  const double det = det3(r0.x, r0.y, r0.z, r1.x, r1.y, r1.z, r2.x, r2.y, r2.z);
  if (det == 0.0)
    return false;
  out.x = det3(rhs.x, r0.y, r0.z, rhs.y, r1.y, r1.z, rhs.z, r2.y, r2.z) / det;
  out.y = det3(r0.x, rhs.x, r0.z, r1.x, rhs.y, r1.z, r2.x, rhs.z, r2.z) / det;
  out.z = det3(r0.x, r0.y, rhs.x, r1.x, r1.y, rhs.y, r2.x, r2.y, rhs.z) / det;
  return true;
}

bool KivMatrix::solve4(const double rhs[4], double out[4]) const {
  const double det = determinant();
  if (!(std::fabs(det) > 1e-16))
    return false;
  double result[4];
  for (int c = 0; c < 4; ++c) {
    KivMatrix replaced(*this);
    for (int r = 0; r < 4; ++r)
      replaced.m[4 * r + c] = rhs[r];
    result[c] = replaced.determinant() / det;
  }
  std::copy(result, result + 4, out);
  return true;
}

bool KivMatrix::orthonormalize() {
  KivVector c0 = column(0);
  c0.normalize();
  KivVector c1 = column(1);
  c1 -= c0 * c0.dot(c1);
  c1.normalize();
  KivVector c2 = column(2);
  c2 -= c0 * c0.dot(c2);
  c2 -= c1 * c1.dot(c2);
  const bool ok = c2.normalize();
  setColumn(0, c0);
  setColumn(1, c1);
  setColumn(2, c2);
  return ok;
}

void KivMatrix::debugPrint(const char* title) const {
  if (title)
    std::printf("%s\n", title);
  for (int r = 0; r < 4; ++r)
    std::printf("(%12.6f %12.6f %12.6f %12.6f\n", m[4 * r], m[4 * r + 1], m[4 * r + 2],
                m[4 * r + 3]);
  std::printf("\n");
}

std::ostream& operator<<(std::ostream& os, const KivMatrix& matrix) {
  for (double v : matrix.m)
    os << v << ' ';
  return os;
}

std::istream& operator>>(std::istream& is, KivMatrix& matrix) {
  double values[16];
  for (double& v : values)
    if (!(is >> v))
      return is;
  std::copy(values, values + 16, matrix.m);
  return is;
}

bool writeValue(BinOutput& out, const KivMatrix& matrix) { return out.write(matrix.m, 16); }

bool readValue(BinInput& in, KivMatrix& matrix) {
  double values[16];
  if (!in.read(values, 16))
    return false;
  std::copy(values, values + 16, matrix.m);
  return true;
}
