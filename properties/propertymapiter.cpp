//===- propertymapiter.cpp - Walking a PropertyMap in name order ----------===//
#include "properties/propertymapiter.h"

#include "core/classwalk.h"

PropertyMapIter::PropertyMapIter(const PropertyMap::Properties* map)
    : map_(map), current_(map->begin()) {}

void PropertyMapIter::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "PropertyMapIter");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivPropertyMapIter");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "PropertyMapIter", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivPropertyMapIter", static_cast<IKivPropertyMapIter*>(this), out);
}

void PropertyMapIter::first() { current_ = map_->begin(); }

void PropertyMapIter::next() {
  if (current_ != map_->end())
    ++current_;
}

bool PropertyMapIter::isDone() const { return current_ == map_->end(); }

IKivProperty* PropertyMapIter::value() const {
  return isDone() ? nullptr : current_->second.get();
}

const KivString& PropertyMapIter::key() const {
  return isDone() ? KivString::empty() : current_->first;
}
