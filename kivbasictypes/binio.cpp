//===- binio.cpp - Big-endian binary streams ------------------------------===//
#include "kivbasictypes/binio.h"

#include "core/kivassert.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"

#include <bit>
#include <cstring>
#include <ostream>
#include <type_traits>

namespace {

BinIO_Scrambler* gScrambler = nullptr;

// Room that must be free before a typed write goes on without a flush, so a
// run of small values lands in one buffer and pays one test each.
constexpr size_t kWriteReserve = 256;

// The unsigned integer with the bit pattern of T.
template <class T>
struct Bits {
  using type = std::make_unsigned_t<T>;
};
template <>
struct Bits<char> {
  using type = unsigned char;
};
template <>
struct Bits<char16_t> {
  using type = char16_t;
};
template <>
struct Bits<float> {
  using type = uint32_t;
};
template <>
struct Bits<double> {
  using type = uint64_t;
};

template <class T>
constexpr bool kSignExtends = std::is_integral_v<T> && std::is_signed_v<T>;

// Big-endian bytes of one element of `width` bytes into T.
template <class T>
inline T decode(const unsigned char* p, size_t width) {
  using U = typename Bits<T>::type;
  uint64_t v = 0;
  if constexpr (kSignExtends<T>) {
    if (p[0] & 0x80)
      v = ~uint64_t{0};
  }
  for (size_t i = 0; i < width; ++i)
    v = (v << 8) | p[i];
  U bits = static_cast<U>(v);
  T out;
  std::memcpy(&out, &bits, sizeof(T));
  return out;
}

// Big-endian bytes of an unsigned word into its value, on any machine: a
// fixed-width load and a swap where the machine is little-endian.
template <class U>
inline U loadBigEndian(const unsigned char* p) {
  U bits;
  std::memcpy(&bits, p, sizeof(U));
  if constexpr (std::endian::native == std::endian::little && sizeof(U) == 8)
    return static_cast<U>(__builtin_bswap64(bits));
  else if constexpr (std::endian::native == std::endian::little && sizeof(U) == 4)
    return static_cast<U>(__builtin_bswap32(bits));
  else if constexpr (std::endian::native == std::endian::little && sizeof(U) == 2)
    return static_cast<U>(__builtin_bswap16(bits));
  else if constexpr (std::endian::native == std::endian::big || sizeof(U) == 1)
    return bits;
  else
    static_assert(sizeof(U) == 0, "a mixed-endian machine");
}

template <class U>
inline void storeBigEndian(U bits, unsigned char* p) {
  bits = loadBigEndian<U>(reinterpret_cast<const unsigned char*>(&bits));
  std::memcpy(p, &bits, sizeof(U));
}

// The natural width: a plain byte reversal.
template <class T>
inline T decodeNatural(const unsigned char* p) {
  using U = typename Bits<T>::type;
  U bits = loadBigEndian<U>(p);
  T out;
  std::memcpy(&out, &bits, sizeof(T));
  return out;
}

// The `width` low-order bytes of the element, most significant first; bytes
// beyond the element's own extend its sign.
template <class T>
inline void encode(T value, unsigned char* p, size_t width) {
  using U = typename Bits<T>::type;
  U bits;
  std::memcpy(&bits, &value, sizeof(T));
  uint64_t v = bits;
  if constexpr (kSignExtends<T>)
    v = static_cast<uint64_t>(static_cast<int64_t>(value));
  const unsigned char extension = (kSignExtends<T> && value < 0) ? 0xFF : 0x00;
  for (size_t i = 0; i < width; ++i) {
    size_t shift = (width - 1 - i) * 8;
    p[i] = shift >= 64 ? extension : static_cast<unsigned char>(v >> shift);
  }
}

template <class T>
inline void encodeNatural(T value, unsigned char* p) {
  using U = typename Bits<T>::type;
  U bits;
  std::memcpy(&bits, &value, sizeof(T));
  storeBigEndian<U>(bits, p);
}

} // namespace

BinIO_Scrambler::~BinIO_Scrambler() = default;

void setScrambler(BinIO_Scrambler* scrambler) {
  if (scrambler == gScrambler)
    return;
  delete gScrambler;
  gScrambler = scrambler;
}

BinIO_Scrambler* installedScrambler() { return gScrambler; }

//===----------------------------------------------------------------------===//
// BinInput
//===----------------------------------------------------------------------===//

BinInput::~BinInput() = default;

size_t BinInput::fill(unsigned char* into, size_t n) {
  if (!gScrambler)
    return readBytes(into, n);
  int64_t offset = tell();
  size_t got = readBytes(into, n);
  if (got)
    gScrambler->unscramble(into, static_cast<uint64_t>(offset), got);
  return got;
}

template <class T>
bool BinInput::readElements(T* out, size_t width, size_t count) {
  if (count == 0)
    return true;
  if (width == 0 || width > kBinBufferSize)
    return false;
  // `have` bytes wait at the front of the buffer: the start of an element
  // that a short read split.
  size_t have = 0;
  size_t remaining = count;
  while (remaining > 0) {
    size_t wanted = kBinBufferSize - have;
    if (remaining <= kBinBufferSize && remaining * width - have < wanted)
      wanted = remaining * width - have;
    size_t got = fill(buffer_ + have, wanted);
    if (got == 0)
      return false;
    have += got;
    size_t whole = have / width;
    if (whole > remaining)
      whole = remaining;
    const unsigned char* p = buffer_;
    if (width == sizeof(T)) {
      for (size_t i = 0; i < whole; ++i, p += sizeof(T))
        out[i] = decodeNatural<T>(p);
    } else {
      for (size_t i = 0; i < whole; ++i, p += width)
        out[i] = decode<T>(p, width);
    }
    out += whole;
    remaining -= whole;
    size_t used = whole * width;
    have -= used;
    if (have)
      std::memmove(buffer_, buffer_ + used, have);
  }
  return true;
}

bool BinInput::read(int8_t* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(uint8_t* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(char* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(int16_t* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(uint16_t* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(char16_t* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(int32_t* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(uint32_t* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(uint64_t* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(float* out, size_t width, size_t count) { return readElements(out, width, count); }
bool BinInput::read(double* out, size_t width, size_t count) { return readElements(out, width, count); }

bool BinInput::readRaw(void* out, size_t n) {
  unsigned char* p = static_cast<unsigned char*>(out);
  while (n > 0) {
    size_t got = fill(p, n);
    if (got == 0)
      return false;
    p += got;
    n -= got;
  }
  return true;
}

uint32_t BinInput::peekMagic() {
  int64_t start = tell();
  uint32_t word = 0;
  bool ok = read(&word);
  // A word cut by the end of the data must not move us either.
  seek(start, true);
  return ok ? word : 0xFFFFFFFFu;
}

bool BinInput::useLength32() {
  if (lengthWidth_ != 0)
    return false;
  lengthWidth_ = 32;
  return true;
}

bool BinInput::useLength64() {
  if (lengthWidth_ != 0)
    return false;
  lengthWidth_ = 64;
  return true;
}

//===----------------------------------------------------------------------===//
// BinOutput
//===----------------------------------------------------------------------===//

BinOutput::~BinOutput() = default;

bool BinOutput::flush() { return false; }

bool BinOutput::reservedQuery() { return false; }

bool BinOutput::flushBuffer() {
  if (used_ == 0)
    return true;
  if (gScrambler)
    gScrambler->scramble(buffer_, static_cast<uint64_t>(tell()), used_);
  bool ok = writeBytes(buffer_, used_) != 0;
  used_ = 0;
  return ok;
}

template <class T>
bool BinOutput::writeElements(const T* data, size_t width, size_t count) {
  if (width == 0)
    return count == 0;
  while (count > 0) {
    // A failing flush here shows later, through good() or the flush of a full
    // buffer below.
    if (kBinBufferSize - used_ < kWriteReserve)
      flushBuffer();
    size_t fit = (kBinBufferSize - used_) / width;
    if (fit == 0)
      return false;
    if (fit > count)
      fit = count;
    unsigned char* p = buffer_ + used_;
    if (width == sizeof(T)) {
      for (size_t i = 0; i < fit; ++i, p += sizeof(T))
        encodeNatural(data[i], p);
    } else {
      for (size_t i = 0; i < fit; ++i, p += width)
        encode(data[i], p, width);
    }
    used_ += fit * width;
    data += fit;
    count -= fit;
    if (used_ == kBinBufferSize && !flushBuffer())
      return false;
  }
  return true;
}

bool BinOutput::write(const int8_t* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const uint8_t* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const char* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const int16_t* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const uint16_t* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const char16_t* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const int32_t* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const uint32_t* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const uint64_t* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const float* data, size_t width, size_t count) { return writeElements(data, width, count); }
bool BinOutput::write(const double* data, size_t width, size_t count) { return writeElements(data, width, count); }

bool BinOutput::writeRaw(const void* data, size_t n) {
  const unsigned char* p = static_cast<const unsigned char*>(data);
  while (n > 0) {
    size_t part = kBinBufferSize - used_;
    if (part > n)
      part = n;
    std::memcpy(buffer_ + used_, p, part);
    used_ += part;
    p += part;
    n -= part;
    if (used_ == kBinBufferSize && !flushBuffer())
      return false;
  }
  return true;
}

bool BinOutput::seekTo(int64_t offset, bool fromStart) {
  flushBuffer();
  return seek(offset, fromStart);
}

//===----------------------------------------------------------------------===//
// Files
//===----------------------------------------------------------------------===//

namespace {

constexpr int kFromStart = 0;
constexpr int kFromEnd = 2;

// The stream hands over whole 1024-byte transfers; a stdio buffer larger
// than the default of one page saves most of the system calls. (stdio ignores
// the size unless it is given the memory too.)
constexpr size_t kStdioBuffer = 64 * 1024;

std::FILE* openPath(const KivString& path, const char* mode, char** stdioBuffer) {
  *stdioBuffer = nullptr;
  if (path.isEmpty())
    return nullptr;
  std::FILE* file = kivplatform::openStream(path.utf8Text(), mode);
  if (file) {
    *stdioBuffer = new char[kStdioBuffer];
    std::setvbuf(file, *stdioBuffer, _IOFBF, kStdioBuffer);
  }
  return file;
}

} // namespace

// stdioBuffer_ is initialised after file_, so the open happens in the body.
BinInputFile::BinInputFile(const KivString& path) {
  file_ = openPath(path, "rb", &stdioBuffer_);
  measure();
}

BinInputFile::BinInputFile(std::FILE* file) : file_(file) { measure(); }

BinInputFile::~BinInputFile() { close(); }

void BinInputFile::measure() {
  if (!file_) {
    setSize(0);
    return;
  }
  int64_t here = kivplatform::tellStream(file_);
  int64_t end = 0;
  if (kivplatform::seekStream(file_, 0, kFromEnd))
    end = kivplatform::tellStream(file_);
  setSize(end > 0 ? static_cast<uint64_t>(end) : 0);
  kivplatform::seekStream(file_, here > 0 ? here : 0, kFromStart);
}

// The old stream may still be in use by whoever holds it, with the stdio
// buffer this object gave it: that buffer then lives on with it (never freed).
void BinInputFile::setFile(std::FILE* file) {
  stdioBuffer_ = nullptr;
  file_ = file;
  measure();
}

size_t BinInputFile::readBytes(void* out, size_t n) {
  return file_ ? std::fread(out, 1, n, file_) : 0;
}

int64_t BinInputFile::tell() {
  if (!file_)
    return 0;
  int64_t at = kivplatform::tellStream(file_);
  return at < 0 ? 0 : at;
}

bool BinInputFile::seek(int64_t offset, bool fromStart) {
  return file_ && kivplatform::seekStream(file_, offset, fromStart ? kFromStart : kFromEnd);
}

bool BinInputFile::good() { return file_ && !std::ferror(file_); }

void BinInputFile::close() {
  if (file_) {
    std::fclose(file_);
    file_ = nullptr;
  }
  delete[] stdioBuffer_;
  stdioBuffer_ = nullptr;
}

// The commit flag of other platforms' stdio has no equivalent here: an update
// stream plus a sync in flush() gives the same guarantee.
BinOutputFile::BinOutputFile(const KivString& path) {
  file_ = openPath(path, "w+b", &stdioBuffer_);
}

BinOutputFile::BinOutputFile(std::FILE* file) : file_(file) {}

BinOutputFile::~BinOutputFile() { close(); }

// As BinInputFile::setFile.
void BinOutputFile::setFile(std::FILE* file) {
  stdioBuffer_ = nullptr;
  file_ = file;
}

bool BinOutputFile::flush() {
  if (!file_)
    return false;
  bool written = flushBuffer();
  return kivplatform::commitStream(file_) && written;
}

size_t BinOutputFile::writeBytes(const void* data, size_t n) {
  return file_ ? std::fwrite(data, 1, n, file_) : 0;
}

size_t BinOutputFile::readBytes(void* out, size_t n) {
  return file_ ? std::fread(out, 1, n, file_) : 0;
}

int64_t BinOutputFile::tell() {
  if (!file_)
    return 0;
  int64_t at = kivplatform::tellStream(file_);
  return at < 0 ? 0 : at;
}

bool BinOutputFile::seek(int64_t offset, bool fromStart) {
  return file_ && kivplatform::seekStream(file_, offset, fromStart ? kFromStart : kFromEnd);
}

bool BinOutputFile::good() { return file_ && !std::ferror(file_); }

void BinOutputFile::close() {
  if (file_) {
    std::fclose(file_);
    file_ = nullptr;
  }
  delete[] stdioBuffer_;
  stdioBuffer_ = nullptr;
}

//===----------------------------------------------------------------------===//
// BinMagic
//===----------------------------------------------------------------------===//

BinMagic::BinMagic(int32_t identifier, int version)
    : magic_(identifier < 0 ? static_cast<uint32_t>(identifier)
                            : (static_cast<uint32_t>(identifier) << 8) |
                                  (static_cast<uint32_t>(version) & 0xFF)) {}

BinMagic::BinMagic(BinInput& in, int32_t magic) : magic_(0) {
  in.read(&magic_);
  if (magic_ != static_cast<uint32_t>(magic))
    kivAssert("magic_ == magic", "kivbasictypes/binio", __LINE__);
}

bool BinMagic::readExact(BinInput& in, uint32_t expected) {
  uint32_t word = 0;
  bool ok = in.read(&word);
  magic_ = word;
  return ok && word == expected;
}

bool BinMagic::readSameId(BinInput& in) {
  uint32_t before = magic_;
  uint32_t word = 0;
  bool ok = in.read(&word);
  magic_ = word;
  return ok && (word >> 8) == (before >> 8);
}

bool BinMagic::write(BinOutput& out) const { return out.write(&magic_); }

int32_t BinMagic::identifier() const {
  int32_t word = static_cast<int32_t>(magic_);
  return word < 0 ? -1 : word >> 8;
}

int32_t BinMagic::version() const {
  int32_t word = static_cast<int32_t>(magic_);
  return (word & 255) | (word >> 31);
}

std::ostream& operator<<(std::ostream& os, const BinMagic& magic) {
  return os << magic.identifier() << ' ' << magic.version();
}
