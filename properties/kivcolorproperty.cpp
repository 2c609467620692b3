//===- kivcolorproperty.cpp - A property holding a colour -----------------===//
#include "properties/kivcolorproperty.h"

#include "properties/valuefit.h"

#include <cmath>

namespace {

// Rounded in double precision. A channel outside 0 to 1 is held at the
// nearer end, and a NaN counts as 0, so that no channel spills into the
// byte of its neighbour.
uint32_t channelByte(float c) {
  const double v = std::floor(static_cast<double>(c) * 255.0 + 0.5);
  if (!(v > 0.0))
    return 0;
  return v < 255.0 ? static_cast<uint32_t>(v) : 255u;
}

float byteChannel(uint32_t word, int shift) {
  return static_cast<float>(((word >> shift) & 0xFFu) / 255.0);
}

} // namespace

uint32_t KivColorProperty::pack(const KivColor& c) {
  return channelByte(c.a) << 24 | channelByte(c.b) << 16 | channelByte(c.g) << 8 |
         channelByte(c.r);
}

KivColor KivColorProperty::unpack(uint32_t word) {
  return {byteChannel(word, 0), byteChannel(word, 8), byteChannel(word, 16),
          byteChannel(word, 24)};
}

void KivColorProperty::writeValue(IKivDataModelWriter* writer, const KivColor& value) {
  writer->writeUInt32(pack(value));
}

bool KivColorProperty::readValue(IKivDataModelReader* reader, KivColor* value) {
  uint32_t word = 0;
  if (!sectionHolds(reader, sizeof(word)) || !reader->readUInt32(&word))
    return false;
  *value = unpack(word);
  return true;
}
