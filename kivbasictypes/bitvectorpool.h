//===- bitvectorpool.h - Scratch bit vectors, index stacks, int arrays -*- C++ -*-===//
//
// Sorts and permutations borrow their scratch objects here instead of
// allocating each time. A BitVectorPool keeps given-back vectors (cleared) on
// a stack behind a mutex of its own; the process has one, defaultPool(). The
// index stacks of quickSort and the integer arrays share one further mutex.
// Each operation holds a mutex for the stack work only; copies made after
// taking run outside it. Pools live to the end of the process.
//
// Taken objects belong to the caller until given back; give* nulls the
// caller's pointer. BitVectorLease gives back everything it took when it
// goes out of scope.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"

#include <cstdint>
#include <mutex>

class BitVector;

class BitVectorPool {
public:
  BitVectorPool();
  ~BitVectorPool();
  BitVectorPool(const BitVectorPool&) = delete;
  BitVectorPool& operator=(const BitVectorPool&) = delete;

  // A vector from the pool, or a new BitVector(10).
  BitVector* takeBitVector();
  // As above, resized to n unless its lastBit lies between n and 2n.
  BitVector* takeBitVector(int32_t n);
  // A copy of `other`: a pooled vector cut to twice the size of `other` if it
  // is larger, then assigned; with none pooled a fresh copy.
  BitVector* takeBitVector(const BitVector& other);
  // A vector with the listed bits (entries 1..count) set.
  BitVector* takeBitVector(const IterStack<int32_t>& list);
  // Clears the vector and keeps it; nulls the pointer.
  void giveBitVector(BitVector** bits);
  // Deletes pooled vectors until n are left.
  void trimPool(int32_t n);
  int32_t pooled();

  static BitVectorPool& defaultPool();

private:
  BitVector* pop();

  std::mutex mutex_;
  IterStack<BitVector*> stack_;
};

BitVector* takeBitVector();
BitVector* takeBitVector(int32_t n);
BitVector* takeBitVector(const BitVector& other);
BitVector* takeBitVector(const IterStack<int32_t>& list);
void giveBitVector(BitVector** bits);
void trimPool(int32_t n);

// Of the last 20 pooled arrays, the one whose capacity is closest to size + 1
// (an exact match ends the search); a new one with room for 40 entries if
// the pool is empty. The array comes back empty.
IterStack<int32_t>* takeIntArray(int32_t size);
void giveIntArray(IterStack<int32_t>** array);

// Holds vectors taken from one pool and gives them all back, cleared, when it
// goes.
class BitVectorLease {
public:
  explicit BitVectorLease(BitVectorPool& pool = BitVectorPool::defaultPool()) : pool_(pool) {}
  ~BitVectorLease();
  BitVectorLease(const BitVectorLease&) = delete;
  BitVectorLease& operator=(const BitVectorLease&) = delete;

  BitVector* take(int32_t n);
  BitVector* take(const BitVector& other);

private:
  BitVectorPool& pool_;
  IterStack<BitVector*> taken_;
};
