#include "kivbasictypes/binio.h"

#include "binstreams.h"
#include "tempfile.h"
#include "core/kivassert.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

namespace {

template <class T>
Bytes written(const T* data, size_t width, size_t count) {
  MemoryOutput out;
  EXPECT_TRUE(out.write(data, width, count));
  EXPECT_TRUE(out.flushBuffer());
  return out.bytes();
}

TEST(BinIo, NumbersLeaveBigEndian) {
  int32_t i = 0x01020304;
  EXPECT_EQ(hexText(written(&i, 4, 1)), "01 02 03 04");
  double d = 1.0;
  EXPECT_EQ(hexText(written(&d, 8, 1)), "3F F0 00 00 00 00 00 00");
  float f = 1.0f;
  EXPECT_EQ(hexText(written(&f, 4, 1)), "3F 80 00 00");
  int16_t s = -2;
  EXPECT_EQ(hexText(written(&s, 2, 1)), "FF FE");
  uint64_t u = 0x0102030405060708ull;
  EXPECT_EQ(hexText(written(&u, 8, 1)), "01 02 03 04 05 06 07 08");
}

// Every element type read and written at widths other than its own.
TEST(BinIo, WidthsExtendAndTruncate) {
  struct Case {
    const char* name;
    const char* bytes;
    int64_t expected;
  };
  const Case signedCases[] = {
      {"three_bytes_sign_extend", "FF FF FE", -2},
      {"two_bytes_sign_extend", "80 00", -32768},
      {"two_bytes_positive", "7F FF", 32767},
      {"one_byte_sign_extend", "FF", -1},
      {"eight_bytes_keep_low_four", "12 34 56 78 FF FF FF FE", -2},
  };
  for (const Case& c : signedCases) {
    Bytes b = hexBytes(c.bytes);
    MemoryInput in(b);
    int32_t v = 0;
    ASSERT_TRUE(in.read(&v, b.size(), 1)) << c.name;
    EXPECT_EQ(v, c.expected) << c.name;
  }
  const Case unsignedCases[] = {
      {"three_bytes_zero_extend", "FF FF FE", 0xFFFFFE},
      {"one_byte_zero_extend", "80", 0x80},
      {"five_bytes_keep_low_four", "01 80 00 00 01", 0x80000001},
  };
  for (const Case& c : unsignedCases) {
    Bytes b = hexBytes(c.bytes);
    MemoryInput in(b);
    uint32_t v = 0;
    ASSERT_TRUE(in.read(&v, b.size(), 1)) << c.name;
    EXPECT_EQ(v, static_cast<uint32_t>(c.expected)) << c.name;
  }

  int32_t minusTwo = -2;
  EXPECT_EQ(hexText(written(&minusTwo, 3, 1)), "FF FF FE");
  int32_t minusOne = -1;
  EXPECT_EQ(hexText(written(&minusOne, 10, 1)), "FF FF FF FF FF FF FF FF FF FF");
  uint32_t high = 0xFFFFFFFFu;
  EXPECT_EQ(hexText(written(&high, 8, 1)), "00 00 00 00 FF FF FF FF");
  int16_t shortValue = 0x1234;
  EXPECT_EQ(hexText(written(&shortValue, 1, 1)), "34");
  uint8_t byte = 0xAB;
  EXPECT_EQ(hexText(written(&byte, 4, 1)), "00 00 00 AB");
}

// All element types, in arrays long enough to cross several buffer fills,
// written, read back, and written again byte for byte.
TEST(BinIo, RoundTripComparesBytes) {
  std::vector<double> doubles(1000);
  std::vector<float> floats(700);
  std::vector<int16_t> shorts(1500);
  std::vector<uint64_t> longs(300);
  std::vector<int8_t> bytes(2000);
  for (size_t i = 0; i < doubles.size(); ++i)
    doubles[i] = static_cast<double>(i) * -1.25e-3 + 1e300 * (i % 2);
  for (size_t i = 0; i < floats.size(); ++i)
    floats[i] = static_cast<float>(i) / 7.0f;
  for (size_t i = 0; i < shorts.size(); ++i)
    shorts[i] = static_cast<int16_t>(i * 977);
  for (size_t i = 0; i < longs.size(); ++i)
    longs[i] = 0x9E3779B97F4A7C15ull * (i + 1);
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<int8_t>(i * 31);

  auto writeAll = [&](BinOutput& out) {
    EXPECT_TRUE(out.write(doubles.data(), doubles.size()));
    EXPECT_TRUE(out.write(floats.data(), floats.size()));
    EXPECT_TRUE(out.write(shorts.data(), shorts.size()));
    EXPECT_TRUE(out.write(longs.data(), longs.size()));
    EXPECT_TRUE(out.write(bytes.data(), bytes.size()));
    EXPECT_TRUE(out.flushBuffer());
  };
  MemoryOutput first;
  writeAll(first);
  EXPECT_EQ(first.bytes().size(), 8000u + 2800 + 3000 + 2400 + 2000);

  MemoryInput in(first.bytes(), 777);  // odd chunks split elements
  std::vector<double> d(doubles.size());
  std::vector<float> f(floats.size());
  std::vector<int16_t> s(shorts.size());
  std::vector<uint64_t> l(longs.size());
  std::vector<int8_t> b(bytes.size());
  ASSERT_TRUE(in.read(d.data(), d.size()));
  ASSERT_TRUE(in.read(f.data(), f.size()));
  ASSERT_TRUE(in.read(s.data(), s.size()));
  ASSERT_TRUE(in.read(l.data(), l.size()));
  ASSERT_TRUE(in.read(b.data(), b.size()));
  EXPECT_EQ(d, doubles);
  EXPECT_EQ(f, floats);
  EXPECT_EQ(s, shorts);
  EXPECT_EQ(l, longs);
  EXPECT_EQ(b, bytes);
  EXPECT_EQ(in.tell(), static_cast<int64_t>(first.bytes().size()));

  doubles = d;
  floats = f;
  shorts = s;
  longs = l;
  bytes = b;
  MemoryOutput second;
  writeAll(second);
  EXPECT_EQ(second.bytes(), first.bytes());
}

// A source that gives one byte per call, or a few, still yields whole
// elements, including elements of an odd width.
TEST(BinIo, TricklingSourceDeliversWholeElements) {
  std::vector<double> values(300);
  for (size_t i = 0; i < values.size(); ++i)
    values[i] = 1.0 / static_cast<double>(i + 1);
  MemoryOutput out;
  ASSERT_TRUE(out.write(values.data(), values.size()));
  ASSERT_TRUE(out.flushBuffer());

  for (size_t chunk : {size_t{1}, size_t{3}, size_t{1023}}) {
    MemoryInput in(out.bytes(), chunk);
    std::vector<double> back(values.size());
    ASSERT_TRUE(in.read(back.data(), back.size())) << chunk;
    EXPECT_EQ(back, values) << chunk;
    if (chunk == 1) {
      EXPECT_EQ(in.calls, 2400);
    }
  }

  MemoryInput odd(hexBytes("FF FF FE 00 00 05 80 00 00"), 1);
  int32_t three[3] = {};
  ASSERT_TRUE(odd.read(three, 3, 3));
  EXPECT_EQ(three[0], -2);
  EXPECT_EQ(three[1], 5);
  EXPECT_EQ(three[2], -8388608);
}

TEST(BinIo, ReadingPastTheEndFails) {
  MemoryInput in(hexBytes("00 00 00 07 00 00 00 08 00 00"));
  int32_t v[3] = {-1, -1, -1};
  EXPECT_FALSE(in.read(v, 3));
  EXPECT_EQ(v[0], 7);
  EXPECT_EQ(v[1], 8);
  EXPECT_EQ(v[2], -1);  // the cut element stays as it was
  EXPECT_FALSE(in.read(v, 1));

  MemoryInput empty{Bytes{}};
  double d = 3.5;
  EXPECT_TRUE(empty.read(&d, 0));
  EXPECT_EQ(empty.calls, 0);
  EXPECT_FALSE(empty.read(&d));
  EXPECT_EQ(d, 3.5);
  EXPECT_FALSE(empty.read(&d, 0, 1));  // zero-width elements never arrive
  char raw[4];
  EXPECT_FALSE(empty.readRaw(raw, 4));
  EXPECT_TRUE(empty.readRaw(raw, 0));
}

// Below 256 free bytes a typed write flushes first; writeRaw fills to the end.
TEST(BinIo, BufferFlushRules) {
  std::vector<uint8_t> filler(1024, 0x5A);
  int32_t four = 4;

  MemoryOutput at769;
  ASSERT_TRUE(at769.writeRaw(filler.data(), 769));
  EXPECT_EQ(at769.tell(), 0);
  EXPECT_EQ(at769.position(), 769);
  ASSERT_TRUE(at769.write(&four));
  EXPECT_EQ(at769.tell(), 769);  // 255 free: flushed before the write
  EXPECT_EQ(at769.position(), 773);

  MemoryOutput at768;
  ASSERT_TRUE(at768.writeRaw(filler.data(), 768));
  ASSERT_TRUE(at768.write(&four));
  EXPECT_EQ(at768.tell(), 0);  // exactly 256 free: no flush
  EXPECT_EQ(at768.position(), 772);

  MemoryOutput raw;
  ASSERT_TRUE(raw.writeRaw(filler.data(), 1000));
  ASSERT_TRUE(raw.writeRaw(filler.data(), 30));
  EXPECT_EQ(raw.tell(), 1024);
  EXPECT_EQ(raw.position(), 1030);
  EXPECT_EQ(raw.writes, 1);

  // position() moves with every element, tell() only when the buffer goes out.
  MemoryOutput doubles;
  std::vector<double> d(200, 2.0);
  ASSERT_TRUE(doubles.write(d.data(), 10));
  EXPECT_EQ(doubles.tell(), 0);
  EXPECT_EQ(doubles.position(), 80);
  ASSERT_TRUE(doubles.write(d.data(), 190));
  EXPECT_EQ(doubles.position(), 1600);
  EXPECT_EQ(doubles.tell() % 8, 0);
  ASSERT_TRUE(doubles.seekTo(0, true));  // flushes, then moves
  EXPECT_EQ(doubles.bytes().size(), 1600u);
  EXPECT_EQ(doubles.position(), 0);

  uint8_t tooWide[1025] = {};
  EXPECT_FALSE(doubles.write(tooWide, 1025, 1));
}

TEST(BinIo, FailingSinkShows) {
  MemoryOutput out;
  out.failAfter = 1024;
  std::vector<double> d(256, 1.0);
  EXPECT_TRUE(out.write(d.data(), 128));  // the first full buffer goes out
  EXPECT_FALSE(out.write(d.data(), 128)); // the second cannot
  EXPECT_FALSE(out.good());
  EXPECT_EQ(out.position(), 1024);  // the failed buffer is dropped

  MemoryOutput base;
  EXPECT_FALSE(base.BinOutput::flush());  // the base class commits nothing
}

TEST(BinIo, LengthWidthIsDecidedOnce) {
  MemoryInput in{Bytes{}};
  EXPECT_EQ(in.lengthBits(), 0);
  EXPECT_TRUE(in.useLength32());
  EXPECT_FALSE(in.useLength64());
  EXPECT_EQ(in.lengthBits(), 32);
}

TEST(BinIo, PeekMagicDoesNotMove) {
  MemoryInput in(hexBytes("54 4F 56 01 AA BB"));
  EXPECT_EQ(in.peekMagic(), 0x544F5601u);
  EXPECT_EQ(in.tell(), 0);
  ASSERT_TRUE(in.seek(4, true));
  EXPECT_EQ(in.peekMagic(), 0xFFFFFFFFu);  // two bytes left
  EXPECT_EQ(in.tell(), 4);
  ASSERT_TRUE(in.seek(0, false));
  EXPECT_EQ(in.peekMagic(), 0xFFFFFFFFu);
  EXPECT_EQ(in.tell(), 6);
}

struct AssertLog {
  std::string expression;
  int count = 0;
};

void recordAssert(void* context, const char* expression, const char*, int) {
  auto* log = static_cast<AssertLog*>(context);
  log->expression = expression;
  ++log->count;
}

TEST(BinIo, MagicWords) {
  BinMagic m(0x74bb4, 3);
  EXPECT_EQ(m.word(), 0x074bb403u);
  EXPECT_EQ(m.identifier(), 0x74bb4);
  EXPECT_EQ(m.version(), 3);
  BinMagic negative(-5, 7);
  EXPECT_EQ(negative.word(), 0xFFFFFFFBu);
  EXPECT_EQ(negative.identifier(), -1);
  EXPECT_EQ(negative.version(), -1);
  std::ostringstream text;
  text << m;
  EXPECT_EQ(text.str(), "478132 3");

  MemoryOutput out;
  ASSERT_TRUE(m.write(out));
  ASSERT_TRUE(BinMagic(0x74bb4, 9).write(out));
  ASSERT_TRUE(BinMagic(0x74bb5, 3).write(out));
  ASSERT_TRUE(out.flushBuffer());
  EXPECT_EQ(hexText(Bytes(out.bytes().begin(), out.bytes().begin() + 4)), "07 4B B4 03");

  MemoryInput in(out.bytes());
  BinMagic read;
  EXPECT_TRUE(read.readExact(in, 0x074bb403u));
  EXPECT_TRUE(read.readSameId(in));  // another version of the same record
  EXPECT_EQ(read.version(), 9);
  EXPECT_FALSE(read.readSameId(in));
  EXPECT_EQ(read, BinMagic(0x74bb5, 3));
  EXPECT_FALSE(read.readExact(in, 0));  // at the end

  AssertLog log;
  setAssertHandler(recordAssert, &log);
  MemoryInput required(hexBytes("07 4B B4 03 07 4B B4 03"));
  BinMagic ok(required, 0x074bb403);
  EXPECT_EQ(log.count, 0);
  BinMagic wrong(required, 0x074bb404);
  EXPECT_EQ(log.count, 1);
  EXPECT_EQ(log.expression, "magic_ == magic");
  EXPECT_EQ(wrong.word(), 0x074bb403u);  // keeps what it read
  setAssertHandler(nullptr, nullptr);
}

// XOR with a key that depends on the file offset: only right if the hook is
// given the right offsets both ways.
class OffsetScrambler : public BinIO_Scrambler {
public:
  explicit OffsetScrambler(int* deaths) : deaths_(deaths) {}
  ~OffsetScrambler() override { ++*deaths_; }
  void scramble(void* buffer, uint64_t offset, size_t length) override { apply(buffer, offset, length); }
  void unscramble(void* buffer, uint64_t offset, size_t length) override {
    apply(buffer, offset, length);
  }

private:
  static void apply(void* buffer, uint64_t offset, size_t length) {
    auto* p = static_cast<uint8_t*>(buffer);
    for (size_t i = 0; i < length; ++i)
      p[i] ^= static_cast<uint8_t>((offset + i) * 131 + 7);
  }
  int* deaths_;
};

TEST(BinIo, ScramblerSeesEveryByteWithItsOffset) {
  int deaths = 0;
  auto* scrambler = new OffsetScrambler(&deaths);
  setScrambler(scrambler);
  setScrambler(scrambler);  // the same one again: kept
  EXPECT_EQ(deaths, 0);

  std::vector<int32_t> values(700);
  for (size_t i = 0; i < values.size(); ++i)
    values[i] = static_cast<int32_t>(i * 12345);
  MemoryOutput out;
  ASSERT_TRUE(out.write(values.data(), values.size()));
  ASSERT_TRUE(out.writeRaw("tail", 4));
  ASSERT_TRUE(out.flushBuffer());
  EXPECT_NE(hexText(Bytes(out.bytes().begin(), out.bytes().begin() + 4)), "00 00 00 00");

  MemoryInput in(out.bytes(), 100);
  std::vector<int32_t> back(values.size());
  ASSERT_TRUE(in.read(back.data(), back.size()));
  EXPECT_EQ(back, values);
  char tail[4];
  ASSERT_TRUE(in.readRaw(tail, 4));
  EXPECT_EQ(std::string(tail, 4), "tail");

  setScrambler(nullptr);
  EXPECT_EQ(deaths, 1);
  MemoryInput plain(out.bytes());
  int32_t first = 0;
  ASSERT_TRUE(plain.read(&first));
  EXPECT_NE(first, 0);  // without the hook the bytes stay scrambled
}

TEST(BinIo, FilesRoundTripAndReportMissing) {
  TempPath missing;
  BinInputFile none(missing.kiv());
  EXPECT_FALSE(none.good());
  EXPECT_EQ(none.size(), 0u);
  int32_t v = 9;
  EXPECT_FALSE(none.read(&v));
  EXPECT_EQ(v, 9);
  BinInputFile unnamed(KivString{});
  EXPECT_FALSE(unnamed.good());
  BinOutputFile unnamedOut(KivString{});
  EXPECT_FALSE(unnamedOut.good());
  EXPECT_FALSE(unnamedOut.flush());

  TempPath path;
  {
    BinOutputFile out(path.kiv());
    ASSERT_TRUE(out.good());
    std::vector<double> d(500, -0.5);
    ASSERT_TRUE(out.write(d.data(), d.size()));
    int32_t i = 0x01020304;
    ASSERT_TRUE(out.write(&i));
    EXPECT_EQ(out.position(), 4004);
    EXPECT_TRUE(out.flush());
    EXPECT_EQ(out.tell(), 4004);
  }
  Bytes bytes = fileBytes(path.path);
  ASSERT_EQ(bytes.size(), 4004u);
  EXPECT_EQ(hexText(Bytes(bytes.end() - 4, bytes.end())), "01 02 03 04");

  BinInputFile in(path.kiv());
  ASSERT_TRUE(in.good());
  EXPECT_EQ(in.size(), 4004u);
  EXPECT_EQ(in.tell(), 0);
  std::vector<double> d(500);
  ASSERT_TRUE(in.read(d.data(), d.size()));
  EXPECT_EQ(d[499], -0.5);
  ASSERT_TRUE(in.seek(-4, false));
  int32_t i = 0;
  ASSERT_TRUE(in.read(&i));
  EXPECT_EQ(i, 0x01020304);
  EXPECT_FALSE(in.read(&i));
  EXPECT_TRUE(in.good());  // the end of the data is no error
}

TEST(BinIo, OutputFileWithoutFlushDropsTheBuffer) {
  TempPath path;
  {
    BinOutputFile out(path.kiv());
    std::vector<uint8_t> bytes(1023 + 1024, 1);
    ASSERT_TRUE(out.writeRaw(bytes.data(), bytes.size()));
  }
  EXPECT_EQ(fileBytes(path.path).size(), 1024u);
}

TEST(BinIo, FullDeviceShowsThroughGood) {
  BinOutputFile out(KivString("/dev/full"));
  if (!out.file())
    GTEST_SKIP() << "no /dev/full";
  std::vector<uint8_t> bytes(1 << 16, 7);
  bool allTaken = out.writeRaw(bytes.data(), bytes.size());
  bool flushed = out.flush();
  EXPECT_FALSE(allTaken && flushed);
  EXPECT_FALSE(out.good());
}

// Offsets above 4 GiB in a sparse file: positions, size and reads are 64-bit.
TEST(BinIo, OffsetsBeyondFourGiB) {
  TempPath path;
  const int64_t far = (int64_t{5} << 30) + 3;
  {
    BinOutputFile out(path.kiv());
    ASSERT_TRUE(out.good());
    uint32_t head = 0xCAFEF00D;
    ASSERT_TRUE(out.write(&head));
    ASSERT_TRUE(out.seekTo(far, true));
    EXPECT_EQ(out.position(), far);
    uint32_t tail = 0x01020304;
    ASSERT_TRUE(out.write(&tail));
    EXPECT_EQ(out.position(), far + 4);
    ASSERT_TRUE(out.flush());
  }
  BinInputFile in(path.kiv());
  EXPECT_EQ(in.size(), static_cast<uint64_t>(far + 4));
  ASSERT_TRUE(in.seek(far, true));
  EXPECT_EQ(in.tell(), far);
  uint32_t tail = 0;
  ASSERT_TRUE(in.read(&tail));
  EXPECT_EQ(tail, 0x01020304u);
}

} // namespace
