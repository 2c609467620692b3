#include "model/appproxymanager.h"

#include "host/hostdatastore.h"
#include "modelsupport.h"

#include <gtest/gtest.h>

namespace {

class RecordingProxy : public ProxyManagerBase {
public:
  RecordingProxy(const char* key, std::vector<std::string>* log) : log_(log) { name = key; }
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name)
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
  }
  const char* className() const override { return "RecordingProxy"; }
  void call(const KivCString& message, intptr_t a, intptr_t b) override {
    log_->push_back(std::string(name.c_str()) + ":" + message.c_str() + ":" + std::to_string(a) +
                    ":" + std::to_string(b));
  }
  intptr_t notify(intptr_t arg) override { return arg * 2; }

private:
  std::vector<std::string>* log_;
};

class AppProxyManagerTest : public ::testing::Test {
protected:
  void SetUp() override { inProcessHost(); }
};

TEST_F(AppProxyManagerTest, RoutesByTheTextAheadOfTheFirstUnderscore) {
  std::vector<std::string> log;
  AppProxyManager manager;
  IPtr<RecordingProxy> view(new RecordingProxy("view", &log));
  IPtr<RecordingProxy> doc(new RecordingProxy("doc", &log));
  manager.addProxy(view);
  manager.addProxy(doc);
  manager.addProxy(view);  // the same pointer again changes nothing
  EXPECT_EQ(view->refCount(), 2u);

  struct Case {
    const char* message;
    const char* reached;  // the log line, or "" for nobody
  };
  const Case cases[] = {
      {"view_open", "view:view_open:1:2"},
      {"view", "view:view:1:2"},
      {"doc_save_all", "doc:doc_save_all:1:2"},
      {"_x", ""},
      {"", ""},
      {"other_open", ""},
      {"views_open", ""},
  };
  for (const Case& test : cases) {
    log.clear();
    manager.dispatch(KivCString(test.message), 1, 2);
    EXPECT_EQ(log, *test.reached ? std::vector<std::string>{test.reached}
                                 : std::vector<std::string>{})
        << test.message;
  }
  EXPECT_EQ(manager.proxy(KivCString("view")), view.get());
  EXPECT_EQ(manager.proxy(KivCString("view_open")), nullptr);
  EXPECT_EQ(manager.notifyProxy(KivCString("doc"), 21), 42);
  EXPECT_EQ(manager.notifyProxy(KivCString("doc_x"), 21), 0);

  // A second proxy of a name drops the first.
  IPtr<RecordingProxy> other(new RecordingProxy("view", &log));
  manager.addProxy(other);
  EXPECT_EQ(view->refCount(), 1u);
  EXPECT_EQ(manager.proxy(KivCString("view")), other.get());
}

TEST_F(AppProxyManagerTest, MuteStackAndContourPhase) {
  HostDataStore* store = inProcessHost().dataStore();
  if (!store->hasKey(AppProxyManager::kPhaseKey)) {
    store->addGroup("GUI");
    store->addString(AppProxyManager::kPhaseKey, 64, KivString("Mesh"), 1);
  }
  std::vector<std::string> log;
  AppProxyManager manager;
  IPtr<RecordingProxy> view(new RecordingProxy("view", &log));
  manager.addProxy(view);
  auto delivered = [&] {
    log.clear();
    manager.dispatch(KivCString("view_x"), 0, 0);
    return !log.empty();
  };

  struct Step {
    const char* what;
    std::function<void()> act;
    bool enabled;
  };
  auto phase = [&](const char* value) {
    return [store, value] { store->setString(0, AppProxyManager::kPhaseKey, KivString(value)); };
  };
  const Step steps[] = {
      {"start", [] {}, true},
      {"push off", [&] { manager.pushEnabled(false); }, false},
      {"push on", [&] { manager.pushEnabled(true); }, true},
      {"pop", [&] { manager.popEnabled(); }, false},
      {"pop to empty", [&] { manager.popEnabled(); }, true},
      {"pop on empty", [&] { manager.popEnabled(); }, true},
      {"Contour", phase("Contour"), false},
      {"Contour again pushes once", phase("Contour"), false},
      {"caller's own on", [&] { manager.pushEnabled(true); }, true},
      {"phase leaves: pops the caller's flag", phase("Mesh"), false},
      {"other value does nothing", phase("Align"), false},
      {"caller pops the phase's flag", [&] { manager.popEnabled(); }, true},
      {"contour word must match exactly", phase("contour"), true},
  };
  for (const Step& step : steps) {
    step.act();
    EXPECT_EQ(manager.isEnabled(), step.enabled) << step.what;
    EXPECT_EQ(delivered(), step.enabled) << step.what;
  }
  store->setString(0, AppProxyManager::kPhaseKey, KivString("Mesh"));
}

} // namespace
