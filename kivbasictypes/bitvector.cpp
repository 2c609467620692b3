//===- bitvector.cpp - Dense sets of non-negative integers ----------------===//
#include "kivbasictypes/bitvector.h"

#include "core/kivassert.h"
#include "core/servicecache.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/bitrecord.h"
#include "kivbasictypes/blockbitvector.h"
#include "kivbasictypes/ikivmmanager.h"
#include "kivbasictypes/ikivrandom.h"
#include "kivbasictypes/quicksort.h"
#include "kivbasictypes/tovrealloc.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <iostream>

namespace {

constexpr const char* kSourcePath = "kivbasictypes/bitvector";
// lastBit is a 32-bit index, so a vector holds at most 2^26 words.
constexpr int32_t kMaxWords = int32_t{1} << 26;
constexpr int32_t kPagedAtConstruction = 4096;
constexpr int32_t kPagedFrom = 4097;
constexpr int32_t kPlainBelow = 1536;
constexpr int32_t kPlainCap = 6144;

bool hasManager() {
  static auto* manager = new CachedService<KivMM::IKivMManager>("IKivMManager");
  return manager->get() != nullptr;
}

int32_t lastBitFor(int64_t words) {
  return static_cast<int32_t>(std::min<int64_t>(words, kMaxWords) * 32 - 1);
}

// popcount chosen once per process: the instruction where the CPU has it.
using CountFn = uint64_t (*)(const uint32_t*, int64_t);

uint64_t countBytewise(const uint32_t* words, int64_t n) {
  uint64_t total = 0;
  for (int64_t i = 0; i < n; ++i)
    total += static_cast<uint64_t>(countWordBitsByBytes(words[i]));
  return total;
}

#if defined(__x86_64__) || defined(__i386__)
__attribute__((target("popcnt"))) uint64_t countHardware(const uint32_t* words, int64_t n) {
  uint64_t total = 0;
  int64_t i = 0;
  for (; i + 1 < n; i += 2) {
    uint64_t pair;
    std::memcpy(&pair, words + i, sizeof pair);
    total += static_cast<uint64_t>(__builtin_popcountll(pair));
  }
  if (i < n)
    total += static_cast<uint64_t>(__builtin_popcount(words[i]));
  return total;
}

CountFn chooseCount() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("popcnt") ? countHardware : countBytewise;
}
#else
CountFn chooseCount() { return countBytewise; }
#endif

CountFn countFunction() {
  static const CountFn fn = chooseCount();
  return fn;
}

} // namespace

int32_t countWordBitsByBytes(uint32_t word) {
  if (word == 0)
    return 0;
  if (word == 0xffffffffu)
    return 32;
  int32_t n = 0;
  for (int k = 0; k < 4; ++k) {
    const uint32_t byte = (word >> (8 * k)) & 0xffu;
    n += byte == 0xffu ? 8 : std::popcount(byte);
  }
  return n;
}

uint64_t countWordBits(const uint32_t* words, int64_t n) { return countFunction()(words, n); }

bool hardwarePopcount() { return countFunction() != countBytewise; }

// ---- construction ---------------------------------------------------------

BitVector::BitVector(int32_t n) : magic_(new BinMagic(kMagicWord)) {
  const int32_t words = std::min(std::max(n >> 5, 0) + 1, kMaxWords);
  if (words >= kPagedAtConstruction && hasManager()) {
    bvwordsLarge_ = new BitWords(words);
    lastBit_ = lastBitFor(bvwordsLarge_->count());
  } else {
    tovMallocT(&bvwords_, words);
    std::memset(bvwords_, 0, static_cast<size_t>(words) * 4);
    lastBit_ = lastBitFor(words);
  }
  numSet_ = 0;
}

BitVector::BitVector(const BitVector& other) : KivObject(), magic_(new BinMagic(kMagicWord)) {
  copyStorageFrom(other);
  lastBit_ = other.lastBit_;
  numSet_ = other.numSet_;
}

BitVector::BitVector(BitVector&& other) noexcept
    : bvwords_(other.bvwords_), bvwordsLarge_(other.bvwordsLarge_),
      magic_(new BinMagic(kMagicWord)), lastBit_(other.lastBit_), numSet_(other.numSet_) {
  // The source keeps no storage: an empty set of no words.
  other.bvwords_ = nullptr;
  other.bvwordsLarge_ = nullptr;
  other.lastBit_ = -1;
  other.numSet_ = 0;
}

BitVector::BitVector(const BlockBitVector& other) : BitVector(10) {
  const int32_t top = other.prevSet(INT_MAX);
  if (top < 0)
    return;
  resize(top);
  const int32_t words = std::min(wordCount(), other.wordCount());
  for (int32_t w = 0; w < words; ++w)
    setWord(w, other.word(w));
  numSet_ = other.numberSet();
}

BitVector::~BitVector() {
  freeStorage();
  delete magic_;
}

BitVector& BitVector::operator=(const BitVector& other) {
  if (this != &other) {
    freeStorage();
    copyStorageFrom(other);
    lastBit_ = other.lastBit_;
    numSet_ = other.numSet_;
  }
  return *this;
}

BitVector& BitVector::operator=(BitVector&& other) noexcept {
  if (this != &other)
    swap(other);
  return *this;
}

void BitVector::freeStorage() {
  if (bvwords_)
    tovFree(bvwords_);
  delete bvwordsLarge_;
  bvwords_ = nullptr;
  bvwordsLarge_ = nullptr;
}

void BitVector::copyStorageFrom(const BitVector& other) {
  if (other.bvwords_) {
    const int32_t words = other.wordCount();
    tovMallocT(&bvwords_, words);
    std::memcpy(bvwords_, other.bvwords_, static_cast<size_t>(words) * 4);
  } else if (other.bvwordsLarge_) {
    bvwordsLarge_ = new BitWords(*other.bvwordsLarge_);
  }
}

void BitVector::resetToOneWord() {
  freeStorage();
  tovMallocT(&bvwords_, 1);
  bvwords_[0] = 0;
  lastBit_ = 31;
  numSet_ = 0;
}

// ---- words ------------------------------------------------------------------

uint32_t BitVector::word(int32_t w) const {
  if (w < 0 || w > (lastBit_ >> 5))
    return 0;
  return bvwords_ ? bvwords_[w] : bvwordsLarge_->get(w);
}

void BitVector::setWord(int32_t w, uint32_t value) {
  if (bvwords_)
    bvwords_[w] = value;
  else
    bvwordsLarge_->set(w, value);
}

void BitVector::setLarge(int32_t i) {
  const uint32_t mask = 1u << (i & 31);
  const uint32_t w = bvwordsLarge_->get(i >> 5);
  if (w & mask)
    return;
  bvwordsLarge_->set(i >> 5, w | mask);
  if (numSet_ != kUnknown)
    ++numSet_;
}

void BitVector::clearLarge(int32_t i) {
  const uint32_t mask = 1u << (i & 31);
  const uint32_t w = bvwordsLarge_->get(i >> 5);
  if (!(w & mask))
    return;
  bvwordsLarge_->set(i >> 5, w & ~mask);
  if (numSet_ != kUnknown)
    --numSet_;
}

int32_t BitVector::lastNonZeroWord() const {
  for (int32_t w = wordCount() - 1; w >= 0; --w) {
    if (bvwordsLarge_ && !bvwordsLarge_->blockAt(w >> 11)) {
      w = (w >> 11) << 11;  // the loop steps below the missing block
      continue;
    }
    if (word(w))
      return w;
  }
  return -1;
}

void BitVector::clear() {
  if (numSet_ == 0)
    return;
  if (bvwords_)
    std::memset(bvwords_, 0, static_cast<size_t>(wordCount()) * 4);
  else if (bvwordsLarge_)
    bvwordsLarge_->clearRange(0, bvwordsLarge_->count());
  numSet_ = 0;
}

// The three steps of the allocation: a plain vector stays plain up to 4096
// words, goes paged at 4097 (with a manager), and comes back below 1536.
void BitVector::resize(int32_t n) {
  n = std::max(n, 31);
  if (!bvwords_ && !bvwordsLarge_) {  // a moved-from or emptied vector
    const int32_t wanted = std::min((n >> 5) + 1, kMaxWords);
    tovMallocT(&bvwords_, wanted);
    std::memset(bvwords_, 0, static_cast<size_t>(wanted) * 4);
    lastBit_ = lastBitFor(wanted);
    return;
  }
  const int32_t w = wordCount();
  const int32_t wanted = std::min((n >> 5) + 1, kMaxWords);
  int32_t cap = wanted;
  if (n > lastBit_) {
    int64_t c = std::max(lastBit_, 31);
    while (c <= n)
      c *= 2;
    cap = static_cast<int32_t>(std::min<int64_t>((c >> 5) + 1, kMaxWords));
  }
  if (wanted == w)
    return;
  if (wanted < w)
    numSet_ = kUnknown;
  int64_t held = 0;
  if (bvwordsLarge_ && wanted < kPlainBelow && wanted <= w) {
    KIV_ASSERT(!bvwords_, kSourcePath);
    uint32_t* plain = nullptr;
    tovMallocT(&plain, wanted);
    for (int32_t i = 0; i < wanted; ++i)
      plain[i] = bvwordsLarge_->get(i);
    delete bvwordsLarge_;
    bvwordsLarge_ = nullptr;
    bvwords_ = plain;
    held = wanted;
  } else if (bvwords_ && wanted >= kPagedFrom && w < wanted) {
    if (hasManager()) {
      KIV_ASSERT(!bvwordsLarge_, kSourcePath);
      auto* large = new BitWords(cap);
      for (int32_t i = 0; i < w; ++i)
        large->set(i, bvwords_[i]);
      tovFree(bvwords_);
      bvwords_ = nullptr;
      bvwordsLarge_ = large;
      held = large->count();
    } else {
      held = tovReallocT(&bvwords_, w, wanted, static_cast<uint32_t>(cap));
    }
  } else if (bvwords_) {
    held = tovReallocT(&bvwords_, w, wanted, static_cast<uint32_t>(std::min(cap, kPlainCap)));
  } else {
    bvwordsLarge_->resize(wanted > w ? cap : wanted, true);
    held = bvwordsLarge_->count();
  }
  lastBit_ = lastBitFor(held);
}

// ---- ranges -----------------------------------------------------------------

namespace {

enum class RangeOp { Set, Clear, Flip };

template <class V>
void applyRange(V& v, int32_t from, int32_t to, RangeOp op) {
  if (from > to)
    return;
  const int32_t first = from >> 5;
  const int32_t last = to >> 5;
  for (int32_t w = first; w <= last; ++w) {
    uint32_t mask = ~0u;
    if (w == first)
      mask &= ~0u << (from & 31);
    if (w == last)
      mask &= (to & 31) == 31 ? ~0u : ((2u << (to & 31)) - 1u);
    const uint32_t old = v.word(w);
    const uint32_t now = op == RangeOp::Set ? old | mask
                         : op == RangeOp::Clear ? old & ~mask
                                                : old ^ mask;
    if (now != old)
      v.setWord(w, now);
  }
}

} // namespace

void BitVector::setAll(int32_t n) {
  resize(n);
  numSet_ = 1;  // forces clear() to wipe
  clear();
  if (n >= 1)
    applyRange(*this, 1, std::min(n, lastBit_), RangeOp::Set);
  numSet_ = static_cast<uint32_t>(std::max(n, 0));
}

void BitVector::setAll() {
  const int32_t words = wordCount();
  for (int32_t w = 0; w < words; ++w)
    setWord(w, w == 0 ? 0xfffffffeu : 0xffffffffu);
  numSet_ = static_cast<uint32_t>(std::max(lastBit_, 0));
}

bool BitVector::setRange(int32_t from, int32_t to) {
  if (from > lastBit_)
    return false;
  applyRange(*this, std::max(from, 0), std::min(to, lastBit_), RangeOp::Set);
  numSet_ = kUnknown;
  return true;
}

bool BitVector::clearRange(int32_t from, int32_t to) {
  if (from > lastBit_)
    return false;
  applyRange(*this, std::max(from, 0), std::min(to, lastBit_), RangeOp::Clear);
  numSet_ = kUnknown;
  return true;
}

void BitVector::flipRange(int32_t from, int32_t to) {
  applyRange(*this, std::max(from, 0), std::min(to, lastBit_), RangeOp::Flip);
  numSet_ = kUnknown;
}

void BitVector::flipAll() {
  const int32_t words = wordCount();
  for (int32_t w = 0; w < words; ++w)
    setWord(w, ~word(w));
  numSet_ = kUnknown;
}

void BitVector::complement(int32_t n) {
  resize(n);
  flipRange(1, n);
}

// ---- queries ----------------------------------------------------------------

int32_t BitVector::nextSet(int32_t i) const {
  const int32_t start = std::max(i, -1) + 1;
  if (start > lastBit_)
    return -1;
  const int32_t words = wordCount();
  int32_t w = start >> 5;
  uint32_t bits = word(w) & (~0u << (start & 31));
  for (;;) {
    if (bits)
      return (w << 5) + std::countr_zero(bits);
    if (++w >= words)
      return -1;
    if (bvwordsLarge_ && !bvwordsLarge_->blockAt(w >> 11)) {
      w = ((w >> 11) + 1) << 11;
      if (w >= words)
        return -1;
    }
    bits = word(w);
  }
}

int32_t BitVector::nextClear(int32_t i) const {
  const int32_t start = std::max(i, -1) + 1;
  if (start > lastBit_)
    return -1;
  const int32_t words = wordCount();
  int32_t w = start >> 5;
  uint32_t bits = ~word(w) & (~0u << (start & 31));
  for (;;) {
    if (bits)
      return (w << 5) + std::countr_zero(bits);
    if (++w >= words)
      return -1;
    bits = ~word(w);
  }
}

namespace {
uint32_t maskUpTo(int32_t bit) { return (bit & 31) == 31 ? ~0u : ((2u << (bit & 31)) - 1u); }
} // namespace

int32_t BitVector::prevSet(int32_t i) const {
  if (i < 1 || lastBit_ < 0)
    return -1;
  const int32_t start = i > lastBit_ ? lastBit_ : i - 1;
  int32_t w = start >> 5;
  uint32_t bits = word(w) & maskUpTo(start);
  for (;;) {
    if (bits)
      return (w << 5) + 31 - std::countl_zero(bits);
    if (--w < 0)
      return -1;
    if (bvwordsLarge_ && !bvwordsLarge_->blockAt(w >> 11)) {
      w = ((w >> 11) << 11) - 1;
      if (w < 0)
        return -1;
    }
    bits = word(w);
  }
}

int32_t BitVector::prevClear(int32_t i) const {
  if (i < 1 || lastBit_ < 0)
    return -1;
  const int32_t start = i > lastBit_ ? lastBit_ : i - 1;
  int32_t w = start >> 5;
  uint32_t bits = ~word(w) & maskUpTo(start);
  for (;;) {
    if (bits)
      return (w << 5) + 31 - std::countl_zero(bits);
    if (--w < 0)
      return -1;
    bits = ~word(w);
  }
}

namespace {

// Set bits in words [from, to) of either form.
uint64_t countWords(const uint32_t* plain, const BitWords* large, int32_t from, int32_t to) {
  if (from >= to)
    return 0;
  if (plain)
    return countWordBits(plain + from, to - from);
  uint64_t total = 0;
  const int32_t per = KivMM::BitVectorSplitter::kBlockElements;
  for (int32_t b = from / per; b * per < to; ++b) {
    const auto* block = static_cast<const uint32_t*>(large->blockAt(b));
    if (!block)
      continue;
    const int32_t lo = std::max(from, b * per);
    const int32_t hi = std::min(to, (b + 1) * per);
    total += countWordBits(block + (lo - b * per), hi - lo);
  }
  return total;
}

} // namespace

uint32_t BitVector::numberSet() const {
  if (numSet_ == kUnknown)
    numSet_ = static_cast<uint32_t>(countWords(bvwords_, bvwordsLarge_, 0, wordCount()));
  return numSet_;
}

int32_t BitVector::countSetFrom(int32_t i) const {
  const int32_t start = std::max(i, -1) + 1;
  if (start > lastBit_)
    return 0;
  const int32_t w = start >> 5;
  uint64_t n = static_cast<uint64_t>(std::popcount(word(w) & (~0u << (start & 31))));
  n += countWords(bvwords_, bvwordsLarge_, w + 1, wordCount());
  return static_cast<int32_t>(n);
}

int32_t BitVector::countSetBelow(int32_t i) const {
  const int32_t first = nextSet(-1);
  if (first <= 0)
    return 0;
  const int32_t end = std::min(i, lastBit_ + 1);  // bits [1, end)
  if (end <= 1)
    return 0;
  const int32_t lastWord = (end - 1) >> 5;
  uint64_t n = countWords(bvwords_, bvwordsLarge_, 0, lastWord);
  n += static_cast<uint64_t>(std::popcount(word(lastWord) & maskUpTo(end - 1)));
  n -= word(0) & 1u;
  return static_cast<int32_t>(n);
}

bool BitVector::equals(const BitVector& other) const {
  if (this == &other)
    return true;
  if (numSet_ != kUnknown && other.numSet_ != kUnknown && numSet_ != other.numSet_)
    return false;
  const int32_t a = wordCount();
  const int32_t b = other.wordCount();
  const int32_t common = std::min(a, b);
  if (bvwords_ && other.bvwords_) {
    if (std::memcmp(bvwords_, other.bvwords_, static_cast<size_t>(common) * 4) != 0)
      return false;
  } else {
    for (int32_t w = 0; w < common; ++w)
      if (word(w) != other.word(w))
        return false;
  }
  const BitVector& longer = a > b ? *this : other;
  return longer.lastNonZeroWord() < common;
}

// ---- whole-set operations ---------------------------------------------------

namespace {

template <class Other, class Op>
void combineWords(BitVector& self, const Other& other, int32_t words, Op op) {
  for (int32_t w = 0; w < words; ++w) {
    const uint32_t old = self.word(w);
    const uint32_t now = op(old, other.word(w));
    if (now != old)
      self.setWord(w, now);
  }
}

template <class Other>
void andWith(BitVector& self, const Other& other) {
  const int32_t common = std::min(self.wordCount(), other.wordCount());
  combineWords(self, other, common, [](uint32_t a, uint32_t b) { return a & b; });
  for (int32_t w = common; w < self.wordCount(); ++w)
    if (self.word(w))
      self.setWord(w, 0);
}

template <class Other, class Op>
void growAndCombine(BitVector& self, const Other& other, Op op) {
  const int32_t last = other.lastNonZeroWord();
  if (last < 0)
    return;
  if (last >= self.wordCount())
    self.resize((last << 5) + 31);
  combineWords(self, other, last + 1, op);
}

} // namespace

BitVector& BitVector::operator&=(const BitVector& other) {
  if (numSet_ == 0)
    return *this;
  if (other.numSet_ == 0) {
    clear();
    return *this;
  }
  if (bvwords_ && other.bvwords_) {
    const int32_t common = std::min(wordCount(), other.wordCount());
    for (int32_t w = 0; w < common; ++w)
      bvwords_[w] &= other.bvwords_[w];
    std::memset(bvwords_ + common, 0, static_cast<size_t>(wordCount() - common) * 4);
  } else {
    andWith(*this, other);
  }
  numSet_ = kUnknown;
  return *this;
}

BitVector& BitVector::operator|=(const BitVector& other) {
  if (other.numSet_ == 0)
    return *this;
  growAndCombine(*this, other, [](uint32_t a, uint32_t b) { return a | b; });
  numSet_ = kUnknown;
  return *this;
}

BitVector& BitVector::operator^=(const BitVector& other) {
  if (other.numSet_ == 0)
    return *this;
  growAndCombine(*this, other, [](uint32_t a, uint32_t b) { return a ^ b; });
  numSet_ = kUnknown;
  return *this;
}

void BitVector::subtract(const BitVector& other) {
  if (numSet_ == 0 || other.numSet_ == 0)
    return;
  combineWords(*this, other, std::min(wordCount(), other.wordCount()),
               [](uint32_t a, uint32_t b) { return a & ~b; });
  numSet_ = kUnknown;
}

BitVector& BitVector::operator&=(const BlockBitVector& other) {
  if (numSet_ == 0)
    return *this;
  if (other.knownEmpty()) {
    clear();
    return *this;
  }
  andWith(*this, other);
  numSet_ = kUnknown;
  return *this;
}

BitVector& BitVector::operator|=(const BlockBitVector& other) {
  if (other.knownEmpty())
    return *this;
  growAndCombine(*this, other, [](uint32_t a, uint32_t b) { return a | b; });
  numSet_ = kUnknown;
  return *this;
}

BitVector& BitVector::operator^=(const BlockBitVector& other) {
  if (other.knownEmpty())
    return *this;
  growAndCombine(*this, other, [](uint32_t a, uint32_t b) { return a ^ b; });
  numSet_ = kUnknown;
  return *this;
}

void BitVector::subtract(const BlockBitVector& other) {
  if (numSet_ == 0 || other.knownEmpty())
    return;
  combineWords(*this, other, std::min(wordCount(), other.wordCount()),
               [](uint32_t a, uint32_t b) { return a & ~b; });
  numSet_ = kUnknown;
}

void BitVector::assign(const BitVector& other) {
  if (this == &other)
    return;
  const int32_t last = other.lastNonZeroWord();
  if (last < 0) {
    numSet_ = kUnknown;
    clear();
    return;
  }
  if (last >= wordCount())
    resize((last << 5) + 31);
  const int32_t words = wordCount();
  for (int32_t w = 0; w < words; ++w) {
    const uint32_t v = w <= last ? other.word(w) : 0;
    if (v != word(w))
      setWord(w, v);
  }
  numSet_ = other.numSet_;
}

bool BitVector::isDisjoint(const BitVector& other) const {
  const int32_t common = std::min(wordCount(), other.wordCount());
  for (int32_t w = 0; w < common; ++w)
    if (word(w) & other.word(w))
      return false;
  return true;
}

bool BitVector::isSubsetOf(const BitVector& other) const {
  const int32_t common = std::min(wordCount(), other.wordCount());
  for (int32_t w = 0; w < common; ++w)
    if (word(w) & ~other.word(w))
      return false;
  return true;
}

void BitVector::swap(BitVector& other) noexcept {
  std::swap(bvwords_, other.bvwords_);
  std::swap(bvwordsLarge_, other.bvwordsLarge_);
  std::swap(lastBit_, other.lastBit_);
  std::swap(numSet_, other.numSet_);
}

// ---- thinning and renumbering -----------------------------------------------

void BitVector::reduceTo(int32_t n) {
  const int64_t total = numberSet();
  if (total <= n || get(0))
    return;
  int64_t acc = total / 2;
  for (int32_t i = nextSet(-1); i >= 0; i = nextSet(i)) {
    acc += n;
    if (acc < total)
      clear(i);
    else
      acc -= total;
  }
}

void BitVector::thinRandomly(double fraction, IKivRandom* random) {
  SPtr<IKivRandom> service;
  if (!random) {
    service = SPtr<IKivRandom>("IKivRandom");
    random = service.get();
    // Without a source of random numbers nothing can be chosen fairly; the
    // set stays as it is.
    if (!random)
      return;
    random->seed(2 * numberSet() + 412);
  }
  const int32_t total = static_cast<int32_t>(numberSet());
  int32_t target = static_cast<int32_t>(total * fraction + 0.5);
  int32_t left = total;
  for (int32_t i = nextSet(-1); i >= 0; i = nextSet(i)) {
    const int32_t r = random->randomBelow(left);
    if (r < target)
      --target;
    else
      clear(i);
    --left;
  }
}

void BitVector::split(int32_t parts, int32_t* firsts, int32_t* counts) const {
  if (parts < 1)
    return;
  const int32_t total = static_cast<int32_t>(numberSet());
  firsts[0] = nextSet(-1);
  counts[0] = 0;
  if (parts == 1) {
    firsts[1] = -1;
    counts[1] = total;
    return;
  }
  int32_t previous = 0;
  int32_t at = firsts[0];
  for (int32_t k = 1; k < parts; ++k) {
    const auto t = static_cast<int32_t>(static_cast<double>(k) / parts * total);
    for (int32_t s = previous; s < t && at >= 0; ++s)
      at = nextSet(at);
    firsts[k] = at;
    counts[k] = counts[k - 1] + t - previous;
    previous = t;
  }
  counts[parts] = total;
  firsts[parts] = -1;
}

void BitVector::compress(const BitVector& mask) {
  int32_t d = 1;
  for (int32_t i = mask.nextSet(-1); i >= 0; i = mask.nextSet(i)) {
    set(d, get(i));
    ++d;
  }
  if (d <= lastBit_)
    clearRange(d, lastBit_);
  resize(d);
}

void BitVector::compressComplement(const BitVector& mask) {
  int32_t d = 0;
  const int32_t last = lastBit_;
  for (int32_t i = 0; i <= last; ++i) {
    if (mask.get(i))
      continue;
    set(d, get(i));
    ++d;
  }
  if (d < lastBit_ / 2)
    resize(d);
  if (d <= lastBit_)
    clearRange(d, lastBit_);
}

void BitVector::renumber(const IntMMArray& map) {
  int32_t lastTarget = 1;
  const int64_t limit = std::min<int64_t>(map.count(), int64_t{lastBit_} + 1);
  for (int32_t i = 0; i < limit; ++i) {
    const int32_t q = map.get(i);
    if (q == 0) {
      clear(i);
    } else if (q > 0 && get(i)) {  // a negative target names no bit: left alone
      if (q != i) {
        clear(i);
        set(q);
      }
      lastTarget = q;
    }
  }
  resize(lastTarget);
}

namespace {

class BitAssign final : public QuickSort_Assign {
public:
  explicit BitAssign(BitVector& bits) : bits_(bits) {}
  void assign(int32_t from, int32_t to) override {
    const bool v = from == -1 ? scratch_ : bits_.get(from);
    if (to == -1)
      scratch_ = v;
    else
      bits_.set(to, v);
  }

private:
  BitVector& bits_;
  bool scratch_ = false;
};

} // namespace

void BitVector::permute(const IntMMArray& order) {
  int32_t last = -1;
  for (int32_t i = order.count() - 1; i >= 0; --i) {
    if (order.get(i) != 0) {
      last = i;
      break;
    }
  }
  if (last < 0)
    return;
  BitAssign assign(*this);
  applyOrder(order, 0, last, assign);
}

void BitVector::shiftUp(int32_t n) {
  if (n < 1)
    return;
  const int32_t top = lastBit_;
  resize(static_cast<int32_t>(std::min<int64_t>(int64_t{top} + n, INT32_MAX)));
  for (int32_t i = top; i >= 0; --i) {
    if (int64_t{i} + n <= lastBit_)
      set(i + n, get(i));
  }
  for (int32_t i = 0; i < n && i <= lastBit_; ++i)
    clear(i);
}

// ---- mapped forms -----------------------------------------------------------

template <class Walk>
void BitVector::walkMap(const IntMMArray& map, Walk walk) const {
  const int32_t per = KivMM::Splitter<int>::kBlockElements;
  const int32_t n = map.count();
  for (int32_t p = 0; p < n; ++p) {
    if (!map.blockAt(p / per)) {
      p = (p / per + 1) * per - 1;
      continue;
    }
    // A negative entry names no bit; it is passed over like a zero one.
    const int32_t q = map.get(p);
    if (q > 0)
      walk(p, q);
  }
}

void BitVector::assignMapped(const BitVector& other, const IntMMArray& map) {
  walkMap(map, [&](int32_t p, int32_t q) { set(q, other.get(p)); });
}

void BitVector::assignMapped(const BlockBitVector& other, const IntMMArray& map) {
  walkMap(map, [&](int32_t p, int32_t q) { set(q, other.get(p)); });
}

void BitVector::andMapped(const BitVector& other, const IntMMArray& map) {
  walkMap(map, [&](int32_t p, int32_t q) { set(q, get(q) && other.get(p)); });
}

void BitVector::orMapped(const BitVector& other, const IntMMArray& map) {
  walkMap(map, [&](int32_t p, int32_t q) { set(q, get(q) || other.get(p)); });
}

void BitVector::subtractMapped(const BitVector& other, const IntMMArray& map) {
  walkMap(map, [&](int32_t p, int32_t q) { set(q, get(q) && !other.get(p)); });
}

void BitVector::xorMapped(const BitVector& other, const IntMMArray& map) {
  walkMap(map, [&](int32_t p, int32_t q) { set(q, get(q) != other.get(p)); });
}

void BitVector::flipMapped(const IntMMArray& map) {
  walkMap(map, [&](int32_t, int32_t q) { set(q, !get(q)); });
}

// ---- text and stored form ---------------------------------------------------

void BitVector::print(std::ostream& os) const {
  os << "numSet=" << numberSet() << "\n";
  int32_t onLine = 0;
  for (int32_t i = nextSet(-1); i >= 0; i = nextSet(i)) {
    os << i << " ";
    if (++onLine == 8) {
      os << "\n";
      onLine = 0;
    }
  }
  os << "\n";
}

void BitVector::print() const {
  print(std::cout);
  std::cout << "\n";
}

bool BitVector::write(BinOutput& out) const {
  const int32_t words = wordCount();
  const bool sparse = bitrecord::useSparse(out, words, [this] { return numberSet(); });
  bool ok = bitrecord::writeHead(out, words, sparse, numSet_);
  if (sparse) {
    for (int32_t i = nextSet(-1); ok && i >= 0; i = nextSet(i))
      ok = out.write(&i);
  } else if (bvwords_) {
    ok = ok && out.write(bvwords_, 4, static_cast<size_t>(words));
  } else if (bvwordsLarge_) {
    const int32_t per = KivMM::BitVectorSplitter::kBlockElements;
    for (int32_t b = 0; ok && b * per < words; ++b) {
      const int32_t n = std::min(per, words - b * per);
      const auto* block = static_cast<const uint32_t*>(bvwordsLarge_->blockAt(b));
      ok = bitrecord::writeWords(out, block, n);
    }
  }
  return ok && out.good();
}

bool BitVector::read(BinInput& in) {
  BinMagic head(kMagicWord);
  if (!head.readSameId(in))
    return false;
  bitrecord::Head h;
  const bool headOk = bitrecord::readHead(in, &h);
  freeStorage();
  if (!headOk) {
    resetToOneWord();
    return false;
  }
  if (h.words == 0 || h.lastBit < 1) {
    resetToOneWord();
    return true;
  }
  if (h.sparse != 0 && h.sparse != 1) {
    // Unknown body: the storage stays empty (a set of no words).
    lastBit_ = -1;
    numSet_ = 0;
    return true;
  }
  // A record that claims more than the stream holds, or more than a vector
  // can index, is refused before anything is allocated for it.
  if (!bitrecord::plausible(in, h)) {
    resetToOneWord();
    return false;
  }
  const auto words = static_cast<int32_t>(h.words);
  // A sparse record's word count is not backed by its bytes, so a large one
  // is read into the paged form even without a manager (blocks then come
  // from the process's own source): a record of a few bytes must not make a
  // plain vector of hundreds of megabytes.
  if (words > 4095 && (hasManager() || h.sparse == 1)) {
    bvwordsLarge_ = new BitWords(words);
    lastBit_ = lastBitFor(bvwordsLarge_->count());
  } else {
    tovMallocT(&bvwords_, words);
    std::memset(bvwords_, 0, static_cast<size_t>(words) * 4);
    lastBit_ = lastBitFor(words);
  }
  if (h.sparse == 0) {
    numSet_ = kUnknown;
    if (bvwords_)
      return in.read(bvwords_, 4, static_cast<size_t>(words));
    for (int32_t w = 0; w < words; ++w) {
      uint32_t v = 0;
      if (!in.read(&v))
        return false;
      if (v)
        bvwordsLarge_->set(w, v);
    }
    return true;
  }
  numSet_ = 0;
  for (int64_t k = 0; k < h.numSet; ++k) {
    int32_t index = 0;
    if (!in.read(&index))
      return false;
    if (index < 0 || index > lastBit_)
      return false;  // an index outside the record's own words: a damaged record
    set(index);
  }
  return true;
}

bool BitVector::isAllocated() const {
  return bvwordsLarge_ ? bvwordsLarge_->isFullyAllocated() : true;
}

const BitVector& BitVector::empty() {
  static const BitVector* shared = new BitVector(10);
  return *shared;
}
