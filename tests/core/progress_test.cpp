#include "model/progress.h"

#include "core/lookup.h"
#include "fakemanager.h"
#include "model/progresslistener.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class RecordingCallback : public IKivProgressCallback {
public:
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name && !kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) &&
        !kivAnswer(name, "IKivProgressCallback", static_cast<IKivProgressCallback*>(this), out))
      kivAnswer(name, "IKivProgressCallbackInstance", static_cast<IKivProgressCallback*>(this),
                out);
  }
  const char* className() const override { return "RecordingCallback"; }
  void cancel() override { calls.push_back("cancel"); }
  bool isCancelled() override { return true; }
  void report(float f) override { calls.push_back("report " + std::to_string(f).substr(0, 3)); }
  void interrupt() override { calls.push_back("interrupt"); }
  void call4(intptr_t) override { calls.push_back("4"); }
  void call5() override { calls.push_back("5"); }
  void call6(intptr_t) override { calls.push_back("6"); }
  void pause() override { calls.push_back("pause"); }
  void resume() override { calls.push_back("resume"); }
  bool isPaused() override { return true; }
  void call10(float) override { calls.push_back("10"); }
  void call11() override { calls.push_back("11"); }
  bool call12() override { return true; }
  void call14(intptr_t) override { calls.push_back("14"); }
  void call15() override { calls.push_back("15"); }
  void call16() override { calls.push_back("16"); }
  std::vector<std::string> calls;
};

TEST(Progress, WithoutCallbackServiceEverythingIsQuiet) {
  Progress progress;
  progress.report(0.5f);
  progress.interrupt();
  progress.cancel();
  EXPECT_FALSE(progress.isCancelled());
  EXPECT_FALSE(progress.isPaused());
  EXPECT_EQ(progress.callback(), nullptr);
}

// Present-only operations never fetch a callback; connecting ones do, and a
// ProgressInstance gets its own object under the instance name.
TEST(Progress, InstanceConnectsOnlyThroughConnectingOperations) {
  FakeManager manager;
  auto* callback = new RecordingCallback;
  IPtr<IKivProgressCallback> hold(callback);
  manager.services["IKivProgressCallbackInstance"] = callback;
  setComponentManager(&manager);
  {
    IPtr<IProgressInstance> instance(new ProgressInstance);
    instance->pause();
    EXPECT_FALSE(instance->isPaused());
    EXPECT_FALSE(instance->isCancelled());
    EXPECT_EQ(manager.getCalls, 0);
    EXPECT_TRUE(callback->calls.empty());

    instance->resume();
    EXPECT_EQ(manager.getCalls, 1);
    EXPECT_TRUE(instance->isPaused());
    instance->report(0.25f);
    instance->hostCall0(7);
    instance->hostCall14(7);
    instance->hostCall9();
    std::vector<std::string> expected = {"resume", "report 0.2", "6", "4", "11"};
    EXPECT_EQ(callback->calls, expected);
  }
  setComponentManager(nullptr);
}

TEST(Progress, SetCallbackIsUsedWithoutAskingTheClassTable) {
  FakeManager manager;
  setComponentManager(&manager);
  RecordingCallback callback;
  callback.addRef();
  Progress progress(false);
  ProgressInstance instance;
  EXPECT_TRUE(progress.setCallback(&callback));
  EXPECT_TRUE(instance.setCallback(&callback));
  EXPECT_EQ(progress.callback(), &callback);
  EXPECT_EQ(instance.callback(), &callback);
  EXPECT_EQ(manager.getCalls, 0);
  progress.setCallback(nullptr);
  instance.setCallback(nullptr);
  setComponentManager(nullptr);
}

class ForgettingSource : public IKivProgressSource {
public:
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name)
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
  }
  const char* className() const override { return "ForgettingSource"; }
  void forgetListener(IProgressListener* listener) override { forgotten = listener; }
  IProgressListener* forgotten = nullptr;
};

TEST(Progress, ListenerTellsItsSourceAtDeath) {
  ForgettingSource source;
  IProgressListener* address = nullptr;
  {
    ProgressListener quiet;  // no source: calls nothing
    ProgressListener listener;
    listener.setSource(&source);
    EXPECT_TRUE(listener.hook1());
    address = &listener;
  }
  EXPECT_EQ(source.forgotten, address);
}

} // namespace
