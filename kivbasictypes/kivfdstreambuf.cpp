//===- kivfdstreambuf.cpp - Standard streams over a file descriptor ------===//
#include "kivbasictypes/kivfdstreambuf.h"

#include "core/kivassert.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"

#include <algorithm>
#include <cstring>

namespace {

// No single transfer is larger than this.
constexpr int64_t kMaxTransfer = 0x7fffffff;

// Writes all n bytes or gives false.
bool writeAll(int fd, const char* data, int64_t n) {
  while (n > 0) {
    int64_t done = kivplatform::writeOnce(fd, data, std::min(n, kMaxTransfer));
    if (done <= 0)
      return false;
    data += done;
    n -= done;
  }
  return true;
}

} // namespace

KivFdStreambuf::~KivFdStreambuf() {
  close();
  if (ownsBuffer_)
    delete[] buffer_;
}

void KivFdStreambuf::setMode(std::ios_base::openmode mode) {
  mode_ = 0;
  if (mode & std::ios_base::in)
    mode_ |= kIn;
  if (mode & std::ios_base::out)
    mode_ |= kOut;
}

void KivFdStreambuf::allocateBuffer() {
  if (buffer_ || bufferSize_ <= 1)
    return;
  buffer_ = new char[static_cast<size_t>(bufferSize_)];
  ownsBuffer_ = true;
}

KivFdStreambuf* KivFdStreambuf::open(const KivString& path, std::ios_base::openmode mode) {
  return open(path.isEmpty() ? "" : path.utf8Text(), mode);
}

KivFdStreambuf* KivFdStreambuf::open(const char* path, std::ios_base::openmode mode) {
  if (fd_ >= 0)
    return nullptr;
  const bool in = (mode & std::ios_base::in) != 0;
  const bool out = (mode & std::ios_base::out) != 0;
  if (!in && !out) {
    kivAssert("mode & (in | out)", "kivbasictypes/kivfdstreambuf", __LINE__);
    return nullptr;
  }
  const bool keep = (mode & (std::ios_base::in | std::ios_base::ate | std::ios_base::app)) != 0;
  // Truncation needs write access; a read-only open never truncates.
  const bool truncate = out && ((mode & std::ios_base::trunc) != 0 || !keep);
  const bool append = (mode & std::ios_base::app) != 0;
  int fd = kivplatform::openDescriptor(path, in, out, out, truncate, append);
  if (fd < 0)
    return nullptr;
  if ((mode & std::ios_base::ate) && kivplatform::seekDescriptor(fd, 0, 2) < 0) {
    kivplatform::closeFile(fd);
    return nullptr;
  }
  fd_ = fd;
  setMode(mode);
  allocateBuffer();
  return this;
}

KivFdStreambuf* KivFdStreambuf::attach(int fd, std::ios_base::openmode mode) {
  if (fd_ >= 0 || fd < 0)
    return nullptr;
  fd_ = fd;
  setMode(mode);
  allocateBuffer();
  return this;
}

KivFdStreambuf* KivFdStreambuf::close() {
  if (fd_ < 0)
    return nullptr;
  bool ok = writeOutPutArea();
  dropAreas();
  kivplatform::closeFile(fd_);
  fd_ = -1;
  mode_ = 0;
  return ok ? this : nullptr;
}

std::streambuf* KivFdStreambuf::setbuf(char_type* s, std::streamsize n) {
  if (mode_ & (kGetActive | kPutActive))
    return nullptr;  // not while an area is in use
  if (ownsBuffer_)
    delete[] buffer_;
  ownsBuffer_ = false;
  buffer_ = s;
  bufferSize_ = s ? n : 0;
  return this;
}

void KivFdStreambuf::dropAreas() {
  setg(nullptr, nullptr, nullptr);
  setp(nullptr, nullptr);
  mode_ &= ~(kGetActive | kPutActive);
}

bool KivFdStreambuf::writeOutPutArea() {
  if (!(mode_ & kPutActive))
    return true;
  const int64_t n = pptr() - pbase();
  bool ok = writeAll(fd_, pbase(), n);
  setp(nullptr, nullptr);
  mode_ &= ~kPutActive;
  return ok;
}

KivFdStreambuf::int_type KivFdStreambuf::underflow() {
  if (fd_ < 0 || !(mode_ & kIn) || (mode_ & kPutActive))
    return traits_type::eof();
  if (gptr() && gptr() < egptr())
    return traits_type::to_int_type(*gptr());
  char* area = bufferSize_ > 1 && buffer_ ? buffer_ : &oneChar_;
  const int64_t size = area == buffer_ ? std::min(bufferSize_, kMaxTransfer) : 1;
  const int64_t n = kivplatform::readOnce(fd_, area, size);
  if (n <= 0) {
    setg(nullptr, nullptr, nullptr);
    mode_ &= ~kGetActive;
    return traits_type::eof();
  }
  setg(area, area, area + n);
  mode_ |= kGetActive;
  return traits_type::to_int_type(*gptr());
}

KivFdStreambuf::int_type KivFdStreambuf::overflow(int_type c) {
  if (fd_ < 0 || !(mode_ & kOut) || (mode_ & kGetActive))
    return traits_type::eof();
  const bool isEof = traits_type::eq_int_type(c, traits_type::eof());
  if (bufferSize_ <= 1 || !buffer_) {
    // Unbuffered: each character goes out by itself.
    if (isEof)
      return traits_type::not_eof(c);
    char ch = traits_type::to_char_type(c);
    return writeAll(fd_, &ch, 1) ? c : traits_type::eof();
  }
  if ((mode_ & kPutActive) && pptr() == epptr() && !writeOutPutArea())
    return traits_type::eof();
  if (!(mode_ & kPutActive)) {
    setp(buffer_, buffer_ + bufferSize_);
    mode_ |= kPutActive;
  }
  if (isEof)
    return traits_type::not_eof(c);
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c;
}

// Unread bytes of the get area are already past the descriptor's position,
// so a seek from the current position counts them back.
KivFdStreambuf::pos_type KivFdStreambuf::seekoff(off_type off, std::ios_base::seekdir dir,
                                                 std::ios_base::openmode) {
  if (fd_ < 0 || !writeOutPutArea())
    return pos_type(off_type(-1));
  const off_type unread = (mode_ & kGetActive) ? egptr() - gptr() : 0;
  dropAreas();
  int origin = 0;
  if (dir == std::ios_base::cur) {
    origin = 1;
    off -= unread;
  } else if (dir == std::ios_base::end) {
    origin = 2;
  }
  const int64_t at = kivplatform::seekDescriptor(fd_, off, origin);
  return at < 0 ? pos_type(off_type(-1)) : pos_type(off_type(at));
}

KivFdStreambuf::pos_type KivFdStreambuf::seekpos(pos_type pos, std::ios_base::openmode which) {
  return seekoff(off_type(pos), std::ios_base::beg, which);
}

// Large reads go straight to the descriptor; what is left in the get area
// comes first, and a short tail goes through the buffer so that many small
// reads do not each cost a system call.
std::streamsize KivFdStreambuf::xsgetn(char_type* s, std::streamsize n) {
  if (fd_ < 0 || !(mode_ & kIn) || (mode_ & kPutActive) || n <= 0)
    return 0;
  std::streamsize done = 0;
  if (mode_ & kGetActive) {
    const std::streamsize take = std::min<std::streamsize>(n, egptr() - gptr());
    std::memcpy(s, gptr(), static_cast<size_t>(take));
    gbump(static_cast<int>(take));
    done = take;
  }
  while (done < n) {
    const std::streamsize left = n - done;
    if (left < bufferSize_) {
      if (traits_type::eq_int_type(underflow(), traits_type::eof()))
        break;
      const std::streamsize take = std::min<std::streamsize>(left, egptr() - gptr());
      std::memcpy(s + done, gptr(), static_cast<size_t>(take));
      gbump(static_cast<int>(take));
      done += take;
      continue;
    }
    const int64_t got = kivplatform::readOnce(fd_, s + done, std::min<int64_t>(left, kMaxTransfer));
    if (got <= 0)
      break;
    done += got;
  }
  return done;
}

// Output that fits the put area is gathered there; anything larger writes the
// area out and goes straight to the descriptor.
std::streamsize KivFdStreambuf::xsputn(const char_type* s, std::streamsize n) {
  if (fd_ < 0 || !(mode_ & kOut) || (mode_ & kGetActive) || n <= 0)
    return 0;
  if (buffer_ && bufferSize_ > 1) {
    if (!(mode_ & kPutActive)) {
      setp(buffer_, buffer_ + bufferSize_);
      mode_ |= kPutActive;
    }
    if (n <= epptr() - pptr()) {
      std::memcpy(pptr(), s, static_cast<size_t>(n));
      pbump(static_cast<int>(n));
      return n;
    }
  }
  if (!writeOutPutArea())
    return 0;
  std::streamsize done = 0;
  while (done < n) {
    const int64_t put =
        kivplatform::writeOnce(fd_, s + done, std::min<int64_t>(n - done, kMaxTransfer));
    if (put <= 0)
      break;
    done += put;
  }
  return done;
}

int KivFdStreambuf::sync() {
  if (fd_ < 0)
    return 0;
  return writeOutPutArea() ? 0 : -1;
}

//===----------------------------------------------------------------------===//
// Streams
//===----------------------------------------------------------------------===//

namespace {

template <class Stream, class Path>
void openStream(Stream& stream, KivFdStreambuf& buffer, const Path& path,
                std::ios_base::openmode mode) {
  if (buffer.open(path, mode))
    stream.clear();
  else
    stream.setstate(std::ios_base::failbit | std::ios_base::badbit);
}

} // namespace

KivFstream::KivFstream() { init(&buffer_); }
KivFstream::KivFstream(const char* path, std::ios_base::openmode mode) : KivFstream() { open(path, mode); }
KivFstream::KivFstream(const KivString& path, std::ios_base::openmode mode) : KivFstream() { open(path, mode); }
void KivFstream::open(const char* path, std::ios_base::openmode mode) { openStream(*this, buffer_, path, mode); }
void KivFstream::open(const KivString& path, std::ios_base::openmode mode) { openStream(*this, buffer_, path, mode); }
void KivFstream::close() {
  if (!buffer_.close())
    setstate(std::ios_base::failbit);
}

KivIfstream::KivIfstream() { init(&buffer_); }
KivIfstream::KivIfstream(const char* path, std::ios_base::openmode mode) : KivIfstream() { open(path, mode); }
KivIfstream::KivIfstream(const KivString& path, std::ios_base::openmode mode) : KivIfstream() { open(path, mode); }
void KivIfstream::open(const char* path, std::ios_base::openmode mode) {
  openStream(*this, buffer_, path, mode | std::ios_base::in);
}
void KivIfstream::open(const KivString& path, std::ios_base::openmode mode) {
  openStream(*this, buffer_, path, mode | std::ios_base::in);
}
void KivIfstream::close() {
  if (!buffer_.close())
    setstate(std::ios_base::failbit);
}

KivOfstream::KivOfstream() { init(&buffer_); }
KivOfstream::KivOfstream(const char* path, std::ios_base::openmode mode) : KivOfstream() { open(path, mode); }
KivOfstream::KivOfstream(const KivString& path, std::ios_base::openmode mode) : KivOfstream() { open(path, mode); }
void KivOfstream::open(const char* path, std::ios_base::openmode mode) {
  openStream(*this, buffer_, path, mode | std::ios_base::out);
}
void KivOfstream::open(const KivString& path, std::ios_base::openmode mode) {
  openStream(*this, buffer_, path, mode | std::ios_base::out);
}
void KivOfstream::close() {
  if (!buffer_.close())
    setstate(std::ios_base::failbit);
}
