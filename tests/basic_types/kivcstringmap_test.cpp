#include "basic_types/kivcstringmap.h"

#include "basic_types/testsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> keysInOrder(const KivCStringMap<int>& m) {
  std::vector<std::string> keys;
  for (const auto& entry : m)
    keys.push_back(entry.first.c_str());
  return keys;
}

TEST(KivCStringMapTest, TextSearchFindsStringKeys) {
  KivCStringMap<int> m;
  m[KivString("abc")] = 1;
  m[KivString("\xE9t\xE9")] = 2;
  m[KivString("ab")] = 3;

  struct Case {
    const char* name;
    const char* text;
    bool found;
    int value;
  };
  const Case cases[] = {
      {"plain", "abc", true, 1},
      {"prefix_is_another_key", "ab", true, 3},
      {"longer_than_any_key", "abcd", false, 0},
      {"high_bytes_widen_as_the_key_did", "\xE9t\xE9", true, 2},
      {"empty", "", false, 0},
  };
  for (const Case& c : cases) {
    int out = -1;
    EXPECT_EQ(m.find(c.text, &out), c.found) << c.name;
    EXPECT_EQ(m.contains(c.text), c.found) << c.name;
    if (c.found)
      EXPECT_EQ(out, c.value) << c.name;
    else
      EXPECT_EQ(out, -1) << c.name;
  }
  int out = 0;
  EXPECT_TRUE(m.find(KivString(u"abc"), &out));
  EXPECT_EQ(out, 1);
  ASSERT_NE(m.value("ab"), nullptr);
  *m.value("ab") = 30;
  EXPECT_EQ(m[KivString("ab")], 30);
  EXPECT_EQ(m.count(), 3);
}

TEST(KivCStringMapTest, OrderAndIdentityOfKeys) {
  KivCStringMap<int> m;
  for (const char* key : {"b", "c", "a", "ab"})
    m[KivString(key)] = 1;
  EXPECT_EQ(keysInOrder(m), (std::vector<std::string>{"a", "ab", "b", "c"}));

  // Null and empty are one key, and it sorts first.
  m[KivString()] = 5;
  EXPECT_EQ(m[KivString("")], 5);
  EXPECT_EQ(m.count(), 5);
  EXPECT_EQ(keysInOrder(m).front(), "");

  EXPECT_TRUE(m.remove("ab"));
  EXPECT_FALSE(m.remove("ab"));
  EXPECT_TRUE(m.remove(KivString("b")));
  EXPECT_EQ(keysInOrder(m), (std::vector<std::string>{"", "a", "c"}));
}

TEST(KivCStringMapTest, NullTextIsReported) {
  AssertCapture capture;
  KivCStringMap<int> m;
  m[KivString("a")] = 1;
  int out = 7;
  EXPECT_FALSE(m.find(static_cast<const char*>(nullptr), &out));
  EXPECT_FALSE(m.contains(static_cast<const char*>(nullptr)));
  EXPECT_EQ(out, 7);
  ASSERT_EQ(capture.reports.size(), 2u);
  EXPECT_EQ(capture.reports[0].expression, "data_");
  EXPECT_EQ(capture.reports[0].file, "basic_types/kivcstringmap");
}

TEST(KivCStringMapTest, CopyIsDeepAndMovedFromIsEmpty) {
  KivCStringMap<int> m;
  m[KivString("k")] = 1;
  KivCStringMap<int> copy(m);
  copy[KivString("k")] = 2;
  EXPECT_EQ(m[KivString("k")], 1);

  KivCStringMap<int> moved(std::move(m));
  EXPECT_TRUE(moved.contains("k"));
  EXPECT_EQ(m.count(), 0);
  EXPECT_FALSE(m.contains("k"));
  EXPECT_TRUE(keysInOrder(m).empty());
  m[KivString("z")] = 3;
  EXPECT_EQ(m.count(), 1);

  copy = moved;
  EXPECT_EQ(copy[KivString("k")], 1);
}

}  // namespace
