//===- bulkrecords.h - Every bulk data reader over one byte string -*- C++ -*-===//
//
// readAll() reads the bytes as a bit vector record (into both vector
// classes), as a point array record and as a colour record behind one point.
// Whatever reads is written back and read again, three times; the result is
// false if the last two writes differ. Shared by the fuzz target and the test
// that replays its corpus.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "binstreams.h"
#include "kivbasictypes/bitvector.h"
#include "kivbasictypes/blockbitvector.h"
#include "kivbasictypes/kivvectorarray.h"

namespace bulkrecords {

template <class T>
Bytes written(T& value) {
  MemoryOutput out;
  value.write(out);
  out.flush();
  return out.bytes();
}

// A dense record read back leaves its count unknown and an empty vector
// reads back as one word, so the bytes settle within two more cycles: the
// third and fourth writes must agree.
template <class T>
bool roundTrip(const Bytes& bytes) {
  T first;
  MemoryInput in(bytes);
  if (!first.read(in))
    return true;
  Bytes last = written(first);
  Bytes previous;
  for (int cycle = 0; cycle < 3; ++cycle) {
    T next;
    MemoryInput again(last);
    if (!next.read(again))
      return false;
    previous = last;
    last = written(next);
  }
  return previous == last;
}

inline bool readAll(const Bytes& bytes) {
  bool same = roundTrip<BitVector>(bytes);
  same = roundTrip<BlockBitVector>(bytes) && same;
  same = roundTrip<KivVectorArray>(bytes) && same;
  KivVectorArray points;
  points.push(KivVector(1, 2, 3));
  MemoryInput in(bytes);
  points.readExtra(in);
  return same;
}

} // namespace bulkrecords
