//===- kivimagebase.cpp - Size, compressed form and files of an image -----===//
#include "base/basic/kivimagebase.h"

#include "base/basic/ikivimageservices.h"
#include "core/classwalk.h"
#include "core/idatastore.h"
#include "core/kivassert.h"
#include "core/servicecache.h"
#include "kivbasictypes/kivfilepath.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr const char* kAssertFile = "base/basic/kivimagebase";

// Little-endian and big-endian numbers into a byte buffer.
void putLE(std::vector<uint8_t>& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i)
    out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void putBE(std::vector<uint8_t>& out, uint32_t value, int bytes) {
  for (int i = bytes - 1; i >= 0; --i)
    out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

// A file opened for binary writing, closed on every road out. Bytes gather
// in a buffer of 1 MB, so that a large image leaves in few system calls.
class OutFile {
public:
  static constexpr size_t kBufferSize = size_t(1) << 20;

  explicit OutFile(const KivString& path) : file_(openFile(path, "wb")) {}
  ~OutFile() {
    if (file_)
      std::fclose(file_);
  }
  OutFile(const OutFile&) = delete;
  OutFile& operator=(const OutFile&) = delete;

  bool isOpen() const { return file_ != nullptr; }
  void put(const void* data, size_t n) {
    if (used_ + n > kBufferSize) {
      drain();
      if (n >= kBufferSize) {
        raw(data, n);
        return;
      }
    }
    if (buffer_.empty())
      buffer_.resize(kBufferSize);
    std::memcpy(buffer_.data() + used_, data, n);
    used_ += n;
  }
  void put(const std::vector<uint8_t>& bytes) { put(bytes.data(), bytes.size()); }
  // Bytes at a position of their own, after what is buffered.
  void putAt(int64_t offset, const void* data, size_t n) {
    drain();
    if (!kivplatform::seekStream(file_, offset, 0))
      failed_ = true;
    else
      raw(data, n);
  }
  // The absence of a write error, the close included.
  bool finish() {
    drain();
    bool ok = !failed_ && std::ferror(file_) == 0;
    ok = std::fclose(file_) == 0 && ok;
    file_ = nullptr;
    return ok;
  }

private:
  void raw(const void* data, size_t n) {
    if (n && std::fwrite(data, 1, n, file_) != n)
      failed_ = true;
  }
  void drain() {
    raw(buffer_.data(), used_);
    used_ = 0;
  }

  std::FILE* file_;
  std::vector<uint8_t> buffer_;
  size_t used_ = 0;
  bool failed_ = false;
};

KivString withExtension(const KivString& path, const char* extension) {
  KivString result(path);
  result.makeOwned();
  setPathExtension(result, KivString(extension));
  return result;
}

uint8_t byteOf(double value) {
  // Truncation of value × 255; values outside 0 to 1 are held at the ends
  // rather than left to an undefined conversion.
  double scaled = value * 255.0;
  if (!(scaled > 0.0))
    return 0;
  if (scaled >= 255.0)
    return 255;
  return static_cast<uint8_t>(scaled);
}

template <class F>
bool getPixelAs(const KivImageBase& image, int x, int y, F out[4]) {
  const uint8_t* p = image.pixel(x, y);
  if (!p)
    return false;
  const F scale = static_cast<F>(255);
  switch (image.depth()) {
  case 1:
  case 2:
    out[0] = out[1] = out[2] = p[0] / scale;
    out[3] = image.depth() == 2 ? p[1] / scale : static_cast<F>(1);
    break;
  default:
    out[0] = p[0] / scale;
    out[1] = p[1] / scale;
    out[2] = p[2] / scale;
    out[3] = image.depth() == 4 ? p[3] / scale : static_cast<F>(1);
    break;
  }
  return true;
}

template <class F>
bool setPixelAs(KivImageBase& image, int x, int y, const F colour[4]) {
  uint8_t* p = image.pixel(x, y);
  if (!p)
    return false;
  const double r = colour[0], g = colour[1], b = colour[2], a = colour[3];
  switch (image.depth()) {
  case 1:
  case 2:
    // Not the weights of toGrey(): these are the ones a colour pick uses.
    p[0] = byteOf(0.25 * r + 0.6 * g + 0.15 * b);
    if (image.depth() == 2)
      p[1] = byteOf(a);
    break;
  default:
    p[0] = byteOf(r);
    p[1] = byteOf(g);
    p[2] = byteOf(b);
    if (image.depth() == 4)
      p[3] = byteOf(a);
    break;
  }
  return true;
}

// One pixel on the byte scale, grey spread to the colours, alpha 255 if none.
void pixelValues(const KivImageBase& image, int x, int y, double out[4]) {
  const uint8_t* p = image.row(y) + static_cast<int64_t>(x) * image.depth();
  if (image.depth() < 3) {
    out[0] = out[1] = out[2] = p[0];
    out[3] = image.depth() == 2 ? p[1] : 255.0;
  } else {
    out[0] = p[0];
    out[1] = p[1];
    out[2] = p[2];
    out[3] = image.depth() == 4 ? p[3] : 255.0;
  }
}

// Places a whole part on the image: on the border when clamping (with the
// fraction 0 below and 1 above), else wrapped round.
void placeCoordinate(double whole, double& fraction, bool clamp, int size, int& index) {
  if (clamp) {
    if (whole < 0) {
      index = 0;
      fraction = 0.0;
      return;
    }
    if (whole >= size) {
      index = size - 1;
      fraction = 1.0;
      return;
    }
    index = static_cast<int>(whole);
    return;
  }
  // The remainder is what repeated adding or subtracting gives, without the
  // loop that a huge coordinate would make endless.
  double wrapped = std::fmod(whole, static_cast<double>(size));
  if (wrapped < 0)
    wrapped += size;
  index = static_cast<int>(wrapped);
  if (index >= size)
    index = 0;
}

void interpolateRow(const KivImageBase& image, int x, int y, double f, bool clamp,
                    double out[4]) {
  double here[4];
  pixelValues(image, x, y, here);
  if (f == 0.5) {
    std::memcpy(out, here, sizeof(here));
    return;
  }
  int other = f > 0.5 ? x + 1 : x - 1;
  if (other < 0 || other >= image.width()) {
    if (clamp) {
      std::memcpy(out, here, sizeof(here));
      return;
    }
    other = other < 0 ? image.width() - 1 : 0;
  }
  double there[4];
  pixelValues(image, other, y, there);
  const double t = f > 0.5 ? f - 0.5 : 0.5 - f;
  for (int c = 0; c < 4; ++c)
    out[c] = here[c] + (there[c] - here[c]) * t;
}

// Channel c of a row of `width` pixels goes to out + c × stride.
template <int D>
void splitRowOf(const uint8_t* src, uint8_t* out, size_t stride, size_t width) {
  for (size_t x = 0; x < width; ++x, src += D)
    for (int c = 0; c < D; ++c)
      out[c * stride + x] = src[c];
}

void splitRow(const uint8_t* src, uint8_t* out, size_t stride, size_t width, int depth) {
  switch (depth) {
  case 1: std::memcpy(out, src, width); break;
  case 2: splitRowOf<2>(src, out, stride, width); break;
  case 3: splitRowOf<3>(src, out, stride, width); break;
  default: splitRowOf<4>(src, out, stride, width); break;
  }
}

} // namespace

KivImageBase::~KivImageBase() {
  if (compressedData_) {
    if (IKivCompressPNG* service = compressService())
      service->release(compressedData_);
    compressedData_ = nullptr;
  }
}

void KivImageBase::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "KivImageBase");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivImageBase");
    kivWalkInterface(walk, "IKivPersistentRef");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "KivImageBase", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, "IKivImageBase", static_cast<IKivImageBase*>(this), out))
    return;
  kivAnswer(name, "IKivPersistentRef", static_cast<IKivPersistentRef*>(this), out);
}

bool KivImageBase::read(BinInput&) {
  kivAssert("", kAssertFile, __LINE__);
  return false;
}

bool KivImageBase::write(BinOutput&) {
  kivAssert("", kAssertFile, __LINE__);
  return false;
}

IKivCompressPNG* KivImageBase::compressService() {
  static CachedService<IKivCompressPNG> service("IKivCompressPNG");
  return service.get();
}

bool KivImageBase::isPngStream(const uint8_t* data, uint32_t size) {
  static const uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  if (!data || size < 8 || std::memcmp(data, kSignature, 8) != 0)
    return false;
  uint64_t pos = 8;
  while (pos + 12 <= size) {
    const uint8_t* chunk = data + pos;
    const uint64_t length = (uint64_t(chunk[0]) << 24) | (uint64_t(chunk[1]) << 16) |
                            (uint64_t(chunk[2]) << 8) | chunk[3];
    if (length > size - pos - 12)
      return false;
    pos += 12 + length;
    if (std::memcmp(chunk + 4, "IEND", 4) == 0)
      return pos == size;
  }
  return false;
}

void KivImageBase::dropCompressed() {
  if (!compressedData_)
    return;
  if (IKivCompressPNG* service = compressService())
    service->release(compressedData_);
  compressedData_ = nullptr;
  compressedSize_ = 0;
}

void KivImageBase::adoptCompressed(uint8_t* data, uint32_t size) {
  dropCompressed();
  compressedData_ = data;
  compressedSize_ = data ? size : 0;
}

bool KivImageBase::save(const KivString& pathIn, const char* formatIn, bool flip, int quality) {
  KivString path(pathIn);
  path.makeOwned();
  std::string format = formatIn ? formatIn : "";
  if (format == "DEFAULT") {
    format = "BMP";
    const char* extension = "bmp";
    SPtr<IDataStore> store("IDataStore");
    const char* key = "General/Texture Image Format";
    if (store && store->hasKey(key)) {
      bool found = false;
      switch (store->getInt(key, &found)) {
      case 0: format = "BMP"; extension = "bmp"; break;
      case 1: format = "JPEG"; extension = "jpg"; break;
      case 2: format = "PNG"; extension = "png"; break;
      case 3: format = "TIFF"; extension = "tif"; break;
      default: format.clear(); extension = ""; break;
      }
    }
    setPathExtension(path, KivString(extension));
  }
  if (pathExtension(path).isEmpty() && !format.empty()) {
    const char* extension = format == "JPEG" ? "jpg" : format == "TIFF" ? "tif" : format.c_str();
    setPathExtension(path, KivString(extension));
  }
  if (format.empty())
    format = pathExtension(path).c_str();

  SPtr<IKivImageWriter> writer("IKivImageWriter");
  if (!writer || format.empty())
    return false;
  const bool parked = isCompressed();
  if (parked)
    decompress();
  const bool ok = writer->save(this, path, format.c_str(), quality, 0, flip);
  if (parked)
    compress();
  return ok;
}

bool KivImageBase::write(BinOutput* stream, const char* format, int, bool flag1, bool flag2,
                         bool flag3) {
  SPtr<IKivImageWriter> writer("IKivImageWriter");
  if (!writer)
    return false;
  wake();
  return writer->writeTo(this, stream, format, 0, flag1, flag2, flag3);
}

bool KivImageBase::read(const KivString& path, bool flag1, bool flag2, bool flag3) {
  std::FILE* file = openFile(path, "rb");
  if (!file)
    return false;
  std::fclose(file);
  SPtr<IKivImageWriter> writer("IKivImageWriter");
  if (!writer)
    return false;
  // The file replaces the picture; a parked form would otherwise come back.
  dropCompressed();
  return writer->load(this, path, 0, flag1, flag2, flag3);
}

bool KivImageBase::read(const void* buffer, uint32_t size, int width, int height, bool flag1,
                        bool flag2, bool flag3) {
  SPtr<IKivImageWriter> writer("IKivImageWriter");
  if (!writer)
    return false;
  dropCompressed();
  return writer->readFrom(this, buffer, size, width, height, 0, flag1, flag2, flag3);
}

bool KivImageBase::writePpm(const KivString& pathIn) {
  wake();
  KivString path = withExtension(pathIn, "ppm");
  OutFile file(path);
  if (!file.isOpen())
    return false;
  char head[64];
  int n = std::snprintf(head, sizeof(head), "%s%d %d\n255\n", depth_ < 3 ? "P5\n" : "P6\n",
                        width_, height_);
  file.put(head, static_cast<size_t>(n));
  const int kept = depth_ < 3 ? 1 : 3;
  std::vector<uint8_t> line(static_cast<size_t>(width_) * kept);
  for (int y = 0; y < height_ && depth_ > 0; ++y) {
    const uint8_t* src = row(y);
    if (!src)
      break;
    if (depth_ == 1 || depth_ == 3) {
      file.put(src, static_cast<size_t>(width_) * depth_);
      continue;
    }
    // Grey+alpha and RGBA leave their last channel behind.
    uint8_t* out = line.data();
    if (depth_ == 2) {
      for (int x = 0; x < width_; ++x)
        out[x] = src[2 * x];
    } else {
      for (int x = 0; x < width_; ++x, out += 3, src += 4) {
        out[0] = src[0];
        out[1] = src[1];
        out[2] = src[2];
      }
    }
    file.put(line);
  }
  return file.finish();
}

bool KivImageBase::writeBmp(const KivString& pathIn, bool flip) {
  if (width_ == 0 || height_ == 0 || depth_ == 0)
    return false;
  wake();
  KivString path = withExtension(pathIn, "bmp");
  OutFile file(path);
  if (!file.isOpen())
    return false;
  const uint32_t rowSize = (3u * static_cast<uint32_t>(width_) + 3u) & ~3u;
  std::vector<uint8_t> head;
  head.reserve(54);
  head.push_back('B');
  head.push_back('M');
  putLE(head, 54 + rowSize * static_cast<uint32_t>(height_), 4);
  putLE(head, 0, 2);
  putLE(head, 0, 2);
  putLE(head, 54, 4);
  putLE(head, 40, 4);
  putLE(head, static_cast<uint32_t>(width_), 4);
  putLE(head, static_cast<uint32_t>(height_), 4);
  putLE(head, 1, 2);
  putLE(head, 24, 2);
  putLE(head, 0, 4);
  putLE(head, 0, 4);
  putLE(head, 1024, 4);
  putLE(head, 1024, 4);
  putLE(head, 0, 4);
  putLE(head, 0, 4);
  file.put(head);
  std::vector<uint8_t> line(rowSize, 0);
  for (int i = 0; i < height_; ++i) {
    const uint8_t* src = row(flip ? i : height_ - 1 - i);
    if (!src)
      break;
    uint8_t* q = line.data();
    const int d = depth_;
    if (d < 3) {
      for (int x = 0; x < width_; ++x, q += 3, src += d)
        q[0] = q[1] = q[2] = src[0];
    } else {
      for (int x = 0; x < width_; ++x, q += 3, src += d) {
        q[0] = src[2];
        q[1] = src[1];
        q[2] = src[0];
      }
    }
    file.put(line);
  }
  return file.finish();
}

bool KivImageBase::writeRgb(const KivString& pathIn) {
  if (width_ == 0 || height_ == 0 || depth_ == 0)
    return false;
  wake();
  KivString path = withExtension(pathIn, "rgb");
  OutFile file(path);
  if (!file.isOpen())
    return false;
  std::vector<uint8_t> head;
  head.reserve(512);
  putBE(head, 474, 2);
  head.push_back(0);
  head.push_back(1);
  putBE(head, 3, 2);
  putBE(head, static_cast<uint32_t>(width_), 2);
  putBE(head, static_cast<uint32_t>(height_), 2);
  putBE(head, static_cast<uint32_t>(depth_), 2);
  putBE(head, 0, 4);
  putBE(head, 255, 4);
  putBE(head, 0, 4);
  char name[80] = {};
  std::strncpy(name, path.c_str(), 79);
  head.insert(head.end(), name, name + 80);
  head.resize(512, 0);
  file.put(head);
  // The planes follow each other in the file; one pass over the rows fills
  // a buffer per plane, and each buffer goes to its plane's place.
  const int d = depth_;
  const size_t w = static_cast<size_t>(width_);
  const int64_t planeSize = static_cast<int64_t>(width_) * height_;
  const size_t rowsPerFlush = std::max<size_t>(1, OutFile::kBufferSize / 4 / w);
  std::vector<uint8_t> planes(static_cast<size_t>(d) * rowsPerFlush * w);
  int64_t done = 0;  // bytes of each plane in the file
  size_t pending = 0;
  auto flushPlanes = [&]() {
    for (int c = 0; c < d; ++c)
      file.putAt(512 + c * planeSize + done, planes.data() + c * rowsPerFlush * w, pending * w);
    done += static_cast<int64_t>(pending * w);
    pending = 0;
  };
  for (int y = height_ - 1; y >= 0; --y) {
    const uint8_t* src = row(y);
    if (!src)
      return false;
    uint8_t* q = planes.data() + pending * w;
    const size_t stride = rowsPerFlush * w;
    splitRow(src, q, stride, w, d);
    if (++pending == rowsPerFlush)
      flushPlanes();
  }
  if (pending)
    flushPlanes();
  return file.finish();
}

bool KivImageBase::writeTiff(const KivString& pathIn) {
  wake();
  KivString path = withExtension(pathIn, "tif");
  OutFile file(path);
  if (!file.isOpen())
    return false;
  const bool alpha = depth_ == 2 || depth_ == 4;
  const uint32_t entries = alpha ? 13 : 12;
  const uint32_t ifdEnd = 8 + 2 + entries * 12 + 4;
  const uint32_t b = depth_ >= 3 ? 2u * static_cast<uint32_t>(depth_) : 0u;
  const uint32_t w = static_cast<uint32_t>(width_), h = static_cast<uint32_t>(height_),
                 d = static_cast<uint32_t>(depth_);
  std::vector<uint8_t> head;
  head.reserve(ifdEnd + b + 16);
  head.push_back('I');
  head.push_back('I');
  putLE(head, 42, 2);
  putLE(head, 8, 4);
  putLE(head, entries, 2);
  auto entry = [&head](uint32_t tag, uint32_t type, uint32_t count, uint32_t value) {
    putLE(head, tag, 2);
    putLE(head, type, 2);
    putLE(head, count, 4);
    putLE(head, value, 4);
  };
  // Tags ascending, as readers require.
  entry(256, 4, 1, w);
  entry(257, 4, 1, h);
  entry(258, 3, d, depth_ < 3 ? 0x80008u : ifdEnd);
  entry(259, 3, 1, 1);
  entry(262, 3, 1, depth_ < 3 ? 1u : 2u);
  entry(273, 4, 1, ifdEnd + b + 16);
  entry(277, 3, 1, d);
  entry(278, 3, 1, h);
  entry(279, 4, 1, w * h * d);
  entry(282, 5, 1, ifdEnd + b);
  entry(283, 5, 1, ifdEnd + b + 8);
  entry(296, 3, 1, 1);
  if (alpha)
    entry(338, 3, 1, 2);
  putLE(head, 0, 4);
  if (depth_ >= 3)
    for (int c = 0; c < depth_; ++c)
      putLE(head, 8, 2);
  for (int i = 0; i < 4; ++i)
    putLE(head, 1, 4);
  file.put(head);
  for (int y = 0; y < height_ && depth_ > 0; ++y) {
    const uint8_t* src = row(y);
    if (!src)
      break;
    file.put(src, static_cast<size_t>(width_) * depth_);
  }
  return file.finish();
}

bool KivImageBase::compress() {
  if (isCompressed())
    return false;
  IKivCompressPNG* service = compressService();
  if (!service)
    return false;
  void* data = nullptr;
  uint32_t size = 0;
  if (!service->compress(this, &data, &size) || !data)
    return false;
  releaseData();
  compressedData_ = static_cast<uint8_t*>(data);
  compressedSize_ = size;
  return true;
}

bool KivImageBase::decompress() {
  IKivCompressPNG* service = compressService();
  if (!compressedData_ || !service)
    return false;
  // The form is taken out first, so that the service's resize() meets an
  // image that is no longer parked.
  uint8_t* data = compressedData_;
  const uint32_t size = compressedSize_;
  const int32_t w = width_, h = height_, d = depth_;
  compressedData_ = nullptr;
  compressedSize_ = 0;
  if (service->decompress(data, size, this)) {
    service->release(data);
    return true;
  }
  releaseData();
  width_ = w;
  height_ = h;
  depth_ = d;
  compressedData_ = data;
  compressedSize_ = size;
  return false;
}

bool KivImageBase::getPixel(int x, int y, double out[4]) const {
  return getPixelAs(*this, x, y, out);
}

bool KivImageBase::getPixel(int x, int y, float out[4]) const {
  return getPixelAs(*this, x, y, out);
}

bool KivImageBase::setPixel(int x, int y, const double colour[4]) {
  return setPixelAs(*this, x, y, colour);
}

bool KivImageBase::setPixel(int x, int y, const float colour[4]) {
  return setPixelAs(*this, x, y, colour);
}

bool KivImageBase::equals(IKivImageBase* otherImage) {
  auto* other = kivQuery<KivImageBase>(otherImage, "KivImageBase");
  if (!other)
    return false;
  if (other == this)
    return true;
  if (width_ != other->width_ || height_ != other->height_ || depth_ != other->depth_ ||
      isCompressed() != other->isCompressed())
    return false;
  if (isCompressed())
    return compressedSize_ == other->compressedSize_ &&
           std::memcmp(compressedData_, other->compressedData_, compressedSize_) == 0;
  for (int y = 0; y < height_; ++y) {
    const uint8_t* a = row(y);
    const uint8_t* b = other->row(y);
    if (!a || !b)
      return a == b;
    if (std::memcmp(a, b, static_cast<size_t>(rowBytes())) != 0)
      return false;
  }
  return true;
}

bool KivImageBase::copyCompressedTo(IKivImageBase* other) {
  return other && other->copyCompressedFrom(this);
}

bool KivImageBase::copyCompressedFrom(IKivImageBase* otherImage) {
  auto* other = kivQuery<KivImageBase>(otherImage, "KivImageBase");
  if (!other || !other->compressedData_)
    return false;
  if (other == this)
    return true;
  IKivCompressPNG* service = compressService();
  if (!service)
    return false;
  releaseData();
  void* copy = nullptr;
  if (!service->copy(other->compressedData_, &copy) || !copy) {
    width_ = height_ = depth_ = 0;
    dropCompressed();
    return false;
  }
  width_ = other->width_;
  height_ = other->height_;
  depth_ = other->depth_;
  adoptCompressed(static_cast<uint8_t*>(copy), other->compressedSize_);
  return true;
}

void KivImageBase::sample(double u, double v, bool clampU, bool clampV, double out[4]) {
  out[0] = out[1] = out[2] = 0.0;
  out[3] = 255.0;
  wake();
  if (width_ <= 0 || height_ <= 0 || depth_ <= 0 || !row(0))
    return;
  double wholeU = 0.0, wholeV = 0.0;
  double fu = std::modf(u, &wholeU);
  double fv = std::modf(v, &wholeV);
  int x = 0, y = 0;
  placeCoordinate(wholeU, fu, clampU, width_, x);
  placeCoordinate(wholeV, fv, clampV, height_, y);
  double here[4];
  interpolateRow(*this, x, y, fu, clampU, here);
  if (fv == 0.5) {
    std::memcpy(out, here, sizeof(here));
    return;
  }
  int other = fv > 0.5 ? y + 1 : y - 1;
  if (other < 0 || other >= height_) {
    if (clampV) {
      std::memcpy(out, here, sizeof(here));
      return;
    }
    other = other < 0 ? height_ - 1 : 0;
  }
  double there[4];
  interpolateRow(*this, x, other, fu, clampU, there);
  const double t = fv > 0.5 ? fv - 0.5 : 0.5 - fv;
  for (int c = 0; c < 4; ++c)
    out[c] = here[c] + (there[c] - here[c]) * t;
}

bool KivImageBase::swapCompressed(IKivImageBase* otherImage) {
  auto* other = kivQuery<KivImageBase>(otherImage, "KivImageBase");
  if (!other)
    return false;
  std::swap(width_, other->width_);
  std::swap(height_, other->height_);
  std::swap(depth_, other->depth_);
  std::swap(compressedData_, other->compressedData_);
  std::swap(compressedSize_, other->compressedSize_);
  return true;
}
