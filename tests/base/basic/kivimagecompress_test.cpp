#include "base/basic/imagesupport.h"
#include "base/basic/ikivimageservices.h"
#include "host/hostimagecodecs.h"
#include "kivbasictypes/binstreams.h"

#include <gtest/gtest.h>

namespace {

class KivImageCompressTest : public ::testing::Test {
protected:
  void SetUp() override { useHost(); }
};

// Bytes that vary in every channel, row and column.
IPtr<KivImage> pattern(int w, int h, int d) {
  ImageBytes bytes(static_cast<size_t>(w) * h * d);
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<uint8_t>(i * 37 + i / 7);
  return makeImage(w, h, d, bytes);
}

TEST_F(KivImageCompressTest, CompressAndDecompressGiveBackEveryByte) {
  struct Case {
    const char* name;
    int w, h, d;
  };
  const Case cases[] = {
      {"grey_1x1", 1, 1, 1}, {"grey_alpha_3x5", 3, 5, 2}, {"rgb_17x3", 17, 3, 3},
      {"rgba_across_bands", 200, 70, 4}, {"wide_single_row_bands", 30000, 2, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<KivImage> image = pattern(c.w, c.h, c.d);
    const ImageBytes before = imageBytes(*image);
    ASSERT_TRUE(image->compress());
    EXPECT_TRUE(image->isCompressed());
    EXPECT_TRUE(image->hasData());
    EXPECT_EQ(image->bandTable(), nullptr);
    EXPECT_EQ(image->width(), c.w);
    EXPECT_EQ(image->depth(), c.d);
    EXPECT_FALSE(image->compress());
    ASSERT_TRUE(KivImageBase::isPngStream(image->compressedData(), image->compressedSize()));

    // A copy of the compressed form, then both wake up to the same pixels.
    KivImage copy;
    ASSERT_TRUE(image->copyCompressedTo(&copy));
    EXPECT_TRUE(copy.equals(static_cast<IKivImageBase*>(image.get())));
    ASSERT_TRUE(image->decompress());
    EXPECT_FALSE(image->isCompressed());
    EXPECT_EQ(imageBytes(*image), before);
    // One compressed, one not: unequal, though the pictures agree.
    EXPECT_FALSE(copy.equals(static_cast<IKivImageBase*>(image.get())));
    copy.invert();  // a whole-image operation wakes the image first
    copy.invert();
    EXPECT_EQ(imageBytes(copy), before);
    EXPECT_FALSE(image->decompress());
  }
}

Bytes stored(KivImage& image, int fileVersion, bool png = false) {
  MemoryOutput out;
  out.setFileVersion(fileVersion);
  out.setPngImages(png);
  EXPECT_TRUE(image.write(out));
  out.flush();
  return out.bytes();
}

TEST_F(KivImageCompressTest, StoredFormFollowsTheFileVersionAndRoundTrips) {
  struct Case {
    const char* name;
    int fileVersion;
    bool compressed, png;
    uint8_t form;
  };
  const Case cases[] = {
      {"compressed_version_0", 0, true, false, 2},
      {"compressed_version_2015", 2015, true, false, 2},
      {"compressed_version_2014_raw", 2014, true, false, 0},
      {"compressed_version_10_raw", 10, true, false, 0},
      {"compressed_version_2014_png_flag", 2014, true, true, 1},
      {"plain_with_png_flag", 0, false, true, 1},
      {"plain_raw", 0, false, false, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<KivImage> image = pattern(5, 3, 3);
    const ImageBytes pixels = imageBytes(*image);
    if (c.compressed) {
      ASSERT_TRUE(image->compress());
    }
    const Bytes bytes = stored(*image, c.fileVersion, c.png);
    const size_t headSize = c.fileVersion >= 1 && c.fileVersion <= 9 ? 8 : 12;
    ASSERT_GT(bytes.size(), headSize);
    EXPECT_EQ(bytes[headSize], c.form);

    MemoryInput in(bytes);
    if (headSize == 8)
      in.useLength32();
    KivImage back;
    ASSERT_TRUE(back.read(in));
    EXPECT_EQ(in.tell(), static_cast<int64_t>(bytes.size()));
    EXPECT_EQ(back.isCompressed(), c.form == 2);
    // Written again the same way, the bytes are identical.
    EXPECT_EQ(stored(back, c.fileVersion, c.png), bytes);
    back.decompress();
    EXPECT_EQ(imageBytes(back), pixels);
  }
}

TEST_F(KivImageCompressTest, HostCodecCopiesByChunksAndRefusesDamage) {
  HostCompressPNG codec;
  IPtr<KivImage> image = pattern(4, 4, 2);
  void* data = nullptr;
  uint32_t size = 0;
  ASSERT_TRUE(codec.compress(image.get(), &data, &size));
  void* copy = nullptr;
  ASSERT_TRUE(codec.copy(data, &copy));
  EXPECT_EQ(hostimage::pngStreamLength(static_cast<uint8_t*>(copy), size), size);
  EXPECT_EQ(std::memcmp(copy, data, size), 0);

  // A damaged body gives false and leaves the image empty.
  static_cast<uint8_t*>(data)[size / 2] ^= 0x55;
  KivImage target(2, 2, 1);
  EXPECT_FALSE(codec.decompress(data, size, &target));
  EXPECT_FALSE(target.isNonEmpty());
  EXPECT_FALSE(codec.decompress(data, 20, &target));
  KivImage empty;
  void* none = nullptr;
  uint32_t noneSize = 0;
  EXPECT_FALSE(codec.compress(&empty, &none, &noneSize));
  codec.release(copy);
  codec.release(data);
}

} // namespace
