//===- kivplane.h - Plane n·p = d --------------------------------*- C++ -*-===//
//
// KivPlane holds the normal (x, y, z) and the offset d as doubles, in that
// order; a point p lies on the plane when n·p = d, and on its positive side
// when n·p - d >= 0. Only the constructors from points and from a normal and
// a point normalise; the others keep the normal as given. A default plane is
// all zero, which is not valid.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivvector.h"

#include <iosfwd>
#include <type_traits>

class BinInput;
class BinOutput;
struct KivBounds;
struct KivMatrix;

struct KivPlane {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double d = 0.0;

  constexpr KivPlane() = default;
  constexpr KivPlane(const KivVector& n, double offset) : x(n.x), y(n.y), z(n.z), d(offset) {}
  // Through p, with n normalised.
  KivPlane(const KivVector& n, const KivVector& p);
  // Through a, b, c with the normal (b - a) × (c - a), normalised.
  KivPlane(const KivVector& a, const KivVector& b, const KivVector& c);

  KivVector normal() const { return {x, y, z}; }
  double signedDistance(const KivVector& p) const { return normal().dot(p) - d; }

  KivPlane withNegatedOffset() const { return {normal(), -d}; }
  void flip();
  // False with a NaN anywhere or an exactly zero normal.
  bool isValid() const;
  bool isOnPositiveSide(const KivVector& p) const { return signedDistance(p) >= 0.0; }
  KivVector foot(const KivVector& p) const;

  // Line through p with direction dir; false when nearly parallel.
  bool intersectLine(const KivVector& p, const KivVector& dir, KivVector& out) const;
  // Segment a-b. strict: false when both ends lie strictly on one side.
  // t is the weight of a in t·a + (1 - t)·b; either output may be null.
  bool intersectSegment(const KivVector& a, const KivVector& b, bool strict, double* t,
                        KivVector* point) const;
  // The line where two planes meet: unit direction and one point.
  bool intersectPlane(const KivPlane& other, KivVector& dir, KivVector& point) const;
  // False only when all eight corners lie strictly on one side.
  bool intersects(const KivBounds& b) const;
  // Moves the plane with the points that m moves; no effect when invalid.
  void transform(const KivMatrix& m);
  // Four points in the plane whose rectangle covers the projection of the
  // bounds, ordered (min, min), (min, max), (max, min), (max, max) in the
  // plane's frame. An empty box gives four zero vectors and false.
  bool rectangleCovering(const KivBounds& b, KivVector corners[4]) const;

  friend bool operator==(const KivPlane& a, const KivPlane& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z && a.d == b.d;
  }
  friend bool operator!=(const KivPlane& a, const KivPlane& b) { return !(a == b); }
};

static_assert(sizeof(KivPlane) == 32 && std::is_trivially_copyable_v<KivPlane>);

// Bare stream form: x, y, z, d as big-endian doubles. Both give the typed
// transfer's result together with the stream's good(); a short read leaves
// the plane as it was.
bool writeValue(BinOutput& out, const KivPlane& p);
bool readValue(BinInput& in, KivPlane& p);

// "(" x " " y " " z " : " d ") "
std::ostream& operator<<(std::ostream& os, const KivPlane& p);
