//===- progbitvectoriter.cpp - A walk over a bit vector with progress -----===//
#include "kivbasictypes/progbitvectoriter.h"

#include "kivbasictypes/bitvector.h"
#include "kivbasictypes/ikivprogress.h"
#include "kivbasictypes/progresscallbackbase.h"

#include <algorithm>

ProgBitVectorIter::ProgBitVectorIter(const BitVector& bits, bool overClear)
    : ProgBitVectorIter(bits, overClear, ProgressCallbackBase::progressService()) {}

ProgBitVectorIter::ProgBitVectorIter(const BitVector& bits, bool overClear, IKivProgress* progress)
    : bits_(&bits), nextFunction_(overClear ? &BitVector::nextClear : &BitVector::nextSet),
      progress_(progress) {
  setBits(bits);
}

ProgBitVectorIter::~ProgBitVectorIter() {
  if (progress_)
    progress_->report(1.0f);
}

void ProgBitVectorIter::setBits(const BitVector& bits) {
  bits_ = &bits;
  tick_ = 0;
  advances_ = 0;
  step_ = std::max(bits.lastBit() / 100, 1);
}

// How far the walk reports is left to the hosts; this one advances with the
// chosen next function and reports tick / 100 after every `step` advances.
int32_t ProgBitVectorIter::next() {
  current_ = (bits_->*nextFunction_)(current_);
  if (current_ >= 0 && ++advances_ >= step_) {
    advances_ = 0;
    ++tick_;
    if (progress_)
      progress_->report(static_cast<float>(tick_) / 100.0f);
  }
  return current_;
}
