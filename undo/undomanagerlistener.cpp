//===- undomanagerlistener.cpp - A listener with empty bodies -------------===//
#include "undo/undomanagerlistener.h"

#include "core/classwalk.h"

void UndoManagerListener::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivUndoManagerListener");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivUndoManagerListener", static_cast<IKivUndoManagerListener*>(this), out);
}
