//===- boundedproperty.cpp - The failure of a value out of bounds ---------===//
#include "properties/boundedproperty.h"

#include "core/platformexception.h"
#include "kivbasictypes/messageformat.h"

void throwOutOfBounds(const KivString& name, const KivString& value, const KivString& min,
                      const KivString& max) {
  KivString text;
  formatMessage(text,
                "Value for property '%1' is out of bounds '%2', value between '%3' and '%4' "
                "is expected",
                name, value, min, max);
  throwClassErrorText("", text);
}
