//===- dataobjectarraylistener.cpp - Base of a listener on object arrays --===//
#include "model/dataobjectarraylistener.h"

#include "core/classwalk.h"

void DataObjectArrayListener::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "DataObjectArrayListener");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDataObjectArrayListener");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "DataObjectArrayListener", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivDataObjectArrayListener",
            static_cast<IKivDataObjectArrayListener*>(this), out);
}
