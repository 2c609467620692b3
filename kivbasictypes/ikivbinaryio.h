//===- ikivbinaryio.h - A value that stores itself on a bare stream -*- C++ -*-===//
//
// Adapts a value with its own stream form (an image, an edge stack) to the
// data-model writer and reader, which hand it their stream. No reference is
// taken: an adapter lives on the stack for the length of one call.
//
//===----------------------------------------------------------------------===//
#pragma once

class BinInput;
class BinOutput;

class IKivBinaryIO {
public:
  virtual ~IKivBinaryIO() = default;
  virtual bool read(BinInput& in) = 0;
  virtual bool write(BinOutput& out) = 0;
};
