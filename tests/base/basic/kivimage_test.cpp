#include "base/basic/imagesupport.h"
#include "kivbasictypes/binstreams.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

namespace {

class KivImageTest : public ::testing::Test {
protected:
  void SetUp() override { useHost(); }
};

TEST_F(KivImageTest, BandsHoldAbout24KilobytesAndAddressPixelsByTheFormula) {
  struct Case {
    const char* name;
    int w, h, d;
    int rowsPerBand, bands, lastRows;
  };
  const Case cases[] = {
      {"empty", 0, 0, 0, 0, 0, 0},
      {"small_rgb", 2, 2, 3, 4096, 1, 2},
      {"wide_row_one_row_per_band", 30000, 2, 1, 1, 2, 1},
      {"row_of_exactly_24576", 8192, 4, 3, 1, 4, 1},
      {"remainder_band", 100, 300, 4, 61, 5, 56},
      {"one_row_over_a_band", 1, 24577, 1, 24576, 2, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    KivImage image(c.w, c.h, c.d);
    EXPECT_EQ(image.rowsPerBand(), c.rowsPerBand);
    EXPECT_EQ(image.lastBand(), c.bands - 1);
    if (c.bands == 0) {
      EXPECT_EQ(image.bandTable(), nullptr);
      continue;
    }
    uint8_t* address = nullptr;
    int first = -1, rows = -1;
    ASSERT_TRUE(image.bandInfo(c.bands - 1, &address, &first, &rows));
    EXPECT_EQ(first, (c.bands - 1) * c.rowsPerBand);
    EXPECT_EQ(rows, c.lastRows);
    EXPECT_FALSE(image.bandInfo(c.bands, &address, &first, &rows));
    // The last pixel's last channel, and the first of a band's second row.
    const int y = c.h - 1, x = c.w - 1;
    uint8_t** bands = image.bandTable();
    EXPECT_EQ(image.byteAddress(x, y, c.d - 1),
              bands[y / c.rowsPerBand] + (c.w * (y % c.rowsPerBand) + x) * c.d + c.d - 1);
    EXPECT_EQ(image.byteAddress(x, c.h, 0), nullptr);
    EXPECT_EQ(image.byteAddress(-1, 0, 0), nullptr);
  }
}

TEST_F(KivImageTest, ResizeToTheSameSizeClearsAndEmptyStaysEmpty) {
  IPtr<KivImage> image = makeImage(2, 1, 1, {7, 9});
  uint8_t** before = image->bandTable();
  image->resize(2, 1, 1);
  EXPECT_EQ(image->bandTable(), before);
  EXPECT_EQ(imageBytes(*image), (ImageBytes{0, 0}));
  KivImage empty(0, 0, 0);
  empty.resize(0, 0, 0);
  EXPECT_FALSE(empty.hasData());
  EXPECT_FALSE(empty.isNonEmpty());
  EXPECT_EQ(empty.lastBand(), -1);
}

TEST_F(KivImageTest, SampleInterpolatesBetweenCentresAndClampsOrWraps) {
  struct Case {
    const char* name;
    double u, v;
    bool clampU, clampV;
    double expected;
  };
  // A row 0, 100 and a column 0, 200.
  IPtr<KivImage> row = makeImage(2, 1, 1, {0, 100});
  IPtr<KivImage> column = makeImage(1, 2, 1, {0, 200});
  const Case rowCases[] = {
      {"centre_of_first", 0.5, 0.5, true, true, 0},
      {"centre_of_second", 1.5, 0.5, true, true, 100},
      {"quarter_towards_next", 0.75, 0.5, true, true, 25},
      {"clamped_next_beyond_border", 1.75, 0.5, true, true, 100},
      {"wrapped_next_is_first", 1.75, 0.5, false, true, 75},
      {"wrapped_previous_is_last", 0.25, 0.5, false, true, 25},
      {"clamped_previous_beyond_border", 0.25, 0.5, true, true, 0},
      {"clamped_far_right_on_border", 5.5, 0.5, true, true, 100},
      {"wrapped_far_right", 5.5, 0.5, false, true, 100},
      {"wrapped_far_left_fraction_stays_negative", -1.5, 0.5, false, true, 0},
  };
  for (const Case& c : rowCases) {
    SCOPED_TRACE(c.name);
    double out[4];
    row->sample(c.u, c.v, c.clampU, c.clampV, out);
    EXPECT_DOUBLE_EQ(out[0], c.expected);
    EXPECT_DOUBLE_EQ(out[2], c.expected);
    EXPECT_DOUBLE_EQ(out[3], 255.0);
  }
  const Case columnCases[] = {
      {"between_rows", 0.5, 1.0, true, true, 100},
      {"clamped_below_last_row", 0.5, 1.75, true, true, 200},
      {"wrapped_below_last_row", 0.5, 1.75, true, false, 150},
  };
  for (const Case& c : columnCases) {
    SCOPED_TRACE(c.name);
    double out[4];
    column->sample(c.u, c.v, c.clampU, c.clampV, out);
    EXPECT_DOUBLE_EQ(out[1], c.expected);
  }
}

TEST_F(KivImageTest, HalvedAndResizedBuildTheirPixelsAsDescribed) {
  IPtr<KivImage> source = makeImage(3, 3, 1, {10, 20, 30, 40, 50, 60, 70, 80, 90});
  IPtr<IKivImageBase> half(source->halved());
  ASSERT_TRUE(half);
  EXPECT_EQ(half->width(), 2);
  EXPECT_EQ(half->height(), 2);
  EXPECT_EQ(imageBytes(*half), (ImageBytes{30, 45, 75, 90}));

  struct Case {
    const char* name;
    int w, h;
    ImageBytes expected;
  };
  const Case cases[] = {
      {"replicated_3x2", 6, 4, {1, 1, 1, 2, 2, 2, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4,
                                3, 3, 3, 4, 4, 4}},
      {"error_diffusion_3x3", 3, 3, {1, 2, 2, 3, 4, 4, 3, 4, 4}},
      {"error_diffusion_down_to_1x1", 1, 1, {4}},
  };
  IPtr<KivImage> small = makeImage(2, 2, 1, {1, 2, 3, 4});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<IKivImageBase> out(small->resized(c.w, c.h, nullptr));
    ASSERT_TRUE(out);
    EXPECT_EQ(imageBytes(*out), c.expected);
  }
}

TEST_F(KivImageTest, PixelConversionsUseTheirOwnWeights) {
  struct Case {
    const char* name;
    int depth;
    float colour[4];
    ImageBytes expected;
  };
  const Case cases[] = {
      {"grey_red_weight", 1, {1, 0, 0, 1}, {63}},
      {"grey_green_weight", 1, {0, 1, 0, 1}, {153}},
      {"grey_blue_weight", 1, {0, 0, 1, 1}, {38}},
      {"grey_alpha", 2, {0, 0, 0, 0.5f}, {0, 127}},
      {"rgba_truncated", 4, {0.5f, 1, 0.1f, 0}, {127, 255, 25, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    KivImage image(1, 1, c.depth);
    ASSERT_TRUE(image.setColor(0, 0, c.colour));
    EXPECT_EQ(imageBytes(image), c.expected);
    EXPECT_FALSE(image.setColor(1, 0, c.colour));
  }
  IPtr<KivImage> colour = makeImage(1, 1, 4, {100, 200, 50, 9});
  ASSERT_TRUE(colour->toGrey());
  EXPECT_EQ(imageBytes(*colour), (ImageBytes{153, 153, 153, 9}));
  IPtr<KivImage> grey = makeImage(1, 1, 1, {51});
  double out[4];
  ASSERT_TRUE(grey->getPixel(0, 0, out));
  EXPECT_DOUBLE_EQ(out[0], 0.2);
  EXPECT_DOUBLE_EQ(out[2], 0.2);
  EXPECT_DOUBLE_EQ(out[3], 1.0);
}

TEST_F(KivImageTest, DepthConversionsCopyChannelsByPosition) {
  struct Case {
    const char* name;
    int fromDepth;
    ImageBytes from;
    int toDepth;
    ImageBytes expected;
  };
  const Case cases[] = {
      {"grey_to_colour", 1, {77}, 3, {77, 0, 0}},
      {"colour_to_rgba_gets_opaque_alpha", 3, {1, 2, 3}, 4, {1, 2, 3, 255}},
      {"grey_alpha_to_rgba", 2, {5, 6}, 4, {5, 6, 0, 0}},
      {"colour_to_grey_keeps_red", 4, {10, 20, 30, 40}, 1, {10}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<KivImage> source = makeImage(1, 1, c.fromDepth, c.from);
    KivImage target;
    ASSERT_TRUE(target.convertFrom(c.toDepth, source.get()));
    EXPECT_EQ(target.depth(), c.toDepth);
    EXPECT_EQ(imageBytes(target), c.expected);
    IPtr<KivImage> copy = makeImage(1, 1, c.fromDepth, c.from);
    ASSERT_TRUE(copy->setDepth(c.toDepth));
    EXPECT_EQ(imageBytes(*copy), c.expected);
  }
  IPtr<KivImage> rgb = makeImage(1, 1, 3, {10, 20, 31});
  IPtr<IKivImage> grey(rgb->toGreyImage());
  EXPECT_EQ(imageBytes(*grey), (ImageBytes{20}));
  EXPECT_FALSE(rgb->setDepth(5));
  EXPECT_FALSE(rgb->convertFrom(3, rgb.get()));
  ASSERT_TRUE(rgb->setAlpha(1.0f));
  EXPECT_EQ(rgb->depth(), 3);
  ASSERT_TRUE(rgb->setAlpha(0.5f));
  EXPECT_EQ(imageBytes(*rgb), (ImageBytes{10, 20, 31, 127}));
  const int order[3] = {2, 0, 1};
  ASSERT_TRUE(rgb->swapChannels(order));
  EXPECT_EQ(imageBytes(*rgb), (ImageBytes{31, 10, 20, 127}));
  const int bad[3] = {0, 3, 1};
  EXPECT_FALSE(rgb->swapChannels(bad));
}

TEST_F(KivImageTest, TurnsAndFlipsMoveEveryPixel) {
  // a b c / d e f
  const ImageBytes source = {1, 2, 3, 4, 5, 6};
  struct Case {
    const char* name;
    bool (KivImage::*op)();
    int w, h;
    ImageBytes expected;
  };
  const Case cases[] = {
      {"rotate_right", &KivImage::rotateRight, 2, 3, {4, 1, 5, 2, 6, 3}},
      {"rotate_left", &KivImage::rotateLeft, 2, 3, {3, 6, 2, 5, 1, 4}},
      {"transpose", &KivImage::transpose, 2, 3, {1, 4, 2, 5, 3, 6}},
      {"flip_horizontal", &KivImage::flipHorizontal, 3, 2, {3, 2, 1, 6, 5, 4}},
      {"flip_vertical", &KivImage::flipVertical, 3, 2, {4, 5, 6, 1, 2, 3}},
      {"invert", &KivImage::invert, 3, 2, {254, 253, 252, 251, 250, 249}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<KivImage> image = makeImage(3, 2, 1, source);
    ASSERT_TRUE(((*image).*c.op)());
    EXPECT_EQ(image->width(), c.w);
    EXPECT_EQ(image->height(), c.h);
    EXPECT_EQ(imageBytes(*image), c.expected);
  }
}

TEST_F(KivImageTest, LinesAreClippedAndWalkedLikeBresenham) {
  struct Case {
    const char* name;
    int x0, y0, x1, y1;
    std::vector<std::pair<int, int>> pixels;
  };
  const Case cases[] = {
      {"shallow", 0, 0, 4, 2, {{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}}},
      {"steep_reversed", 1, 4, 0, 0, {{0, 0}, {0, 1}, {0, 2}, {1, 3}, {1, 4}}},
      {"diagonal_leaves_out_first_end", 0, 0, 3, 3, {{3, 3}, {2, 2}, {1, 1}}},
      {"no_length_draws_nothing", 2, 2, 2, 2, {}},
      {"clipped_at_left_border", -2, 0, 2, 0, {{0, 0}, {1, 0}, {2, 0}}},
      {"both_ends_beyond_one_border", -3, 0, -1, 4, {}},
  };
  const float white[4] = {1, 1, 1, 1};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    KivImage image(5, 5, 1);
    ASSERT_TRUE(image.drawLine(c.x0, c.y0, c.x1, c.y1, white, false));
    ImageBytes expected(25, 0);
    for (auto [x, y] : c.pixels)
      expected[static_cast<size_t>(y * 5 + x)] = 255;
    EXPECT_EQ(imageBytes(image), expected);
  }
}

TEST_F(KivImageTest, FilledPolygonAndPasteAndGrowing) {
  const float white[4] = {1, 1, 1, 1};
  KivImage image(4, 4, 1);
  const int32_t square[] = {0, 0, 3, 0, 3, 3, 0, 3};
  ASSERT_TRUE(image.drawPolygon(square, 4, true, false, white));
  EXPECT_EQ(imageBytes(image), ImageBytes(16, 255));

  IPtr<KivImage> stamp = makeImage(2, 2, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  KivImage canvas(3, 1, 1);
  ASSERT_TRUE(canvas.paste(stamp.get(), 2, 0, false));
  EXPECT_EQ(imageBytes(canvas), (ImageBytes{0, 0, 1}));
  ASSERT_TRUE(canvas.paste(stamp.get(), 2, 0, true));
  EXPECT_EQ(canvas.width(), 4);
  EXPECT_EQ(canvas.height(), 2);
  EXPECT_EQ(imageBytes(canvas), (ImageBytes{0, 0, 1, 4, 0, 0, 7, 10}));

  const float grey[4] = {0.2f, 0.2f, 0.2f, 1};
  KivImage small(1, 1, 1);
  ASSERT_TRUE(small.enlarge(2, 2, grey));
  EXPECT_EQ(imageBytes(small), (ImageBytes{0, 51, 51, 51}));
  IPtr<IKivImage> part(small.cropped(1, 0, 2, 2));
  ASSERT_TRUE(part);
  EXPECT_EQ(imageBytes(*part), (ImageBytes{51, 51}));
  EXPECT_EQ(small.crop(1, 1, 2, 1), nullptr);
}

// Every other pixel of a 2 × 2 block.
class Checker : public IKivImageStencil {
public:
  int width() const override { return 2; }
  int height() const override { return 2; }
  bool test(int x, int y) const override { return (x + y) % 2 == 0; }
};

TEST_F(KivImageTest, BordersRectanglesAndStencilsGoThroughSetColor) {
  const float white[4] = {1, 1, 1, 1};
  struct Case {
    const char* name;
    std::function<void(KivImage&)> draw;
    int w, h;
    ImageBytes expected;
  };
  const Case cases[] = {
      {"border_of_two", [&](KivImage& i) { i.drawBorder(2, white); }, 5, 5,
       {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0, 255, 255,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255}},
      {"open_rectangle_corners_inclusive",
       [&](KivImage& i) { i.drawRectangle(1, 1, 3, 2, white, false, false); }, 4, 3,
       {0, 0, 0, 0, 0, 255, 255, 255, 0, 255, 255, 255}},
      {"filled_rectangle_cut_at_border",
       [&](KivImage& i) { i.drawRectangle(2, -1, 9, 0, white, true, false); }, 4, 2,
       {0, 0, 255, 255, 0, 0, 0, 0}},
      {"rectangle_grows_the_image",
       [&](KivImage& i) { i.drawRectangle(1, 0, 2, 1, white, true, true); }, 3, 2,
       {0, 255, 255, 0, 255, 255}},
      {"stencil_at_offset",
       [&](KivImage& i) {
         Checker mask;
         i.paintMask(&mask, 1, 0, white, false);
       },
       3, 2, {0, 255, 0, 0, 0, 255}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    KivImage image(c.name[0] == 'r' ? 1 : c.w, c.name[0] == 'r' ? 1 : c.h, 1);
    c.draw(image);
    EXPECT_EQ(image.width(), c.w);
    EXPECT_EQ(image.height(), c.h);
    EXPECT_EQ(imageBytes(image), c.expected);
  }
}

//===- Stored form ---------------------------------------------------------===//

Bytes storedBytes(KivImage& image, int fileVersion = 0) {
  MemoryOutput out;
  out.setFileVersion(fileVersion);
  EXPECT_TRUE(image.write(out));
  out.flush();
  return out.bytes();
}

TEST_F(KivImageTest, RawStoredFormRoundTripsToIdenticalBytes) {
  IPtr<KivImage> image = makeImage(2, 1, 3, {1, 2, 3, 4, 5, 6});
  const Bytes bytes = storedBytes(*image);
  EXPECT_EQ(hexText(bytes), "0A 50 04 01 00 00 00 00 00 00 00 1F 00 "
                            "00 00 00 02 00 00 00 01 00 00 00 03 01 02 03 04 05 06");
  // 32-bit lengths for the versions 1 to 9.
  EXPECT_EQ(hexText(storedBytes(*image, 9)).substr(0, 23), "0A 50 04 01 00 00 00 1B");

  MemoryInput in(bytes);
  KivImage back;
  ASSERT_TRUE(back.read(in));
  EXPECT_EQ(in.tell(), static_cast<int64_t>(bytes.size()));
  EXPECT_TRUE(back.equals(static_cast<const IKivImage&>(*image)));
  EXPECT_EQ(storedBytes(back), bytes);

  KivImage empty;
  MemoryInput emptyIn(storedBytes(empty));
  EXPECT_TRUE(back.read(emptyIn));
  EXPECT_FALSE(back.isNonEmpty());
}

TEST_F(KivImageTest, StoredFormWithLyingSizesReadsAsEmpty) {
  struct Case {
    const char* name;
    const char* hex;
  };
  const Case cases[] = {
      {"more_pixels_than_bytes",
       "0A 50 04 01 00 00 00 00 00 00 00 1F 00 00 00 00 02 00 00 00 02 00 00 00 03 "
       "01 02 03 04 05 06"},
      {"huge_sizes",
       "0A 50 04 01 00 00 00 00 00 00 00 19 00 7F FF FF FF 7F FF FF FF 00 00 00 04"},
      {"zero_width_with_height",
       "0A 50 04 01 00 00 00 00 00 00 00 19 00 00 00 00 00 00 00 00 05 00 00 00 03"},
      {"depth_five",
       "0A 50 04 01 00 00 00 00 00 00 00 1A 00 00 00 00 01 00 00 00 01 00 00 00 05 00"},
      {"unknown_form",
       "0A 50 04 01 00 00 00 00 00 00 00 19 07 00 00 00 01 00 00 00 01 00 00 00 01"},
      {"block_longer_than_data",
       "0A 50 04 01 00 00 00 00 00 00 10 00 00 00 00 00 01 00 00 00 01 00 00 00 01 00"},
      {"compressed_not_png",
       "0A 50 04 01 00 00 00 00 00 00 00 21 02 00 00 00 01 00 00 00 01 00 00 00 01 "
       "00 00 00 04 01 02 03 04"},
      {"compressed_size_beyond_block",
       "0A 50 04 01 00 00 00 00 00 00 00 21 02 00 00 00 01 00 00 00 01 00 00 00 01 "
       "7F 00 00 00 01 02 03 04"},
      {"wrong_tag", "0A 50 05 01 00 00 00 00 00 00 00 19 00 00 00 00 01 00 00 00 01 00 00 00 01"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MemoryInput in(hexBytes(c.hex));
    IPtr<KivImage> image = makeImage(1, 1, 1, {5});
    EXPECT_FALSE(image->read(in));
    if (std::strcmp(c.name, "wrong_tag") == 0) {
      EXPECT_EQ(in.tell(), 0);
      continue;
    }
    EXPECT_FALSE(image->isNonEmpty());
    EXPECT_FALSE(image->hasData());
  }
}

} // namespace
