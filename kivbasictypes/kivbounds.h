//===- kivbounds.h - Axis-aligned boxes in 3D, 2D and float -----*- C++ -*-===//
//
// KivBounds (two KivVector corners), KivBounds2D (two Vector2D corners) and
// KivBoundsF (two float triples) are plain values laid out as their fields.
//
// The three do not share one notion of "empty":
//  - KivBounds: min at +largest float, max at its negative, both held as
//    doubles; empty when min.x >= that and max.x <= its negative. A default
//    KivBounds is empty, and building one from the empty value's own corners
//    gives it back.
//  - KivBounds2D: empty value uses the largest double; empty when
//    min.x > max.x. A default KivBounds2D holds two default Vector2D corners,
//    which is not the empty value.
//  - KivBoundsF: the largest float; built per axis without an empty test.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivvector.h"

#include <iosfwd>
#include <limits>

struct KivBounds {
  KivVector min{kKivLargestFloat, kKivLargestFloat, kKivLargestFloat};
  KivVector max{-kKivLargestFloat, -kKivLargestFloat, -kKivLargestFloat};

  constexpr KivBounds() = default;
  // Sorted per axis, so a reversed pair still gives a well-formed box; the
  // empty value's own corners give the empty value.
  KivBounds(const KivVector& a, const KivVector& b);

  static const KivBounds emptyBounds;

  bool isEmpty() const { return min.x >= kKivLargestFloat && max.x <= -kKivLargestFloat; }
  // Grows to take in p; an empty box becomes the point.
  void extend(const KivVector& p);
  // Union. An empty other changes nothing; an empty receiver becomes a copy.
  void add(const KivBounds& other);
  KivVector center() const { return (min + max) * 0.5; }

  friend bool operator==(const KivBounds& a, const KivBounds& b) {
    return a.min == b.min && a.max == b.max;
  }
  friend bool operator!=(const KivBounds& a, const KivBounds& b) { return !(a == b); }
};

struct KivBounds2D {
  Vector2D min;
  Vector2D max;

  constexpr KivBounds2D() = default;
  constexpr KivBounds2D(const Vector2D& lo, const Vector2D& hi) : min(lo), max(hi) {}

  static const KivBounds2D emptyBounds;

  bool isEmpty() const { return min.x > max.x; }
  // Grows to take in p; the empty value becomes the point.
  void extend(const Vector2D& p);
  // No effect when empty.
  void grow(double e);
  // The larger extent; 0 when empty.
  double size() const;
  Vector2D center() const { return {(min.x + max.x) * 0.5, (min.y + max.y) * 0.5}; }
  // No effect when empty. s < 0 swaps the corners.
  void scale(double s, bool aboutCenter);
  // Overlap; the empty value when either side or the overlap is empty.
  void clip(const KivBounds2D& other);
  bool isDisjoint(const KivBounds2D& other) const;
  bool overlapsWithArea(const KivBounds2D& other) const;
  // Union, with the same empty rules as KivBounds::add.
  void add(const KivBounds2D& other);

  friend bool operator==(const KivBounds2D& a, const KivBounds2D& b) {
    return a.min == b.min && a.max == b.max;
  }
  friend bool operator!=(const KivBounds2D& a, const KivBounds2D& b) { return !(a == b); }
};

struct KivBoundsF {
  float min[3] = {std::numeric_limits<float>::max(), std::numeric_limits<float>::max(),
                  std::numeric_limits<float>::max()};
  float max[3] = {-std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(),
                  -std::numeric_limits<float>::max()};

  constexpr KivBoundsF() = default;
  // Sorted per axis, rounded to float; no empty test.
  KivBoundsF(const KivVector& a, const KivVector& b);
};

static_assert(sizeof(KivBounds) == 48 && std::is_trivially_copyable_v<KivBounds>);
static_assert(sizeof(KivBounds2D) == 32 && std::is_trivially_copyable_v<KivBounds2D>);
static_assert(sizeof(KivBoundsF) == 24 && std::is_trivially_copyable_v<KivBoundsF>);

// "(" min " " max ") ", corners in the KivVector text form.
std::ostream& operator<<(std::ostream& os, const KivBounds& b);
// "(" pair " " pair ") " with each pair as "(" x ", " y ") ".
std::ostream& operator<<(std::ostream& os, const KivBounds2D& b);
