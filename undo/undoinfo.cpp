//===- undoinfo.cpp - The base of every undo record -----------------------===//
#include "undo/undoinfo.h"

#include "core/classwalk.h"

void UndoInfo::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivUndoInfo");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivUndoInfo", static_cast<IKivUndoInfo*>(this), out);
}
