//===- gridindex.cpp - A position in a grid, and its property -------------===//
#include "properties/gridindex.h"

void GridIndex::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "GridIndex");
    Primitive::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivGridIndex");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "GridIndex", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, "IKivGridIndex", static_cast<IKivGridIndex*>(this), out))
    return;
  Primitive::queryInterface(name, out);
}
