//===- tovcomponentmanager.h - The reference host's component manager -*- C++ -*-===//
//
// The manager loads component libraries, remembers which component provides
// which interface, holds the host's services by name and counts references
// atomically for every object of every component it initialised.
//
// Invariants a user must know:
//  - Objects handed out by getObject/createObject carry no reference.
//  - The manager holds one reference on each component, service, container
//    and shutdown listener until shutdown(), which releases them newest first.
//  - A loaded library is never unloaded: the component keeps the manager's
//    pointer, and objects and static caches of the library may outlive
//    shutdown(). For the same reason a manager that has initialised a
//    library must outlive the process (see ReferenceHost), though it answers
//    nothing but reference counting after shutdown().
//  - Every operation may be called from any thread; no lock is held while a
//    component or a service is called, so components may call back.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ikivcomponentmanager.h"
#include "core/kivptr.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

class IKivComponent;
class IShutdownListener;
class TovComponentContainer;

class TovComponentManager : public IKivComponentManager, public IKivComponentLoader {
public:
  // The only interface version of components this manager accepts.
  static constexpr uint32_t kApiVersion = 100;

  TovComponentManager();
  ~TovComponentManager() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "TovComponentManager"; }

  // Registered classes first; an identifier that nobody registered (such as
  // a class without an interface name) is offered to each component in turn.
  int createObject(KivClassId* id, const KivCString& name, void** out) override;
  void registerInterface(const KivCString& name, const KivClassId& id) override;
  // A service of that name first, else the class registered for the interface.
  int getObject(const KivCString& name, void** out) override;
  KivString lastError() override;
  void incrementRefCount(int* counter) override;
  bool decrementRefCount(int* counter) override;
  IKivComponentContainer* container(const KivCString& name, int flags) override;

  // dlopen, EntryPoint, API version 100, then addComponent. Loading the same
  // library twice gives the component of the first load.
  IKivComponent* loadComponent(const char* path) override;

  // Takes a reference on the component and initialises it with this manager.
  // Afterwards every class of the component that has no interface name is
  // built once: an IKivInitializer among them is run, an IShutdownListener is
  // kept for shutdown(). `origin` names the component in error texts.
  IKivComponent* addComponent(IKivComponent* component, const char* origin);

  // Services answer getObject by name before any class does.
  void registerService(const char* name, IKivUnknown* service);
  bool removeService(const char* name);
  // Creates the named sub-container, or gives the existing one.
  TovComponentContainer* addContainer(const char* name);
  // Queried for "IShutdownListener"; false when it is none.
  bool addShutdownListener(IKivUnknown* listener);

  // Interface names registered for `id` in the manager itself.
  std::vector<std::string> interfacesOf(const KivClassId& id) const;
  std::string lastErrorText() const;
  void setLastError(std::string text);
  bool hasLoadedLibrary() const;
  size_t componentCount() const;

  // The component being initialised on this thread, else the most recently
  // added one; null before any. Containers attribute registrations with it.
  IKivComponent* registeringComponent() const;

  // Tells the shutdown listeners, then each component's shutdown(), then
  // releases listeners, containers, services and components, newest first.
  // Further calls do nothing.
  void shutdown();

private:
  struct Library {
    std::string path;
    void* handle;
    IKivComponent* component;
  };

  IKivComponent* initializeComponent(IKivComponent* component, const std::string& origin);
  void runUnnamedClasses(IKivComponent* component);

  IPtr<TovComponentContainer> root_;
  mutable std::mutex mutex_;
  std::mutex loadMutex_;  // one load or addComponent at a time
  std::vector<IPtr<IKivComponent>> components_;
  std::vector<IPtr<TovComponentContainer>> containers_;
  std::vector<IPtr<IShutdownListener>> shutdownListeners_;
  std::vector<Library> libraries_;
  std::string lastError_;
  bool shutDown_ = false;
};
