//===- tovcomponentmanager.cpp - The reference host's component manager ---===//
#include "host/tovcomponentmanager.h"

#include "core/ikivcomponent.h"
#include "core/ishutdownlistener.h"
#include "core/kivclassid.h"
#include "core/platformexception.h"
#include "host/tovcomponentcontainer.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivstring.h"

#include <atomic>
#include <dlfcn.h>
#include <utility>

namespace {

// The component whose initialize() runs on this thread, so that the
// registerInterface calls it makes are attributed to it. Frames nest when a
// component loads another one from its initialize().
struct InitFrame {
  const TovComponentManager* manager;
  IKivComponent* component;
  const InitFrame* previous;
};
thread_local const InitFrame* tInitFrame = nullptr;

// The text of whatever a component let escape.
std::string describeCurrentException() {
  try {
    throw;
  } catch (PlatformException* e) {
    std::string text = e->message.utf8Text();
    delete e;
    return text;
  } catch (const std::exception& e) {
    return e.what();
  } catch (...) {
    return "unknown exception";
  }
}

} // namespace

TovComponentManager::TovComponentManager() : root_(new TovComponentContainer(this, "")) {}

TovComponentManager::~TovComponentManager() { shutdown(); }

void TovComponentManager::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "TovComponentManager", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, "IKivComponentContainer", static_cast<IKivComponentContainer*>(this), out) ||
      kivAnswer(name, "IKivComponentManager", static_cast<IKivComponentManager*>(this), out))
    return;
  kivAnswer(name, "IKivComponentLoader", static_cast<IKivComponentLoader*>(this), out);
}

void TovComponentManager::incrementRefCount(int* counter) {
  std::atomic_ref<int>(*counter).fetch_add(1, std::memory_order_relaxed);
}

bool TovComponentManager::decrementRefCount(int* counter) {
  // acq_rel: whoever sees zero also sees every write made under the other
  // references before the object is destroyed.
  return std::atomic_ref<int>(*counter).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

void TovComponentManager::setLastError(std::string text) {
  std::lock_guard<std::mutex> lock(mutex_);
  lastError_ = std::move(text);
}

std::string TovComponentManager::lastErrorText() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return lastError_;
}

KivString TovComponentManager::lastError() {
  std::string text = lastErrorText();
  KivString result = KivString::fromUtf8(text.c_str());
  // A path that is not UTF-8 still gives a readable message.
  if (result.isEmpty() && !text.empty())
    result = KivString(text.c_str());
  return result;
}

bool TovComponentManager::hasLoadedLibrary() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return !libraries_.empty();
}

size_t TovComponentManager::componentCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return components_.size();
}

IKivComponent* TovComponentManager::registeringComponent() const {
  for (const InitFrame* frame = tInitFrame; frame; frame = frame->previous)
    if (frame->manager == this)
      return frame->component;
  std::lock_guard<std::mutex> lock(mutex_);
  return components_.empty() ? nullptr : components_.back().get();
}

void TovComponentManager::registerInterface(const KivCString& name, const KivClassId& id) {
  root_->registerInterface(name, id);
}

std::vector<std::string> TovComponentManager::interfacesOf(const KivClassId& id) const {
  return root_->interfacesOf(id);
}

int TovComponentManager::getObject(const KivCString& name, void** out) {
  return root_->getObject(name, out);
}

int TovComponentManager::createObject(KivClassId* id, const KivCString& name, void** out) {
  if (!id)
    return 0;
  if (root_->componentOf(*id))
    return root_->createObject(id, name, out);
  std::vector<IKivComponent*> components;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const IPtr<IKivComponent>& component : components_)
      components.push_back(component.get());
  }
  for (IKivComponent* component : components) {
    auto* internal = kivQuery<IKivCompInternal>(component, "IKivCompInternal");
    if (internal && internal->classNameOf(*id))
      return TovComponentContainer::instantiate(this, component, *id, name.c_str(), out);
  }
  setLastError("no component knows class " + id->toString());
  return 0;
}

void TovComponentManager::registerService(const char* name, IKivUnknown* service) {
  root_->registerService(name, service);
}

bool TovComponentManager::removeService(const char* name) { return root_->removeService(name); }

IKivComponentContainer* TovComponentManager::container(const KivCString& name, int /*flags*/) {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const IPtr<TovComponentContainer>& entry : containers_)
    if (entry->name() == name.c_str())
      return entry.get();
  return nullptr;
}

TovComponentContainer* TovComponentManager::addContainer(const char* name) {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const IPtr<TovComponentContainer>& entry : containers_)
    if (entry->name() == name)
      return entry.get();
  containers_.emplace_back(new TovComponentContainer(this, name));
  return containers_.back().get();
}

bool TovComponentManager::addShutdownListener(IKivUnknown* listener) {
  auto* shutdownListener = kivQuery<IShutdownListener>(listener, "IShutdownListener");
  if (!shutdownListener)
    return false;
  std::lock_guard<std::mutex> lock(mutex_);
  shutdownListeners_.emplace_back(shutdownListener);
  return true;
}

IKivComponent* TovComponentManager::loadComponent(const char* path) {
  if (!path || !*path) {
    setLastError("no library path given");
    return nullptr;
  }
  std::lock_guard<std::mutex> load(loadMutex_);
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (shutDown_) {
      lastError_ = std::string("cannot load ") + path + ": the manager is shut down";
      return nullptr;
    }
  }
  dlerror();
  void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* reason = dlerror();
    setLastError(std::string("cannot open library ") + path + ": " +
                 (reason ? reason : "unknown reason"));
    return nullptr;
  }
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const Library& library : libraries_) {
      if (library.handle == handle) {
        dlclose(handle);  // balances this dlopen; the first one stays
        return library.component;
      }
    }
  }
  auto entryPoint = reinterpret_cast<KivEntryPointFunction>(dlsym(handle, "EntryPoint"));
  if (!entryPoint) {
    dlclose(handle);
    setLastError(std::string(path) + " has no EntryPoint");
    return nullptr;
  }
  // From here on the library stays loaded even on failure: its static
  // objects are alive and a component object may exist.
  uint32_t apiVersion = 0;
  IKivComponent* component = nullptr;
  int32_t ok = 0;
  try {
    ok = entryPoint(&apiVersion, &component);
  } catch (...) {
    setLastError("EntryPoint of " + std::string(path) + " failed: " + describeCurrentException());
    return nullptr;
  }
  if (!ok || !component) {
    setLastError("EntryPoint of " + std::string(path) + " gave no component");
    return nullptr;
  }
  if (apiVersion != kApiVersion) {
    IPtr<IKivComponent> discard(component);
    setLastError(std::string(path) + " has API version " + std::to_string(apiVersion) +
                 ", expected 100");
    return nullptr;
  }
  if (!initializeComponent(component, path))
    return nullptr;
  std::lock_guard<std::mutex> lock(mutex_);
  libraries_.push_back(Library{path, handle, component});
  return component;
}

IKivComponent* TovComponentManager::addComponent(IKivComponent* component, const char* origin) {
  if (!component) {
    setLastError("no component given");
    return nullptr;
  }
  std::lock_guard<std::mutex> load(loadMutex_);
  return initializeComponent(component, origin ? origin : "component");
}

IKivComponent* TovComponentManager::initializeComponent(IKivComponent* component,
                                                        const std::string& origin) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (shutDown_) {
      lastError_ = "cannot add " + origin + ": the manager is shut down";
      return nullptr;
    }
  }
  IPtr<IKivComponent> held(component);
  InitFrame frame{this, component, tInitFrame};
  tInitFrame = &frame;
  std::string failure;
  try {
    component->initialize(this);
  } catch (...) {
    failure = describeCurrentException();
  }
  tInitFrame = frame.previous;
  if (!failure.empty()) {
    // What it registered would point at a component that is about to die.
    root_->forgetComponent(component);
    setLastError("initialization of " + origin + " failed: " + failure);
    return nullptr;
  }
  {
    std::lock_guard<std::mutex> lock(mutex_);
    components_.push_back(held);
  }
  runUnnamedClasses(component);
  return component;
}

// Classes without an interface name cannot be asked for by any client, so
// they are the component's own start-up and shut-down hooks: this host builds
// each once, runs the initializers and keeps the shutdown listeners.
void TovComponentManager::runUnnamedClasses(IKivComponent* component) {
  auto* internal = kivQuery<IKivCompInternal>(component, "IKivCompInternal");
  if (!internal)
    return;
  std::vector<KivClassId> unnamed;
  KivClassId id;
  for (bool more = internal->firstClass(&id); more; more = internal->nextClass(&id))
    if (root_->interfacesOf(id).empty())
      unnamed.push_back(id);
  for (const KivClassId& classId : unnamed) {
    try {
      IKivUnknown* unknown = nullptr;
      if (component->createInstance(classId, &unknown) == 0 || !unknown)
        continue;
      IPtr<IKivUnknown> hold(unknown);
      if (auto* initializer = kivQuery<IKivInitializer>(unknown, "IKivInitializer"))
        initializer->initialize();
      addShutdownListener(unknown);
    } catch (...) {
      setLastError("class " + classId.toString() + " failed at start: " +
                   describeCurrentException());
    }
  }
}

void TovComponentManager::shutdown() {
  std::vector<IPtr<IShutdownListener>> listeners;
  std::vector<IPtr<TovComponentContainer>> containers;
  std::vector<IKivComponent*> components;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (shutDown_)
      return;
    shutDown_ = true;
    listeners.swap(shutdownListeners_);
    containers.swap(containers_);
    for (const IPtr<IKivComponent>& component : components_)
      components.push_back(component.get());
  }
  // Services and classes stay reachable while the listeners run: a listener
  // typically asks for the objects it has to stop.
  for (const IPtr<IShutdownListener>& listener : listeners) {
    try {
      listener->onShutdown();
    } catch (...) {
      setLastError(std::string("shutdown listener failed: ") + describeCurrentException());
    }
  }
  while (!listeners.empty())
    listeners.pop_back();
  for (auto it = components.rbegin(); it != components.rend(); ++it) {
    try {
      (*it)->shutdown();
    } catch (...) {
      setLastError(std::string("component shutdown failed: ") + describeCurrentException());
    }
  }
  while (!containers.empty()) {
    containers.back()->clear();
    containers.pop_back();
  }
  root_->clear();
  std::vector<IPtr<IKivComponent>> held;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    held.swap(components_);
  }
  while (!held.empty())
    held.pop_back();
}
