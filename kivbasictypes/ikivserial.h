//===- ikivserial.h - A value that stores itself through the block layer -*- C++ -*-===//
//
// What writeSerial and readSerial take: a plain value (no reference count)
// that writes itself to a data-model writer and reads itself back. Unlike a
// section, it carries no class identifier; the caller knows what it reads.
//
//===----------------------------------------------------------------------===//
#pragma once

class IKivDataModelWriter;
class IKivDataModelReader;

// Nothing in the system implements it yet; the form is ours to choose, and
// is the smallest one that lets a value use the typed blocks.
class IKivSerial {
public:
  virtual ~IKivSerial() = default;
  virtual bool write(IKivDataModelWriter* writer) = 0;
  virtual bool read(IKivDataModelReader* reader) = 0;
};
