//===- kivplane.cpp - Plane n·p = d ---------------------------------------===//
#include "kivbasictypes/kivplane.h"

#include "kivbasictypes/binio.h"
#include "kivbasictypes/kivbounds.h"
#include "kivbasictypes/kivmatrix.h"

#include <cmath>
#include <ostream>

namespace {

constexpr double kParallelEpsilon = 1e-10;

void cornersOf(const KivBounds& b, KivVector out[8]) {
  for (int i = 0; i < 8; ++i)
    out[i] = {(i & 1) ? b.max.x : b.min.x, (i & 2) ? b.max.y : b.min.y,
              (i & 4) ? b.max.z : b.min.z};
}

}  // namespace

KivPlane::KivPlane(const KivVector& n, const KivVector& p) {
  const KivVector u = n.normalized();
  *this = KivPlane(u, u.dot(p));
}

KivPlane::KivPlane(const KivVector& a, const KivVector& b, const KivVector& c) {
  const KivVector n = (b - a).cross(c - a).normalized();
  *this = KivPlane(n, n.dot(b));
}

void KivPlane::flip() {
  x = -x;
  y = -y;
  z = -z;
  d = -d;
}

bool KivPlane::isValid() const {
  if (std::isnan(x) || std::isnan(y) || std::isnan(z) || std::isnan(d))
    return false;
  return !(x == 0.0 && y == 0.0 && z == 0.0);
}

KivVector KivPlane::foot(const KivVector& p) const { return p - normal() * signedDistance(p); }

bool KivPlane::intersectLine(const KivVector& p, const KivVector& dir, KivVector& out) const {
  const KivVector u = dir.normalized();
  const double nd = normal().dot(u);
  if (std::fabs(nd) < kParallelEpsilon)
    return false;
  out = p + u * (-signedDistance(p) / nd);
  return true;
}

bool KivPlane::intersectSegment(const KivVector& a, const KivVector& b, bool strict, double* t,
                                KivVector* point) const {
  const double fa = signedDistance(a), fb = signedDistance(b);
  if (strict && ((fa > 0.0 && fb > 0.0) || (fa < 0.0 && fb < 0.0)))
    return false;
  // Equal distances also cover a segment lying in the plane, which has no
  // single crossing and would divide by zero.
  if (fa == fb)
    return false;
  const double s = -fb / (fa - fb);
  if (t)
    *t = s;
  if (point)
    *point = a * s + b * (1.0 - s);
  return true;
}

bool KivPlane::intersectPlane(const KivPlane& other, KivVector& dir, KivVector& point) const {
  const KivVector na = normal(), nb = other.normal();
  const KivVector u = na.cross(nb).normalized();
  if (u.isShorterThan(0.5))
    return false;
  const double k = na.dot(nb), aa = na.squaredLength(), bb = nb.squaredLength();
  const double den = k * k - aa * bb;
  if (den == 0.0)
    return false;
  // The point c1·na + c2·nb that lies on both planes.
  const double c1 = (other.d * k - d * bb) / den;
  const double c2 = (d * k - other.d * aa) / den;
  dir = u;
  point = na * c1 + nb * c2;
  return true;
}

bool KivPlane::intersects(const KivBounds& b) const {
  KivVector corners[8];
  cornersOf(b, corners);
  bool above = false, below = false;
  for (const KivVector& c : corners) {
    const double f = signedDistance(c);
    above = above || !(f < 0.0);
    below = below || !(f > 0.0);
  }
  return above && below;
}

void KivPlane::transform(const KivMatrix& m) {
  if (!isValid())
    return;
  // A plane is the row vector h = (n, -d) with h·(p, 1) = 0; it moves with
  // the inverse transpose.
  const KivMatrix inv = m.inverse();
  const double h[4] = {x, y, z, -d};
  double r[4];
  for (int i = 0; i < 4; ++i)
    r[i] = inv(0, i) * h[0] + inv(1, i) * h[1] + inv(2, i) * h[2] + inv(3, i) * h[3];
  const double len = std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
  if (len > 0.0)
    for (double& v : r)
      v /= len;
  x = r[0];
  y = r[1];
  z = r[2];
  d = -r[3];
}

bool KivPlane::rectangleCovering(const KivBounds& b, KivVector corners[4]) const {
  for (int i = 0; i < 4; ++i)
    corners[i] = KivVector::zero;
  KivVector first, second;
  if (b.min.x > b.max.x || !normal().frame(first, second))
    return false;
  const KivMatrix frame = KivMatrix::fromColumns(first, second, normal(), foot(KivVector::zero));
  const KivMatrix toPlane = frame.inverse();
  KivVector boxCorners[8];
  cornersOf(b, boxCorners);
  KivBounds2D box = KivBounds2D::emptyBounds;
  for (const KivVector& c : boxCorners) {
    const KivVector q = toPlane.transformPoint(c);
    box.extend({q.x, q.y});
  }
  const Vector2D uv[4] = {
      {box.min.x, box.min.y}, {box.min.x, box.max.y}, {box.max.x, box.min.y}, {box.max.x, box.max.y}};
  // transformPoint divides by w; a w of exactly 1 leaves the point as it is.
  for (int i = 0; i < 4; ++i)
    corners[i] = frame.transformPoint({uv[i].x, uv[i].y, 0.0});
  return true;
}

std::ostream& operator<<(std::ostream& os, const KivPlane& p) {
  return os << '(' << p.x << ' ' << p.y << ' ' << p.z << " : " << p.d << ") ";
}

bool writeValue(BinOutput& out, const KivPlane& p) {
  const double values[4] = {p.x, p.y, p.z, p.d};
  const bool written = out.write(values, 4);
  return written && out.good();
}

bool readValue(BinInput& in, KivPlane& p) {
  double values[4];
  if (!in.read(values, 4))
    return false;
  p.x = values[0];
  p.y = values[1];
  p.z = values[2];
  p.d = values[3];
  return in.good();
}
