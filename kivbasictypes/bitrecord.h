//===- bitrecord.h - The stored record shared by both bit vectors -*- C++ -*-===//
//
// Head: the BinMagic word 0x315e97d6, then words (unsigned), lastBit, sparse
// and numSet (signed), all 32-bit big-endian. A dense body is the words in
// order, a sparse body the indices of the set bits in ascending order. Both
// vector classes write and read this one record.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/binio.h"

#include <cstdint>

namespace bitrecord {

struct Head {
  uint32_t words = 0;
  int32_t lastBit = 0;
  int32_t sparse = 0;
  int32_t numSet = 0;
};

// The largest vector a 32-bit bit index can address.
inline constexpr uint32_t kMaxWords = uint32_t{1} << 26;

// The four fields after the magic word.
bool readHead(BinInput& in, Head* head);
// False if the record claims more words than a vector can index, or (where
// the stream knows its size) a dense body longer than the bytes left.
bool plausible(BinInput& in, const Head& head);

// Sparse when there are more than 32 words, the file version is 0 or at least
// 13, and fewer bits are set than half the words; count() is asked only then.
template <class Count>
bool useSparse(const BinOutput& out, int32_t words, Count count) {
  const int version = out.fileVersion();
  return words > 32 && (version == 0 || version >= 13) &&
         count() < static_cast<uint32_t>(words) / 2;
}

// The magic word and the four fields; lastBit is words * 32 - 1.
bool writeHead(BinOutput& out, int32_t words, bool sparse, uint32_t numSet);
// n words of a block, or n zero words for a null block.
bool writeWords(BinOutput& out, const uint32_t* words, int32_t n);
bool writeFilled(BinOutput& out, uint32_t value, int32_t n);

} // namespace bitrecord
