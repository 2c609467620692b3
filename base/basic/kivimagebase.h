//===- kivimagebase.h - Size, compressed form and files of an image -*- C++ -*-===//
//
// KivImageBase knows an image's size and depth and its compressed form, and
// writes the simple file formats itself (PPM, BMP, SGI RGB, uncompressed
// TIFF). It reaches the pixels only through row(); the store behind them is
// the derived class's (KivImage).
//
// Invariants a user must know:
//  - After compress() the size fields stay while the pixels are gone; the
//    compressed bytes belong to "IKivCompressPNG" and go back to it.
//  - save() decompresses for the writing and compresses again afterwards.
//  - Failing files give false, with the file closed; nothing throws.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "base/basic/ikivimage.h"

#include <cstdint>

class IKivCompressPNG;
class KivString;

class KivImageBase : public virtual IKivImageBase {
public:
  KivImageBase() = default;
  KivImageBase(const KivImageBase&) = delete;
  KivImageBase& operator=(const KivImageBase&) = delete;
  ~KivImageBase() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "KivImageBase"; }

  // The stored form belongs to the store; here they stop on an assertion.
  bool read(BinInput& in) override;
  bool write(BinOutput& out) override;
  using IKivImageBase::read;
  using IKivImageBase::write;

  int height() const override { return height_; }
  int width() const override { return width_; }
  int depth() const override { return depth_; }
  int rowBytes() const override { return width_ * depth_; }
  int64_t byteCount() const override {
    return static_cast<int64_t>(height_) * width_ * depth_;
  }
  bool save(const KivString& path, const char* format, bool flip, int quality) override;
  bool write(BinOutput* stream, const char* format, int reserved, bool flag1, bool flag2,
             bool flag3) override;
  bool read(const KivString& path, bool flag1, bool flag2, bool flag3) override;
  bool read(const void* buffer, uint32_t size, int width, int height, bool flag1, bool flag2,
            bool flag3) override;
  bool writePpm(const KivString& path) override;
  bool compress() override;
  bool decompress() override;
  bool isCompressed() const override { return compressedData_ != nullptr; }
  bool getPixel(int x, int y, double out[4]) const override;
  bool getPixel(int x, int y, float out[4]) const override;
  bool setPixel(int x, int y, const double colour[4]) override;
  bool setPixel(int x, int y, const float colour[4]) override;
  bool equals(IKivImageBase* other) override;
  bool hasData() const override { return compressedData_ != nullptr; }
  bool copyCompressedTo(IKivImageBase* other) override;
  bool copyCompressedFrom(IKivImageBase* other) override;
  void sample(double u, double v, bool clampU, bool clampV, double out[4]) override;
  bool swapCompressed(IKivImageBase* other) override;

  // The image's own operations, in this order.
  virtual bool writeTiff(const KivString& path);
  virtual bool writeBmp(const KivString& path, bool flip);
  virtual bool writeRgb(const KivString& path);
  // Frees the pixels; the size fields are the caller's.
  virtual bool releaseData() { return true; }

  const uint8_t* compressedData() const { return compressedData_; }
  uint32_t compressedSize() const { return compressedSize_; }

  // The compression service, looked up once and kept.
  static IKivCompressPNG* compressService();
  // True if `data` of `size` bytes is a whole PNG stream, signature to IEND,
  // by its chunk lengths alone; what a stored compressed form must be.
  static bool isPngStream(const uint8_t* data, uint32_t size);

protected:
  // Runs decompress() if the image is parked; every whole-image operation
  // starts with it.
  void wake() {
    if (isCompressed())
      decompress();
  }
  // Gives the compressed bytes back and forgets them; the size fields stay.
  void dropCompressed();
  // Takes over `data` (owned by the service) as the compressed form.
  void adoptCompressed(uint8_t* data, uint32_t size);
  int32_t height_ = 0;
  int32_t width_ = 0;
  int32_t depth_ = 0;
  uint8_t* compressedData_ = nullptr;
  uint32_t compressedSize_ = 0;
};
