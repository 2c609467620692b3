//===- stringproperty.cpp - A property holding a KivString ----------------===//
#include "properties/stringproperty.h"

#include "kivbasictypes/messageformat.h"

uint64_t StringProperty::memorySize() const {
  return sizeof(StringProperty) + static_cast<uint64_t>(get().length());
}

void StringProperty::textOf(const KivString& value, KivString& out) {
  formatMessage(out, "%1", value);
}

void StringProperty::writeValue(IKivDataModelWriter* writer, const KivString& value) {
  writer->writeString(value);
}

bool StringProperty::readValue(IKivDataModelReader* reader, KivString* value) {
  reader->readString(value);
  return reader->good();
}
