//===- valuefit.h - Whether a section still holds a stored value -*- C++ -*-===//
//
// A value class reads its value only after checking that the rest of its
// section holds all of it. A section cut short is thus left unread: the
// property keeps its value, and endSection() steps to the section's end, so
// that the entries behind it read as usual and the reader stays good. Bare
// numbers would otherwise be made of the bytes of the next entry, and a short
// typed block would turn the whole reader bad.
//
// Only a KivFileRead can tell how much is left; any other reader is trusted.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>

class IKivDataModelReader;

// The bytes a typed block with `payload` bytes of values takes in the file
// being read, its head included (8 or 12 bytes by the file's length width).
int64_t typedBlockBytes(IKivDataModelReader* reader, int64_t payload);

// Whether the innermost block still holds `bytes` bytes and the reader is
// good.
bool sectionHolds(IKivDataModelReader* reader, int64_t bytes);
