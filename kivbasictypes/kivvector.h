//===- kivvector.h - Three- and two-component vectors -----------*- C++ -*-===//
//
// KivVector (three doubles), Vector2D (two doubles) and Vector2F (two floats)
// are plain values laid out exactly as their fields, so arrays of them are
// copied as raw memory. A default KivVector is all zero, and paged arrays rely
// on that. A default Vector2D holds the largest float in both components;
// a default Vector2F is (0, 0).
//
// normalize() never divides by the length: each component is rebuilt from the
// others' share of the squared length, so results are unit to rounding even for
// extreme magnitudes, and a zero vector is left as it is (false).
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cmath>
#include <cstdint>
#include <iosfwd>
#include <type_traits>

class BinInput;
class BinOutput;

// The largest float, held as a double: the edge of every "empty" bounds.
inline constexpr double kKivLargestFloat = 3.4028234663852886e38;

struct KivVector {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  constexpr KivVector() = default;
  constexpr KivVector(double x_, double y_, double z_) : x(x_), y(y_), z(z_) {}

  // The shared zero value; accessors hand it back for a bad index.
  static const KivVector zero;

  double operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }
  double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }

  double dot(const KivVector& v) const { return x * v.x + y * v.y + z * v.z; }
  KivVector cross(const KivVector& v) const {
    return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
  }
  double squaredLength() const { return x * x + y * y + z * z; }
  double length() const { return std::sqrt(squaredLength()); }

  // False, and no change, when the squared length is not above 0.
  bool normalize();
  // The copy keeps the source's value when that is zero.
  KivVector normalized() const;

  void add(double dx, double dy, double dz) {
    x += dx;
    y += dy;
    z += dz;
  }

  bool isShorterThan(double t) const { return t * t > squaredLength(); }
  bool isUnit(double t) const;
  // Plain forms: squared products, no normalisation.
  bool isParallel(const KivVector& v, double t) const;
  bool isPerpendicular(const KivVector& v, double t) const;
  // Compare unit copies by |cos|; an input shorter than minLength counts as
  // parallel and perpendicular alike.
  bool isParallel(const KivVector& v, double t, double minLength) const;
  bool isPerpendicular(const KivVector& v, double t, double minLength) const;

  // Zero vector, or this vector itself, when v·v <= DBL_EPSILON.
  KivVector projectionOn(const KivVector& v) const;
  KivVector perpendicularPart(const KivVector& v) const;
  // A unit vector perpendicular to this one; undefined for the zero vector.
  KivVector anyPerpendicular() const;
  // Two unit vectors that with this one's direction form a right-handed frame
  // (first, second, this). False, outputs untouched, for a (near) zero vector.
  bool frame(KivVector& first, KivVector& second) const;

  KivVector operator-() const { return {-x, -y, -z}; }
  KivVector& operator+=(const KivVector& v) {
    x += v.x;
    y += v.y;
    z += v.z;
    return *this;
  }
  KivVector& operator-=(const KivVector& v) {
    x -= v.x;
    y -= v.y;
    z -= v.z;
    return *this;
  }
  KivVector& operator*=(double s) {
    x *= s;
    y *= s;
    z *= s;
    return *this;
  }
  friend KivVector operator+(KivVector a, const KivVector& b) { return a += b; }
  friend KivVector operator-(KivVector a, const KivVector& b) { return a -= b; }
  friend KivVector operator*(KivVector a, double s) { return a *= s; }
  friend KivVector operator*(double s, KivVector a) { return a *= s; }
  friend KivVector operator/(const KivVector& a, double s) { return {a.x / s, a.y / s, a.z / s}; }
  friend bool operator==(const KivVector& a, const KivVector& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
  }
  friend bool operator!=(const KivVector& a, const KivVector& b) { return !(a == b); }
};

struct Vector2D {
  double x = kKivLargestFloat;
  double y = kKivLargestFloat;

  constexpr Vector2D() = default;
  constexpr Vector2D(double x_, double y_) : x(x_), y(y_) {}

  friend bool operator==(const Vector2D& a, const Vector2D& b) { return a.x == b.x && a.y == b.y; }
  friend bool operator!=(const Vector2D& a, const Vector2D& b) { return !(a == b); }
};

// Default (0, 0): nothing relies on another start value.
struct Vector2F {
  float x = 0.0f;
  float y = 0.0f;

  constexpr Vector2F() = default;
  constexpr Vector2F(float x_, float y_) : x(x_), y(y_) {}

  friend bool operator==(const Vector2F& a, const Vector2F& b) { return a.x == b.x && a.y == b.y; }
  friend bool operator!=(const Vector2F& a, const Vector2F& b) { return !(a == b); }
};

static_assert(sizeof(KivVector) == 24 && std::is_trivially_copyable_v<KivVector>);
static_assert(sizeof(Vector2D) == 16 && std::is_trivially_copyable_v<Vector2D>);
static_assert(sizeof(Vector2F) == 8 && std::is_trivially_copyable_v<Vector2F>);

// Bare stream forms, for use inside other records: the components in order,
// big-endian, as doubles (Vector2F: floats). A read that comes up short gives
// false and leaves the value as it was.
bool writeValue(BinOutput& out, const KivVector& v);
bool readValue(BinInput& in, KivVector& v);
bool writeValue(BinOutput& out, const Vector2D& v);
bool readValue(BinInput& in, Vector2D& v);
bool writeValue(BinOutput& out, const Vector2F& v);
bool readValue(BinInput& in, Vector2F& v);

// "(x,y,z)" in the stream's number format, no blanks.
std::ostream& operator<<(std::ostream& os, const KivVector& v);
// Expects "(x,y,z)"; any other separator sets failbit and leaves v unchanged.
std::istream& operator>>(std::istream& is, KivVector& v);
