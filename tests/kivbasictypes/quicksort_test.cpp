#include "kivbasictypes/quicksort.h"

#include "blockfakes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using blockfakes::BlockFixture;

// Compares indices by a key table and counts the comparisons.
class KeyCompare : public QuickSort_Compare {
public:
  explicit KeyCompare(const std::vector<double>& keys) : keys_(keys) {}
  int compare(int32_t a, int32_t b) override {
    ++calls;
    return keys_[a] < keys_[b] ? -1 : keys_[a] > keys_[b] ? 1 : 0;
  }
  int byMember(int32_t a, int32_t b) { return compare(a, b); }
  long calls = 0;

private:
  const std::vector<double>& keys_;
};

std::vector<double> keysFor(const char* kind, int32_t n) {
  std::mt19937 rng(11);
  std::vector<double> keys(static_cast<size_t>(n) + 1);
  for (int32_t i = 1; i <= n; ++i) {
    const std::string k = kind;
    if (k == "sorted")
      keys[i] = i;
    else if (k == "reversed")
      keys[i] = n - i;
    else if (k == "equal")
      keys[i] = 7;
    else if (k == "few")
      keys[i] = static_cast<double>(rng() % 3);
    else if (k == "noisy")
      keys[i] = rng() % 100 == 0 ? static_cast<double>(rng() % static_cast<uint32_t>(n)) : i;
    else
      keys[i] = static_cast<double>(rng() % 1000003);
  }
  return keys;
}

class QuickSortTest : public BlockFixture {};

TEST_F(QuickSortTest, SortsEveryDistributionAndSize) {
  const char* kinds[] = {"sorted", "reversed", "equal", "few", "noisy", "random"};
  const int32_t sizes[] = {0, 1, 2, 3, 5, 6, 16, 17, 1000, 50000};
  for (const char* kind : kinds) {
    for (int32_t n : sizes) {
      SCOPED_TRACE(testing::Message() << kind << " n=" << n);
      const std::vector<double> keys = keysFor(kind, n);
      SortIndexArray order(n + 2);
      for (int32_t i = 1; i <= n; ++i)
        order.set(i, i);
      KeyCompare compare(keys);
      EXPECT_EQ(quickSort(order, 1, n, compare), n >= 2);
      std::vector<int32_t> seen;
      for (int32_t i = 1; i <= n; ++i) {
        seen.push_back(order.get(i));
        if (i > 1) {
          ASSERT_LE(keys[order.get(i - 1)], keys[order.get(i)]) << "at " << i;
        }
      }
      std::sort(seen.begin(), seen.end());
      for (int32_t i = 1; i <= n; ++i)
        ASSERT_EQ(seen[i - 1], i);
      EXPECT_EQ(order.get(0), 0);
      EXPECT_EQ(order.get(n + 1), 0);
      // No quadratic case: far below n^2 / 4 comparisons.
      if (n >= 1000) {
        EXPECT_LT(compare.calls, 40L * n * static_cast<long>(std::log2(n)));
      }
    }
  }
}

TEST_F(QuickSortTest, OtherFormsAndAGivenStack) {
  const std::vector<double> keys = keysFor("random", 300);
  KeyCompare compare(keys);
  std::vector<int32_t> plain(302);
  for (int32_t i = 1; i <= 300; ++i)
    plain[i] = i;
  EXPECT_TRUE(quickSort(plain.data(), 1, 300, &compare, &KeyCompare::byMember));
  SortIndexArray paged(302);
  for (int32_t i = 1; i <= 300; ++i)
    paged.set(i, i);
  IndexStack* stack = takeIndexStack();
  EXPECT_TRUE(quickSort(paged, 1, 300, &compare, &KeyCompare::byMember, stack));
  EXPECT_EQ(stack->count(), 0);
  giveIndexStack(&stack);
  EXPECT_EQ(stack, nullptr);
  for (int32_t i = 2; i <= 300; ++i) {
    EXPECT_LE(keys[plain[i - 1]], keys[plain[i]]);
    EXPECT_LE(keys[paged.get(i - 1)], keys[paged.get(i)]);
  }
  EXPECT_FALSE(quickSort(paged, 5, 5, compare));
}

// new[i] = old[order[i]], each element moved once along its cycle.
class LetterMover : public QuickSort_Assign {
public:
  explicit LetterMover(std::string& s) : s_(s) {}
  void assign(int32_t from, int32_t to) override {
    ++moves;
    const char c = from == -1 ? scratch_ : s_[from];
    if (to == -1)
      scratch_ = c;
    else
      s_[to] = c;
  }
  int moves = 0;

private:
  std::string& s_;
  char scratch_ = '?';
};

TEST_F(QuickSortTest, ApplyingAnOrderFollowsTheCycles) {
  struct Case {
    const char* name;
    std::vector<int32_t> order;  // entries 0.., applied to 1..n
    const char* before;
    const char* after;
    int moves;
  };
  const Case cases[] = {
      {"identity", {0, 1, 2, 3}, "_abc", "_abc", 0},
      {"one_cycle", {0, 2, 3, 1}, "_abc", "_bca", 4},
      {"two_swaps", {0, 2, 1, 4, 3}, "_abcd", "_badc", 6},
      {"mixed", {0, 3, 2, 1, 5, 4, 6}, "_abcdef", "_cbaedf", 6},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SortIndexArray order(16);
    for (size_t i = 0; i < c.order.size(); ++i)
      order.set(static_cast<int32_t>(i), c.order[i]);
    std::string s = c.before;
    LetterMover mover(s);
    applyOrder(order, 1, static_cast<int32_t>(c.order.size()) - 1, mover);
    EXPECT_EQ(s, c.after);
    EXPECT_EQ(mover.moves, c.moves);
  }
}

int byFirst(const void* a, const void* b) {
  const int* ref = static_cast<const int*>(sortReference());
  const int x = std::abs(*static_cast<const int*>(a) - *ref);
  const int y = std::abs(*static_cast<const int*>(b) - *ref);
  return x - y;
}

TEST_F(QuickSortTest, RecordSortSeesItsReferenceOnlyWhileRunning) {
  int records[] = {10, 1, 7, 4};
  const int reference = 6;
  sortRecords(records, 4, sizeof(int), &reference, nullptr, byFirst);
  EXPECT_EQ(std::vector<int>(records, records + 4), (std::vector<int>{7, 4, 10, 1}));
  EXPECT_EQ(sortReference(), nullptr);
  EXPECT_EQ(sortContext(), nullptr);
}

} // namespace
