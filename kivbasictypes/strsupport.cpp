//===- strsupport.cpp - The host's optional string helper ----------------===//
#include "kivbasictypes/strsupport.h"

#include "core/kivptr.h"
#include "core/lookup.h"
#include "kivbasictypes/ikivstrsupport.h"

#include <atomic>
#include <mutex>

namespace {

std::atomic<bool> gLookedUp{false};
// Set while the look-up runs: the manager may build strings on the same thread,
// which must then see "no service" instead of starting a second look-up.
bool gLookingUp = false;

std::recursive_mutex& lookupLock() {
  static std::recursive_mutex lock;
  return lock;
}

IPtr<IKivStrSupport>& heldService() {
  static IPtr<IKivStrSupport> service;
  return service;
}

} // namespace

IKivStrSupport* strSupport() {
  if (!gLookedUp.load(std::memory_order_acquire)) {
    // Strings are made long before the host installs its manager; a look-up
    // then could find nothing, so it is not remembered.
    if (!componentManager())
      return nullptr;
    std::lock_guard<std::recursive_mutex> guard(lookupLock());
    if (gLookingUp)
      return nullptr;
    if (!gLookedUp.load(std::memory_order_relaxed)) {
      gLookingUp = true;
      SPtr<IKivStrSupport> found("IKivStrSupport");
      heldService() = found.get();
      gLookingUp = false;
      gLookedUp.store(true, std::memory_order_release);
    }
  }
  return heldService().get();
}

void resetStrSupport() {
  std::lock_guard<std::recursive_mutex> guard(lookupLock());
  heldService().clear();
  gLookedUp.store(false, std::memory_order_release);
}
