//===- iterblockstack.h - Array counted from 1, kept in blocks --*- C++ -*-===//
//
// IterBlockStack<T> holds the same sequence as IterStack<T> (elements 1 ..
// count, slot 0 unused, capacity counting it) in blocks of 1 << blockShift
// elements, each its own allocation, so that a large array needs no single
// huge block. Element i is blocks[i >> blockShift][i & blockMask]; the last
// block holds only the remainder of capacity. Blocks never move once made, so
// growth keeps references into full blocks valid, but not into the last
// partial block. Only trivially copyable elements: blocks are zeroed memory
// that the guarded allocator may move. The iterator gives a static zero value
// for an index at or past capacity.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "kivbasictypes/tovrealloc.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

template <class T>
class IterBlockStack {
  static_assert(std::is_trivially_copyable_v<T>, "IterBlockStack holds plain values only");

public:
  static constexpr int32_t kDefaultBlockShift = 12;

  // Room for n elements (capacity n + 1) in blocks of 1 << blockShift.
  explicit IterBlockStack(int32_t n = 0, int32_t blockShift = kDefaultBlockShift)
      : blockShift_(blockShift), blockMask_((1 << blockShift) - 1) {
    grow(n + 1);
  }
  // As IterStack: room for max(10, count + 1), the leading slots copied as far
  // as the source has them; the block size is kept.
  IterBlockStack(const IterBlockStack& other)
      : blockShift_(other.blockShift_), blockMask_(other.blockMask_) {
    grow(std::max(int32_t{10}, other.count_ + 1));
    const int32_t copied = std::min(capacity_, other.capacity_);
    for (int32_t i = 0; i < copied; ++i)
      slot(i) = other.slot(i);
    count_ = other.count_;
  }
  IterBlockStack& operator=(const IterBlockStack& other) {
    if (this != &other) {
      IterBlockStack copy(other);
      swap(copy);
    }
    return *this;
  }
  ~IterBlockStack() { release(); }

  int32_t count() const { return count_; }
  int32_t capacity() const { return capacity_; }
  int32_t blockShift() const { return blockShift_; }
  int32_t blockCount() const { return blockCount_; }

  // Grows first if i is not below capacity; never touches count.
  T& at(int32_t i) {
    if (i >= capacity_)
      grow(std::max(capacity_, growSize(capacity_, i + 1)));
    return slot(i);
  }
  // No growth and no check: i must be below capacity.
  const T& at(int32_t i) const { return slot(i); }

  void push(T x) { at(++count_) = x; }
  T& pop() { return at(count_--); }
  void clear() { count_ = 0; }
  void setCount(int32_t n) {
    if (n >= capacity_)
      at(n);
    count_ = n;
  }

  void swap(IterBlockStack& other) noexcept {
    std::swap(capacity_, other.capacity_);
    std::swap(blockShift_, other.blockShift_);
    std::swap(blockMask_, other.blockMask_);
    std::swap(blockCount_, other.blockCount_);
    std::swap(blocks_, other.blocks_);
    std::swap(count_, other.count_);
  }

private:
  T& slot(int32_t i) { return blocks_[i >> blockShift_][i & blockMask_]; }
  const T& slot(int32_t i) const { return blocks_[i >> blockShift_][i & blockMask_]; }

  // Elements of block b when the capacity is `capacity`.
  int32_t blockSize(int32_t b, int32_t capacity) const {
    return b < (capacity >> blockShift_) ? blockMask_ + 1 : (capacity & blockMask_);
  }

  void grow(int32_t capacity) {
    const int32_t blocks = (capacity >> blockShift_) + ((capacity & blockMask_) ? 1 : 0);
    if (blocks > blockCount_) {
      if (blocks_) {
        tovReallocT(&blocks_, blockCount_, blocks);
      } else {
        tovMallocT(&blocks_, blocks);
        std::memset(static_cast<void*>(blocks_), 0, sizeof(T*) * static_cast<size_t>(blocks));
      }
    }
    // The old last block may have held a remainder only.
    const int32_t oldRemainder = capacity_ & blockMask_;
    if (blockCount_ > 0 && oldRemainder) {
      const int32_t last = blockCount_ - 1;
      const int32_t size = blockSize(last, capacity);
      if (size > oldRemainder)
        tovReallocT(&blocks_[last], oldRemainder, size);
    }
    for (int32_t b = blockCount_; b < blocks; ++b) {
      const int32_t size = blockSize(b, capacity);
      tovMallocT(&blocks_[b], size);
      std::memset(static_cast<void*>(blocks_[b]), 0, sizeof(T) * static_cast<size_t>(size));
    }
    blockCount_ = std::max(blockCount_, blocks);
    capacity_ = capacity;
  }

  void release() {
    for (int32_t b = 0; b < blockCount_; ++b)
      tovFree(blocks_[b]);
    if (blocks_)
      tovFree(blocks_);
    blocks_ = nullptr;
    blockCount_ = 0;
    capacity_ = 0;
    count_ = 0;
  }

  int32_t capacity_ = 0;
  int32_t blockShift_;
  int32_t blockMask_;
  int32_t blockCount_ = 0;
  T** blocks_ = nullptr;
  int32_t count_ = 0;
};

// Stands before the first element until the first next(). value() at or past
// capacity gives a static zero value; below it, the slot as it is.
template <class T>
class IterBlockStackIter {
public:
  explicit IterBlockStackIter(const IterBlockStack<T>* stack) : stack_(stack) {}

  bool next() { return ++index_ <= stack_->count(); }
  const T& value() const {
    static const T zero{};
    if (index_ < 0 || index_ >= stack_->capacity())
      return zero;
    return stack_->at(index_);
  }
  int32_t count() const { return stack_->count(); }
  void rewind() { index_ = 0; }

private:
  const IterBlockStack<T>* stack_;
  int32_t index_ = 0;
};
