//===- ikivdatamodelreader.h - What a stored object reads from --*- C++ -*-===//
//
// The reading side of the data-model file. A reader never throws and never
// trusts a length it has not checked: bad content turns good() false for
// good, and from then on every read gives an empty value (0, false, an empty
// string, a default vector) without touching the stream. Callers check good()
// where it matters, typically once per record.
//
//  - nextBlock() enters the next block; endBlock() leaves the innermost one,
//    skipping whatever was not read, so an older reader stays in step with a
//    longer record.
//  - Typed reads give true whatever happens; look at good().
//  - readString() is lenient: a block of another tag gives an empty string and
//    leaves good() alone, but every later string of this reader comes back
//    empty.
//  - Pointers that peeks and classId() give stay valid until the next call
//    of the same operation.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivdatamodelwriter.h"

class IKivDataModelReader : public virtual IKivUnknown {
public:
  // Hands the object the bare stream.
  virtual bool readBinary(IKivBinaryIO* object) = 0;
  virtual bool readSerial(IKivSerial* object) = 0;
  virtual bool readClassId(KivClassId* out) = 0;
  virtual bool readVector2F(Vector2F* out) = 0;
  virtual bool readVector2D(Vector2D* out) = 0;
  virtual bool readMatrix(KivMatrix* out) = 0;
  virtual bool readVector(KivVector* out) = 0;
  virtual bool readString(KivString* out) = 0;
  virtual bool readCString(KivCString* out) = 0;
  // Bare values: false, and 0 in *out, when they could not be read.
  virtual bool readDouble(double* out) = 0;
  virtual bool readFloat(float* out) = 0;
  virtual bool readUInt32(uint32_t* out) = 0;
  virtual bool readInt32(int32_t* out) = 0;
  virtual bool readBool(bool* out) = 0;
  virtual bool readUInt8(uint8_t* out) = 0;
  // The class identifier of the section that should follow, without moving;
  // all zero if none can be read. Nothing checks that a section follows.
  virtual const KivClassId* peekClassId() = 0;
  // Enters a section; false (and good() false) on any other block. *version
  // receives the block's version either way.
  virtual bool beginSection(IKivWriteable* object, int* version) = 0;
  virtual bool endSection(IKivWriteable* object) = 0;
  virtual const KivString* peekPropertyName() = 0;
  // Reads the name and gives the class identifier of the section behind it.
  virtual bool beginProperty(KivString* name, KivClassId* out) = 0;
  virtual bool endProperty(const KivString& name) = 0;
  virtual bool nextBlock() = 0;
  // True when bad or when the innermost block has been read to its end.
  virtual bool atBlockEnd() = 0;
  virtual bool endBlock() = 0;
  // Of the block last entered.
  virtual int tag() = 0;
  virtual int version() = 0;
  // Of the section last entered; all zero if there was none.
  virtual KivClassId* classId() = 0;
  virtual bool good() = 0;
  // The 24-bit tag of the next block without moving; 0xFFFFFF if none.
  virtual uint32_t peekTag() = 0;
};

inline IKivDataModelReader& operator>>(IKivDataModelReader& r, double& v) { r.readDouble(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, float& v) { r.readFloat(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, uint32_t& v) { r.readUInt32(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, int32_t& v) { r.readInt32(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, bool& v) { r.readBool(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, uint8_t& v) { r.readUInt8(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, KivString& v) { r.readString(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, KivCString& v) { r.readCString(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, KivClassId& v) { r.readClassId(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, KivVector& v) { r.readVector(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, Vector2D& v) { r.readVector2D(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, Vector2F& v) { r.readVector2F(&v); return r; }
inline IKivDataModelReader& operator>>(IKivDataModelReader& r, KivMatrix& v) { r.readMatrix(&v); return r; }
// The block 0x10007, read as a typed block.
IKivDataModelReader& operator>>(IKivDataModelReader& r, KivQuaternion& v);
