//===- bitrecord.cpp - The stored record shared by both bit vectors -------===//
#include "kivbasictypes/bitrecord.h"

#include <algorithm>

namespace bitrecord {

bool readHead(BinInput& in, Head* head) {
  return in.read(&head->words) && in.read(&head->lastBit) && in.read(&head->sparse) &&
         in.read(&head->numSet);
}

bool plausible(BinInput& in, const Head& head) {
  if (head.words > kMaxWords)
    return false;
  const uint64_t size = in.size();
  const int64_t at = in.tell();
  if (size == 0 || at < 0)
    return true;  // a source of unknown length: the reads themselves stop
  const uint64_t left = size > static_cast<uint64_t>(at) ? size - static_cast<uint64_t>(at) : 0;
  if (head.sparse == 0)
    return uint64_t{head.words} * 4 <= left;
  return head.numSet < 0 || uint64_t(head.numSet) * 4 <= left;
}

bool writeHead(BinOutput& out, int32_t words, bool sparse, uint32_t numSet) {
  const uint32_t magic = 0x315e97d6u;
  const auto w = static_cast<uint32_t>(words);
  const int32_t lastBit = static_cast<int32_t>(int64_t{words} * 32 - 1);
  const int32_t flag = sparse ? 1 : 0;
  const auto count = static_cast<int32_t>(numSet);
  return out.write(&magic) && out.write(&w) && out.write(&lastBit) && out.write(&flag) &&
         out.write(&count);
}

bool writeWords(BinOutput& out, const uint32_t* words, int32_t n) {
  if (!words)
    return writeFilled(out, 0, n);
  return out.write(words, 4, static_cast<size_t>(n));
}

bool writeFilled(BinOutput& out, uint32_t value, int32_t n) {
  uint32_t chunk[256];
  std::fill(chunk, chunk + 256, value);
  for (int32_t done = 0; done < n;) {
    const int32_t k = std::min(256, n - done);
    if (!out.write(chunk, 4, static_cast<size_t>(k)))
      return false;
    done += k;
  }
  return true;
}

} // namespace bitrecord
