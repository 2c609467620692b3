// Tests of KivString: widening, the 8-bit and UTF-8 forms, sharing of views,
// ordering, edits, number texts and the optional string helper service.
#include "kivbasictypes/kivstring.h"

#include "core/fakemanager.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "kivbasictypes/ikivstrsupport.h"
#include "kivbasictypes/strsupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <sstream>
#include <string>

namespace {

std::u16string units(const KivString& s) { return std::u16string(s.wideText()); }

// A view over a literal that the string must never write to or free.
KivString viewOf(const char16_t* text) {
  KivString s;
  s.adoptWide(const_cast<KivChar*>(text), 0);
  return s;
}

TEST(KivString, EightBitTextWidensAsSignedBytes) {
  KivString s("caf\xE9");
  EXPECT_EQ(units(s), u"caf\xFFE9");
  EXPECT_TRUE(s == "caf\xE9");
  EXPECT_EQ(s.compare("caf\xE9"), 0);
  // 0xFFE9 sorts after every ASCII unit.
  EXPECT_EQ(s.compare("cafz"), 1);
  EXPECT_TRUE(KivString("ab", 1) == "a");
  EXPECT_TRUE(KivString(static_cast<const char*>(nullptr)).isNull());
}

TEST(KivString, NarrowFormDropsUnitsAbove127) {
  EXPECT_STREQ(KivString(u"caf\u00e9").c_str(), "caf");
  EXPECT_STREQ(KivString("caf\xE9!").c_str(), "caf!");
  EXPECT_STREQ(KivString(u"\u20ac").c_str(), "");
  EXPECT_STREQ(KivString().c_str(), "");
  std::ostringstream os;
  os << KivString(u"x\u00e9y");
  EXPECT_EQ(os.str(), "xy");
}

TEST(KivString, LiteralIsHandedBackUntilTheTextChanges) {
  static const char kLiteral[] = "Name\xE9";
  KivString s = KivString::fromLiteral(kLiteral);
  EXPECT_EQ(s.c_str(), kLiteral);
  KivString copy(s);
  EXPECT_EQ(copy.c_str(), kLiteral);
  KivString assigned;
  assigned = s;
  EXPECT_EQ(assigned.c_str(), kLiteral);
  s.append("x");
  EXPECT_STREQ(s.c_str(), "Namex");
  copy.truncate(2);
  EXPECT_STREQ(copy.c_str(), "Na");
  EXPECT_STREQ(kLiteral, "Name\xE9");
}

TEST(KivString, CopyOfViewSharesTextCopyOfOwnedDoesNot) {
  static const char16_t kText[] = u"abc";
  KivString view = viewOf(kText);
  KivString viewCopy(view);
  EXPECT_EQ(viewCopy.wide(), kText);
  EXPECT_EQ(viewCopy.wideCapacity(), 0);
  KivString viewAssigned("zzzzzzzzzzzzzzzzzz");
  viewAssigned = view;
  EXPECT_EQ(viewAssigned.wide(), kText);
  EXPECT_EQ(viewAssigned.wideCapacity(), 0);

  KivString owned(u"abc");
  KivString ownedCopy(owned);
  EXPECT_NE(ownedCopy.wide(), owned.wide());
  EXPECT_GT(ownedCopy.wideCapacity(), 0);
  EXPECT_TRUE(ownedCopy == owned);

  KivString moved(std::move(owned));
  EXPECT_TRUE(owned.isNull());
  EXPECT_EQ(units(moved), u"abc");

  // Writing to a copy of a view makes it owned and leaves the literal alone.
  viewCopy.removeAt(0, 1);
  viewAssigned.truncate(1);
  EXPECT_EQ(units(viewCopy), u"bc");
  EXPECT_EQ(units(viewAssigned), u"a");
  EXPECT_EQ(std::u16string(kText), u"abc");
  KivString left = view.left(1);
  EXPECT_EQ(units(left), u"a");
  EXPECT_EQ(std::u16string(kText), u"abc");
}

TEST(KivString, NullAndEmptyCompareEqualAndSortFirst) {
  struct Case {
    const char* name;
    KivString a;
    KivString b;
    int order;
  };
  const Case cases[] = {
      {"null_vs_empty", KivString(), KivString(""), 0},
      {"null_vs_a", KivString(), KivString("a"), -1},
      {"a_vs_null", KivString("a"), KivString(), 1},
      {"empty_vs_a", KivString(""), KivString("a"), -1},
      {"prefix_first", KivString("ab"), KivString("abc"), -1},
      {"units_not_bytes", KivString(u"\u0100"), KivString(u"\u00ff"), 1},
      {"equal", KivString("abc"), KivString(u"abc"), 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.a.compare(c.b), c.order);
    EXPECT_EQ(c.b.compare(c.a), -c.order);
    EXPECT_EQ(c.a == c.b, c.order == 0);
    EXPECT_EQ(c.a.compareLocale(c.b), c.order);
  }
  EXPECT_TRUE(KivString() == static_cast<const char*>(nullptr));
  EXPECT_TRUE(KivString("") == "");
  EXPECT_FALSE(KivString("a") == "ab");
}

TEST(KivString, SearchRules) {
  const KivString s("abcabc");
  struct Case {
    const char* name;
    const char* text;
    int32_t start;
    int32_t expected;
  };
  const Case cases[] = {
      {"first", "bc", 0, 1},
      {"from_start", "bc", 2, 4},
      {"at_start_position", "abc", 3, 3},
      {"behind_last_possible", "abc", 4, -1},
      {"past_end", "a", 7, -1},
      {"negative_start", "a", -1, -1},
      {"empty_text", "", 5, 0},
      {"longer_than_string", "abcabca", 0, -1},
      {"missing", "cb", 0, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(s.find(KivString(c.text), c.start), c.expected);
  }
  EXPECT_EQ(s.find(u'c', 3), 5);
  EXPECT_EQ(s.find(u'c', 6), -1);
  EXPECT_EQ(s.find(u'c', -1), -1);
  EXPECT_EQ(KivString().find(u'a', 0), -1);

  const KivString t("aaaa");
  EXPECT_EQ(t.findNth(KivString("aa"), 1), 0);
  EXPECT_EQ(t.findNth(KivString("aa"), 2), 2);
  EXPECT_EQ(t.findNth(KivString("aa"), 3), -1);
  EXPECT_EQ(t.findNth(KivString("aa"), 0), -1);

  EXPECT_TRUE(KivString("Hello World").contains(KivString("WORLD"), false));
  EXPECT_FALSE(KivString("Hello World").contains(KivString("WORLD"), true));
  // Only A to Z fold without the helper service.
  EXPECT_FALSE(KivString(u"\u00c9t\u00e9").contains(KivString(u"\u00e9T"), false));
  EXPECT_TRUE(KivString(u"\u00c9t\u00e9").contains(KivString(u"T\u00e9"), false));
  EXPECT_TRUE(KivString().contains(KivString(), true));
}

TEST(KivString, PiecesAndEdits) {
  const KivString s("hello");
  EXPECT_EQ(units(s.substr(1, 3)), u"ell");
  EXPECT_EQ(units(s.substr(3, 10)), u"lo");
  EXPECT_TRUE(s.substr(1, 0).isNull());
  EXPECT_TRUE(s.substr(5, 1).isNull());
  EXPECT_EQ(units(s.from(2)), u"llo");
  EXPECT_EQ(units(s.left(2)), u"he");
  EXPECT_EQ(units(s.left(9)), u"hello");
  EXPECT_TRUE(s.left(0).isEmpty());
  EXPECT_EQ(units(s.replace(1, 4, KivString("ipp"))), u"hippo");
  EXPECT_EQ(units(s.replace(0, 0, KivString(">"))), u">hello");
  EXPECT_EQ(units(s.replace(5, 5, KivString("!"))), u"hello!");
  EXPECT_EQ(units(s), u"hello");

  KivString edit("abcdef");
  edit.removeAt(1, 2);
  EXPECT_EQ(units(edit), u"adef");
  edit.removeAt(2, 100);
  EXPECT_EQ(units(edit), u"ad");
  edit.truncate(1);
  EXPECT_EQ(units(edit), u"a");
  edit.truncate(1000);
  EXPECT_EQ(units(edit), u"a");

  // Appending past the present buffer, to itself, and in 8-bit form.
  KivString grow;
  for (int i = 0; i < 40; ++i)
    grow.append(static_cast<KivChar>(u'a' + i % 26));
  EXPECT_EQ(grow.length(), 40);
  EXPECT_EQ(grow.at(39), u'n');
  KivString twice("xy");
  twice.append(twice);
  twice.append(twice);
  EXPECT_EQ(units(twice), u"xyxyxyxy");
  twice.append("\xE9");
  EXPECT_EQ(twice.at(8), u'\xFFE9');
  EXPECT_EQ(units(KivString("a") + KivString("b")), u"ab");

  // Assigning from the string's own buffers.
  KivString self("narrow");
  self = self.c_str();
  EXPECT_EQ(units(self), u"narrow");
  self.assign(self.wide() + 2, -1);
  EXPECT_EQ(units(self), u"rrow");
  EXPECT_EQ(self.hash(), static_cast<uint32_t>(u'r' + u'r' + u'o' + u'w'));
}

TEST(KivString, Utf8RoundTripAndBrokenInput) {
  const KivString s(u"a\u00e9\u20ac");
  EXPECT_STREQ(s.utf8Text(), "a\xC3\xA9\xE2\x82\xAC");
  EXPECT_TRUE(KivString::fromUtf8("a\xC3\xA9\xE2\x82\xAC") == s);
  // Surrogates are encoded one by one.
  EXPECT_STREQ(KivString(u"\xD83D\xDE00").utf8Text(), "\xED\xA0\xBD\xED\xB8\x80");

  struct Case {
    const char* name;
    const char* bytes;
  };
  const Case broken[] = {
      {"cut_short_two", "ab\xC3"},
      {"cut_short_three", "ab\xE2\x82"},
      {"overlong_two", "a\xC1\x81"},
      {"overlong_three", "a\xE0\x81\x81"},
      {"four_byte_lead", "a\xF0\x9F\x98\x80"},
      {"stray_continuation", "a\x80"},
      {"bad_continuation", "a\xC3(b"},
  };
  for (const Case& c : broken) {
    SCOPED_TRACE(c.name);
    EXPECT_TRUE(KivString::fromUtf8(c.bytes).isEmpty());
  }

  KivString source(u"\u00e9");
  KivCString out("old");
  takeUtf8(out, source);
  EXPECT_STREQ(out.c_str(), "\xC3\xA9");
  EXPECT_TRUE(out.isOwned());
  EXPECT_EQ(units(source), u"\u00e9");
}

TEST(KivString, NumberTexts) {
  struct Case {
    const char* name;
    KivString text;
    const char* expected;
  };
  const Case cases[] = {
      {"int", KivString(-42), "-42"},
      {"int_spec", KivString(42, "05"), "00042"},
      {"long_spec", KivString(42L, "-4"), "42  "},
      {"long_long_spec", KivString(LLONG_MAX, ""), "9223372036854775807"},
      {"double_plain", KivString(1.5), "1.500000"},
      {"double_at_limit", KivString(1e10), "10000000000.000000"},
      {"double_above_limit", KivString(1e11), "1.000000e+11"},
      {"double_negative_above", KivString(-1e11), "-1.000000e+11"},
      {"format_fixed", KivString(3.14159, KivNumberFormat(".2", false, false)), "3.14"},
      {"format_standard", KivString(-0.005, KivNumberFormat::standard()), "-0.01"},
      {"format_general", KivString(3.14159, KivNumberFormat(".3", true, false)), "3.14"},
      {"format_exponent", KivString(3.14159, KivNumberFormat(".3", true, true)), "3.142e+00"},
      {"format_fixed_ignores_upper", KivString(2.0, KivNumberFormat(".1", false, true)), "2.0"},
      {"unsigned", KivString(4294967295u), "4294967295"},
      {"unsigned_long_long", KivString(18446744073709551615ull), "18446744073709551615"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_STREQ(c.text.c_str(), c.expected);
  }
  // A text longer than the first 40-byte buffer.
  KivString big(1e60, KivNumberFormat(".2", false, false));
  EXPECT_EQ(big.length(), 63);
  EXPECT_EQ(big.find(KivString(".00"), 0), 60);
}

TEST(KivString, ParsingReportsThroughOk) {
  struct Case {
    const char* name;
    KivString text;
    bool ok;
    double asDouble;
    int asInt;
  };
  const Case cases[] = {
      {"null", KivString(), false, 0, 0},
      {"empty", KivString(""), false, 0, 0},
      {"decimal", KivString(" 12.5xyz"), true, 12.5, 12},
      {"negative", KivString("-7"), true, -7, -7},
      {"hex_int", KivString("0x1F"), true, 0, 31},
      {"words", KivString("abc"), false, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    bool ok = !c.ok;
    int asInt = c.text.toInt(&ok);
    EXPECT_EQ(ok, c.ok);
    EXPECT_EQ(asInt, c.asInt);
    if (std::strcmp(c.name, "hex_int") != 0) {
      ok = !c.ok;
      EXPECT_DOUBLE_EQ(c.text.toDouble(&ok), c.asDouble);
      EXPECT_EQ(ok, c.ok);
    }
  }
  EXPECT_EQ(KivString("08").toInt(), 0);  // "%i" reads a leading 0 as octal
}

TEST(KivString, CaseAndSpaceWithoutHelper) {
  EXPECT_EQ(units(KivString(u"aZ\u00e9\u00c9").toUpper()), u"AZ\u00e9\u00c9");
  EXPECT_EQ(units(KivString(u"aZ\u00e9\u00c9").toLower()), u"az\u00e9\u00c9");
  EXPECT_TRUE(KivString().toLower().isNull());
  EXPECT_EQ(units(KivString(" a b\n").withoutSpace()), u"ab");
  EXPECT_EQ(units(KivString("\t\v\f\rx\x1F y\xA0").withoutSpace()), u"x\x1Fy\xFFA0");
  EXPECT_TRUE(KivString::isSpace(' '));
  EXPECT_TRUE(KivString::isSpace('\n'));
  EXPECT_FALSE(KivString::isSpace(0x2003));
  EXPECT_FALSE(KivString::isSpace(-5));
  EXPECT_TRUE(KivString::isDigit('7'));
  EXPECT_FALSE(KivString::isDigit(0x660));
  EXPECT_FALSE(KivString::isDigit(-1));
}

// A helper service that makes its presence visible in every answer.
class MarkingStrSupport : public IKivStrSupport {
public:
  void queryInterface(const char* name, void** out) override {
    if (name && !kivAnswer(name, "IKivStrSupport", this, out))
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
  }
  const char* className() const override { return "MarkingStrSupport"; }
  void toNarrow(KivCString& out, const char16_t* wide) override {
    out = "?";
    for (; *wide; ++wide)
      out.append(*wide < 128 ? static_cast<char>(*wide) : '#');
  }
  int compare(const KivString&, const KivString&) override { return 7; }
  bool isSpace(int c) override { return c == '_'; }
  bool isDigit(int c) override { return c == 'x'; }
  bool contains(const KivString&, const KivString&, bool) override { return true; }
  void removeSpace(KivString& text) override { text = "removed"; }
  void collapseSpace(KivString& text) override { text = "collapsed"; }
  void toLower(KivString& text) override { text = "lower"; }
  void toUpper(KivString& text) override { text = "upper"; }
};

TEST(KivString, HelperServiceTakesOverWhenPresent) {
  IPtr<MarkingStrSupport> support(new MarkingStrSupport);
  FakeManager manager;
  manager.services["IKivStrSupport"] = support.get();
  resetStrSupport();
  setComponentManager(&manager);
  EXPECT_EQ(strSupport(), support.get());
  int lookups = manager.getCalls;

  KivString s(u"a\u00e9");
  EXPECT_STREQ(s.c_str(), "?a#");
  EXPECT_EQ(s.compareLocale(KivString("b")), 7);
  EXPECT_TRUE(s.contains(KivString("zzz"), true));
  EXPECT_TRUE(KivString::isSpace('_'));
  EXPECT_FALSE(KivString::isSpace(' '));
  EXPECT_TRUE(KivString::isDigit('x'));
  EXPECT_EQ(units(s.toLower()), u"lower");
  EXPECT_EQ(units(s.toUpper()), u"upper");
  EXPECT_EQ(units(s.withoutSpace()), u"removed");
  EXPECT_EQ(units(s), u"a\u00e9");
  // The look-up happens once.
  EXPECT_EQ(manager.getCalls, lookups);

  resetStrSupport();
  setComponentManager(nullptr);
  EXPECT_EQ(strSupport(), nullptr);
  EXPECT_STREQ(s.c_str(), "a");
  resetStrSupport();
}

} // namespace
