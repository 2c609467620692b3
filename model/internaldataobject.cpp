//===- internaldataobject.cpp - An object carrying a raw pointer ----------===//
#include "model/internaldataobject.h"

#include "core/classwalk.h"

void InternalDataObject::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DataObject::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivInternalDataObject");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<DataObject*>(this)),
                out) ||
      kivAnswer(name, "IKivInternalDataObject", static_cast<IKivInternalDataObject*>(this), out))
    return;
  DataObject::queryInterface(name, out);
}

const char* InternalDataObject::scriptClassName() const {
  return "kivapi.datamodel.InternalDataObject";
}
