//===- kivmmarray.h - Paged arrays over the host's memory manager -*- C++ -*-===//
//
// KivMM::Array<T, S> keeps its elements in fixed-size blocks (8 or 24 KB)
// that come from the memory manager, behind a table of block pointers. A
// block that would hold only default (all-zero) values does not exist: a read
// there gives the static zero element and allocates nothing. Blocks never
// move, so a pointer or reference to an element stays valid until its block
// is freed (by resize below it, assign from a hole, or destruction).
//
// Invariants a user must know:
//  - count() is the number of addressable elements, whole blocks after any
//    resize; callers that need an exact element count keep it themselves.
//  - get(i) at or past count() (or negative) gives the default element;
//    set(i, v) must only be called for i < count() (ensureIndex first).
//  - T is a plain value whose all-zero bytes are its default value.
//  - The manager is fixed at construction: the host's IKivMManager, looked up
//    once for the process (resetServiceCaches() makes the next array look
//    again), or a process-local block source when the host has none.
//  - No lock. Readers may share an array; writers must keep to separate
//    elements of existing blocks (allocateAll() first, or split by block).
//
//===----------------------------------------------------------------------===//
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace KivMM {

class IKivMManager;

// The manager a new array takes: the host's service if there is one, else a
// process-local source that takes blocks from the guarded allocator.
IKivMManager* arrayManager();
// Tell the manager that several threads use arrays until leaveParallel().
void enterParallel();
void leaveParallel();
bool isSingleThreadOnly();

// The next element capacity for an array that must hold index `needed`:
// doubling below 4 MiB, then steps of 1/2, 1/4 and from 256 MiB 1/8 of the
// byte size, until the bytes exceed needed * elementSize. Saturates at the
// largest 32-bit count.
int32_t growCapacity(int32_t needed, int32_t capacity, int32_t elementSize);

// A splitter with 1 << Shift elements a block of Bytes bytes.
template <int32_t Shift, int32_t Bytes>
struct FixedSplitter {
  static constexpr int32_t kShift = Shift;
  static constexpr int32_t kBlockElements = int32_t{1} << Shift;
  static constexpr int32_t kMask = kBlockElements - 1;
  static constexpr int32_t kBlockBytes = Bytes;
  static constexpr int32_t block(int32_t i) { return i >> kShift; }
  static constexpr int32_t position(int32_t i) { return i & kMask; }
};

namespace detail {

constexpr int32_t floorLog2(int64_t n) {
  int32_t shift = 0;
  while ((int64_t{2} << shift) <= n)
    ++shift;
  return shift;
}

// Element sizes of three times a power of two (24-byte vectors) fill a block
// of 24 KB exactly; all others take 8 KB. The element count is the largest
// power of two that fits, so that no division appears on the access path.
template <class T>
constexpr int32_t targetBlockBytes() {
  return sizeof(T) % 3 == 0 ? 24576 : 8192;
}

template <class T>
constexpr int32_t splitShift() {
  return floorLog2(targetBlockBytes<T>() / static_cast<int64_t>(sizeof(T)));
}

template <size_t N>
struct ZeroBytes {
  unsigned char bytes[N] = {};
};

} // namespace detail

// The usual splitter: 2048 ints or words (8 KB), 1024 doubles (8 KB), 1024
// vectors of three doubles (24 KB).
template <class T>
struct Splitter
    : FixedSplitter<detail::splitShift<T>(),
                    static_cast<int32_t>((int64_t{1} << detail::splitShift<T>()) * sizeof(T))> {
  static_assert(sizeof(T) <= 24576, "element larger than a block");
};

// The words of the bit vectors: 2048 32-bit words a block.
struct BitVectorSplitter : FixedSplitter<11, 8192> {};

// The untyped part: the table of blocks and their life.
class ArrayBase {
public:
  // count elements addressable; the table gets ceil(count / blockElements)
  // null entries. No block is made.
  ArrayBase(int32_t count, int32_t elementSize, int32_t blockElements, int32_t blockBytes);
  virtual ~ArrayBase();
  ArrayBase(const ArrayBase&) = delete;
  ArrayBase& operator=(const ArrayBase&) = delete;

  int32_t count() const { return count_; }
  int32_t elementSize() const { return elementSize_; }
  int32_t blockElements() const { return blockElements_; }
  int32_t blockBytes() const { return blockBytes_; }
  int32_t tableSize() const { return tableSize_; }
  IKivMManager* manager() const { return manager_; }

  int32_t blocksFor(int32_t n) const;
  int32_t blockCount() const { return blocksFor(count_); }
  // The block b, or null if it does not exist.
  const void* blockAt(int32_t b) const { return b >= 0 && b < tableSize_ ? table_[b] : nullptr; }
  // Blocks that exist.
  int32_t allocatedBlocks() const;

  // tableSize = blockCount(); count rounded up to whole blocks.
  void setCount();
  // Sets count to newCount rounded up to whole blocks and frees the blocks
  // past it. With clearNew, elements that become addressable in the old last
  // block are cleared.
  void resize(int32_t newCount, bool clearNew);
  // Makes index i addressable, growing as growCapacity says.
  void ensureIndex(int32_t i) {
    if (i >= count_)
      resize(growCapacity(i, count_, elementSize_), true);
  }
  // Becomes a copy of `other` over newCount elements: the other's holes
  // become holes here (freeing what was there), its blocks are copied.
  void assign(const ArrayBase& other, int32_t newCount);
  // Zeroes elements [from, to) in the blocks that exist; makes none.
  void clearRange(int32_t from, int32_t to);
  // Makes every missing block below blockCount(); without `clear` their
  // contents are whatever the manager gives.
  void allocateAll(bool clear);
  bool isFullyAllocated() const;
  // Exchanges the tables (not count); both arrays must use one manager.
  void swapTables(ArrayBase& other);

protected:
  // The table with n entries in use; new entries are null.
  void setTableSize(int32_t n);
  // Makes block b (which must be missing and within the table).
  void* makeBlock(int32_t b, bool clear);
  void freeBlocksFrom(int32_t b);
  void swapAll(ArrayBase& other) noexcept;

  IKivMManager* manager_;
  int32_t count_;
  int32_t elementSize_;
  int32_t blockElements_;
  int32_t blockBytes_;
  void** table_ = nullptr;
  int32_t tableSize_ = 0;
  int32_t tableCapacity_ = 0;
};

template <class T, class S = Splitter<T>>
class Array : public ArrayBase {
  static_assert(std::is_trivially_copyable_v<T>, "blocks hold plain values");
  static_assert(S::kBlockElements * static_cast<int64_t>(sizeof(T)) <= S::kBlockBytes,
                "the splitter's block is too small for its elements");

public:
  explicit Array(int32_t count = 0)
      : ArrayBase(count, static_cast<int32_t>(sizeof(T)), S::kBlockElements, S::kBlockBytes) {}
  Array(const Array& other) : Array(0) { assign(other, other.count()); }
  Array(Array&& other) noexcept : Array(0) { swapAll(other); }
  Array& operator=(const Array& other) {
    if (this != &other)
      assign(other, other.count());
    return *this;
  }
  Array& operator=(Array&& other) noexcept {
    if (this != &other)
      swapAll(other);
    return *this;
  }

  // The one default element of this instance: all zero bytes, as a missing
  // block reads, whatever T's constructor would say; never written.
  static const T& defaultElement() {
    static const T zero = std::bit_cast<T>(detail::ZeroBytes<sizeof(T)>{});
    return zero;
  }
  // Compared by bytes, so that -0.0 is not taken for the default.
  static bool isDefault(const T& value) {
    static constexpr detail::ZeroBytes<sizeof(T)> kZero{};
    return std::memcmp(&value, &kZero, sizeof(T)) == 0;
  }

  // The element, or the default element where there is none.
  const T& get(int32_t i) const {
    if (static_cast<uint32_t>(i) >= static_cast<uint32_t>(count_))
      return defaultElement();
    const int32_t b = S::block(i);
    if (b >= tableSize_)
      return defaultElement();
    const T* block = static_cast<const T*>(table_[b]);
    if (!block)
      return defaultElement();
    return block[S::position(i)];
  }
  const T& operator[](int32_t i) const { return get(i); }

  // Stores value at i < count(). A default value where there is no block
  // makes none.
  void set(int32_t i, const T& value) {
    const int32_t b = S::block(i);
    if (b >= tableSize_)
      setTableSize(b + 1);
    void* block = table_[b];
    if (!block) {
      if (isDefault(value))
        return;
      block = makeBlock(b, true);
    }
    static_cast<T*>(block)[S::position(i)] = value;
  }

  // A writable reference to the element at i < count(), making its block.
  T& ref(int32_t i) {
    const int32_t b = S::block(i);
    if (b >= tableSize_)
      setTableSize(b + 1);
    void* block = table_[b];
    if (!block)
      block = makeBlock(b, true);
    return static_cast<T*>(block)[S::position(i)];
  }
};

} // namespace KivMM
