//===- doubleproperty.cpp - A property holding a bounded double -----------===//
#include "properties/doubleproperty.h"

#include "kivbasictypes/messageformat.h"

void DoubleProperty::textOf(const double& value, KivString& out) {
  formatMessage(out, "%1", KivString(value));
}

void DoubleProperty::writeValue(IKivDataModelWriter* writer, const double& value) {
  writer->writeDouble(value);
}

bool DoubleProperty::readValue(IKivDataModelReader* reader, double* value) {
  return reader->readDouble(value);
}
