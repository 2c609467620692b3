#include "basic_types/iterblockstack.h"

#include <gtest/gtest.h>

namespace {

// Blocks of 4 elements throughout, so that remainders and block edges come
// up with small numbers.
constexpr int32_t kShift = 2;

int32_t expectedBlocks(int32_t capacity) { return (capacity >> kShift) + ((capacity & 3) ? 1 : 0); }

TEST(IterBlockStackTest, GrowthAcrossPartialAndFullBlocks) {
  struct Case {
    const char* name;
    int32_t room;
    int pushes;
    int32_t capacity;
  };
  const Case cases[] = {
      {"empty_one_partial_block", 0, 0, 1},
      {"exactly_one_block", 3, 3, 4},
      {"full_plus_one", 3, 4, 8},
      {"partial_last_block_grows", 5, 6, 12},
      {"many_blocks", 0, 40, 64},
  };
  for (const Case& c : cases) {
    IterBlockStack<int> s(c.room, kShift);
    for (int i = 1; i <= c.pushes; ++i)
      s.push(i * 3);
    EXPECT_EQ(s.capacity(), c.capacity) << c.name;
    EXPECT_EQ(s.blockCount(), expectedBlocks(c.capacity)) << c.name;
    EXPECT_EQ(s.count(), c.pushes) << c.name;
    for (int i = 1; i <= c.pushes; ++i)
      EXPECT_EQ(s.at(i), i * 3) << c.name << " element " << i;
    for (int32_t i = c.pushes + 1; i < s.capacity(); ++i)
      EXPECT_EQ(s.at(i), 0) << c.name << " fresh slot " << i;
  }
}

TEST(IterBlockStackTest, AtFarAwayAndPop) {
  IterBlockStack<int> s(1, kShift);
  s.at(13) = 7;
  EXPECT_EQ(s.capacity(), 16);
  EXPECT_EQ(s.count(), 0);
  s.setCount(13);
  EXPECT_EQ(s.pop(), 7);
  EXPECT_EQ(s.count(), 12);
}

TEST(IterBlockStackTest, IteratorGivesZeroPastCapacity) {
  IterBlockStack<int> s(0, kShift);
  IterBlockStackIter<int> empty(&s);
  EXPECT_FALSE(empty.next());

  s.push(4);
  s.push(5);
  s.push(6);
  ASSERT_EQ(s.capacity(), 4);
  IterBlockStackIter<int> it(&s);
  for (int expected : {4, 5, 6}) {
    ASSERT_TRUE(it.next());
    EXPECT_EQ(it.value(), expected);
  }
  EXPECT_FALSE(it.next());  // index 4: at capacity, no block holds it
  EXPECT_EQ(it.value(), 0);
  EXPECT_FALSE(it.next());
  EXPECT_EQ(it.value(), 0);
}

TEST(IterBlockStackTest, CopyHasRoomForAtLeastTen) {
  IterBlockStack<int> s(2, kShift);
  s.push(1);
  s.push(2);
  IterBlockStack<int> copy(s);
  EXPECT_EQ(copy.capacity(), 10);
  EXPECT_EQ(copy.blockCount(), 3);
  EXPECT_EQ(copy.count(), 2);
  EXPECT_EQ(copy.at(2), 2);
  copy.push(3);
  EXPECT_EQ(s.count(), 2);
}

}  // namespace
