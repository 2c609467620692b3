//===- progbitvectoriter.h - A walk over a bit vector with progress -*- C++ -*-===//
//
// ProgBitVectorIter walks the set (or the clear) bits of a BitVector in
// ascending order and drives the "IKivProgress" service as it goes: after
// every `step` advances (lastBit / 100, at least 1) it reports tick / 100.
// The destructor reports 1.0. The vector is not owned and must outlive the
// walk; without a progress service the walk is silent.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>

class BitVector;
class IKivProgress;

class ProgBitVectorIter {
public:
  // Walks set bits, or clear bits when overClear is true, reporting to the
  // "IKivProgress" service.
  explicit ProgBitVectorIter(const BitVector& bits, bool overClear = false);
  // The same, reporting to `progress` (null: silent); not counted.
  ProgBitVectorIter(const BitVector& bits, bool overClear, IKivProgress* progress);
  virtual ~ProgBitVectorIter();
  ProgBitVectorIter(const ProgBitVectorIter&) = delete;
  ProgBitVectorIter& operator=(const ProgBitVectorIter&) = delete;

  // Puts the walk on another vector: tick 0, step anew; the position stays.
  void setBits(const BitVector& bits);
  // The next bit, -1 at the end.
  int32_t next();
  int32_t current() const { return current_; }

private:
  const BitVector* bits_;
  int32_t current_ = -1;
  int32_t (BitVector::*nextFunction_)(int32_t) const;
  IKivProgress* progress_;
  int32_t tick_ = 0;
  int32_t step_ = 1;
  int32_t advances_ = 0;
};
