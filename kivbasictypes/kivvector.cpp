//===- kivvector.cpp - Three- and two-component vectors ------------------===//
#include "kivbasictypes/kivvector.h"

#include "kivbasictypes/binio.h"

#include <cmath>
#include <istream>
#include <ostream>

namespace {

// Below this v·v a vector is too short to project on.
constexpr double kProjectionEpsilon = 2.220446049250313e-16;

double signOf(double c) { return c >= 0.0 ? 1.0 : -1.0; }

}  // namespace

const KivVector KivVector::zero{};

bool KivVector::normalize() {
  // The components are first scaled by a power of two that brings the largest
  // to [0.5, 1): exact, so the shares below are those of the original vector,
  // and neither 1e-200 underflows nor 1e200 overflows when squared. Each
  // component is then rebuilt from the share the other two leave instead of
  // dividing by the length.
  const double largest = std::fmax(std::fabs(x), std::fmax(std::fabs(y), std::fabs(z)));
  if (!(largest > 0.0) || !std::isfinite(largest))
    return false;
  int exponent = 0;
  std::frexp(largest, &exponent);
  const double sx = std::ldexp(x, -exponent), sy = std::ldexp(y, -exponent),
               sz = std::ldexp(z, -exponent);
  const double xx = sx * sx, yy = sy * sy, zz = sz * sz;
  const double s = xx + yy + zz;
  if (!(s > 0.0))
    return false;
  const double nx = signOf(x) * std::sqrt(std::fmax(0.0, 1.0 - (zz + yy) / s));
  const double ny = signOf(y) * std::sqrt(std::fmax(0.0, 1.0 - (zz + xx) / s));
  const double nz = signOf(z) * std::sqrt(std::fmax(0.0, 1.0 - (yy + xx) / s));
  x = nx;
  y = ny;
  z = nz;
  return true;
}

KivVector KivVector::normalized() const {
  KivVector copy(*this);
  copy.normalize();
  return copy;
}

bool KivVector::isUnit(double t) const {
  const double len = length();
  return len >= 1.0 - t && len <= 1.0 + t;
}

bool KivVector::isParallel(const KivVector& v, double t) const {
  const double d = dot(v);
  return d * d >= squaredLength() * (1.0 - t * t) * v.squaredLength();
}

bool KivVector::isPerpendicular(const KivVector& v, double t) const {
  const double d = dot(v);
  return squaredLength() * t * t * v.squaredLength() >= d * d;
}

bool KivVector::isParallel(const KivVector& v, double t, double minLength) const {
  if (isShorterThan(minLength) || v.isShorterThan(minLength))
    return true;
  return std::fabs(normalized().dot(v.normalized())) > t;
}

bool KivVector::isPerpendicular(const KivVector& v, double t, double minLength) const {
  if (isShorterThan(minLength) || v.isShorterThan(minLength))
    return true;
  return 1.0 - t > std::fabs(normalized().dot(v.normalized()));
}

KivVector KivVector::projectionOn(const KivVector& v) const {
  const double vv = v.dot(v);
  if (!(vv > kProjectionEpsilon))
    return zero;
  return v * (dot(v) / vv);
}

KivVector KivVector::perpendicularPart(const KivVector& v) const {
  if (!(v.dot(v) > kProjectionEpsilon))
    return *this;
  return *this - projectionOn(v);
}

KivVector KivVector::anyPerpendicular() const {
  const double ax = std::fabs(x), ay = std::fabs(y), az = std::fabs(z);
  KivVector r;
  // The largest component divides, so the ratio stays within [-1, 1].
  if (ax > ay) {
    if (ay > az)
      r = {-(z / x), 0.0, 1.0};
    else if (ax > az)
      r = {-(y / x), 1.0, 0.0};
    else
      r = {0.0, 1.0, -(y / z)};
  } else if (ax > az) {
    r = {-(z / x), 0.0, 1.0};
  } else if (ay > az) {
    r = {0.0, -(z / y), 1.0};
  } else {
    r = {1.0, 0.0, -(x / z)};
  }
  r.normalize();
  return r;
}

bool KivVector::frame(KivVector& first, KivVector& second) const {
  const KivVector v = normalized();
  if (v.length() < 0.5)
    return false;
  const KivVector aux = std::fabs(v.x) < 0.8 ? KivVector(1.0, 0.0, 0.0) : KivVector(0.0, 1.0, 0.0);
  const KivVector u = v.cross(aux).normalized();
  second = u;
  first = u.cross(v).normalized();
  return true;
}

std::ostream& operator<<(std::ostream& os, const KivVector& v) {
  return os << '(' << v.x << ',' << v.y << ',' << v.z << ')';
}

std::istream& operator>>(std::istream& is, KivVector& v) {
  // Each separator must be the expected one; a failing number stops at once.
  const char expected[4] = {',', ',', ')', 0};
  char c = 0;
  if (!(is >> c))
    return is;
  if (c != '(') {
    is.setstate(std::ios::failbit);
    return is;
  }
  double values[3];
  for (int i = 0; i < 3; ++i) {
    if (!(is >> values[i]))
      return is;
    if (!(is >> c))
      return is;
    if (c != expected[i]) {
      is.setstate(std::ios::failbit);
      return is;
    }
  }
  v = KivVector(values[0], values[1], values[2]);
  return is;
}

bool writeValue(BinOutput& out, const KivVector& v) {
  const double values[3] = {v.x, v.y, v.z};
  return out.write(values, 3);
}

bool readValue(BinInput& in, KivVector& v) {
  double values[3];
  if (!in.read(values, 3))
    return false;
  v = {values[0], values[1], values[2]};
  return true;
}

bool writeValue(BinOutput& out, const Vector2D& v) {
  const double values[2] = {v.x, v.y};
  return out.write(values, 2);
}

bool readValue(BinInput& in, Vector2D& v) {
  double values[2];
  if (!in.read(values, 2))
    return false;
  v = {values[0], values[1]};
  return true;
}

bool writeValue(BinOutput& out, const Vector2F& v) {
  const float values[2] = {v.x, v.y};
  return out.write(values, 2);
}

bool readValue(BinInput& in, Vector2F& v) {
  float values[2];
  if (!in.read(values, 2))
    return false;
  v = {values[0], values[1]};
  return true;
}
