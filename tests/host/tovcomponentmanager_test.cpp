#include "host/tovcomponentmanager.h"

#include "core/ikivcomponent.h"
#include "core/ishutdownlistener.h"
#include "core/kivclassid.h"
#include "core/lookup.h"
#include "host/tovcomponentcontainer.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

const KivClassId kThingId = makeClassId(0x11111111, 1, 1, 1, 2, 3, 4, 5, 6, 7, 8);
const KivClassId kSingletonId = makeClassId(0x22222222, 2, 2, 1, 2, 3, 4, 5, 6, 7, 8);
const KivClassId kHookId = makeClassId(0x33333333, 3, 3, 1, 2, 3, 4, 5, 6, 7, 8);
const KivClassId kUnknownId = makeClassId(0x44444444, 4, 4, 1, 2, 3, 4, 5, 6, 7, 8);

std::vector<std::string>& journal() {
  static std::vector<std::string> events;
  return events;
}

class IFakeThing : public virtual IKivUnknown {
public:
  virtual int value() = 0;
};

class FakeThing : public IFakeThing {
public:
  FakeThing() { ++alive; }
  ~FakeThing() override { --alive; }
  void queryInterface(const char* name, void** out) override {
    if (!name)
      return;
    *out = nullptr;
    if (kivAnswer(name, "FakeThing", this, out) ||
        kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      return;
    if (kivAnswer(name, "IFakeThing", static_cast<IFakeThing*>(this), out))
      return;
    kivAnswer(name, "IFakeSingleton", static_cast<IFakeThing*>(this), out);
  }
  const char* className() const override { return "FakeThing"; }
  int value() override { return 42; }
  static std::atomic<int> alive;
};
std::atomic<int> FakeThing::alive{0};

// The component's start-up and shut-down hook: a class without interface.
class FakeHook : public IKivInitializer, public IShutdownListener {
public:
  void queryInterface(const char* name, void** out) override {
    if (!name)
      return;
    *out = nullptr;
    if (kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<IKivInitializer*>(this)), out) ||
        kivAnswer(name, "IKivInitializer", static_cast<IKivInitializer*>(this), out))
      return;
    kivAnswer(name, "IShutdownListener", static_cast<IShutdownListener*>(this), out);
  }
  const char* className() const override { return "FakeHook"; }
  void initialize() override { journal().push_back("hook initialize"); }
  void onShutdown() override { journal().push_back("hook shutdown"); }
};

class FakeComponent : public IKivComponent, public IKivCompInternal {
public:
  explicit FakeComponent(const char* name) : name_(name) {}
  ~FakeComponent() override { journal().push_back(name_ + " destroyed"); }

  void queryInterface(const char* name, void** out) override {
    if (!name)
      return;
    *out = nullptr;
    if (kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<IKivComponent*>(this)), out) ||
        kivAnswer(name, "IKivComponent", static_cast<IKivComponent*>(this), out))
      return;
    kivAnswer(name, "IKivCompInternal", static_cast<IKivCompInternal*>(this), out);
  }
  const char* className() const override { return "FakeComponent"; }

  void initialize(IKivComponentManager* manager) override {
    manager->registerInterface(KivCString::view("IFakeThing"), kThingId);
    manager->registerInterface(KivCString::view("IFakeSingleton"), kSingletonId);
    if (failInitialize)
      throw std::runtime_error("no luck");
  }
  void shutdown() override { journal().push_back(name_ + " shutdown"); }
  int32_t createInstance(const KivClassId& id, IKivUnknown** out) override {
    if (id == kThingId) {
      *out = new FakeThing;
      return 1;
    }
    if (id == kSingletonId) {
      if (!singleton_)
        singleton_ = new FakeThing;
      *out = singleton_.get();
      return 2;
    }
    if (id == kHookId) {
      *out = static_cast<IKivInitializer*>(new FakeHook);
      return 1;
    }
    *out = nullptr;
    return 0;
  }
  const char* version() override { return "1"; }

  const KivClassId* classId() override { return &kThingId; }
  const char* name() override { return name_.c_str(); }
  int32_t classCount() override { return 3; }
  bool firstClass(KivClassId* out) override {
    cursor_ = 0;
    return nextClass(out);
  }
  bool nextClass(KivClassId* out) override {
    const KivClassId* ids[] = {&kThingId, &kSingletonId, &kHookId};
    if (cursor_ >= 3)
      return false;
    *out = *ids[cursor_++];
    return true;
  }
  const char* classNameOf(const KivClassId& id) override {
    if (id == kThingId)
      return "FakeThing";
    if (id == kSingletonId)
      return "FakeSingleton";
    return id == kHookId ? "FakeHook" : nullptr;
  }
  void runTests(IKivUnknown*) override {}
  void setContainerName(const KivCString&) override {}
  const KivCString& containerName() override { return container_; }
  void setBreakEnabled(bool) override {}
  bool breakEnabled() override { return true; }

  bool failInitialize = false;

private:
  std::string name_;
  IPtr<FakeThing> singleton_;
  KivCString container_;
  int cursor_ = 0;
};

// A service that notes when it dies.
class FakeService : public IFakeThing {
public:
  explicit FakeService(std::string name) : name_(std::move(name)) {}
  ~FakeService() override { journal().push_back(name_ + " released"); }
  void queryInterface(const char* name, void** out) override {
    if (!name)
      return;
    *out = nullptr;
    if (kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      return;
    kivAnswer(name, "IFakeThing", static_cast<IFakeThing*>(this), out);
  }
  const char* className() const override { return "FakeService"; }
  int value() override { return 7; }

private:
  std::string name_;
};

TEST(TovComponentManager, CountsAtomicallyAcrossThreads) {
  IPtr<TovComponentManager> manager(new TovComponentManager);
  int counter = 1;
  std::atomic<int> zeros{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        manager->incrementRefCount(&counter);
        if (manager->decrementRefCount(&counter))
          ++zeros;
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(counter, 1);
  EXPECT_EQ(zeros.load(), 0);  // the base reference kept it above zero

  // From 8 references, 8 threads each drop one: exactly one sees zero.
  counter = 8;
  threads.clear();
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&] {
      if (manager->decrementRefCount(&counter))
        ++zeros;
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(counter, 0);
  EXPECT_EQ(zeros.load(), 1);
}

TEST(TovComponentManager, ServicesComeBeforeClassesAndFailuresSayWhy) {
  journal().clear();
  IPtr<TovComponentManager> manager(new TovComponentManager);
  void* out = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(manager->getObject(KivCString::view("IFakeThing"), &out), 0);
  EXPECT_EQ(out, reinterpret_cast<void*>(0x1));  // left as it was
  EXPECT_NE(manager->lastErrorText().find("IFakeThing"), std::string::npos);

  IPtr<FakeComponent> component(new FakeComponent("fake"));
  ASSERT_EQ(manager->addComponent(component.get(), "fake"), component.get());
  EXPECT_EQ(journal(), (std::vector<std::string>{"hook initialize"}));

  // Classes: a new object each time, with no reference on it.
  IFakeThing* first = nullptr;
  IFakeThing* second = nullptr;
  ASSERT_EQ(manager->getObject(KivCString::view("IFakeThing"), reinterpret_cast<void**>(&first)), 1);
  ASSERT_EQ(manager->getObject(KivCString::view("IFakeThing"), reinterpret_cast<void**>(&second)), 1);
  EXPECT_NE(first, second);
  EXPECT_EQ(first->refCount(), 0u);
  { IPtr<IFakeThing> a(first), b(second); }
  EXPECT_EQ(FakeThing::alive.load(), 0);

  IFakeThing* one = nullptr;
  IFakeThing* again = nullptr;
  manager->getObject(KivCString::view("IFakeSingleton"), reinterpret_cast<void**>(&one));
  manager->getObject(KivCString::view("IFakeSingleton"), reinterpret_cast<void**>(&again));
  ASSERT_NE(one, nullptr);
  EXPECT_EQ(one, again);
  EXPECT_EQ(FakeThing::alive.load(), 1);

  // A service of the same name wins over the class.
  IPtr<FakeService> service(new FakeService("svc"));
  manager->registerService("IFakeThing", service.get());
  IFakeThing* found = nullptr;
  ASSERT_EQ(manager->getObject(KivCString::view("IFakeThing"), reinterpret_cast<void**>(&found)), 1);
  EXPECT_EQ(found->value(), 7);
  EXPECT_TRUE(manager->removeService("IFakeThing"));
  ASSERT_EQ(manager->getObject(KivCString::view("IFakeThing"), reinterpret_cast<void**>(&found)), 1);
  EXPECT_EQ(found->value(), 42);
  IPtr<IFakeThing> drop(found);
  drop.clear();

  // createObject reaches unregistered classes through the class list, and a
  // new object that does not answer the name is destroyed again.
  KivClassId hook = kHookId;
  void* hookOut = nullptr;
  ASSERT_EQ(manager->createObject(&hook, KivCString::view("IShutdownListener"), &hookOut), 1);
  IPtr<IShutdownListener> hookHeld(static_cast<IShutdownListener*>(hookOut));
  hookHeld.clear();
  KivClassId thing = kThingId;
  EXPECT_EQ(manager->createObject(&thing, KivCString::view("IDataStore"), &hookOut), 0);
  EXPECT_EQ(FakeThing::alive.load(), 1);
  EXPECT_NE(manager->lastErrorText().find("does not answer IDataStore"), std::string::npos);
  KivClassId unknown = kUnknownId;
  EXPECT_EQ(manager->createObject(&unknown, KivCString::view("IFakeThing"), &hookOut), 0);
  EXPECT_NE(manager->lastErrorText().find(kUnknownId.toString()), std::string::npos);

  std::vector<std::string> interfaces = manager->interfacesOf(kThingId);
  EXPECT_EQ(interfaces, (std::vector<std::string>{"IFakeThing"}));
  EXPECT_TRUE(manager->interfacesOf(kHookId).empty());
}

TEST(TovComponentManager, ShutdownRunsListenersThenComponentsAndReleasesNewestFirst) {
  journal().clear();
  IPtr<TovComponentManager> manager(new TovComponentManager);
  manager->registerService("first", new FakeService("first"));
  manager->registerService("second", new FakeService("second"));
  IPtr<FakeComponent> a(new FakeComponent("a"));
  IPtr<FakeComponent> b(new FakeComponent("b"));
  manager->addComponent(a.get(), "a");
  manager->addComponent(b.get(), "b");
  a.clear();
  b.clear();
  journal().clear();

  manager->shutdown();
  EXPECT_EQ(journal(), (std::vector<std::string>{"hook shutdown", "hook shutdown", "b shutdown",
                                                 "a shutdown", "second released",
                                                 "first released", "b destroyed",
                                                 "a destroyed"}));
  journal().clear();
  manager->shutdown();
  EXPECT_TRUE(journal().empty());
  IPtr<FakeComponent> late(new FakeComponent("late"));
  EXPECT_EQ(manager->addComponent(late.get(), "late"), nullptr);
  EXPECT_NE(manager->lastErrorText().find("shut down"), std::string::npos);
}

TEST(TovComponentManager, FailedInitializationLeavesNoRegistration) {
  journal().clear();
  IPtr<TovComponentManager> manager(new TovComponentManager);
  IPtr<FakeComponent> component(new FakeComponent("broken"));
  component->failInitialize = true;
  EXPECT_EQ(manager->addComponent(component.get(), "broken"), nullptr);
  EXPECT_EQ(manager->lastErrorText(), "initialization of broken failed: no luck");
  EXPECT_TRUE(manager->interfacesOf(kThingId).empty());
  EXPECT_EQ(manager->componentCount(), 0u);
}

TEST(TovComponentManager, ContainersAndTheLookUpFunctions) {
  IPtr<TovComponentManager> manager(new TovComponentManager);
  IPtr<FakeComponent> component(new FakeComponent("fake"));
  manager->addComponent(component.get(), "fake");
  TovComponentContainer* tools = manager->addContainer("tools");
  EXPECT_EQ(manager->addContainer("tools"), tools);
  EXPECT_EQ(manager->container(KivCString::view("tools"), 0), tools);
  EXPECT_EQ(manager->container(KivCString::view("other"), 0), nullptr);
  tools->registerService("IFakeThing", new FakeService("in container"));

  // The look-up functions of this process's library code go to the named
  // container first and fall back to the manager.
  IKivComponentManager* previous = componentManager();
  setComponentManager(manager.get());
  setComponentContainerName(KivCString("tools"));
  void* out = nullptr;
  ASSERT_EQ(getObject("IFakeThing", &out), 1);
  EXPECT_EQ(static_cast<IFakeThing*>(out)->value(), 7);
  ASSERT_EQ(getObject("IFakeSingleton", &out), 1);  // unknown to the container
  ASSERT_EQ(getObjectIn("IFakeThing", "tools", &out), 1);
  EXPECT_EQ(getObjectIn("IFakeThing", "other", &out), 0);
  KivClassId thing = kThingId;
  EXPECT_EQ(createObjectIn(&thing, "IFakeThing", "tools", &out), 0);  // not registered there
  ASSERT_EQ(createObject(&thing, "IFakeThing", &out), 1);               // the manager's
  EXPECT_EQ(static_cast<IFakeThing*>(out)->value(), 42);
  IPtr<IFakeThing> drop(static_cast<IFakeThing*>(out));
  drop.clear();
  setComponentContainerName(KivCString(""));
  setComponentManager(previous);

  // Many threads asking at once get their own objects, and all of them die.
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int t = 0; t < 6; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        void* object = nullptr;
        if (manager->getObject(KivCString::view("IFakeThing"), &object) != 1) {
          ++failures;
          continue;
        }
        IPtr<IFakeThing> held(static_cast<IFakeThing*>(object));
      }
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(FakeThing::alive.load(), 1);  // the singleton alone
}

TEST(TovComponentManager, LoaderErrorsAreOneLine) {
  IPtr<TovComponentManager> manager(new TovComponentManager);
  struct Case {
    const char* name;
    const char* path;
    const char* expectedStart;
  } cases[] = {
      {"empty_path", "", "no library path given"},
      {"missing_file", "/nonexistent/libnothing.so", "cannot open library /nonexistent/libnothing.so: "},
      {"not_a_library", "/proc/self/status", "cannot open library /proc/self/status: "},
      {"no_entry_point", "libm.so.6", "libm.so.6 has no EntryPoint"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(manager->loadComponent(c.path), nullptr) << c.name;
    std::string error = manager->lastErrorText();
    EXPECT_EQ(error.rfind(c.expectedStart, 0), 0u) << c.name << ": " << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << c.name;
  }
  EXPECT_FALSE(manager->hasLoadedLibrary());
  EXPECT_EQ(manager->loadComponent(nullptr), nullptr);
}

} // namespace
