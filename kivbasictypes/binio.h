//===- binio.h - Big-endian binary streams ----------------------*- C++ -*-===//
//
// BinInput and BinOutput move typed values between memory and a byte source or
// sink. Every number leaves in big-endian order, converted byte by byte, so the
// machine's own order never matters. Each stream has a 1024-byte transfer
// buffer inside the object.
//
// Invariants a user must know:
//  - BinInput reads nothing ahead: after any call, tell() is the position of
//    the next unread byte. A failed read gives false and leaves the element
//    that could not be completed as it was; elements before it are delivered.
//  - BinOutput keeps up to 1024 bytes in its buffer. position() counts them,
//    tell() does not. Only flush(), seekTo() and a full buffer move bytes to
//    the sink; deleting a stream without flush() drops what is buffered.
//  - `width` is the number of bytes one element occupies in the stream (1 to
//    1024). Integers are sign- or zero-extended from a narrower width and keep
//    their low-order bytes from a wider one; floats are their bit patterns.
//  - good() reports the sink's error state only, not the end of the data.
//  - The installed scrambler is process-wide and unlocked: install it before
//    any stream exists. A stream belongs to one thread.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iosfwd>

class KivString;

// A hook through which all bytes pass on their way to and from the file. The
// system ships none; a host may install one.
class BinIO_Scrambler {
public:
  virtual ~BinIO_Scrambler();
  virtual void scramble(void* buffer, uint64_t fileOffset, size_t length) = 0;
  virtual void unscramble(void* buffer, uint64_t fileOffset, size_t length) = 0;
};

// Takes ownership and deletes the previous scrambler; installing the one
// already installed does nothing. Null removes it.
void setScrambler(BinIO_Scrambler* scrambler);
BinIO_Scrambler* installedScrambler();

inline constexpr size_t kBinBufferSize = 1024;

class BinInput {
public:
  BinInput() = default;
  BinInput(const BinInput&) = delete;
  BinInput& operator=(const BinInput&) = delete;
  virtual ~BinInput();

  // Bytes delivered, fewer than n at the end of the data or on error.
  virtual size_t readBytes(void* out, size_t n) = 0;
  virtual int64_t tell() = 0;
  // From the start when fromStart, else from the end.
  virtual bool seek(int64_t offset, bool fromStart) = 0;
  virtual bool good() = 0;
  virtual void close() = 0;

  // True if all `count` elements arrived; count 0 touches nothing.
  bool read(int8_t* out, size_t width, size_t count);
  bool read(uint8_t* out, size_t width, size_t count);
  bool read(char* out, size_t width, size_t count);
  bool read(int16_t* out, size_t width, size_t count);
  bool read(uint16_t* out, size_t width, size_t count);
  bool read(char16_t* out, size_t width, size_t count);  // 16-bit text units
  bool read(int32_t* out, size_t width, size_t count);
  bool read(uint32_t* out, size_t width, size_t count);
  bool read(uint64_t* out, size_t width, size_t count);
  bool read(float* out, size_t width, size_t count);
  bool read(double* out, size_t width, size_t count);
  // Natural width.
  template <class T>
  bool read(T* out, size_t count = 1) {
    return read(out, sizeof(T), count);
  }

  // n bytes straight from the source, unscrambled, without the buffer.
  bool readRaw(void* out, size_t n);
  // The next 32-bit word without moving; 0xFFFFFFFF at the end of the data.
  uint32_t peekMagic();

  uint64_t size() const { return fileSize_; }
  // Fix the width of block lengths once: true if it was still undecided.
  bool useLength32();
  bool useLength64();
  // 0 undecided, 32 or 64.
  int lengthBits() const { return lengthWidth_; }

protected:
  void setSize(uint64_t size) { fileSize_ = size; }

private:
  template <class T>
  bool readElements(T* out, size_t width, size_t count);
  // readBytes into the buffer, with the scrambler's unscramble.
  size_t fill(unsigned char* into, size_t n);

  unsigned char buffer_[kBinBufferSize];
  uint64_t fileSize_ = 0;
  int32_t lengthWidth_ = 0;
};

class BinOutput {
public:
  BinOutput() = default;
  BinOutput(const BinOutput&) = delete;
  BinOutput& operator=(const BinOutput&) = delete;
  // Does not flush the buffer.
  virtual ~BinOutput();

  // Writes out the buffer and commits the sink; false in the base class.
  virtual bool flush();
  // No caller; keeps its place among the operations.
  virtual bool reservedQuery();
  // Bytes accepted; 0 means failure.
  virtual size_t writeBytes(const void* data, size_t n) = 0;
  // For a sink opened for update.
  virtual size_t readBytes(void* out, size_t n) = 0;
  // The sink's position, without the buffer.
  virtual int64_t tell() = 0;
  virtual bool seek(int64_t offset, bool fromStart) = 0;
  virtual bool good() = 0;
  virtual void close() = 0;

  // False if an element could not be placed or a full buffer could not be
  // written out.
  bool write(const int8_t* data, size_t width, size_t count);
  bool write(const uint8_t* data, size_t width, size_t count);
  bool write(const char* data, size_t width, size_t count);
  bool write(const int16_t* data, size_t width, size_t count);
  bool write(const uint16_t* data, size_t width, size_t count);
  bool write(const char16_t* data, size_t width, size_t count);
  bool write(const int32_t* data, size_t width, size_t count);
  bool write(const uint32_t* data, size_t width, size_t count);
  bool write(const uint64_t* data, size_t width, size_t count);
  bool write(const float* data, size_t width, size_t count);
  bool write(const double* data, size_t width, size_t count);
  template <class T>
  bool write(const T* data, size_t count = 1) {
    return write(data, sizeof(T), count);
  }

  // Bytes as they are, through the buffer, filling it to the last byte.
  bool writeRaw(const void* data, size_t n);
  // Hands the buffered bytes to writeBytes (scrambled); true if nothing was
  // pending or writeBytes took them. The buffer is empty afterwards.
  bool flushBuffer();

  // The logical write position: tell() plus the buffered bytes.
  int64_t position() { return tell() + static_cast<int64_t>(used_); }
  bool seekTo(int64_t offset, bool fromStart);

  int fileVersion() const { return fileVersion_; }
  void setFileVersion(int version) { fileVersion_ = version; }
  bool pngImages() const { return pngImages_ != 0; }
  void setPngImages(bool on) { pngImages_ = on ? 1 : 0; }

private:
  template <class T>
  bool writeElements(const T* data, size_t width, size_t count);

  unsigned char buffer_[kBinBufferSize];
  uint64_t used_ = 0;
  int32_t fileVersion_ = 0;
  uint8_t pngImages_ = 0;
};

// A file read through stdio. Owns the stream: close() and the destructor
// fclose it. A missing or unreadable file leaves no stream: good() false,
// size() 0, every read false.
class BinInputFile : public BinInput {
public:
  // An empty path opens nothing. The path leaves as UTF-8.
  explicit BinInputFile(const KivString& path);
  // Takes over an open stream; the size is measured, the position kept.
  explicit BinInputFile(std::FILE* file);
  ~BinInputFile() override;

  size_t readBytes(void* out, size_t n) override;
  int64_t tell() override;
  bool seek(int64_t offset, bool fromStart) override;
  bool good() override;
  void close() override;

  // Replaces the stream without closing the old one.
  void setFile(std::FILE* file);
  std::FILE* file() const { return file_; }

private:
  void measure();

  std::FILE* file_ = nullptr;
  // The stdio buffer of a file opened here; freed after fclose.
  char* stdioBuffer_ = nullptr;
};

// A file written through stdio, created or truncated, opened for update so
// that block lengths can be patched in place. flush() also pushes the data to
// the disk. Owns the stream; the destructor closes it without flushing.
class BinOutputFile : public BinOutput {
public:
  explicit BinOutputFile(const KivString& path);
  explicit BinOutputFile(std::FILE* file);
  ~BinOutputFile() override;

  bool flush() override;
  size_t writeBytes(const void* data, size_t n) override;
  size_t readBytes(void* out, size_t n) override;
  int64_t tell() override;
  bool seek(int64_t offset, bool fromStart) override;
  bool good() override;
  void close() override;

  void setFile(std::FILE* file);
  std::FILE* file() const { return file_; }

private:
  std::FILE* file_ = nullptr;
  char* stdioBuffer_ = nullptr;
};

// A 32-bit record tag: a 24-bit identifier above an 8-bit version. The head
// word of every block of the data-model file has this form.
class BinMagic {
public:
  explicit BinMagic(uint32_t word = 0) : magic_(word) {}
  // A negative identifier is stored as it stands, without the version.
  BinMagic(int32_t identifier, int version);
  // Reads a word and requires it to be `magic` (an assertion otherwise); the
  // word read is kept either way.
  BinMagic(BinInput& in, int32_t magic);

  bool readExact(BinInput& in, uint32_t expected);
  // True if the identifier read equals the one held before: any version of
  // the same record is accepted.
  bool readSameId(BinInput& in);
  bool write(BinOutput& out) const;

  int32_t identifier() const;
  int32_t version() const;
  uint32_t word() const { return magic_; }

  friend bool operator==(const BinMagic& a, const BinMagic& b) { return a.magic_ == b.magic_; }
  friend bool operator!=(const BinMagic& a, const BinMagic& b) { return a.magic_ != b.magic_; }

private:
  uint32_t magic_;
};

// "identifier version".
std::ostream& operator<<(std::ostream& os, const BinMagic& magic);
