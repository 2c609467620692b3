//===- documentlistener.cpp - A listener with empty bodies ----------------===//
#include "documents/documentlistener.h"

#include "core/classwalk.h"

void DocumentListener::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDocumentListener");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivDocumentListener", static_cast<IKivDocumentListener*>(this), out);
}
