#include "kivbasictypes/bitvector.h"

#include "binstreams.h"
#include "blockfakes.h"
#include "bulkrecords.h"
#include "kivbasictypes/bitvectorpool.h"
#include "kivbasictypes/blockbitvector.h"
#include "kivbasictypes/ikivrandom.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <sstream>
#include <vector>

namespace {

using blockfakes::BlockFixture;
using memfakes::MemFixture;

// Gives the scripted numbers in turn (then 0) and records the seed.
class ScriptedRandom : public memfakes::FakeService<IKivRandom> {
public:
  ScriptedRandom() : FakeService("IKivRandom") {}
  int32_t randomBelow(int32_t bound) override {
    ++calls;
    int32_t r = next < script.size() ? script[next++] : 0;
    return bound > 0 ? r % bound : 0;
  }
  void seed(uint32_t s) override { seeded = s; }
  std::vector<int32_t> script;
  size_t next = 0;
  int calls = 0;
  uint32_t seeded = 0;
};

std::vector<int32_t> setBits(const BitVector& v) {
  std::vector<int32_t> out;
  for (int32_t i = v.nextSet(-1); i >= 0; i = v.nextSet(i))
    out.push_back(i);
  return out;
}

std::vector<int32_t> setBits(const BlockBitVector& v) {
  std::vector<int32_t> out;
  for (int32_t i = v.nextSet(-1); i >= 0; i = v.nextSet(i))
    out.push_back(i);
  return out;
}

Bytes recordOf(const BitVector& v, int version = 0) {
  MemoryOutput out;
  out.setFileVersion(version);
  EXPECT_TRUE(v.write(out));
  out.flush();
  return out.bytes();
}

Bytes recordOf(const BlockBitVector& v, int version = 0) {
  MemoryOutput out;
  out.setFileVersion(version);
  EXPECT_TRUE(v.write(out));
  out.flush();
  return out.bytes();
}

class BitVectorTest : public BlockFixture {};

TEST_F(BitVectorTest, SmallVectorEdges) {
  BitVector v(10);
  EXPECT_EQ(v.lastBit(), 31);
  EXPECT_FALSE(v.get(31));
  v.resize(5);
  EXPECT_EQ(v.lastBit(), 31);
  v.set(40);
  EXPECT_EQ(v.lastBit(), 63);
  EXPECT_EQ(v.numberSet(), 1u);

  BitVector all(10);
  all.setAll(5);
  EXPECT_FALSE(all.get(0));
  EXPECT_EQ(all.numberSet(), 5u);
  EXPECT_EQ(setBits(all), (std::vector<int32_t>{1, 2, 3, 4, 5}));
  all.setAll();
  EXPECT_FALSE(all.get(0));
  EXPECT_EQ(all.numberSet(), 31u);

  BitVector none(10);
  EXPECT_EQ(none.nextSet(-1), -1);
  none.set(0);
  EXPECT_EQ(none.nextSet(-1), 0);
  EXPECT_EQ(none.countSetBelow(20), 0);  // the first set bit is bit 0
}

// Single bits at the word and block boundaries, in every form.
TEST_F(BitVectorTest, BitsAtWordAndBlockBoundaries) {
  const int32_t bits[] = {0, 31, 32, 63, 64, 32767, 32768, 65535, 65536};
  for (int32_t bit : bits) {
    SCOPED_TRACE(bit);
    BitVector small(10);
    BitVector paged(200000);
    BlockBitVector block(0);
    ASSERT_TRUE(paged.isPaged());
    for (BitVector* v : {&small, &paged}) {
      v->set(bit);
      EXPECT_TRUE(v->get(bit));
      EXPECT_FALSE(v->get(bit + 1));
      EXPECT_EQ(v->cachedCount(), 1u);
      EXPECT_EQ(v->nextSet(-1), bit);
      EXPECT_EQ(v->nextSet(bit), -1);
      EXPECT_EQ(v->prevSet(bit + 1), bit);
      EXPECT_EQ(v->prevSet(bit), -1);
      EXPECT_EQ(v->countSetFrom(bit - 1), 1);
      EXPECT_EQ(v->countSetFrom(bit), 0);
      EXPECT_EQ(v->nextClear(bit - 1), bit < v->lastBit() ? bit + 1 : -1);
      v->clear(bit);
      EXPECT_EQ(v->cachedCount(), 0u);
      EXPECT_EQ(v->nextSet(-1), -1);
    }
    block.set(bit);
    EXPECT_TRUE(block.get(bit));
    EXPECT_FALSE(block.get(bit - 1));
    EXPECT_EQ(block.nextSet(-1), bit);
    EXPECT_EQ(block.prevSet(bit + 1), bit);
    EXPECT_EQ(block.numberSet(), 1u);
    EXPECT_EQ(block.allocatedBlocks(), 1);
  }
}

TEST_F(BitVectorTest, PrevSetStartsAtLastBitWhenAskedAbove) {
  BitVector v(10);
  v.set(31);
  EXPECT_EQ(v.prevSet(1000), 31);
  EXPECT_EQ(v.prevSet(0), -1);
  EXPECT_EQ(v.prevClear(1000), 30);
}

// The plain and paged forms switch at 4097 words up and below 1536 down.
TEST_F(BitVectorTest, FormSwitches) {
  resetServiceCaches();
  manager.services.erase("IKivMManager");
  BitVector withoutManager(4095 * 32);
  BitVector willGrow(4095 * 32);
  EXPECT_FALSE(withoutManager.isPaged());
  EXPECT_EQ(withoutManager.wordCount(), 4096);
  withoutManager.set(4096 * 32);
  EXPECT_FALSE(withoutManager.isPaged());
  EXPECT_TRUE(withoutManager.get(4096 * 32));

  manager.services["IKivMManager"] = blocks;
  resetServiceCaches();
  willGrow.set(7);
  willGrow.set(4096 * 32);
  EXPECT_TRUE(willGrow.isPaged());
  EXPECT_TRUE(willGrow.get(7));
  EXPECT_TRUE(willGrow.get(4096 * 32));
  EXPECT_EQ(willGrow.numberSet(), 2u);

  BitVector constructedPaged(4095 * 32);
  EXPECT_TRUE(constructedPaged.isPaged());
  constructedPaged.set(9);
  constructedPaged.resize(1535 * 32 - 1);
  EXPECT_FALSE(constructedPaged.isPaged());
  EXPECT_EQ(constructedPaged.lastBit(), 1535 * 32 - 1);
  EXPECT_TRUE(constructedPaged.get(9));
  EXPECT_EQ(constructedPaged.cachedCount(), BitVector::kUnknown);

  BitVector stillPaged(200000);
  stillPaged.resize(1536 * 32 - 1);
  EXPECT_TRUE(stillPaged.isPaged());
}

TEST_F(BitVectorTest, CountKeptForSingleChangesDroppedForBulk) {
  struct Case {
    const char* name;
    void (*change)(BitVector&);
    bool known;
    uint32_t count;
  };
  const Case cases[] = {
      {"set", [](BitVector& v) { v.set(70); }, true, 4},
      {"set_again", [](BitVector& v) { v.set(3); }, true, 3},
      {"clear", [](BitVector& v) { v.clear(3); }, true, 2},
      {"clear_unset", [](BitVector& v) { v.clear(4); }, true, 3},
      {"set_range", [](BitVector& v) { v.setRange(10, 20); }, false, 14},
      {"clear_range", [](BitVector& v) { v.clearRange(0, 3); }, false, 2},
      {"flip_all", [](BitVector& v) { v.flipAll(); }, false, 61},
      {"shrink", [](BitVector& v) { v.resize(31); }, false, 2},
      {"clear_all", [](BitVector& v) { v.clear(); }, true, 0},
      {"set_all_n", [](BitVector& v) { v.setAll(9); }, true, 9},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    BitVector v(10);
    v.set(3);
    v.set(5);
    v.set(40);
    c.change(v);
    EXPECT_EQ(v.cachedCount() != BitVector::kUnknown, c.known);
    EXPECT_EQ(v.numberSet(), c.count);
  }
}

// Whole-set operations against a model, in all three forms of the left side.
TEST_F(BitVectorTest, WholeSetOperationsMatchTheModel) {
  std::mt19937 rng(7);
  auto randomSet = [&](int32_t limit, int n) {
    std::set<int32_t> s;
    for (int k = 0; k < n; ++k)
      s.insert(static_cast<int32_t>(rng() % static_cast<uint32_t>(limit)));
    return s;
  };
  enum Op { And, Or, Xor, Sub };
  for (int op = And; op <= Sub; ++op) {
    for (int32_t limits : {100, 70000, 300000}) {
      SCOPED_TRACE(testing::Message() << "op " << op << " limit " << limits);
      auto a = randomSet(limits, 300);
      auto b = randomSet(limits / 2 + 1, 300);
      BitVector va(10), vb(10);
      BlockBitVector ba(0), bb(0);
      for (int32_t i : a) {
        va.set(i);
        ba.set(i);
      }
      for (int32_t i : b) {
        vb.set(i);
        bb.set(i);
      }
      if (limits > 70000) {  // whole uniform blocks on both sides
        vb.setRange(32768, 65535);
        bb.setRange(32768, 65535);
        for (int32_t i = 32768; i <= 65535; ++i)
          b.insert(i);
        va.setRange(65536, 98303);
        ba.setRange(65536, 98303);
        for (int32_t i = 65536; i <= 98303; ++i)
          a.insert(i);
      }
      std::set<int32_t> want;
      for (int32_t i = 0; i < 400000; ++i) {
        const bool x = a.count(i), y = b.count(i);
        const bool r = op == And ? x && y : op == Or ? x || y : op == Xor ? x != y : x && !y;
        if (r)
          want.insert(i);
      }
      BitVector plainLeft = va;
      BlockBitVector blockLeft = ba;
      BlockBitVector blockLeft2 = ba;
      BitVector mixedLeft = va;
      switch (op) {
      case And:
        plainLeft &= vb, blockLeft &= bb, blockLeft2 &= vb, mixedLeft &= bb;
        break;
      case Or:
        plainLeft |= vb, blockLeft |= bb, blockLeft2 |= vb, mixedLeft |= bb;
        break;
      case Xor:
        plainLeft ^= vb, blockLeft ^= bb, blockLeft2 ^= vb, mixedLeft ^= bb;
        break;
      case Sub:
        plainLeft.subtract(vb), blockLeft.subtract(bb), blockLeft2.subtract(vb),
            mixedLeft.subtract(bb);
        break;
      }
      const std::vector<int32_t> expected(want.begin(), want.end());
      EXPECT_EQ(setBits(plainLeft), expected);
      EXPECT_EQ(setBits(mixedLeft), expected);
      EXPECT_EQ(setBits(blockLeft), expected);
      EXPECT_EQ(setBits(blockLeft2), expected);
      EXPECT_EQ(plainLeft.numberSet(), expected.size());
      EXPECT_EQ(blockLeft.numberSet(), expected.size());
      EXPECT_TRUE(blockLeft.equals(plainLeft));
    }
  }
}

TEST_F(BitVectorTest, AssignEqualsSubsetDisjoint) {
  BitVector big(200000);
  big.set(5);
  big.set(150000);
  BitVector small(10);
  small.assign(big);
  EXPECT_EQ(setBits(small), (std::vector<int32_t>{5, 150000}));
  EXPECT_TRUE(small.equals(big));
  small.clear(150000);
  EXPECT_FALSE(small.equals(big));
  EXPECT_TRUE(small.isSubsetOf(big));
  EXPECT_FALSE(big.isSubsetOf(small));
  BitVector other(10);
  other.set(6);
  EXPECT_TRUE(other.isDisjoint(big));
  BitVector copy(10);
  copy = big;
  EXPECT_TRUE(copy.isPaged());
  EXPECT_TRUE(copy.equals(big));
}

TEST_F(BitVectorTest, ReduceThinSplit) {
  BitVector v(10);
  for (int i = 1; i <= 4; ++i)
    v.set(i);
  BitVector same = v;
  same.reduceTo(4);
  EXPECT_EQ(same.numberSet(), 4u);
  v.reduceTo(1);
  EXPECT_EQ(setBits(v), (std::vector<int32_t>{2}));

  BitVector thin(10);
  thin.setRange(1, 20);
  BitVector keep = thin;
  ScriptedRandom random;
  thin.thinRandomly(0.0, &random);
  EXPECT_EQ(thin.numberSet(), 0u);
  keep.thinRandomly(1.0, &random);
  EXPECT_EQ(keep.numberSet(), 20u);

  auto* service = install("IKivRandom", new ScriptedRandom);
  service->script = {0, 5, 0, 5};  // keep, drop, keep, drop of four bits
  BitVector four(10);
  for (int i : {3, 6, 9, 12})
    four.set(i);
  four.thinRandomly(0.5, nullptr);
  EXPECT_EQ(service->seeded, 2u * 4 + 412);
  EXPECT_EQ(setBits(four), (std::vector<int32_t>{3, 9}));

  BitVector ten(10);
  for (int i = 0; i < 10; ++i)
    ten.set(10 + 2 * i);
  int32_t firsts[4], counts[4];
  ten.split(3, firsts, counts);
  EXPECT_EQ(std::vector<int32_t>(firsts, firsts + 4), (std::vector<int32_t>{10, 16, 22, -1}));
  EXPECT_EQ(std::vector<int32_t>(counts, counts + 4), (std::vector<int32_t>{0, 3, 6, 10}));
}

TEST_F(BitVectorTest, CompressRenumberPermuteShift) {
  BitVector v(10);
  for (int i : {2, 4, 5, 9})
    v.set(i);
  BitVector mask(10);
  for (int i : {4, 6, 9})
    mask.set(i);
  BitVector compressed = v;
  compressed.compress(mask);
  EXPECT_EQ(setBits(compressed), (std::vector<int32_t>{1, 3}));

  BitVector deleted = v;
  deleted.compressComplement(mask);  // positions 4, 6, 9 go
  EXPECT_EQ(setBits(deleted), (std::vector<int32_t>{2, 4}));

  IntMMArray map(16);
  map.set(2, 7);
  map.set(4, 4);
  map.set(9, 1);
  BitVector renumbered = v;
  // 5 has no entry and is cleared; so is 7, which 2 moved to, when the walk
  // reaches position 7 with its zero entry.
  renumbered.renumber(map);
  EXPECT_EQ(setBits(renumbered), (std::vector<int32_t>{1, 4}));

  IntMMArray order(8);
  const int32_t entries[] = {0, 2, 3, 1, 4};  // new[i] = old[order[i]]
  for (int i = 0; i < 5; ++i)
    order.set(i, entries[i]);
  BitVector perm(10);
  perm.set(1);
  perm.set(4);
  perm.permute(order);
  EXPECT_EQ(setBits(perm), (std::vector<int32_t>{3, 4}));

  BitVector shifted(10);
  shifted.set(0);
  shifted.set(31);
  shifted.shiftUp(3);
  EXPECT_EQ(setBits(shifted), (std::vector<int32_t>{3, 34}));
}

TEST_F(BitVectorTest, MappedForms) {
  IntMMArray map(8);
  map.set(1, 5);
  map.set(2, 6);
  BitVector other(10);
  other.set(1);
  BitVector v(10);
  v.set(6);
  v.set(5);
  BitVector anded = v;
  anded.andMapped(other, map);
  EXPECT_EQ(setBits(anded), (std::vector<int32_t>{5}));
  BitVector xored = v;
  xored.xorMapped(other, map);
  EXPECT_EQ(setBits(xored), (std::vector<int32_t>{6}));
  BitVector assigned(10);
  assigned.assignMapped(other, map);
  EXPECT_EQ(setBits(assigned), (std::vector<int32_t>{5}));
  BitVector flipped = v;
  flipped.flipMapped(map);
  EXPECT_EQ(setBits(flipped), (std::vector<int32_t>{}));
}

TEST_F(BitVectorTest, PrintText) {
  BitVector v(10);
  for (int i = 1; i <= 9; ++i)
    v.set(i);
  std::ostringstream os;
  v.print(os);
  EXPECT_EQ(os.str(), "numSet=9\n1 2 3 4 5 6 7 8 \n9 \n");
}

// ---- stored form --------------------------------------------------------------

TEST_F(BitVectorTest, StoredFormsByteForByte) {
  BitVector v(10);
  for (int i : {1, 5, 33})
    v.set(i);
  EXPECT_EQ(hexText(recordOf(v)), "31 5E 97 D6 00 00 00 02 00 00 00 3F 00 00 00 00 00 00 00 03 "
                                  "00 00 00 22 00 00 00 02");
  v.setRange(40, 41);  // count unknown: -1 in the dense form
  EXPECT_EQ(hexText(recordOf(v)), "31 5E 97 D6 00 00 00 02 00 00 00 3F 00 00 00 00 FF FF FF FF "
                                  "00 00 00 22 00 00 03 02");

  BitVector wide(33 * 32 - 1);
  for (int i : {0, 700, 1055})
    wide.set(i);
  ASSERT_EQ(wide.wordCount(), 33);
  EXPECT_EQ(hexText(recordOf(wide, 13)),
            "31 5E 97 D6 00 00 00 21 00 00 04 1F 00 00 00 01 00 00 00 03 "
            "00 00 00 00 00 00 02 BC 00 00 04 1F");
  const Bytes dense12 = recordOf(wide, 12);
  ASSERT_EQ(dense12.size(), 20u + 33 * 4);
  EXPECT_EQ(hexText(Bytes(dense12.begin(), dense12.begin() + 24)),
            "31 5E 97 D6 00 00 00 21 00 00 04 1F 00 00 00 00 00 00 00 03 00 00 00 01");
  EXPECT_EQ(recordOf(wide, 0), recordOf(wide, 13));

  BlockBitVector block(0);
  block.set(40000);
  EXPECT_EQ(hexText(recordOf(block)), "31 5E 97 D6 00 00 08 00 00 00 FF FF 00 00 00 01 "
                                      "00 00 00 01 00 00 9C 40");
  BlockBitVector trailing(0);
  trailing.setRange(0, 32767);
  trailing.set(70000);
  trailing.clear(70000);  // its block is clear now, and left out
  const Bytes full = recordOf(trailing, 12);
  ASSERT_EQ(full.size(), 20u + 1024 * 4);
  EXPECT_EQ(hexText(Bytes(full.begin(), full.begin() + 24)),
            "31 5E 97 D6 00 00 04 00 00 00 7F FF 00 00 00 00 00 00 80 00 FF FF FF FF");
}

TEST_F(BitVectorTest, RoundTripsWriteTheSameBytes) {
  std::vector<BitVector> vectors;
  vectors.emplace_back(10);
  vectors.emplace_back(200000);
  vectors.back().setRange(1000, 90000);
  vectors.emplace_back(5000);
  vectors.back().set(4000);
  for (int version : {0, 12, 13}) {
    for (BitVector& v : vectors) {
      SCOPED_TRACE(testing::Message() << "version " << version << " lastBit " << v.lastBit());
      const Bytes first = recordOf(v, version);
      BitVector back(10);
      MemoryInput in(first);
      ASSERT_TRUE(back.read(in));
      EXPECT_TRUE(back.equals(v));
      EXPECT_EQ(recordOf(back, version).size(), first.size());
      BitVector again(10);
      MemoryInput in2(recordOf(back, version));
      ASSERT_TRUE(again.read(in2));
      EXPECT_EQ(recordOf(again, version), recordOf(back, version));

      BlockBitVector block(0);
      MemoryInput in3(first);
      ASSERT_TRUE(block.read(in3));
      EXPECT_TRUE(block.equals(v));
      BitVector fromBlock(10);
      MemoryInput in4(recordOf(block, version));
      ASSERT_TRUE(fromBlock.read(in4));
      EXPECT_TRUE(fromBlock.equals(v));
    }
  }
}

TEST_F(BitVectorTest, HostileRecordsFailCleanly) {
  struct Case {
    const char* name;
    const char* hex;
    bool result;
    uint32_t count;  // afterwards
  };
  const Case cases[] = {
      {"wrong_magic", "31 5E 98 D6 00 00 00 01 00 00 00 1F 00 00 00 00 00 00 00 00 00 00 00 01",
       false, 1},
      {"other_version_same_id",
       "31 5E 97 01 00 00 00 01 00 00 00 1F 00 00 00 00 00 00 00 01 00 00 00 04", true, 1},
      {"truncated_head", "31 5E 97 D6 00 00 00 01 00 00", false, 0},
      {"zero_words", "31 5E 97 D6 00 00 00 00 00 00 00 1F 00 00 00 00 00 00 00 00", true, 0},
      {"words_beyond_record",
       "31 5E 97 D6 7F FF FF FF 00 00 00 1F 00 00 00 00 00 00 00 00 00 00 00 01", false, 0},
      {"words_huge", "31 5E 97 D6 FF FF FF FF 00 00 00 1F 00 00 00 00 00 00 00 00", false, 0},
      {"short_body", "31 5E 97 D6 00 00 00 03 00 00 00 5F 00 00 00 00 00 00 00 00 00 00 00 01",
       false, 0},
      {"unknown_body_kind", "31 5E 97 D6 00 00 00 01 00 00 00 1F 00 00 00 07 00 00 00 00", true,
       0},
      {"sparse_index_outside",
       "31 5E 97 D6 00 00 00 01 00 00 00 1F 00 00 00 01 00 00 00 01 00 00 00 40", false, 0},
      {"sparse_count_lies",
       "31 5E 97 D6 00 00 00 01 00 00 00 1F 00 00 00 01 7F FF FF FF 00 00 00 02", false, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    BitVector v(10);
    v.set(0);
    MemoryInput in(hexBytes(c.hex));
    EXPECT_EQ(v.read(in), c.result);
    EXPECT_EQ(v.numberSet(), c.count);
    v.set(3);  // still usable
    EXPECT_TRUE(v.get(3));
    BlockBitVector b(0);
    MemoryInput in2(hexBytes(c.hex));
    EXPECT_EQ(b.read(in2), c.result);
    b.set(3);
    EXPECT_TRUE(b.get(3));
  }
}

// ---- block vectors and pools ----------------------------------------------------

TEST_F(BitVectorTest, BlockMemoryFollowsUniformity) {
  BlockBitVector v(0);
  v.set(40000);
  EXPECT_EQ(v.allocatedBlocks(), 1);
  v.clear(40000);
  EXPECT_EQ(v.allocatedBlocks(), 1);
  v.normalise();
  EXPECT_EQ(v.allocatedBlocks(), 0);
  EXPECT_EQ(v.lastBlock(), 0);

  BlockBitVector runs(100000);
  runs.setRange(32768, 3 * 32768 - 1);
  EXPECT_EQ(runs.allocatedBlocks(), 0);
  EXPECT_EQ(runs.numberSet(), 65536u);
  runs.set(40000);  // already set: no block made
  EXPECT_EQ(runs.allocatedBlocks(), 0);
  runs.clear(40000);
  EXPECT_EQ(runs.allocatedBlocks(), 1);
  EXPECT_EQ(runs.numberSet(), 65535u);
  BitVector plain(runs);
  EXPECT_EQ(plain.numberSet(), 65535u);
  EXPECT_EQ(plain.nextSet(-1), 32768);
  EXPECT_FALSE(plain.get(40000));
}

TEST_F(BitVectorTest, PoolsHandBackClearedObjects) {
  BitVectorPool pool;
  BitVector* a = pool.takeBitVector(100);
  EXPECT_GE(a->lastBit(), 100);
  a->set(50);
  pool.giveBitVector(&a);
  EXPECT_EQ(a, nullptr);
  EXPECT_EQ(pool.pooled(), 1);
  BitVector* b = pool.takeBitVector(100);
  EXPECT_EQ(b->numberSet(), 0u);
  {
    BitVectorLease lease(pool);
    lease.take(10)->set(3);
    lease.take(*b);
  }
  EXPECT_EQ(pool.pooled(), 2);
  pool.giveBitVector(&b);
  pool.trimPool(1);
  EXPECT_EQ(pool.pooled(), 1);

  const int32_t before = blockPoolSize();
  uint32_t* block = takeBlock(3);
  EXPECT_EQ(block[2], 0xffffffffu);
  EXPECT_EQ(block[3], 0u);
  giveBlock(block);
  EXPECT_EQ(blockPoolSize(), std::max(before, 1));
}

} // namespace

namespace {

// Every input the bulk data fuzz target kept reads without harm and writes
// back what it read.
TEST(BulkData, FuzzCorpusReadsSafely) {
  const auto dir = std::filesystem::path(DM_TEST_DATA_DIR) / "kivbasictypes" / "bulkcorpus";
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    std::ifstream file(entry.path(), std::ios::binary);
    Bytes bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_TRUE(bulkrecords::readAll(bytes)) << entry.path();
    ++files;
  }
  EXPECT_GE(files, 9);
}

} // namespace

#include "kivbasictypes/progbitvectoriter.h"
#include "kivbasictypes/tovprogress.h"

namespace {

class RecordingProgress : public TovProgress {
public:
  bool report(float fraction) override {
    reports.push_back(fraction);
    return true;
  }
  std::vector<float> reports;
};

TEST(ProgBitVectorIter, WalksTheBitsAndReportsEachHundredth) {
  IPtr<RecordingProgress> progress(new RecordingProgress);
  BitVector bits(511);
  bits.setRange(0, 450);  // lastBit 511: a report every 5 advances
  std::vector<int32_t> clear;
  {
    ProgBitVectorIter walk(bits, true, progress.get());
    for (int32_t i = walk.next(); i >= 0; i = walk.next())
      clear.push_back(i);
  }
  EXPECT_EQ(clear.size(), 61u);
  EXPECT_EQ(clear.front(), 451);
  ASSERT_EQ(progress->reports.size(), 12u + 1);
  EXPECT_FLOAT_EQ(progress->reports[0], 0.01f);
  EXPECT_FLOAT_EQ(progress->reports[11], 0.12f);
  EXPECT_EQ(progress->reports.back(), 1.0f);
}

} // namespace

#include "kivbasictypes/quicksort.h"

#include <thread>

namespace {

// The block pool and the scratch pools are shared by threads; each stays
// consistent when two threads take and give at once.
TEST(BitVectorPools, TwoThreadsTakeAndGiveAtOnce) {
  BitVectorPool pool;
  auto work = [&pool] {
    for (int k = 0; k < 2000; ++k) {
      uint32_t* block = takeBlock(k % 1024);
      BitVector* bits = pool.takeBitVector(64);
      bits->set(k % 64);
      IndexStack* stack = takeIndexStack();
      stack->push(k);
      giveIndexStack(&stack);
      pool.giveBitVector(&bits);
      giveBlock(block);
    }
  };
  std::thread a(work);
  std::thread b(work);
  a.join();
  b.join();
  EXPECT_LE(pool.pooled(), 2);
  EXPECT_GE(pool.pooled(), 1);
  EXPECT_LE(blockPoolSize(), 512);
  BitVector* again = pool.takeBitVector(64);
  EXPECT_EQ(again->numberSet(), 0u);
  pool.giveBitVector(&again);
}

} // namespace
