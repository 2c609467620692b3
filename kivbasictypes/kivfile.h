//===- kivfile.h - The data-model file: nested length-prefixed blocks -*- C++ -*-===//
//
// A file is one root block, tag 0x544F56 ("TOV"), whose payload is the stored
// object. Every block starts with (tag << 8) | version and a length covering
// the whole block, head included: 32 bits wide when the root's version is 0,
// 64 bits when it is 1. A writer picks the width from its file version: 1 to
// 9 give 32-bit lengths, every other number (0, 10 and above) 64-bit ones.
//
// Writer: beginBlock() writes a zero length that endBlock() patches by seeking
// back; close() patches the root and, for a file it opened, flushes and
// commits it. The destructor of an unfinished writer still closes every open
// block, so the lengths in the file stay valid. A length that does not fit 32
// bits is written as 0xFFFFFFFF and turns good() false.
//
// Reader: every block is checked before it is trusted: its end must lie
// behind its head and inside the file. It is not checked against the block
// that holds it: the parent's endBlock() seeks back to the parent's end. A
// root of length 0 reaches to the end of the file. A bad block turns good()
// false for good (see ikivdatamodelreader.h); nothing here throws. A
// reader's good() comes back only through attach() or open(). A typed value
// is read all the same from a block shorter than the value (the rest comes
// from the bytes behind it, within the file); a string block that leaves the
// file fails only the strings, and the reader goes back to its head.
//
// Both are created directly (stack or new), not through the class table, and
// belong to one thread. A stream handed to attach() stays the caller's.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "core/kivclassid.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/kivstring.h"

#include <cstdint>

class BinInput;
class BinOutput;

class KivFileWrite : public IKivDataModelWriter {
public:
  KivFileWrite();
  // attach(stream, owned).
  KivFileWrite(BinOutput* stream, bool owned);
  KivFileWrite(const KivFileWrite&) = delete;
  KivFileWrite& operator=(const KivFileWrite&) = delete;
  ~KivFileWrite() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "KivFileWrite"; }

  bool writeBinary(IKivBinaryIO* object) override;
  bool writeSerial(IKivSerial* object) override;
  bool writeClassId(const KivClassId& id) override;
  bool writeVector2F(const Vector2F& v) override;
  bool writeVector2D(const Vector2D& v) override;
  bool writeMatrix(const KivMatrix& m) override;
  bool writeVector(const KivVector& v) override;
  bool writeString(const KivString& s) override;
  bool writeCString(const KivCString& s) override;
  bool writeDouble(double v) override;
  bool writeFloat(float v) override;
  bool writeUInt32(uint32_t v) override;
  bool writeInt32(int32_t v) override;
  bool writeBool(bool v) override;
  bool writeUInt8(uint8_t v) override;
  bool beginSection(IKivWriteable* object, int version) override;
  bool endSection(IKivWriteable* object) override;
  bool beginProperty(const KivString& name) override;
  bool endProperty(const KivString& name) override;
  bool beginClassBlock(const KivClassId& id, int version) override;
  bool beginBlock(uint32_t tag, int version) override;
  bool endBlock() override;
  bool good() override;

  // The stream open() writes to; a BinOutputFile here.
  virtual BinOutput* createStream(const KivString& path);

  // Creates the file and writes the root's head. False, and no stream, if
  // the file cannot be created.
  bool open(const KivString& path);
  // Ends every open block, the root included; flushes a stream this writer
  // closes and deletes one it owns. True if everything reached the stream
  // (good() cannot tell any more once the stream is gone).
  bool close();
  // Finishes the previous stream (all blocks but the root; the root too if
  // this writer closes it), then writes to `stream`. With `owned` the writer
  // closes the root and flushes at close(); the stream itself stays the
  // caller's.
  void attach(BinOutput* stream, bool owned);
  void setFileVersion(int version);
  int fileVersion() const { return fileVersion_; }
  // The root's head on an attached stream.
  bool writeRootHead();

  BinOutput* stream() const { return stream_; }
  int depth() const { return depth_; }

private:
  bool wideLengths() const { return fileVersion_ < 1 || fileVersion_ > 9; }
  // Writes typed-block values; stream_ is set.
  bool typedBlock(uint32_t tag, const double* values, size_t count);
  bool streamReady(int line);

  IterStack<int64_t> starts_{1};
  int32_t depth_ = 0;
  BinOutput* stream_ = nullptr;
  uint8_t ownsStream_ = 0;
  uint8_t good_ = 1;
  uint8_t closesRoot_ = 0;
  int32_t fileVersion_ = 0;
};

class KivFileRead : public IKivDataModelReader {
public:
  // No stream: good() false.
  KivFileRead();
  // attach(stream).
  explicit KivFileRead(BinInput* stream);
  KivFileRead(const KivFileRead&) = delete;
  KivFileRead& operator=(const KivFileRead&) = delete;
  ~KivFileRead() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "KivFileRead"; }

  bool readBinary(IKivBinaryIO* object) override;
  bool readSerial(IKivSerial* object) override;
  bool readClassId(KivClassId* out) override;
  bool readVector2F(Vector2F* out) override;
  bool readVector2D(Vector2D* out) override;
  bool readMatrix(KivMatrix* out) override;
  bool readVector(KivVector* out) override;
  bool readString(KivString* out) override;
  bool readCString(KivCString* out) override;
  bool readDouble(double* out) override;
  bool readFloat(float* out) override;
  bool readUInt32(uint32_t* out) override;
  bool readInt32(int32_t* out) override;
  bool readBool(bool* out) override;
  bool readUInt8(uint8_t* out) override;
  const KivClassId* peekClassId() override;
  bool beginSection(IKivWriteable* object, int* version) override;
  bool endSection(IKivWriteable* object) override;
  const KivString* peekPropertyName() override;
  bool beginProperty(KivString* name, KivClassId* out) override;
  bool endProperty(const KivString& name) override;
  bool nextBlock() override;
  bool atBlockEnd() override;
  bool endBlock() override;
  int tag() override { return static_cast<int>(tag_); }
  int version() override { return static_cast<int>(version_); }
  KivClassId* classId() override { return &classId_; }
  bool good() override;
  uint32_t peekTag() override;

  // The stream open() reads from; a BinInputFile here.
  virtual BinInput* createStream(const KivString& path);

  // False only if there is no readable file. A file that is there but is no
  // data-model file opens with good() false.
  bool open(const KivString& path);
  void close();
  // Reads from `stream`, which stays the caller's; depth 0, good() true.
  void attach(BinInput* stream);
  // Enters the root block: true if it is one this reader understands.
  bool readRootHead();
  // nextBlock() and a matching tag (and a version up to maxVersion);
  // otherwise good() goes false.
  bool expectBlock(uint32_t tag);
  bool expectBlock(uint32_t tag, int maxVersion);
  // Steps over the next block; gives good().
  bool skipBlock();
  // Bytes left in the innermost block (in the file at depth 0).
  int64_t bytesLeft();
  // Whether the next block is a section of this class, without moving;
  // *version is its version, or -1.
  bool peekObject(const KivClassId& id, int* version);
  // Whether the next block has this tag, without moving or checking its
  // length; *version is its version, or -1.
  bool peekBlock(uint32_t tag, int* version);
  void markBad() { good_ = 0; }
  // The block 0x10007 as a typed block; false (values zeroed) if no block
  // could be entered.
  bool readFourDoubles(double* values);

  // False once a string block had another tag or left the file; all later
  // strings of this reader are then empty.
  bool stringsGood() const { return stringsGood_ != 0; }
  BinInput* stream() const { return stream_; }
  int depth() const { return depth_; }

private:
  struct Head;
  // Reads the head at the current position; false if it could not be read.
  bool readHead(Head* head, bool decidesWidth);
  // Reads `count` numbers of a typed block; false (nothing entered) leaves
  // `values` zeroed.
  template <class T>
  bool typedValues(uint32_t tag, T* values, size_t count);
  bool typedBlock(uint32_t tag, double* values, size_t count);
  bool enterTyped(uint32_t tag, bool* entered);
  // The string block at the current position, units into *out.
  void readStringBlock(KivString* out);
  int64_t innerEnd();

  IterStack<int64_t> ends_{2};
  int32_t depth_ = 0;
  BinInput* stream_ = nullptr;
  uint32_t tag_ = 0;
  uint32_t version_ = 0;
  KivClassId classId_;
  uint8_t good_ = 0;
  uint8_t ownsStream_ = 0;
  uint8_t stringsGood_ = 1;
  KivClassId peekedClassId_;
  KivString peekedName_;
};
