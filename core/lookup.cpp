//===- lookup.cpp - Reaching the host's manager and its services ----------===//
#include "core/lookup.h"

#include "core/ikivcomponentmanager.h"
#include "core/kivclassid.h"
#include "kivbasictypes/kivcstring.h"

#include <atomic>

namespace {

std::atomic<IKivComponentManager*> gManager{nullptr};

KivCString& containerNameStorage() {
  static KivCString name;
  return name;
}

// The named container, if this component lives in one.
IKivComponentContainer* ownContainer(IKivComponentManager* manager) {
  const KivCString& name = containerNameStorage();
  if (name.isEmpty())
    return nullptr;
  return manager->container(name, 0);
}

} // namespace

IKivComponentManager* componentManager() { return gManager.load(std::memory_order_acquire); }

void setComponentManager(IKivComponentManager* manager) {
  gManager.store(manager, std::memory_order_release);
}

const KivCString& componentContainerName() { return containerNameStorage(); }

void setComponentContainerName(const KivCString& name) {
  // Always an owned copy: the host's text may not outlive the call.
  KivCString copy(name.text());
  containerNameStorage() = copy;
}

int getObject(const char* name, void** out) {
  IKivComponentManager* manager = componentManager();
  if (!manager)
    return 0;
  KivCString key = KivCString::view(name);
  if (IKivComponentContainer* container = ownContainer(manager))
    if (container->getObject(key, out) == 1)
      return 1;
  return manager->getObject(key, out);
}

int createObject(const KivClassId* id, const char* name, void** out) {
  IKivComponentManager* manager = componentManager();
  if (!manager)
    return 0;
  KivCString key = KivCString::view(name);
  KivClassId idCopy = *id;
  if (IKivComponentContainer* container = ownContainer(manager))
    if (container->createObject(&idCopy, key, out) == 1)
      return 1;
  return manager->createObject(&idCopy, key, out);
}

int getObjectIn(const char* name, const char* containerName, void** out) {
  IKivComponentManager* manager = componentManager();
  if (!manager)
    return 0;
  IKivComponentContainer* container = manager->container(KivCString::view(containerName), 0);
  if (!container)
    return 0;
  return container->getObject(KivCString::view(name), out);
}

int createObjectIn(const KivClassId* id, const char* name, const char* containerName,
                   void** out) {
  IKivComponentManager* manager = componentManager();
  if (!manager)
    return 0;
  IKivComponentContainer* container = manager->container(KivCString::view(containerName), 0);
  if (!container)
    return 0;
  KivClassId idCopy = *id;
  return container->createObject(&idCopy, KivCString::view(name), out);
}
