//===- kivfdstreambuf.h - Standard streams over a file descriptor -*- C++ -*-===//
//
// KivFdStreambuf is a std::streambuf on a file descriptor, for text-like use
// beside the binary streams. KivFstream, KivIfstream and KivOfstream are the
// usual stream classes over it.
//
// Invariants a user must know:
//  - One buffer (1024 bytes unless setbuf gave another) serves reading and
//    writing, and the buffer is in at most one of the two modes. After writing,
//    seek (or sync) before reading, and the other way round, as with stdio.
//  - A wide path (KivString) reaches the system as UTF-8; an 8-bit path is
//    taken as UTF-8 already. Created files get the permissions 0600. There is
//    no text mode here: binary and text open the same.
//  - The descriptor belongs to the buffer: close() and the destructor close
//    it, also one handed over by attach(). A closed buffer can be opened again.
//  - A stream whose open fails has failbit and badbit set.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <streambuf>

class KivString;

class KivFdStreambuf : public std::streambuf {
public:
  KivFdStreambuf() = default;
  KivFdStreambuf(const KivFdStreambuf&) = delete;
  KivFdStreambuf& operator=(const KivFdStreambuf&) = delete;
  ~KivFdStreambuf() override;

  // Null if a descriptor is open already or the open fails. The file is
  // truncated with `trunc`, or when none of in, ate and app is given.
  KivFdStreambuf* open(const char* path, std::ios_base::openmode mode);
  KivFdStreambuf* open(const KivString& path, std::ios_base::openmode mode);
  // Takes over an open descriptor; only the in and out bits of mode count.
  KivFdStreambuf* attach(int fd, std::ios_base::openmode mode);
  // Writes out pending output and closes; null if nothing was open or the
  // output could not be written.
  KivFdStreambuf* close();
  bool isOpen() const { return fd_ >= 0; }
  int fd() const { return fd_; }

protected:
  std::streambuf* setbuf(char_type* s, std::streamsize n) override;
  int_type underflow() override;
  int_type overflow(int_type c) override;
  pos_type seekoff(off_type off, std::ios_base::seekdir dir,
                   std::ios_base::openmode which) override;
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;
  std::streamsize xsgetn(char_type* s, std::streamsize n) override;
  std::streamsize xsputn(const char_type* s, std::streamsize n) override;
  int sync() override;

private:
  enum : int32_t { kIn = 1, kOut = 2, kGetActive = 4, kPutActive = 8 };

  void setMode(std::ios_base::openmode mode);
  void allocateBuffer();
  // Writes out the put area and leaves put mode; false on a short write.
  bool writeOutPutArea();
  // Drops both areas.
  void dropAreas();

  bool ownsBuffer_ = false;
  int32_t fd_ = -1;
  int32_t mode_ = 0;
  int64_t bufferSize_ = 1024;
  char* buffer_ = nullptr;
  // The get area of an unbuffered stream.
  char oneChar_ = 0;
};

class KivFstream : public std::iostream {
public:
  KivFstream();
  KivFstream(const char* path, std::ios_base::openmode mode = in | out);
  KivFstream(const KivString& path, std::ios_base::openmode mode = in | out);
  void open(const char* path, std::ios_base::openmode mode = in | out);
  void open(const KivString& path, std::ios_base::openmode mode = in | out);
  void close();
  bool isOpen() const { return buffer_.isOpen(); }
  KivFdStreambuf* rdbuf() { return &buffer_; }

private:
  KivFdStreambuf buffer_;
};

class KivIfstream : public std::istream {
public:
  KivIfstream();
  KivIfstream(const char* path, std::ios_base::openmode mode = in);
  KivIfstream(const KivString& path, std::ios_base::openmode mode = in);
  void open(const char* path, std::ios_base::openmode mode = in);
  void open(const KivString& path, std::ios_base::openmode mode = in);
  void close();
  bool isOpen() const { return buffer_.isOpen(); }
  KivFdStreambuf* rdbuf() { return &buffer_; }

private:
  KivFdStreambuf buffer_;
};

class KivOfstream : public std::ostream {
public:
  KivOfstream();
  KivOfstream(const char* path, std::ios_base::openmode mode = out);
  KivOfstream(const KivString& path, std::ios_base::openmode mode = out);
  void open(const char* path, std::ios_base::openmode mode = out);
  void open(const KivString& path, std::ios_base::openmode mode = out);
  void close();
  bool isOpen() const { return buffer_.isOpen(); }
  KivFdStreambuf* rdbuf() { return &buffer_; }

private:
  KivFdStreambuf buffer_;
};
