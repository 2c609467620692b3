//===- dataeventargs.cpp - What travels with an event ---------------------===//
#include "model/dataeventargs.h"

#include "core/classwalk.h"

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
