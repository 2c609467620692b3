#include "kivbasictypes/kivvectorarray.h"

#include "binstreams.h"
#include "blockfakes.h"
#include "host/hostpointextrainfo.h"
#include "host/hostrealparrayfactory.h"
#include "kivbasictypes/bitvector.h"
#include "kivbasictypes/ikivpointextrainfo.h"
#include "kivbasictypes/kivmatrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using blockfakes::BlockFixture;

Bytes recordOf(KivVectorArray& a) {
  MemoryOutput out;
  EXPECT_TRUE(a.write(out));
  out.flush();
  return out.bytes();
}

bool same(const KivVector& a, const KivVector& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

class KivVectorArrayTest : public BlockFixture {
protected:
  void SetUp() override {
    BlockFixture::SetUp();
    install("IKivPointExtraInfo", new HostPointExtraInfo);
  }
};

TEST_F(KivVectorArrayTest, GrowthAndSparseStorage) {
  IPtr<KivVectorArray> a(new KivVectorArray);
  EXPECT_EQ(a->capacity(), 0);
  EXPECT_EQ(a->push(KivVector()), 1);
  EXPECT_EQ(a->capacity(), 1024);  // 16 reserved, a whole block of 1024
  EXPECT_EQ(a->points().allocatedBlocks(), 0);
  EXPECT_TRUE(same(a->getPoint(1), KivVector()));
  a->push(KivVector(1, 2, 3));
  EXPECT_EQ(a->points().allocatedBlocks(), 1);
  EXPECT_TRUE(same(a->getPoint(0), KivVector()));
  EXPECT_TRUE(same(a->getPoint(500), KivVector()));   // above count, below capacity
  EXPECT_TRUE(same(a->getPoint(5000), KivVector()));  // above capacity

  // Pointers to points stay valid while the array grows by whole blocks.
  const KivVector* second = &a->at(2);
  for (int i = 0; i < 100000; ++i)
    a->push(KivVector(i, 0, 1));
  EXPECT_EQ(second, &a->at(2));
  EXPECT_TRUE(same(*second, KivVector(1, 2, 3)));
  EXPECT_EQ(a->count(), 100002);
  a->clear();
  EXPECT_EQ(a->count(), 0);
  EXPECT_GT(a->capacity(), 100000);
  a->clearAndFree();
  EXPECT_EQ(a->capacity(), 0);
}

TEST_F(KivVectorArrayTest, EditingOperations) {
  struct Case {
    const char* name;
    void (*edit)(KivVectorArray&);
    std::vector<double> xs;  // x of points 1..count afterwards
  };
  const Case cases[] = {
      {"reverse_odd", [](KivVectorArray& a) { a.reverse(); }, {5, 4, 3, 2, 1}},
      {"insert_end", [](KivVectorArray& a) { a.insert(6, KivVector(9, 0, 0)); },
       {1, 2, 3, 4, 5, 9}},
      {"insert_middle", [](KivVectorArray& a) { a.insert(2, KivVector(9, 0, 0)); },
       {1, 9, 2, 3, 4, 5}},
      {"remove", [](KivVectorArray& a) { a.remove(2); }, {1, 3, 4, 5}},
      {"swap", [](KivVectorArray& a) { a.swap(1, 5); }, {5, 2, 3, 4, 1}},
      {"remove_last_many", [](KivVectorArray& a) { a.removeLast(9); }, {}},
      {"pad", [](KivVectorArray& a) { a.padTo(7); }, {1, 2, 3, 4, 5, 0, 0}},
      {"extend", [](KivVectorArray& a) { a.setExtending(7, KivVector(7, 0, 0)); },
       {1, 2, 3, 4, 5, 0, 7}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<KivVectorArray> a(new KivVectorArray);
    for (int i = 1; i <= 5; ++i)
      a->push(KivVector(i, 0, 0));
    c.edit(*a);
    ASSERT_EQ(a->count(), static_cast<int32_t>(c.xs.size()));
    for (int32_t i = 1; i <= a->count(); ++i)
      EXPECT_EQ(a->getPoint(i).x, c.xs[i - 1]) << "point " << i;
  }
}

TEST_F(KivVectorArrayTest, StoredRecordByteForByte) {
  IPtr<KivVectorArray> a(new KivVectorArray);
  EXPECT_EQ(hexText(recordOf(*a)), "0B 91 6B 00 00 00 00 00");
  a->push(KivVector(1.0, -2.0, 0.5));
  a->push(KivVector());
  EXPECT_EQ(hexText(recordOf(*a)),
            "0B 91 6B 00 00 00 00 02 "
            "3F F0 00 00 00 00 00 00 C0 00 00 00 00 00 00 00 3F E0 00 00 00 00 00 00 "
            "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");

  IPtr<KivVectorArray> many(new KivVectorArray);
  for (int i = 0; i < 3000; ++i)
    many->push(KivVector(i * 0.5, -i, i % 7 ? 0.0 : -0.0));
  const Bytes first = recordOf(*many);
  EXPECT_EQ(first.size(), 8u + 3000 * 24);
  IPtr<KivVectorArray> back(new KivVectorArray);
  MemoryInput in(first);
  ASSERT_TRUE(back->read(in));
  EXPECT_EQ(back->count(), 3000);
  EXPECT_TRUE(back->equals(*many));
  EXPECT_EQ(recordOf(*back), first);

  IPtr<KivVectorArray> empty(new KivVectorArray);
  MemoryInput none(hexBytes("0B 91 6B 00 00 00 00 00"));
  EXPECT_TRUE(empty->read(none));
  EXPECT_EQ(empty->count(), 0);
}

TEST_F(KivVectorArrayTest, BadRecordsLeaveTheArrayEmpty) {
  struct Case {
    const char* name;
    const char* hex;
  };
  const Case cases[] = {
      {"other_version", "0B 91 6B 01 00 00 00 00"},
      {"other_record", "31 5E 97 D6 00 00 00 00"},
      {"negative_count", "0B 91 6B 00 FF FF FF FF"},
      {"count_beyond_record", "0B 91 6B 00 7F FF FF FE 3F F0 00 00 00 00 00 00"},
      {"short_point", "0B 91 6B 00 00 00 00 01 3F F0 00 00 00 00 00 00"},
      {"no_count", "0B 91 6B 00 00 00"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<KivVectorArray> a(new KivVectorArray);
    a->push(KivVector(1, 1, 1));
    MemoryInput in(hexBytes(c.hex));
    EXPECT_FALSE(a->read(in));
    EXPECT_EQ(a->count(), 0);
  }
}

TEST_F(KivVectorArrayTest, TransformAndBounds) {
  IPtr<KivVectorArray> a(new KivVectorArray);
  a->push(KivVector(0.1, 0.2, 0.3));
  a->push(KivVector(-5, 7, 1e-300));
  IPtr<KivVectorArray> copy(new KivVectorArray(*a, true));
  a->transform(KivMatrix());
  EXPECT_TRUE(same(a->getPoint(1), copy->getPoint(1)));
  EXPECT_TRUE(same(a->getPoint(2), copy->getPoint(2)));

  KivMatrix m;
  m(0, 3) = 1.0;  // move by x + 1, then w = 2 halves everything
  m(3, 3) = 2.0;
  a->transform(m);
  EXPECT_TRUE(same(a->getPoint(2), KivVector(-2.0, 3.5, 0.5e-300)));

  KivVector lo, hi;
  IPtr<KivVectorArray> empty(new KivVectorArray);
  empty->bounds(lo, hi);
  EXPECT_TRUE(same(lo, KivVector()) && same(hi, KivVector()));
  IPtr<KivVectorArray> huge(new KivVectorArray);
  huge->push(KivVector(2e42, -3e42, 1));
  huge->bounds(lo, hi);
  EXPECT_TRUE(same(lo, KivVector(1e42, -3e42, 1)));
  EXPECT_TRUE(same(hi, KivVector(2e42, -1e42, 1)));
  BitVector mask(10);
  mask.set(2);
  copy->bounds(lo, hi, mask);
  EXPECT_TRUE(same(lo, KivVector(-5, 7, 1e-300)));
  EXPECT_EQ(huge->maxAbsCoordinate(), 3e42);
}

TEST_F(KivVectorArrayTest, SortMovesPointsAndColoursTogether) {
  struct P {
    double x, y, z;
    float grey;  // colour r = g = b
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<P> input = {
      {2, 0, 0, 0.2f}, {1, 5, 0, 0.4f}, {1, 1, 0.0, 0.6f}, {1, 1, -0.0, 0.8f},
      {0, 0, 0, 1.0f}, {nan, 0, 0, 0.0f}, {1, 1, 0.0, 0.2f},
  };
  IPtr<KivVectorArray> a(new KivVectorArray);
  for (const P& p : input)
    a->push(KivVector(p.x, p.y, p.z));
  ASSERT_TRUE(a->setHasExtra(true));
  for (size_t k = 0; k < input.size(); ++k) {
    const float rgb[3] = {input[k].grey, input[k].grey, input[k].grey};
    ASSERT_TRUE(a->setColour(static_cast<int32_t>(k) + 1, rgb));
  }
  BitVector kept(10);
  RealPArray::OrderArray order(4);
  EXPECT_EQ(a->sort(true, &order, &kept), 5);
  // NaN compares as equal to everything, so it stays where the sort put it;
  // positions are checked through the colour that travelled with each point.
  std::vector<double> xs;
  for (int32_t i = 1; i <= a->count(); ++i) {
    const KivVector p = a->getPoint(i);
    float rgb[3];
    ASSERT_TRUE(a->getExtra(i, rgb));
    if (!std::isnan(p.x)) {
      const auto it = std::find_if(input.begin(), input.end(), [&](const P& q) {
        return q.x == p.x && q.y == p.y && q.z == p.z && q.grey == rgb[0];
      });
      EXPECT_NE(it, input.end()) << "point " << i << " lost its colour: " << p.x << "," << p.y << "," << p.z << " " << rgb[0];
    }
    xs.push_back(p.x);
  }
  EXPECT_EQ(a->count(), 5);

  IPtr<KivVectorArray> plain(new KivVectorArray);
  for (double x : {3.0, 1.0, 2.0, 1.0, 0.0, -1.0})
    plain->push(KivVector(x, 0, 0));
  BitVector all(10);
  EXPECT_EQ(plain->sort(false, nullptr, &all), 6);
  for (int32_t i = 2; i <= 6; ++i)
    EXPECT_LE(plain->getPoint(i - 1).x, plain->getPoint(i).x);
  EXPECT_EQ(all.numberSet(), 6u);
  EXPECT_FALSE(all.get(0));
  EXPECT_EQ(plain->sort(true, nullptr, &all), 5);
  EXPECT_EQ(all.nextSet(0), 1);
  std::vector<int32_t> bits;
  for (int32_t i = all.nextSet(-1); i >= 0; i = all.nextSet(i))
    bits.push_back(i);
  EXPECT_EQ(bits, (std::vector<int32_t>{1, 2, 3, 5, 6}));

  IPtr<KivVectorArray> two(new KivVectorArray);
  two->push(KivVector(2, 0, 0));
  two->push(KivVector(1, 0, 0));
  two->sort(false, nullptr, nullptr);
  EXPECT_EQ(two->getPoint(1).x, 1.0);
  IPtr<KivVectorArray> none(new KivVectorArray);
  EXPECT_EQ(none->sort(true, nullptr, nullptr), 0);
}

TEST_F(KivVectorArrayTest, ColourRecordsAndTheirOperations) {
  IPtr<KivVectorArray> a(new KivVectorArray);
  EXPECT_FALSE(a->coloursToGrey());
  float rgb[3] = {1, 0, 0};
  EXPECT_FALSE(a->setColour(1, rgb));
  MemoryOutput none;
  EXPECT_TRUE(a->writeExtra(none, 5, nullptr));
  none.flush();
  EXPECT_EQ(hexText(none.bytes()), "00 00 00 00");

  const double record[7] = {1, 2, 3, 0, 0.2, 0.4, 1.0};
  a->setHasExtra(true);
  a->pushWithColour(record);
  a->pushWithColour(record);
  float back[8];
  a->getWithIntensity(2, back);
  EXPECT_EQ(back[0], 1.0f);
  EXPECT_EQ(back[4], 0.2f);
  EXPECT_EQ(back[6], 1.0f);
  EXPECT_FLOAT_EQ(back[7], 0.59f * 0.4f + 0.3f * 0.2f + 0.11f * 1.0f);
  EXPECT_EQ(a->getColour(1).a, 1.0f);

  // Positions count from 0: entries 0, 1 and 2 for last = 2; entry 0 holds
  // no point and reads black.
  MemoryOutput out;
  EXPECT_TRUE(a->writeExtra(out, 2, nullptr));
  out.flush();
  EXPECT_EQ(hexText(out.bytes()), "00 00 00 01 00 00 00 03 "
                                  "00 00 00 00 00 00 00 00 00 00 00 00 "
                                  "3E 4C CC CD 3E CC CC CD 3F 80 00 00 "
                                  "3E 4C CC CD 3E CC CC CD 3F 80 00 00");
  MemoryOutput shorter;
  BitVector skip(10);
  skip.set(0);
  a->writeExtra(shorter, 1, &skip);
  shorter.flush();
  EXPECT_EQ(hexText(shorter.bytes()), "00 00 00 01 00 00 00 01 3E 4C CC CD 3E CC CC CD 3F 80 00 00");

  IPtr<KivVectorArray> reader(new KivVectorArray);
  for (int i = 0; i < 3; ++i)
    reader->push(KivVector());
  MemoryInput in(out.bytes());
  EXPECT_TRUE(reader->readExtra(in));
  float got[3];
  ASSERT_TRUE(reader->getExtra(2, got));
  EXPECT_EQ(got[1], 0.4f);
  MemoryInput lying(hexBytes("00 00 00 01 7F FF FF FF 3E 4C CC CD"));
  EXPECT_FALSE(reader->readExtra(lying));

  EXPECT_TRUE(a->coloursToGrey());
  a->getWithColour(1, back);
  EXPECT_EQ(back[4], back[5]);
  EXPECT_EQ(back[5], back[6]);
  EXPECT_TRUE(a->setHasExtra(false));
  EXPECT_FALSE(a->hasExtra());
  EXPECT_EQ(a->extraInfo(), nullptr);
}

TEST_F(KivVectorArrayTest, EqualityCopiesAndTheFactory) {
  IPtr<KivVectorArray> a(new KivVectorArray);
  a->push(KivVector(1, 2, 3));
  IPtr<RealPArray> copy(a->clone(false));
  EXPECT_TRUE(a->equals(*copy));
  a->push(KivVector(std::nan(""), 0, 0));
  IPtr<KivVectorArray> other(new KivVectorArray(*a, false));
  EXPECT_FALSE(a->equals(*other));  // NaN is never equal
  IPtr<KivVectorArray> viaBase(new KivVectorArray(static_cast<RealPArray&>(*copy), false));
  EXPECT_EQ(viaBase->count(), 1);
  EXPECT_TRUE(viaBase->equals(*copy));

  void* out = nullptr;
  a->queryInterface("IRealPArray", &out);
  EXPECT_NE(out, nullptr);
  a->queryInterface("KivVectorArray", &out);
  EXPECT_EQ(out, a.get());

  MemoryInput withoutFactory(recordOf(*a));
  EXPECT_EQ(RealPArray::createFromStream(withoutFactory), nullptr);
  install("IRealPArrayFactory", new HostRealPArrayFactory);
  MemoryInput known(recordOf(*a));
  IPtr<RealPArray> made(RealPArray::createFromStream(known));
  ASSERT_NE(made.get(), nullptr);
  EXPECT_STREQ(made->className(), "KivVectorArray");
  EXPECT_EQ(known.tell(), 0);
  EXPECT_TRUE(made->read(known));
  EXPECT_EQ(made->count(), 2);
  MemoryInput unknown(hexBytes("12 34 56 78"));
  EXPECT_EQ(RealPArray::createFromStream(unknown), nullptr);
  MemoryInput empty(Bytes{});
  EXPECT_EQ(RealPArray::createFromStream(empty), nullptr);

  VertexArrayRPA vertices(a.get());
  double v[3];
  vertices.getVertex(1, v);
  EXPECT_EQ(v[2], 3.0);
}

} // namespace
