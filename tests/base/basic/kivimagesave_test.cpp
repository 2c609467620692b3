#include "base/basic/imagesupport.h"
#include "host/hostdatastore.h"
#include "kivbasictypes/binstreams.h"
#include "kivbasictypes/tempfile.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class KivImageSaveTest : public ::testing::Test {
protected:
  void SetUp() override { useHost(); }
  void TearDown() override { inProcessHost().dataStore()->removeKey(kSetting); }
  static constexpr const char* kSetting = "General/Texture Image Format";
};

std::string headOf(const std::string& path) {
  const Bytes bytes = fileBytes(path);
  return hexText(Bytes(bytes.begin(), bytes.begin() + std::min<size_t>(bytes.size(), 2)));
}

TEST_F(KivImageSaveTest, FormatAndExtensionFollowTheNamingRules) {
  struct Case {
    const char* name;
    const char* extension;  // of the path given
    const char* format;
    int setting;            // -1: no key
    const char* written;    // extension of the file expected, null for none
    const char* head;       // its first two bytes
  };
  const Case cases[] = {
      {"default_without_setting_is_bmp", "", "DEFAULT", -1, ".bmp", "42 4D"},
      {"default_replaces_the_extension", ".png", "DEFAULT", -1, ".bmp", "42 4D"},
      {"default_setting_0_bmp", "", "DEFAULT", 0, ".bmp", "42 4D"},
      {"default_setting_1_jpeg", "", "DEFAULT", 1, ".jpg", "FF D8"},
      {"default_setting_2_png", ".x", "DEFAULT", 2, ".png", "89 50"},
      {"default_setting_3_tiff", "", "DEFAULT", 3, ".tif", "49 49"},
      {"default_setting_other_writes_nothing", ".x", "DEFAULT", 7, nullptr, ""},
      {"jpeg_gives_jpg", "", "JPEG", -1, ".jpg", "FF D8"},
      {"tiff_gives_tif", "", "TIFF", -1, ".tif", "49 49"},
      {"other_format_text_is_the_extension", "", "PNG", -1, ".PNG", "89 50"},
      {"extension_gives_the_format", ".png", "", -1, ".png", "89 50"},
      {"extension_given_is_kept", ".dat", "PNG", -1, ".dat", "89 50"},
      {"unknown_extension_fails", ".xyz", "", -1, nullptr, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    if (c.setting >= 0)
      inProcessHost().dataStore()->setInt(0, kSetting, c.setting);
    else
      inProcessHost().dataStore()->removeKey(kSetting);
    TempPath base;
    TempPath written;
    written.path = base.path + (c.written ? c.written : ".none");
    IPtr<KivImage> image = makeImage(3, 2, 3, ImageBytes(18, 90));
    ASSERT_TRUE(image->compress());
    const bool ok = image->save(KivString((base.path + c.extension).c_str()), c.format, false, 90);
    EXPECT_EQ(ok, c.written != nullptr);
    EXPECT_TRUE(image->isCompressed());
    if (c.written) {
      EXPECT_EQ(headOf(written.path), c.head);
    }
  }
}

TEST_F(KivImageSaveTest, HostWriterReadsBackWhatItWrote) {
  struct Case {
    const char* name;
    const char* format;
    int depth;
    int readDepth;
    bool exact;
  };
  const Case cases[] = {
      {"png_grey", "PNG", 1, 1, true},      {"png_grey_alpha", "PNG", 2, 2, true},
      {"png_rgb", "PNG", 3, 3, true},       {"png_rgba", "PNG", 4, 4, true},
      {"jpeg_grey", "JPEG", 1, 1, false},   {"jpeg_rgba_loses_alpha", "JPEG", 4, 3, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TempPath path(c.format[0] == 'P' ? ".png" : ".jpg");
    IPtr<KivImage> image = makeImage(17, 3, c.depth, ImageBytes(17 * 3 * c.depth, 128));
    ASSERT_TRUE(image->save(path.kiv(), c.format, false, 95));
    KivImage back;
    ASSERT_TRUE(back.read(path.kiv(), false, false, false));
    EXPECT_EQ(back.width(), 17);
    EXPECT_EQ(back.height(), 3);
    EXPECT_EQ(back.depth(), c.readDepth);
    if (c.exact) {
      EXPECT_TRUE(back.equals(static_cast<const IKivImage&>(*image)));
    } else {
      EXPECT_NEAR(back.byteAt(8, 1, 0), 128, 2);
    }
  }
  KivImage missing;
  EXPECT_FALSE(missing.read(KivString("/nonexistent/none.png"), false, false, false));
  const uint8_t notAnImage[4] = {1, 2, 3, 4};
  EXPECT_FALSE(missing.read(notAnImage, 4, 1, 1, false, false, false));
}

} // namespace
