//===- kivvectorarray.h - The storing point array ---------------*- C++ -*-===//
//
// KivVectorArray keeps points 1..count() in a paged array of 1024 points
// (24 KB) a block. Blocks never move, so a pointer to a point stays valid
// while the array grows; a zero point in a block that does not exist takes
// no memory and reads as zero.
//
// Invariants a user must know:
//  - capacity() is whole blocks; the storage addresses count() + 1 elements.
//  - getPoint(i) has no check against count(): below capacity() it gives
//    whatever the storage holds there (zero if nothing wrote), above it zero.
//  - clear() keeps the blocks for refilling, clearAndFree() gives them back.
//  - Stored record: BinMagic 758123 version 0, count, then x, y, z of each
//    point as big-endian doubles. Colours go separately (writeExtra).
//  - The float forms of push and set stay abstract here.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/realparray.h"

#include <algorithm>
#include <cstdint>

class KivVectorArray final : public RealPArray {
public:
  using Points = KivMM::Array<KivVector, KivMM::Splitter<KivVector>>;
  static constexpr int32_t kRecordId = 758123;
  static constexpr uint32_t kRecordWord = uint32_t{kRecordId} << 8;

  KivVectorArray();
  explicit KivVectorArray(int32_t capacity);
  KivVectorArray(const KivVectorArray& source, bool copyExtra);
  KivVectorArray(RealPArray& source, bool copyExtra);

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "KivVectorArray"; }

  using RealPArray::getPoint;
  using RealPArray::push;
  using RealPArray::removeLast;
  using RealPArray::set;
  using RealPArray::clone;
  using RealPArray::permute;

  int32_t count() override { return count_; }
  int32_t capacity() override { return points_.count(); }
  bool clear() override;
  bool reserve(int32_t n) override;
  void setCount(int32_t n) override { count_ = n; }
  int32_t push(const KivVector& v) override {
    ++count_;
    while (count_ >= points_.count())
      reserve(std::max(2 * points_.count(), 16));
    points_.set(count_, v);
    return count_;
  }
  void set(int32_t i, const KivVector& v) override { points_.set(i, v); }
  void setAllocating(int32_t i, const KivVector& v) override { points_.ref(i) = v; }
  void getPoint(int32_t i, KivVector& out) override { out = points_.get(i); }
  void getPoint(int32_t i, double* xyz) override;
  void removeLast(int32_t n) override;
  void transform(const KivMatrix& m) override;
  void permute(const OrderArray& order) override { permute(order, -1); }
  void allocateAll() override;
  RealPArray* clone(bool copyExtra) override;
  RealPArray* createSameKind(int32_t capacity) override;
  bool read(BinInput& in) override;

  virtual void clearAndFree();                 // 54
  virtual bool write(BinOutput& out);          // 55

  // new[i] = old[order[i]] for positions 0..n-1; n = -1 takes positions
  // 1..count().
  void permute(const OrderArray& order, int32_t n);
  void setExtending(int32_t i, const KivVector& v);
  void insert(int32_t i, const KivVector& v);
  void remove(int32_t i);
  void swap(int32_t i, int32_t j);
  void reverse();

  // The element itself, making its block; valid until clearAndFree().
  KivVector& at(int32_t i) { return points_.ref(i); }
  const Points& points() const { return points_; }
  static bool isVectorArrayTag(uint32_t tag) { return (tag >> 8) == kRecordId; }

private:
  Points points_;
  int32_t count_ = 0;
};
