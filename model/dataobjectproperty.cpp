//===- dataobjectproperty.cpp - An object property typed as DataObject ----===//
#include "model/dataobjectproperty.h"

#include "core/classwalk.h"

void DataObjectProperty::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    ObjectProperty::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out))
    return;
  ObjectProperty::queryInterface(name, out);
}

void DataObjectProperty::copyValue(IKivProperty* source) {
  if (auto* from = kivQuery<ObjectProperty>(source, ObjectProperty::kClassName))
    set(from->get());
}
