//===- kivmatrix.h - 4 by 4 transform of doubles ----------------*- C++ -*-===//
//
// KivMatrix holds sixteen doubles row by row: element (r, c) is m[4r + c]. It
// acts on column vectors, p' = M·(p, 1), so the translation stands in column 3
// (m[3], m[7], m[11]) and an affine transform has the bottom row (0, 0, 0, 1).
// A default matrix is the identity.
//
// Equality is element by element; a NaN anywhere makes two matrices unequal,
// even a matrix and itself. The tests for affine, diagonal and pure
// translation are exact. invert() leaves its output untouched when the matrix
// is singular; inverse() then gives the identity. Column and row getters give
// KivVector::zero for an index outside 0 to 3, and the setters do nothing.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivvector.h"

#include <iosfwd>
#include <type_traits>

class BinInput;
class BinOutput;
struct KivQuaternion;
struct KivRect;

struct KivMatrix {
  double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

  constexpr KivMatrix() = default;
  constexpr KivMatrix(double m00, double m01, double m02, double m03, double m10, double m11,
                      double m12, double m13, double m20, double m21, double m22, double m23,
                      double m30, double m31, double m32, double m33)
      : m{m00, m01, m02, m03, m10, m11, m12, m13, m20, m21, m22, m23, m30, m31, m32, m33} {}
  // Sixteen values in row order; null gives the identity.
  explicit KivMatrix(const double* values);
  // Rotation of a unit quaternion, optionally with a translation.
  explicit KivMatrix(const KivQuaternion& q);
  KivMatrix(const KivQuaternion& q, const KivVector& translation);
  // Maps the square [-1, 1]² onto the rectangle.
  explicit KivMatrix(const KivRect& r);

  static const KivMatrix identity;

  // Rows fill the upper 3 by 3; the rest is identity.
  static KivMatrix fromRows(const KivVector& r0, const KivVector& r1, const KivVector& r2);
  // Columns 0 to 3; bottom row (0, 0, 0, 1).
  static KivMatrix fromColumns(const KivVector& c0, const KivVector& c1, const KivVector& c2,
                               const KivVector& c3);
  static KivMatrix scaling(double s);
  static KivMatrix scaling(double sx, double sy, double sz);
  static KivMatrix translation(const KivVector& t);
  // Rodrigues; the axis is normalised first, the angle is in radians.
  static KivMatrix rotation(const KivVector& axis, double angle);
  // The rotation taking direction a to direction b: the identity when they
  // agree, a half turn about some axis perpendicular to a when opposed.
  static KivMatrix rotation(const KivVector& a, const KivVector& b);
  // I - 2nnᵀ on the upper 3 by 3; n is not normalised.
  static KivMatrix reflection(const KivVector& n);
  static KivMatrix perspective(float horizontalAngle, float verticalAngle, float nearPlane,
                               float farPlane);
  static KivMatrix orthographic(float width, float height, float nearPlane, float farPlane);

  double operator()(int r, int c) const { return m[4 * r + c]; }
  double& operator()(int r, int c) { return m[4 * r + c]; }

  // result = this × other; result may alias either operand.
  void multiply(const KivMatrix& other, KivMatrix& result) const;
  friend KivMatrix operator*(const KivMatrix& a, const KivMatrix& b) {
    KivMatrix r;
    a.multiply(b, r);
    return r;
  }
  bool invert(KivMatrix& out) const;
  KivMatrix inverse() const;
  void transpose();

  // Rows 0 to 2 of column i.
  KivVector column(int i) const;
  void setColumn(int i, const KivVector& v);
  // Columns 0 to 2 of row i.
  KivVector row(int i) const;
  void setRow(int i, const KivVector& v);
  KivVector getTranslation() const { return {m[3], m[7], m[11]}; }
  void setTranslation(const KivVector& t) {
    m[3] = t.x;
    m[7] = t.y;
    m[11] = t.z;
  }
  // Swaps the four numbers with column i.
  void exchangeColumn(int i, double values[4]);
  KivMatrix translationPart() const;
  KivMatrix rotationPart() const;

  double determinant() const;
  double determinant3() const;
  double averageScale() const;
  // Lengths of the three columns of the upper 3 by 3.
  KivVector scaleFactors() const;
  KivQuaternion toQuaternion() const;
  double rotationAngle() const;
  KivVector rotationAxis() const;
  // (rx, ry, rz) with this rotation = Rz·Ry·Rx.
  KivVector toEulerAngles() const;
  // Sum of squared differences from the identity, no square root.
  double distanceFromIdentity() const;

  bool isIdentity() const;
  bool isAffine() const;
  bool isDiagonal() const;
  bool isPureTranslation() const;
  bool hasRotation(double t) const;
  bool isRigid() const;
  bool isUniformScale() const;
  // Rotation times a uniform scale; *scale receives the factor, negative for
  // a reflection.
  bool isConformal(double* scale = nullptr) const;

  KivVector transformPoint(const KivVector& p) const;
  void transformPoint(const float in[3], float out[3]) const;
  KivVector rotateVector(const KivVector& v) const;
  void rotateVector(const float in[3], float out[3]) const;

  // Cramer's rule on the upper 3 by 3; false when the determinant is 0.
  bool solve3(const KivVector& rhs, KivVector& out) const;
  // The same with the three rows given as vectors.
  static bool solve3(const KivVector& r0, const KivVector& r1, const KivVector& r2,
                     const KivVector& rhs, KivVector& out);
  // Cramer's rule on all sixteen; false unless |det| > 1e-16.
  bool solve4(const double rhs[4], double out[4]) const;

  // Gram-Schmidt on the upper 3 by 3 columns; false if the last one is zero.
  bool orthonormalize();

  // Four lines "(%12.6f ..." on standard output, after an optional title.
  void debugPrint(const char* title = nullptr) const;

  friend bool operator==(const KivMatrix& a, const KivMatrix& b);
  friend bool operator!=(const KivMatrix& a, const KivMatrix& b) { return !(a == b); }
};

static_assert(sizeof(KivMatrix) == 128 && std::is_trivially_copyable_v<KivMatrix>);

// Bare stream form: the sixteen doubles in row order, big-endian. A short
// read gives false and leaves the matrix as it was.
bool writeValue(BinOutput& out, const KivMatrix& m);
bool readValue(BinInput& in, KivMatrix& m);

// Sixteen numbers in row order, each followed by one blank.
std::ostream& operator<<(std::ostream& os, const KivMatrix& m);
std::istream& operator>>(std::istream& is, KivMatrix& m);
