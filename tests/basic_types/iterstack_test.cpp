#include "basic_types/iterstack.h"

#include "basic_types/testsupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(IterStackTest, GrowSize) {
  struct Case {
    const char* name;
    int32_t current;
    int32_t needed;
    int32_t expected;
  };
  const Case cases[] = {
      {"already_enough", 5, 3, 5},
      {"exactly_enough", 4, 4, 4},
      {"doubles_past_needed", 3, 7, 12},
      {"from_zero_to_one", 0, 1, 1},
      {"from_zero_doubles_from_one", 0, 5, 8},
      {"lands_on_limit", 0x20000000, 0x30000000, 0x40000000},
      {"no_doubling_from_limit", 0x40000000, 0x40000001, 0x40000001},
  };
  for (const Case& c : cases)
    EXPECT_EQ(growSize(c.current, c.needed), c.expected) << c.name;
}

TEST(IterStackTest, NewStackIsZeroedWithSlotZeroCounted) {
  IterStack<int> empty(0);
  EXPECT_EQ(empty.capacity(), 1);
  EXPECT_EQ(empty.count(), 0);

  IterStack<double> five(5);
  EXPECT_EQ(five.capacity(), 6);
  for (int32_t i = 0; i < five.capacity(); ++i)
    EXPECT_EQ(five.at(i), 0.0) << i;
}

TEST(IterStackTest, AtGrowsKeepsContentsAndLeavesCount) {
  IterStack<int> s(3);
  s.push(1);
  s.push(2);
  s.push(3);
  ASSERT_EQ(s.capacity(), 4);

  s.at(4) = 40;
  EXPECT_EQ(s.capacity(), 8);
  EXPECT_EQ(s.count(), 3);
  EXPECT_EQ(s.at(1), 1);
  EXPECT_EQ(s.at(3), 3);
  EXPECT_EQ(s.at(4), 40);
  for (int32_t i = 5; i < 8; ++i)
    EXPECT_EQ(s.at(i), 0) << i;

  // A far index grows by doubling, not just to the index.
  s.at(20);
  EXPECT_EQ(s.capacity(), 32);
}

TEST(IterStackTest, ClassElementsLiveInEverySlot) {
  struct Case {
    const char* name;
    int32_t room;
    int pushes;
    int32_t capacity;
  };
  const Case cases[] = {
      {"empty", 0, 0, 1},
      {"first_push_grows", 0, 1, 2},
      {"full", 3, 3, 4},
      {"full_plus_one", 3, 4, 8},
      {"several_growths", 0, 9, 16},
  };
  for (const Case& c : cases) {
    Counted::reset();
    {
      IterStack<Counted> s(c.room);
      for (int i = 1; i <= c.pushes; ++i)
        s.push(Counted(i * 10));
      EXPECT_EQ(s.capacity(), c.capacity) << c.name;
      EXPECT_EQ(s.count(), c.pushes) << c.name;
      EXPECT_EQ(Counted::live, c.capacity) << c.name;
      for (int i = 1; i <= c.pushes; ++i)
        EXPECT_EQ(s.at(i).value, i * 10) << c.name << " element " << i;
    }
    EXPECT_EQ(Counted::live, 0) << c.name;
  }
}

TEST(IterStackTest, PushOfOwnElementWhileGrowing) {
  Counted::reset();
  {
    IterStack<Counted> s(1);
    s.push(Counted(7));
    ASSERT_EQ(s.capacity(), 2);
    for (int i = 0; i < 40; ++i)
      s.push(s.at(1));  // grows at 2, 4, 8, 16, 32
    EXPECT_EQ(s.count(), 41);
    for (int32_t i = 1; i <= s.count(); ++i)
      EXPECT_EQ(s.at(i).value, 7) << i;
    s.push(std::move(s.at(s.count())));
    EXPECT_EQ(s.at(s.count()).value, 7);
  }
  EXPECT_EQ(Counted::live, 0);

  // A heap-owning element: a stale reference would read freed memory.
  IterStack<std::string> strings(0);
  strings.push(std::string(64, 'x'));
  for (int i = 0; i < 10; ++i)
    strings.push(strings.at(1));
  EXPECT_EQ(strings.at(11), std::string(64, 'x'));

  IterStack<int> ints(0);
  ints.push(5);
  for (int i = 0; i < 10; ++i)
    ints.push(ints.at(ints.count()));
  EXPECT_EQ(ints.at(11), 5);
}

TEST(IterStackTest, PopAndClearKeepTheBuffer) {
  IterStack<int> s(2);
  s.push(1);
  s.push(2);
  s.push(3);
  const int32_t capacity = s.capacity();
  EXPECT_EQ(s.pop(), 3);
  EXPECT_EQ(s.pop(), 2);
  EXPECT_EQ(s.count(), 1);
  s.clear();
  EXPECT_EQ(s.count(), 0);
  EXPECT_EQ(s.capacity(), capacity);
  // The old elements stay in their slots until overwritten.
  EXPECT_EQ(s.at(2), 2);
}

TEST(IterStackTest, CopyHasRoomForAtLeastTen) {
  IterStack<int> small(2);
  small.push(1);
  small.push(2);
  IterStack<int> copy(small);
  EXPECT_EQ(copy.capacity(), 10);
  EXPECT_EQ(copy.count(), 2);
  EXPECT_EQ(copy.at(1), 1);
  EXPECT_EQ(copy.at(2), 2);
  for (int32_t i = 3; i < 10; ++i)
    EXPECT_EQ(copy.at(i), 0) << i;

  IterStack<int> large(0);
  for (int i = 1; i <= 20; ++i)
    large.push(i);
  ASSERT_EQ(large.capacity(), 32);
  IterStack<int> copy2(large);
  EXPECT_EQ(copy2.capacity(), 21);
  for (int i = 1; i <= 20; ++i)
    EXPECT_EQ(copy2.at(i), i);

  copy2 = small;
  EXPECT_EQ(copy2.count(), 2);
  EXPECT_EQ(copy2.capacity(), 10);

  Counted::reset();
  {
    IterStack<Counted> source(1);
    source.push(Counted(3));
    IterStack<Counted> counted(source);
    EXPECT_EQ(Counted::live, 2 + 10);
    EXPECT_EQ(counted.at(1).value, 3);
    IterStack<Counted> moved(std::move(counted));
    EXPECT_EQ(Counted::live, 2 + 10);
    EXPECT_EQ(moved.at(1).value, 3);
    // A moved-from stack starts over from nothing.
    counted.push(Counted(4));
    EXPECT_EQ(counted.at(1).value, 4);
  }
  EXPECT_EQ(Counted::live, 0);
}

TEST(IterStackTest, DefaultMemberValuesFillEverySlot) {
  struct WithDefault {
    int a = 42;
  };
  IterStack<WithDefault> s(2);
  EXPECT_EQ(s.at(0).a, 42);
  EXPECT_EQ(s.at(2).a, 42);
  s.at(10);
  for (int32_t i = 0; i < s.capacity(); ++i)
    EXPECT_EQ(s.at(i).a, 42) << i;
}

TEST(IterStackTest, IteratorStartsBeforeFirstAndSeesLaterChanges) {
  IterStack<int> s(0);
  IterStackIter<int> it(&s);
  EXPECT_FALSE(it.next());

  IterStackIter<int> later(&s);
  s.push(5);
  s.push(6);
  EXPECT_EQ(later.count(), 2);
  ASSERT_TRUE(later.next());
  EXPECT_EQ(later.value(), 5);
  ASSERT_TRUE(later.next());
  EXPECT_EQ(later.value(), 6);
  EXPECT_FALSE(later.next());
  later.rewind();
  ASSERT_TRUE(later.next());
  EXPECT_EQ(later.value(), 5);
}

TEST(IterStackTest, SmallIterKeepsItsOwnCopy) {
  int a = 1, b = 2, c = 3;
  IterStack<int*> list(3);
  list.push(&a);
  list.push(&b);
  list.push(&c);

  SmallIterStackIter<int*> it(list);
  list.clear();
  list.push(nullptr);

  EXPECT_EQ(it.current(), nullptr);  // slot 0 before the first next()
  int* expected[] = {&a, &b, &c};
  for (int* e : expected) {
    ASSERT_TRUE(it.next());
    EXPECT_EQ(it.current(), e);
  }
  EXPECT_FALSE(it.next());
  EXPECT_EQ(it.current(), nullptr);

  SmallIterStackIter<int*> none;
  EXPECT_FALSE(none.next());
  EXPECT_EQ(none.current(), nullptr);
}

}  // namespace
