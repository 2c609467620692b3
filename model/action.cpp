//===- action.cpp - Behaviour bound to a relationship and an event --------===//
#include "model/action.h"

#include "core/classwalk.h"

void Action::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "Action");
    kivWalkEnd(walk);
    return;
  }
  *out = nullptr;
  if (!kivAnswer(name, "Action", this, out))
    kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}
