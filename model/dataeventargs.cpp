//===- dataeventargs.cpp - What travels with an event ---------------------===//
#include "model/dataeventargs.h"

#include "core/classwalk.h"

#include <iterator>

DataEventArgs::DataEventArgs() { setFlags(kMapArgsFlag | kMapPropertyEvents); }

void DataEventArgs::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "DataEventArgs");
    PropertyMap::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDataEventArgs");
    return;
  }
  *out = nullptr;
  // The class table asks every new argument object for "IKivDataEventArgs":
  // answered before the walk through the bases, none of which knows the name.
  if (kivAnswer(name, "DataEventArgs", this, out) ||
      kivAnswer(name, "IKivDataEventArgs", static_cast<IKivDataEventArgs*>(this), out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  PropertyMap::queryInterface(name, out);
}

void DataEventArgs::addProperty(IKivProperty* p) {
  if (!p || kept_.empty()) {
    PropertyMap::addProperty(p);
    return;
  }
  if (IPtr<IKivProperty>* slot = properties_.value(p->name())) {
    *slot = p;
    return;
  }
  Properties::Node node = std::move(kept_.back());
  kept_.pop_back();
  node.key() = p->name();
  node.mapped() = p;
  properties_.insert(node);  // the name is new: it goes in
}

void DataEventArgs::recycleEntries() {
  auto it = properties_.begin();
  while (it != properties_.end()) {
    auto next = std::next(it);
    if (kept_.size() < kKeptEntries) {
      Properties::Node node = properties_.extract(it);
      node.mapped() = nullptr;
      kept_.push_back(std::move(node));
    } else {
      it->second = nullptr;
    }
    it = next;
  }
  properties_.clear();
}
