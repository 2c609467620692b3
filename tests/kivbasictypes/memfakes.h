//===- memfakes.h - Small host services for the memory tests ----*- C++ -*-===//
//
// A component manager that hands out registered service objects by name, and
// the services the allocation road talks to: settings, memory manager, error
// service, renderer, memory checker, directories. Services are heap objects
// held by an IPtr in the fixture; caches may keep them a little longer, and
// the last release deletes them. MemFixture installs the manager and forgets
// every cached service before and after each test.
//
// The services that run in a death-test child say what they were asked on
// stderr, so the parent can match it.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/idatastore.h"
#include "core/ikivcomponentmanager.h"
#include "core/ikivdirservice.h"
#include "core/ikiverrorservice.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "core/servicecache.h"
#include "kivbasictypes/ikivmmanager.h"
#include "kivbasictypes/imemchecker.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivstring.h"
#include "kivbasictypes/tovrealloc.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace memfakes {

// Answers its own interface name, "IKivUnknown" and the class name.
template <class Interface>
class FakeService : public Interface {
public:
  explicit FakeService(const char* interfaceName) : interfaceName_(interfaceName) {}
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (!name)
      return;
    if (!kivAnswer(name, interfaceName_, static_cast<Interface*>(this), out))
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
  }
  const char* className() const override { return interfaceName_; }

private:
  const char* interfaceName_;
};

class FakeManager : public IKivComponentManager {
public:
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name)
      kivAnswer(name, "IKivComponentManager", static_cast<IKivComponentManager*>(this), out);
  }
  const char* className() const override { return "FakeManager"; }
  int createObject(KivClassId*, const KivCString&, void**) override { return 0; }
  void registerInterface(const KivCString&, const KivClassId&) override {}
  int getObject(const KivCString& name, void** out) override {
    auto found = services.find(name.c_str());
    if (found == services.end())
      return 0;
    found->second->queryInterface(name.c_str(), out);
    return *out ? 1 : 0;
  }
  KivString lastError() override { return KivString(); }
  void incrementRefCount(int* counter) override { std::atomic_ref<int>(*counter).fetch_add(1); }
  bool decrementRefCount(int* counter) override {
    return std::atomic_ref<int>(*counter).fetch_sub(1) == 1;
  }
  IKivComponentContainer* container(const KivCString&, int) override { return nullptr; }

  std::map<std::string, IKivUnknown*> services;
};

class FakeDataStore : public FakeService<IDataStore> {
public:
  FakeDataStore() : FakeService("IDataStore") {}
  void addGroup(const char*) override {}
  bool hasGroup(const char*) override { return true; }
  void removeKey(const char*) override {}
  void addInt(const char*, int, int, int, int) override {}
  void addDouble(const char*, double, double, double, int) override {}
  void addCString(const char*, int, const char*, int) override {}
  void addString(const char*, int, const KivString&, int) override {}
  int getInt(const char* key, bool* found) override {
    auto it = ints.find(key);
    if (found)
      *found = it != ints.end();
    return it == ints.end() ? 0 : it->second;
  }
  double getDouble(const char* key, bool* found) override {
    auto it = doubles.find(key);
    if (found)
      *found = it != doubles.end();
    return it == doubles.end() ? 0.0 : it->second;
  }
  const char* getCString(const char*, bool* found) override {
    if (found)
      *found = false;
    return "";
  }
  KivString getString(const char* key, void*) override {
    auto it = strings.find(key);
    return it == strings.end() ? KivString() : KivString(it->second.c_str());
  }
  void getIntRange(const char*, int*, int*, bool* found) override {
    if (found)
      *found = false;
  }
  void getDoubleRange(const char*, double*, double*, bool* found) override {
    if (found)
      *found = false;
  }
  int getMaxLength(const char*) override { return 0; }
  bool load(const char*) override { return false; }
  bool save(const char*) override { return false; }
  void getKind(const char*, int* kind) override { *kind = kDataStoreUnknown; }
  bool hasKey(const char* key) override {
    return ints.count(key) || doubles.count(key) || strings.count(key);
  }
  void addListener(const char* key, IKivUnknown* listener) override {
    listeners.emplace_back(key, listener);
  }
  void removeListener(const char*, IKivUnknown*) override {}
  void setString(int, const char*, const KivString&) override {}
  void setCString(int, const char*, const char*) override {}
  void setDouble(int, const char*, double) override {}
  void setInt(int, const char*, int) override {}

  std::map<std::string, int> ints;
  std::map<std::string, double> doubles;
  std::map<std::string, std::string> strings;
  std::vector<std::pair<std::string, IKivUnknown*>> listeners;
};

// releaseMemory() gives the scripted answers in order, then false.
class FakeMManager : public FakeService<KivMM::IKivMManager> {
public:
  FakeMManager() : FakeService("IKivMManager") {}
  void* allocBlock(size_t, bool) override { return nullptr; }
  void freeBlock(void*) override {}
  size_t blockCount() override { return 0; }
  bool releaseMemory() override {
    ++releaseCalls;
    if (answers.empty())
      return false;
    bool answer = answers.front();
    answers.pop_front();
    return answer;
  }
  void enterParallel() override {}
  void leaveParallel() override {}
  bool isSingleThreadOnly() override { return false; }
  long long getCoreLimit() override { return coreLimit; }
  long long getSwapLimit() override { return swapLimit; }
  long long getSwapNow() override { return swapNow; }
  long long getCoreNow() override { return coreNow; }

  std::deque<bool> answers;
  std::atomic<int> releaseCalls{0};
  long long coreNow = 0, coreLimit = 0, swapNow = 0, swapLimit = 0;
};

class FakeErrorService : public FakeService<IKivErrorService> {
public:
  FakeErrorService() : FakeService("IKivErrorService") {}
  int reportCount() override { return 0; }
  void reportError(const KivString& message, const ErrorOptions& options,
                   const KivCString& source) override {
    std::fprintf(stderr, "reportError(%s, modal=%d, fatal=%d): %s\n", source.c_str(),
                 options.modal, options.fatal, message.c_str());
    std::fflush(stderr);
  }
};

class FakeRenderer : public FakeService<IGfxRenderer> {
public:
  FakeRenderer() : FakeService("IGfxRenderer") {}
  void beforeFatalMessage() override { std::fputs("[before hook]\n", stderr); }
  void afterFatalMessage() override { std::fputs("[after hook]\n", stderr); }
};

// Figures in the caller's unit, as given.
class FakeMemChecker : public FakeService<IMemChecker> {
public:
  FakeMemChecker() : FakeService("IMemChecker") {}
  bool isActive() override { return active; }
  uint32_t getStatus(uint64_t* sysFree, uint64_t* sysTotal, uint64_t* swapFree,
                     uint64_t* swapTotal, uint64_t) override {
    *sysFree = figures[0];
    *sysTotal = figures[1];
    *swapFree = figures[2];
    *swapTotal = figures[3];
    return status;
  }
  int64_t getProcessMemory(uint64_t) override { return processMemory; }

  bool active = true;
  uint32_t status = 0;
  uint64_t figures[4] = {0, 0, 0, 0};
  int64_t processMemory = 0;
};

class FakeDirService : public FakeService<IKivDirService> {
public:
  FakeDirService() : FakeService("IKivDirService") {}
  KivString directory(const char* name) override {
    return std::strcmp(name, "temp") == 0 ? KivString(temp.c_str()) : KivString();
  }
  void setDirectory(const char*, const KivString&) override {}
  std::string temp;
};

class MemFixture : public ::testing::Test {
protected:
  void SetUp() override {
    resetServiceCaches();
    setComponentManager(&manager);
  }
  void TearDown() override {
    setTovAllocFailureInjector(nullptr, nullptr);
    setComponentManager(nullptr);
    resetServiceCaches();
  }

  // Registers `service` under `name`; the fixture keeps it alive.
  template <class T>
  T* install(const char* name, T* service) {
    held.emplace_back(static_cast<IKivUnknown*>(service));
    manager.services[name] = service;
    return service;
  }

  FakeManager manager;
  std::vector<IPtr<IKivUnknown>> held;
};

} // namespace memfakes
