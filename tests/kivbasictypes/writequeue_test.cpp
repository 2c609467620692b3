#include "kivbasictypes/writequeue.h"

#include "core/kivassert.h"
#include "core/kivptr.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// The queue never looks behind its pointers, so distinct addresses stand in
// for data objects here.
IKivDataObject* item(std::vector<char>& slots, int i) {
  return reinterpret_cast<IKivDataObject*>(&slots[static_cast<size_t>(i)]);
}

TEST(WriteQueue, LastPushedLeavesFirstAcrossGrowthAndClear) {
  std::vector<char> slots(64);
  IPtr<WriteQueue> queue(new WriteQueue);
  EXPECT_TRUE(queue->isEmpty());

  // A, B, C give C, B, A.
  for (int i : {0, 1, 2})
    queue->push(item(slots, i));
  EXPECT_FALSE(queue->isEmpty());
  for (int i : {2, 1, 0})
    EXPECT_EQ(queue->pop(), item(slots, i));
  EXPECT_TRUE(queue->isEmpty());

  // Interleaved, as a graph writer does it: what an object pushes while it
  // is written comes out before what was waiting.
  queue->push(item(slots, 0));
  queue->push(item(slots, 1));
  EXPECT_EQ(queue->pop(), item(slots, 1));
  queue->push(item(slots, 2));
  queue->push(item(slots, 3));
  EXPECT_EQ(queue->pop(), item(slots, 3));
  EXPECT_EQ(queue->pop(), item(slots, 2));
  EXPECT_EQ(queue->pop(), item(slots, 0));
  EXPECT_TRUE(queue->isEmpty());

  // Past the first buffers (10 entries, then doubling), the same order.
  for (int i = 0; i < 64; ++i)
    queue->push(item(slots, i));
  for (int i = 63; i >= 0; --i)
    ASSERT_EQ(queue->pop(), item(slots, i)) << i;

  // Entries left behind by a writer that gave up are gone after clear().
  for (int i = 0; i < 11; ++i)
    queue->push(item(slots, i));
  queue->clear();
  EXPECT_TRUE(queue->isEmpty());
  queue->push(item(slots, 5));
  EXPECT_EQ(queue->pop(), item(slots, 5));
  EXPECT_TRUE(queue->isEmpty());
}

TEST(WriteQueue, PopOnEmptyIsAProgrammersFaultAndGivesNull) {
  struct Log {
    std::string expression, file;
    int line = 0, count = 0;
  } log;
  setAssertHandler(
      [](void* context, const char* expression, const char* file, int line) {
        auto* l = static_cast<Log*>(context);
        l->expression = expression;
        l->file = file;
        l->line = line;
        ++l->count;
      },
      &log);
  IPtr<WriteQueue> queue(new WriteQueue);
  EXPECT_EQ(queue->pop(), nullptr);
  std::vector<char> slots(1);
  queue->push(item(slots, 0));
  queue->clear();
  EXPECT_EQ(queue->pop(), nullptr);
  setAssertHandler(nullptr, nullptr);
  EXPECT_EQ(log.count, 2);
  EXPECT_EQ(log.expression, "0");
  EXPECT_EQ(log.file, "basic_types/queue");
  EXPECT_EQ(log.line, 79);
  EXPECT_TRUE(queue->isEmpty());
}

} // namespace
