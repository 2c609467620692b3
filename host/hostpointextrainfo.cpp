//===- hostpointextrainfo.cpp - The reference host's per-point colours ----===//
#include "host/hostpointextrainfo.h"

#include "kivbasictypes/quicksort.h"

#include <algorithm>

namespace {

uint32_t channel(float v) {
  const float scaled = v * 255.0f;
  if (!(scaled > 0.0f))
    return 0;
  return scaled >= 255.0f ? 255u : static_cast<uint32_t>(scaled);
}

class PackedMover final : public QuickSort_Assign {
public:
  explicit PackedMover(IKivPointExtraInfo::PackedArray& packed) : packed_(packed) {}
  void assign(int32_t from, int32_t to) override {
    const uint32_t v = from == -1 ? scratch_ : packed_.get(from);
    if (to == -1) {
      scratch_ = v;
    } else {
      packed_.ensureIndex(to);
      packed_.set(to, v);
    }
  }

private:
  IKivPointExtraInfo::PackedArray& packed_;
  uint32_t scratch_ = 0;
};

} // namespace

uint32_t HostPointExtraInfo::pack(float r, float g, float b) {
  return channel(r) | channel(g) << 8 | channel(b) << 16 | 0xffu << 24;
}

void HostPointExtraInfo::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (kivAnswer(name, "IKivPointExtraInfo", static_cast<IKivPointExtraInfo*>(this), out) ||
      kivAnswer(name, "HostPointExtraInfo", this, out))
    return;
  kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}

IKivPointExtraInfo* HostPointExtraInfo::clone() {
  auto* copy = new HostPointExtraInfo;
  copy->packed_ = packed_;
  copy->count_ = count_;
  copy->held_ = held_;
  return copy;
}

void HostPointExtraInfo::put(int32_t i, uint32_t packed) {
  if (i < 0)
    return;
  packed_.ensureIndex(i);
  packed_.set(i, packed);
  count_ = std::max(count_, i + 1);
  held_ = true;
}

void HostPointExtraInfo::setSize(int32_t n) {
  resize(n);
  held_ = true;
}

void HostPointExtraInfo::clear() {
  packed_.resize(0, false);
  count_ = 0;
  held_ = false;
}

void HostPointExtraInfo::setColour(int32_t i, const double* rgb) {
  put(i, pack(static_cast<float>(rgb[0]), static_cast<float>(rgb[1]), static_cast<float>(rgb[2])));
}

void HostPointExtraInfo::setColour(int32_t i, const float* rgb) {
  put(i, pack(rgb[0], rgb[1], rgb[2]));
}

uint32_t HostPointExtraInfo::getPacked(int32_t i) { return i < count_ ? packed_.get(i) : 0; }

void HostPointExtraInfo::getColour(int32_t i, float* rgb) {
  const uint32_t p = getPacked(i);
  for (int k = 0; k < 3; ++k)
    rgb[k] = static_cast<float>((p >> (8 * k)) & 0xffu) / 255.0f;
}

void HostPointExtraInfo::getColour(int32_t i, double* rgb) {
  float f[3];
  getColour(i, f);
  for (int k = 0; k < 3; ++k)
    rgb[k] = f[k];
}

bool HostPointExtraInfo::equals(IKivPointExtraInfo* other, int32_t n) {
  if (!other)
    return false;
  for (int32_t i = 0; i < n; ++i)
    if (getPacked(i) != other->getPacked(i))
      return false;
  return true;
}

void HostPointExtraInfo::copy(int32_t to, int32_t from) {
  if (to >= 0)
    put(to, getPacked(from));
}

void HostPointExtraInfo::resize(int32_t n) {
  const int32_t entries = std::max(n, 0) + 1;
  if (entries < count_)
    packed_.clearRange(entries, packed_.count());
  count_ = entries;
}

void HostPointExtraInfo::onInsert(int32_t i, int32_t n) {
  if (n <= 0 || i < 0 || i > count_)
    return;
  packed_.ensureIndex(count_ + n);
  for (int32_t k = count_ - 1; k >= i; --k)
    packed_.set(k + n, packed_.get(k));
  for (int32_t k = i; k < i + n; ++k)
    packed_.set(k, 0);
  count_ += n;
}

void HostPointExtraInfo::onRemove(int32_t i, int32_t n) {
  if (n <= 0 || i < 0 || i >= count_)
    return;
  n = std::min(n, count_ - i);
  for (int32_t k = i + n; k < count_; ++k)
    packed_.set(k - n, packed_.get(k));
  packed_.clearRange(count_ - n, count_);
  count_ -= n;
}

void HostPointExtraInfo::assign(IKivPointExtraInfo* other) {
  if (other == this)
    return;
  clear();
  if (!other)
    return;
  const int32_t n = other->count();
  for (int32_t i = 0; i < n; ++i)
    if (const uint32_t p = other->getPacked(i))
      put(i, p);
  count_ = n;
  held_ = other->hasData();
}

void HostPointExtraInfo::permute(const OrderArray& order, int32_t first, int32_t last) {
  last = std::min(last, count_ - 1);
  if (first > last)
    return;
  PackedMover mover(packed_);
  applyOrder(order, first, last, mover);
}
