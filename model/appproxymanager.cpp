//===- appproxymanager.cpp - Messages routed to named proxies -------------===//
#include "model/appproxymanager.h"

#include "core/classwalk.h"
#include "core/lookup.h"
#include "kivbasictypes/kivstring.h"

#include <cstring>

namespace {

// Looked up for each construction and destruction; the manager subscribes
// only if the key existed when it was made.
IPtr<IDataStore> dataStore() {
  void* out = nullptr;
  IPtr<IDataStore> store;
  if (getObject("IDataStore", &out) && out)
    store = static_cast<IDataStore*>(out);
  return store;
}

} // namespace

AppProxyManager::AppProxyManager() {
  if (IPtr<IDataStore> store = dataStore(); store && store->hasKey(kPhaseKey))
    store->addListener(kPhaseKey, static_cast<IKivDataReceiver*>(this));
}

AppProxyManager::~AppProxyManager() {
  if (IPtr<IDataStore> store = dataStore(); store && store->hasKey(kPhaseKey))
    store->removeListener(kPhaseKey, static_cast<IKivDataReceiver*>(this));
}

void AppProxyManager::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivAppProxyManager");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<IKivListener*>(this)),
                out))
    return;
  if (kivAnswer(name, "IKivAppProxyManager", static_cast<IKivAppProxyManager*>(this), out))
    return;
  // The store finds its receivers through this name.
  kivAnswer(name, "IKivDataReceiver", static_cast<IKivDataReceiver*>(this), out);
}

void AppProxyManager::dispatch(const KivCString& name, intptr_t a, intptr_t b) {
  if (!enabledStack_.isEmpty() && !enabledStack_.last())
    return;  // muted: the message is dropped, not held
  const char* text = name.c_str();
  const char* underscore = std::strchr(text, '_');
  const KivCString shortName =
      underscore ? KivCString(text, static_cast<int32_t>(underscore - text)) : KivCString(text);
  if (shortName.isEmpty())
    return;
  if (auto* node = proxies_.find(shortName))
    if (ProxyManagerBase* target = node->value.get())
      target->call(name, a, b);
}

void AppProxyManager::addProxy(ProxyManagerBase* proxy) {
  if (!proxy)
    return;
  const KivCString key(proxy->name.c_str());
  if (auto* node = proxies_.find(key)) {
    if (node->value.get() != proxy)
      node->value = proxy;
    return;
  }
  proxies_[key] = proxy;
}

ProxyManagerBase* AppProxyManager::proxy(const KivCString& name) {
  auto* node = proxies_.find(name);
  return node ? node->value.get() : nullptr;
}

void AppProxyManager::pushEnabled(bool enabled) { enabledStack_.push(enabled); }

void AppProxyManager::popEnabled() {
  if (!enabledStack_.isEmpty())
    enabledStack_.pop();
}

bool AppProxyManager::isEnabled() { return enabledStack_.isEmpty() || enabledStack_.last(); }

intptr_t AppProxyManager::notifyProxy(const KivCString& name, intptr_t arg) {
  ProxyManagerBase* target = proxy(name);
  return target ? target->notify(arg) : 0;
}

void AppProxyManager::receiveString(const char*, const KivString& value) {
  if (value == KivString("Contour")) {
    if (!mutedByPhase_)
      pushEnabled(false);
    mutedByPhase_ = 1;
  } else {
    if (mutedByPhase_)
      popEnabled();
    mutedByPhase_ = 0;
  }
}
