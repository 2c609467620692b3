//===- ikivimage.h - The interfaces of an image -----------------*- C++ -*-===//
//
// IKivImageBase is what every image store offers: size, the compressed form,
// file writing and the whole-image operations; IKivImage adds drawing, bytes
// and bands. The operations stand in their fixed places; do not reorder.
//
// Invariants a user must know:
//  - Samples are 8-bit; depth is 0 (empty) to 4 channels: grey, grey+alpha,
//    RGB, RGBA. Row 0 is the top row.
//  - Images handed out as new objects (clone, halved, scaled, ...) come with
//    refCount 0: the caller puts them in an IPtr.
//  - row() and pixel() do not wake a compressed image and give null for a
//    coordinate outside it or an image without pixels; every operation on
//    the whole image decompresses first.
//  - Operations on coordinates outside the image give false, silently.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivpersistentref.h"

#include <cstdint>

class BinInput;
class BinOutput;
class KivString;

class IKivImageBase : public virtual IKivPersistentRef {
public:
  // The image's persistent side: its stored form (block 0xA5004) on a bare
  // stream. They come first, ahead of the image's own places.
  virtual bool read(BinInput& in) = 0;
  virtual bool write(BinOutput& out) = 0;

  virtual bool resize(int width, int height, int depth) = 0;                        // 0
  virtual bool assign(IKivImageBase* other) = 0;                                    // 1
  virtual IKivImageBase* clone() const = 0;                                         // 2
  virtual const uint8_t* pixel(int x, int y) const = 0;                             // 3
  virtual uint8_t* pixel(int x, int y) = 0;                                         // 4
  virtual const uint8_t* row(int y) const = 0;                                      // 5
  virtual uint8_t* row(int y) = 0;                                                  // 6
  virtual int height() const = 0;                                                   // 7
  virtual int width() const = 0;                                                    // 8
  virtual int depth() const = 0;                                                    // 9
  virtual int rowBytes() const = 0;                                                 // 10
  virtual int64_t byteCount() const = 0;                                            // 11
  // "DEFAULT" picks the format from "General/Texture Image Format".
  virtual bool save(const KivString& path, const char* format, bool flip, int quality) = 0; // 12
  virtual bool write(BinOutput* stream, const char* format, int reserved, bool flag1, bool flag2,
                     bool flag3) = 0;                                               // 13
  virtual bool read(const KivString& path, bool flag1, bool flag2, bool flag3) = 0; // 14
  virtual bool read(const void* buffer, uint32_t size, int width, int height, bool flag1,
                    bool flag2, bool flag3) = 0;                                    // 15
  virtual bool writePpm(const KivString& path) = 0;                                 // 16
  virtual bool compress() = 0;                                                      // 17
  virtual bool decompress() = 0;                                                    // 18
  virtual bool isCompressed() const = 0;                                            // 19
  virtual bool rotateRight() = 0;                                                   // 20
  virtual bool rotateLeft() = 0;                                                    // 21
  virtual IKivImageBase* halved() = 0;                                              // 22
  virtual bool toGrey() = 0;                                                        // 23
  virtual bool flipHorizontal() = 0;                                                // 24
  virtual bool flipVertical() = 0;                                                  // 25
  virtual bool transpose() = 0;                                                     // 26
  virtual bool invert() = 0;                                                        // 27
  virtual bool setAlpha(float value) = 0;                                           // 28
  virtual bool swapChannels(const int order[3]) = 0;                                // 29
  virtual bool getPixel(int x, int y, double out[4]) const = 0;                     // 30
  virtual bool getPixel(int x, int y, float out[4]) const = 0;                      // 31
  virtual bool setPixel(int x, int y, const double colour[4]) = 0;                  // 32
  virtual bool setPixel(int x, int y, const float colour[4]) = 0;                   // 33
  // Unequal when only one of the two is compressed.
  virtual bool equals(IKivImageBase* other) = 0;                                    // 34
  virtual bool hasData() const = 0;                                                 // 35
  virtual bool copyCompressedTo(IKivImageBase* other) = 0;                          // 36
  virtual bool copyCompressedFrom(IKivImageBase* other) = 0;                        // 37
  // Into `target` when given (and then it is the result), else a new image.
  virtual IKivImageBase* resized(int width, int height, IKivImageBase* target) = 0; // 38
  // Bilinear, in pixel units; four doubles from 0 to 255.
  virtual void sample(double u, double v, bool clampU, bool clampV, double out[4]) = 0; // 39
  virtual bool swapCompressed(IKivImageBase* other) = 0;                            // 40
};

// A stencil for paintMask: a set of pixels by coordinates.
class IKivImageStencil {
public:
  virtual int width() const = 0;                 // 0
  virtual int height() const = 0;                // 1
  virtual void reserved2() {}                    // 2
  virtual void reserved3() {}                    // 3
  virtual void reserved4() {}                    // 4
  virtual void reserved5() {}                    // 5
  virtual void reserved6() {}                    // 6
  virtual void reserved7() {}                    // 7
  virtual bool test(int x, int y) const = 0;     // 8

protected:
  ~IKivImageStencil() = default;
};

class IKivImage : public virtual IKivImageBase {
public:
  virtual bool isNonEmpty() const = 0;                                              // 0
  // Sizes and all bytes; the compressed form is not looked at.
  virtual bool equals(const IKivImage& other) const = 0;                            // 1
  virtual bool notEquals(const IKivImage& other) const = 0;                         // 2
  virtual void swap(IKivImage& other) = 0;                                          // 3
  virtual void clear() = 0;                                                         // 4
  virtual void fill(const float colour[4]) = 0;                                     // 5
  virtual void fill(const uint8_t* bytes) = 0;                                      // 6
  virtual bool enlarge(int width, int height, const float colour[4]) = 0;           // 7
  virtual bool paintMask(const IKivImageStencil* mask, int x, int y, const float colour[4],
                         bool autoGrow) = 0;                                        // 8
  virtual bool paste(IKivImage* image, int x, int y, bool autoGrow) = 0;            // 9
  virtual bool drawBorder(int thickness, const float colour[4]) = 0;                // 10
  virtual bool drawRectangle(int x0, int y0, int x1, int y1, const float colour[4], bool filled,
                             bool autoGrow) = 0;                                    // 11
  virtual bool drawLine(int x0, int y0, int x1, int y1, const float colour[4],
                        bool autoGrow) = 0;                                         // 12
  // `points` holds pointCount pairs x, y.
  virtual bool drawPolygon(const int32_t* points, int pointCount, bool filled, bool autoGrow,
                           const float colour[4]) = 0;                              // 13
  virtual bool getColor(int x, int y, float out[4]) const = 0;                      // 14
  virtual bool setColor(int x, int y, const float colour[4]) = 0;                   // 15
  virtual bool getBytes(int x, int y, uint8_t* out) const = 0;                      // 16
  virtual bool setBytes(int x, int y, const uint8_t* bytes) = 0;                    // 17
  virtual uint8_t** bandTable() = 0;                                                // 18
  virtual uint8_t* const* bandTable() const = 0;                                    // 19
  virtual IKivImage* scaled(int width, int height) = 0;                             // 20
  // Columns x0 to x1 - 1 and rows y0 to y1 - 1.
  virtual IKivImage* cropped(int x0, int y0, int x1, int y1) = 0;                   // 21
  virtual IKivImage* toGreyImage() = 0;                                             // 22
  virtual bool convertFrom(int depth, IKivImage* source) = 0;                       // 23
  virtual bool setDepth(int depth) = 0;                                             // 24
  virtual uint8_t byteAt(int x, int y, int channel) const = 0;                      // 25
  virtual uint8_t* byteAddress(int x, int y, int channel) = 0;                      // 26
  virtual int lastBand() const = 0;                                                 // 27
  virtual bool bandInfo(int band, uint8_t** address, int* firstRow, int* rows) const = 0; // 28
};
