#include "kivbasictypes/kivfile.h"

#include "binstreams.h"
#include "tempfile.h"
#include "kivfilewalk.h"
#include "core/kivassert.h"
#include "core/kivclassid.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/ikivbinaryio.h"
#include "kivbasictypes/ikivserial.h"
#include "kivbasictypes/ikivwriteable.h"
#include "kivbasictypes/kivmatrix.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivquaternion.h"
#include "kivbasictypes/kivvector.h"
#include "kivbasictypes/stringio.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>

namespace {

constexpr KivClassId kBoolPropertyId =
    makeClassId(0xBB34609A, 0x22FD, 0x4EB0, 0x90, 0x9C, 0x7E, 0x7B, 0xC8, 0x19, 0x51, 0x5C);
constexpr KivClassId kOtherId =
    makeClassId(0x01020304, 0x0506, 0x0708, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x10);

// A whole file in memory: the root, what `body` writes, the root patched.
Bytes fileOf(int fileVersion, const std::function<void(KivFileWrite&)>& body) {
  MemoryOutput out;
  out.setFileVersion(fileVersion);
  {
    KivFileWrite writer(&out, true);
    EXPECT_TRUE(writer.writeRootHead());
    body(writer);
    EXPECT_TRUE(writer.good());
    EXPECT_TRUE(writer.close());
  }
  return out.bytes();
}

std::string text(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

Bytes slice(const Bytes& b, size_t from, size_t count) {
  return Bytes(b.begin() + static_cast<long>(from), b.begin() + static_cast<long>(from + count));
}

uint64_t bigEndian(const Bytes& b, size_t from, size_t width) {
  uint64_t v = 0;
  for (size_t i = 0; i < width; ++i)
    v = (v << 8) | b[from + i];
  return v;
}

class Writeable : public IKivWriteable {
public:
  explicit Writeable(const KivClassId& id) : id_(id) {}
  void queryInterface(const char*, void** out) override { *out = nullptr; }
  const char* className() const override { return "Writeable"; }
  const KivClassId* classId() override { return &id_; }
  bool write(IKivDataModelWriter*) override { return true; }
  bool read(IKivDataModelReader*) override { return true; }
  void setPersistent(bool) override {}
  bool isPersistent() override { return true; }

private:
  KivClassId id_;
};

TEST(KivFile, Version10HasWideLengthsThroughout) {
  Bytes b = fileOf(10, [](KivFileWrite& w) {
    w.beginBlock(0x123456, 7);
    w.writeInt32(0x01020304);
    w.endBlock();
  });
  ASSERT_EQ(b.size(), 12u + 12 + 4);
  EXPECT_EQ(hexText(slice(b, 0, 4)), "54 4F 56 01");
  EXPECT_EQ(bigEndian(b, 4, 8), b.size());
  EXPECT_EQ(hexText(slice(b, 12, 16)), "12 34 56 07 00 00 00 00 00 00 00 10 01 02 03 04");

  // The default file version (0) writes the same.
  EXPECT_EQ(fileOf(0, [](KivFileWrite& w) {
              w.beginBlock(0x123456, 7);
              w.writeInt32(0x01020304);
              w.endBlock();
            }),
            b);
}

TEST(KivFile, Version9HasNarrowLengthsAndReadsBack) {
  Bytes b = fileOf(9, [](KivFileWrite& w) {
    w.beginBlock(0x123456, 7);
    w.writeInt32(-5);
    w.writeString(KivString("ab"));
    w.endBlock();
  });
  ASSERT_EQ(b.size(), 8u + 8 + 4 + 8 + 4);
  EXPECT_EQ(hexText(slice(b, 0, 8)), "54 4F 56 00 00 00 00 20");
  EXPECT_EQ(hexText(slice(b, 8, 8)), "12 34 56 07 00 00 00 18");
  EXPECT_EQ(hexText(slice(b, 20, 12)), "01 00 05 00 00 00 00 0C 00 61 00 62");

  MemoryInput in(b);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  EXPECT_EQ(in.lengthBits(), 32);
  ASSERT_TRUE(r.expectBlock(0x123456, 7));
  int32_t v = 0;
  EXPECT_TRUE(r.readInt32(&v));
  EXPECT_EQ(v, -5);
  KivString s;
  r.readString(&s);
  EXPECT_EQ(s, KivString("ab"));
  EXPECT_TRUE(r.atBlockEnd());
  r.endBlock();
  EXPECT_TRUE(r.atBlockEnd());
  EXPECT_TRUE(r.good());
}

// A stored BoolProperty "expanded" holding true, byte for byte.
TEST(KivFile, PropertyEntryLayout) {
  Writeable property(kBoolPropertyId);
  Bytes b = fileOf(10, [&](KivFileWrite& w) {
    w.beginProperty(KivString("expanded"));
    w.beginSection(&property, 0);
    w.writeBool(true);
    w.endSection(&property);
    w.endProperty(KivString("expanded"));
  });
  EXPECT_EQ(hexText(slice(b, 12, b.size() - 12)),
            hexText(hexBytes("01 00 05 00  00 00 00 00 00 00 00 1C"
                             "00 65 00 78 00 70 00 61 00 6E 00 64 00 65 00 64"
                             "0B 00 02 00  00 00 00 00 00 00 00 1D"
                             "BB 34 60 9A 22 FD 4E B0 90 9C 7E 7B C8 19 51 5C"
                             "01")));

  MemoryInput in(b);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  EXPECT_EQ(*r.peekPropertyName(), KivString("expanded"));
  EXPECT_EQ(in.tell(), 12);
  KivString name;
  KivClassId id;
  r.beginProperty(&name, &id);
  EXPECT_EQ(name, KivString("expanded"));
  EXPECT_EQ(id, kBoolPropertyId);
  int version = -2;
  EXPECT_TRUE(r.peekObject(kBoolPropertyId, &version));
  EXPECT_EQ(version, 0);
  EXPECT_FALSE(r.peekObject(kOtherId, &version));
  EXPECT_EQ(version, -1);
  ASSERT_TRUE(r.beginSection(&property, &version));
  EXPECT_EQ(*r.classId(), kBoolPropertyId);
  bool value = false;
  EXPECT_TRUE(r.readBool(&value));
  EXPECT_TRUE(value);
  r.endSection(&property);
  EXPECT_TRUE(r.good());
}

// Every typed block, bare value and stream form: written, read back into
// fresh values, written again, and the two files compared byte for byte.
TEST(KivFile, RoundTripComparesBytes) {
  struct Values {
    KivVector vector{1.5, -2.25, 1e300};
    Vector2D v2d{3.0, -4.0};
    Vector2F v2f{0.5f, -0.25f};
    KivMatrix matrix{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16.5};
    KivString text = KivString("h\xE9llo");
    KivCString ctext = KivCString("identifier");
    KivClassId id = kOtherId;
    KivQuaternion quaternion{0.5, 0.5, -0.5, 0.5};
    double d = -0.1;
    float f = 3.25f;
    uint32_t u = 0xDEADBEEF;
    int32_t i = -123456;
    bool b = true;
    uint8_t byte = 0xA5;
    KivString empty;
  };
  Writeable object(kOtherId);
  auto writeAll = [&](const Values& v) {
    return fileOf(10, [&](KivFileWrite& w) {
      w.beginSection(&object, 3);
      w.writeVector(v.vector);
      w.writeVector2D(v.v2d);
      w.writeVector2F(v.v2f);
      w.writeMatrix(v.matrix);
      w.writeString(v.text);
      w.writeCString(v.ctext);
      w.writeClassId(v.id);
      w << v.quaternion << v.d << v.f << v.u << v.i << v.b << v.byte << v.empty;
      w.endSection(&object);
    });
  };
  Values original;
  Bytes first = writeAll(original);

  MemoryInput in(first, 5);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  Values back;
  back.vector = KivVector();
  back.v2d = Vector2D();
  back.v2f = Vector2F();
  back.matrix = KivMatrix();
  back.text = KivString();
  back.ctext = KivCString();
  back.id = KivClassId();
  back.quaternion = KivQuaternion();
  back.d = 0;
  back.f = 0;
  back.u = 0;
  back.i = 0;
  back.b = false;
  back.byte = 0;
  back.empty = KivString("not empty");
  int version = 0;
  ASSERT_TRUE(r.beginSection(&object, &version));
  EXPECT_EQ(version, 3);
  r.readVector(&back.vector);
  r.readVector2D(&back.v2d);
  r.readVector2F(&back.v2f);
  r.readMatrix(&back.matrix);
  r.readString(&back.text);
  r.readCString(&back.ctext);
  r.readClassId(&back.id);
  r >> back.quaternion >> back.d >> back.f >> back.u >> back.i >> back.b >> back.byte >> back.empty;
  EXPECT_TRUE(r.atBlockEnd());
  r.endSection(&object);
  ASSERT_TRUE(r.good());

  EXPECT_EQ(back.vector, original.vector);
  EXPECT_EQ(back.v2d, original.v2d);
  EXPECT_EQ(back.v2f, original.v2f);
  EXPECT_EQ(back.matrix, original.matrix);
  EXPECT_EQ(back.text, original.text);
  EXPECT_EQ(back.ctext, original.ctext);
  EXPECT_EQ(back.id, original.id);
  EXPECT_EQ(back.quaternion, original.quaternion);
  EXPECT_EQ(back.u, original.u);
  EXPECT_TRUE(back.empty.isEmpty());
  EXPECT_EQ(writeAll(back), first);
}

TEST(KivFile, EmptyStringIsABareHead) {
  Bytes b = fileOf(10, [](KivFileWrite& w) { w.writeString(KivString()); });
  ASSERT_EQ(b.size(), 24u);
  EXPECT_EQ(hexText(slice(b, 12, 12)), "01 00 05 00 00 00 00 00 00 00 00 0C");
  MemoryInput in(b);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  KivString s("x");
  r.readString(&s);
  EXPECT_TRUE(s.isEmpty());
  EXPECT_TRUE(r.good());
  EXPECT_TRUE(r.stringsGood());
}

// A block of 5 GiB, written by seeking over it: under version 9 its length
// cannot be told, under version 10 it can.
TEST(KivFile, HugeBlockAgainstLengthWidth) {
  const int64_t huge = int64_t{5} << 30;
  for (int fileVersion : {9, 10}) {
    SparseOutput out;
    out.setFileVersion(fileVersion);
    KivFileWrite w(&out, true);
    w.writeRootHead();
    w.beginBlock(0x42, 0);
    w.writeUInt32(1);
    ASSERT_TRUE(out.seekTo(huge, true));
    w.writeUInt32(2);
    w.endBlock();
    if (fileVersion == 9) {
      EXPECT_FALSE(w.good());
      EXPECT_EQ(hexText(slice(out.head(), 8, 8)), "00 00 42 00 FF FF FF FF");
    } else {
      EXPECT_TRUE(w.good());
      EXPECT_EQ(bigEndian(out.head(), 16, 8), static_cast<uint64_t>(huge + 4 - 12));
    }
    w.close();
    if (fileVersion == 10) {
      EXPECT_EQ(bigEndian(out.head(), 4, 8), out.extent);
    }
  }
}

// Every cut of a file: the block that reaches past the end is refused and the
// reader stays at its head; nothing reads beyond the bytes that are there.
TEST(KivFile, CutFileStopsAtTheCutBlock) {
  Bytes whole = fileOf(10, [](KivFileWrite& w) {
    w.beginBlock(0x100, 0);
    w.writeDouble(1.0);
    w.endBlock();
    w.beginBlock(0x200, 0);
    w.writeString(KivString("abc"));
    w.endBlock();
  });
  // The root first claims the whole, so cut its length too: a length-0 root
  // reaches to wherever the file now ends.
  for (size_t cut = 0; cut < whole.size(); ++cut) {
    Bytes b = slice(whole, 0, cut);
    for (size_t i = 4; i < 12 && i < b.size(); ++i)
      b[i] = 0;
    MemoryInput in(b);
    KivFileRead r(&in);
    if (!r.readRootHead()) {
      EXPECT_LT(cut, 12u);
      EXPECT_FALSE(r.good());
      continue;
    }
    int blocks = 0;
    while (!r.atBlockEnd()) {
      int64_t before = in.tell();
      if (!r.nextBlock()) {
        EXPECT_EQ(in.tell(), before) << cut;
        break;
      }
      ++blocks;
      r.endBlock();
    }
    EXPECT_EQ(r.good(), cut == 12 || cut == 32) << cut;
    EXPECT_EQ(blocks, cut < 32 ? 0 : 1) << cut;
  }
}

TEST(KivFile, RootWithLengthZeroReachesTheEnd) {
  Bytes b = hexBytes("54 4F 56 00 00 00 00 00  00 01 00 00 00 00 00 0C 00 00 00 2A");
  MemoryInput in(b);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  EXPECT_EQ(r.bytesLeft(), 12);
  ASSERT_TRUE(r.expectBlock(0x100));
  int32_t v = 0;
  r.readInt32(&v);
  EXPECT_EQ(v, 42);
  r.endBlock();
  EXPECT_TRUE(r.atBlockEnd());
  r.endBlock();
  EXPECT_TRUE(r.good());
}

// A newer writer added fields; an older reader reads the first and moves on.
TEST(KivFile, OlderReaderSkipsTheRestOfALongerRecord) {
  Bytes b = fileOf(10, [](KivFileWrite& w) {
    for (int record = 0; record < 3; ++record) {
      w.beginBlock(0x300, 2);
      w.writeInt32(record);
      w.writeVector(KivVector(1, 2, 3));
      w.writeString(KivString("added later"));
      w.endBlock();
    }
    w.beginBlock(0x999, 0);  // unknown to this reader
    w.writeDouble(4.0);
    w.endBlock();
  });
  MemoryInput in(b);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  for (int record = 0; record < 3; ++record) {
    ASSERT_TRUE(r.expectBlock(0x300));
    EXPECT_EQ(r.version(), 2);
    int32_t v = -1;
    r.readInt32(&v);
    EXPECT_EQ(v, record);
    r.endBlock();
  }
  EXPECT_EQ(r.peekTag(), 0x999u);
  EXPECT_TRUE(r.skipBlock());
  EXPECT_TRUE(r.atBlockEnd());
  EXPECT_EQ(r.peekTag(), 0xFFFFFFu);
}

TEST(KivFile, WrongTagsOfTypedBlocks) {
  Bytes b = fileOf(10, [](KivFileWrite& w) {
    w.writeDouble(1.0);
    w.writeCString(KivCString("not a vector"));
    w.writeCString(KivCString("not a string"));
    w.writeString(KivString("a string"));
  });

  {  // A typed block of another tag: bad, and it stays bad. Its numbers are
     // read all the same: the 8-bit text and what follows it.
    MemoryInput in(b);
    KivFileRead r(&in);
    ASSERT_TRUE(r.readRootHead());
    double d = 0;
    r.readDouble(&d);
    KivVector v(9, 9, 9);
    EXPECT_TRUE(r.readVector(&v));
    EXPECT_FALSE(r.good());
    EXPECT_EQ(v, KivVector(std::bit_cast<double>(bigEndian(b, 32, 8)),
                           std::bit_cast<double>(bigEndian(b, 40, 8)),
                           std::bit_cast<double>(bigEndian(b, 48, 8))));
    KivString s("x");
    r.readString(&s);
    EXPECT_TRUE(s.isEmpty());
    EXPECT_FALSE(r.nextBlock());
    EXPECT_FALSE(r.readDouble(&d));
    EXPECT_EQ(d, 0.0);
    EXPECT_TRUE(r.atBlockEnd());
  }
  {  // A string on another tag: empty, good() untouched, later strings empty.
    MemoryInput in(b);
    KivFileRead r(&in);
    ASSERT_TRUE(r.readRootHead());
    double d = 0;
    r.readDouble(&d);
    KivCString first;
    r.readCString(&first);
    EXPECT_EQ(first, KivCString("not a vector"));
    KivString s("x");
    r.readString(&s);
    EXPECT_TRUE(s.isEmpty());
    EXPECT_TRUE(r.good());
    EXPECT_FALSE(r.stringsGood());
    r.readString(&s);
    EXPECT_TRUE(s.isEmpty());
    EXPECT_TRUE(r.good());
  }
}

TEST(KivFile, PeeksLeaveThePositionAlone) {
  Writeable object(kOtherId);
  Bytes b = fileOf(10, [&](KivFileWrite& w) {
    w.beginSection(&object, 4);
    w.endSection(&object);
    w.writeString(KivString("name"));
  });
  MemoryInput in(b);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  const int64_t at = in.tell();
  EXPECT_EQ(r.peekTag(), kivtag::kSection);
  EXPECT_EQ(*r.peekClassId(), kOtherId);
  int version = -2;
  EXPECT_TRUE(r.peekBlock(kivtag::kSection, &version));
  EXPECT_EQ(version, 4);
  EXPECT_FALSE(r.peekBlock(kivtag::kString, &version));
  EXPECT_EQ(version, -1);
  // A string peeked where none stands neither moves nor spoils later strings.
  EXPECT_TRUE(r.peekPropertyName()->isEmpty());
  EXPECT_TRUE(r.stringsGood());
  EXPECT_EQ(in.tell(), at);
  EXPECT_TRUE(r.skipBlock());
  EXPECT_EQ(*r.peekPropertyName(), KivString("name"));
  KivString s;
  r.readString(&s);
  EXPECT_EQ(s, KivString("name"));
  EXPECT_TRUE(r.atBlockEnd());
  EXPECT_EQ(*r.peekClassId(), KivClassId());  // nothing left
}

// The destructor of a writer given up halfway still patches every length.
TEST(KivFile, UnfinishedWriterPatchesLengths) {
  MemoryOutput out;
  out.setFileVersion(10);
  {
    auto* w = new KivFileWrite(&out, true);
    w->writeRootHead();
    w->beginBlock(0x1, 0);
    w->beginBlock(0x2, 0);
    w->writeDouble(2.0);
    w->beginBlock(0x3, 0);
    w->writeInt32(3);
    delete w;
  }
  EXPECT_EQ(out.flushes, 1);
  const Bytes& b = out.bytes();
  ASSERT_EQ(b.size(), 12u * 4 + 8 + 4);
  EXPECT_EQ(bigEndian(b, 4, 8), 60u);
  EXPECT_EQ(bigEndian(b, 16, 8), 48u);
  EXPECT_EQ(bigEndian(b, 28, 8), 36u);
  EXPECT_EQ(bigEndian(b, 48, 8), 16u);

  TempPath path;
  {
    KivFileWrite w;
    w.setFileVersion(9);
    ASSERT_TRUE(w.open(path.kiv()));
    w.beginBlock(0x1, 0);
    w.writeString(KivString("left open"));
  }
  Bytes disk = fileBytes(path.path);
  ASSERT_EQ(disk.size(), 8u + 8 + 8 + 18);
  EXPECT_EQ(hexText(slice(disk, 0, 16)), "54 4F 56 00 00 00 00 2A 00 00 01 00 00 00 00 22");
  KivFileRead r;
  ASSERT_TRUE(r.open(path.kiv()));
  ASSERT_TRUE(r.expectBlock(0x1));
  KivString s;
  r.readString(&s);
  EXPECT_EQ(s, KivString("left open"));
  EXPECT_TRUE(r.good());
}

TEST(KivFile, OpenReportsMissingAndForeignFiles) {
  TempPath missing;
  KivFileRead none;
  EXPECT_FALSE(none.good());
  EXPECT_FALSE(none.open(missing.kiv()));
  EXPECT_FALSE(none.good());

  TempPath foreign;
  std::FILE* f = std::fopen(foreign.path.c_str(), "wb");
  std::fputs("plain text, no blocks", f);
  std::fclose(f);
  KivFileRead text;
  EXPECT_TRUE(text.open(foreign.kiv()));  // a file was there
  EXPECT_FALSE(text.good());

  TempPath path;
  KivFileWrite w;
  w.setFileVersion(10);
  ASSERT_TRUE(w.open(path.kiv()));
  w.writeDouble(0.5);
  EXPECT_TRUE(w.close());
  EXPECT_FALSE(w.good());
  Bytes disk = fileBytes(path.path);
  EXPECT_EQ(hexText(slice(disk, 0, 12)), "54 4F 56 01 00 00 00 00 00 00 00 14");

  KivFileRead r;
  ASSERT_TRUE(r.open(path.kiv()));
  double d = 0;
  r.readDouble(&d);
  EXPECT_EQ(d, 0.5);
  EXPECT_TRUE(r.good());
  r.close();
  EXPECT_FALSE(r.good());

  KivFileWrite cannot;
  EXPECT_FALSE(cannot.open(KivString("/nonexistent-dir/x")));
  EXPECT_FALSE(cannot.good());
}

TEST(KivFile, FailingStreamShowsThroughGood) {
  MemoryOutput out;
  out.failAfter = 2048;
  KivFileWrite w(&out, true);
  w.writeRootHead();
  for (int i = 0; i < 1000; ++i)
    EXPECT_TRUE(w.writeDouble(i));  // the operations do not tell
  EXPECT_FALSE(w.good());
  EXPECT_FALSE(w.close());
}

// Small damaged files; each gives one clean failure and nothing more.
TEST(KivFile, CorruptFilesFailCleanly) {
  struct Case {
    const char* name;
    const char* hex;
  };
  const Case cases[] = {
      {"empty", ""},
      {"head_cut", "54 4F 56"},
      {"length_cut", "54 4F 56 00 00 00"},
      {"wrong_root_tag", "41 42 43 00 00 00 00 08"},
      {"root_version_2", "54 4F 56 02 00 00 00 00 00 00 00 0C"},
      {"root_past_end", "54 4F 56 00 00 00 00 FF"},
      {"root_shorter_than_head", "54 4F 56 00 00 00 00 04"},
      {"root_wide_length_huge", "54 4F 56 01 FF FF FF FF FF FF FF F8"},
      {"zero_length_inside", "54 4F 56 00 00 00 00 10 00 00 01 00 00 00 00 00"},
      {"child_past_end", "54 4F 56 00 00 00 00 00 00 00 01 00 00 00 00 FF 00"},
      {"section_without_class_id",
       "54 4F 56 00 00 00 00 00 0B 00 02 00 00 00 00 0C 01 02 03 04"},
      {"huge_string",
       "54 4F 56 01 00 00 00 00 00 00 00 00 01 00 05 00 7F FF FF FF FF FF FF FF 00 41"},
      {"string_of_odd_length_past_end",
       "54 4F 56 00 00 00 00 00 01 00 05 00 00 00 00 0B 00 41"},
      {"cstring_past_end", "54 4F 56 00 00 00 00 00 01 00 03 00 00 00 10 00 41 42"},
  };
  for (const Case& c : cases) {
    MemoryInput in(hexBytes(c.hex));
    KivFileRead r(&in);
    bool rooted = r.readRootHead();
    // Walk what is there, reading each kind of value; all must come back
    // empty once the reader has gone bad, and it must go bad.
    int steps = 0;
    while (rooted && !r.atBlockEnd() && steps++ < 10) {
      switch (r.peekTag()) {
      case kivtag::kString: {
        // Once the strings have failed, the block is stepped over instead.
        if (!r.stringsGood()) {
          if (r.nextBlock())
            r.endBlock();
          break;
        }
        KivString s("x");
        r.readString(&s);
        if (!r.good() || !r.stringsGood()) {
          EXPECT_TRUE(s.isEmpty()) << c.name;
        }
        break;
      }
      case kivtag::kCString: {
        KivCString s("x");
        r.readCString(&s);
        break;
      }
      case kivtag::kVector: {
        KivVector v(1, 1, 1);
        r.readVector(&v);
        if (!r.good()) {
          EXPECT_EQ(v, KivVector()) << c.name;
        }
        break;
      }
      default:
        if (r.nextBlock())
          r.endBlock();
      }
    }
    EXPECT_FALSE(r.good()) << c.name;
    double d = 7;
    EXPECT_FALSE(r.readDouble(&d)) << c.name;
    EXPECT_EQ(d, 0.0) << c.name;
    EXPECT_EQ(r.bytesLeft(), 0) << c.name;
  }
}

// Damage that leaves a reader good: what it reads is as far as the file goes,
// never outside it.
TEST(KivFile, DamagedBlocksAreReadAsFarAsTheFileGoes) {
  struct Case {
    const char* name;
    const char* hex;
    std::function<std::string(KivFileRead&, MemoryInput&)> read;
    const char* expected;
  };
  auto state = [](KivFileRead& r, MemoryInput& in) {
    return std::string(" tell=") + std::to_string(in.tell()) + (r.good() ? " good" : " bad") +
           (r.stringsGood() ? "" : " strings-failed");
  };
  auto vector = [](KivFileRead& r) {
    KivVector v(9, 9, 9);
    r.readVector(&v);
    std::ostringstream s;
    s << v.x << " " << v.y << " " << v.z;
    return s.str();
  };
  const Case cases[] = {
      {"child_past_its_parent",
       "54 4F 56 00 00 00 00 10 00 00 01 00 00 00 00 0C 00 00 00 00 00 00 00 00",
       [&](KivFileRead& r, MemoryInput& in) {
         std::string s = r.nextBlock() ? "entered" : "refused";
         r.endBlock();
         s += state(r, in);
         return s + (r.atBlockEnd() ? " at-end" : "");
       },
       "entered tell=20 good at-end"},
      {"vector_shorter_than_its_value",
       "54 4F 56 00 00 00 00 00 01 00 00 00 00 00 00 18 3F F0 00 00 00 00 00 00 "
       "40 00 00 00 00 00 00 00 40 08 00 00 00 00 00 00",
       [&](KivFileRead& r, MemoryInput& in) {
         std::string s = vector(r);
         s += state(r, in);
         double d = 0;
         r.readDouble(&d);
         return s + " then " + std::to_string(static_cast<int>(d));
       },
       "1 2 3 tell=32 good then 3"},
      {"vector_cut_by_the_file",
       "54 4F 56 00 00 00 00 00 01 00 00 00 00 00 00 10 3F F0 00 00 00 00 00 00",
       [&](KivFileRead& r, MemoryInput& in) {
         std::string s = vector(r);
         return s + state(r, in);
       },
       "1 0 0 tell=24 good"},
      {"class_id_shorter_than_its_value",
       "54 4F 56 00 00 00 00 00 01 00 08 00 00 00 00 10 01 02 03 04 05 06 07 08 "
       "09 0A 0B 0C 0D 0E 0F 10",
       [&](KivFileRead& r, MemoryInput& in) {
         KivClassId id;
         r.readClassId(&id);
         std::string s = id.toString();
         return s + state(r, in);
       },
       "{01020304-0506-0708-090A-0B0C0D0E0F10} tell=24 good"},
      {"string_leaving_the_file", "54 4F 56 00 00 00 00 00 01 00 05 00 00 00 00 0B 00 41",
       [&](KivFileRead& r, MemoryInput& in) {
         KivString s("x");
         r.readString(&s);
         std::string out = "'" + text(s) + "'" + state(r, in);
         out += r.nextBlock() ? " next:entered" : " next:refused";
         return out + state(r, in);
       },
       "'' tell=8 good strings-failed next:refused tell=8 bad strings-failed"},
      {"string_past_its_parent",
       "54 4F 56 00 00 00 00 00 00 00 01 00 00 00 00 0C 01 00 05 00 00 00 00 0A 00 41",
       [&](KivFileRead& r, MemoryInput& in) {
         r.nextBlock();
         KivString s;
         r.readString(&s);
         r.endBlock();
         return "'" + text(s) + "'" + state(r, in);
       },
       "'A' tell=20 good"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MemoryInput in(hexBytes(c.hex));
    KivFileRead r(&in);
    ASSERT_TRUE(r.readRootHead());
    EXPECT_EQ(c.read(r, in), c.expected);
  }
}

TEST(KivFile, AssertsOnMisuse) {
  struct Log {
    std::string last;
    int count = 0;
  } log;
  setAssertHandler(
      [](void* context, const char* expression, const char*, int) {
        auto* l = static_cast<Log*>(context);
        l->last = expression;
        ++l->count;
      },
      &log);
  MemoryOutput out;
  KivFileWrite w;
  EXPECT_TRUE(w.writeDouble(1.0));
  EXPECT_EQ(log.last, "bo_");
  w.attach(&out, false);
  EXPECT_FALSE(w.open(KivString("/tmp/never-created")));
  EXPECT_EQ(log.last, "!bo_");

  MemoryInput in(hexBytes("54 4F 56 00 00 00 00 08"));
  KivFileRead r(&in);
  EXPECT_FALSE(r.open(KivString("/tmp/never-opened")));
  EXPECT_EQ(log.last, "!bi_");
  r.endBlock();  // nothing entered
  EXPECT_EQ(log.last, "end_.size() > 0 || !good_");
  EXPECT_EQ(log.count, 4);
  setAssertHandler(nullptr, nullptr);
}

TEST(KivFile, InterfacesAnswerTheirNames) {
  KivFileWrite w;
  KivFileRead r;
  EXPECT_EQ(kivQuery<IKivDataModelWriter>(&w, "IKivDataModelWriter"), &w);
  EXPECT_EQ(kivQuery<KivFileWrite>(&w, "KivFileWrite"), &w);
  EXPECT_NE(kivQuery<IKivUnknown>(&w, "IKivUnknown"), nullptr);
  EXPECT_EQ(kivQuery<IKivDataModelReader>(&w, "IKivDataModelReader"), nullptr);
  EXPECT_EQ(kivQuery<IKivDataModelReader>(&r, "IKivDataModelReader"), &r);
  EXPECT_EQ(kivQuery<KivFileRead>(&r, "KivFileRead"), &r);
  EXPECT_STREQ(r.className(), "KivFileRead");
  EXPECT_STREQ(w.className(), "KivFileWrite");
}

// A value with its own bare stream form, and one with a block form.
struct Pair : IKivBinaryIO, IKivSerial {
  int32_t a = 0;
  int32_t b = 0;
  bool read(BinInput& in) override { return in.read(&a) && in.read(&b); }
  bool write(BinOutput& out) override { return out.write(&a) && out.write(&b); }
  bool read(IKivDataModelReader* r) override {
    r->readInt32(&a);
    r->readInt32(&b);
    return r->good();
  }
  bool write(IKivDataModelWriter* w) override {
    w->writeInt32(a);
    w->writeInt32(b);
    return w->good();
  }
};

TEST(KivFile, BinaryAndSerialValues) {
  Pair p;
  p.a = 1;
  p.b = -1;
  Bytes bytes = fileOf(10, [&](KivFileWrite& w) {
    w.writeBinary(&p);
    w.writeSerial(&p);
  });
  EXPECT_EQ(hexText(slice(bytes, 12, 16)), "00 00 00 01 FF FF FF FF 00 00 00 01 FF FF FF FF");
  MemoryInput in(bytes);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  Pair q;
  EXPECT_TRUE(r.readBinary(&q));
  EXPECT_EQ(q.b, -1);
  q.b = 0;
  EXPECT_TRUE(r.readSerial(&q));
  EXPECT_EQ(q.b, -1);
  EXPECT_FALSE(r.readBinary(&q));  // nothing left: the reader goes bad
  EXPECT_FALSE(r.good());
}

TEST(KivFile, StringsOnBareStreams) {
  MemoryOutput out;
  out.setFileVersion(9);
  EXPECT_TRUE(writeKivString(out, KivString("wide")));
  EXPECT_TRUE(writeKivCString(out, KivCString("narrow")));
  EXPECT_TRUE(writeKivString(out, KivString()));
  ASSERT_TRUE(out.flushBuffer());
  EXPECT_EQ(hexText(slice(out.bytes(), 0, 8)), "01 00 05 00 00 00 00 10");

  MemoryInput in(out.bytes());
  ASSERT_TRUE(in.useLength32());
  KivString s;
  KivCString c;
  EXPECT_TRUE(readKivString(in, &s));
  EXPECT_EQ(s, KivString("wide"));
  EXPECT_FALSE(readKivString(in, &s));  // the next block holds 8-bit text
  EXPECT_TRUE(s.isEmpty());
  ASSERT_TRUE(in.seek(16, true));
  EXPECT_TRUE(readKivCString(in, &c));
  EXPECT_EQ(c, KivCString("narrow"));
  s = KivString("x");
  EXPECT_TRUE(readKivString(in, &s));
  EXPECT_TRUE(s.isEmpty());
  EXPECT_FALSE(readKivCString(in, &c));  // end of data
  EXPECT_TRUE(c.isNull());
}

// Inputs kept from fuzzing (and its seeds): each is walked whole, by a normal
// and by a trickling source, without a crash, a trap for lost progress or an
// assertion, and both sources come to the same end.
TEST(KivFile, FuzzCorpusReadsSafely) {
  const auto dir = std::filesystem::path(DM_TEST_DATA_DIR) / "kivbasictypes" / "corpus";
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    std::ifstream file(entry.path(), std::ios::binary);
    Bytes bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_EQ(kivfilewalk::walkKivFile(bytes, 1), kivfilewalk::walkKivFile(bytes))
        << entry.path();
    ++files;
  }
  EXPECT_GE(files, 2);
}

} // namespace
