// Tests of KivCString: views against owned copies, ordering, searching with
// its assertion, and the in-place edits across buffer growth and aliasing.
#include "kivbasictypes/kivcstring.h"

#include "core/kivassert.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

namespace {

struct AssertRecord {
  std::string expression;
  std::string file;
  int calls = 0;
};

void recordAssert(void* context, const char* expression, const char* file, int) {
  auto* record = static_cast<AssertRecord*>(context);
  record->expression = expression;
  record->file = file;
  ++record->calls;
}

TEST(KivCString, ViewsShareTextOwnedStringsCopyIt) {
  static const char kName[] = "Name";
  KivCString view = KivCString::view(kName);
  EXPECT_EQ(view.text(), kName);
  EXPECT_FALSE(view.isOwned());

  KivCString viewCopy(view);
  EXPECT_EQ(viewCopy.text(), kName);
  KivCString viewAssigned("something longer than a view");
  viewAssigned = view;
  EXPECT_EQ(viewAssigned.text(), kName);
  EXPECT_FALSE(viewAssigned.isOwned());

  KivCString owned(kName);
  EXPECT_NE(owned.text(), kName);
  EXPECT_TRUE(owned.isOwned());
  KivCString ownedCopy(owned);
  EXPECT_NE(ownedCopy.text(), owned.text());
  EXPECT_EQ(ownedCopy, owned);

  KivCString moved(std::move(owned));
  EXPECT_TRUE(owned.isNull());
  EXPECT_STREQ(moved.c_str(), "Name");

  // Writing makes a view owned; the literal is never touched.
  viewCopy.toLower();
  EXPECT_STREQ(viewCopy.c_str(), "name");
  EXPECT_TRUE(viewCopy.isOwned());
  EXPECT_STREQ(kName, "Name");
  viewAssigned.append('!');
  EXPECT_STREQ(viewAssigned.c_str(), "Name!");
  EXPECT_STREQ(kName, "Name");
}

TEST(KivCString, NullEqualsOnlyNull) {
  struct Case {
    const char* name;
    KivCString a;
    KivCString b;
    int order;
  };
  const Case cases[] = {
      {"null_null", KivCString(), KivCString(), 0},
      {"null_empty", KivCString(), KivCString(""), -1},
      {"empty_a", KivCString(""), KivCString("a"), -1},
      {"strcmp_sense", KivCString("abd"), KivCString("abc"), 1},
      {"prefix", KivCString("ab"), KivCString("abc"), -1},
      {"view_vs_owned", KivCString::view("x"), KivCString("x"), 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.a.compare(c.b), c.order);
    EXPECT_EQ(c.b.compare(c.a), -c.order);
    EXPECT_EQ(c.a == c.b, c.order == 0);
    EXPECT_EQ(c.a < c.b, c.order < 0);
  }
}

TEST(KivCString, SearchRulesAndNegativeStartAssertion) {
  const KivCString s("a.b.c");
  EXPECT_EQ(s.find('.', 0), 1);
  EXPECT_EQ(s.find('.', 2), 3);
  EXPECT_EQ(s.find('.', 4), -1);
  EXPECT_EQ(s.find('.', 5), -1);
  EXPECT_EQ(s.find('.', -1), -1);
  EXPECT_EQ(KivCString("").find('a', 0), -1);

  EXPECT_EQ(s.find("b.c", 0), 2);
  EXPECT_EQ(s.find("b.c", 3), -1);
  EXPECT_EQ(s.find("", 3), 0);
  EXPECT_EQ(s.find("a.b.c.d", 0), -1);
  EXPECT_EQ(s.find("c", 9), -1);

  AssertRecord record;
  setAssertHandler(recordAssert, &record);
  EXPECT_EQ(s.find("a", -2), -1);
  setAssertHandler(nullptr, nullptr);
  EXPECT_EQ(record.calls, 1);
  EXPECT_EQ(record.expression, "start >= 0");
  EXPECT_EQ(record.file, "kivbasictypes/tovcstring");
}

TEST(KivCString, EditsAcrossGrowthAndAliasing) {
  KivCString s;
  std::string expected;
  for (int i = 0; i < 50; ++i) {
    s.append(static_cast<char>('a' + i % 26));
    expected += static_cast<char>('a' + i % 26);
  }
  EXPECT_EQ(s.c_str(), expected);
  s.append('\0');
  EXPECT_EQ(s.length(), 50);

  KivCString self("abc");
  self.append(self.text());
  self.append(self.text() + 4);
  EXPECT_STREQ(self.c_str(), "abcabcbc");
  self.assign(self.text() + 3, 3);
  EXPECT_STREQ(self.c_str(), "abc");

  struct Case {
    const char* name;
    const char* start;
    int32_t from;
    int32_t count;
    const char* text;
    const char* expected;
  };
  const Case ranges[] = {
      {"middle", "hello", 1, 3, "ipp", "hippo"},
      {"insert", "hello", 0, 0, ">", ">hello"},
      {"grow_past_buffer", "ab", 1, 1, "0123456789012345678901", "a0123456789012345678901"},
      {"delete", "hello", 1, 3, "", "ho"},
      {"clamped", "hello", 3, 99, "!", "hel!"},
  };
  for (const Case& c : ranges) {
    SCOPED_TRACE(c.name);
    KivCString edit(c.start);
    edit.replaceRange(c.from, c.count, c.text);
    EXPECT_STREQ(edit.c_str(), c.expected);
  }

  const Case all[] = {
      {"each", "a.b.c", 0, 0, "::", "a::b::c"},
      {"no_rescan", "aa", 0, 0, "aaa", "aaaaaa"},
      {"non_overlapping", "aaa", 0, 0, "b", "ba"},
      {"shrink", "x--y--", 0, 0, "", "xy"},
  };
  const char* froms[] = {".", "a", "aa", "--"};
  for (size_t i = 0; i < std::size(all); ++i) {
    SCOPED_TRACE(all[i].name);
    KivCString edit(all[i].start);
    edit.replaceAll(froms[i], all[i].text);
    EXPECT_STREQ(edit.c_str(), all[i].expected);
  }
  KivCString untouched = KivCString::view("abc");
  untouched.replaceAll("x", "y");
  EXPECT_FALSE(untouched.isOwned());
}

TEST(KivCString, ConversionsAndHash) {
  KivCString low;
  low.assign(u"A\u00e9\u0142", -1);
  EXPECT_EQ(low.length(), 3);
  EXPECT_EQ(static_cast<unsigned char>(low.at(1)), 0xE9);
  EXPECT_EQ(static_cast<unsigned char>(low.at(2)), 0x42);
  low.assign(static_cast<const char16_t*>(nullptr), 0);
  EXPECT_TRUE(low.isNull());

  EXPECT_STREQ(KivCString::fromInt(-2147483647 - 1).c_str(), "-2147483648");
  EXPECT_STREQ(KivCString("MiXeD\xC9").toLower().c_str(), "mixed\xC9");

  EXPECT_EQ(KivCString().hash(), 0u);
  EXPECT_EQ(KivCString("").hash(), 5381u);
  EXPECT_EQ(KivCString("a").hash(), 5381u * 33 + 'a');
  // Bytes above 0x7F count as negative values.
  EXPECT_EQ(KivCString("\xFF").hash(), 5381u * 33 - 1);
}

} // namespace
