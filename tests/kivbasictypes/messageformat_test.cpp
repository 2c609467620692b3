// Tests of placeholder substitution, the trivial translator and the choice of
// the current translator through the host's services.
#include "kivbasictypes/messageformat.h"

#include "core/classtree.h"
#include "core/componentinfo.h"
#include "core/fakemanager.h"
#include "core/kivptr.h"
#include "core/lookup.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::u16string units(const KivString& s) { return std::u16string(s.wideText()); }

TEST(MessageFormat, SubstitutesOnceLeftToRight) {
  const KivString a("a"), b("b"), x("x"), ref("%2"), wide(u"\u00e9\u20ac"), none;
  struct Case {
    const char* name;
    const char* key;
    const KivString* first;
    const KivString* second;
    const char16_t* expected;
  };
  const Case cases[] = {
      {"any_order", "%2 before %1", &a, &b, u"b before a"},
      {"argument_not_rescanned", "%1 %2", &ref, &x, u"%2 x"},
      {"double_percent_untouched", "100%%1", &a, &b, u"100%%1"},
      {"percent_skips_next_unit", "%x%1", &a, &b, u"%xa"},
      {"zero_is_no_placeholder", "%0%1", &a, &b, u"%0a"},
      {"trailing_percent", "%1%", &a, &b, u"a%"},
      {"null_argument_disappears", "[%1|%2]", &none, &b, u"[|b]"},
      {"index_past_arguments_disappears", "<%3>", &a, &b, u"<>"},
      {"wide_units_kept", "%1-%2", &wide, &wide, u"\u00e9\u20ac-\u00e9\u20ac"},
      {"no_placeholder", "plain", &a, &b, u"plain"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    KivString out("previous text");
    formatMessage(out, c.key, *c.first, *c.second);
    EXPECT_EQ(units(out), c.expected);
  }
}

TEST(MessageFormat, EveryArityAndTheTenthIndex) {
  const KivString k1("1"), k2("2"), k3("3"), k4("4"), k5("5"), k6("6");
  KivString out;
  formatMessage(out, "%1", k1);
  EXPECT_EQ(units(out), u"1");
  formatMessage(out, "%3%2%1", k1, k2, k3);
  EXPECT_EQ(units(out), u"321");
  formatMessage(out, "%4%3%2%1", k1, k2, k3, k4);
  EXPECT_EQ(units(out), u"4321");
  formatMessage(out, "%5%1", k1, k2, k3, k4, k5);
  EXPECT_EQ(units(out), u"51");
  formatMessage(out, "%6 %5 %4 %3 %2 %1", k1, k2, k3, k4, k5, k6);
  EXPECT_EQ(units(out), u"6 5 4 3 2 1");

  // ':' is the unit after '9' and names the tenth argument.
  KivTrivialTranslator translator;
  KivString ten[10];
  for (int i = 0; i < 10; ++i)
    ten[i] = KivString(i);
  translator.format(out, "%:%9%1", 10, ten);
  EXPECT_EQ(units(out), u"980");
  translator.format(out, "%1", 0, nullptr);
  EXPECT_EQ(units(out), u"%1");
}

TEST(MessageFormat, SubstituteLeavesUnownedTextAndEmptyLists) {
  const KivString a("a");
  const KivString* args[] = {&a, nullptr};
  static const char16_t kLiteral[] = u"%1";
  KivString view;
  view.adoptWide(const_cast<KivChar*>(kLiteral), 0);
  substitute(view, args);
  EXPECT_EQ(view.wide(), kLiteral);

  KivString owned("%1");
  const KivString* noArgs[] = {nullptr};
  substitute(owned, noArgs);
  EXPECT_EQ(units(owned), u"%1");
  substitute(owned, args);
  EXPECT_EQ(units(owned), u"a");

  // An argument that is the text itself is read before the text is replaced.
  KivString self("<%1>");
  const KivString* selfArgs[] = {&self, nullptr};
  substitute(self, selfArgs);
  EXPECT_EQ(units(self), u"<<%1>>");
}

TEST(MessageFormat, TrivialTranslatorKeepsKeys) {
  KivTrivialTranslator translator;
  KivString out("old");
  translator.translate(out, "Error in class %1: %2.");
  EXPECT_EQ(units(out), u"Error in class %1: %2.");
  EXPECT_TRUE(translator.lookup("caf\xE9", &out));
  EXPECT_EQ(units(out), u"caf\xFFE9");
  EXPECT_FALSE(translator.reserved9());

  translateMessage(out, "Property '%1' does not exist.");
  EXPECT_EQ(units(out), u"Property '%1' does not exist.");

  void* asTranslator = nullptr;
  translator.queryInterface("IKivTranslator", &asTranslator);
  EXPECT_EQ(asTranslator, static_cast<IKivTranslator*>(&translator));
  // A name it doesn't know, or in another case, clears what stood in *out.
  for (const char* name : {"IKivTranslatorService", "ikivtranslator"}) {
    void* stale = &translator;
    translator.queryInterface(name, &stale);
    EXPECT_EQ(stale, nullptr) << name;
  }
  // The enumeration form reports the class, then the interface it adds.
  IterStack<KivClassEntry> entries;
  ASSERT_TRUE(classTree(&translator, entries));
  std::string tree;
  for (int32_t i = 1; i <= entries.count(); ++i)
    tree += std::string(entries.at(i).name) + "<" + entries.at(i).parent + " ";
  EXPECT_EQ(tree, "KivTrivialTranslator< IKivTranslator< ");
}

// Answers every key with "T:" in front, so its use shows in the output.
class PrefixTranslator : public KivTrivialTranslator {
public:
  bool lookup(const char* key, KivString* out) override {
    *out = KivString("T:");
    out->append(key);
    return true;
  }
};

class FakeTranslatorService : public IKivTranslatorService {
public:
  void queryInterface(const char* name, void** out) override {
    if (name && !kivAnswer(name, "IKivTranslatorService", this, out))
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
  }
  const char* className() const override { return "FakeTranslatorService"; }
  IKivTranslator* translatorFor(const KivClassId& componentId) override {
    askedFor = componentId;
    ++calls;
    return answer;
  }
  IKivTranslator* answer = nullptr;
  KivClassId askedFor;
  int calls = 0;
};

class TranslatorChoice : public ::testing::Test {
protected:
  void SetUp() override { resetTranslator(); }
  void TearDown() override {
    setComponentManager(nullptr);
    resetTranslator();
  }
  std::u16string translated(const char* key) {
    KivString out;
    translateMessage(out, key);
    return units(out);
  }

  FakeManager manager;
};

TEST_F(TranslatorChoice, WithoutServiceTheTrivialOneIsReplaceable) {
  IKivTranslator* first = currentTranslator();
  ASSERT_NE(first, nullptr);
  EXPECT_STREQ(first->className(), "KivTrivialTranslator");
  EXPECT_EQ(currentTranslator(), first);

  IPtr<PrefixTranslator> prefix(new PrefixTranslator);
  setTranslator(prefix.get());
  EXPECT_EQ(translated("k"), u"T:k");
  setTranslator(prefix.get());
  EXPECT_EQ(currentTranslator(), prefix.get());

  // The service appearing later is still consulted, and its translator wins.
  IPtr<PrefixTranslator> hosted(new PrefixTranslator);
  IPtr<FakeTranslatorService> service(new FakeTranslatorService);
  service->answer = hosted.get();
  manager.services["IKivTranslatorService"] = service.get();
  setComponentManager(&manager);
  EXPECT_EQ(currentTranslator(), hosted.get());
  EXPECT_TRUE(service->askedFor == kComponentClassId);
  setComponentManager(nullptr);
  resetTranslator();
}

TEST_F(TranslatorChoice, HostTranslatorDisablesSetTranslator) {
  IPtr<PrefixTranslator> hosted(new PrefixTranslator);
  IPtr<FakeTranslatorService> service(new FakeTranslatorService);
  service->answer = hosted.get();
  manager.services["IKivTranslatorService"] = service.get();
  setComponentManager(&manager);

  EXPECT_EQ(currentTranslator(), hosted.get());
  KivString out;
  formatMessage(out, "%1!", KivString("x"));
  EXPECT_EQ(units(out), u"T:x!");
  EXPECT_EQ(service->calls, 1);

  IPtr<KivTrivialTranslator> other(new KivTrivialTranslator);
  setTranslator(other.get());
  EXPECT_EQ(currentTranslator(), hosted.get());
  EXPECT_EQ(service->calls, 1);
  resetTranslator();
}

TEST_F(TranslatorChoice, NullFromServiceFallsBackToTranslatorService) {
  IPtr<FakeTranslatorService> service(new FakeTranslatorService);
  IPtr<PrefixTranslator> plain(new PrefixTranslator);
  manager.services["IKivTranslatorService"] = service.get();
  manager.services["IKivTranslator"] = plain.get();
  setComponentManager(&manager);

  EXPECT_EQ(currentTranslator(), plain.get());
  EXPECT_EQ(translated("k"), u"T:k");
  EXPECT_EQ(service->calls, 1);
  // Set-up succeeded, so it does not run again; setTranslator stays allowed.
  IPtr<KivTrivialTranslator> other(new KivTrivialTranslator);
  setTranslator(other.get());
  EXPECT_EQ(translated("k"), u"k");
  EXPECT_EQ(service->calls, 1);
  resetTranslator();
}

TEST_F(TranslatorChoice, NullFromServiceAndNoTranslatorGivesTrivial) {
  IPtr<FakeTranslatorService> service(new FakeTranslatorService);
  manager.services["IKivTranslatorService"] = service.get();
  setComponentManager(&manager);
  EXPECT_EQ(translated("k"), u"k");
  EXPECT_STREQ(currentTranslator()->className(), "KivTrivialTranslator");
  EXPECT_EQ(service->calls, 1);
  resetTranslator();
}

} // namespace
