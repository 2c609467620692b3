//===- kivvectorarray.cpp - The storing point array -----------------------===//
#include "kivbasictypes/kivvectorarray.h"

#include "kivbasictypes/binio.h"
#include "kivbasictypes/kivmatrix.h"

#include <algorithm>

namespace {

using Splitter = KivMM::Splitter<KivVector>;

// Moves points for the cycle walk of permute; -1 is the scratch point.
class PointMover final : public QuickSort_Assign {
public:
  explicit PointMover(KivVectorArray::Points& points) : points_(points) {}
  void assign(int32_t from, int32_t to) override {
    const KivVector v = from == -1 ? scratch_ : points_.get(from);
    if (to == -1)
      scratch_ = v;
    else
      points_.set(to, v);
  }

private:
  KivVectorArray::Points& points_;
  KivVector scratch_;
};

} // namespace

KivVectorArray::KivVectorArray() = default;

KivVectorArray::KivVectorArray(int32_t capacity) : points_(std::max(capacity, 0)) {}

KivVectorArray::KivVectorArray(const KivVectorArray& source, bool copyExtra)
    : RealPArray(source, copyExtra), count_(source.count_) {
  points_.assign(source.points_, source.points_.count());
}

KivVectorArray::KivVectorArray(RealPArray& source, bool copyExtra)
    : RealPArray(source, copyExtra),
      points_(source.count() + 1) {
  count_ = source.count();
  for (int32_t i = 1; i <= count_; ++i)
    points_.set(i, source.getPoint(i));  // a zero point in a missing block is skipped
}

void KivVectorArray::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (kivAnswer(name, "KivVectorArray", this, out) ||
      kivAnswer(name, "RealPArray", static_cast<RealPArray*>(this), out) ||
      kivAnswer(name, "IRealPArray", static_cast<IRealPArray*>(this), out))
    return;
  kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}

bool KivVectorArray::clear() {
  count_ = 0;
  return reserve(0);
}

void KivVectorArray::clearAndFree() {
  count_ = 0;
  points_.resize(0, false);
}

bool KivVectorArray::reserve(int32_t n) {
  if (n <= points_.count())
    return true;
  points_.resize(n, false);
  count_ = std::min(count_, n);
  return true;
}

void KivVectorArray::getPoint(int32_t i, double* xyz) {
  const KivVector& v = points_.get(i);
  xyz[0] = v.x;
  xyz[1] = v.y;
  xyz[2] = v.z;
}

void KivVectorArray::removeLast(int32_t n) { count_ -= std::clamp(n, 0, count_); }

void KivVectorArray::setExtending(int32_t i, const KivVector& v) {
  if (i >= count_) {
    if (i >= points_.count())
      reserve(i + 1);
    count_ = i;
  }
  points_.set(i, v);
}

void KivVectorArray::insert(int32_t i, const KivVector& v) {
  if (i == count_ + 1) {
    push(v);
    return;
  }
  push(v);
  for (int32_t k = count_ - 1; k >= i; --k)
    points_.set(k + 1, points_.get(k));
  points_.set(i, v);
}

void KivVectorArray::remove(int32_t i) {
  for (int32_t k = i + 1; k <= count_; ++k)
    points_.set(k - 1, points_.get(k));
  removeLast();
}

void KivVectorArray::swap(int32_t i, int32_t j) {
  const KivVector a = points_.get(i);
  const KivVector b = points_.get(j);
  points_.set(i, b);
  points_.set(j, a);
}

void KivVectorArray::reverse() {
  for (int32_t i = 1; i <= count_ / 2; ++i)
    swap(i, count_ - i + 1);
}

void KivVectorArray::transform(const KivMatrix& m) {
  for (int32_t i = 1; i <= count_; ++i) {
    const KivVector& p = points_.get(i);
    double x = m(0, 0) * p.x + m(0, 1) * p.y + m(0, 2) * p.z + m(0, 3);
    double y = m(1, 0) * p.x + m(1, 1) * p.y + m(1, 2) * p.z + m(1, 3);
    double z = m(2, 0) * p.x + m(2, 1) * p.y + m(2, 2) * p.z + m(2, 3);
    const double w = m(3, 0) * p.x + m(3, 1) * p.y + m(3, 2) * p.z + m(3, 3);
    if (!(w == 1.0)) {
      const double inv = 1.0 / w;
      x *= inv;
      y *= inv;
      z *= inv;
    }
    points_.set(i, KivVector(x, y, z));
  }
}

// The order array counts whole blocks, so its own length does not say where
// the order ends; the virtual form takes positions 1..count().
void KivVectorArray::permute(const OrderArray& order, int32_t n) {
  const int32_t first = n < 0 ? 1 : 0;
  const int32_t last = n < 0 ? count_ : n - 1;
  if (last < first)
    return;
  PointMover mover(points_);
  applyOrder(order, first, last, mover);
}

void KivVectorArray::allocateAll() { points_.allocateAll(true); }

RealPArray* KivVectorArray::clone(bool copyExtra) { return new KivVectorArray(*this, copyExtra); }

RealPArray* KivVectorArray::createSameKind(int32_t capacity) {
  return new KivVectorArray(capacity);
}

bool KivVectorArray::write(BinOutput& out) {
  const BinMagic head(kRecordId, 0);
  bool ok = head.write(out) && out.write(&count_);
  const int32_t per = Splitter::kBlockElements;
  // Whole runs of a block go out as one array of doubles.
  for (int32_t from = 1; ok && from <= count_;) {
    const int32_t blockEnd = (from / per + 1) * per;
    const int32_t to = std::min(blockEnd, count_ + 1);
    KivVector* run = &points_.ref(from);
    ok = out.write(&run->x, 8, static_cast<size_t>(to - from) * 3);
    from = to;
  }
  return ok && out.good();
}

bool KivVectorArray::read(BinInput& in) {
  clear();
  BinMagic head;
  if (!head.readExact(in, kRecordWord))
    return false;
  int32_t n = 0;
  if (!in.read(&n) || n < 0)
    return false;
  // A count that the record cannot hold is refused before anything is
  // reserved for it.
  const uint64_t size = in.size();
  const int64_t at = in.tell();
  if (n == INT32_MAX ||
      (size > 0 && at >= 0 && uint64_t(n) * 24 > size - std::min<uint64_t>(size, uint64_t(at))))
    return false;
  // One more than the count, so that the last point is addressable.
  reserve(n + 1);
  const int32_t per = Splitter::kBlockElements;
  bool ok = true;
  for (int32_t from = 1; ok && from <= n;) {
    const int32_t to = std::min((from / per + 1) * per, n + 1);
    KivVector* run = &points_.ref(from);
    ok = in.read(&run->x, 8, static_cast<size_t>(to - from) * 3);
    from = to;
  }
  if (!ok) {
    count_ = 0;
    return false;
  }
  count_ = n;
  return true;
}
