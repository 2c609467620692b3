//===- kivclassid.h - 16-byte class identifiers -----------------*- C++ -*-===//
//
// A class identifier names a concrete class for factories and files; it is
// stored in document files and must never change. Text form:
// {FE4E624C-0C88-4C53-8C1F-CB97D41C5F25}.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>
#include <string>

struct KivClassId {
  uint32_t data1 = 0;
  uint16_t data2 = 0;
  uint16_t data3 = 0;
  uint8_t data4[8] = {};

  friend bool operator==(const KivClassId& a, const KivClassId& b) {
    if (a.data1 != b.data1 || a.data2 != b.data2 || a.data3 != b.data3)
      return false;
    for (int i = 0; i < 8; ++i)
      if (a.data4[i] != b.data4[i])
        return false;
    return true;
  }
  friend bool operator!=(const KivClassId& a, const KivClassId& b) { return !(a == b); }

  // Parses the braced text form; false (and *out untouched) on any deviation.
  static bool parse(const char* text, KivClassId* out);
  // The braced, upper-case text form.
  std::string toString() const;
};

// Compile-time construction from the braced literal, for the class table.
constexpr KivClassId makeClassId(uint32_t d1, uint16_t d2, uint16_t d3, uint8_t b0, uint8_t b1,
                                 uint8_t b2, uint8_t b3, uint8_t b4, uint8_t b5, uint8_t b6,
                                 uint8_t b7) {
  KivClassId id;
  id.data1 = d1;
  id.data2 = d2;
  id.data3 = d3;
  id.data4[0] = b0; id.data4[1] = b1; id.data4[2] = b2; id.data4[3] = b3;
  id.data4[4] = b4; id.data4[5] = b5; id.data4[6] = b6; id.data4[7] = b7;
  return id;
}
