//===- realparray.cpp - The abstract point array --------------------------===//
#include "kivbasictypes/realparray.h"

#include "core/kivassert.h"
#include "core/lookup.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/bitvector.h"
#include "kivbasictypes/ikivpointextrainfo.h"
#include "kivbasictypes/irealparrayfactory.h"
#include "kivbasictypes/kivmatrix.h"
#include "kivbasictypes/kivplane.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr const char* kSourcePath = "kivbasictypes/realparray";
constexpr double kBoundsStart = 1e42;

} // namespace

// ---- helpers of the sort ----------------------------------------------------

int RealPArray::Compare::compare(int32_t a, int32_t b) {
  const KivVector p = array_->getPoint(a);
  const KivVector q = array_->getPoint(b);
  if (q.x > p.x)
    return -1;
  if (p.x > q.x)
    return 1;
  if (q.y > p.y)
    return -1;
  if (p.y > q.y)
    return 1;
  if (q.z > p.z)
    return -1;
  return p.z > q.z ? 1 : 0;
}

void RealPArray::Assign::assign(int32_t from, int32_t to) {
  const KivVector v = from == -1 ? scratch_ : array_->getPoint(from);
  if (to == -1)
    scratch_ = v;
  else
    array_->set(to, v);
}

// ---- construction -----------------------------------------------------------

RealPArray::RealPArray() = default;

RealPArray::RealPArray(const RealPArray& source, bool copyExtra)
    : ProgressCallbackBase(source), scale_(source.scale_),
      packedColours_(source.packedColours_) {
  if (copyExtra && source.extraInfo_)
    extraInfo_ = source.extraInfo_->clone();
}

RealPArray::~RealPArray() = default;

void RealPArray::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (kivAnswer(name, "IRealPArray", static_cast<IRealPArray*>(this), out) ||
      kivAnswer(name, "RealPArray", this, out))
    return;
  kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}

void RealPArray::abstractCalled(const char* what) { kivAssert(what, kSourcePath, 0); }

IKivPointExtraInfo* RealPArray::ensureExtra() {
  if (!extraInfo_) {
    // The service found by name is the host's empty prototype; each array
    // keeps a store of its own, made from it by clone().
    SPtr<IKivPointExtraInfo> prototype("IKivPointExtraInfo");
    if (prototype)
      extraInfo_ = prototype->clone();
  }
  return extraInfo_.get();
}

// ---- the primitives ---------------------------------------------------------

int32_t RealPArray::count() {
  abstractCalled("RealPArray::count");
  return 0;
}

bool RealPArray::clear() { return true; }

bool RealPArray::reserve(int32_t) {
  abstractCalled("RealPArray::reserve");
  return false;
}

IRealPArray* RealPArray::cloneInterface() { return clone(); }

int32_t RealPArray::push(const KivVector&) {
  abstractCalled("RealPArray::push");
  return 0;
}

int32_t RealPArray::push(const float*) {
  abstractCalled("RealPArray::push(float)");
  return 0;
}

int32_t RealPArray::push(const double* xyz) {
  return xyz ? push(KivVector(xyz[0], xyz[1], xyz[2])) : push(KivVector());
}

int32_t RealPArray::push(double x, double y, double z) { return push(KivVector(x, y, z)); }

void RealPArray::setCount(int32_t) { abstractCalled("RealPArray::setCount"); }
void RealPArray::set(int32_t, const KivVector&) { abstractCalled("RealPArray::set"); }
void RealPArray::set(int32_t, const float*) { abstractCalled("RealPArray::set(float)"); }

void RealPArray::setAllocating(int32_t, const KivVector&) {
  abstractCalled("RealPArray::setAllocating");
}

void RealPArray::set(int32_t i, double x, double y, double z) {
  setAllocating(i, KivVector(x, y, z));
}

void RealPArray::getPoint(int32_t, KivVector& out) {
  abstractCalled("RealPArray::getPoint");
  out = KivVector();
}

void RealPArray::getPoint(int32_t i, float* xyz) {
  double d[3];
  getPoint(i, d);
  for (int k = 0; k < 3; ++k)
    xyz[k] = static_cast<float>(d[k]);
}

void RealPArray::getPoint(int32_t, double* xyz) {
  abstractCalled("RealPArray::getPoint(double)");
  xyz[0] = xyz[1] = xyz[2] = 0.0;
}

void RealPArray::getPoint(int32_t i, double& x, double& y, double& z) {
  double d[3];
  getPoint(i, d);
  x = d[0];
  y = d[1];
  z = d[2];
}

KivVector RealPArray::getPoint(int32_t i) {
  KivVector v;
  getPoint(i, v);
  return v;
}

// ---- colours ----------------------------------------------------------------

bool RealPArray::hasExtra() { return extraInfo_ && extraInfo_->hasData(); }

bool RealPArray::setHasExtra(bool flag) {
  if (flag == hasExtra())
    return false;
  if (!flag) {
    extraInfo_->clear();
    if (extraInfo_->isDisposable())
      extraInfo_ = nullptr;
    return true;
  }
  if (IKivPointExtraInfo* extra = ensureExtra())
    extra->setSize(count());
  return true;
}

bool RealPArray::getExtra(int32_t i, float* rgb) {
  if (!hasExtra())
    return false;
  extraInfo_->getColour(i, rgb);
  return true;
}

bool RealPArray::getExtra(int32_t i, double* rgb) {
  if (!hasExtra())
    return false;
  extraInfo_->getColour(i, rgb);
  return true;
}

bool RealPArray::getExtra(int32_t i, double& r, double& g, double& b) {
  double rgb[3];
  if (!getExtra(i, rgb))
    return false;
  r = rgb[0];
  g = rgb[1];
  b = rgb[2];
  return true;
}

bool RealPArray::setColour(int32_t i, const float* rgb) {
  if (!hasExtra())
    return false;
  extraInfo_->setColour(i, rgb);
  return true;
}

bool RealPArray::setColourNotifying(int32_t i, const float* rgb) {
  if (!hasExtra())
    return false;
  if (colourListener_)
    colourListener_->colourChanging(i);
  extraInfo_->setColour(i, rgb);
  return true;
}

bool RealPArray::setColourNotifying(int32_t i, const double* rgb) {
  if (!hasExtra())
    return false;
  if (colourListener_)
    colourListener_->colourChanging(i);
  extraInfo_->setColour(i, rgb);
  return true;
}

bool RealPArray::setColour(int32_t i, double r, double g, double b) {
  const double rgb[3] = {r, g, b};
  return setColourNotifying(i, rgb);
}

bool RealPArray::coloursToGrey() {
  if (!hasExtra())
    return false;
  const int32_t n = count();
  for (int32_t i = 1; i <= n; ++i) {
    double c[3];
    extraInfo_->getColour(i, c);
    const double grey = 0.59 * c[1] + 0.3 * c[0] + 0.11 * c[2];
    const double g3[3] = {grey, grey, grey};
    extraInfo_->setColour(i, g3);
  }
  return true;
}

bool RealPArray::scaleColours(float factor) {
  if (!hasExtra())
    return false;
  const int32_t n = count();
  for (int32_t i = 1; i <= n; ++i) {
    float c[3];
    extraInfo_->getColour(i, c);
    for (float& v : c)
      v *= factor;
    extraInfo_->setColour(i, c);
  }
  return true;
}

KivColor RealPArray::getColour(int32_t i) {
  KivColor colour;
  float rgb[3] = {0.0f, 0.0f, 0.0f};
  if (hasExtra())
    extraInfo_->getColour(i, rgb);
  colour.r = rgb[0];
  colour.g = rgb[1];
  colour.b = rgb[2];
  colour.a = 1.0f;
  return colour;
}

// ---- records ----------------------------------------------------------------

int32_t RealPArray::capacity() {
  abstractCalled("RealPArray::capacity");
  return 0;
}

int32_t RealPArray::padTo(int32_t n) {
  while (count() < n)
    push(KivVector());
  return count();
}

int32_t RealPArray::pushWithColour(const float* record) {
  const int32_t n = push(record);
  if (extraInfo_)
    extraInfo_->setColour(n, record + 4);
  return n;
}

int32_t RealPArray::pushWithColour(const double* record) {
  const int32_t n = push(record);
  if (extraInfo_)
    extraInfo_->setColour(n, record + 4);
  return n;
}

void RealPArray::removeLast() { removeLast(1); }

void RealPArray::removeLast(int32_t) { abstractCalled("RealPArray::removeLast"); }

void RealPArray::setWithColour(int32_t i, const float* record) {
  set(i, record);
  setColourNotifying(i, record + 4);
}

void RealPArray::setWithColour(int32_t i, const double* record) {
  setAllocating(i, KivVector(record[0], record[1], record[2]));
  setColourNotifying(i, record + 4);
}

void RealPArray::getWithColour(int32_t i, float* record) {
  getPoint(i, record);
  record[3] = 0.0f;
  if (!getExtra(i, record + 4))
    record[4] = record[5] = record[6] = 0.0f;
}

void RealPArray::getWithColour(int32_t i, double* record) {
  getPoint(i, record);
  record[3] = 0.0;
  if (!getExtra(i, record + 4))
    record[4] = record[5] = record[6] = 0.0;
}

void RealPArray::getWithIntensity(int32_t i, float* record) {
  getWithColour(i, record);
  record[7] = 0.59f * record[5] + 0.3f * record[4] + 0.11f * record[6];
}

void RealPArray::getWithIntensity(int32_t i, double* record) {
  getWithColour(i, record);
  record[7] = 0.59 * record[5] + 0.3 * record[4] + 0.11 * record[6];
}

// ---- whole-array operations -------------------------------------------------

void RealPArray::bounds(KivVector& min, KivVector& max, const BitVector& mask) {
  const int32_t n = count();
  if (n == 0) {
    min = max = KivVector();
    return;
  }
  min = KivVector(kBoundsStart, kBoundsStart, kBoundsStart);
  max = KivVector(-kBoundsStart, -kBoundsStart, -kBoundsStart);
  for (int32_t i = 1; i <= n; ++i) {
    if (!mask.get(i))
      continue;
    double x, y, z;
    getPoint(i, x, y, z);
    min = KivVector(std::min(min.x, x), std::min(min.y, y), std::min(min.z, z));
    max = KivVector(std::max(max.x, x), std::max(max.y, y), std::max(max.z, z));
  }
}

void RealPArray::bounds(KivVector& min, KivVector& max) {
  const int32_t n = count();
  if (n == 0) {
    min = max = KivVector();
    return;
  }
  min = KivVector(kBoundsStart, kBoundsStart, kBoundsStart);
  max = KivVector(-kBoundsStart, -kBoundsStart, -kBoundsStart);
  for (int32_t i = 1; i <= n; ++i) {
    double x, y, z;
    getPoint(i, x, y, z);
    min = KivVector(std::min(min.x, x), std::min(min.y, y), std::min(min.z, z));
    max = KivVector(std::max(max.x, x), std::max(max.y, y), std::max(max.z, z));
  }
}

void RealPArray::transform(const KivMatrix&) { abstractCalled("RealPArray::transform"); }

bool RealPArray::read(BinInput&) {
  abstractCalled("RealPArray::read");
  return false;
}

void RealPArray::unused26() { abstractCalled("RealPArray::unused26"); }
void RealPArray::unused27() { abstractCalled("RealPArray::unused27"); }

RealPArray* RealPArray::clone() { return clone(true); }

RealPArray* RealPArray::clone(bool) {
  abstractCalled("RealPArray::clone");
  return nullptr;
}

void RealPArray::noOp41() {}

int32_t RealPArray::sort(bool removeDuplicates, OrderArray* order, BitVector* mask) {
  const int32_t n = count();
  OrderArray* own = nullptr;
  if (order) {
    order->resize(0, false);
    order->resize(n + 2, true);
  } else {
    own = new OrderArray(n + 2);
    order = own;
  }
  for (int32_t i = 1; i <= n; ++i)
    order->set(i, i);
  Compare compare(this);
  quickSort(*order, 1, n, compare);
  Assign assign(this);
  applyOrder(*order, 1, n, assign);
  if (extraInfo_)
    extraInfo_->permute(*order, 1, n);
  delete own;

  if (!removeDuplicates) {
    if (mask)
      mask->setAll(n);
    return n;
  }
  if (mask) {
    mask->clear();
    if (n >= 1)
      mask->set(1);
  }
  int32_t j = n == 0 ? 0 : 1;
  KivVector kept = n == 0 ? KivVector() : getPoint(1);
  for (int32_t i = 2; i <= n; ++i) {
    const KivVector p = getPoint(i);
    if (p.x == kept.x && p.y == kept.y && p.z == kept.z)
      continue;
    ++j;
    if (j != i) {
      set(j, p);
      if (extraInfo_)
        extraInfo_->copy(j, i);
    }
    kept = p;
    if (mask)
      mask->set(i);
  }
  setCount(j);
  if (extraInfo_)
    extraInfo_->resize(j);
  return j;
}

RealPArray* RealPArray::createSameKind(int32_t) {
  abstractCalled("RealPArray::createSameKind");
  return nullptr;
}

double RealPArray::getScale() { return scale_; }
void RealPArray::setScale(double value) { scale_ = value; }
void RealPArray::noOp46() {}
int32_t RealPArray::reserved47() { return 0; }
void RealPArray::permute(const OrderArray&) { abstractCalled("RealPArray::permute"); }

// The body as the hosts know it: points that the mask marks among 1 up to
// but not including count() move down, with their colours, to the next free
// index from 1, and reserve() is told how many were kept; the count is left
// as it was, for the caller to settle.
void RealPArray::compact(const BitVector& mask) {
  const int32_t n = count();
  if (n < 2) {
    reserve(0);
    return;
  }
  int32_t next = 1;
  double record[7];
  for (int32_t i = 1; i < n; ++i) {
    if (!mask.get(i))
      continue;
    getWithColour(i, record);
    if (next != i)
      setWithColour(next, record);
    ++next;
  }
  reserve(next - 1);
}

void RealPArray::abstract50() { abstractCalled("RealPArray::abstract50"); }
void RealPArray::allocateAll() {}

bool RealPArray::extraOperation21() { return extraInfo_ ? extraInfo_->hostOperation21() : false; }
bool RealPArray::extraOperation23() { return extraInfo_ ? extraInfo_->hostOperation23() : true; }

// ---- not virtual ------------------------------------------------------------

double RealPArray::maxAbsCoordinate() {
  double m = 1e-16;
  const int32_t n = count();
  for (int32_t i = 1; i <= n; ++i) {
    const KivVector p = getPoint(i);
    m = std::max({m, std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
  }
  return m;
}

void RealPArray::projectOnPlane(const KivPlane& plane) {
  const int32_t n = count();
  for (int32_t i = 1; i <= n; ++i)
    set(i, plane.foot(getPoint(i)));
}

void RealPArray::assignFrom(RealPArray& other) {
  if (&other == this)
    return;
  const int32_t n = other.count();
  clear();
  reserve(n + 1);
  for (int32_t i = 1; i <= n; ++i)
    setAllocating(i, other.getPoint(i));
  setCount(n);
  if (other.extraInfo_) {
    if (ensureExtra())
      extraInfo_->assign(other.extraInfo_.get());
  } else if (extraInfo_) {
    extraInfo_->clear();
  }
}

bool RealPArray::equals(RealPArray& other) {
  const int32_t n = count();
  if (n != other.count())
    return false;
  if (!extraInfo_ != !other.extraInfo_)
    return false;
  if (extraInfo_ && !extraInfo_->equals(other.extraInfo_.get(), n))
    return false;
  for (int32_t i = 1; i <= n; ++i) {
    const KivVector p = getPoint(i);
    const KivVector q = other.getPoint(i);
    if (!(p.x == q.x && p.y == q.y && p.z == q.z))
      return false;
  }
  return true;
}

bool RealPArray::writeExtra(BinOutput& out, int32_t last, const BitVector* mask) {
  uint32_t flags = 0;
  if (extraInfo_ && extraInfo_->hasData())
    flags |= 1;
  if (extraInfo_ && packedColours_)
    flags |= 2;
  bool ok = out.write(&flags);
  if (!(flags & 1))
    return ok && out.good();
  const int32_t n =
      static_cast<int32_t>(std::min<int64_t>(int64_t{last} + 1, extraInfo_->count()));
  const bool marks = mask && mask->numberSet() != 0;
  int32_t kept = n;
  if (marks) {
    kept = 0;
    for (int32_t i = 0; i < n; ++i)
      if (!mask->get(i))
        ++kept;
  }
  ok = ok && out.write(&kept);
  if (packedColours_) {
    if (!marks) {
      // The whole packed array, block by block.
      IKivPointExtraInfo::PackedArray* packed = extraInfo_->packedArray();
      const int32_t per = KivMM::Splitter<unsigned>::kBlockElements;
      for (int32_t b = 0; ok && b * per < n; ++b) {
        const int32_t k = std::min(per, n - b * per);
        for (int32_t e = 0; ok && e < k; ++e) {
          const uint32_t v = packed ? packed->get(b * per + e) : extraInfo_->getPacked(b * per + e);
          ok = out.write(&v);
        }
      }
    } else {
      for (int32_t i = 0; ok && i < n; ++i) {
        if (mask->get(i))
          continue;
        const uint32_t v = extraInfo_->getPacked(i);
        ok = out.write(&v);
      }
    }
  } else {
    for (int32_t i = 0; ok && i < n; ++i) {
      if (marks && mask->get(i))
        continue;
      float rgb[3];
      extraInfo_->getColour(i, rgb);
      ok = out.write(rgb, 4, 3);
    }
  }
  return ok && out.good();
}

bool RealPArray::readExtra(BinInput& in) {
  uint32_t flags = 0;
  if (!in.read(&flags))
    return false;
  bool ok = true;
  const uint32_t kind = flags & 3;
  if (kind == 1 || kind == 3) {
    int32_t n = 0;
    ok = in.read(&n);
    // A count that the stream cannot hold is a damaged record: nothing is
    // sized for it.
    const uint64_t size = in.size();
    const int64_t at = in.tell();
    const uint64_t per = kind == 1 ? 12 : 4;
    if (ok && (n < 0 || (size > 0 && at >= 0 &&
                         uint64_t(n) * per > size - std::min<uint64_t>(size, uint64_t(at)))))
      ok = false;
    // Without a colour store the entries are still read, so that the stream
    // stands behind the record.
    IKivPointExtraInfo* extra = ok ? ensureExtra() : nullptr;
    if (extra)
      extra->setSize(n);
    IKivPointExtraInfo::PackedArray* packed =
        extra && kind == 3 ? extra->packedArray() : nullptr;
    for (int32_t i = 0; ok && i < n; ++i) {
      if (kind == 1) {
        float rgb[3];
        ok = in.read(rgb, 4, 3);
        if (ok && extra)
          extra->setColour(i, rgb);
      } else {
        uint32_t v = 0;
        ok = in.read(&v);
        if (ok && packed) {
          packed->ensureIndex(i);
          packed->set(i, v);
        }
      }
    }
  }
  if (extraInfo_ && extraInfo_->count() != count())
    extraInfo_->resize(count());
  return ok;
}

RealPArray* RealPArray::createFromStream(BinInput& in) {
  uint32_t word = 0xFFFFFFFFu;
  const int64_t at = in.tell();
  if (!in.read(&word))
    word = 0xFFFFFFFFu;
  in.seek(at, true);
  SPtr<IRealPArrayFactory> factory("IRealPArrayFactory");
  if (!factory)
    return nullptr;
  IRealPArray* made = factory->createForWord(word, 1024);
  if (!made)
    return nullptr;
  void* out = nullptr;
  made->queryInterface("RealPArray", &out);
  return static_cast<RealPArray*>(out);
}

void VertexArrayRPA::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (!kivAnswer(name, "VertexArrayRPA", this, out))
    kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}
