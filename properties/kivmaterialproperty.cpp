//===- kivmaterialproperty.cpp - A property holding a material ------------===//
#include "properties/kivmaterialproperty.h"

#include "properties/kivcolorproperty.h"
#include "properties/valuefit.h"

namespace {

constexpr int64_t kStoredBytes = 4 * 4 + 4 + 4 + 4;

} // namespace

void KivMaterialProperty::writeValue(IKivDataModelWriter* writer, const KivMaterial& value) {
  for (const KivColor* c : {&value.ambient, &value.diffuse, &value.specular, &value.emission})
    writer->writeUInt32(KivColorProperty::pack(*c));
  writer->writeFloat(value.transmission);
  writer->writeFloat(value.shininess);
  writer->writeInt32(value.face);
}

bool KivMaterialProperty::readValue(IKivDataModelReader* reader, KivMaterial* value) {
  if (!sectionHolds(reader, kStoredBytes))
    return false;
  KivMaterial m;
  for (KivColor* c : {&m.ambient, &m.diffuse, &m.specular, &m.emission}) {
    uint32_t word = 0;
    reader->readUInt32(&word);
    *c = KivColorProperty::unpack(word);
  }
  reader->readFloat(&m.transmission);
  reader->readFloat(&m.shininess);
  reader->readInt32(&m.face);
  if (!reader->good())
    return false;
  *value = m;
  return true;
}
