//===- collection.cpp - Base of the array family and its index rules ------===//
#include "properties/collection.h"

#include "core/classwalk.h"
#include "core/platformexception.h"

void Collection::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "Collection");
    Primitive::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "Collection", this, out))
    return;
  Primitive::queryInterface(name, out);
}

void Collection::checkReadOnly() const {
  if (isReadOnly())
    throwClassError("Collection", "Collection is readonly");
}

void Collection::checkFixedSize() const {
  if (isFixedSize())
    throwClassError("Collection", "Collection has a fixed size");
}

void Collection::checkIndex(int32_t inside, int32_t first, int32_t last) {
  if (inside < first || inside > last)
    throwClassError("Collection", "Invalid index");
}
