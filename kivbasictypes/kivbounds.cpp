//===- kivbounds.cpp - Axis-aligned boxes in 3D, 2D and float ------------===//
#include "kivbasictypes/kivbounds.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace {

constexpr double kLargestDouble = std::numeric_limits<double>::max();

}  // namespace

const KivBounds KivBounds::emptyBounds{};

const KivBounds2D KivBounds2D::emptyBounds{Vector2D(kLargestDouble, kLargestDouble),
                                           Vector2D(-kLargestDouble, -kLargestDouble)};

KivBounds::KivBounds(const KivVector& a, const KivVector& b) {
  if (a.x >= kKivLargestFloat && b.x <= -kKivLargestFloat)
    return;  // the empty value's own corners
  min = {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
  max = {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}

void KivBounds::extend(const KivVector& p) {
  for (int i = 0; i < 3; ++i) {
    min[i] = std::min(min[i], p[i]);
    max[i] = std::max(max[i], p[i]);
  }
}

void KivBounds::add(const KivBounds& other) {
  if (other.isEmpty())
    return;
  if (isEmpty()) {
    *this = other;
    return;
  }
  extend(other.min);
  extend(other.max);
}

void KivBounds2D::extend(const Vector2D& p) {
  min.x = std::min(min.x, p.x);
  min.y = std::min(min.y, p.y);
  max.x = std::max(max.x, p.x);
  max.y = std::max(max.y, p.y);
}

void KivBounds2D::grow(double e) {
  if (isEmpty())
    return;
  min.x -= e;
  min.y -= e;
  max.x += e;
  max.y += e;
}

double KivBounds2D::size() const {
  if (isEmpty())
    return 0.0;
  return std::max(max.x - min.x, max.y - min.y);
}

void KivBounds2D::scale(double s, bool aboutCenter) {
  if (isEmpty())
    return;
  const Vector2D c = aboutCenter ? center() : Vector2D(0.0, 0.0);
  min = {(min.x - c.x) * s + c.x, (min.y - c.y) * s + c.y};
  max = {(max.x - c.x) * s + c.x, (max.y - c.y) * s + c.y};
  if (s < 0.0)
    std::swap(min, max);
}

void KivBounds2D::clip(const KivBounds2D& other) {
  if (isEmpty())
    return;
  if (other.isEmpty()) {
    *this = emptyBounds;
    return;
  }
  const Vector2D lo(std::max(min.x, other.min.x), std::max(min.y, other.min.y));
  const Vector2D hi(std::min(max.x, other.max.x), std::min(max.y, other.max.y));
  // Either axis without overlap empties the result; touching edges do not.
  if (lo.x > hi.x || lo.y > hi.y) {
    *this = emptyBounds;
    return;
  }
  min = lo;
  max = hi;
}

bool KivBounds2D::isDisjoint(const KivBounds2D& other) const {
  KivBounds2D copy(*this);
  copy.clip(other);
  return copy.isEmpty();
}

bool KivBounds2D::overlapsWithArea(const KivBounds2D& other) const {
  KivBounds2D copy(*this);
  copy.clip(other);
  return !copy.isEmpty() && (copy.max.x - copy.min.x) * (copy.max.y - copy.min.y) > 0.0;
}

void KivBounds2D::add(const KivBounds2D& other) {
  if (isEmpty()) {
    *this = other;
    return;
  }
  if (other.isEmpty())
    return;
  extend(other.min);
  extend(other.max);
}

KivBoundsF::KivBoundsF(const KivVector& a, const KivVector& b) {
  for (int i = 0; i < 3; ++i) {
    min[i] = static_cast<float>(std::min(a[i], b[i]));
    max[i] = static_cast<float>(std::max(a[i], b[i]));
  }
}

std::ostream& operator<<(std::ostream& os, const KivBounds& b) {
  return os << '(' << b.min << ' ' << b.max << ") ";
}

namespace {

void printPair(std::ostream& os, const Vector2D& v) { os << '(' << v.x << ", " << v.y << ") "; }

}  // namespace

std::ostream& operator<<(std::ostream& os, const KivBounds2D& b) {
  os << '(';
  printPair(os, b.min);
  os << ' ';
  printPair(os, b.max);
  return os << ") ";
}
