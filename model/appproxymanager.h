//===- appproxymanager.h - Messages routed to named proxies -----*- C++ -*-===//
//
// AppProxyManager (a singleton of the class table) holds proxies by short
// name and routes a message to the proxy named by the text of the message's
// name ahead of its first underscore, with the whole name. A stack of on/off
// flags mutes it (empty means on). While the host's "GUI/Model Phase" reads
// "Contour", the manager has pushed one off flag of its own.
//
// Invariants a user must know:
//  - No lock: the stack and the map must not be used from two threads at
//    once. The store delivers the phase on the thread that changes it.
//  - The stack has no owner marks: the phase's later change pops whatever
//    flag is on top.
//  - One reference is held on each proxy; a second proxy of the same name
//    drops the first.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "basic_types/map.h"
#include "core/idatastore.h"
#include "core/kivptr.h"
#include "kivbasictypes/kivcstring.h"

#include <cstdint>

// The base of the host's proxies. `name` is the key it is entered under.
class ProxyManagerBase : public virtual IKivUnknown {
public:
  // a and b are pointer-sized values passed on unread.
  virtual void call(const KivCString& name, intptr_t a, intptr_t b) = 0;  // 1
  virtual intptr_t notify(intptr_t arg) = 0;                              // 2

  KivCString name;
};

class IKivListener : public virtual IKivUnknown {
public:
  virtual void dispatch(const KivCString& name, intptr_t a, intptr_t b) = 0;  // 1
};

class IKivAppProxyManager : public IKivListener {
public:
  virtual void addProxy(ProxyManagerBase* proxy) = 0;                       // 2
  virtual ProxyManagerBase* proxy(const KivCString& name) = 0;              // 3
  virtual void pushEnabled(bool enabled) = 0;                               // 4
  virtual void popEnabled() = 0;                                            // 5
  virtual bool isEnabled() = 0;                                             // 6
  virtual intptr_t notifyProxy(const KivCString& name, intptr_t arg) = 0;   // 7
};

class AppProxyManager : public IKivAppProxyManager, public TovDataReceiver {
public:
  static constexpr const char* kClassName = "AppProxyManager";
  static constexpr const char* kPhaseKey = "GUI/Model Phase";

  AppProxyManager();
  ~AppProxyManager() override;
  AppProxyManager(const AppProxyManager&) = delete;
  AppProxyManager& operator=(const AppProxyManager&) = delete;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void dispatch(const KivCString& name, intptr_t a, intptr_t b) override;
  void addProxy(ProxyManagerBase* proxy) override;
  ProxyManagerBase* proxy(const KivCString& name) override;
  void pushEnabled(bool enabled) override;
  void popEnabled() override;
  bool isEnabled() override;
  intptr_t notifyProxy(const KivCString& name, intptr_t arg) override;

  // The phase value; the key isn't looked at.
  void receiveString(const char* key, const KivString& value) override;

private:
  IterStack<bool> enabledStack_{20};
  Map<KivCString, IPtr<ProxyManagerBase>> proxies_{17};
  uint8_t mutedByPhase_ = 0;
};
