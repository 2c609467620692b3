//===- kivclassid.cpp - Text form of class identifiers --------------------===//
#include "core/kivclassid.h"

#include <cstdio>

namespace {

int hexDigit(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  return -1;
}

// Reads `digits` hex digits from text[pos]; false on a non-hex character.
bool readHex(const char* text, int pos, int digits, uint32_t* out) {
  uint32_t value = 0;
  for (int i = 0; i < digits; ++i) {
    int d = hexDigit(text[pos + i]);
    if (d < 0)
      return false;
    value = (value << 4) | static_cast<uint32_t>(d);
  }
  *out = value;
  return true;
}

} // namespace

bool KivClassId::parse(const char* text, KivClassId* out) {
  // {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}: 38 characters exactly.
  if (!text)
    return false;
  for (int i = 0; i < 38; ++i)
    if (!text[i])
      return false;
  if (text[38] || text[0] != '{' || text[37] != '}' || text[9] != '-' || text[14] != '-' ||
      text[19] != '-' || text[24] != '-')
    return false;
  KivClassId id;
  uint32_t v = 0;
  if (!readHex(text, 1, 8, &v))
    return false;
  id.data1 = v;
  if (!readHex(text, 10, 4, &v))
    return false;
  id.data2 = static_cast<uint16_t>(v);
  if (!readHex(text, 15, 4, &v))
    return false;
  id.data3 = static_cast<uint16_t>(v);
  static const int bytePos[8] = {20, 22, 25, 27, 29, 31, 33, 35};
  for (int i = 0; i < 8; ++i) {
    if (!readHex(text, bytePos[i], 2, &v))
      return false;
    id.data4[i] = static_cast<uint8_t>(v);
  }
  *out = id;
  return true;
}

std::string KivClassId::toString() const {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", data1,
                data2, data3, data4[0], data4[1], data4[2], data4[3], data4[4], data4[5], data4[6],
                data4[7]);
  return buffer;
}
