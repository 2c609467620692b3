//===- valuestreams.h - Byte checks for the bare forms of values -*- C++ -*-===//
//
// expectBareForm writes a value with writeValue, compares the bytes with the
// expected hex text, reads them back from a source that trickles three bytes
// a call, writes the result again and compares once more. Then it checks
// that a source one byte short gives false and leaves the target untouched.
// valueFile builds a data-model file in memory around what a test writes, and
// afterRoot gives the bytes behind the root block's head.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "binstreams.h"
#include "kivbasictypes/kivfile.h"

#include <gtest/gtest.h>

template <class T>
Bytes bareBytes(const T& value) {
  MemoryOutput out;
  EXPECT_TRUE(writeValue(out, value));
  EXPECT_TRUE(out.flushBuffer());
  return out.bytes();
}

template <class T>
void expectBareForm(const T& value, const char* hex, const char* name) {
  const Bytes first = bareBytes(value);
  EXPECT_EQ(hexText(first), hexText(hexBytes(hex))) << name;
  MemoryInput in(first, 3);
  T back{};
  ASSERT_TRUE(readValue(in, back)) << name;
  EXPECT_EQ(in.tell(), static_cast<int64_t>(first.size())) << name;
  EXPECT_EQ(bareBytes(back), first) << name;

  Bytes cut(first.begin(), first.end() - 1);
  MemoryInput shortIn(cut);
  T untouched = back;
  EXPECT_FALSE(readValue(shortIn, untouched)) << name;
  EXPECT_EQ(bareBytes(untouched), first) << name;
}

template <class Body>
Bytes valueFile(int fileVersion, Body body) {
  MemoryOutput out;
  out.setFileVersion(fileVersion);
  {
    KivFileWrite writer(&out, true);
    EXPECT_TRUE(writer.writeRootHead());
    body(writer);
    EXPECT_TRUE(writer.good());
    writer.close();
  }
  out.flushBuffer();
  return out.bytes();
}

// The root's head is 12 bytes with 64-bit lengths (file version 10), 8 with
// 32-bit ones (file version 9).
inline std::string afterRoot(const Bytes& file, int fileVersion) {
  const size_t head = fileVersion == 9 ? 8 : 12;
  return hexText(Bytes(file.begin() + static_cast<long>(head), file.end()));
}
