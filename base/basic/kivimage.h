//===- kivimage.h - The concrete image: rows in bands of about 24 KB -*- C++ -*-===//
//
// KivImage keeps its pixels in bands: each band is one allocation of
// rowsPerBand rows, rowsPerBand = max(24576 / (width × depth), 1), so an
// image never needs one huge block. Pixel (x, y), channel c lies at
// bands[y / rowsPerBand] + (width × (y mod rowsPerBand) + x) × depth + c.
//
// Invariants a user must know:
//  - Size fields and bands are out of step only after compress(): the sizes
//    stay, the bands are gone until the next whole-image operation wakes
//    the image up.
//  - A new KivImage has refCount 0; operations that make images hand them
//    out the same way.
//  - The stored form is the block 0xA5004, version 1, in one of three forms
//    (raw, by the host's image writer, compressed). A stored image whose
//    sizes lie reads as empty, and read() gives false; nothing is allocated
//    beyond what the block holds.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "base/basic/kivimagebase.h"

class KivImage : public KivImageBase, public virtual IKivImage {
public:
  // Asserts "width >= 0", "height >= 0" and "depth >= 0 && depth < 5".
  KivImage(int width = 0, int height = 0, int depth = 0);
  KivImage(const KivImage& other);
  KivImage& operator=(const KivImage&) = delete;
  ~KivImage() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "KivImage"; }

  bool read(BinInput& in) override;
  bool write(BinOutput& out) override;
  using KivImageBase::read;
  using KivImageBase::write;
  using KivImageBase::equals;
  using KivImageBase::hasData;

  bool resize(int width, int height, int depth) override;
  bool assign(IKivImageBase* other) override;
  IKivImageBase* clone() const override;
  const uint8_t* pixel(int x, int y) const override;
  uint8_t* pixel(int x, int y) override;
  const uint8_t* row(int y) const override;
  uint8_t* row(int y) override;
  bool rotateRight() override;
  bool rotateLeft() override;
  IKivImageBase* halved() override;
  bool toGrey() override;
  bool flipHorizontal() override;
  bool flipVertical() override;
  bool transpose() override;
  bool invert() override;
  bool setAlpha(float value) override;
  bool swapChannels(const int order[3]) override;
  bool hasData() const override { return bands_ != nullptr || compressedData_ != nullptr; }
  bool copyCompressedFrom(IKivImageBase* other) override;
  IKivImageBase* resized(int width, int height, IKivImageBase* target) override;
  bool swapCompressed(IKivImageBase* other) override;

  bool isNonEmpty() const override { return width_ != 0 || height_ != 0 || depth_ != 0; }
  bool equals(const IKivImage& other) const override;
  bool notEquals(const IKivImage& other) const override { return !equals(other); }
  void swap(IKivImage& other) override;
  void clear() override;
  void fill(const float colour[4]) override;
  void fill(const uint8_t* bytes) override;
  bool enlarge(int width, int height, const float colour[4]) override;
  bool paintMask(const IKivImageStencil* mask, int x, int y, const float colour[4],
                 bool autoGrow) override;
  bool paste(IKivImage* image, int x, int y, bool autoGrow) override;
  bool drawBorder(int thickness, const float colour[4]) override;
  bool drawRectangle(int x0, int y0, int x1, int y1, const float colour[4], bool filled,
                     bool autoGrow) override;
  bool drawLine(int x0, int y0, int x1, int y1, const float colour[4], bool autoGrow) override;
  bool drawPolygon(const int32_t* points, int pointCount, bool filled, bool autoGrow,
                   const float colour[4]) override;
  bool getColor(int x, int y, float out[4]) const override;
  bool setColor(int x, int y, const float colour[4]) override;
  bool getBytes(int x, int y, uint8_t* out) const override;
  bool setBytes(int x, int y, const uint8_t* bytes) override;
  uint8_t** bandTable() override { return bands_; }
  uint8_t* const* bandTable() const override { return bands_; }
  IKivImage* scaled(int width, int height) override;
  IKivImage* cropped(int x0, int y0, int x1, int y1) override;
  IKivImage* toGreyImage() override;
  bool convertFrom(int depth, IKivImage* source) override;
  bool setDepth(int depth) override;
  uint8_t byteAt(int x, int y, int channel) const override;
  uint8_t* byteAddress(int x, int y, int channel) override;
  int lastBand() const override;
  bool bandInfo(int band, uint8_t** address, int* firstRow, int* rows) const override;

  bool releaseData() override;

  // KivImage's own: the rectangle as a new image, null if it leaves the
  // image; and halved() as an IKivImage.
  virtual IKivImage* crop(int x, int y, int width, int height);
  virtual IKivImage* halvedImage();

  int rowsPerBand() const { return rowsPerBand_; }
  int bandCount() const;

private:
  // The box filter into `target`, which must be of the halved size and depth.
  bool halveInto(KivImage& target);
  // Grows to at least width × height (keeping the pixels) for autoGrow.
  void growTo(int width, int height);
  void computeRowsPerBand();
  bool inside(int x, int y) const { return x >= 0 && y >= 0 && x < width_ && y < height_; }
  // Replaces this image's pixels and sizes by those of `other`, which is
  // left empty.
  void takeFrom(KivImage& other);

  int32_t rowsPerBand_ = 0;
  uint8_t** bands_ = nullptr;
};
