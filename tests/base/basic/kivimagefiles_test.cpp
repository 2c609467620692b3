#include "base/basic/imagesupport.h"
#include "kivbasictypes/binstreams.h"
#include "kivbasictypes/tempfile.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class KivImageFilesTest : public ::testing::Test {
protected:
  void SetUp() override { useHost(); }
};

std::string hexOf(const std::string& path) { return hexText(fileBytes(path)); }

TEST_F(KivImageFilesTest, EachWriterGivesItsBytesAndItsExtension) {
  enum Writer { kPpm, kBmp, kBmpFlipped, kRgb };
  struct Case {
    const char* name;
    Writer writer;
    int w, h, d;
    ImageBytes pixels;
    const char* extension;
    std::string hex;
  };
  const std::string bmpHead1x2 = "42 4D 3E 00 00 00 00 00 00 00 36 00 00 00 28 00 00 00 "
                                 "01 00 00 00 02 00 00 00 01 00 18 00 00 00 00 00 00 00 00 00 "
                                 "00 04 00 00 00 04 00 00 00 00 00 00 00 00 00 00";
  const Case cases[] = {
      {"ppm_rgba_drops_alpha", kPpm, 1, 1, 4, {10, 20, 30, 40}, ".ppm",
       "50 36 0A 31 20 31 0A 32 35 35 0A 0A 14 1E"},
      {"ppm_grey_alpha_is_p5", kPpm, 2, 1, 2, {7, 1, 8, 2}, ".ppm",
       "50 35 0A 32 20 31 0A 32 35 35 0A 07 08"},
      {"ppm_rgb_row_as_is", kPpm, 1, 2, 3, {1, 2, 3, 4, 5, 6}, ".ppm",
       "50 36 0A 31 20 32 0A 32 35 35 0A 01 02 03 04 05 06"},
      {"bmp_width_1_pads_each_row_bottom_up", kBmp, 1, 2, 3, {1, 2, 3, 4, 5, 6}, ".bmp",
       bmpHead1x2 + " 06 05 04 00 03 02 01 00"},
      {"bmp_flipped_top_down", kBmpFlipped, 1, 2, 3, {1, 2, 3, 4, 5, 6}, ".bmp",
       bmpHead1x2 + " 03 02 01 00 06 05 04 00"},
      {"bmp_grey_alpha_three_times_grey", kBmp, 1, 2, 2, {9, 1, 8, 2}, ".bmp",
       bmpHead1x2 + " 08 08 08 00 09 09 09 00"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TempPath base(".png");
    TempPath written(c.extension);
    written.path = base.path.substr(0, base.path.size() - 4) + c.extension;
    IPtr<KivImage> image = makeImage(c.w, c.h, c.d, c.pixels);
    bool ok = false;
    switch (c.writer) {
    case kPpm: ok = image->writePpm(base.kiv()); break;
    case kBmp: ok = image->writeBmp(base.kiv(), false); break;
    case kBmpFlipped: ok = image->writeBmp(base.kiv(), true); break;
    case kRgb: ok = image->writeRgb(base.kiv()); break;
    }
    ASSERT_TRUE(ok);
    EXPECT_EQ(hexOf(written.path), c.hex);
  }
  KivImage empty;
  TempPath none(".bmp");
  EXPECT_FALSE(empty.writeBmp(none.kiv(), false));
  EXPECT_FALSE(empty.writeRgb(none.kiv()));
}

TEST_F(KivImageFilesTest, SgiHeaderAndPlanesFromTheBottomRow) {
  TempPath path(".rgb");
  IPtr<KivImage> image = makeImage(1, 2, 2, {1, 2, 3, 4});
  ASSERT_TRUE(image->writeRgb(path.kiv()));
  const Bytes bytes = fileBytes(path.path);
  ASSERT_EQ(bytes.size(), 512u + 4u);
  EXPECT_EQ(hexText(Bytes(bytes.begin(), bytes.begin() + 24)),
            "01 DA 00 01 00 03 00 01 00 02 00 02 00 00 00 00 00 00 00 FF 00 00 00 00");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(&bytes[24])), path.path);
  EXPECT_EQ(Bytes(bytes.begin() + 104, bytes.begin() + 512), Bytes(408, 0));
  EXPECT_EQ(hexText(Bytes(bytes.begin() + 512, bytes.end())), "03 01 04 02");

  // The name is cut to 79 characters and ends in a null.
  TempPath longPath("-" + std::string(90, 'n') + ".rgb");
  ASSERT_TRUE(image->writeRgb(longPath.kiv()));
  const Bytes longBytes = fileBytes(longPath.path);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(&longBytes[24])), longPath.path.substr(0, 79));
}

TEST_F(KivImageFilesTest, TiffDirectoryInAscendingTagsThenTheRows) {
  struct Case {
    const char* name;
    int depth;
    ImageBytes pixel;
    std::string hex;
  };
  const std::string head12 = "49 49 2A 00 08 00 00 00 0C 00 ";
  const std::string head13 = "49 49 2A 00 08 00 00 00 0D 00 ";
  const Case cases[] = {
      {"rgb", 3, {1, 2, 3},
       head12 +
           "00 01 04 00 01 00 00 00 01 00 00 00 01 01 04 00 01 00 00 00 01 00 00 00 "
           "02 01 03 00 03 00 00 00 9E 00 00 00 03 01 03 00 01 00 00 00 01 00 00 00 "
           "06 01 03 00 01 00 00 00 02 00 00 00 11 01 04 00 01 00 00 00 B4 00 00 00 "
           "15 01 03 00 01 00 00 00 03 00 00 00 16 01 03 00 01 00 00 00 01 00 00 00 "
           "17 01 04 00 01 00 00 00 03 00 00 00 1A 01 05 00 01 00 00 00 A4 00 00 00 "
           "1B 01 05 00 01 00 00 00 AC 00 00 00 28 01 03 00 01 00 00 00 01 00 00 00 "
           "00 00 00 00 08 00 08 00 08 00 "
           "01 00 00 00 01 00 00 00 01 00 00 00 01 00 00 00 01 02 03"},
      {"grey_alpha", 2, {9, 8},
       head13 +
           "00 01 04 00 01 00 00 00 01 00 00 00 01 01 04 00 01 00 00 00 01 00 00 00 "
           "02 01 03 00 02 00 00 00 08 00 08 00 03 01 03 00 01 00 00 00 01 00 00 00 "
           "06 01 03 00 01 00 00 00 01 00 00 00 11 01 04 00 01 00 00 00 BA 00 00 00 "
           "15 01 03 00 01 00 00 00 02 00 00 00 16 01 03 00 01 00 00 00 01 00 00 00 "
           "17 01 04 00 01 00 00 00 02 00 00 00 1A 01 05 00 01 00 00 00 AA 00 00 00 "
           "1B 01 05 00 01 00 00 00 B2 00 00 00 28 01 03 00 01 00 00 00 01 00 00 00 "
           "52 01 03 00 01 00 00 00 02 00 00 00 00 00 00 00 "
           "01 00 00 00 01 00 00 00 01 00 00 00 01 00 00 00 09 08"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TempPath path(".tif");
    IPtr<KivImage> image = makeImage(1, 1, c.depth, c.pixel);
    ASSERT_TRUE(image->writeTiff(path.kiv()));
    EXPECT_EQ(hexOf(path.path), c.hex);
  }
}

} // namespace
