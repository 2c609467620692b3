//===- doubleproperty.cpp - A property holding a bounded double -----------===//
#include "properties/doubleproperty.h"

#include "core/platformexception.h"
#include "kivbasictypes/messageformat.h"

DoubleProperty::DoubleProperty(const KivString& name, double value, bool readOnly, double min,
                               double max, bool events)
    : TValueProperty(name, value, readOnly, events), min_(min), max_(max) {}

double DoubleProperty::get() const {
  if (min_ > value_)
    return min_;
  return value_ < max_ ? value_ : max_;
}

void DoubleProperty::set(const double& value) {
  // Written as a test for "outside", so that a NaN passes.
  if (value < min_ || value > max_) {
    KivString text;
    formatMessage(text,
                  "Value for property '%1' is out of bounds '%2', value between '%3' and '%4' "
                  "is expected",
                  name(), KivString(value), KivString(min_), KivString(max_));
    throwClassErrorText("", text);
  }
  TValueProperty::set(value);
}

bool DoubleProperty::getBounds(double* min, double* max) {
  if (min)
    *min = min_;
  if (max)
    *max = max_;
  return true;
}

bool DoubleProperty::setBounds(double min, double max) {
  min_ = min;
  max_ = max;
  return true;
}

void DoubleProperty::textOf(const double& value, KivString& out) {
  formatMessage(out, "%1", KivString(value));
}

void DoubleProperty::writeValue(IKivDataModelWriter* writer, const double& value) {
  writer->writeDouble(value);
}

bool DoubleProperty::readValue(IKivDataModelReader* reader, double* value) {
  return reader->readDouble(value);
}
