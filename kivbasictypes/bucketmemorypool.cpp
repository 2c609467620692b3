//===- bucketmemorypool.cpp - Recycling pool for small buffers ------------===//
#include "kivbasictypes/bucketmemorypool.h"

#include "core/classwalk.h"
#include "core/lookup.h"
#include "kivbasictypes/tovrealloc.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

constexpr int32_t kHeaderBytes = 8;
static_assert(sizeof(BucketMemoryAllocator*) <= kHeaderBytes, "the header holds a pointer");
constexpr int32_t kFirstStackCapacity = 9;
// A local pool looks for the host's pool again when this many allocations
// have passed since the last look.
constexpr int32_t kAllocationsBetweenLookups = 600;

// An identity of the calling thread that costs no call.
inline const void* threadTag() {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__aarch64__))
  return __builtin_thread_pointer();
#else
  static thread_local char tag;
  return &tag;
#endif
}

inline void cpuRelax() {
#if defined(__GNUC__) && defined(__x86_64__)
  __builtin_ia32_pause();
#endif
}

// poolLock: a recursive lock that costs one atomic exchange to take and a
// plain store to give back, since every small buffer of the process passes
// it twice. Held only for a few dozen instructions, except while a pool is
// cleared or merged; a waiter spins briefly and then yields its time slice.
// Constant-initialised, so it exists before the first static constructor
// asks for a string and needs no one-time set-up.
class PoolLock {
public:
  constexpr PoolLock() = default;

  void lock() {
    const void* self = threadTag();
    // Only this thread can have stored its own tag here.
    if (owner_.load(std::memory_order_relaxed) == self) {
      ++depth_;
      return;
    }
    if (state_.exchange(1, std::memory_order_acquire) != 0)
      waitForLock();
    owner_.store(self, std::memory_order_relaxed);
    depth_ = 1;
  }

  void unlock() {
    if (--depth_ > 0)
      return;
    owner_.store(nullptr, std::memory_order_relaxed);
    state_.store(0, std::memory_order_release);
  }

private:
  void waitForLock() {
    for (int spins = 0;; ++spins) {
      if (state_.load(std::memory_order_relaxed) == 0 &&
          state_.exchange(1, std::memory_order_acquire) == 0)
        return;
      if (spins < 100)
        cpuRelax();
      else
        std::this_thread::yield();
    }
  }

  std::atomic<int> state_{0};
  std::atomic<const void*> owner_{nullptr};
  int depth_ = 0; // written by the owner only
};

constinit PoolLock gPoolLock;

class PoolGuard {
public:
  PoolGuard() { gPoolLock.lock(); }
  ~PoolGuard() { gPoolLock.unlock(); }
  PoolGuard(const PoolGuard&) = delete;
  PoolGuard& operator=(const PoolGuard&) = delete;
};

// The allocator that every header of this component names. It must outlive
// every buffer, including those that static objects give back at exit, so it
// sits in a union that never destroys it.
union AllocatorHolder {
  constexpr AllocatorHolder() : allocator() {}
  ~AllocatorHolder() {}
  BucketMemoryAllocator allocator;
};
constinit AllocatorHolder gAllocatorHolder;

// The process-wide state. gCurrent holds one reference. All of it changes
// only under poolLock; allocBuffer and freeBuffer read it under the lock they
// take anyway, so that a pool cannot be dropped between the read and its use.
constinit BucketMemoryPool* gCurrent = nullptr;
constinit bool gPoolIsLocal = false;
constinit int32_t gAllocationsSinceLookup = 0;

// Out of line: the first buffer of a class and large ones only; the hot
// paths below are flattened and must not carry these.
[[gnu::noinline]] void* allocatePlain(int32_t bytes, int32_t* actualSize) {
  void* raw = nullptr;
  tovMalloc(&raw, 1, bytes + kHeaderBytes);
  BucketMemoryAllocator* allocator = &gAllocatorHolder.allocator;
  std::memcpy(raw, &allocator, sizeof allocator);
  if (actualSize)
    *actualSize = bytes;
  return static_cast<char*>(raw) + kHeaderBytes;
}

// The host's pool, or null. A host may make strings while it answers, and so
// come back here on the same thread: that inner call does not look again.
[[gnu::noinline]] BucketMemoryPool* lookUpHostPool() {
  static thread_local bool lookingUp = false;
  if (lookingUp)
    return nullptr;
  lookingUp = true;
  void* service = nullptr;
  BucketMemoryPool* pool = nullptr;
  if (getObject("IBucketMemoryPool", &service) && service)
    pool = kivQuery<BucketMemoryPool>(static_cast<IBucketMemoryPool*>(service), "BucketMemoryPool");
  lookingUp = false;
  return pool;
}

// Under poolLock: makes `pool` (the host's) current, merging what the old
// current pool cached into it.
[[gnu::noinline]] void adoptHostPool(BucketMemoryPool* pool) {
  gPoolIsLocal = false;
  if (pool == gCurrent)
    return;
  pool->addRef();
  if (BucketMemoryPool* old = gCurrent) {
    old->mergeInto(*pool);
    old->release();
  }
  gCurrent = pool;
}

// A buffer without a pool, in the size classes of the standard pool, so that
// it can join a pool's stacks when it is given back.
[[gnu::noinline]] void* allocateUnpooled(int32_t size, int32_t* actualSize) {
  int32_t rounded = std::max(size, 0);
  if (rounded <= BucketMemoryPool::kStandardLinearLimit) {
    const int32_t step = BucketMemoryPool::kStandardGranularity;
    rounded = std::max((rounded + step - 1) / step * step, step);
  } else if (rounded <= BucketMemoryPool::kStandardPoolLimit) {
    int32_t r = BucketMemoryPool::kStandardLinearLimit;
    while (r < rounded)
      r *= 2;
    rounded = r;
  }
  return allocatePlain(rounded, actualSize);
}

// Under poolLock: a current pool, made locally if there is none. Null only
// for a call that comes back here while the first pool is being made, as
// the out-of-memory road does when the pool's table cannot be had.
[[gnu::noinline]] BucketMemoryPool* currentOrLocalPool() {
  static thread_local bool makingPool = false;
  if (!gCurrent && !makingPool) {
    makingPool = true;
    // The constructor makes the new pool current, with its reference.
    new BucketMemoryPool();
    makingPool = false;
    gPoolIsLocal = true;
    gAllocationsSinceLookup = 0;
  }
  return gCurrent;
}

} // namespace

// The local pool is made when the library loads, while memory is plentiful:
// made later, its table could be the first thing the out-of-memory road
// fails to get when that road builds its first string, and the report would
// name the table instead of the allocation that failed.
[[maybe_unused]] const bool gPoolMadeAtLoad = getPool() != nullptr;

BucketMemoryAllocator::~BucketMemoryAllocator() = default;

void BucketMemoryAllocator::free(void* raw) {
  PoolGuard guard;
  tovFree(raw);
}

[[gnu::noinline]] void freeThroughHeader(void* block) {
  char* raw = static_cast<char*>(block) - kHeaderBytes;
  BucketMemoryAllocator* allocator = nullptr;
  std::memcpy(&allocator, raw, sizeof allocator);
  allocator->free(raw);
}

BucketMemoryPool::BucketMemoryPool(int32_t granularity, int32_t linearLimit, int32_t poolLimit)
    : granularity_(std::max(granularity, 1)), linearLimit_(std::max(linearLimit, granularity_)),
      poolLimit_(poolLimit), granularityShift_(-1) {
  if ((granularity_ & (granularity_ - 1)) == 0)
    granularityShift_ = __builtin_ctz(static_cast<unsigned>(granularity_));
  bucketCount_ = linearLimit_ / granularity_ + 2;
  tovMallocT(&buckets_, bucketCount_);
  std::fill(buckets_, buckets_ + bucketCount_, nullptr);

  PoolGuard guard;
  if (BucketMemoryPool* old = gCurrent) {
    if (sameClassesAs(*old)) {
      std::swap(buckets_, old->buckets_);
      std::swap(bucketCount_, old->bucketCount_);
    }
    old->release();
  }
  addRef();
  gCurrent = this;
}

BucketMemoryPool::~BucketMemoryPool() {
  clear();
  tovFree(buckets_);
}

void BucketMemoryPool::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "BucketMemoryPool");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IBucketMemoryPool");
    return;
  }
  *out = nullptr;
  if (!kivAnswer(name, "BucketMemoryPool", this, out) &&
      !kivAnswer(name, "IBucketMemoryPool", static_cast<IBucketMemoryPool*>(this), out))
    kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}

int32_t BucketMemoryPool::bucketFor(int32_t size, int32_t* rounded) const {
  if (size <= linearLimit_) {
    // (size - 1) / granularity truncates towards zero, so 0 is class 0 too.
    int32_t bucket = 0;
    if (size > 0)
      bucket = granularityShift_ >= 0 ? (size - 1) >> granularityShift_ : (size - 1) / granularity_;
    *rounded = (bucket + 1) * granularity_;
    return bucket;
  }
  int32_t bucket = (linearLimit_ - 1) / granularity_;
  int64_t r = linearLimit_;
  while (r < size) {
    r *= 2;
    ++bucket;
  }
  *rounded = static_cast<int32_t>(std::min<int64_t>(r, INT32_MAX - kHeaderBytes));
  return bucket;
}

bool BucketMemoryPool::isEnabled() const {
  PoolGuard guard;
  return poolLimit_ >= 1;
}

int32_t BucketMemoryPool::bucketCount() const {
  PoolGuard guard;
  return bucketCount_;
}

int32_t BucketMemoryPool::cachedIn(int32_t bucket) const {
  PoolGuard guard;
  if (bucket < 0 || bucket >= bucketCount_ || !buckets_[bucket])
    return 0;
  return buckets_[bucket]->top;
}

bool BucketMemoryPool::sameClassesAs(const BucketMemoryPool& other) const {
  // A disabled pool keeps its limit with the sign turned.
  return granularity_ == other.granularity_ && linearLimit_ == other.linearLimit_ &&
         std::abs(poolLimit_) == std::abs(other.poolLimit_);
}

void BucketMemoryPool::ensureBuckets(int32_t count) {
  if (count <= bucketCount_)
    return;
  // The guarded realloc clears the new entries.
  bucketCount_ = tovReallocT(&buckets_, bucketCount_, count);
}

void BucketMemoryPool::push(int32_t bucket, int32_t size, void* block) {
  BucketStack* stack = bucket < bucketCount_ ? buckets_[bucket] : nullptr;
  if (!stack || stack->top + 1 >= stack->capacity)
    stack = makeRoom(bucket);
  stack->entries[++stack->top] = BucketEntry{size, block};
}

BucketStack* BucketMemoryPool::makeRoom(int32_t bucket) {
  ensureBuckets(bucket + 1);
  BucketStack* stack = buckets_[bucket];
  if (!stack) {
    tovMallocT(&stack, 1);
    stack->capacity = kFirstStackCapacity;
    stack->top = 0;
    tovMallocT(&stack->entries, stack->capacity);
    buckets_[bucket] = stack;
  }
  if (stack->top + 1 >= stack->capacity)
    stack->capacity = tovReallocT(&stack->entries, stack->capacity, stack->capacity * 2);
  return stack;
}

void BucketMemoryPool::freeStack(BucketStack* stack) {
  for (int32_t i = 1; i <= stack->top; ++i)
    if (stack->entries[i].block)
      freeThroughHeader(stack->entries[i].block);
  tovFree(stack->entries);
  tovFree(stack);
}

bool BucketMemoryPool::clear() {
  PoolGuard guard;
  for (int32_t b = 0; b < bucketCount_; ++b) {
    if (BucketStack* stack = buckets_[b]) {
      buckets_[b] = nullptr;
      freeStack(stack);
    }
  }
  return true;
}

void* BucketMemoryPool::allocateLocked(int32_t size, int32_t* actualSize) {
  if (size < 0)
    size = 0;
  if (size > poolLimit_) {
    // A disabled pool (negative limit) still rounds sizes it would pool to
    // their class, so that such a buffer can be cached once pooling is on
    // again; above the limit the size is taken as it is.
    if (poolLimit_ < 0 && size <= -poolLimit_) {
      int32_t rounded = 0;
      bucketFor(size, &rounded);
      return allocatePlain(rounded, actualSize);
    }
    return allocatePlain(size, actualSize);
  }
  int32_t rounded = 0;
  const int32_t bucket = bucketFor(size, &rounded);
  if (bucket < bucketCount_) {
    if (BucketStack* stack = buckets_[bucket]) {
      while (stack->top > 0) {
        const BucketEntry& entry = stack->entries[stack->top--];
        if (entry.block) {
          if (actualSize)
            *actualSize = entry.size;
          return entry.block;
        }
      }
    }
  }
  return allocatePlain(rounded, actualSize);
}

bool BucketMemoryPool::releaseLocked(int32_t size, void* block) {
  if (size > poolLimit_)
    return false;
  int32_t rounded = 0;
  const int32_t bucket = bucketFor(size, &rounded);
  push(bucket, rounded, block);
  return true;
}

void* BucketMemoryPool::allocate(int32_t size, int32_t* actualSize) {
  PoolGuard guard;
  return allocateLocked(size, actualSize);
}

bool BucketMemoryPool::release(int32_t size, void** block) {
  if (!block || !*block || size <= 0)
    return false;
  void* buffer = *block;
  *block = nullptr;
  {
    PoolGuard guard;
    if (releaseLocked(size, buffer))
      return true;
  }
  freeThroughHeader(buffer);
  return true;
}

void BucketMemoryPool::setEnabled(bool flag) {
  PoolGuard guard;
  if (flag != (poolLimit_ >= 1))
    poolLimit_ = -poolLimit_;
}

void BucketMemoryPool::mergeInto(BucketMemoryPool& target) {
  PoolGuard guard;
  if (&target == this)
    return;
  const bool shared = sameClassesAs(target);
  for (int32_t b = 0; b < bucketCount_; ++b) {
    BucketStack* stack = buckets_[b];
    if (!stack)
      continue;
    buckets_[b] = nullptr;
    if (!shared) {
      freeStack(stack);
      continue;
    }
    target.ensureBuckets(b + 1);
    if (!target.buckets_[b]) {
      target.buckets_[b] = stack;
      continue;
    }
    for (int32_t i = 1; i <= stack->top; ++i)
      target.push(b, stack->entries[i].size, stack->entries[i].block);
    stack->top = 0;
    freeStack(stack);
  }
}

[[gnu::flatten]] void* bucketAllocBuffer(int32_t size, int32_t* actualSize) {
  {
    PoolGuard guard;
    const bool lookAgain = gPoolIsLocal && gAllocationsSinceLookup > kAllocationsBetweenLookups;
    if (gCurrent && !lookAgain) {
      // Through the virtual allocate, so that a host's pool that overrides
      // it is honoured; the recursive lock keeps the pool alive meanwhile.
      void* block = gCurrent->allocate(size, actualSize);
      if (gPoolIsLocal)
        ++gAllocationsSinceLookup;
      return block;
    }
    if (lookAgain)
      gAllocationsSinceLookup = 0;
  }
  // Either there is no pool yet or a local pool looks for the host's again.
  // The look-up runs outside the lock: the host's manager may take locks of
  // its own and make strings while it answers. If two threads get here at
  // once, both look, and the lock below lets one of them make the pool.
  BucketMemoryPool* host = lookUpHostPool();
  PoolGuard guard;
  if (host)
    adoptHostPool(host);
  BucketMemoryPool* pool = currentOrLocalPool();
  if (!pool)
    return allocateUnpooled(size, actualSize);
  void* block = pool->allocate(size, actualSize);
  if (gPoolIsLocal)
    ++gAllocationsSinceLookup;
  return block;
}

[[gnu::flatten]] void bucketFreeBuffer(int32_t size, void* block) {
  if (size <= 0 || !block)
    return;
  {
    PoolGuard guard;
    if (BucketMemoryPool* pool = gCurrent) {
      // The virtual release, as for allocBuffer; it frees what it doesn't pool.
      pool->release(size, &block);
      return;
    }
  }
  freeThroughHeader(block);
}

bool connectPool() {
  {
    PoolGuard guard;
    if (gCurrent && !gPoolIsLocal)
      return true;
  }
  BucketMemoryPool* host = lookUpHostPool();
  if (!host)
    return false;
  PoolGuard guard;
  adoptHostPool(host);
  return true;
}

BucketMemoryPool* getPool() {
  PoolGuard guard;
  return currentOrLocalPool();
}

void shutdownPool() {
  PoolGuard guard;
  if (BucketMemoryPool* pool = gCurrent) {
    pool->clear();
    gCurrent = nullptr;
    pool->release();
  }
  gPoolIsLocal = false;
  gAllocationsSinceLookup = 0;
}
