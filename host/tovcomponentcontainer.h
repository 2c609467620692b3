//===- tovcomponentcontainer.h - Named tables of services and classes -*- C++ -*-===//
//
// A container answers an interface name with a service registered under that
// name, or else with a new object (or the single instance) of the class that
// was registered for the interface, built by the component that registered it.
// The container holds one reference on each service and none on components:
// its manager owns the components and outlives every container. Objects handed
// out carry no reference, like queryInterface. Thread-safe; no lock is held
// while a component or a service is called.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ikivcomponentmanager.h"
#include "core/kivclassid.h"
#include "core/kivptr.h"

#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class IKivComponent;
class TovComponentManager;

class TovComponentContainer : public IKivComponentContainer {
public:
  TovComponentContainer(TovComponentManager* owner, std::string name);
  ~TovComponentContainer() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "TovComponentContainer"; }

  // Only classes registered in this container; unknown identifiers give 0.
  int createObject(KivClassId* id, const KivCString& name, void** out) override;
  // Attributed to the component that is being initialised on this thread,
  // else to the manager's most recently added component.
  void registerInterface(const KivCString& name, const KivClassId& id) override;
  int getObject(const KivCString& name, void** out) override;

  const std::string& name() const { return name_; }

  // Takes one reference; a service of the same name is replaced and released.
  void registerService(const char* name, IKivUnknown* service);
  bool removeService(const char* name);
  // Registration with an explicit component. A later registration of the same
  // interface name replaces the earlier one: the last loaded component wins.
  void registerClass(const char* interfaceName, const KivClassId& id, IKivComponent* component);
  // Interface names registered for `id`, in registration order.
  std::vector<std::string> interfacesOf(const KivClassId& id) const;
  // The component that registered `id`, or null.
  IKivComponent* componentOf(const KivClassId& id) const;
  // Forgets every registration that points at `component`.
  void forgetComponent(IKivComponent* component);
  // Releases the services, newest first, and forgets all registrations.
  void clear();

  // createInstance on `component`, then queryInterface(name). A new instance
  // that does not answer `name` is destroyed again. 1 on success; on failure
  // the owner's last error says why and *out is left as it was.
  static int instantiate(TovComponentManager* owner, IKivComponent* component,
                         const KivClassId& id, const char* name, void** out);

private:
  struct Registration {
    std::string interfaceName;
    KivClassId id;
    IKivComponent* component;
  };
  struct Service {
    std::string name;
    IPtr<IKivUnknown> object;
  };

  IKivUnknown* findService(std::string_view name) const;

  // Lets look-ups by interface name go without building a std::string: the
  // library asks for its event arguments on every announced change.
  struct NameHash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
  };

  TovComponentManager* owner_;
  std::string name_;
  mutable std::mutex mutex_;
  std::vector<Service> services_;              // registration order
  std::vector<Registration> registrations_;    // registration order
  std::unordered_map<std::string, size_t, NameHash, std::equal_to<>> byInterface_;
};
