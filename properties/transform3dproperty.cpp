//===- transform3dproperty.cpp - A property holding a 4 by 4 matrix -------===//
#include "properties/transform3dproperty.h"

#include "kivbasictypes/messageformat.h"
#include "properties/valuefit.h"

void Transform3DProperty::textOf(const KivMatrix& value, KivString& out) {
  out = KivString();
  const KivNumberFormat& format = KivNumberFormat::standard();
  for (int r = 0; r < 4; ++r) {
    KivString row;
    formatMessage(row, "[%1 %2 %3 %4]\n", KivString(value(r, 0), format),
                  KivString(value(r, 1), format), KivString(value(r, 2), format),
                  KivString(value(r, 3), format));
    out.append(row);
  }
}

void Transform3DProperty::writeValue(IKivDataModelWriter* writer, const KivMatrix& value) {
  writer->writeMatrix(value);
}

bool Transform3DProperty::readValue(IKivDataModelReader* reader, KivMatrix* value) {
  if (!sectionHolds(reader, typedBlockBytes(reader, 16 * sizeof(double))))
    return false;
  reader->readMatrix(value);
  return reader->good();
}
