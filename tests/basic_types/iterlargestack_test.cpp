#include "basic_types/iterlargestack.h"

#include "kivbasictypes/blockfakes.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

class IterLargeStackTest : public blockfakes::BlockFixture {};

TEST_F(IterLargeStackTest, PushesAcrossBlockEdges) {
  // Element i sits in block i >> 11; slot 0 belongs to block 0.
  struct Case {
    const char* name;
    int32_t pushes;
    int blocks;
  };
  const Case cases[] = {
      {"none", 0, 0},
      {"one", 1, 1},
      {"last_of_block_0", 2047, 1},
      {"first_of_block_1", 2048, 2},
      {"last_of_block_1", 4095, 2},
      {"first_of_block_2", 4096, 3},
  };
  for (const Case& c : cases) {
    const int allocsBefore = blocks->allocs;
    IterLargeStack<int> s;
    for (int32_t i = 1; i <= c.pushes; ++i)
      s.push(i * 3);
    EXPECT_EQ(s.count(), c.pushes) << c.name;
    EXPECT_EQ(blocks->allocs - allocsBefore, c.blocks) << c.name;
    EXPECT_GT(s.capacity(), c.pushes) << c.name;
    EXPECT_EQ(s.at(0), 0) << c.name;
    for (int32_t i = 1; i <= c.pushes; ++i)
      ASSERT_EQ(s.at(i), i * 3) << c.name << " element " << i;
    EXPECT_EQ(s.at(c.pushes + 1), 0) << c.name;
  }
}

TEST_F(IterLargeStackTest, ZerosAndReadsNeverAllocate) {
  IterLargeStack<double> s(100000);
  EXPECT_EQ(s.count(), 0);
  EXPECT_GT(s.capacity(), 100000);
  EXPECT_EQ(s.at(99999), 0.0);
  for (int i = 0; i < 3000; ++i)
    s.push(0.0);
  EXPECT_EQ(s.count(), 3000);
  EXPECT_EQ(s.pop(), 0.0);
  IterLargeStackIter<double> it(&s);
  int seen = 0;
  while (it.next())
    seen += it.value() == 0.0;
  EXPECT_EQ(seen, 2999);
  EXPECT_EQ(blocks->allocs, 0);
}

TEST_F(IterLargeStackTest, PopLastClearAndSetCount) {
  IterLargeStack<int> s;
  s.push(1);
  s.push(2);
  s.push(3);
  EXPECT_EQ(s.last(), 3);
  EXPECT_EQ(s.pop(), 3);
  EXPECT_EQ(s.pop(), 2);
  EXPECT_EQ(s.count(), 1);
  s.push(4);
  EXPECT_EQ(s.at(2), 4);
  EXPECT_EQ(s.at(3), 3); // a popped slot keeps its value until written

  s.clear();
  EXPECT_TRUE(s.isEmpty());
  EXPECT_EQ(s.at(1), 1);
  s.setCount(5000);
  EXPECT_EQ(s.count(), 5000);
  EXPECT_EQ(s.at(5000), 0);
  EXPECT_EQ(blocks->allocs, 1);
}

TEST_F(IterLargeStackTest, ReferencesSurviveGrowthAndAliasedPush) {
  IterLargeStack<int> s;
  s.push(11);
  int& first = s.ref(1);
  for (int i = 0; i < 10000; ++i)
    s.push(s.at(1)); // the argument lives in the stack that grows
  EXPECT_EQ(&first, &s.ref(1));
  first = 12;
  EXPECT_EQ(s.at(1), 12);
  EXPECT_EQ(s.at(10001), 11);
  EXPECT_EQ(s.count(), 10001);

  s.ref(20000) = 5;
  EXPECT_EQ(s.count(), 10001); // ref never touches count
  EXPECT_EQ(s.at(20000), 5);
}

TEST_F(IterLargeStackTest, CopyKeepsCountAndHoles) {
  IterLargeStack<int> s;
  s.set(3, 1);
  s.set(3 * 2048, 2); // blocks 0 and 3; 1 and 2 are holes
  s.setCount(3 * 2048);
  const int allocsBefore = blocks->allocs;
  IterLargeStack<int> copy(s);
  EXPECT_EQ(copy.count(), s.count());
  EXPECT_EQ(blocks->allocs - allocsBefore, 2);
  EXPECT_EQ(copy.at(3), 1);
  EXPECT_EQ(copy.at(3 * 2048), 2);
  copy.set(3, 9);
  EXPECT_EQ(s.at(3), 1);

  IterLargeStack<int> moved(std::move(copy));
  EXPECT_EQ(moved.count(), 3 * 2048);
  EXPECT_EQ(moved.at(3), 9);
  EXPECT_EQ(copy.count(), 0);
  EXPECT_EQ(copy.at(3), 0);
}

TEST_F(IterLargeStackTest, IteratorStartsBeforeFirstAndSeesLaterChanges) {
  IterLargeStack<int> s;
  IterLargeStackIter<int> it(&s);
  EXPECT_FALSE(it.next());
  it.rewind();
  s.push(7);
  s.push(8);
  ASSERT_TRUE(it.next());
  EXPECT_EQ(it.value(), 7);
  s.push(9);
  EXPECT_EQ(it.count(), 3);
  ASSERT_TRUE(it.next());
  ASSERT_TRUE(it.next());
  EXPECT_EQ(it.value(), 9);
  EXPECT_FALSE(it.next());
  EXPECT_EQ(it.value(), 0); // past count, within the block: a zero slot
}

} // namespace
