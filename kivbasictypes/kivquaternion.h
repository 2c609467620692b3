//===- kivquaternion.h - Rotation quaternion --------------------*- C++ -*-===//
//
// KivQuaternion holds w (the scalar part), x, y, z as doubles, in that order.
// It must be of unit length wherever it is turned into a rotation; nothing here
// normalises it. The conversions to and from rotation matrices live with
// KivMatrix. A default quaternion is (1, 0, 0, 0), the identity rotation.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <type_traits>

class BinInput;
class BinOutput;

struct KivQuaternion {
  double w = 1.0;
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  constexpr KivQuaternion() = default;
  constexpr KivQuaternion(double w_, double x_, double y_, double z_)
      : w(w_), x(x_), y(y_), z(z_) {}

  friend bool operator==(const KivQuaternion& a, const KivQuaternion& b) {
    return a.w == b.w && a.x == b.x && a.y == b.y && a.z == b.z;
  }
  friend bool operator!=(const KivQuaternion& a, const KivQuaternion& b) { return !(a == b); }
};

static_assert(sizeof(KivQuaternion) == 32 && std::is_trivially_copyable_v<KivQuaternion>);

// Bare stream form: w, x, y, z as big-endian doubles, the four-double layout
// the file layer also uses for its block 0x10007; nothing less round-trips
// exactly. A short read leaves the quaternion as it was.
bool writeValue(BinOutput& out, const KivQuaternion& q);
bool readValue(BinInput& in, KivQuaternion& q);
