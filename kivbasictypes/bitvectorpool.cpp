//===- bitvectorpool.cpp - Scratch bit vectors, index stacks, int arrays --===//
#include "kivbasictypes/bitvectorpool.h"

#include "kivbasictypes/bitvector.h"
#include "kivbasictypes/quicksort.h"

#include <cstdlib>

BitVectorPool::BitVectorPool() : stack_(9) {}

BitVectorPool::~BitVectorPool() { trimPool(0); }

BitVector* BitVectorPool::pop() {
  std::lock_guard<std::mutex> lock(mutex_);
  return stack_.isEmpty() ? nullptr : stack_.pop();
}

BitVector* BitVectorPool::takeBitVector() {
  BitVector* bits = pop();
  return bits ? bits : new BitVector(10);
}

BitVector* BitVectorPool::takeBitVector(int32_t n) {
  BitVector* bits = takeBitVector();
  const int64_t last = bits->lastBit();
  if (last < n || last > int64_t{n} * 2)
    bits->resize(n);
  return bits;
}

BitVector* BitVectorPool::takeBitVector(const BitVector& other) {
  BitVector* bits = pop();
  if (!bits)
    return new BitVector(other);
  const int64_t twice = int64_t{other.lastBit()} * 2;
  if (bits->lastBit() > twice)
    bits->resize(static_cast<int32_t>(twice));
  bits->assign(other);
  return bits;
}

BitVector* BitVectorPool::takeBitVector(const IterStack<int32_t>& list) {
  BitVector* bits = takeBitVector();
  for (int32_t k = 1; k <= list.count(); ++k)
    if (list.at(k) >= 0)
      bits->set(list.at(k));
  return bits;
}

void BitVectorPool::giveBitVector(BitVector** bits) {
  if (!bits || !*bits)
    return;
  (*bits)->clear();
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stack_.push(*bits);
  }
  *bits = nullptr;
}

void BitVectorPool::trimPool(int32_t n) {
  std::lock_guard<std::mutex> lock(mutex_);
  while (stack_.count() > n && stack_.count() > 0)
    delete stack_.pop();
}

int32_t BitVectorPool::pooled() {
  std::lock_guard<std::mutex> lock(mutex_);
  return stack_.count();
}

BitVectorPool& BitVectorPool::defaultPool() {
  // Never destroyed: vectors may come back from static objects at exit.
  static auto* pool = new BitVectorPool;
  return *pool;
}

BitVector* takeBitVector() { return BitVectorPool::defaultPool().takeBitVector(); }
BitVector* takeBitVector(int32_t n) { return BitVectorPool::defaultPool().takeBitVector(n); }
BitVector* takeBitVector(const BitVector& other) {
  return BitVectorPool::defaultPool().takeBitVector(other);
}
BitVector* takeBitVector(const IterStack<int32_t>& list) {
  return BitVectorPool::defaultPool().takeBitVector(list);
}
void giveBitVector(BitVector** bits) { BitVectorPool::defaultPool().giveBitVector(bits); }
void trimPool(int32_t n) { BitVectorPool::defaultPool().trimPool(n); }

// ---- index stacks and integer arrays ----------------------------------------

namespace {

struct SharedPools {
  std::mutex mutex;
  IterStack<IndexStack*> indexStacks{3};
  IterStack<IterStack<int32_t>*> intArrays;
};

SharedPools& shared() {
  static auto* pools = new SharedPools;
  return *pools;
}

} // namespace

IndexStack* takeIndexStack() {
  SharedPools& p = shared();
  {
    std::lock_guard<std::mutex> lock(p.mutex);
    if (!p.indexStacks.isEmpty())
      return p.indexStacks.pop();
  }
  return new IndexStack(40);
}

void giveIndexStack(IndexStack** stack) {
  if (!stack || !*stack)
    return;
  (*stack)->clear();
  SharedPools& p = shared();
  {
    std::lock_guard<std::mutex> lock(p.mutex);
    p.indexStacks.push(*stack);
  }
  *stack = nullptr;
}

IterStack<int32_t>* takeIntArray(int32_t size) {
  SharedPools& p = shared();
  std::lock_guard<std::mutex> lock(p.mutex);
  const int32_t n = p.intArrays.count();
  if (n == 0)
    return new IterStack<int32_t>(40);
  int32_t best = n;
  int64_t bestDistance = INT64_MAX;
  for (int32_t k = n; k >= 1 && k > n - 20; --k) {
    const int64_t distance = std::llabs(int64_t{p.intArrays.at(k)->capacity()} - (int64_t{size} + 1));
    if (distance < bestDistance) {
      best = k;
      bestDistance = distance;
      if (distance == 0)
        break;
    }
  }
  IterStack<int32_t>* array = p.intArrays.at(best);
  p.intArrays.at(best) = p.intArrays.at(n);
  p.intArrays.setCount(n - 1);
  return array;
}

void giveIntArray(IterStack<int32_t>** array) {
  if (!array || !*array)
    return;
  (*array)->clear();
  SharedPools& p = shared();
  {
    std::lock_guard<std::mutex> lock(p.mutex);
    p.intArrays.push(*array);
  }
  *array = nullptr;
}

// ---- lease ------------------------------------------------------------------

BitVectorLease::~BitVectorLease() {
  for (int32_t k = 1; k <= taken_.count(); ++k)
    pool_.giveBitVector(&taken_.at(k));
}

BitVector* BitVectorLease::take(int32_t n) {
  BitVector* bits = pool_.takeBitVector(n);
  taken_.push(bits);
  return bits;
}

BitVector* BitVectorLease::take(const BitVector& other) {
  BitVector* bits = pool_.takeBitVector(other);
  taken_.push(bits);
  return bits;
}
