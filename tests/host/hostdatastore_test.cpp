#include "host/hostdatastore.h"

#include "core/kivptr.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
}

std::string tempPath(const char* name) {
  return ::testing::TempDir() + "hostdatastore_" + std::to_string(getpid()) + "_" + name;
}

std::string utf8(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

// A listener that records what it is told and can be made hostile.
class Recorder : public TovDataReceiver {
public:
  explicit Recorder(HostDataStore* store, std::vector<std::string>* journal, const char* name)
      : store_(store), journal_(journal), name_(name) {}

  void queryInterface(const char* name, void** out) override {
    if (!name)
      return;
    *out = nullptr;
    if (kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      return;
    kivAnswer(name, "IKivDataReceiver", static_cast<IKivDataReceiver*>(this), out);
  }
  const char* className() const override { return "Recorder"; }

  void receiveInt(const char* key, int value) override {
    journal_->push_back(name_ + " " + key + "=" + std::to_string(value));
    react(key);
  }
  void receiveDouble(const char* key, double value) override {
    std::ostringstream text;
    text << name_ << " " << key << "=" << value;
    journal_->push_back(text.str());
    react(key);
  }
  void receiveCString(const char* key, const char* value) override {
    journal_->push_back(name_ + " " + key + "=" + value);
    react(key);
  }
  void receiveString(const char* key, const KivString& value) override {
    journal_->push_back(name_ + " " + key + "=" + utf8(value));
    react(key);
  }

  bool removeSelf = false;
  Recorder* removeOther = nullptr;
  Recorder* addOther = nullptr;

private:
  void react(const char* key) {
    if (removeSelf)
      store_->removeListener(key, this);
    if (removeOther)
      store_->removeListener(key, removeOther);
    if (addOther)
      store_->addListener(key, addOther);
  }

  HostDataStore* store_;
  std::vector<std::string>* journal_;
  std::string name_;
};

TEST(HostDataStore, TypedKeysAnswerOnlyTheirOwnKind) {
  IPtr<HostDataStore> store(new HostDataStore);
  store->addInt("A/int", 7, 0, 10, 0);
  store->addDouble("A/double", 0.5, 0.0, 1.0, 0);
  store->addCString("A/cstring", 0, "narrow", 0);
  store->addString("A/string", 0, KivString::fromUtf8("wide \xC3\xA9"), 2);

  struct Case {
    const char* key;
    int kind;
  } cases[] = {{"A/int", 1}, {"A/double", 2}, {"A/cstring", 3}, {"A/string", 4}, {"A/none", 5}};
  for (const Case& c : cases) {
    int kind = 5;
    store->getKind(c.key, &kind);
    EXPECT_EQ(kind, c.kind) << c.key;
    EXPECT_EQ(store->hasKey(c.key), c.kind != 5) << c.key;
    bool found = true;
    store->getInt(c.key, &found);
    EXPECT_EQ(found, c.kind == 1) << c.key;
    store->getDouble(c.key, &found);
    EXPECT_EQ(found, c.kind == 2) << c.key;
    store->getCString(c.key, &found);
    EXPECT_EQ(found, c.kind == 3) << c.key;
    store->getString(c.key, &found);
    EXPECT_EQ(found, c.kind == 3 || c.kind == 4) << c.key;
  }
  EXPECT_EQ(store->getInt("A/int", nullptr), 7);
  EXPECT_DOUBLE_EQ(store->getDouble("A/double", nullptr), 0.5);
  EXPECT_STREQ(store->getCString("A/cstring", nullptr), "narrow");
  EXPECT_EQ(store->getCString("A/none", nullptr), nullptr);
  EXPECT_EQ(utf8(store->getString("A/string", nullptr)), "wide \xC3\xA9");
  EXPECT_EQ(utf8(store->getString("A/cstring", nullptr)), "narrow");
  EXPECT_TRUE(store->getString("A/none", nullptr).isEmpty());
  EXPECT_EQ(store->flags("A/string"), 2);

  // A set of another kind is ignored; an undeclared key is declared by it.
  store->setDouble(0, "A/int", 3.0);
  EXPECT_EQ(store->getInt("A/int", nullptr), 7);
  store->setInt(0, "B/new", -5);
  EXPECT_EQ(store->getInt("B/new", nullptr), -5);
  store->removeKey("B/new");
  EXPECT_FALSE(store->hasKey("B/new"));
  // Groups are independent of keys.
  EXPECT_FALSE(store->hasGroup("A"));
  store->addGroup("A");
  EXPECT_TRUE(store->hasGroup("A"));
}

TEST(HostDataStore, BoundsClampAndLengthsCut) {
  IPtr<HostDataStore> store(new HostDataStore);
  store->addInt("int", 0, 0, 1, 0);
  store->addInt("free", 5, 3, 3, 0);  // min >= max: no bounds
  store->addDouble("double", 0.25, 0.0, 1.0, 0);
  store->addCString("cstring", 5, "", 0);
  store->addString("string", 3, KivString("abcdef"), 0);

  struct IntCase {
    const char* name;
    const char* key;
    int set;
    int expected;
  } intCases[] = {
      {"below_min", "int", -4, 0},      {"above_max", "int", 9, 1},
      {"inside", "int", 1, 1},          {"unbounded_low", "free", -100, -100},
      {"unbounded_high", "free", 1 << 30, 1 << 30},
  };
  for (const IntCase& c : intCases) {
    store->setInt(0, c.key, c.set);
    EXPECT_EQ(store->getInt(c.key, nullptr), c.expected) << c.name;
  }
  struct DoubleCase {
    const char* name;
    double set;
    double expected;
  } doubleCases[] = {
      {"below", -1.5, 0.0}, {"above", 2.0, 1.0}, {"inside", 0.75, 0.75}, {"nan", NAN, 0.25},
  };
  for (const DoubleCase& c : doubleCases) {
    store->setDouble(0, "double", c.set);
    EXPECT_DOUBLE_EQ(store->getDouble("double", nullptr), c.expected) << c.name;
  }
  int min = -1, max = -1;
  bool found = false;
  store->getIntRange("int", &min, &max, &found);
  EXPECT_TRUE(found);
  EXPECT_EQ(min, 0);
  EXPECT_EQ(max, 1);

  EXPECT_EQ(utf8(store->getString("string", nullptr)), "abc");  // the default is cut too
  store->setCString(0, "cstring", "123456789");
  EXPECT_STREQ(store->getCString("cstring", nullptr), "12345");
  EXPECT_EQ(store->getMaxLength("cstring"), 5);

  // A re-declaration keeps the value and clamps it into the new bounds.
  store->setInt(0, "free", 50);
  store->addInt("free", 0, 0, 10, 0);
  EXPECT_EQ(store->getInt("free", nullptr), 10);
  // A re-declaration of another kind starts again from the default.
  store->addCString("free", 0, "text", 0);
  EXPECT_STREQ(store->getCString("free", nullptr), "text");
}

TEST(HostDataStore, ListenersSurviveHostileListeners) {
  IPtr<HostDataStore> store(new HostDataStore);
  store->addInt("k", 0, 0, 0, 0);
  std::vector<std::string> journal;
  IPtr<Recorder> a(new Recorder(store.get(), &journal, "a"));
  IPtr<Recorder> b(new Recorder(store.get(), &journal, "b"));
  IPtr<Recorder> c(new Recorder(store.get(), &journal, "c"));
  IPtr<Recorder> late(new Recorder(store.get(), &journal, "late"));

  store->addListener("k", a.get());
  store->addListener("k", a.get());  // a second add is no second subscription
  store->addListener("k", b.get());
  store->addListener("k", c.get());
  a->removeSelf = true;         // removes itself while being told
  a->removeOther = b.get();     // and b before b's turn
  a->addOther = late.get();     // and adds one that hears only the next change

  store->setInt(0, "k", 1);
  EXPECT_EQ(journal, (std::vector<std::string>{"a k=1", "c k=1"}));

  journal.clear();
  store->setInt(0, "k", 1);  // no change, no delivery
  EXPECT_TRUE(journal.empty());
  store->setInt(0, "k", 2);
  EXPECT_EQ(journal, (std::vector<std::string>{"c k=2", "late k=2"}));

  // Each kind reaches its own operation; other keys are not heard.
  journal.clear();
  store->addDouble("d", 0, 0, 0, 0);
  store->addString("s", 0, KivString(), 0);
  store->addListener("d", c.get());
  store->addListener("s", c.get());
  store->setDouble(0, "d", 0.5);
  store->setString(0, "s", KivString("x"));
  store->setInt(0, "other", 3);
  EXPECT_EQ(journal, (std::vector<std::string>{"c d=0.5", "c s=x"}));

  store->removeListener("k", c.get());
  store->removeListener("k", late.get());
  store->removeListener("d", c.get());
  store->removeListener("s", c.get());
  journal.clear();
  store->setInt(0, "k", 3);
  EXPECT_TRUE(journal.empty());
}

TEST(HostDataStore, SaveLoadRoundTripKeepsBytesAndSkipsBadLines) {
  std::string first = tempPath("first.txt");
  std::string second = tempPath("second.txt");
  {
    IPtr<HostDataStore> store(new HostDataStore);
    store->setInt(0, "Advanced/Max Number of Threads", -7);
    store->setDouble(0, "Memory/Fraction", 0.1);
    store->setDouble(0, "Memory/Huge", 1e300);
    store->setCString(0, "Odd/Key = with = signs", "line\nbreak\\ and = sign");
    // A lone surrogate must survive as well as a pair and a plain letter.
    const char16_t wide[] = {u'\xE9', 0xD83D, 0xDE00, 0xD800, u'z', 0};
    store->setString(0, "Text/Wide", KivString(wide));
    ASSERT_TRUE(store->save(first.c_str()));
  }
  {
    IPtr<HostDataStore> store(new HostDataStore);
    ASSERT_TRUE(store->load(first.c_str()));
    EXPECT_TRUE(store->loadProblems().empty());
    EXPECT_EQ(store->getInt("Advanced/Max Number of Threads", nullptr), -7);
    EXPECT_EQ(store->getDouble("Memory/Fraction", nullptr), 0.1);
    EXPECT_STREQ(store->getCString("Odd/Key = with = signs", nullptr),
                 "line\nbreak\\ and = sign");
    KivString wide = store->getString("Text/Wide", nullptr);
    ASSERT_EQ(wide.length(), 5);
    EXPECT_EQ(wide.at(3), 0xD800);
    ASSERT_TRUE(store->save(second.c_str()));
  }
  EXPECT_EQ(readFile(first), readFile(second));

  // Bad lines are reported with their numbers and skipped; the good lines
  // around them are read, and a bad value leaves the key's value alone.
  writeFile(first, "# comment\n"
                   "Good/Int = int:4\n"
                   "no equals sign\n"
                   "Good/Bounded = int:99\n"
                   "Good/Bounded = int:12abc\n"
                   "Bad/Kind = float:1\n"
                   "Good/Double = double:2.5\r\n"
                   "Good/Int = cstring:text\n"
                   "Bad/Escape = cstring:a\\q\n"
                   "\n"
                   "Bad/Utf8 = string:\xC3\n"
                   "Good/Text = string:\xC3\xA9t\xC3\xA9\n");
  IPtr<HostDataStore> store(new HostDataStore);
  store->addInt("Good/Bounded", 1, 0, 10, 0);
  store->setInt(0, "Good/Bounded", 3);
  ASSERT_TRUE(store->load(first.c_str()));
  std::vector<std::string> problems = store->loadProblems();
  std::vector<std::string> lines;
  for (const std::string& problem : problems)
    lines.push_back(problem.substr(first.size() + 1, problem.find(':', first.size() + 1) -
                                                         first.size() - 1));
  EXPECT_EQ(lines, (std::vector<std::string>{"3", "5", "6", "8", "9", "11"}));
  EXPECT_EQ(store->getInt("Good/Int", nullptr), 4);
  EXPECT_EQ(store->getInt("Good/Bounded", nullptr), 10);  // 99 clamped, 12abc skipped
  EXPECT_EQ(store->getDouble("Good/Double", nullptr), 2.5);
  EXPECT_EQ(utf8(store->getString("Good/Text", nullptr)), "\xC3\xA9t\xC3\xA9");
  EXPECT_FALSE(store->hasKey("Bad/Kind"));
  EXPECT_FALSE(store->hasKey("Bad/Utf8"));

  EXPECT_FALSE(store->load(tempPath("missing.txt").c_str()));
  EXPECT_EQ(store->getInt("Good/Int", nullptr), 4);
  std::remove(first.c_str());
  std::remove(second.c_str());
}

// Thread-safe: counts what it hears.
class Counter : public TovDataReceiver {
public:
  void queryInterface(const char* name, void** out) override {
    if (!name)
      return;
    *out = nullptr;
    if (kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      return;
    kivAnswer(name, "IKivDataReceiver", static_cast<IKivDataReceiver*>(this), out);
  }
  const char* className() const override { return "Counter"; }
  void receiveInt(const char*, int) override { ++heard; }
  std::atomic<int> heard{0};
};

TEST(HostDataStore, ConcurrentWritersAndSubscribers) {
  IPtr<HostDataStore> store(new HostDataStore);
  IPtr<Counter> steady(new Counter);
  IPtr<Counter> churned(new Counter);
  store->addListener("Key/0", steady.get());
  std::vector<std::thread> writers;
  for (int t = 0; t < 4; ++t) {
    writers.emplace_back([&, t] {
      for (int i = 1; i <= 2000; ++i) {
        store->setInt(0, "Key/0", t * 10000 + i);
        store->getInt("Key/0", nullptr);
      }
    });
  }
  std::thread churn([&] {
    for (int i = 0; i < 4000; ++i) {
      store->addListener("Key/0", churned.get());
      store->removeListener("Key/0", churned.get());
    }
  });
  for (std::thread& writer : writers)
    writer.join();
  churn.join();
  // Every set changes the value (the writers' values never repeat), so the
  // steady listener hears each one.
  EXPECT_EQ(steady->heard.load(), 8000);
  store->removeListener("Key/0", steady.get());
}

} // namespace
