//===- kivmmarray.cpp - Paged arrays over the host's memory manager -------===//
#include "kivbasictypes/kivmmarray.h"

#include "core/classwalk.h"
#include "core/kivassert.h"
#include "core/servicecache.h"
#include "kivbasictypes/ikivmmanager.h"
#include "kivbasictypes/tovrealloc.h"

#include <algorithm>
#include <atomic>
#include <climits>

namespace KivMM {
namespace {

constexpr const char* kSourcePath = "kivbasictypes/kivmmarray";
constexpr long long kPageBytes = 24 * 1024;

// The arrays need a block source for every element that is not the default.
// A host that publishes no IKivMManager (unit tests, tools) gets this one
// instead of a crash: blocks from the guarded allocator, with a header that
// remembers their size, nothing cached and so nothing to release, figures in
// pages of 24 KB counted from the blocks. It is never registered with the
// host and never destroyed, so that arrays in static objects can still give
// their blocks back at exit.
class LocalBlockSource final : public IKivMManager {
public:
  void queryInterface(const char* name, void** out) override {
    if (!name) {
      KivClassWalk* walk = kivWalkOf(out);
      kivWalkClass(walk, "LocalBlockSource");
      kivWalkEnd(walk);
      kivWalkInterface(walk, "IKivMManager");
      return;
    }
    *out = nullptr;
    if (!kivAnswer(name, "IKivMManager", static_cast<IKivMManager*>(this), out))
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
  }
  const char* className() const override { return "LocalBlockSource"; }

  void* allocBlock(size_t bytes, bool clear) override {
    void* raw = nullptr;
    tovMalloc(&raw, 1, static_cast<int32_t>(bytes + kHeader));
    std::memcpy(raw, &bytes, sizeof bytes);
    char* block = static_cast<char*>(raw) + kHeader;
    if (clear)
      std::memset(block, 0, bytes);
    blocks_.fetch_add(1, std::memory_order_relaxed);
    bytes_.fetch_add(static_cast<long long>(bytes), std::memory_order_relaxed);
    return block;
  }
  void freeBlock(void* block) override {
    if (!block)
      return;
    char* raw = static_cast<char*>(block) - kHeader;
    size_t bytes = 0;
    std::memcpy(&bytes, raw, sizeof bytes);
    blocks_.fetch_sub(1, std::memory_order_relaxed);
    bytes_.fetch_sub(static_cast<long long>(bytes), std::memory_order_relaxed);
    tovFree(raw);
  }
  size_t blockCount() override { return blocks_.load(std::memory_order_relaxed); }
  bool releaseMemory() override { return false; }
  void enterParallel() override {}
  void leaveParallel() override {}
  bool isSingleThreadOnly() override { return false; }
  long long getCoreLimit() override { return LLONG_MAX / kPageBytes; }
  long long getSwapLimit() override { return 0; }
  long long getSwapNow() override { return 0; }
  long long getCoreNow() override {
    return (bytes_.load(std::memory_order_relaxed) + kPageBytes - 1) / kPageBytes;
  }

private:
  // Keeps the blocks 16-byte aligned, as the plain allocator gives them.
  static constexpr size_t kHeader = 16;

  std::atomic<size_t> blocks_{0};
  std::atomic<long long> bytes_{0};
};

IKivMManager* hostManager() {
  // Never destroyed: arrays in static objects may still need it at exit.
  static auto* manager = new CachedService<IKivMManager>("IKivMManager");
  return manager->get();
}

LocalBlockSource& localSource() {
  static auto* source = new LocalBlockSource;
  return *source;
}

int32_t clampCount(int64_t n) { return static_cast<int32_t>(std::min<int64_t>(n, INT32_MAX)); }

} // namespace

IKivMManager* arrayManager() {
  if (IKivMManager* manager = hostManager())
    return manager;
  return &localSource();
}

void enterParallel() { arrayManager()->enterParallel(); }
void leaveParallel() { arrayManager()->leaveParallel(); }
bool isSingleThreadOnly() { return arrayManager()->isSingleThreadOnly(); }

int32_t growCapacity(int32_t needed, int32_t capacity, int32_t elementSize) {
  const int64_t size = std::max(elementSize, 1);
  int64_t c = std::max(capacity, 1) * size;
  const int64_t n = std::max(needed, 0) * size;
  while (n >= c) {
    if (c < 0x400000)
      c += c;
    else if (c < 0x2000000)
      c += c / 2;
    else if (c < 0x10000000)
      c += c / 4;
    else
      c += c / 8;
  }
  return clampCount(c / size);
}

ArrayBase::ArrayBase(int32_t count, int32_t elementSize, int32_t blockElements,
                     int32_t blockBytes)
    : manager_(arrayManager()), count_(std::max(count, 0)), elementSize_(elementSize),
      blockElements_(blockElements), blockBytes_(blockBytes) {
  tableSize_ = blocksFor(count_);
  tableCapacity_ = std::max(1, tableSize_);
  tovMallocT(&table_, tableCapacity_);
  std::fill(table_, table_ + tableCapacity_, nullptr);
}

ArrayBase::~ArrayBase() {
  for (int32_t b = tableSize_ - 1; b >= 0; --b)
    if (table_[b])
      manager_->freeBlock(table_[b]);
  tovFree(table_);
}

int32_t ArrayBase::blocksFor(int32_t n) const {
  if (n <= 0)
    return 0;
  return static_cast<int32_t>((static_cast<int64_t>(n) + blockElements_ - 1) / blockElements_);
}

int32_t ArrayBase::allocatedBlocks() const {
  return static_cast<int32_t>(std::count_if(table_, table_ + tableSize_,
                                            [](void* block) { return block != nullptr; }));
}

void ArrayBase::setCount() {
  const int32_t blocks = blockCount();
  freeBlocksFrom(blocks);
  setTableSize(blocks);
  count_ = clampCount(static_cast<int64_t>(blocks) * blockElements_);
}

void ArrayBase::setTableSize(int32_t n) {
  // Entries at and past tableSize_ are null at all times (freeBlocksFrom sees
  // to it), so growing within the capacity only moves the mark.
  if (n <= tableCapacity_) {
    tableSize_ = n;
    return;
  }
  int32_t c = tableCapacity_;
  while (c < n)
    c += c < 3 ? 1 : static_cast<int32_t>(0.4 * c);
  const int32_t got = tovReallocT(&table_, tableCapacity_, c, static_cast<uint32_t>(c));
  // The guarded realloc clears the new part; that is the nulling.
  tableCapacity_ = got;
  tableSize_ = n;
}

void* ArrayBase::makeBlock(int32_t b, bool clear) {
  void* block = manager_->allocBlock(static_cast<size_t>(blockBytes_), clear);
  // A manager is to give a block or not return. One that gives null anyway
  // is asked to give memory back while that helps, and then the process
  // stops as for any failed allocation: callers never test the result.
  while (!block) {
    if (!manager_->releaseMemory())
      tovOutOfMemory(blockBytes_);
    block = manager_->allocBlock(static_cast<size_t>(blockBytes_), clear);
  }
  table_[b] = block;
  return block;
}

void ArrayBase::freeBlocksFrom(int32_t b) {
  for (int32_t i = tableSize_ - 1; i >= b; --i) {
    if (table_[i]) {
      manager_->freeBlock(table_[i]);
      table_[i] = nullptr;
    }
  }
}

void ArrayBase::resize(int32_t newCount, bool clearNew) {
  newCount = std::max(newCount, 0);
  const int32_t nb = blocksFor(newCount);
  const int32_t oldCount = count_;
  const int32_t ob = blockCount();
  freeBlocksFrom(nb);
  if (nb != tableSize_)
    setTableSize(nb);
  count_ = clampCount(static_cast<int64_t>(nb) * blockElements_);
  if (oldCount == 0 || !clearNew || ob < 1 || newCount <= oldCount)
    return;
  // Only an array built with a count inside a block has such a tail: after
  // any resize count is whole blocks.
  const int32_t r = oldCount % blockElements_;
  if (r == 0 || ob - 1 >= tableSize_ || !table_[ob - 1])
    return;
  const int32_t cleared = std::min(blockElements_ - r, newCount - oldCount);
  std::memset(static_cast<char*>(table_[ob - 1]) + static_cast<size_t>(r) * elementSize_, 0,
              static_cast<size_t>(cleared) * elementSize_);
}

void ArrayBase::assign(const ArrayBase& other, int32_t newCount) {
  KIV_ASSERT(other.elementSize_ == elementSize_ && other.blockElements_ == blockElements_,
             kSourcePath);
  resize(newCount, false);
  if (&other == this)
    return;
  const size_t bytes = static_cast<size_t>(elementSize_) * blockElements_;
  for (int32_t b = 0; b < tableSize_; ++b) {
    if (const void* source = other.blockAt(b)) {
      void* block = table_[b] ? table_[b] : makeBlock(b, false);
      std::memcpy(block, source, bytes);
    } else if (table_[b]) {
      manager_->freeBlock(table_[b]);
      table_[b] = nullptr;
    }
  }
}

void ArrayBase::clearRange(int32_t from, int32_t to) {
  from = std::max(from, 0);
  to = clampCount(std::min<int64_t>(to, static_cast<int64_t>(tableSize_) * blockElements_));
  // Callers pass an earlier count, a block boundary; any start works here.
  while (from < to) {
    const int32_t b = from / blockElements_;
    const int32_t position = from % blockElements_;
    const int32_t n = std::min(blockElements_ - position, to - from);
    if (table_[b])
      std::memset(static_cast<char*>(table_[b]) + static_cast<size_t>(position) * elementSize_,
                  0, static_cast<size_t>(n) * elementSize_);
    from += n;
  }
}

void ArrayBase::allocateAll(bool clear) {
  const int32_t blocks = blockCount();
  if (tableSize_ < blocks)
    setTableSize(blocks);
  for (int32_t b = 0; b < blocks; ++b)
    if (!table_[b])
      makeBlock(b, clear);
}

bool ArrayBase::isFullyAllocated() const {
  const int32_t blocks = blockCount();
  if (tableSize_ < blocks)
    return false;
  return std::all_of(table_, table_ + blocks, [](void* block) { return block != nullptr; });
}

void ArrayBase::swapTables(ArrayBase& other) {
  KIV_ASSERT(other.manager_ == manager_, kSourcePath);
  std::swap(table_, other.table_);
  std::swap(tableSize_, other.tableSize_);
  std::swap(tableCapacity_, other.tableCapacity_);
}

void ArrayBase::swapAll(ArrayBase& other) noexcept {
  std::swap(manager_, other.manager_);
  std::swap(count_, other.count_);
  std::swap(table_, other.table_);
  std::swap(tableSize_, other.tableSize_);
  std::swap(tableCapacity_, other.tableCapacity_);
}

} // namespace KivMM
