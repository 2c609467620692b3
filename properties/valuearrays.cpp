//===- valuearrays.cpp - The array members holding plain values -----------===//
#include "properties/valuearrays.h"

#include "kivbasictypes/binio.h"

void ByteArray::readBytes(BinInput& in) {
  clear();
  int32_t n = 0;
  if (!in.read(&n))
    return;
  // Byte by byte, so that a count larger than the stream stops at its end
  // instead of reserving room for it.
  for (int32_t i = 0; i < n; ++i) {
    uint8_t byte = 0;
    if (!in.read(&byte))
      return;
    append(byte);
  }
}

void ByteArray::writeBytes(BinOutput& out) {
  const int32_t n = count();
  out.write(&n);
  for (int32_t i = 1; i <= n; ++i)
    out.write(&stack_.at(i));
}
