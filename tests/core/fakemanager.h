//===- fakemanager.h - A small component manager for core tests -*- C++ -*-===//
//
// Counts atomically, keeps services and interface registrations in plain
// maps, and forwards class look-ups to one component. Containers are other
// FakeManagers registered by name.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ikivcomponent.h"
#include "core/ikivcomponentmanager.h"
#include "core/kivclassid.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivstring.h"

#include <atomic>
#include <map>
#include <string>

class FakeManager : public IKivComponentManager {
public:
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (!name)
      return;
    if (!kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) &&
        !kivAnswer(name, "IKivComponentContainer", static_cast<IKivComponentContainer*>(this), out))
      kivAnswer(name, "IKivComponentManager", static_cast<IKivComponentManager*>(this), out);
  }
  const char* className() const override { return "FakeManager"; }

  int createObject(KivClassId* id, const KivCString& name, void** out) override {
    ++createCalls;
    if (!component)
      return 0;
    IKivUnknown* object = nullptr;
    if (component->createInstance(*id, &object) == 0 || !object)
      return 0;
    object->queryInterface(name.c_str(), out);
    return *out ? 1 : 0;
  }
  void registerInterface(const KivCString& name, const KivClassId& id) override {
    interfaces[name.c_str()] = id;
  }
  int getObject(const KivCString& name, void** out) override {
    ++getCalls;
    auto service = services.find(name.c_str());
    if (service != services.end()) {
      service->second->queryInterface(name.c_str(), out);
      return *out ? 1 : 0;
    }
    auto registered = interfaces.find(name.c_str());
    if (registered == interfaces.end())
      return 0;
    KivClassId id = registered->second;
    return createObject(&id, name, out);
  }
  KivString lastError() override { return KivString("no error"); }
  void incrementRefCount(int* counter) override {
    std::atomic_ref<int>(*counter).fetch_add(1);
  }
  bool decrementRefCount(int* counter) override {
    return std::atomic_ref<int>(*counter).fetch_sub(1) == 1;
  }
  IKivComponentContainer* container(const KivCString& name, int) override {
    auto found = containers.find(name.c_str());
    return found == containers.end() ? nullptr : found->second;
  }

  IKivComponent* component = nullptr;
  std::map<std::string, IKivUnknown*> services;
  std::map<std::string, KivClassId> interfaces;
  std::map<std::string, IKivComponentContainer*> containers;
  int getCalls = 0;
  int createCalls = 0;
};
