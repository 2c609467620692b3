//===- hostimagecodecs.h - PNG and JPEG for the component's images -*- C++ -*-===//
//
// HostCompressPNG ("IKivCompressPNG") parks images as PNG bytes through
// libpng, at a fast level by default: a texture parked in memory must
// compress in milliseconds. The round trip is exact for every depth.
// HostImageWriter ("IKivImageWriter") reads and writes PNG (libpng) and JPEG
// (libjpeg), and hands BMP, TIFF, PPM and SGI RGB to the image's own
// writers. A format it does not know gives false and a line in the log.
//
// Invariants a user must know:
//  - Compressed blocks come from malloc; release() frees them, copy()
//    measures a block by its PNG chunks. Both trust the block: it is one
//    that compress() made or a reader checked.
//  - Decoding never trusts a header: sizes above kMaxSide per side are
//    refused, and a damaged stream gives false with the image left empty.
//  - JPEG has no alpha: grey+alpha and RGBA lose their alpha there.
//  - Both are safe to call from several threads at once (no shared state).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "base/basic/ikivimageservices.h"

#include <cstdint>
#include <string>
#include <vector>

class IKivLog3;

class HostCompressPNG : public IKivCompressPNG {
public:
  // zlib levels 1 to 9; the default is fast.
  static constexpr int kDefaultLevel = 2;

  explicit HostCompressPNG(int level = kDefaultLevel) : level_(level) {}

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostCompressPNG"; }

  bool compress(IKivImageBase* image, void** compressedData, uint32_t* size) override;
  bool decompress(const void* compressedData, uint32_t size, IKivImageBase* image) override;
  void release(void* compressedData) override;
  bool copy(const void* source, void** target) override;

  int level() const { return level_; }

private:
  int level_;
};

class HostImageWriter : public IKivImageWriter {
public:
  // `log` receives the reasons of refusals; it may be null. No reference.
  explicit HostImageWriter(IKivLog3* log) : log_(log) {}

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostImageWriter"; }

  bool write(IKivImageBase* image, BinOutput* stream, const char* format, int quality,
             int reserved, bool flip) override;
  bool save(IKivImageBase* image, const KivString& path, const char* format, int quality,
            int reserved, bool flip) override;
  bool writeTo(IKivImageBase* image, BinOutput* target, const char* format, int reserved,
               bool flag1, bool flag2, bool flag3) override;
  bool read(IKivImageBase* image, BinInput* stream, int reserved1, int reserved2, bool flag1,
            bool flag2) override;
  bool load(IKivImageBase* image, const KivString& path, int reserved, bool flag1, bool flag2,
            bool flag3) override;
  bool readFrom(IKivImageBase* image, const void* buffer, uint32_t size, int width, int height,
                int reserved, bool flag1, bool flag2, bool flag3) override;

private:
  bool encode(IKivImageBase* image, const char* format, int quality, bool flip,
              std::vector<uint8_t>& out);
  bool decode(IKivImageBase* image, const uint8_t* data, size_t size, const std::string& what);
  bool refuse(const std::string& reason);

  IKivLog3* log_;
};

namespace hostimage {

// Longest side a decoder accepts.
inline constexpr uint32_t kMaxSide = 1u << 16;

// PNG bytes of the image at a zlib level, rows from the top (or the bottom
// with `flip`). False for an empty image; `error` says why.
bool encodePng(IKivImageBase* image, int level, bool flip, std::vector<uint8_t>& out,
               std::string& error);
// JPEG at quality 1 to 100.
bool encodeJpeg(IKivImageBase* image, int quality, bool flip, std::vector<uint8_t>& out,
                std::string& error);
// Into the image through resize(): PNG at its own depth (palette and
// 16-bit samples become 8-bit channels), JPEG as grey or RGB.
bool decodePng(const uint8_t* data, size_t size, IKivImageBase* image, std::string& error);
bool decodeJpeg(const uint8_t* data, size_t size, IKivImageBase* image, std::string& error);
// The length of the PNG stream at `data`, signature to IEND; 0 if it is not
// one within `limit` bytes.
size_t pngStreamLength(const uint8_t* data, size_t limit);

} // namespace hostimage
