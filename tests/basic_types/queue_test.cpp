#include "basic_types/queue.h"

#include "basic_types/testsupport.h"

#include <gtest/gtest.h>

#include <deque>

namespace {

TEST(QueueTest, FirstInFirstOutAcrossTheSwap) {
  Queue<int> q(1);
  EXPECT_TRUE(q.isEmpty());
  q.push(1);
  q.push(2);
  q.push(3);
  EXPECT_EQ(q.top(), 1);
  EXPECT_EQ(q.pop(), 1);  // swaps: front holds 1 2 3, head 2
  EXPECT_EQ(q.head(), 2);
  EXPECT_EQ(q.pop(), 2);
  q.push(4);  // into the cleared back
  EXPECT_EQ(q.count(), 2);
  EXPECT_EQ(q.top(), 3);
  EXPECT_EQ(q.pop(), 3);
  EXPECT_EQ(q.top(), 4);
  EXPECT_EQ(q.pop(), 4);
  EXPECT_TRUE(q.isEmpty());
  EXPECT_EQ(q.count(), 0);
}

TEST(QueueTest, MatchesADequeUnderMixedTraffic) {
  // Bursts of pushes and pops of varying length, so that items wait in both
  // stacks and the swap happens with front both drained and refilled.
  Queue<int> q(2);
  std::deque<int> reference;
  int next = 0;
  const int pattern[][2] = {{1, 1}, {3, 1}, {2, 3}, {5, 2}, {1, 4}, {7, 7}, {4, 0}, {0, 4}};
  for (int round = 0; round < 3; ++round) {
    for (const auto& step : pattern) {
      for (int i = 0; i < step[0]; ++i) {
        q.push(next);
        reference.push_back(next++);
      }
      for (int i = 0; i < step[1]; ++i) {
        ASSERT_FALSE(q.isEmpty());
        EXPECT_EQ(q.top(), reference.front());
        EXPECT_EQ(q.pop(), reference.front());
        reference.pop_front();
      }
      ASSERT_EQ(q.count(), static_cast<int32_t>(reference.size()));
      ASSERT_EQ(q.isEmpty(), reference.empty());
    }
  }
}

TEST(QueueTest, EmptyQueueAndBadMinimumAreReported) {
  AssertCapture capture;
  {
    Queue<int> q(0);
    q.push(8);
    EXPECT_EQ(q.pop(), 8);
  }
  Queue<int*> q(1);
  EXPECT_EQ(q.top(), nullptr);
  EXPECT_EQ(q.pop(), nullptr);
  ASSERT_EQ(capture.reports.size(), 3u);
  EXPECT_EQ(capture.reports[0].expression, "minsize >= 1");
  EXPECT_EQ(capture.reports[0].file, "basic_types/queue");
  EXPECT_EQ(capture.reports[1].expression, "0");
  EXPECT_EQ(capture.reports[1].line, 104);
  EXPECT_EQ(capture.reports[2].expression, "0");
  EXPECT_EQ(capture.reports[2].file, "basic_types/queue");
  EXPECT_EQ(capture.reports[2].line, 126);
}

TEST(QueueTest, OwnsItsItems) {
  Counted::reset();
  {
    Queue<Counted> q(2);
    q.push(Counted(1));
    q.push(Counted(2));
    q.push(Counted(3));
    EXPECT_EQ(q.pop().value, 1);
  }
  EXPECT_EQ(Counted::live, 0);
}

}  // namespace
