//===- ikivdatamodelwriter.h - What a stored object writes to ---*- C++ -*-===//
//
// The writing side of the data-model file: nested blocks, each with a 24-bit
// tag, an 8-bit version and a length patched in when the block ends. Values
// of the shared types go into typed blocks of their own; plain numbers stand
// bare inside the enclosing block.
//
// Every operation gives true: a failing stream shows only through good(),
// which a caller checks once at the end.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IKivBinaryIO;
class IKivSerial;
class IKivWriteable;
class KivCString;
class KivString;
struct KivClassId;
struct KivMatrix;
struct KivQuaternion;
struct KivVector;
struct Vector2D;
struct Vector2F;

// Tags of the blocks the file layer itself writes.
namespace kivtag {
inline constexpr uint32_t kVector = 0x10000;
inline constexpr uint32_t kCString = 0x10003;
inline constexpr uint32_t kMatrix = 0x10004;
inline constexpr uint32_t kString = 0x10005;
inline constexpr uint32_t kFourDoubles = 0x10007;
inline constexpr uint32_t kClassId = 0x10008;
inline constexpr uint32_t kVector2D = 0x10009;
inline constexpr uint32_t kVector2F = 0x10010;
inline constexpr uint32_t kSection = 0xB0002;
inline constexpr uint32_t kRoot = 0x544F56;  // "TOV"
} // namespace kivtag

class IKivDataModelWriter : public virtual IKivUnknown {
public:
  // Hands the object the bare stream.
  virtual bool writeBinary(IKivBinaryIO* object) = 0;
  virtual bool writeSerial(IKivSerial* object) = 0;
  virtual bool writeClassId(const KivClassId& id) = 0;
  virtual bool writeVector2F(const Vector2F& v) = 0;
  virtual bool writeVector2D(const Vector2D& v) = 0;
  virtual bool writeMatrix(const KivMatrix& m) = 0;
  virtual bool writeVector(const KivVector& v) = 0;
  // The units up to the first null; a null string writes an empty block.
  virtual bool writeString(const KivString& s) = 0;
  virtual bool writeCString(const KivCString& s) = 0;
  virtual bool writeDouble(double v) = 0;
  virtual bool writeFloat(float v) = 0;
  virtual bool writeUInt32(uint32_t v) = 0;
  virtual bool writeInt32(int32_t v) = 0;
  virtual bool writeBool(bool v) = 0;
  virtual bool writeUInt8(uint8_t v) = 0;
  // A section headed by the object's class identifier.
  virtual bool beginSection(IKivWriteable* object, int version) = 0;
  virtual bool endSection(IKivWriteable* object) = 0;
  // Writes the name as a string block; the property's section follows.
  virtual bool beginProperty(const KivString& name) = 0;
  virtual bool endProperty(const KivString& name) = 0;
  virtual bool beginClassBlock(const KivClassId& id, int version) = 0;
  virtual bool beginBlock(uint32_t tag, int version) = 0;
  virtual bool endBlock() = 0;
  virtual bool good() = 0;
};

// Stream forms: the same operations, giving back the writer. The value of
// four doubles goes only this way, as the block 0x10007.
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, double v) { w.writeDouble(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, float v) { w.writeFloat(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, uint32_t v) { w.writeUInt32(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, int32_t v) { w.writeInt32(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, bool v) { w.writeBool(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, uint8_t v) { w.writeUInt8(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const KivString& v) { w.writeString(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const KivCString& v) { w.writeCString(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const KivClassId& v) { w.writeClassId(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const KivVector& v) { w.writeVector(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const Vector2D& v) { w.writeVector2D(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const Vector2F& v) { w.writeVector2F(v); return w; }
inline IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const KivMatrix& v) { w.writeMatrix(v); return w; }
IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const KivQuaternion& v);
// A literal would otherwise turn into a bool.
IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const char* v) = delete;
