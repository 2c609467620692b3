//===- kivrect.h - Two-dimensional rectangle --------------------*- C++ -*-===//
//
// KivRect holds xMin, yMin, xMax, yMax as doubles, in that order. Building it
// from corners or reading it from a file sorts each axis, so xMin <= xMax and
// yMin <= yMax hold from then on unless a caller writes the fields directly.
// It has no empty state (unlike KivBounds2D), and every comparison is exact:
// edges belong to the rectangle. A default rectangle is all zero.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivvector.h"

#include <iosfwd>

class BinInput;
class BinOutput;
class IKivDataModelReader;
class IKivDataModelWriter;

struct KivRect {
  double xMin = 0.0;
  double yMin = 0.0;
  double xMax = 0.0;
  double yMax = 0.0;

  constexpr KivRect() = default;
  // Two corners (x0, y0) and (x1, y1), sorted per axis.
  KivRect(double x0, double y0, double x1, double y1);
  KivRect(const Vector2D& a, const Vector2D& b);

  double width() const { return xMax - xMin; }
  double height() const { return yMax - yMin; }

  // Moves each coordinate outside to the nearer edge; true if one moved.
  bool clamp(double& x, double& y) const;
  bool clamp(Vector2D& p) const { return clamp(p.x, p.y); }
  // Clamps both of this rectangle's corners into r; true if one moved.
  bool clampTo(const KivRect& r);
  bool contains(const KivRect& r) const;
  bool contains(double x, double y) const;
  bool contains(const Vector2D& p) const { return contains(p.x, p.y); }
  // Touching edges are not disjoint.
  bool isDisjoint(const KivRect& r) const;
  void grow(double dx, double dy);
  void extend(double x, double y);
  void extend(const Vector2D& p) { extend(p.x, p.y); }
  void translate(double dx, double dy);

  friend bool operator==(const KivRect& a, const KivRect& b) {
    return a.xMin == b.xMin && a.yMin == b.yMin && a.xMax == b.xMax && a.yMax == b.yMax;
  }
  friend bool operator!=(const KivRect& a, const KivRect& b) { return !(a == b); }
};

static_assert(sizeof(KivRect) == 32 && std::is_trivially_copyable_v<KivRect>);

// Bare stream form: xMin, yMin, xMax, yMax as big-endian doubles, the order
// of the typed block. Reading sorts each axis, so reversed edges in a file
// give a valid rectangle; a short read leaves the rectangle as it was.
bool writeValue(BinOutput& out, const KivRect& r);
bool readValue(BinInput& in, KivRect& r);

// Typed block 0x10006 of the data-model file, version 0, with the same four
// doubles; reading sorts each axis. Writing gives the writer's good(). A
// block of another tag, or a short one, turns the reader bad and gives an
// all-zero rectangle and false.
bool writeBlock(IKivDataModelWriter& writer, const KivRect& r);
bool readBlock(IKivDataModelReader& reader, KivRect& r);

// Four lines "xMin: ", "xMax: ", "yMin: ", "yMax: ", each ended by std::endl.
std::ostream& operator<<(std::ostream& os, const KivRect& r);
