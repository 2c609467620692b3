#include "core/component.h"

#include "core/classids.h"
#include "core/componentinfo.h"
#include "core/ikivcomponent.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "classtable.h"
#include "fakemanager.h"
#include "model/iprogress.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

// The whole road from the export to working objects, in the order a host
// takes it; the class registration runs once per process.
TEST(Component, FromEntryPointToObjects) {
  uint32_t api = 7;
  EXPECT_EQ(EntryPoint(&api, nullptr), 0);
  EXPECT_EQ(api, 7u);

  IKivComponent* raw = nullptr;
  ASSERT_EQ(EntryPoint(&api, &raw), 1);
  EXPECT_EQ(api, 100u);
  ASSERT_NE(raw, nullptr);
  EXPECT_EQ(raw->refCount(), 0u);
  IPtr<IKivComponent> component(raw);
  EXPECT_STREQ(component->version(), "5.3.21.373382");
  EXPECT_STREQ(component->className(), "KivStaticBaseComponent");

  auto* internal = kivQuery<IKivCompInternal>(component.get(), "IKivCompInternal");
  ASSERT_NE(internal, nullptr);
  EXPECT_STREQ(internal->name(), "datamodelcmp");
  EXPECT_EQ(*internal->classId(), kComponentClassId);

  // Between EntryPoint and initialize the class factory is empty.
  EXPECT_EQ(internal->classCount(), 0);
  IKivUnknown* object = reinterpret_cast<IKivUnknown*>(0x1);
  EXPECT_EQ(component->createInstance(classIdOf("Progress"), &object), 0);
  EXPECT_EQ(object, reinterpret_cast<IKivUnknown*>(0x1));

  FakeManager manager;
  manager.component = component.get();
  component->initialize(&manager);
  EXPECT_EQ(componentManager(), &manager);

  // Every row of the class table is built and registered with its
  // identifier and its interface name.
  std::vector<classtable::ListedClass> listed;
  KivClassId id;
  for (bool more = internal->firstClass(&id); more; more = internal->nextClass(&id)) {
    const char* name = internal->classNameOf(id);
    ASSERT_NE(name, nullptr);
    classtable::ListedClass c{name, id.toString(), {}};
    for (const auto& [interfaceName, registered] : manager.interfaces)
      if (registered == id)
        c.interfaces.push_back(interfaceName);
    listed.push_back(c);
  }
  std::string notBuilt;
  EXPECT_EQ(classtable::mismatches(listed, &notBuilt), "");
  EXPECT_EQ(notBuilt, "");
  EXPECT_EQ(listed.size(), std::size(classtable::kRows));
  // Each row's identifier gives its own name.
  std::set<std::string> seen;
  for (const classtable::Row& row : classtable::kRows) {
    KivClassId rowId;
    ASSERT_TRUE(KivClassId::parse(row.id, &rowId)) << row.id;
    const char* name = internal->classNameOf(rowId);
    ASSERT_NE(name, nullptr) << row.name;
    EXPECT_STREQ(name, row.name);
    seen.insert(name);
  }
  EXPECT_EQ(seen.size(), listed.size());
  EXPECT_TRUE(seen.count("DatamodelInit"));
  EXPECT_EQ(internal->classNameOf(KivClassId()), nullptr);

  // A singleton: the same object and kind 2 both times, held by its factory.
  IKivUnknown* first = nullptr;
  IKivUnknown* second = nullptr;
  EXPECT_EQ(component->createInstance(classIdOf("Progress"), &first), 2);
  EXPECT_EQ(first->refCount(), 1u);
  EXPECT_EQ(component->createInstance(classIdOf("Progress"), &second), 2);
  EXPECT_EQ(first, second);

  // A new-instance class: two objects, kind 1, refCount 0 each.
  IKivUnknown* a = nullptr;
  IKivUnknown* b = nullptr;
  EXPECT_EQ(component->createInstance(classIdOf("ProgressInstance"), &a), 1);
  EXPECT_EQ(component->createInstance(classIdOf("ProgressInstance"), &b), 1);
  EXPECT_NE(a, b);
  EXPECT_EQ(a->refCount(), 0u);
  IPtr<IKivUnknown> holdA(a), holdB(b);

  // By interface name through the manager, as a client asks.
  SPtr<IProgress> progress("IProgress");
  ASSERT_TRUE(progress);
  EXPECT_EQ(static_cast<IKivUnknown*>(progress.get()), first);
  progress->report(0.5f);  // no callback service: nothing happens
  EXPECT_FALSE(progress->isCancelled());

  internal->setContainerName(KivCString("box"));
  EXPECT_STREQ(internal->containerName().c_str(), "box");
  internal->setContainerName(KivCString());

  holdA.clear();
  holdB.clear();
  progress.clear();
  // shutdown() tells the customizer and nothing more: the manager stays, and
  // look-ups keep going through it.
  component->shutdown();
  EXPECT_EQ(componentManager(), &manager);
  EXPECT_TRUE(SPtr<IProgress>("IProgress"));
  setComponentManager(nullptr);  // the host's part, before its manager goes
}

TEST(Component, BreakFlagFromEnvironment) {
  struct Case {
    const char* name;
    const char* value;
    bool expected;
  };
  const Case cases[] = {{"unset", nullptr, true}, {"zero", "0", false}, {"one", "1", true},
                        {"double_zero", "00", true}, {"empty", "", true}};
  for (const Case& c : cases)
    EXPECT_EQ(parseBreakEnabled(c.value), c.expected) << c.name;
}

// A service whose queryInterface answers "IKivTestService", one that answers
// only "IKivUnknown", and one that answers nothing: each gets the tests.
class RecordingTestService : public IKivTestService {
public:
  explicit RecordingTestService(const char* answers) : answers_(answers) {}
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name && std::strstr(answers_, name))
      *out = static_cast<IKivTestService*>(this);
  }
  const char* className() const override { return "RecordingTestService"; }
  void runTest(IKivUnknown* test) override { seen.push_back(test); }
  std::vector<IKivUnknown*> seen;

private:
  const char* answers_;
};

TEST(Component, RunTestsHandsEveryEntryToTheServicesFirstOperation) {
  KivStaticBaseComponent component;
  RecordingTestService early("IKivTestService");
  component.runTests(&early);
  EXPECT_TRUE(early.seen.empty());
  component.runTests(nullptr);  // no error service without a manager: nothing told

  RecordingTestService first("IKivUnknown"), second("IKivUnknown");
  registerComponentTest(&first);
  registerComponentTest(&second);
  for (const char* answers : {"IKivTestService", "IKivUnknown", ""}) {
    SCOPED_TRACE(answers);
    RecordingTestService service(answers);
    component.runTests(&service);
    EXPECT_EQ(service.seen, (std::vector<IKivUnknown*>{&first, &second}));
  }
}

} // namespace
