//===- kivrect.cpp - Two-dimensional rectangle ---------------------------===//
#include "kivbasictypes/kivrect.h"

#include "kivbasictypes/binio.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/valueblock.h"

#include <algorithm>
#include <ostream>

namespace {

// Moves v into [lo, hi]; true if it moved.
bool clampInto(double& v, double lo, double hi) {
  if (v < lo) {
    v = lo;
    return true;
  }
  if (v > hi) {
    v = hi;
    return true;
  }
  return false;
}

}  // namespace

KivRect::KivRect(double x0, double y0, double x1, double y1)
    : xMin(std::min(x0, x1)), yMin(std::min(y0, y1)), xMax(std::max(x0, x1)),
      yMax(std::max(y0, y1)) {}

KivRect::KivRect(const Vector2D& a, const Vector2D& b) : KivRect(a.x, a.y, b.x, b.y) {}

bool KivRect::clamp(double& x, double& y) const {
  const bool movedX = clampInto(x, xMin, xMax);
  const bool movedY = clampInto(y, yMin, yMax);
  return movedX || movedY;
}

bool KivRect::clampTo(const KivRect& r) {
  const bool movedMin = r.clamp(xMin, yMin);
  const bool movedMax = r.clamp(xMax, yMax);
  return movedMin || movedMax;
}

bool KivRect::contains(const KivRect& r) const {
  return r.xMin >= xMin && r.xMax <= xMax && r.yMin >= yMin && r.yMax <= yMax;
}

bool KivRect::contains(double x, double y) const {
  return x >= xMin && x <= xMax && y >= yMin && y <= yMax;
}

bool KivRect::isDisjoint(const KivRect& r) const {
  return r.xMin > xMax || r.xMax < xMin || r.yMin > yMax || r.yMax < yMin;
}

void KivRect::grow(double dx, double dy) {
  xMin -= dx;
  xMax += dx;
  yMin -= dy;
  yMax += dy;
}

void KivRect::extend(double x, double y) {
  if (x < xMin)
    xMin = x;
  else if (x > xMax)
    xMax = x;
  if (y < yMin)
    yMin = y;
  else if (y > yMax)
    yMax = y;
}

void KivRect::translate(double dx, double dy) {
  xMin += dx;
  xMax += dx;
  yMin += dy;
  yMax += dy;
}

std::ostream& operator<<(std::ostream& os, const KivRect& r) {
  os << "xMin: " << r.xMin << std::endl;
  os << "xMax: " << r.xMax << std::endl;
  os << "yMin: " << r.yMin << std::endl;
  os << "yMax: " << r.yMax << std::endl;
  return os;
}

bool writeValue(BinOutput& out, const KivRect& r) {
  const double values[4] = {r.xMin, r.yMin, r.xMax, r.yMax};
  return out.write(values, 4);
}

bool readValue(BinInput& in, KivRect& r) {
  double values[4];
  if (!in.read(values, 4))
    return false;
  r = KivRect(values[0], values[1], values[2], values[3]);
  return true;
}

bool writeBlock(IKivDataModelWriter& writer, const KivRect& r) {
  writer.beginBlock(kivtag::kRect, 0);
  writer.writeDouble(r.xMin);
  writer.writeDouble(r.yMin);
  writer.writeDouble(r.xMax);
  writer.writeDouble(r.yMax);
  writer.endBlock();
  return writer.good();
}

bool readBlock(IKivDataModelReader& reader, KivRect& r) {
  bool entered = false;
  double v[4] = {};
  bool ok = enterValueBlock(reader, kivtag::kRect, &entered) && requireValueBytes(reader, 32);
  if (ok)
    for (double& edge : v)
      reader.readDouble(&edge);
  if (entered)
    reader.endBlock();
  ok = ok && reader.good();
  r = ok ? KivRect(v[0], v[1], v[2], v[3]) : KivRect();
  return ok;
}
