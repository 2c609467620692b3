#include "core/kivobject.h"

#include "core/classtree.h"
#include "core/classwalk.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "fakemanager.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

class IKivAlpha : public virtual IKivUnknown {
public:
  virtual int alpha() = 0;
};
class IKivBeta : public virtual IKivUnknown {
public:
  virtual int beta() = 0;
};
class IKivGamma : public virtual IKivUnknown {
public:
  virtual int gamma() = 0;
};

int gDestroyed = 0;

// An implementation base that adds IKivAlpha.
class Base : public IKivAlpha {
public:
  ~Base() override { ++gDestroyed; }
  int alpha() override { return 1; }
  const char* className() const override { return "Base"; }
  void queryInterface(const char* name, void** out) override {
    if (!name) {
      KivClassWalk* walk = kivWalkOf(out);
      kivWalkClass(walk, "Base");
      kivWalkEnd(walk);
      kivWalkInterface(walk, "IKivAlpha");
      return;
    }
    *out = nullptr;
    if (kivAnswer(name, "Base", this, out) ||
        kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      return;
    kivAnswer(name, "IKivAlpha", static_cast<IKivAlpha*>(this), out);
  }
};

// Derived from Base; adds IKivBeta and IKivGamma.
class Derived : public Base, public IKivBeta, public IKivGamma {
public:
  int beta() override { return 2; }
  int gamma() override { return 3; }
  const char* className() const override { return "Derived"; }
  void queryInterface(const char* name, void** out) override {
    if (!name) {
      KivClassWalk* walk = kivWalkOf(out);
      kivWalkClass(walk, "Derived");
      Base::queryInterface(nullptr, out);
      kivWalkEnd(walk);
      kivWalkInterface(walk, "IKivBeta");
      kivWalkInterface(walk, stopInterface ? "IKivComponent" : "IKivGamma");
      return;
    }
    *out = nullptr;
    if (kivAnswer(name, "Derived", this, out) ||
        kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<Base*>(this)), out))
      return;
    Base::queryInterface(name, out);
    if (*out)
      return;
    if (!kivAnswer(name, "IKivBeta", static_cast<IKivBeta*>(this), out))
      kivAnswer(name, "IKivGamma", static_cast<IKivGamma*>(this), out);
  }
  bool stopInterface = false;
};

TEST(KivObject, CountingWithoutManagerStartsAtZeroAndDeletesAtLastRelease) {
  ASSERT_EQ(componentManager(), nullptr);
  gDestroyed = 0;
  auto* object = new Derived;
  EXPECT_EQ(object->refCount(), 0u);
  {
    IPtr<IKivBeta> first(object);
    EXPECT_EQ(object->refCount(), 1u);
    IPtr<IKivBeta> copy(first);
    EXPECT_EQ(object->refCount(), 2u);
    IPtr<IKivBeta> moved(std::move(copy));
    EXPECT_EQ(object->refCount(), 2u);
    EXPECT_EQ(copy.get(), nullptr);
    first = static_cast<IKivBeta*>(object);  // self-assignment keeps the count
    EXPECT_EQ(object->refCount(), 2u);
  }
  EXPECT_EQ(gDestroyed, 1);
}

TEST(KivObject, ReleaseNoDeleteLeavesMinus42AndTheObjectAlive) {
  gDestroyed = 0;
  Derived object;
  object.addRef();
  object.releaseNoDelete();
  EXPECT_EQ(static_cast<int32_t>(object.refCount()), -42);
  EXPECT_EQ(gDestroyed, 0);
  EXPECT_EQ(object.beta(), 2);
}

TEST(KivObject, WeakCellOutlivesItsTargetAndAnswersForItself) {
  auto* object = new Derived;
  IPtr<IKivAlpha> strong(object);
  KivWeakRef* cell = object->weakRef();
  EXPECT_EQ(cell, object->weakRef());
  EXPECT_EQ(cell->refCount(), 1u);
  EXPECT_EQ(cell->target, static_cast<KivShared*>(static_cast<Base*>(object)));
  EXPECT_EQ(cell->weakRef(), cell);
  cell->addRef();  // a holder keeps the cell
  strong.clear();
  EXPECT_EQ(cell->target, nullptr);
  EXPECT_EQ(cell->refCount(), 1u);
  cell->release();
}

TEST(KivObject, QueryAnswersClassBaseUnknownAndInterfacesExactly) {
  auto* object = new Derived;
  IPtr<IKivGamma> hold(object);
  IKivUnknown* viaBeta = kivQuery<IKivUnknown>(static_cast<IKivBeta*>(object), "IKivUnknown");
  IKivUnknown* viaGamma = kivQuery<IKivUnknown>(static_cast<IKivGamma*>(object), "IKivUnknown");
  IKivUnknown* viaAlpha = kivQuery<IKivUnknown>(static_cast<IKivAlpha*>(object), "IKivUnknown");
  EXPECT_EQ(viaBeta, viaGamma);
  EXPECT_EQ(viaBeta, viaAlpha);
  EXPECT_EQ(kivQuery<Base>(viaBeta, "Base"), static_cast<Base*>(object));
  EXPECT_EQ(kivQuery<IKivAlpha>(viaBeta, "IKivAlpha")->alpha(), 1);
  EXPECT_EQ(kivQuery<IKivGamma>(viaBeta, "IKivGamma")->gamma(), 3);
  // A query adds no reference.
  EXPECT_EQ(object->refCount(), 1u);

  void* out = reinterpret_cast<void*>(0x1);
  object->queryInterface("ikivunknown", &out);
  EXPECT_EQ(out, nullptr);
  out = reinterpret_cast<void*>(0x1);
  object->queryInterface("IKivDelta", &out);
  EXPECT_EQ(out, nullptr);
}

std::vector<std::string> describe(const IterStack<KivClassEntry>& entries) {
  std::vector<std::string> lines;
  for (int32_t i = 1; i <= entries.count(); ++i) {
    const KivClassEntry& e = entries.at(i);
    lines.push_back(std::string(e.name) + (e.isClass ? "(class)<" : "<") + e.parent);
  }
  return lines;
}

TEST(KivObject, ClassTreeReportsParentsAndStopsAtFrameNames) {
  auto* object = new Derived;
  IPtr<IKivBeta> hold(object);
  IterStack<KivClassEntry> entries;
  EXPECT_FALSE(classTree(nullptr, entries));
  ASSERT_TRUE(classTree(object, entries));
  // A class closes its level before it reports its interfaces, so an
  // interface's parent is the class that encloses the one adding it.
  std::vector<std::string> expected = {"Derived(class)<", "Base(class)<Derived",
                                       "IKivAlpha<Derived", "IKivBeta<", "IKivGamma<"};
  EXPECT_EQ(describe(entries), expected);

  object->stopInterface = true;
  EXPECT_TRUE(classTree(object, entries));
  EXPECT_EQ(entries.count(), 0);

  KivComponentRecord record;
  EXPECT_TRUE(componentOf(object, &record));
  EXPECT_STREQ(record.name.c_str(), "datamodelcmp");
}

TEST(KivObject, CountingThroughManagerIsAtomic) {
  FakeManager manager;
  setComponentManager(&manager);
  auto* object = new Derived;
  object->addRef();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([object] {
      for (int i = 0; i < 20000; ++i) {
        object->addRef();
        object->release();
      }
    });
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(object->refCount(), 1u);
  gDestroyed = 0;
  object->release();
  EXPECT_EQ(gDestroyed, 1);
  setComponentManager(nullptr);
}

TEST(KivObject, ServicePointerIsEmptyWithoutManager) {
  SPtr<IKivAlpha> missing("IKivAlpha");
  EXPECT_FALSE(missing);
  void* out = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(getObject("IKivAlpha", &out), 0);
  EXPECT_EQ(out, reinterpret_cast<void*>(0x1));
}

TEST(KivObject, LookupAsksTheNamedContainerFirst) {
  FakeManager manager;
  FakeManager container;
  auto* service = new Derived;
  IPtr<IKivAlpha> hold(service);
  manager.services["IKivAlpha"] = service;
  manager.containers["side"] = &container;
  setComponentManager(&manager);
  setComponentContainerName(KivCString("side"));

  void* out = nullptr;
  EXPECT_EQ(getObject("IKivAlpha", &out), 1);  // the container doesn't know it
  EXPECT_EQ(container.getCalls, 1);
  EXPECT_EQ(manager.getCalls, 1);

  container.services["IKivAlpha"] = service;
  EXPECT_EQ(getObject("IKivAlpha", &out), 1);
  EXPECT_EQ(manager.getCalls, 1);  // the container answered

  EXPECT_EQ(getObjectIn("IKivAlpha", "elsewhere", &out), 0);
  setComponentContainerName(KivCString());
  setComponentManager(nullptr);
}

} // namespace
