//===- kivobject.cpp - Reference counting and weak cells ------------------===//
#include "core/kivobject.h"

#include "core/ikivcomponentmanager.h"
#include "core/lookup.h"

KivObject::~KivObject() = default;

KivShared::~KivShared() = default;

void KivShared::addRef() {
  if (IKivComponentManager* manager = componentManager())
    manager->incrementRefCount(&refCount_);
  else
    ++refCount_;
}

// True when the counter has reached zero. Without a manager the counter of a
// dead object is left at -42, a value no living object has.
bool KivShared::decrement() {
  if (IKivComponentManager* manager = componentManager())
    return manager->decrementRefCount(&refCount_);
  if (refCount_ == 1) {
    refCount_ = -42;
    return true;
  }
  --refCount_;
  return false;
}

void KivShared::detachWeakRef() {
  if (!weakRef_)
    return;
  KivWeakRef* cell = weakRef_;
  weakRef_ = nullptr;
  cell->target = nullptr;
  cell->release();
}

void KivShared::release() {
  if (!decrement())
    return;
  detachWeakRef();
  delete this;
}

void KivShared::releaseNoDelete() {
  if (decrement())
    detachWeakRef();
}

uint32_t KivShared::refCount() const { return static_cast<uint32_t>(refCount_); }

KivWeakRef* KivShared::weakRef() {
  if (!weakRef_) {
    weakRef_ = new KivWeakRef(this);
    weakRef_->addRef();
  }
  return weakRef_;
}
