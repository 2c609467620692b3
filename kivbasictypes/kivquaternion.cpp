//===- kivquaternion.cpp - Rotation quaternion ---------------------------===//
#include "kivbasictypes/kivquaternion.h"

#include "kivbasictypes/binio.h"

bool writeValue(BinOutput& out, const KivQuaternion& q) {
  const double values[4] = {q.w, q.x, q.y, q.z};
  return out.write(values, 4);
}

bool readValue(BinInput& in, KivQuaternion& q) {
  double values[4];
  if (!in.read(values, 4))
    return false;
  q = KivQuaternion(values[0], values[1], values[2], values[3]);
  return true;
}
