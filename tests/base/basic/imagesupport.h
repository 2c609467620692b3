//===- imagesupport.h - Small images for the image tests --------*- C++ -*-===//
//
// Images are built from a list of bytes, row after row, and read back the
// same way, so a case states its pixels as plain numbers.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "base/basic/kivimage.h"
#include "model/inprocesshost.h"

#include <cstdint>
#include <cstring>
#include <vector>

using ImageBytes = std::vector<uint8_t>;

// The host with the component of this binary; assertions are counted, not
// fatal.
inline void useHost() { inProcessHost(); }

inline IPtr<KivImage> makeImage(int w, int h, int d, const ImageBytes& bytes = {}) {
  IPtr<KivImage> image(new KivImage(w, h, d));
  const size_t rowSize = static_cast<size_t>(w) * d;
  for (int y = 0; y < h && !bytes.empty(); ++y)
    std::memcpy(image->row(y), bytes.data() + y * rowSize, rowSize);
  return image;
}

inline ImageBytes imageBytes(const IKivImageBase& image) {
  ImageBytes out;
  for (int y = 0; y < image.height(); ++y) {
    const uint8_t* r = image.row(y);
    if (r)
      out.insert(out.end(), r, r + image.rowBytes());
  }
  return out;
}
