#include "kivbasictypes/kivmmarray.h"

#include "blockfakes.h"
#include "kivbasictypes/ikivmmanager.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

namespace {

using KivMM::Array;
using blockfakes::BlockFixture;

struct Vec3 {
  double x, y, z;
};

class KivMMArrayTest : public BlockFixture {};

TEST_F(KivMMArrayTest, ReadsOfMissingBlocksGiveZeroAndAllocateNothing) {
  Array<int> a(3000);
  EXPECT_EQ(a.count(), 3000);
  EXPECT_EQ(a.tableSize(), 2);
  EXPECT_EQ(a.allocatedBlocks(), 0);
  const int32_t probes[] = {0, 2047, 2048, 2999, 3000, 1 << 30, -1};
  for (int32_t i : probes)
    EXPECT_EQ(a.get(i), 0) << "index " << i;
  a.set(5, 0);
  a.set(2999, 0);
  EXPECT_EQ(blocks->allocs, 0);
  EXPECT_EQ(a.allocatedBlocks(), 0);
}

TEST_F(KivMMArrayTest, SetMakesExactlyTheBlockOfItsIndex) {
  struct Case {
    const char* name;
    int32_t index;
    int32_t block;
  };
  const Case cases[] = {
      {"first_of_block_0", 0, 0},    {"last_of_block_0", 2047, 0}, {"first_of_block_1", 2048, 1},
      {"last_of_block_1", 4095, 1},  {"inside_block_2", 5000, 2},
  };
  for (const Case& c : cases) {
    Array<int> a(6000);
    const int allocsBefore = blocks->allocs;
    a.set(c.index, 0);
    EXPECT_EQ(blocks->allocs, allocsBefore) << c.name << ": a zero made a block";
    a.set(c.index, 41);
    EXPECT_EQ(blocks->allocs, allocsBefore + 1) << c.name;
    EXPECT_EQ(blocks->lastBytes, 8192u) << c.name;
    EXPECT_NE(a.blockAt(c.block), nullptr) << c.name;
    EXPECT_EQ(a.allocatedBlocks(), 1) << c.name;
    EXPECT_EQ(a.get(c.index), 41) << c.name;
    EXPECT_EQ(a.get(c.index - 1), 0) << c.name;
    EXPECT_EQ(a.get(c.index + 1), 0) << c.name;
    // Blocks never move: the element keeps its address as the array grows.
    const int* where = &a.get(c.index);
    a.ensureIndex(100000);
    EXPECT_EQ(&a.get(c.index), where) << c.name;
  }
}

TEST_F(KivMMArrayTest, BlockSizesFollowTheElementSize) {
  // Doubles: 1024 in 8 KB. Three doubles: 1024 in 24 KB.
  Array<double> d(4096);
  d.set(1023, 1.5);
  EXPECT_EQ(blocks->lastBytes, 8192u);
  d.set(1024, 2.5);
  EXPECT_EQ(d.allocatedBlocks(), 2);

  Array<Vec3> v(2048);
  v.set(1023, Vec3{1, 2, 3});
  v.set(1024, Vec3{4, 5, 6});
  EXPECT_EQ(v.allocatedBlocks(), 2);
  EXPECT_EQ(blocks->lastBytes, 24576u);
  EXPECT_EQ(v.get(1023).z, 3);
  EXPECT_EQ(v.get(1024).x, 4);
  EXPECT_EQ(v.get(1025).x, 0);
}

TEST_F(KivMMArrayTest, NegativeZeroIsNotTheDefault) {
  Array<double> a(10);
  a.set(3, -0.0);
  EXPECT_EQ(a.allocatedBlocks(), 1);
  EXPECT_TRUE(std::signbit(a.get(3)));
}

TEST_F(KivMMArrayTest, ResizeFreesTrailingBlocksAndCountsWholeBlocks) {
  Array<int> a(5000);
  for (int32_t i = 0; i < 5000; ++i)
    a.set(i, i + 1);
  ASSERT_EQ(a.allocatedBlocks(), 3);

  a.resize(1, true);
  EXPECT_EQ(a.count(), 2048);
  EXPECT_EQ(blocks->frees, 2);
  EXPECT_EQ(a.get(2047), 2048);
  EXPECT_EQ(a.get(2048), 0);

  // Growing again brings back holes, not the freed contents.
  a.resize(3000, true);
  EXPECT_EQ(a.count(), 4096);
  EXPECT_EQ(a.blockAt(1), nullptr);
  EXPECT_EQ(a.get(2048), 0);
  EXPECT_EQ(a.get(2047), 2048);
  EXPECT_EQ(a.get(0), 1);

  a.resize(0, true);
  EXPECT_EQ(a.count(), 0);
  EXPECT_EQ(a.allocatedBlocks(), 0);
  EXPECT_EQ(blocks->frees, 3);
}

TEST_F(KivMMArrayTest, ResizeClearsOnlyTheTailOfAPartialLastBlock) {
  // An array built with 3000 elements has a partial last block; a value that
  // a caller left past count must not show through after growth.
  for (bool clearNew : {true, false}) {
    Array<int> a(3000);
    a.set(2999, 7);
    a.ref(3500) = 9;
    a.resize(4000, clearNew);
    EXPECT_EQ(a.count(), 4096);
    EXPECT_EQ(a.get(2999), 7);
    EXPECT_EQ(a.get(3500), clearNew ? 0 : 9) << "clearNew " << clearNew;
  }
  // From a whole block nothing in block 0 is touched.
  Array<int> b(2048);
  b.set(2047, 5);
  b.resize(3000, true);
  EXPECT_EQ(b.get(2047), 5);
}

TEST_F(KivMMArrayTest, GrowCapacitySteps) {
  struct Case {
    const char* name;
    int32_t needed, capacity, elementSize, expected;
  };
  const Case cases[] = {
      {"empty_needs_index_0", 0, 0, 4, 1},
      {"index_below_capacity", 9, 10, 4, 10},
      {"index_at_capacity_doubles", 10, 10, 4, 20},
      {"far_index_doubles_past_it", 100, 10, 4, 160},
      {"just_below_4MiB_doubles", 0x3FFFFF, 0x3FFFFF, 1, 0x7FFFFE},
      {"at_4MiB_half_step", 0x400000, 0x400000, 1, 0x600000},
      {"16MiB_half_step", 0x1000001, 0x1000000, 1, 0x1800000},
      {"48MiB_quarter_step", 0x3000000, 0x3000000, 1, 0x3C00000},
      {"256MiB_eighth_step", 0x10000000, 0x10000000, 1, 0x12000000},
      {"bytes_not_elements", 0x100000, 0x100000, 4, 0x180000},
      {"saturates", 0x7FFFFFFF, 0x7FFFFFFF, 1, 0x7FFFFFFF},
  };
  for (const Case& c : cases)
    EXPECT_EQ(KivMM::growCapacity(c.needed, c.capacity, c.elementSize), c.expected) << c.name;
}

TEST_F(KivMMArrayTest, EnsureIndexGrowsWithoutMakingBlocks) {
  Array<int> a;
  EXPECT_EQ(a.count(), 0);
  EXPECT_EQ(a.get(0), 0);
  a.ensureIndex(0);
  EXPECT_EQ(a.count(), 2048);
  a.ensureIndex(2047);
  EXPECT_EQ(a.count(), 2048);
  a.ensureIndex(2048);
  EXPECT_EQ(a.count(), 4096);
  a.ensureIndex(1000000);
  EXPECT_GT(a.count(), 1000000);
  EXPECT_EQ(a.count() % 2048, 0);
  EXPECT_EQ(blocks->allocs, 0);
  a.set(1000000, 3);
  EXPECT_EQ(a.get(1000000), 3);
  EXPECT_EQ(a.allocatedBlocks(), 1);
}

TEST_F(KivMMArrayTest, AssignKeepsHolesAndFreesWhatWasThere) {
  Array<int> source(4 * 2048);
  source.set(0, 1);
  source.set(2 * 2048 + 5, 2);
  Array<int> target(4 * 2048);
  target.set(2048, 9);
  target.set(3 * 2048, 9);
  target.set(2 * 2048, 8); // a block that is overwritten, stale bytes and all
  const int freesBefore = blocks->frees;

  target.assign(source, source.count());
  EXPECT_EQ(blocks->frees - freesBefore, 2);
  for (int32_t b = 0; b < 4; ++b)
    EXPECT_EQ(target.blockAt(b) != nullptr, source.blockAt(b) != nullptr) << "block " << b;
  for (int32_t i : {0, 1, 2048, 2 * 2048, 2 * 2048 + 5, 3 * 2048})
    EXPECT_EQ(target.get(i), source.get(i)) << "index " << i;

  // Copies are deep: a change to the copy leaves the source alone.
  Array<int> copy(source);
  copy.set(0, 100);
  EXPECT_EQ(source.get(0), 1);
  EXPECT_EQ(copy.get(2 * 2048 + 5), 2);
  EXPECT_EQ(copy.allocatedBlocks(), 2);

  target.assign(target, target.count());
  EXPECT_EQ(target.get(2 * 2048 + 5), 2);

  // Assigning fewer elements frees the blocks past them.
  target.assign(source, 2048);
  EXPECT_EQ(target.count(), 2048);
  EXPECT_EQ(target.allocatedBlocks(), 1);
}

TEST_F(KivMMArrayTest, ClearRangeZeroesWithoutMakingBlocks) {
  Array<int> a(4 * 2048);
  for (int32_t i : {2047, 2048, 2500, 3 * 2048 + 10, 3 * 2048 + 11})
    a.set(i, 5);
  a.clearRange(2048, 3 * 2048 + 11);
  EXPECT_EQ(a.get(2047), 5);
  EXPECT_EQ(a.get(2048), 0);
  EXPECT_EQ(a.get(2500), 0);
  EXPECT_EQ(a.get(3 * 2048 + 10), 0);
  EXPECT_EQ(a.get(3 * 2048 + 11), 5);
  EXPECT_EQ(a.allocatedBlocks(), 3);
  EXPECT_EQ(blocks->allocs, 3);
}

TEST_F(KivMMArrayTest, AllocateAllFillsEveryHole) {
  Array<int> a(5000);
  EXPECT_FALSE(a.isFullyAllocated());
  a.set(4000, 4);
  a.allocateAll(true);
  EXPECT_TRUE(a.isFullyAllocated());
  EXPECT_EQ(a.allocatedBlocks(), 3);
  EXPECT_EQ(a.get(4000), 4);
  EXPECT_EQ(a.get(0), 0);
  EXPECT_EQ(a.get(4999), 0);

  Array<int> empty;
  EXPECT_TRUE(empty.isFullyAllocated());
}

TEST_F(KivMMArrayTest, SwapAndMoveCarryTheBlocks) {
  Array<int> a(2048), b(4096);
  a.set(1, 1);
  b.set(2049, 2);
  a.swapTables(b);
  EXPECT_EQ(a.count(), 2048); // counts stay
  EXPECT_EQ(a.tableSize(), 2);
  EXPECT_EQ(b.get(1), 1);
  a.swapTables(b);

  Array<int> moved(std::move(b));
  EXPECT_EQ(moved.get(2049), 2);
  EXPECT_EQ(b.count(), 0);
  EXPECT_EQ(b.get(2049), 0);
  moved = std::move(a);
  EXPECT_EQ(moved.get(1), 1);
}

// With no memory manager installed, arrays still work from the process-local
// source, which counts and takes back its blocks.
TEST(KivMMArrayLocalTest, WorksWithoutAHostManager) {
  setComponentManager(nullptr);
  resetServiceCaches();
  KivMM::IKivMManager* local = KivMM::arrayManager();
  ASSERT_NE(local, nullptr);
  const size_t before = local->blockCount();
  {
    Array<Vec3> a(100);
    EXPECT_EQ(a.manager(), local);
    a.set(99, Vec3{1, 1, 1});
    a.ensureIndex(5000);
    a.set(5000, Vec3{0, 0, 2});
    EXPECT_EQ(local->blockCount(), before + 2);
    EXPECT_GE(local->getCoreNow(), 2);
    EXPECT_EQ(a.get(99).x, 1);
    EXPECT_EQ(a.get(5000).z, 2);
    EXPECT_EQ(a.get(2000).z, 0);
  }
  EXPECT_EQ(local->blockCount(), before);
  resetServiceCaches();
}

} // namespace
