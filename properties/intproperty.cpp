//===- intproperty.cpp - A property holding a bounded int -----------------===//
#include "properties/intproperty.h"

#include "kivbasictypes/messageformat.h"

void IntProperty::textOf(const int& value, KivString& out) {
  formatMessage(out, "%1", KivString(value));
}

void IntProperty::writeValue(IKivDataModelWriter* writer, const int& value) {
  writer->writeInt32(value);
}

bool IntProperty::readValue(IKivDataModelReader* reader, int* value) {
  int32_t v = 0;
  if (!reader->readInt32(&v))
    return false;
  *value = v;
  return true;
}
