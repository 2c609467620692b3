//===- kivbinaryio.h - Any value with stream operations, as IKivBinaryIO -*- C++ -*-===//
//
// KivBinaryIO<T> adapts a T with read(BinInput&) and write(BinOutput&) to
// the data-model writer and reader. It holds a T*, not owned, and forwards
// both calls with no check; it lives on the stack for the length of one
// writeBinary or readBinary call.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivbinaryio.h"

template <class T>
class KivBinaryIO : public IKivBinaryIO {
public:
  explicit KivBinaryIO(T* object) : object_(object) {}
  bool read(BinInput& in) override { return object_->read(in); }
  bool write(BinOutput& out) override { return object_->write(out); }
  const char* className() const { return "KivBinaryIO<T>"; }

private:
  T* object_;
};
