//===- valuefit.cpp - Whether a section still holds a stored value -------===//
#include "properties/valuefit.h"

#include "kivbasictypes/binio.h"
#include "kivbasictypes/kivfile.h"

int64_t typedBlockBytes(IKivDataModelReader* reader, int64_t payload) {
  auto* file = kivQuery<KivFileRead>(reader, "KivFileRead");
  const bool narrow = file && file->stream() && file->stream()->lengthBits() == 32;
  return (narrow ? 8 : 12) + payload;
}

bool sectionHolds(IKivDataModelReader* reader, int64_t bytes) {
  if (!reader || !reader->good())
    return false;
  auto* file = kivQuery<KivFileRead>(reader, "KivFileRead");
  return !file || file->bytesLeft() >= bytes;
}
