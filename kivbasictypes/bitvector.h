//===- bitvector.h - Dense sets of non-negative integers --------*- C++ -*-===//
//
// BitVector keeps bit i in word i >> 5 at bit i & 31. While small the words
// live in one allocation (bvwords_); from 4097 words on, when the host has a
// memory manager, they live in a paged array (bvwordsLarge_), where a block of
// zero words takes no memory. Exactly one of the two is set.
//
// Invariants a user must know:
//  - lastBit() is always words * 32 - 1; a bit past it reads as clear, and
//    set() past it grows the vector (resize never loses set bits unless it
//    shrinks, and then the cached count is dropped).
//  - numSet is kept for single-bit changes and dropped (unknown) by bulk
//    ones; numberSet() counts when it is unknown and caches the answer.
//  - Negative indices are not allowed unless an operation says so.
//  - One thread at a time per vector.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"
#include "kivbasictypes/kivmmarray.h"

#include <cstdint>
#include <iosfwd>

class BinInput;
class BinMagic;
class BinOutput;
class BlockBitVector;
class IKivRandom;

using BitWords = KivMM::Array<unsigned, KivMM::BitVectorSplitter>;
// A map of ints by position (IntArray is the collection class).
using IntMMArray = KivMM::Array<int, KivMM::Splitter<int>>;

class BitVector : public KivObject {
public:
  static constexpr uint32_t kMagicWord = 0x315e97d6;
  static constexpr uint32_t kUnknown = 0xFFFFFFFFu;

  explicit BitVector(int32_t n = 10);
  BitVector(const BitVector& other);
  BitVector(BitVector&& other) noexcept;
  explicit BitVector(const BlockBitVector& other);
  ~BitVector() override;
  // Takes over lastBit, numSet and the form of `other`.
  BitVector& operator=(const BitVector& other);
  BitVector& operator=(BitVector&& other) noexcept;

  bool get(int32_t i) const {
    if (i > lastBit_ || i < 0)
      return false;
    const uint32_t w = bvwords_ ? bvwords_[i >> 5] : bvwordsLarge_->get(i >> 5);
    return (w >> (i & 31)) & 1u;
  }
  void set(int32_t i) {
    if (i > lastBit_)
      resize(i);
    if (bvwords_) {
      uint32_t& w = bvwords_[i >> 5];
      const uint32_t mask = 1u << (i & 31);
      if (!(w & mask)) {
        w |= mask;
        if (numSet_ != kUnknown)
          ++numSet_;
      }
      return;
    }
    setLarge(i);
  }
  void clear(int32_t i) {
    if (i > lastBit_ || i < 0)
      return;
    if (bvwords_) {
      uint32_t& w = bvwords_[i >> 5];
      const uint32_t mask = 1u << (i & 31);
      if (w & mask) {
        w &= ~mask;
        if (numSet_ != kUnknown)
          --numSet_;
      }
      return;
    }
    clearLarge(i);
  }
  void set(int32_t i, bool on) { on ? set(i) : clear(i); }
  void clear();

  int32_t lastBit() const { return lastBit_; }
  int32_t wordCount() const { return (lastBit_ >> 5) + 1; }
  bool isPaged() const { return bvwordsLarge_ != nullptr; }
  bool knownEmpty() const { return numSet_ == 0; }
  // Index of the last non-zero word, -1 if none.
  int32_t lastNonZeroWord() const;
  // The word w, 0 past the end.
  uint32_t word(int32_t w) const;
  // Stores word w < wordCount(); zero into a missing paged block makes none.
  void setWord(int32_t w, uint32_t value);

  void resize(int32_t n);
  void setAll(int32_t n);
  void setAll();
  bool setRange(int32_t from, int32_t to);
  bool clearRange(int32_t from, int32_t to);
  void flipAll();
  void complement(int32_t n);

  int32_t nextSet(int32_t i) const;
  int32_t nextClear(int32_t i) const;
  int32_t prevSet(int32_t i) const;
  int32_t prevClear(int32_t i) const;
  uint32_t numberSet() const;
  // The cached count, kUnknown when not known.
  uint32_t cachedCount() const { return numSet_; }
  int32_t countSetFrom(int32_t i) const;
  int32_t countSetBelow(int32_t i) const;

  bool equals(const BitVector& other) const;
  BitVector& operator&=(const BitVector& other);
  BitVector& operator|=(const BitVector& other);
  BitVector& operator^=(const BitVector& other);
  void subtract(const BitVector& other);
  BitVector& operator&=(const BlockBitVector& other);
  BitVector& operator|=(const BlockBitVector& other);
  BitVector& operator^=(const BlockBitVector& other);
  void subtract(const BlockBitVector& other);
  void assign(const BitVector& other);
  bool isDisjoint(const BitVector& other) const;
  bool isSubsetOf(const BitVector& other) const;
  void swap(BitVector& other) noexcept;

  void reduceTo(int32_t n);
  void thinRandomly(double fraction, IKivRandom* random);
  void split(int32_t parts, int32_t* firsts, int32_t* counts) const;
  void compress(const BitVector& mask);
  void compressComplement(const BitVector& mask);
  void renumber(const IntMMArray& map);
  void permute(const IntMMArray& order);
  void shiftUp(int32_t n);

  void assignMapped(const BitVector& other, const IntMMArray& map);
  void assignMapped(const BlockBitVector& other, const IntMMArray& map);
  void andMapped(const BitVector& other, const IntMMArray& map);
  void orMapped(const BitVector& other, const IntMMArray& map);
  void subtractMapped(const BitVector& other, const IntMMArray& map);
  void xorMapped(const BitVector& other, const IntMMArray& map);
  void flipMapped(const IntMMArray& map);

  void print(std::ostream& os) const;
  void print() const;
  bool read(BinInput& in);
  bool write(BinOutput& out) const;
  bool isAllocated() const;
  static bool isBitVectorMagic(uint32_t word) { return word == kMagicWord; }

  // The empty vector BitVector(10) shared by readers; never written.
  static const BitVector& empty();

private:
  void setLarge(int32_t i);
  void clearLarge(int32_t i);
  // Frees both forms and leaves one zero word (lastBit 31, numSet 0).
  void resetToOneWord();
  void freeStorage();
  void copyStorageFrom(const BitVector& other);
  template <class Walk>
  void walkMap(const IntMMArray& map, Walk walk) const;
  void flipRange(int32_t from, int32_t to);

  uint32_t* bvwords_ = nullptr;
  BitWords* bvwordsLarge_ = nullptr;
  BinMagic* magic_ = nullptr;
  int32_t lastBit_ = 31;
  mutable uint32_t numSet_ = 0;
};

// Number of set bits in n words; hardware popcount where the CPU has it.
uint64_t countWordBits(const uint32_t* words, int64_t n);
// Number of set bits in one word by the byte rule (0 adds 0, all ones 32).
int32_t countWordBitsByBytes(uint32_t word);
// True if this process counts with the processor's popcount instruction.
bool hardwarePopcount();
