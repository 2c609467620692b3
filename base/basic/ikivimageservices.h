//===- ikivimageservices.h - The host's image codecs ------------*- C++ -*-===//
//
// No codec lives in this component. "IKivCompressPNG" parks an image as PNG
// bytes; it is looked up once and kept. "IKivImageWriter" reads and writes
// image files and streams in the formats the host knows; it is looked up for
// each use. The operations stand in their fixed places.
//
// Invariants a user must know:
//  - Compressed data belongs to the service: it is given back with
//    release(), and copy() makes a second block of it. The data is a
//    complete PNG stream, so its own chunks say where it ends.
//  - decompress() sizes the image through resize() and fills its rows.
//  - What the writer's flags mean is the host's affair; images pass them on.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class BinInput;
class BinOutput;
class IKivImageBase;
class KivString;

class IKivCompressPNG : public virtual IKivUnknown {
public:
  virtual bool compress(IKivImageBase* image, void** compressedData, uint32_t* size) = 0; // 0
  virtual bool decompress(const void* compressedData, uint32_t size,
                          IKivImageBase* image) = 0;                                    // 1
  virtual void release(void* compressedData) = 0;                                       // 2
  virtual bool copy(const void* source, void** target) = 0;                             // 3
};

class IKivImageWriter : public virtual IKivUnknown {
public:
  virtual bool write(IKivImageBase* image, BinOutput* stream, const char* format, int quality,
                     int reserved, bool flip) = 0;                                       // 0
  virtual bool save(IKivImageBase* image, const KivString& path, const char* format,
                    int quality, int reserved, bool flip) = 0;                           // 1
  virtual bool writeTo(IKivImageBase* image, BinOutput* target, const char* format,
                       int reserved, bool flag1, bool flag2, bool flag3) = 0;            // 2
  virtual bool read(IKivImageBase* image, BinInput* stream, int reserved1, int reserved2,
                    bool flag1, bool flag2) = 0;                                         // 3
  virtual bool load(IKivImageBase* image, const KivString& path, int reserved, bool flag1,
                    bool flag2, bool flag3) = 0;                                         // 4
  virtual bool readFrom(IKivImageBase* image, const void* buffer, uint32_t size, int width,
                        int height, int reserved, bool flag1, bool flag2, bool flag3) = 0; // 5
};
