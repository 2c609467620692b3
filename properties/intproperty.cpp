//===- intproperty.cpp - A property holding a bounded int -----------------===//
#include "properties/intproperty.h"

#include "core/platformexception.h"
#include "kivbasictypes/messageformat.h"

IntProperty::IntProperty(const KivString& name, int value, bool readOnly, int min, int max,
                         bool events)
    : TValueProperty(name, value, readOnly, events), min_(min), max_(max) {}

int IntProperty::get() const {
  if (value_ < min_)
    return min_;
  return value_ < max_ ? value_ : max_;
}

void IntProperty::set(const int& value) {
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

bool IntProperty::getBounds(int* min, int* max) {
  if (min)
    *min = min_;
  if (max)
    *max = max_;
  return true;
}

bool IntProperty::setBounds(int min, int max) {
  min_ = min;
  max_ = max;
  return true;
}

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
