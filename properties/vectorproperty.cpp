//===- vectorproperty.cpp - Properties holding 2D and 3D vectors ----------===//
#include "properties/vectorproperty.h"

#include "kivbasictypes/messageformat.h"
#include "properties/valuefit.h"

namespace {

// Half the largest float, held as a double: beyond it a component is shown
// as an infinity.
constexpr double kPrintLimit = 1.7014117331926443e38;

KivString componentText(double c) {
  KivString text;
  if (c > kPrintLimit)
    translateMessage(text, "+INF");
  else if (c < -kPrintLimit)
    translateMessage(text, "-INF");
  else
    text = KivString(c, KivNumberFormat::standard());
  return text;
}

} // namespace

void Vector2DProperty::textOf(const Vector2D& value, KivString& out) {
  formatMessage(out, "[%1 %2]", componentText(value.x), componentText(value.y));
}

void Vector2DProperty::writeValue(IKivDataModelWriter* writer, const Vector2D& value) {
  writer->writeVector2D(value);
}

bool Vector2DProperty::readValue(IKivDataModelReader* reader, Vector2D* value) {
  if (!sectionHolds(reader, typedBlockBytes(reader, 2 * sizeof(double))))
    return false;
  reader->readVector2D(value);
  return reader->good();
}

void Vector2FProperty::textOf(const Vector2F& value, KivString& out) {
  formatMessage(out, "[%1 %2]", componentText(value.x), componentText(value.y));
}

void Vector2FProperty::writeValue(IKivDataModelWriter* writer, const Vector2F& value) {
  writer->writeVector2F(value);
}

bool Vector2FProperty::readValue(IKivDataModelReader* reader, Vector2F* value) {
  if (!sectionHolds(reader, typedBlockBytes(reader, 2 * sizeof(float))))
    return false;
  reader->readVector2F(value);
  return reader->good();
}

void Vector3DProperty::textOf(const KivVector& value, KivString& out) {
  formatMessage(out, "[%1 %2 %3]", componentText(value.x), componentText(value.y),
                componentText(value.z));
}

void Vector3DProperty::writeValue(IKivDataModelWriter* writer, const KivVector& value) {
  writer->writeVector(value);
}

bool Vector3DProperty::readValue(IKivDataModelReader* reader, KivVector* value) {
  if (!sectionHolds(reader, typedBlockBytes(reader, 3 * sizeof(double))))
    return false;
  reader->readVector(value);
  return reader->good();
}
