//===- blockbitvector.h - Bit sets in blocks of 32768 bits ------*- C++ -*-===//
//
// BlockBitVector keeps bit i in block i >> 15, word (i >> 5) & 0x3ff, bit
// i & 31. A block that is all clear or all set holds no memory: its pointer is
// null and its count is 0 or 32768. A block with memory counts its own words
// (count -1 until counted). Freed blocks go to a process-wide pool of at most
// 512 blocks.
//
// Invariants a user must know:
//  - lastBlock() + 1 entries; lastBit() is (lastBlock() + 1) * 32768 - 1.
//  - A uniform block is made only when a bit in it must change; a block that
//    becomes uniform by single-bit changes keeps its memory until read() or
//    normalise().
//  - One thread at a time per vector; the block pool is thread-safe.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/bitvector.h"

#include <cstdint>
#include <vector>

class BlockBitVector : public KivObject {
public:
  static constexpr int32_t kBlockWords = 1024;
  static constexpr int32_t kBlockBits = 32768;

  explicit BlockBitVector(int32_t n = 0);
  BlockBitVector(const BlockBitVector& other);
  BlockBitVector(BlockBitVector&& other) noexcept;
  // Each run of 1024 words becomes a block; counts stay unknown.
  explicit BlockBitVector(const BitVector& other);
  ~BlockBitVector() override;
  BlockBitVector& operator=(const BlockBitVector& other);
  BlockBitVector& operator=(BlockBitVector&& other) noexcept;

  bool get(int32_t i) const;
  void set(int32_t i);
  void clear(int32_t i);
  void set(int32_t i, bool on) { on ? set(i) : clear(i); }
  // Every block given back; the table keeps its length.
  void clear();
  bool setRange(int32_t from, int32_t to);
  bool clearRange(int32_t from, int32_t to);
  int32_t nextSet(int32_t i) const;
  int32_t prevSet(int32_t i) const;
  uint32_t numberSet() const;
  bool equals(const BlockBitVector& other) const;
  bool equals(const BitVector& other) const;
  void swap(BlockBitVector& other) noexcept;

  BlockBitVector& operator&=(const BlockBitVector& other);
  BlockBitVector& operator|=(const BlockBitVector& other);
  BlockBitVector& operator^=(const BlockBitVector& other);
  void subtract(const BlockBitVector& other);
  BlockBitVector& operator&=(const BitVector& other);
  BlockBitVector& operator|=(const BitVector& other);
  BlockBitVector& operator^=(const BitVector& other);
  void subtract(const BitVector& other);
  void renumber(const IntMMArray& map);

  bool read(BinInput& in);
  bool write(BinOutput& out) const;
  // Uniform blocks give their memory back; the table is cut after the last
  // block with a set bit (one entry at least).
  void normalise();

  int32_t lastBlock() const { return lastBlock_; }
  int32_t lastBit() const { return static_cast<int32_t>(int64_t{lastBlock_ + 1} * kBlockBits - 1); }
  int32_t wordCount() const { return (lastBlock_ + 1) * kBlockWords; }
  uint32_t word(int32_t w) const;
  bool knownEmpty() const { return numSet_ == 0; }
  int32_t lastNonZeroWord() const;
  // Blocks that hold memory.
  int32_t allocatedBlocks() const;

  enum class Op { And, Or, Xor, AndNot };
  // What the right side of a whole-set operation holds over one block.
  struct View;

private:
  void growTo(int32_t block);
  void cutTo(int32_t block);
  void makeUniform(int32_t b, int32_t count);
  uint32_t* materialise(int32_t b);
  bool fillRange(int32_t from, int32_t to, bool on);
  int32_t blockCount(int32_t b) const;
  void applyBlock(int32_t b, Op op, const View& view);
  template <class Other>
  void combine(const Other& other, Op op);
  void freeBlocks();
  void copyFrom(const BlockBitVector& other);

  std::vector<uint32_t*> blocks_;
  mutable std::vector<int32_t> counts_;
  int32_t lastBlock_ = 0;
  mutable int32_t numSet_ = 0;
};

// The process-wide block pool (at most 512 free blocks, one mutex).
// takeBlock(n): a block whose first n words are all ones and the rest zero.
uint32_t* takeBlock(int32_t n);
// A block with the first n words copied and the rest zero.
uint32_t* takeBlockFrom(const uint32_t* words, int32_t n);
uint32_t* takeBlockFromArray(const BitWords& array, int32_t first, int32_t n);
void giveBlock(uint32_t* block);
void releaseBlockPool();
// Free blocks held by the pool now.
int32_t blockPoolSize();
