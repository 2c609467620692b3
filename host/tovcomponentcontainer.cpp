//===- tovcomponentcontainer.cpp - Named tables of services and classes ---===//
#include "host/tovcomponentcontainer.h"

#include "core/ikivcomponent.h"
#include "host/tovcomponentmanager.h"
#include "kivbasictypes/kivcstring.h"

#include <utility>

TovComponentContainer::TovComponentContainer(TovComponentManager* owner, std::string name)
    : owner_(owner), name_(std::move(name)) {}

TovComponentContainer::~TovComponentContainer() { clear(); }

void TovComponentContainer::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "TovComponentContainer", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivComponentContainer", static_cast<IKivComponentContainer*>(this), out);
}

IKivUnknown* TovComponentContainer::findService(std::string_view name) const {
  for (const Service& service : services_)
    if (service.name == name)
      return service.object.get();
  return nullptr;
}

void TovComponentContainer::registerService(const char* name, IKivUnknown* service) {
  if (!service) {
    removeService(name);
    return;
  }
  IPtr<IKivUnknown> old;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    bool replaced = false;
    for (Service& entry : services_) {
      if (entry.name == name) {
        old = std::move(entry.object);
        entry.object = service;
        replaced = true;
        break;
      }
    }
    if (!replaced)
      services_.push_back(Service{name, IPtr<IKivUnknown>(service)});
  }
  // `old` is released here, outside the lock: its destructor may call back.
}

bool TovComponentContainer::removeService(const char* name) {
  IPtr<IKivUnknown> old;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = services_.begin(); it != services_.end(); ++it) {
      if (it->name == name) {
        old = std::move(it->object);
        services_.erase(it);
        break;
      }
    }
  }
  return old.get() != nullptr;
}

void TovComponentContainer::registerClass(const char* interfaceName, const KivClassId& id,
                                          IKivComponent* component) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = byInterface_.find(interfaceName);
  if (it != byInterface_.end()) {
    registrations_[it->second].id = id;
    registrations_[it->second].component = component;
    return;
  }
  byInterface_.emplace(interfaceName, registrations_.size());
  registrations_.push_back(Registration{interfaceName, id, component});
}

void TovComponentContainer::registerInterface(const KivCString& name, const KivClassId& id) {
  if (name.isEmpty())
    return;
  IKivComponent* component = owner_->registeringComponent();
  if (!component) {
    owner_->setLastError(std::string("interface ") + name.c_str() +
                         " registered while no component is loaded");
    return;
  }
  registerClass(name.c_str(), id, component);
}

std::vector<std::string> TovComponentContainer::interfacesOf(const KivClassId& id) const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> names;
  for (const Registration& entry : registrations_)
    if (entry.id == id)
      names.push_back(entry.interfaceName);
  return names;
}

IKivComponent* TovComponentContainer::componentOf(const KivClassId& id) const {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const Registration& entry : registrations_)
    if (entry.id == id)
      return entry.component;
  return nullptr;
}

void TovComponentContainer::forgetComponent(IKivComponent* component) {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Registration> kept;
  for (Registration& entry : registrations_)
    if (entry.component != component)
      kept.push_back(std::move(entry));
  registrations_.swap(kept);
  byInterface_.clear();
  for (size_t i = 0; i < registrations_.size(); ++i)
    byInterface_.emplace(registrations_[i].interfaceName, i);
}

void TovComponentContainer::clear() {
  std::vector<Service> services;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    services.swap(services_);
    registrations_.clear();
    byInterface_.clear();
  }
  while (!services.empty())
    services.pop_back();
}

int TovComponentContainer::instantiate(TovComponentManager* owner, IKivComponent* component,
                                       const KivClassId& id, const char* name, void** out) {
  IKivUnknown* unknown = nullptr;
  int32_t kind = component->createInstance(id, &unknown);
  if (kind == 0 || !unknown) {
    owner->setLastError("component has no class " + id.toString() + " for " + name);
    return 0;
  }
  void* answer = nullptr;
  unknown->queryInterface(name, &answer);
  if (!answer) {
    if (kind == 1) {
      // A new instance nobody will hold: one reference and its release end it.
      IPtr<IKivUnknown> discard(unknown);
    }
    owner->setLastError("class " + id.toString() + " does not answer " + name);
    return 0;
  }
  *out = answer;
  return 1;
}

int TovComponentContainer::getObject(const KivCString& name, void** out) {
  const char* text = name.c_str();
  std::string_view key(text ? text : "");
  IPtr<IKivUnknown> service;
  IKivComponent* component = nullptr;
  KivClassId id;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    service = findService(key);
    if (!service) {
      auto it = byInterface_.find(key);
      if (it != byInterface_.end()) {
        id = registrations_[it->second].id;
        component = registrations_[it->second].component;
      }
    }
  }
  if (service) {
    void* answer = nullptr;
    service->queryInterface(key.data(), &answer);
    if (!answer) {
      owner_->setLastError("service " + std::string(key) + " does not answer " + std::string(key));
      return 0;
    }
    *out = answer;
    return 1;
  }
  if (!component) {
    owner_->setLastError("no service or class registered for " + std::string(key));
    return 0;
  }
  return instantiate(owner_, component, id, key.data(), out);
}

int TovComponentContainer::createObject(KivClassId* id, const KivCString& name, void** out) {
  if (!id)
    return 0;
  IKivComponent* component = componentOf(*id);
  if (!component) {
    owner_->setLastError("no component registered class " + id->toString());
    return 0;
  }
  return instantiate(owner_, component, *id, name.c_str(), out);
}
