//===- bucketmemorypool.h - Recycling pool for small buffers ----*- C++ -*-===//
//
// BucketMemoryPool keeps freed buffers on one stack per size class and hands
// the most recently freed buffer of a class out again (last in, first out).
// Size classes: every `granularity` bytes up to `linearLimit`, then doubling
// up to `poolLimit`; larger buffers bypass the pool. The standard pool has
// 4, 8192 and 262144.
//
// Invariants a user must know:
//  - Every buffer carries an 8-byte header in front of the address handed
//    out, naming the BucketMemoryAllocator that can free it; so any pool, or
//    none, can dispose of it. Buffers are 8-byte aligned.
//  - A buffer goes back with a size of its own class: the usable size that
//    allocate reported, or the size that was asked for.
//  - One lock (poolLock) serves all pools of the process; it is recursive.
//  - Pools are reference counted and live on the heap. Making a pool makes it
//    the process's current pool: it takes over the cached buffers of the one
//    before if their parameters agree, and the old one's reference is
//    dropped.
//  - The process-wide allocBuffer road starts with a local pool and looks for
//    the host's "IBucketMemoryPool" again after every 601 allocations; once
//    found, the local pool's buffers are merged into it. allocBuffer and
//    freeBuffer call the current pool's virtual allocate and release, so a
//    host's pool that overrides them is honoured.
//  - Decided, and kept: a disabled pool still rounds a size it would pool up
//    to its class, so that the buffer can be cached once pooling is on
//    again. That is safer here than the plain size: a buffer given back
//    with its class's size never reads or frees past what was allocated.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ibucketmemorypool.h"

#include <cstdint>

// The one thing a buffer's header knows: who frees it. This component's
// allocator frees through tovFree under poolLock.
class BucketMemoryAllocator {
public:
  constexpr BucketMemoryAllocator() = default;
  virtual ~BucketMemoryAllocator();
  // `raw` is the start of the allocation, where the header lies.
  virtual void free(void* raw);
};

struct BucketEntry {
  int32_t size;  // usable size of the class
  void* block;   // the address behind the header
};

// Entries are used from index 1 to top; capacity counts slot 0.
struct BucketStack {
  int32_t capacity;
  BucketEntry* entries;
  int32_t top;
};

class BucketMemoryPool : public virtual IBucketMemoryPool {
public:
  static constexpr int32_t kStandardGranularity = 4;
  static constexpr int32_t kStandardLinearLimit = 8192;
  static constexpr int32_t kStandardPoolLimit = 0x40000;

  BucketMemoryPool(int32_t granularity = kStandardGranularity,
                   int32_t linearLimit = kStandardLinearLimit,
                   int32_t poolLimit = kStandardPoolLimit);
  ~BucketMemoryPool() override;
  BucketMemoryPool(const BucketMemoryPool&) = delete;
  BucketMemoryPool& operator=(const BucketMemoryPool&) = delete;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "BucketMemoryPool"; }

  bool clear() override;
  void* allocate(int32_t size, int32_t* actualSize) override;
  bool release(int32_t size, void** block) override;
  void setEnabled(bool flag) override;
  using IBucketMemoryPool::release;

  // The class of `size`; *rounded gets the class's usable size.
  int32_t bucketFor(int32_t size, int32_t* rounded) const;
  bool isEnabled() const;
  int32_t bucketCount() const;
  // Buffers cached in class `bucket`.
  int32_t cachedIn(int32_t bucket) const;
  // Joins this pool to `target`: every cached buffer moves there, stacks
  // whole where the target has none. Pools with other size classes cannot
  // share buffers; their buffers are freed instead.
  void mergeInto(BucketMemoryPool& target);

  // The work of allocate and release for a caller that holds poolLock.
  // releaseLocked gives false, and keeps nothing, for a size past the
  // pool's limit: the caller then frees the buffer through its header.
  void* allocateLocked(int32_t size, int32_t* actualSize);
  bool releaseLocked(int32_t size, void* block);

private:
  bool sameClassesAs(const BucketMemoryPool& other) const;
  void ensureBuckets(int32_t count);
  void push(int32_t bucket, int32_t size, void* block);
  // The stack of `bucket` with room for one more entry, made or grown.
  [[gnu::noinline]] BucketStack* makeRoom(int32_t bucket);
  void freeStack(BucketStack* stack);

  int32_t bucketCount_ = 0;
  BucketStack** buckets_ = nullptr;
  int32_t granularity_;
  int32_t linearLimit_;
  int32_t poolLimit_;
  int32_t granularityShift_; // log2(granularity), or -1 if not a power of two
};

// A buffer from the current pool; creates or finds the pool on first use.
void* bucketAllocBuffer(int32_t size, int32_t* actualSize);
// Back to the current pool; with none, through the buffer's header.
// Nothing happens if size or block is 0.
void bucketFreeBuffer(int32_t size, void* block);
// Frees a buffer of any pool through the allocator its header names.
void freeThroughHeader(void* block);

// True if the current pool is the host's, looking the service up if it is not.
bool connectPool();
// The current pool, made (as a local pool) if there is none. No reference.
// Null only on a thread that is itself making the first pool.
BucketMemoryPool* getPool();
// Clears the current pool, drops its reference and leaves none current.
void shutdownPool();
