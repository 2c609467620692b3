//===- kivgridpoint.h - Opaque 64-bit grid position -------------*- C++ -*-===//
//
// KivGridPoint carries 64 bits that this system stores, copies and hands on
// without looking inside. Default 0.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>
#include <type_traits>

class BinInput;
class BinOutput;

struct KivGridPoint {
  uint64_t value = 0;

  constexpr KivGridPoint() = default;
  constexpr explicit KivGridPoint(uint64_t v) : value(v) {}

  friend bool operator==(const KivGridPoint& a, const KivGridPoint& b) {
    return a.value == b.value;
  }
  friend bool operator!=(const KivGridPoint& a, const KivGridPoint& b) { return !(a == b); }
};

static_assert(sizeof(KivGridPoint) == 8 && std::is_trivially_copyable_v<KivGridPoint>);

// Bare stream form: the 64 bits as one big-endian word, all that is needed to
// hand the value on unchanged. A short read leaves the value as it was.
bool writeValue(BinOutput& out, const KivGridPoint& p);
bool readValue(BinInput& in, KivGridPoint& p);
