//===- primitive.cpp - Implementation base of small model objects ---------===//
#include "model/primitive.h"

#include "core/classwalk.h"

void Primitive::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "Primitive");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivPrimitive");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "Primitive", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivPrimitive", static_cast<IKivPrimitive*>(this), out);
}
