//===- hostrealparrayfactory.cpp - The reference host's point array maker -===//
#include "host/hostrealparrayfactory.h"

#include "kivbasictypes/kivvectorarray.h"

void HostRealPArrayFactory::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (!kivAnswer(name, "IRealPArrayFactory", static_cast<IRealPArrayFactory*>(this), out))
    kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}

IRealPArray* HostRealPArrayFactory::createForWord(uint32_t word, int32_t capacity) {
  if (word != KivVectorArray::kRecordWord)
    return nullptr;
  return new KivVectorArray(capacity);
}
