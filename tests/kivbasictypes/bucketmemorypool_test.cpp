#include "kivbasictypes/bucketmemorypool.h"

#include "core/classtree.h"
#include "kivbasictypes/memfakes.h"
#include "kivbasictypes/stringbuffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

// Each test starts and ends with a fresh local pool as the current one.
class BucketPoolTest : public memfakes::MemFixture {
protected:
  void SetUp() override {
    MemFixture::SetUp();
    shutdownPool();
    getPool();
  }
  void TearDown() override {
    shutdownPool();
    getPool();
    MemFixture::TearDown();
  }

  // A pool held by the test; making it makes it current.
  static IPtr<BucketMemoryPool> makePool(int32_t granularity = 4, int32_t linearLimit = 8192,
                                         int32_t poolLimit = 0x40000) {
    return IPtr<BucketMemoryPool>(new BucketMemoryPool(granularity, linearLimit, poolLimit));
  }
};

TEST_F(BucketPoolTest, SizeClassesAtTheirBoundaries) {
  struct Case {
    const char* name;
    int32_t size;
    int32_t bucket;
    int32_t usable;
  };
  const Case cases[] = {
      {"zero_is_first_class", 0, 0, 4},
      {"one", 1, 0, 4},
      {"first_class_full", 4, 0, 4},
      {"second_class", 5, 1, 8},
      {"last_linear_class", 8192, 2047, 8192},
      {"first_doubling_class", 8193, 2048, 16384},
      {"doubling_class_full", 16384, 2048, 16384},
      {"next_doubling_class", 16385, 2049, 32768},
      {"pool_limit", 262144, 2052, 262144},
      {"past_limit_not_rounded", 262145, -1, 262145},
  };
  IPtr<BucketMemoryPool> pool = makePool();
  EXPECT_EQ(pool->bucketCount(), 2050);
  for (const Case& c : cases) {
    int32_t usable = -1;
    void* block = pool->allocate(c.size, &usable);
    ASSERT_NE(block, nullptr) << c.name;
    EXPECT_EQ(usable, c.usable) << c.name;
    std::memset(block, 0x5A, static_cast<size_t>(usable)); // all of it is ours
    if (c.bucket >= 0) {
      int32_t rounded = 0;
      EXPECT_EQ(pool->bucketFor(c.size, &rounded), c.bucket) << c.name;
      EXPECT_EQ(rounded, c.usable) << c.name;
    }
    EXPECT_TRUE(pool->release(usable, &block)) << c.name;
    EXPECT_EQ(block, nullptr) << c.name;
    if (c.bucket >= 0) {
      EXPECT_EQ(pool->cachedIn(c.bucket), 1) << c.name;
    }
  }
  // The table grew for the doubling classes past its first 2050 entries.
  EXPECT_GE(pool->bucketCount(), 2053);
}

TEST_F(BucketPoolTest, ReleasedBuffersComeBackLastInFirstOut) {
  IPtr<BucketMemoryPool> pool = makePool();
  int32_t usable = 0;
  void* a = pool->allocate(10, &usable);
  EXPECT_EQ(usable, 12);
  void* b = pool->allocate(12, &usable);
  void* other = pool->allocate(13, &usable);
  void* keepA = a;
  void* keepB = b;
  EXPECT_TRUE(pool->release(10, &a)); // the size asked for
  EXPECT_TRUE(pool->release(12, &b)); // the usable size
  EXPECT_EQ(pool->cachedIn(2), 2);

  void* fresh = pool->allocate(13, &usable);
  EXPECT_NE(fresh, keepB); // another class gets a new buffer
  EXPECT_EQ(pool->allocate(9, &usable), keepB);
  EXPECT_EQ(usable, 12);
  EXPECT_EQ(pool->allocate(11, &usable), keepA);
  EXPECT_EQ(pool->cachedIn(2), 0);

  void* none = nullptr;
  EXPECT_FALSE(pool->release(12, &none));
  EXPECT_FALSE(pool->release(0, &other));
  EXPECT_NE(other, nullptr);
  EXPECT_TRUE(pool->release(13, &other));
  EXPECT_TRUE(pool->release(16, &fresh));
  EXPECT_TRUE(pool->release(12, &keepA));
  EXPECT_TRUE(pool->release(12, &keepB));
  EXPECT_TRUE(pool->clear());
  EXPECT_EQ(pool->cachedIn(2), 0);
  EXPECT_EQ(pool->cachedIn(3), 0);
}

TEST_F(BucketPoolTest, DisabledPoolServesUnpooledAndKeepsItsCache) {
  IPtr<BucketMemoryPool> pool = makePool();
  int32_t usable = 0;
  void* cached = pool->allocate(100, &usable);
  void* keep = cached;
  pool->release(usable, &cached);
  ASSERT_EQ(pool->cachedIn(24), 1);

  pool->setEnabled(false);
  EXPECT_FALSE(pool->isEnabled());
  void* fresh = pool->allocate(100, &usable);
  EXPECT_NE(fresh, keep);
  EXPECT_EQ(usable, 100);
  EXPECT_TRUE(pool->release(usable, &fresh)); // through its header, not cached
  EXPECT_EQ(pool->cachedIn(24), 1);
  // Sizes are still rounded to their class while disabled, so a buffer got
  // now can be cached once pooling is back.
  void* odd = pool->allocate(97, &usable);
  EXPECT_EQ(usable, 100);

  pool->setEnabled(false); // no change
  pool->setEnabled(true);
  EXPECT_TRUE(pool->isEnabled());
  EXPECT_EQ(pool->allocate(100, &usable), keep);
  pool->release(97, &odd);
  EXPECT_EQ(pool->cachedIn(24), 1);
  pool->release(100, &keep);
}

// A host's pool that overrides the two virtual operations and notes what
// reaches them.
class NotingPool : public BucketMemoryPool {
public:
  void* allocate(int32_t size, int32_t* actualSize) override {
    asked.push_back(size);
    return BucketMemoryPool::allocate(size, actualSize);
  }
  bool release(int32_t size, void** block) override {
    given.push_back(size);
    return BucketMemoryPool::release(size, block);
  }
  std::vector<int32_t> asked, given;
};

TEST_F(BucketPoolTest, AllocBufferAndFreeBufferGoThroughTheCurrentPoolsOperations) {
  IPtr<NotingPool> pool(new NotingPool);  // made, so current
  int32_t usable = 0;
  void* small = bucketAllocBuffer(10, &usable);
  EXPECT_EQ(usable, 12);
  bucketFreeBuffer(usable, small);
  EXPECT_EQ(bucketAllocBuffer(9, &usable), small);  // the pool's cache served it
  bucketFreeBuffer(9, small);
  void* large = bucketAllocBuffer(262145, &usable);
  EXPECT_EQ(usable, 262145);
  bucketFreeBuffer(262145, large);
  bucketFreeBuffer(0, small);  // nothing is done
  bucketFreeBuffer(4, nullptr);
  EXPECT_EQ(pool->asked, (std::vector<int32_t>{10, 9, 262145}));
  EXPECT_EQ(pool->given, (std::vector<int32_t>{12, 9, 262145}));
}

TEST_F(BucketPoolTest, QueriesClearTheirOutputAndTheTreeNamesThePool) {
  IPtr<BucketMemoryPool> pool = makePool();
  void* stale = pool.get();
  pool->queryInterface("IKivMManager", &stale);
  EXPECT_EQ(stale, nullptr);
  IterStack<KivClassEntry> entries;
  ASSERT_TRUE(classTree(pool.get(), entries));
  std::string tree;
  for (int32_t i = 1; i <= entries.count(); ++i)
    tree += std::string(entries.at(i).name) + "<" + entries.at(i).parent + " ";
  EXPECT_EQ(tree, "BucketMemoryPool< IBucketMemoryPool< ");
}

TEST_F(BucketPoolTest, NewPoolTakesOverTheCurrentPoolAndItsBuffers) {
  IPtr<BucketMemoryPool> first = makePool();
  EXPECT_EQ(getPool(), first.get());
  int32_t usable = 0;
  void* block = first->allocate(40, &usable);
  void* keep = block;
  first->release(usable, &block);

  IPtr<BucketMemoryPool> second = makePool();
  EXPECT_EQ(getPool(), second.get());
  EXPECT_EQ(first->cachedIn(9), 0);
  EXPECT_EQ(second->cachedIn(9), 1);
  EXPECT_EQ(second->allocate(40, &usable), keep);
  second->release(usable, &keep);

  // Other size classes cannot share the cache: it stays with the old pool.
  IPtr<BucketMemoryPool> coarse = makePool(16, 4096, 0x10000);
  EXPECT_EQ(getPool(), coarse.get());
  EXPECT_EQ(coarse->cachedIn(2), 0);
  EXPECT_EQ(second->cachedIn(9), 1);
}

TEST_F(BucketPoolTest, MergeJoinsStacksAndHandsOverMissingOnes) {
  IPtr<BucketMemoryPool> a = makePool();
  int32_t usable = 0;
  void* x = a->allocate(40, &usable);
  void* keepX = x;
  a->release(40, &x);
  IPtr<BucketMemoryPool> b = makePool(); // takes x with a's table
  void* y = a->allocate(40, &usable);
  void* z = a->allocate(1000, &usable);
  void* keepY = y;
  void* keepZ = z;
  a->release(40, &y);
  a->release(1000, &z);
  ASSERT_EQ(b->cachedIn(9), 1);
  ASSERT_EQ(a->cachedIn(9), 1);

  a->mergeInto(*b);
  EXPECT_EQ(a->cachedIn(9), 0);
  EXPECT_EQ(a->cachedIn(249), 0);
  EXPECT_EQ(b->cachedIn(9), 2);
  EXPECT_EQ(b->cachedIn(249), 1);
  EXPECT_EQ(b->allocate(40, &usable), keepY); // a's entries went on top
  EXPECT_EQ(b->allocate(40, &usable), keepX);
  EXPECT_EQ(b->allocate(1000, &usable), keepZ);
  b->release(40, &keepX);
  b->release(40, &keepY);
  b->release(1000, &keepZ);

  // A pool with other classes gives up its buffers instead.
  IPtr<BucketMemoryPool> coarse = makePool(16, 4096, 0x10000);
  void* w = coarse->allocate(40, &usable);
  coarse->release(usable, &w);
  coarse->mergeInto(*b);
  EXPECT_EQ(coarse->cachedIn(2), 0);
  EXPECT_EQ(b->cachedIn(9), 2);
}

TEST_F(BucketPoolTest, BuffersOutliveThePoolThatGaveThem) {
  int32_t usable = 0;
  void* small = nullptr;
  void* large = nullptr;
  {
    IPtr<BucketMemoryPool> giver = makePool();
    small = giver->allocate(64, &usable);
    large = giver->allocate(300000, &usable);
    std::memset(large, 1, 300000);
    shutdownPool(); // the giver is no longer current ...
  }               // ... and is gone now
  IPtr<BucketMemoryPool> taker = makePool();
  EXPECT_TRUE(taker->release(64, &small));
  EXPECT_EQ(taker->cachedIn(15), 1);
  EXPECT_TRUE(taker->release(300000, &large)); // past the limit: freed by its header

  // With no current pool, freeBuffer frees through the header.
  void* buffer = allocBuffer(20, &usable);
  shutdownPool();
  freeBuffer(usable, buffer);
  freeBuffer(0, buffer);        // nothing happens
  freeBuffer(usable, nullptr);  // nothing happens
  EXPECT_NE(getPool(), nullptr);
}

TEST_F(BucketPoolTest, LocalPoolReachesTheHostPoolAfter601Allocations) {
  IPtr<BucketMemoryPool> host = makePool();
  shutdownPool(); // host is alive, but nobody's current pool
  int32_t usable = 0;
  void* first = allocBuffer(40, &usable); // allocation 1: no service, a local pool
  BucketMemoryPool* local = getPool();
  ASSERT_NE(local, host.get());
  freeBuffer(usable, first);
  EXPECT_FALSE(connectPool());

  install("IBucketMemoryPool", static_cast<IBucketMemoryPool*>(host.get()));
  for (int n = 2; n <= 601; ++n) {
    void* p = allocBuffer(8, &usable);
    freeBuffer(usable, p);
  }
  EXPECT_EQ(getPool(), local) << "looked before the 602nd allocation";
  void* again = allocBuffer(40, &usable);
  EXPECT_EQ(getPool(), host.get());
  EXPECT_EQ(again, first) << "the local pool's cache was not merged";
  EXPECT_TRUE(connectPool());
  freeBuffer(usable, again);
  EXPECT_EQ(host->cachedIn(9), 1);
}

TEST_F(BucketPoolTest, ConnectPoolAdoptsTheHostPoolAtOnce) {
  IPtr<BucketMemoryPool> host = makePool();
  shutdownPool();
  install("IBucketMemoryPool", static_cast<IBucketMemoryPool*>(host.get()));
  BucketMemoryPool* local = getPool();
  int32_t usable = 0;
  void* block = local->allocate(24, &usable);
  void* keep = block;
  local->release(usable, &block);
  EXPECT_TRUE(connectPool());
  EXPECT_EQ(getPool(), host.get());
  EXPECT_EQ(host->allocate(24, &usable), keep);
  host->release(usable, &keep);
}

// Two threads take and give back buffers through the process-wide road and
// one pool's own operations; each stamps what it holds and checks the stamp
// before giving it back, so a buffer handed to both threads at once shows.
TEST_F(BucketPoolTest, TwoThreadsNeverShareABuffer) {
  IPtr<BucketMemoryPool> pool = makePool();
  std::atomic<int> corrupted{0};
  auto work = [&](uint8_t stamp, bool viaRoad) {
    std::mt19937 random(stamp);
    struct Held {
      void* block;
      int32_t size;
    };
    std::vector<Held> held;
    for (int i = 0; i < 40000; ++i) {
      if (held.size() < 32 && (held.empty() || random() % 2)) {
        const int32_t size = static_cast<int32_t>(1 + random() % 300);
        int32_t usable = 0;
        void* block = viaRoad ? allocBuffer(size, &usable) : pool->allocate(size, &usable);
        std::memset(block, stamp, static_cast<size_t>(usable));
        held.push_back({block, usable});
      } else {
        const size_t at = random() % held.size();
        Held h = held[at];
        held[at] = held.back();
        held.pop_back();
        const auto* bytes = static_cast<const uint8_t*>(h.block);
        for (int32_t k = 0; k < h.size; ++k)
          if (bytes[k] != stamp) {
            ++corrupted;
            break;
          }
        if (viaRoad)
          freeBuffer(h.size, h.block);
        else
          pool->release(h.size, &h.block);
      }
    }
    for (Held& h : held)
      viaRoad ? freeBuffer(h.size, h.block) : (void)pool->release(h.size, &h.block);
  };
  std::thread one(work, uint8_t{0x11}, true);
  std::thread two(work, uint8_t{0x22}, false);
  one.join();
  two.join();
  EXPECT_EQ(corrupted.load(), 0);
}

} // namespace
