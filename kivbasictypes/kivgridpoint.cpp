//===- kivgridpoint.cpp - Opaque 64-bit grid position --------------------===//
#include "kivbasictypes/kivgridpoint.h"

#include "kivbasictypes/binio.h"

bool writeValue(BinOutput& out, const KivGridPoint& p) { return out.write(&p.value, 1); }

bool readValue(BinInput& in, KivGridPoint& p) {
  uint64_t value;
  if (!in.read(&value, 1))
    return false;
  p.value = value;
  return true;
}
