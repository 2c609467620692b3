//===- valueblock.cpp - Reading typed blocks of the value types ----------===//
#include "kivbasictypes/valueblock.h"

#include "core/kivobject.h"
#include "kivbasictypes/kivfile.h"

bool enterValueBlock(IKivDataModelReader& reader, uint32_t tag, bool* entered) {
  *entered = reader.nextBlock();
  if (!*entered)
    return false;
  if (static_cast<uint32_t>(reader.tag()) != tag) {
    if (auto* file = kivQuery<KivFileRead>(&reader, "KivFileRead"))
      file->markBad();
    return false;
  }
  return reader.good();
}

bool requireValueBytes(IKivDataModelReader& reader, int64_t bytes) {
  auto* file = kivQuery<KivFileRead>(&reader, "KivFileRead");
  if (!file)
    return reader.good();
  // A value must not be made of the bytes that follow its block.
  if (file->bytesLeft() < bytes) {
    file->markBad();
    return false;
  }
  return file->good();
}
