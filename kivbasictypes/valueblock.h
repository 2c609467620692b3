//===- valueblock.h - Reading typed blocks of the value types ---*- C++ -*-===//
//
// Colour (0x10001), material (0x10002) and rectangle (0x10006) store
// themselves as typed blocks of version 0 in the data-model file, written
// through beginBlock() and endBlock(). These helpers hold the reading rules
// they share: a block of another tag, or one too short for its value, turns
// the reader bad, and the value then reads as its default. Only a KivFileRead
// can be turned bad; through another reader the helpers still give false.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>

class IKivDataModelReader;

namespace kivtag {
inline constexpr uint32_t kColor = 0x10001;
inline constexpr uint32_t kMaterial = 0x10002;
inline constexpr uint32_t kRect = 0x10006;
}  // namespace kivtag

// Enters the next block and requires `tag`. *entered tells whether a block
// was entered, which the caller must then leave with endBlock().
bool enterValueBlock(IKivDataModelReader& reader, uint32_t tag, bool* entered);
// Requires `bytes` more bytes before the end of the innermost block.
bool requireValueBytes(IKivDataModelReader& reader, int64_t bytes);
