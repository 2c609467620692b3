//===- binstreams.h - In-memory streams for the binary stream tests -*- C++ -*-===//
//
// MemoryInput serves a byte vector, at most `chunk` bytes per readBytes call
// (1 models a source that trickles). MemoryOutput is a seekable sink that can
// be told to fail after a number of bytes. SparseOutput records only the first
// bytes it is given and counts the rest, so a test can write a block of
// several GiB by seeking over it.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/binio.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

// "01 02 0a" -> {1, 2, 10}; blanks and newlines are ignored.
inline Bytes hexBytes(const char* text) {
  Bytes out;
  int nibble = -1;
  for (const char* p = text; *p; ++p) {
    int v;
    if (*p >= '0' && *p <= '9')
      v = *p - '0';
    else if (*p >= 'a' && *p <= 'f')
      v = *p - 'a' + 10;
    else if (*p >= 'A' && *p <= 'F')
      v = *p - 'A' + 10;
    else
      continue;
    if (nibble < 0) {
      nibble = v;
    } else {
      out.push_back(static_cast<uint8_t>(nibble * 16 + v));
      nibble = -1;
    }
  }
  return out;
}

inline std::string hexText(const Bytes& bytes) {
  static const char* digits = "0123456789ABCDEF";
  std::string s;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i)
      s += ' ';
    s += digits[bytes[i] >> 4];
    s += digits[bytes[i] & 15];
  }
  return s;
}

class MemoryInput : public BinInput {
public:
  explicit MemoryInput(Bytes data, size_t chunk = SIZE_MAX) : data_(std::move(data)), chunk_(chunk) {
    setSize(data_.size());
  }
  size_t readBytes(void* out, size_t n) override {
    ++calls;
    size_t left = pos_ < data_.size() ? data_.size() - pos_ : 0;
    n = std::min({n, left, chunk_});
    if (n)
      std::memcpy(out, data_.data() + pos_, n);
    pos_ += n;
    return n;
  }
  int64_t tell() override { return static_cast<int64_t>(pos_); }
  bool seek(int64_t offset, bool fromStart) override {
    int64_t target = fromStart ? offset : static_cast<int64_t>(data_.size()) + offset;
    if (target < 0)
      return false;
    pos_ = static_cast<size_t>(target);
    return true;
  }
  bool good() override { return true; }
  void close() override {}

  int calls = 0;

private:
  Bytes data_;
  size_t pos_ = 0;
  size_t chunk_;
};

class MemoryOutput : public BinOutput {
public:
  bool flush() override {
    ++flushes;
    return flushBuffer() && !bad;
  }
  size_t writeBytes(const void* data, size_t n) override {
    ++writes;
    if (bytesWritten + n > failAfter) {
      bad = true;
      return 0;
    }
    bytesWritten += n;
    if (pos_ + n > data_.size())
      data_.resize(pos_ + n);
    std::memcpy(data_.data() + pos_, data, n);
    pos_ += n;
    return n;
  }
  size_t readBytes(void* out, size_t n) override {
    size_t left = pos_ < data_.size() ? data_.size() - pos_ : 0;
    n = std::min(n, left);
    if (n)
      std::memcpy(out, data_.data() + pos_, n);
    pos_ += n;
    return n;
  }
  int64_t tell() override { return static_cast<int64_t>(pos_); }
  bool seek(int64_t offset, bool fromStart) override {
    int64_t target = fromStart ? offset : static_cast<int64_t>(data_.size()) + offset;
    if (target < 0)
      return false;
    pos_ = static_cast<size_t>(target);
    return true;
  }
  bool good() override { return !bad; }
  void close() override {}

  const Bytes& bytes() const { return data_; }

  size_t failAfter = SIZE_MAX;
  size_t bytesWritten = 0;
  int flushes = 0;
  int writes = 0;
  bool bad = false;

private:
  Bytes data_;
  size_t pos_ = 0;
};

// Keeps the first kKept bytes, counts the rest; seeks anywhere.
class SparseOutput : public BinOutput {
public:
  static constexpr uint64_t kKept = 4096;
  size_t writeBytes(const void* data, size_t n) override {
    const uint8_t* p = static_cast<const uint8_t*>(data);
    for (size_t i = 0; i < n && pos_ + i < kKept; ++i) {
      if (head_.size() <= pos_ + i)
        head_.resize(pos_ + i + 1);
      head_[pos_ + i] = p[i];
    }
    pos_ += n;
    extent = std::max(extent, pos_);
    return n;
  }
  size_t readBytes(void*, size_t) override { return 0; }
  int64_t tell() override { return static_cast<int64_t>(pos_); }
  bool seek(int64_t offset, bool fromStart) override {
    int64_t target = fromStart ? offset : static_cast<int64_t>(extent) + offset;
    if (target < 0)
      return false;
    pos_ = static_cast<uint64_t>(target);
    extent = std::max(extent, pos_);
    return true;
  }
  bool good() override { return true; }
  void close() override {}

  const Bytes& head() const { return head_; }
  uint64_t extent = 0;

private:
  Bytes head_;
  uint64_t pos_ = 0;
};
