//===- kivimage.cpp - The concrete image: rows in bands of about 24 KB ----===//
#include "base/basic/kivimage.h"

#include "base/basic/ikivimageservices.h"
#include "core/classwalk.h"
#include "core/kivassert.h"
#include "core/kivptr.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/tovrealloc.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

namespace {

constexpr const char* kAssertFile = "base/basic/kivimage";
constexpr int32_t kBandBytes = 24576;
constexpr uint32_t kStoredTag = 0xA5004;
constexpr int kStoredVersion = 1;
enum StoredForm : uint8_t { kRaw = 0, kByWriter = 1, kCompressed = 2 };

// Sizes a stored image may claim: all zero (empty) or all positive, and a
// depth of at most 4.
bool plausibleSize(int32_t w, int32_t h, int32_t d) {
  if (w == 0 && h == 0 && d == 0)
    return true;
  return w > 0 && h > 0 && d > 0 && d <= 4;
}

// w × h × d bytes fit in `left`, without an overflow from hostile sizes.
bool fitsIn(int32_t w, int32_t h, int32_t d, int64_t left) {
  if (w == 0 || h == 0 || d == 0)
    return true;
  return left >= 0 && static_cast<int64_t>(w) * h <= left / d;
}

uint8_t clampByte(int value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

} // namespace

KivImage::KivImage(int width, int height, int depth) {
  if (!(width >= 0))
    kivAssert("width >= 0", kAssertFile, __LINE__);
  if (!(height >= 0))
    kivAssert("height >= 0", kAssertFile, __LINE__);
  if (!(depth >= 0 && depth < 5))
    kivAssert("depth >= 0 && depth < 5", kAssertFile, __LINE__);
  if (width >= 0 && height >= 0 && depth >= 0 && depth < 5)
    resize(width, height, depth);
}

KivImage::KivImage(const KivImage& other)
    : IKivUnknown(), IKivPersistentRef(), IKivImageBase(), IKivImage(), KivImageBase() {
  assign(const_cast<KivImage*>(&other));
}

KivImage::~KivImage() {
  releaseData();
  width_ = height_ = depth_ = 0;
}

void KivImage::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "KivImage");
    KivImageBase::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivImage");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "KivImage", this, out) ||
      kivAnswer(name, "IKivImage", static_cast<IKivImage*>(this), out))
    return;
  KivImageBase::queryInterface(name, out);
}

int KivImage::bandCount() const {
  return bands_ && height_ > 0 && rowsPerBand_ > 0 ? (height_ - 1) / rowsPerBand_ + 1 : 0;
}

void KivImage::computeRowsPerBand() {
  const int64_t rowSize = static_cast<int64_t>(width_) * depth_;
  rowsPerBand_ = rowSize > 0 ? static_cast<int32_t>(std::max<int64_t>(kBandBytes / rowSize, 1))
                             : 0;
}

bool KivImage::releaseData() {
  if (bands_) {
    const int count = bandCount();
    for (int i = 0; i < count; ++i)
      tovFree(bands_[i]);
    tovFree(bands_);
    bands_ = nullptr;
  }
  return true;
}

bool KivImage::resize(int width, int height, int depth) {
  if (width == width_ && height == height_ && depth == depth_ && bands_) {
    clear();
    return true;
  }
  // New pixels replace a parked form as well; waking it first would only
  // decompress what is thrown away.
  dropCompressed();
  releaseData();
  width_ = height_ = depth_ = 0;
  rowsPerBand_ = 0;
  if (width == 0 || height == 0 || depth == 0)
    return true;
  const int64_t rowSize = static_cast<int64_t>(width) * depth;
  // Sizes no store can hold stay an empty image instead of overflowing.
  if (width < 0 || height < 0 || depth < 0 || depth > 4 || rowSize > INT32_MAX)
    return false;
  width_ = width;
  height_ = height;
  depth_ = depth;
  computeRowsPerBand();
  const int count = (height - 1) / rowsPerBand_ + 1;
  tovMalloc(reinterpret_cast<void**>(&bands_), static_cast<int32_t>(sizeof(uint8_t*)), count);
  for (int i = 0; i < count; ++i) {
    const int rows = std::min(rowsPerBand_, height - i * rowsPerBand_);
    const int32_t bytes = static_cast<int32_t>(rows * rowSize);
    tovMalloc(reinterpret_cast<void**>(&bands_[i]), 1, bytes);
    std::memset(bands_[i], 0, static_cast<size_t>(bytes));
  }
  return true;
}

bool KivImage::assign(IKivImageBase* other) {
  if (!other)
    return false;
  if (other == static_cast<IKivImageBase*>(this))
    return true;
  if (other->isCompressed())
    return copyCompressedFrom(other);
  resize(other->width(), other->height(), other->depth());
  const size_t bytes = static_cast<size_t>(rowBytes());
  for (int y = 0; y < height_; ++y) {
    const uint8_t* src = other->row(y);
    if (src)
      std::memcpy(row(y), src, bytes);
  }
  return true;
}

IKivImageBase* KivImage::clone() const { return new KivImage(*this); }

const uint8_t* KivImage::row(int y) const {
  if (!bands_ || y < 0 || y >= height_)
    return nullptr;
  return bands_[y / rowsPerBand_] +
         static_cast<size_t>(y % rowsPerBand_) * static_cast<size_t>(width_) * depth_;
}

uint8_t* KivImage::row(int y) {
  return const_cast<uint8_t*>(static_cast<const KivImage*>(this)->row(y));
}

const uint8_t* KivImage::pixel(int x, int y) const {
  if (!inside(x, y) || !bands_)
    return nullptr;
  return row(y) + static_cast<size_t>(x) * depth_;
}

uint8_t* KivImage::pixel(int x, int y) {
  return const_cast<uint8_t*>(static_cast<const KivImage*>(this)->pixel(x, y));
}

void KivImage::takeFrom(KivImage& other) {
  dropCompressed();
  releaseData();
  width_ = std::exchange(other.width_, 0);
  height_ = std::exchange(other.height_, 0);
  depth_ = std::exchange(other.depth_, 0);
  rowsPerBand_ = std::exchange(other.rowsPerBand_, 0);
  bands_ = std::exchange(other.bands_, nullptr);
}

namespace {

// A new image of newW × newH in which pixel (x, y) comes from the source
// pixel that `from` names.
template <class F>
void remap(KivImage& source, KivImage& target, F from) {
  const int d = source.depth();
  for (int y = 0; y < target.height(); ++y) {
    uint8_t* out = target.row(y);
    for (int x = 0; x < target.width(); ++x) {
      auto [sx, sy] = from(x, y);
      std::memcpy(out + static_cast<size_t>(x) * d, source.pixel(sx, sy), d);
    }
  }
}

} // namespace

bool KivImage::rotateRight() {
  wake();
  const int w = width_, h = height_;
  KivImage target(h, w, depth_);
  remap(*this, target, [h](int x, int y) { return std::pair<int, int>(y, h - 1 - x); });
  takeFrom(target);
  return true;
}

bool KivImage::rotateLeft() {
  wake();
  const int w = width_, h = height_;
  KivImage target(h, w, depth_);
  remap(*this, target, [w](int x, int y) { return std::pair<int, int>(w - 1 - y, x); });
  takeFrom(target);
  return true;
}

bool KivImage::transpose() {
  wake();
  KivImage target(height_, width_, depth_);
  remap(*this, target, [](int x, int y) { return std::pair<int, int>(y, x); });
  takeFrom(target);
  return true;
}

bool KivImage::halveInto(KivImage& target) {
  const int tw = (width_ + 1) / 2, th = (height_ + 1) / 2;
  if (target.width_ != tw || target.height_ != th || target.depth_ != depth_)
    return false;
  const int d = depth_;
  std::vector<int> sums(static_cast<size_t>(d));
  for (int ty = 0; ty < th; ++ty) {
    const uint8_t* r0 = row(2 * ty);
    const uint8_t* r1 = 2 * ty + 1 < height_ ? row(2 * ty + 1) : nullptr;
    uint8_t* out = target.row(ty);
    const int divisor = r1 ? 4 : 2;
    for (int tx = 0; tx < tw; ++tx) {
      const int sx = 2 * tx;
      const bool pair = sx + 1 < width_;
      for (int c = 0; c < d; ++c) {
        int sum = r0[sx * d + c] + (pair ? r0[(sx + 1) * d + c] : 0);
        if (r1)
          sum += r1[sx * d + c] + (pair ? r1[(sx + 1) * d + c] : 0);
        // A single source column counts twice.
        if (!pair)
          sum *= 2;
        out[tx * d + c] = static_cast<uint8_t>(sum / divisor);
      }
    }
  }
  return true;
}

IKivImageBase* KivImage::halved() {
  IKivImage* result = halvedImage();
  return result;
}

IKivImage* KivImage::halvedImage() {
  wake();
  auto* target = new KivImage((width_ + 1) / 2, (height_ + 1) / 2, depth_);
  if (!halveInto(*target)) {
    delete target;
    return nullptr;
  }
  return target;
}

bool KivImage::toGrey() {
  if (depth_ < 3)
    return false;
  wake();
  for (int y = 0; y < height_; ++y) {
    uint8_t* p = row(y);
    for (int x = 0; x < width_; ++x, p += depth_) {
      const auto grey = static_cast<uint8_t>(0.59 * p[1] + 0.3 * p[0] + 0.11 * p[2]);
      p[0] = p[1] = p[2] = grey;
    }
  }
  return true;
}

bool KivImage::flipHorizontal() {
  wake();
  const int d = depth_;
  for (int y = 0; y < height_; ++y) {
    uint8_t* p = row(y);
    for (int a = 0, b = width_ - 1; a < b; ++a, --b)
      std::swap_ranges(p + a * d, p + a * d + d, p + b * d);
  }
  return true;
}

bool KivImage::flipVertical() {
  wake();
  const size_t bytes = static_cast<size_t>(rowBytes());
  for (int a = 0, b = height_ - 1; a < b; ++a, --b)
    std::swap_ranges(row(a), row(a) + bytes, row(b));
  return true;
}

bool KivImage::invert() {
  wake();
  const int count = bandCount();
  for (int band = 0; band < count; ++band) {
    uint8_t* address = nullptr;
    int first = 0, rows = 0;
    bandInfo(band, &address, &first, &rows);
    const size_t bytes = static_cast<size_t>(rows) * rowBytes();
    for (size_t i = 0; i < bytes; ++i)
      address[i] = static_cast<uint8_t>(255 - address[i]);
  }
  return true;
}

bool KivImage::setAlpha(float value) {
  wake();
  const int a = static_cast<int>(value * 255);
  if (depth_ == 2 || depth_ == 4) {
    for (int y = 0; y < height_; ++y) {
      uint8_t* p = row(y) + depth_ - 1;
      for (int x = 0; x < width_; ++x, p += depth_)
        *p = clampByte(a);
    }
    return true;
  }
  if (a >= 255 || depth_ == 0)
    return true;
  KivImage deeper(width_, height_, depth_ + 1);
  for (int y = 0; y < height_; ++y) {
    const uint8_t* p = row(y);
    uint8_t* q = deeper.row(y);
    for (int x = 0; x < width_; ++x, p += depth_, q += depth_ + 1) {
      std::memcpy(q, p, static_cast<size_t>(depth_));
      q[depth_] = clampByte(a);
    }
  }
  takeFrom(deeper);
  return true;
}

bool KivImage::swapChannels(const int order[3]) {
  if (depth_ < 3 || !order)
    return false;
  for (int c = 0; c < 3; ++c)
    if (order[c] < 0 || order[c] > 2)
      return false;
  wake();
  for (int y = 0; y < height_; ++y) {
    uint8_t* p = row(y);
    for (int x = 0; x < width_; ++x, p += depth_) {
      const uint8_t old[3] = {p[0], p[1], p[2]};
      for (int c = 0; c < 3; ++c)
        p[c] = old[order[c]];
    }
  }
  return true;
}

bool KivImage::copyCompressedFrom(IKivImageBase* other) {
  const bool ok = KivImageBase::copyCompressedFrom(other);
  computeRowsPerBand();
  return ok;
}

bool KivImage::swapCompressed(IKivImageBase* otherImage) {
  // The sizes change hands while the bands stay: allowed only where no
  // image holds pixels, or rows would be read past their band.
  auto* other = kivQuery<KivImage>(otherImage, "KivImage");
  if (bands_ || (other && other->bands_))
    return false;
  if (!KivImageBase::swapCompressed(otherImage))
    return false;
  computeRowsPerBand();
  if (other)
    other->computeRowsPerBand();
  return true;
}

IKivImageBase* KivImage::resized(int newWidth, int newHeight, IKivImageBase* target) {
  if (!((width_ * height_ > 0) || (newWidth * newHeight == 0))) {
    kivAssert("(width_ * height_ > 0) || (newWidth * newHeight == 0)", kAssertFile, __LINE__);
    return nullptr;
  }
  if (!(newWidth >= 0)) {
    kivAssert("newWidth >= 0", kAssertFile, __LINE__);
    return nullptr;
  }
  if (!(newHeight >= 0)) {
    kivAssert("newHeight >= 0", kAssertFile, __LINE__);
    return nullptr;
  }
  wake();
  // Resizing into itself works from a copy of the source.
  IPtr<KivImage> copy;
  KivImage* source = this;
  if (target == static_cast<IKivImageBase*>(this)) {
    copy = new KivImage(*this);
    source = copy.get();
  }
  IKivImageBase* result = target;
  if (target)
    target->resize(newWidth, newHeight, depth_);
  else
    result = new KivImage(newWidth, newHeight, depth_);
  const int w = source->width_, h = source->height_, d = source->depth_;
  if (newWidth == 0 || newHeight == 0 || d == 0 || w == 0 || h == 0)
    return result;
  if (newWidth > w && newHeight > h && newWidth % w == 0 && newHeight % h == 0) {
    const int zx = newWidth / w, zy = newHeight / h;
    for (int r = 0; r < newHeight; ++r) {
      const uint8_t* src = source->row(r / zy);
      uint8_t* out = result->row(r);
      for (int x = 0; x < w; ++x)
        for (int k = 0; k < zx; ++k, out += d)
          std::memcpy(out, src + static_cast<size_t>(x) * d, d);
    }
    return result;
  }
  // Nearest sampling by error diffusion, one table per axis.
  auto table = [](int from, int to, int scale) {
    std::vector<int64_t> entries(static_cast<size_t>(to));
    int64_t a = from / 2, s = 0;
    for (int i = 0; i < to; ++i) {
      s += a / to;
      entries[static_cast<size_t>(i)] = std::min<int64_t>(s, from - 1) * scale;
      a = from + a % to;
    }
    return entries;
  };
  const std::vector<int64_t> xs = table(w, newWidth, d);
  const std::vector<int64_t> ys = table(h, newHeight, 1);
  for (int y = 0; y < newHeight; ++y) {
    const uint8_t* src = source->row(static_cast<int>(ys[static_cast<size_t>(y)]));
    uint8_t* out = result->row(y);
    for (int x = 0; x < newWidth; ++x, out += d)
      std::memcpy(out, src + xs[static_cast<size_t>(x)], d);
  }
  return result;
}

bool KivImage::equals(const IKivImage& other) const {
  if (width_ != other.width() || height_ != other.height() || depth_ != other.depth())
    return false;
  const size_t bytes = static_cast<size_t>(rowBytes());
  for (int y = 0; y < height_; ++y) {
    const uint8_t* a = row(y);
    const uint8_t* b = other.row(y);
    if (!a || !b) {
      if (a != b)
        return false;
      continue;
    }
    if (std::memcmp(a, b, bytes) != 0)
      return false;
  }
  return true;
}

void KivImage::swap(IKivImage& otherImage) {
  auto* other = kivQuery<KivImage>(&otherImage, "KivImage");
  if (!other || other == this)
    return;
  std::swap(width_, other->width_);
  std::swap(height_, other->height_);
  std::swap(depth_, other->depth_);
  std::swap(compressedData_, other->compressedData_);
  std::swap(compressedSize_, other->compressedSize_);
  std::swap(rowsPerBand_, other->rowsPerBand_);
  std::swap(bands_, other->bands_);
}

void KivImage::clear() {
  wake();
  const int count = bandCount();
  for (int band = 0; band < count; ++band) {
    uint8_t* address = nullptr;
    int first = 0, rows = 0;
    bandInfo(band, &address, &first, &rows);
    std::memset(address, 0, static_cast<size_t>(rows) * rowBytes());
  }
}

void KivImage::fill(const float colour[4]) {
  uint8_t bytes[4] = {};
  if (depth_ < 3) {
    bytes[0] = clampByte(static_cast<int>((colour[0] + colour[1] + colour[2]) * 85));
    bytes[1] = clampByte(static_cast<int>(colour[3] * 255));
  } else {
    for (int c = 0; c < 4; ++c)
      bytes[c] = clampByte(static_cast<int>(colour[c] * 255));
  }
  fill(bytes);
}

void KivImage::fill(const uint8_t* bytes) {
  wake();
  if (!bytes)
    return;
  for (int y = 0; y < height_; ++y) {
    uint8_t* p = row(y);
    for (int x = 0; x < width_; ++x, p += depth_)
      std::memcpy(p, bytes, static_cast<size_t>(depth_));
  }
}

bool KivImage::enlarge(int width, int height, const float colour[4]) {
  if (width_ >= width && height_ >= height)
    return true;
  wake();
  KivImage larger(std::max(width, 0), std::max(height, 0), depth_);
  larger.fill(colour);
  larger.paste(this, 0, 0, false);
  takeFrom(larger);
  return true;
}

void KivImage::growTo(int width, int height) {
  // New area starts cleared.
  static const float kNone[4] = {0, 0, 0, 0};
  if (width > width_ || height > height_)
    enlarge(std::max(width, width_), std::max(height, height_), kNone);
}

bool KivImage::paintMask(const IKivImageStencil* mask, int x, int y, const float colour[4],
                         bool autoGrow) {
  if (!mask)
    return false;
  if (autoGrow)
    growTo(x + mask->width(), y + mask->height());
  wake();
  for (int my = 0; my < mask->height(); ++my)
    for (int mx = 0; mx < mask->width(); ++mx)
      if (mask->test(mx, my))
        setColor(x + mx, y + my, colour);
  return true;
}

bool KivImage::paste(IKivImage* image, int x, int y, bool autoGrow) {
  if (!image)
    return false;
  if (image->isCompressed())
    image->decompress();
  IPtr<KivImage> converted;
  IKivImage* source = image;
  if (image == static_cast<IKivImage*>(this) || image->depth() != depth_) {
    converted = new KivImage;
    if (image->depth() != depth_ && depth_ != 0)
      converted->convertFrom(depth_, image);
    else
      converted->assign(image);
    source = converted.get();
  }
  if (autoGrow)
    growTo(x + source->width(), y + source->height());
  wake();
  if (source->depth() != depth_)
    return false;
  const int d = depth_;
  const int firstX = std::max(0, -x);
  const int endX = std::min(source->width(), width_ - x);
  if (endX <= firstX)
    return true;
  for (int sy = std::max(0, -y); sy < source->height() && y + sy < height_; ++sy) {
    const uint8_t* src = source->row(sy);
    if (src)
      std::memcpy(row(y + sy) + static_cast<size_t>(x + firstX) * d,
                  src + static_cast<size_t>(firstX) * d, static_cast<size_t>(endX - firstX) * d);
  }
  return true;
}

bool KivImage::drawBorder(int thickness, const float colour[4]) {
  wake();
  for (int i = 0; i < thickness; ++i) {
    const int x0 = i, y0 = i, x1 = width_ - 1 - i, y1 = height_ - 1 - i;
    if (x0 > x1 || y0 > y1)
      break;
    for (int x = x0; x <= x1; ++x) {
      setColor(x, y0, colour);
      setColor(x, y1, colour);
    }
    for (int y = y0; y <= y1; ++y) {
      setColor(x0, y, colour);
      setColor(x1, y, colour);
    }
  }
  return true;
}

bool KivImage::drawRectangle(int x0, int y0, int x1, int y1, const float colour[4], bool filled,
                             bool autoGrow) {
  if (x0 > x1)
    std::swap(x0, x1);
  if (y0 > y1)
    std::swap(y0, y1);
  if (autoGrow)
    growTo(x1 + 1, y1 + 1);
  wake();
  if (filled) {
    // setColor skips what lies outside; the clip only saves the calls.
    for (int y = std::max(y0, 0); y <= std::min(y1, height_ - 1); ++y)
      for (int x = std::max(x0, 0); x <= std::min(x1, width_ - 1); ++x)
        setColor(x, y, colour);
    return true;
  }
  for (int x = x0; x <= x1; ++x) {
    setColor(x, y0, colour);
    setColor(x, y1, colour);
  }
  for (int y = y0; y <= y1; ++y) {
    setColor(x0, y, colour);
    setColor(x1, y, colour);
  }
  return true;
}

bool KivImage::drawLine(int x0, int y0, int x1, int y1, const float colour[4], bool autoGrow) {
  if (autoGrow)
    growTo(std::max(x0, x1) + 1, std::max(y0, y1) + 1);
  wake();
  const int w = width_, h = height_;
  auto code = [w, h](int x, int y) {
    return (x < 0 ? 1 : 0) | (x >= w ? 2 : 0) | (y < 0 ? 4 : 0) | (y >= h ? 8 : 0);
  };
  int c0 = code(x0, y0), c1 = code(x1, y1);
  if (c0 & c1)
    return true;
  // Moves an outside end along the line to the furthest border it crosses.
  auto clip = [w, h](int& px, int& py, int qx, int qy, int c) {
    const double dx = qx - px, dy = qy - py;
    double t = 0.0;
    if ((c & 1) && dx != 0)
      t = std::max(t, (0.0 - px) / dx);
    if ((c & 2) && dx != 0)
      t = std::max(t, ((w - 1.0) - px) / dx);
    if ((c & 4) && dy != 0)
      t = std::max(t, (0.0 - py) / dy);
    if ((c & 8) && dy != 0)
      t = std::max(t, ((h - 1.0) - py) / dy);
    const double nx = px + t * dx, ny = py + t * dy;
    px = static_cast<int>(nx + 0.5);
    py = static_cast<int>(ny + 0.5);
  };
  if (c0 || c1) {
    const int ox0 = x0, oy0 = y0;
    if (c0)
      clip(x0, y0, x1, y1, c0);
    if (c1)
      clip(x1, y1, ox0, oy0, c1);
    if (code(x0, y0) || code(x1, y1))
      return true;
  }
  const int dx = std::abs(x1 - x0), dy = std::abs(y1 - y0);
  if (dx == dy) {
    // Both together from the second end; the first end is left out.
    const int sx = x0 > x1 ? 1 : -1, sy = y0 > y1 ? 1 : -1;
    for (int i = 0; i < dx; ++i)
      setColor(x1 + i * sx, y1 + i * sy, colour);
    return true;
  }
  const bool alongX = dx > dy;
  // Walk the long axis from its lower end up.
  int l0 = alongX ? x0 : y0, s0 = alongX ? y0 : x0;
  int l1 = alongX ? x1 : y1, s1 = alongX ? y1 : x1;
  if (l0 > l1) {
    std::swap(l0, l1);
    std::swap(s0, s1);
  }
  const int longDistance = alongX ? dx : dy, shortDistance = alongX ? dy : dx;
  const int step = s1 > s0 ? 1 : -1;
  int error = -(longDistance / 2);
  int s = s0;
  for (int l = l0; l <= l1; ++l) {
    if (alongX)
      setColor(l, s, colour);
    else
      setColor(s, l, colour);
    error += shortDistance;
    if (error > 0) {
      s += step;
      error -= longDistance;
    }
  }
  return true;
}

bool KivImage::drawPolygon(const int32_t* points, int pointCount, bool filled, bool autoGrow,
                           const float colour[4]) {
  if (!points || pointCount <= 0)
    return false;
  if (autoGrow) {
    int maxX = 0, maxY = 0;
    for (int i = 0; i < pointCount; ++i) {
      maxX = std::max(maxX, points[2 * i]);
      maxY = std::max(maxY, points[2 * i + 1]);
    }
    growTo(maxX + 1, maxY + 1);
  }
  wake();
  if (filled) {
    struct Crossing {
      double x;
      int sign;
    };
    std::vector<Crossing> crossings;
    crossings.reserve(20);
    for (int y = 0; y < height_; ++y) {
      crossings.clear();
      for (int i = 0; i < pointCount; ++i) {
        const int j = (i + 1) % pointCount;
        const double ax = points[2 * i], ay = points[2 * i + 1];
        const double bx = points[2 * j], by = points[2 * j + 1];
        const double low = std::min(ay, by), high = std::max(ay, by);
        if (!(low <= y && high > y))
          continue;
        const double at = ax + (y - ay) * (bx - ax) / (by - ay);
        const bool secondLower = by < ay;
        crossings.push_back({std::trunc(at) + (secondLower ? 0.999 : 1.001), secondLower ? 1 : -1});
      }
      // Bubble sort, the signs travelling with their crossings.
      for (size_t n = crossings.size(); n > 1; --n)
        for (size_t k = 0; k + 1 < n; ++k)
          if (crossings[k].x > crossings[k + 1].x)
            std::swap(crossings[k], crossings[k + 1]);
      size_t next = 0;
      int winding = 0;
      for (int x = 0; x < width_; ++x) {
        while (next < crossings.size() && crossings[next].x <= x)
          winding += crossings[next++].sign;
        if (winding != 0)
          setColor(x, y, colour);
      }
    }
  }
  for (int i = 0; i < pointCount; ++i) {
    const int j = (i + 1) % pointCount;
    drawLine(points[2 * i], points[2 * i + 1], points[2 * j], points[2 * j + 1], colour, false);
  }
  return true;
}

bool KivImage::getColor(int x, int y, float out[4]) const {
  return inside(x, y) && getPixel(x, y, out);
}

bool KivImage::setColor(int x, int y, const float colour[4]) {
  return inside(x, y) && setPixel(x, y, colour);
}

bool KivImage::getBytes(int x, int y, uint8_t* out) const {
  const uint8_t* p = pixel(x, y);
  if (!p || !out)
    return false;
  std::memcpy(out, p, static_cast<size_t>(depth_));
  return true;
}

bool KivImage::setBytes(int x, int y, const uint8_t* bytes) {
  uint8_t* p = pixel(x, y);
  if (!p || !bytes)
    return false;
  std::memcpy(p, bytes, static_cast<size_t>(depth_));
  return true;
}

IKivImage* KivImage::scaled(int width, int height) {
  auto* target = new KivImage;
  if (!resized(width, height, target)) {
    delete target;
    return nullptr;
  }
  return target;
}

IKivImage* KivImage::crop(int x, int y, int width, int height) {
  if (x < 0 || y < 0 || width < 0 || height < 0 || x > width_ - width || y > height_ - height)
    return nullptr;
  wake();
  auto* target = new KivImage(width, height, depth_);
  for (int r = 0; r < height && width > 0; ++r)
    std::memcpy(target->row(r), row(y + r) + static_cast<size_t>(x) * depth_,
                static_cast<size_t>(width) * depth_);
  return target;
}

IKivImage* KivImage::cropped(int x0, int y0, int x1, int y1) {
  // Left to us: the second corner is exclusive, so (0, 0, width, height)
  // is the whole image.
  return crop(x0, y0, x1 - x0, y1 - y0);
}

IKivImage* KivImage::toGreyImage() {
  wake();
  auto* target = new KivImage(width_, height_, depth_ ? 1 : 0);
  for (int y = 0; y < height_ && depth_ > 0; ++y) {
    const uint8_t* p = row(y);
    uint8_t* q = target->row(y);
    for (int x = 0; x < width_; ++x, p += depth_)
      q[x] = depth_ < 3 ? p[0] : static_cast<uint8_t>((p[0] + p[1] + p[2] + 1) / 3);
  }
  return target;
}

bool KivImage::convertFrom(int depth, IKivImage* source) {
  if (depth > 4 || depth < 0 || !source || source == static_cast<IKivImage*>(this))
    return false;
  if (depth == depth_)
    return assign(source);
  if (source->isCompressed())
    source->decompress();
  const int sd = source->depth();
  resize(source->width(), source->height(), depth);
  for (int y = 0; y < height_ && depth > 0; ++y) {
    const uint8_t* p = source->row(y);
    uint8_t* q = row(y);
    if (!p)
      continue;
    for (int x = 0; x < width_; ++x, p += sd, q += depth)
      for (int c = 0; c < depth; ++c)
        q[c] = c < sd ? p[c] : (c == 3 && depth == 4 && sd == 3 ? 255 : 0);
  }
  return true;
}

bool KivImage::setDepth(int depth) {
  if (depth > 4 || depth < 0)
    return false;
  if (depth == depth_)
    return true;
  wake();
  IPtr<KivImage> copy(new KivImage(*this));
  return convertFrom(depth, copy.get());
}

uint8_t KivImage::byteAt(int x, int y, int channel) const {
  const uint8_t* p = pixel(x, y);
  return p && channel >= 0 && channel < depth_ ? p[channel] : 0;
}

uint8_t* KivImage::byteAddress(int x, int y, int channel) {
  uint8_t* p = pixel(x, y);
  return p && channel >= 0 && channel < depth_ ? p + channel : nullptr;
}

int KivImage::lastBand() const { return bands_ ? bandCount() - 1 : -1; }

bool KivImage::bandInfo(int band, uint8_t** address, int* firstRow, int* rows) const {
  if (band < 0 || band >= bandCount())
    return false;
  if (address)
    *address = bands_[band];
  if (firstRow)
    *firstRow = band * rowsPerBand_;
  if (rows)
    *rows = std::min(rowsPerBand_, height_ - band * rowsPerBand_);
  return true;
}

//===- Stored form ---------------------------------------------------------===//

bool KivImage::write(BinOutput& out) {
  const int fileVersion = out.fileVersion();
  uint8_t form = kRaw;
  if (isCompressed() && (fileVersion == 0 || fileVersion >= 2015)) {
    form = kCompressed;
  } else {
    wake();
    form = out.pngImages() ? kByWriter : kRaw;
    // An image that cannot wake up (no service) keeps its compressed form
    // rather than losing its picture.
    if (isCompressed())
      form = kCompressed;
  }
  SPtr<IKivImageWriter> writer;
  if (form == kByWriter) {
    writer = SPtr<IKivImageWriter>("IKivImageWriter");
    // Without the host's writer the raw form keeps the picture.
    if (!writer)
      form = kRaw;
  }
  const bool wide = fileVersion < 1 || fileVersion > 9;
  const int64_t start = out.position();
  const uint32_t head = (kStoredTag << 8) | kStoredVersion;
  bool ok = out.write(&head);
  if (wide) {
    const uint64_t zero = 0;
    ok = out.write(&zero) && ok;
  } else {
    const uint32_t zero = 0;
    ok = out.write(&zero) && ok;
  }
  ok = out.write(&form) && ok;
  if (form == kCompressed) {
    const int32_t sizes[3] = {width_, height_, depth_};
    const uint32_t size = compressedSize_;
    ok = out.write(sizes, 3) && out.write(&size) && ok;
    ok = out.writeRaw(compressedData_, compressedSize_) && ok;
  } else if (form == kByWriter) {
    ok = writer->write(this, &out, "PNG", 100, 0, false) && ok;
  } else {
    const int32_t sizes[3] = {width_, height_, depth_};
    ok = out.write(sizes, 3) && ok;
    for (int y = 0; y < height_ && depth_ > 0; ++y)
      ok = out.writeRaw(row(y), static_cast<size_t>(rowBytes())) && ok;
  }
  const int64_t end = out.position();
  const uint64_t length = static_cast<uint64_t>(end - start);
  ok = out.seekTo(start + 4, true) && ok;
  if (wide) {
    ok = out.write(&length) && ok;
  } else {
    const uint32_t narrow = length > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(length);
    ok = out.write(&narrow) && length <= 0xFFFFFFFFu && ok;
  }
  ok = out.seekTo(end, true) && ok;
  return ok && out.good();
}

bool KivImage::read(BinInput& in) {
  const int64_t start = in.tell();
  uint32_t head = 0;
  if (!in.read(&head))
    return false;
  if ((head >> 8) != kStoredTag) {
    in.seek(start, true);
    return false;
  }
  const int version = static_cast<int>(head & 0xFF);
  resize(0, 0, 0);
  uint64_t length = 0;
  int headSize = 0;
  if (in.lengthBits() == 32) {
    uint32_t narrow = 0;
    if (!in.read(&narrow))
      return false;
    length = narrow;
    headSize = 8;
  } else {
    if (!in.read(&length))
      return false;
    headSize = 12;
  }
  // The block must lie inside the data; everything below is measured
  // against its end, never against what a size field claims.
  const uint64_t fileSize = in.size();
  if (length < static_cast<uint64_t>(headSize) || start < 0 ||
      length > fileSize - std::min<uint64_t>(fileSize, static_cast<uint64_t>(start)))
    return false;
  const int64_t end = start + static_cast<int64_t>(length);
  auto left = [&in, end]() { return end - in.tell(); };

  bool ok = true;
  uint8_t form = kRaw;
  if (version > 0)
    ok = in.read(&form);
  int32_t sizes[3] = {0, 0, 0};
  if (ok && form == kRaw) {
    ok = left() >= 12 && in.read(sizes, 3) && plausibleSize(sizes[0], sizes[1], sizes[2]) &&
         fitsIn(sizes[0], sizes[1], sizes[2], left());
    if (ok) {
      resize(sizes[0], sizes[1], sizes[2]);
      for (int y = 0; y < height_ && ok; ++y)
        ok = in.read(row(y), 1, static_cast<size_t>(rowBytes()));
    }
  } else if (ok && form == kByWriter) {
    SPtr<IKivImageWriter> writer("IKivImageWriter");
    ok = writer && writer->read(this, &in, 0, 0, false, false) && in.tell() <= end;
  } else if (ok && form == kCompressed) {
    uint32_t size = 0;
    ok = left() >= 16 && in.read(sizes, 3) && in.read(&size) &&
         plausibleSize(sizes[0], sizes[1], sizes[2]) && sizes[0] > 0 && size > 0 &&
         static_cast<int64_t>(size) <= left();
    if (ok) {
      uint8_t* data = nullptr;
      tovMalloc(reinterpret_cast<void**>(&data), 1, static_cast<int32_t>(size));
      // Only a whole PNG stream is taken: the service walks its chunks.
      ok = in.read(data, 1, size) && isPngStream(data, size);
      if (ok) {
        width_ = sizes[0];
        height_ = sizes[1];
        depth_ = sizes[2];
        computeRowsPerBand();
        adoptCompressed(data, size);
      } else {
        tovFree(data);
      }
    }
  } else {
    ok = false;
  }
  if (!ok)
    resize(0, 0, 0);
  in.seek(end, true);
  return ok;
}
