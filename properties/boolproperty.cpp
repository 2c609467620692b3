//===- boolproperty.cpp - A property holding a bool -----------------------===//
#include "properties/boolproperty.h"

#include "kivbasictypes/messageformat.h"

void BoolProperty::textOf(const bool& value, KivString& out) {
  formatMessage(out, "%1", KivString(value ? "1" : "0"));
}

void BoolProperty::writeValue(IKivDataModelWriter* writer, const bool& value) {
  writer->writeBool(value);
}

bool BoolProperty::readValue(IKivDataModelReader* reader, bool* value) {
  return reader->readBool(value);
}
