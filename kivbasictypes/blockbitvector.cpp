//===- blockbitvector.cpp - Bit sets in blocks of 32768 bits --------------===//
#include "kivbasictypes/blockbitvector.h"

#include "kivbasictypes/binio.h"
#include "kivbasictypes/bitrecord.h"
#include "kivbasictypes/tovrealloc.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <mutex>
#include <type_traits>

namespace {

constexpr int32_t kWords = BlockBitVector::kBlockWords;
constexpr int32_t kBits = BlockBitVector::kBlockBits;
constexpr size_t kPoolLimit = 512;
// Block indices of a 32-bit bit index.
constexpr int32_t kMaxBlocks = 65536;

struct BlockPool {
  std::mutex mutex;
  std::vector<uint32_t*> free;
};

BlockPool& pool() {
  // Never destroyed: vectors in static objects give blocks back at exit.
  static auto* p = new BlockPool;
  return *p;
}

uint32_t* popBlock() {
  {
    BlockPool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    if (!p.free.empty()) {
      uint32_t* block = p.free.back();
      p.free.pop_back();
      return block;
    }
  }
  uint32_t* block = nullptr;
  tovMallocT(&block, kWords);
  return block;
}

} // namespace

uint32_t* takeBlock(int32_t n) {
  uint32_t* block = popBlock();
  n = std::clamp(n, 0, kWords);
  std::memset(block, 0xff, static_cast<size_t>(n) * 4);
  std::memset(block + n, 0, static_cast<size_t>(kWords - n) * 4);
  return block;
}

uint32_t* takeBlockFrom(const uint32_t* words, int32_t n) {
  uint32_t* block = popBlock();
  n = std::clamp(n, 0, kWords);
  std::memcpy(block, words, static_cast<size_t>(n) * 4);
  std::memset(block + n, 0, static_cast<size_t>(kWords - n) * 4);
  return block;
}

uint32_t* takeBlockFromArray(const BitWords& array, int32_t first, int32_t n) {
  uint32_t* block = popBlock();
  n = std::clamp(n, 0, kWords);
  for (int32_t k = 0; k < n; ++k)
    block[k] = array.get(first + k);
  std::memset(block + n, 0, static_cast<size_t>(kWords - n) * 4);
  return block;
}

void giveBlock(uint32_t* block) {
  if (!block)
    return;
  {
    BlockPool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    if (p.free.size() < kPoolLimit) {
      p.free.push_back(block);
      return;
    }
  }
  tovFree(block);
}

void releaseBlockPool() {
  BlockPool& p = pool();
  std::lock_guard<std::mutex> lock(p.mutex);
  for (uint32_t* block : p.free)
    tovFree(block);
  p.free.clear();
  p.free.shrink_to_fit();
}

int32_t blockPoolSize() {
  BlockPool& p = pool();
  std::lock_guard<std::mutex> lock(p.mutex);
  return static_cast<int32_t>(p.free.size());
}

// ---- construction -----------------------------------------------------------

BlockBitVector::BlockBitVector(int32_t n) {
  const int32_t entries = std::max(n >> 15, 1);
  blocks_.assign(static_cast<size_t>(entries), nullptr);
  counts_.assign(static_cast<size_t>(entries), 0);
  lastBlock_ = entries - 1;
  numSet_ = 0;
}

BlockBitVector::BlockBitVector(const BlockBitVector& other) : KivObject() { copyFrom(other); }

BlockBitVector::BlockBitVector(BlockBitVector&& other) noexcept : BlockBitVector(0) {
  swap(other);
}

BlockBitVector::BlockBitVector(const BitVector& other) {
  const int32_t entries = std::max((other.wordCount() + kWords - 1) / kWords, 1);
  blocks_.assign(static_cast<size_t>(entries), nullptr);
  counts_.assign(static_cast<size_t>(entries), -1);
  lastBlock_ = entries - 1;
  numSet_ = -1;
  uint32_t run[kWords];
  for (int32_t b = 0; b < entries; ++b) {
    const int32_t n = std::min(kWords, other.wordCount() - b * kWords);
    for (int32_t k = 0; k < n; ++k)
      run[k] = other.word(b * kWords + k);
    blocks_[b] = takeBlockFrom(run, std::max(n, 0));
  }
}

BlockBitVector::~BlockBitVector() { freeBlocks(); }

BlockBitVector& BlockBitVector::operator=(const BlockBitVector& other) {
  if (this != &other) {
    freeBlocks();
    copyFrom(other);
  }
  return *this;
}

BlockBitVector& BlockBitVector::operator=(BlockBitVector&& other) noexcept {
  if (this != &other)
    swap(other);
  return *this;
}

void BlockBitVector::freeBlocks() {
  for (uint32_t* block : blocks_)
    giveBlock(block);
  blocks_.clear();
  counts_.clear();
}

void BlockBitVector::copyFrom(const BlockBitVector& other) {
  blocks_.assign(other.blocks_.size(), nullptr);
  counts_ = other.counts_;
  for (size_t b = 0; b < blocks_.size(); ++b)
    if (other.blocks_[b])
      blocks_[b] = takeBlockFrom(other.blocks_[b], kWords);
  lastBlock_ = other.lastBlock_;
  numSet_ = other.numSet_;
}

void BlockBitVector::swap(BlockBitVector& other) noexcept {
  blocks_.swap(other.blocks_);
  counts_.swap(other.counts_);
  std::swap(lastBlock_, other.lastBlock_);
  std::swap(numSet_, other.numSet_);
}

// ---- blocks -----------------------------------------------------------------

void BlockBitVector::growTo(int32_t block) {
  if (block <= lastBlock_)
    return;
  blocks_.resize(static_cast<size_t>(block) + 1, nullptr);
  counts_.resize(static_cast<size_t>(block) + 1, 0);
  lastBlock_ = block;
}

void BlockBitVector::cutTo(int32_t block) {
  block = std::max(block, 0);
  if (block >= lastBlock_)
    return;
  for (int32_t b = block + 1; b <= lastBlock_; ++b) {
    if (counts_[b] != 0)
      numSet_ = -1;
    giveBlock(blocks_[b]);
  }
  blocks_.resize(static_cast<size_t>(block) + 1);
  counts_.resize(static_cast<size_t>(block) + 1);
  lastBlock_ = block;
}

void BlockBitVector::makeUniform(int32_t b, int32_t count) {
  giveBlock(blocks_[b]);
  blocks_[b] = nullptr;
  counts_[b] = count;
}

uint32_t* BlockBitVector::materialise(int32_t b) {
  if (!blocks_[b])
    blocks_[b] = takeBlock(counts_[b] == kBits ? kWords : 0);
  return blocks_[b];
}

int32_t BlockBitVector::blockCount(int32_t b) const {
  if (counts_[b] < 0)
    counts_[b] = static_cast<int32_t>(countWordBits(blocks_[b], kWords));
  return counts_[b];
}

uint32_t BlockBitVector::word(int32_t w) const {
  const int32_t b = w >> 10;
  if (w < 0 || b > lastBlock_)
    return 0;
  if (const uint32_t* block = blocks_[b])
    return block[w & (kWords - 1)];
  return counts_[b] == kBits ? ~0u : 0u;
}

int32_t BlockBitVector::allocatedBlocks() const {
  return static_cast<int32_t>(
      std::count_if(blocks_.begin(), blocks_.end(), [](uint32_t* p) { return p != nullptr; }));
}

// ---- single bits ------------------------------------------------------------

bool BlockBitVector::get(int32_t i) const {
  if (i < 0)
    return false;
  const int32_t b = i >> 15;
  if (b > lastBlock_)
    return false;
  if (const uint32_t* block = blocks_[b])
    return (block[(i >> 5) & (kWords - 1)] >> (i & 31)) & 1u;
  return counts_[b] == kBits;
}

void BlockBitVector::set(int32_t i) {
  if (i < 0)
    return;
  const int32_t b = i >> 15;
  growTo(b);
  uint32_t* block = blocks_[b];
  if (!block) {
    if (counts_[b] == kBits)
      return;
    block = materialise(b);
  }
  uint32_t& w = block[(i >> 5) & (kWords - 1)];
  const uint32_t mask = 1u << (i & 31);
  if (w & mask)
    return;
  w |= mask;
  if (counts_[b] >= 0)
    ++counts_[b];
  if (numSet_ >= 0)
    ++numSet_;
}

void BlockBitVector::clear(int32_t i) {
  if (i < 0)
    return;
  const int32_t b = i >> 15;
  if (b > lastBlock_)
    return;
  uint32_t* block = blocks_[b];
  if (!block) {
    if (counts_[b] == 0)
      return;
    block = materialise(b);
  }
  uint32_t& w = block[(i >> 5) & (kWords - 1)];
  const uint32_t mask = 1u << (i & 31);
  if (!(w & mask))
    return;
  w &= ~mask;
  if (counts_[b] >= 0)
    --counts_[b];
  if (numSet_ >= 0)
    --numSet_;
}

void BlockBitVector::clear() {
  for (int32_t b = 0; b <= lastBlock_; ++b)
    makeUniform(b, 0);
  numSet_ = 0;
}

namespace {

uint32_t maskFrom(int32_t bit) { return ~0u << (bit & 31); }
uint32_t maskTo(int32_t bit) { return (bit & 31) == 31 ? ~0u : ((2u << (bit & 31)) - 1u); }

} // namespace

bool BlockBitVector::setRange(int32_t from, int32_t to) { return fillRange(from, to, true); }

bool BlockBitVector::clearRange(int32_t from, int32_t to) { return fillRange(from, to, false); }

// Whole blocks become uniform without storage; a block already uniform with
// the wanted value is left as it is; the rest is written word by word.
bool BlockBitVector::fillRange(int32_t from, int32_t to, bool on) {
  const int32_t last = lastBit();
  if (from > last)
    return false;
  from = std::max(from, 0);
  to = std::min(to, last);
  const int32_t uniform = on ? kBits : 0;
  for (int32_t b = from >> 15; b <= (to >> 15) && from <= to; ++b) {
    const int32_t lo = std::max(from, b * kBits);
    const int32_t hi = std::min(to, b * kBits + kBits - 1);
    if (lo == b * kBits && hi == b * kBits + kBits - 1) {
      makeUniform(b, uniform);
      continue;
    }
    if (!blocks_[b] && counts_[b] == uniform)
      continue;
    uint32_t* block = materialise(b);
    for (int32_t w = lo >> 5; w <= (hi >> 5); ++w) {
      uint32_t mask = ~0u;
      if (w == (lo >> 5))
        mask &= maskFrom(lo);
      if (w == (hi >> 5))
        mask &= maskTo(hi);
      uint32_t& word = block[w & (kWords - 1)];
      word = on ? (word | mask) : (word & ~mask);
    }
    counts_[b] = -1;
  }
  numSet_ = -1;
  return true;
}

// ---- queries ----------------------------------------------------------------

int32_t BlockBitVector::nextSet(int32_t i) const {
  int64_t start = int64_t{std::max(i, -1)} + 1;
  for (int32_t b = static_cast<int32_t>(start >> 15); b <= lastBlock_; ++b) {
    const int64_t blockStart = int64_t{b} * kBits;
    if (start < blockStart)
      start = blockStart;
    const uint32_t* block = blocks_[b];
    if (!block) {
      if (counts_[b] == kBits)
        return static_cast<int32_t>(start);
      continue;
    }
    int32_t w = static_cast<int32_t>((start >> 5) & (kWords - 1));
    uint32_t bits = block[w] & maskFrom(static_cast<int32_t>(start));
    for (;;) {
      if (bits)
        return static_cast<int32_t>(blockStart + w * 32 + std::countr_zero(bits));
      if (++w >= kWords)
        break;
      bits = block[w];
    }
  }
  return -1;
}

int32_t BlockBitVector::prevSet(int32_t i) const {
  if (i < 1)
    return -1;
  const int32_t last = lastBit();
  int32_t start = i > last ? last : i - 1;
  for (int32_t b = start >> 15; b >= 0; --b) {
    const int32_t blockEnd = b * kBits + kBits - 1;
    if (start > blockEnd)
      start = blockEnd;
    const uint32_t* block = blocks_[b];
    if (!block) {
      if (counts_[b] == kBits)
        return start;
      continue;
    }
    int32_t w = (start >> 5) & (kWords - 1);
    uint32_t bits = block[w] & maskTo(start);
    for (;;) {
      if (bits)
        return b * kBits + w * 32 + 31 - std::countl_zero(bits);
      if (--w < 0)
        break;
      bits = block[w];
    }
  }
  return -1;
}

uint32_t BlockBitVector::numberSet() const {
  if (numSet_ < 0) {
    int64_t total = 0;
    for (int32_t b = 0; b <= lastBlock_; ++b)
      total += blockCount(b);
    numSet_ = static_cast<int32_t>(total);
  }
  return static_cast<uint32_t>(numSet_);
}

int32_t BlockBitVector::lastNonZeroWord() const {
  for (int32_t b = lastBlock_; b >= 0; --b) {
    const uint32_t* block = blocks_[b];
    if (!block) {
      if (counts_[b] == kBits)
        return b * kWords + kWords - 1;
      continue;
    }
    for (int32_t w = kWords - 1; w >= 0; --w)
      if (block[w])
        return b * kWords + w;
  }
  return -1;
}

bool BlockBitVector::equals(const BlockBitVector& other) const {
  if (this == &other)
    return true;
  if (numSet_ >= 0 && other.numSet_ >= 0 && numSet_ != other.numSet_)
    return false;
  const int32_t words = std::max(wordCount(), other.wordCount());
  for (int32_t w = 0; w < words; ++w)
    if (word(w) != other.word(w))
      return false;
  return true;
}

bool BlockBitVector::equals(const BitVector& other) const {
  const int32_t words = std::max(wordCount(), other.wordCount());
  for (int32_t w = 0; w < words; ++w)
    if (word(w) != other.word(w))
      return false;
  return true;
}

// ---- whole-set operations ---------------------------------------------------

// What the right side holds over one block: all clear, all set, or words.
struct BlockBitVector::View {
  enum Kind { Clear, Set, Words } kind = Clear;
  const uint32_t* words = nullptr;
  int32_t count = -1;
};

namespace {

using View = BlockBitVector::View;

View viewOf(int32_t b, int32_t lastBlock, const std::vector<uint32_t*>& blocks,
            const std::vector<int32_t>& counts) {
  View view;
  if (b > lastBlock)
    return view;
  if (blocks[b]) {
    view.kind = View::Words;
    view.words = blocks[b];
    view.count = counts[b];
  } else if (counts[b] == kBits) {
    view.kind = View::Set;
  }
  return view;
}

View viewOf(const BitVector& v, int32_t b, uint32_t* scratch) {
  View view;
  bool allZero = true;
  bool allOnes = true;
  for (int32_t k = 0; k < kWords; ++k) {
    const uint32_t w = v.word(b * kWords + k);
    scratch[k] = w;
    allZero = allZero && w == 0;
    allOnes = allOnes && w == ~0u;
  }
  if (allOnes)
    view.kind = View::Set;
  else if (!allZero) {
    view.kind = View::Words;
    view.words = scratch;
  }
  return view;
}

} // namespace

void BlockBitVector::applyBlock(int32_t b, Op op, const View& view) {
  uint32_t* block = blocks_[b];
  const bool isClear = !block && counts_[b] == 0;
  const bool isSet = !block && counts_[b] == kBits;
  uint32_t inverted[kWords];
  auto invert = [&](const uint32_t* w) {
    for (int32_t k = 0; k < kWords; ++k)
      inverted[k] = ~w[k];
    return inverted;
  };
  switch (op) {
  case Op::And:
    if (view.kind == View::Clear)
      makeUniform(b, 0);
    else if (view.kind == View::Set || isClear)
      return;
    else if (isSet) {
      blocks_[b] = takeBlockFrom(view.words, kWords);
      counts_[b] = view.count;
    } else {
      for (int32_t k = 0; k < kWords; ++k)
        block[k] &= view.words[k];
      counts_[b] = -1;
    }
    return;
  case Op::Or:
    if (view.kind == View::Clear || isSet)
      return;
    if (view.kind == View::Set)
      makeUniform(b, kBits);
    else if (isClear) {
      blocks_[b] = takeBlockFrom(view.words, kWords);
      counts_[b] = view.count;
    } else {
      for (int32_t k = 0; k < kWords; ++k)
        block[k] |= view.words[k];
      counts_[b] = -1;
    }
    return;
  case Op::Xor:
    if (view.kind == View::Clear)
      return;
    if (view.kind == View::Set) {
      if (isClear || isSet) {
        counts_[b] = isClear ? kBits : 0;
      } else {
        for (int32_t k = 0; k < kWords; ++k)
          block[k] = ~block[k];
        counts_[b] = counts_[b] >= 0 ? kBits - counts_[b] : -1;
      }
    } else if (isClear) {
      blocks_[b] = takeBlockFrom(view.words, kWords);
      counts_[b] = view.count;
    } else if (isSet) {
      blocks_[b] = takeBlockFrom(invert(view.words), kWords);
      counts_[b] = view.count >= 0 ? kBits - view.count : -1;
    } else {
      for (int32_t k = 0; k < kWords; ++k)
        block[k] ^= view.words[k];
      counts_[b] = -1;
    }
    return;
  case Op::AndNot:
    if (view.kind == View::Clear || isClear)
      return;
    if (view.kind == View::Set)
      makeUniform(b, 0);
    else if (isSet) {
      blocks_[b] = takeBlockFrom(invert(view.words), kWords);
      counts_[b] = view.count >= 0 ? kBits - view.count : -1;
    } else {
      for (int32_t k = 0; k < kWords; ++k)
        block[k] &= ~view.words[k];
      counts_[b] = -1;
    }
    return;
  }
}

template <class Other>
void BlockBitVector::combine(const Other& other, Op op) {
  if (op == Op::Or || op == Op::Xor) {
    const int32_t last = other.lastNonZeroWord();
    if (last < 0)
      return;
    growTo(last / kWords);
  }
  uint32_t scratch[kWords];
  for (int32_t b = 0; b <= lastBlock_; ++b) {
    View view;
    if constexpr (std::is_same_v<Other, BlockBitVector>)
      view = viewOf(b, other.lastBlock_, other.blocks_, other.counts_);
    else
      view = viewOf(other, b, scratch);
    applyBlock(b, op, view);
  }
  numSet_ = -1;
}

BlockBitVector& BlockBitVector::operator&=(const BlockBitVector& other) {
  if (this == &other || numSet_ == 0)
    return *this;
  if (other.numSet_ == 0)
    clear();
  else
    combine(other, Op::And);
  return *this;
}

BlockBitVector& BlockBitVector::operator|=(const BlockBitVector& other) {
  if (this != &other && other.numSet_ != 0)
    combine(other, Op::Or);
  return *this;
}

BlockBitVector& BlockBitVector::operator^=(const BlockBitVector& other) {
  if (this == &other) {
    clear();
    return *this;
  }
  if (other.numSet_ != 0)
    combine(other, Op::Xor);
  return *this;
}

void BlockBitVector::subtract(const BlockBitVector& other) {
  if (this == &other) {
    clear();
    return;
  }
  if (numSet_ != 0 && other.numSet_ != 0)
    combine(other, Op::AndNot);
}

BlockBitVector& BlockBitVector::operator&=(const BitVector& other) {
  if (numSet_ == 0)
    return *this;
  if (other.cachedCount() == 0)
    clear();
  else
    combine(other, Op::And);
  return *this;
}

BlockBitVector& BlockBitVector::operator|=(const BitVector& other) {
  if (other.cachedCount() != 0)
    combine(other, Op::Or);
  return *this;
}

BlockBitVector& BlockBitVector::operator^=(const BitVector& other) {
  if (other.cachedCount() != 0)
    combine(other, Op::Xor);
  return *this;
}

void BlockBitVector::subtract(const BitVector& other) {
  if (numSet_ != 0 && other.cachedCount() != 0)
    combine(other, Op::AndNot);
}

void BlockBitVector::renumber(const IntMMArray& map) {
  int32_t lastTarget = 1;
  const int64_t limit = std::min<int64_t>(map.count(), int64_t{lastBit()} + 1);
  for (int32_t i = 0; i < limit; ++i) {
    const int32_t q = map.get(i);
    if (q == 0) {
      clear(i);
    } else if (q > 0 && get(i)) {
      if (q != i) {
        clear(i);
        set(q);
      }
      lastTarget = q;
    }
  }
  cutTo(lastTarget >> 15);
}

void BlockBitVector::normalise() {
  int32_t lastPositive = 0;
  for (int32_t b = 0; b <= lastBlock_; ++b) {
    const int32_t count = blockCount(b);
    if (blocks_[b] && (count == 0 || count == kBits))
      makeUniform(b, count);
    if (count > 0)
      lastPositive = b;
  }
  cutTo(lastPositive);
}

// ---- stored form ------------------------------------------------------------

bool BlockBitVector::write(BinOutput& out) const {
  numberSet();
  int32_t last = 0;
  for (int32_t b = 0; b <= lastBlock_; ++b)
    if (counts_[b] > 0)
      last = b;
  const int32_t words = (last + 1) * kWords;
  const bool sparse = bitrecord::useSparse(out, words, [this] { return numberSet(); });
  bool ok = bitrecord::writeHead(out, words, sparse, static_cast<uint32_t>(numSet_));
  if (sparse) {
    for (int32_t i = nextSet(-1); ok && i >= 0; i = nextSet(i))
      ok = out.write(&i);
  } else {
    for (int32_t b = 0; ok && b <= last; ++b) {
      if (blocks_[b])
        ok = bitrecord::writeWords(out, blocks_[b], kWords);
      else
        ok = bitrecord::writeFilled(out, counts_[b] > 0 ? ~0u : 0u, kWords);
    }
  }
  return ok && out.good();
}

bool BlockBitVector::read(BinInput& in) {
  BinMagic head(BitVector::kMagicWord);
  if (!head.readSameId(in))
    return false;
  bitrecord::Head h;
  const bool headOk = bitrecord::readHead(in, &h);
  clear();
  cutTo(0);
  if (!headOk)
    return false;
  if (h.words == 0 || h.lastBit < 1 || (h.sparse != 0 && h.sparse != 1))
    return true;
  if (!bitrecord::plausible(in, h))
    return false;
  const auto words = static_cast<int32_t>(h.words);
  const int32_t entries = (words + kWords - 1) / kWords;
  bool ok = true;
  if (h.sparse == 0) {
    growTo(entries - 1);
    for (int32_t b = 0; ok && b < entries; ++b) {
      const int32_t n = std::min(kWords, words - b * kWords);
      uint32_t* block = takeBlock(0);
      ok = in.read(block, 4, static_cast<size_t>(n));
      blocks_[b] = block;
      counts_[b] = -1;
    }
    numSet_ = -1;
  } else {
    const int64_t limit = int64_t{words} * 32;
    for (int64_t k = 0; ok && k < h.numSet; ++k) {
      int32_t index = 0;
      ok = in.read(&index) && index >= 0 && index < limit;
      if (ok)
        set(index);
    }
  }
  normalise();
  return ok;
}
