//===- kivboundsproperty.cpp - A property holding a 3D box ----------------===//
#include "properties/kivboundsproperty.h"

#include "kivbasictypes/messageformat.h"
#include "properties/valuefit.h"

namespace {

KivString cornerText(const KivVector& v) {
  KivString text;
  formatMessage(text, "[%1 %2 %3]\n", KivString(v.x), KivString(v.y), KivString(v.z));
  return text;
}

} // namespace

void KivBoundsProperty::textOf(const KivBounds& value, KivString& out) {
  out = cornerText(value.min);
  out.append(cornerText(value.max));
}

void KivBoundsProperty::writeValue(IKivDataModelWriter* writer, const KivBounds& value) {
  writer->writeVector(value.min);
  writer->writeVector(value.max);
}

bool KivBoundsProperty::readValue(IKivDataModelReader* reader, KivBounds* value) {
  if (!sectionHolds(reader, 2 * typedBlockBytes(reader, 3 * sizeof(double))))
    return false;
  KivVector min, max;
  reader->readVector(&min);
  reader->readVector(&max);
  if (!reader->good())
    return false;
  *value = KivBounds(min, max);
  return true;
}
