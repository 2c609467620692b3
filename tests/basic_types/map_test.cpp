#include "basic_types/map.h"

#include "basic_types/testsupport.h"
#include "core/kivclassid.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(MapTest, NextPrime) {
  struct Case {
    const char* name;
    uint32_t n;
    uint32_t expected;
  };
  const Case cases[] = {
      {"zero", 0, 2},
      {"below_first", 1, 2},
      {"on_an_entry_goes_past_it", 2, 3},
      {"stop_names", 6, 11},
      {"event_tables", 2, 3},
      {"class_factory", 99, 131},
      {"on_last_but_one", 1073741827u, 2147483659u},
      {"on_last", 2147483659u, 2147483659u},
      {"past_last", 4000000000u, 2147483659u},
  };
  for (const Case& c : cases)
    EXPECT_EQ(nextPrime(c.n), c.expected) << c.name;
}

TEST(MapTest, TextHashes) {
  struct Case {
    const char* name;
    const char* text;
    uint32_t expected;
  };
  const Case cases[] = {
      {"null", nullptr, 0u},
      {"empty", "", 5381u},
      {"one_char", "a", 5381u * 33u + 97u},
      {"high_byte_is_signed", "\xE9", 5381u * 33u - 23u},
      {"two_chars", "ab", (5381u * 33u + 97u) * 33u + 98u},
  };
  MapHash<const char*> pointerHash;
  MapHash<KivCString> stringHash;
  for (const Case& c : cases) {
    EXPECT_EQ(pointerHash(c.text), c.expected) << c.name;
    EXPECT_EQ(stringHash(KivCString::view(c.text)), c.expected) << c.name;
  }
  EXPECT_TRUE(pointerHash.equal(nullptr, nullptr));
  EXPECT_FALSE(pointerHash.equal(nullptr, ""));
  EXPECT_FALSE(pointerHash.equal("", nullptr));
}

TEST(MapTest, GrowsToNextPrimeAtFourFifths) {
  Map<int, int> m(3);
  EXPECT_EQ(m.find(1), nullptr);  // no table yet
  m[1] = 10;
  m[2] = 20;
  EXPECT_EQ(m.bucketCount(), 3u);  // 2 < 2.4
  m[3] = 30;
  EXPECT_EQ(m.bucketCount(), 5u);
  m[2] = 21;  // an existing key inserts nothing
  EXPECT_EQ(m.count(), 3);
  m[4] = 40;
  EXPECT_EQ(m.bucketCount(), 11u);  // 4 >= 4.0
  for (int k = 1; k <= 4; ++k) {
    auto* node = m.find(k);
    ASSERT_NE(node, nullptr) << k;
    EXPECT_EQ(node->value, k == 2 ? 21 : k * 10);
    EXPECT_EQ(node->bucket, static_cast<uint32_t>(k) % 11u);
  }
}

std::vector<int> keysInOrder(const Map<int, int>& m) {
  std::vector<int> keys;
  Map<int, int>::Iterator it(m);
  for (bool ok = it.first(); ok; ok = it.next())
    keys.push_back(it.key());
  return keys;
}

TEST(MapTest, ChainOrderAndGrowthOrder) {
  Map<int, int> m(7);
  EXPECT_TRUE(keysInOrder(m).empty());
  // 0, 7, 14 share bucket 0; each new one goes to the head.
  m[0];
  m[7];
  m[14];
  m[3];
  EXPECT_EQ(keysInOrder(m), (std::vector<int>{14, 7, 0, 3}));

  // Growth walks the old chains head first and puts each node at the head of
  // its new chain: chain 0 of size 2 is {6, 0}, and both land in chain 0 of
  // size 3 in reverse.
  Map<int, int> g(2);
  g[0];
  g[6];
  ASSERT_EQ(g.bucketCount(), 3u);
  EXPECT_EQ(keysInOrder(g), (std::vector<int>{0, 6}));
  EXPECT_EQ(g.find(6)->bucket, 0u);
}

TEST(MapTest, RemoveClearAndLifetimes) {
  Counted::reset();
  {
    Map<int, Counted> m(5);
    for (int k : {0, 5, 10, 1})
      m[k] = Counted(k);
    ASSERT_EQ(m.bucketCount(), 11u);
    EXPECT_EQ(Counted::live, 4);

    EXPECT_TRUE(m.remove(5));
    EXPECT_FALSE(m.remove(5));
    EXPECT_FALSE(m.contains(5));
    EXPECT_TRUE(m.contains(0));
    EXPECT_TRUE(m.contains(10));
    EXPECT_EQ(m.count(), 3);
    EXPECT_EQ(Counted::live, 3);

    // Head and tail of a chain of the same bucket.
    Map<int, int> chain(7);
    chain[0];
    chain[7];
    chain[14];
    EXPECT_TRUE(chain.remove(14));
    EXPECT_TRUE(chain.remove(0));
    EXPECT_EQ(keysInOrder(chain), (std::vector<int>{7}));

    m.clear();
    EXPECT_EQ(m.count(), 0);
    EXPECT_EQ(m.bucketCount(), 11u);
    EXPECT_EQ(Counted::live, 0);
    EXPECT_EQ(m.find(0), nullptr);
    m[0] = Counted(9);
    EXPECT_EQ(m.get(0).value, 9);

    Map<int, Counted> moved(std::move(m));
    EXPECT_EQ(moved.count(), 1);
    EXPECT_EQ(m.count(), 0);
    EXPECT_FALSE(m.remove(0));
    m[1];
  }
  EXPECT_EQ(Counted::live, 0);

  Map<int, int> untouched(3);
  EXPECT_FALSE(untouched.remove(1));
  untouched.clear();
  EXPECT_FALSE(untouched.contains(1));
}

TEST(MapTest, MissingRequiredValueIsReported) {
  AssertCapture capture;
  Map<int, int> m(3);
  m.get(4);
  m[4] = 1;
  EXPECT_EQ(m.get(4), 1);
  ASSERT_EQ(capture.reports.size(), 1u);
  EXPECT_EQ(capture.reports[0].expression, "0");
  EXPECT_EQ(capture.reports[0].file, "basic_types/map");
  EXPECT_EQ(capture.reports[0].line, 250);
}

TEST(MapTest, KeyTypes) {
  // Text keys compare by content, not by address.
  char first[] = "name";
  char second[] = "name";
  Map<const char*, int> byPointer(nextPrime(6));
  byPointer[first] = 1;
  EXPECT_EQ(byPointer[second], 1);
  byPointer[nullptr] = 2;
  byPointer[""] = 3;
  EXPECT_EQ(byPointer.count(), 3);
  EXPECT_EQ(byPointer.get(nullptr), 2);

  Map<KivCString, int> byCString(17);
  byCString[KivCString("event")] = 4;
  EXPECT_EQ(byCString.get(KivCString::view("event")), 4);
  EXPECT_FALSE(byCString.contains(KivCString()));

  Map<KivString, KivString> byString(17);
  byString[KivString("abc")] = KivString("x");
  EXPECT_EQ(MapHash<KivString>()(KivString("abc")), 97u + 98u + 99u);
  EXPECT_TRUE(byString.contains(KivString(u"abc")));
  EXPECT_FALSE(byString.contains(KivString("acb")));  // same sum, other text

  // Same first field: same chain, still two keys.
  KivClassId a = makeClassId(0x12345678, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
  KivClassId b = makeClassId(0x12345678, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11);
  Map<KivClassId, int> byId(nextPrime(99));
  byId[a] = 1;
  byId[b] = 2;
  EXPECT_EQ(MapHash<KivClassId>()(a), 0x12345678u);
  EXPECT_EQ(byId.find(a)->bucket, byId.find(b)->bucket);
  EXPECT_EQ(byId.get(a), 1);
  EXPECT_EQ(byId.get(b), 2);

  int x = 0, y = 0;
  Map<int*, int> byAddress(17);
  byAddress[&x] = 5;
  EXPECT_TRUE(byAddress.contains(&x));
  EXPECT_FALSE(byAddress.contains(&y));
}

}  // namespace
