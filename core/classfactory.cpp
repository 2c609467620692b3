//===- classfactory.cpp - Item factories and the class factory ------------===//
#include "core/classfactory.h"

#include "basic_types/map.h"

struct KivDefaultClassFactory::State {
  State() : factories(nextPrime(99)) {}
  Map<KivClassId, KivItemFactory*> factories;
  Map<KivClassId, KivItemFactory*>::Iterator iter{factories};
};

KivItemFactory::KivItemFactory(const KivClassId& id, const char* name, void* info)
    : name_(name), info_(info), classId_(id) {
  defaultClassFactory()->add(this);
}

KivItemFactory::~KivItemFactory() = default;

IKivClassFactory::~IKivClassFactory() = default;

KivDefaultClassFactory::KivDefaultClassFactory() : state_(new State) {}

KivDefaultClassFactory::~KivDefaultClassFactory() { delete state_; }

void KivDefaultClassFactory::add(KivItemFactory* factory) {
  state_->factories[factory->classId()] = factory;
}

KivItemFactory* KivDefaultClassFactory::find(const KivClassId& id) {
  auto* node = state_->factories.find(id);
  return node ? node->value : nullptr;
}

int32_t KivDefaultClassFactory::createInstance(const KivClassId& id, IKivUnknown** out) {
  KivItemFactory* factory = find(id);
  if (!factory)
    return 0;
  int32_t kind = 0;
  *out = factory->create(&kind);
  return kind;
}

int32_t KivDefaultClassFactory::count() { return state_->factories.count(); }

bool KivDefaultClassFactory::first(KivClassId* out) {
  if (!state_->iter.first())
    return false;
  *out = state_->iter.key();
  return true;
}

bool KivDefaultClassFactory::next(KivClassId* out) {
  if (!state_->iter.next())
    return false;
  *out = state_->iter.key();
  return true;
}

const char* KivDefaultClassFactory::classNameOf(const KivClassId& id) {
  KivItemFactory* factory = find(id);
  return factory ? factory->name() : nullptr;
}

KivDefaultClassFactory* defaultClassFactory() {
  // Never destroyed: item factories are static objects of other files and
  // may be torn down after this one.
  static KivDefaultClassFactory* factory = new KivDefaultClassFactory();
  return factory;
}
