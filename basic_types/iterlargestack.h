//===- iterlargestack.h - Array counted from 1, in paged blocks -*- C++ -*-===//
//
// IterLargeStack<T> holds elements 1 .. count (slot 0 unused) in a paged
// array of the memory manager: element i lives in block i >> shift at
// position i & mask of Splitter<T> (2048 elements a block for 32-bit
// elements). A block that was never written with a non-zero value does not
// exist, and a read there gives the static zero element without allocating.
// Blocks never move, so references from ref() stay valid as the stack grows;
// clear() and pop() keep the blocks and their values. Plain values only.
// No lock.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivmmarray.h"

#include <cstdint>

template <class T>
class IterLargeStack : public KivMM::Array<T, KivMM::Splitter<T>> {
  using Base = KivMM::Array<T, KivMM::Splitter<T>>;

public:
  // Room for n elements without growth (slots 0 .. n); no block is made.
  explicit IterLargeStack(int32_t n = 0) : Base(n + 1) {}
  IterLargeStack(const IterLargeStack& other) : Base(other), count_(other.count_) {}
  IterLargeStack(IterLargeStack&& other) noexcept
      : Base(static_cast<Base&&>(other)), count_(other.count_) {
    other.count_ = 0;
  }
  IterLargeStack& operator=(const IterLargeStack& other) {
    Base::operator=(other);
    count_ = other.count_;
    return *this;
  }
  IterLargeStack& operator=(IterLargeStack&& other) noexcept {
    if (this != &other) {
      Base::operator=(static_cast<Base&&>(other));
      count_ = other.count_;
      other.count_ = 0;
    }
    return *this;
  }

  // Elements in use; Base::count() is the addressable capacity.
  int32_t count() const { return count_; }
  int32_t capacity() const { return Base::count(); }
  bool isEmpty() const { return count_ == 0; }

  // The element at i; the zero element where no block exists or i is past
  // the capacity. Nothing checks i against count.
  const T& at(int32_t i) const { return Base::get(i); }
  // Stores x at i, growing the capacity if need be; never touches count.
  void set(int32_t i, const T& x) {
    this->ensureIndex(i);
    Base::set(i, x);
  }
  // A writable reference, growing and making the block if need be.
  T& ref(int32_t i) {
    this->ensureIndex(i);
    return Base::ref(i);
  }

  void push(const T& x) {
    // x may live in a block; blocks never move, but copy it all the same
    // before the table grows.
    const T copy = x;
    set(count_ + 1, copy);
    ++count_;
  }
  // The last element, by value: its block may not exist. Stacks check
  // nothing; pop on an empty stack gives slot 0.
  T pop() { return Base::get(count_--); }
  const T& last() const { return Base::get(count_); }

  // count = 0; blocks and values stay.
  void clear() { count_ = 0; }
  // Makes room for n elements and sets count to n.
  void setCount(int32_t n) {
    this->ensureIndex(n);
    count_ = n;
  }

private:
  int32_t count_ = 0;
};

// Stands before the first element until the first next(). value() at or past
// the stored range, or in a block that does not exist, gives the static zero.
template <class T>
class IterLargeStackIter {
public:
  explicit IterLargeStackIter(const IterLargeStack<T>* stack) : stack_(stack) {}

  bool next() { return ++index_ <= stack_->count(); }
  const T& value() const { return stack_->at(index_); }
  int32_t count() const { return stack_->count(); }
  void rewind() { index_ = 0; }

private:
  const IterLargeStack<T>* stack_;
  int32_t index_ = 0;
};
