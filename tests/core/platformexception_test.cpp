#include "core/platformexception.h"

#include "core/ikivlog3.h"
#include "core/kivassert.h"
#include "core/lookup.h"
#include "core/servicecache.h"
#include "fakemanager.h"
#include "model/progress.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class RecordingLog : public IKivLog3 {
public:
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name && !kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      kivAnswer(name, "IKivLog3", static_cast<IKivLog3*>(this), out);
  }
  const char* className() const override { return "RecordingLog"; }
  bool setLogFile(const char*) override { return true; }
  const char* logFile() override { return nullptr; }
  void setLevel(int) override {}
  int level() override { return 0; }
  void logDebug(const KivString&) override {}
  void logInfo(const KivString&) override {}
  void logWarning(const KivString&) override {}
  void flush() override {}
  void logError(const KivString& text) override { lines.push_back(text.c_str()); }
  std::vector<std::string> lines;
};

class CountingCallback : public IKivProgressCallback {
public:
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name && !kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      kivAnswer(name, "IKivProgressCallback", static_cast<IKivProgressCallback*>(this), out);
  }
  const char* className() const override { return "CountingCallback"; }
  void cancel() override {}
  bool isCancelled() override { return false; }
  void report(float) override {}
  void interrupt() override { ++interrupts; }
  void call4(intptr_t) override {}
  void call5() override {}
  void call6(intptr_t) override {}
  void pause() override {}
  void resume() override {}
  bool isPaused() override { return false; }
  void call10(float) override {}
  void call11() override {}
  bool call12() override { return false; }
  void call14(intptr_t) override {}
  void call15() override {}
  void call16() override {}
  int interrupts = 0;
};

std::unique_ptr<PlatformException> catchException(void (*thrower)()) {
  try {
    thrower();
  } catch (PlatformException* e) {
    return std::unique_ptr<PlatformException>(e);
  }
  return nullptr;
}

TEST(PlatformException, ClassRuleInterruptsLogsShortFormAndThrowsLongForm) {
  FakeManager manager;
  RecordingLog log;
  log.addRef();
  Progress progress(false);
  progress.addRef();
  CountingCallback callback;
  callback.addRef();
  progress.setCallback(&callback);
  manager.services["IKivLog3"] = &log;
  manager.services["IProgress"] = &progress;
  setComponentManager(&manager);
  resetServiceCaches();

  auto e = catchException([] { throwClassError("Collection", "Collection is readonly"); });
  ASSERT_TRUE(e);
  EXPECT_EQ(e->code, 6);
  EXPECT_STREQ(e->message.c_str(), "Error in class Collection: Collection is readonly.");
  ASSERT_EQ(log.lines.size(), 1u);
  EXPECT_EQ(log.lines[0], "[Collection] Collection is readonly");
  EXPECT_EQ(callback.interrupts, 1);

  e = catchException([] { throwInternalError("Duplicate::run", "no source"); });
  ASSERT_TRUE(e);
  EXPECT_STREQ(e->message.c_str(), "Internal Error in class Duplicate::run: no source.");

  // Without a log the same failure throws the same exception.
  manager.services.clear();
  resetServiceCaches();
  e = catchException([] { throwClassError("Collection", "Collection is readonly"); });
  ASSERT_TRUE(e);
  EXPECT_STREQ(e->message.c_str(), "Error in class Collection: Collection is readonly.");
  EXPECT_EQ(log.lines.size(), 2u);  // the internal error logged too, nothing since

  progress.setCallback(nullptr);
  setComponentManager(nullptr);
  resetServiceCaches();
}

TEST(PlatformException, PropertyCodesAreFormattedWithoutLogging) {
  struct Case {
    const char* name;
    void (*thrower)();
    int code;
    const char* text;
  };
  const Case cases[] = {
      {"missing", [] { throwNoSuchProperty(KivString("width")); }, 1,
       "Property 'width' does not exist."},
      {"read_only", [] { throwReadOnly(KivString("id")); }, 2,
       "Cannot modify read only attribute 'id'"},
      {"wrong_type",
       [] { throwWrongType(KivString("int"), KivString("name"), KivString("string")); }, 3,
       "Wrong type (int) for attribute 'name'. Should be string"},
  };
  for (const Case& c : cases) {
    auto e = catchException(c.thrower);
    ASSERT_TRUE(e) << c.name;
    EXPECT_EQ(e->code, c.code) << c.name;
    EXPECT_STREQ(e->message.c_str(), c.text) << c.name;
  }
}

TEST(KivAssertDeathTest, WithoutHandlerOrServiceTheProcessEndsWith255) {
  EXPECT_EXIT(kivAssert("start >= 0", "kivbasictypes/tovcstring", 10),
              testing::ExitedWithCode(255), "");
}

TEST(KivAssert, InstalledHandlerIsToldAndExecutionGoesOn) {
  struct Seen {
    std::string expression, file;
    int line = 0;
  } seen;
  setAssertHandler(
      [](void* context, const char* expression, const char* file, int line) {
        auto* s = static_cast<Seen*>(context);
        s->expression = expression;
        s->file = file;
        s->line = line;
      },
      &seen);
  KIV_ASSERT(1 + 1 == 3, "basic_types/map");
  setAssertHandler(nullptr, nullptr);
  EXPECT_EQ(seen.expression, "1 + 1 == 3");
  EXPECT_EQ(seen.file, "basic_types/map");
  EXPECT_GT(seen.line, 0);
}

} // namespace
