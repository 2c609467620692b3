// dmtool image checked by decoders that owe nothing to this code:
// ImageMagick's identify and compare, libtiff's tiffinfo and tiffdump. Each
// format at 1 to 4 channels and odd sizes; the lossless ones must match the
// PNG of the same card pixel for pixel.
#include "runcommand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

int runTool(const std::string& arguments, std::string* output) {
  return runCommand(std::string(DM_TOOL_PATH) + " " + arguments, output);
}

std::string contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct ScratchDir {
  ScratchDir() {
    path = std::filesystem::temp_directory_path() /
           ("dmtool-image-" + std::to_string(getpid()));
    std::filesystem::create_directories(path);
  }
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string file(const std::string& name) const { return (path / name).string(); }
  std::filesystem::path path;
};

bool haveDecoders() {
  std::string out;
  return runCommand("identify -version", &out) == 0 && runCommand("compare -version", &out) == 0 &&
         runCommand("command -v tiffinfo && command -v tiffdump", &out) == 0;
}

struct Size {
  int w, h;
};

TEST(DmtoolImage, EveryFormatIsReadByRealDecodersAsWritten) {
  ASSERT_TRUE(haveDecoders()) << "ImageMagick and libtiff-tools are needed "
                                 "(tools/install-deps.sh installs them)";
  ScratchDir dir;
  struct Format {
    const char* extension;
    const char* magick;  // identify's %m
    bool lossless;
    bool keepsAlpha;
  };
  const Format formats[] = {
      {"png", "PNG", true, true},  {"ppm", "PPM", true, false}, {"bmp", "BMP3", true, false},
      {"rgb", "SGI", true, true},  {"tif", "TIFF", true, true}, {"jpg", "JPEG", false, false},
  };
  const Size sizes[] = {{1, 1}, {3, 2}, {17, 5}, {1, 7}, {17, 17}};
  for (int channels = 1; channels <= 4; ++channels) {
    for (const Size& size : sizes) {
      const std::string stem = "card_" + std::to_string(channels) + "_" +
                               std::to_string(size.w) + "x" + std::to_string(size.h);
      const std::string dims = std::to_string(size.w) + "x" + std::to_string(size.h);
      for (const Format& format : formats) {
        SCOPED_TRACE(stem + "." + format.extension);
        const std::string path = dir.file(stem + "." + format.extension);
        std::string out;
        ASSERT_EQ(runTool("image " + path + " --size " + dims + " --channels " +
                              std::to_string(channels),
                          &out),
                  0)
            << out;
        ASSERT_EQ(runCommand("identify -format '%m %w %h' " + path, &out), 0) << out;
        // Grey PPM files are P5, which ImageMagick calls PGM.
        const std::string magick =
            std::string(format.magick) == "PPM" && channels < 3 ? "PGM" : format.magick;
        EXPECT_EQ(out, magick + " " + std::to_string(size.w) + " " + std::to_string(size.h));
        if (!format.lossless)
          continue;
        const std::string alpha = format.keepsAlpha ? "" : "-alpha off ";
        runCommand("compare -metric AE " + alpha + path + " " + dir.file(stem + ".png") +
                       " null:",
                   &out);
        EXPECT_EQ(out, "0");
      }
      // libtiff reads it without a word, and the tags stand in ascending order.
      const std::string tif = dir.file(stem + ".tif");
      std::string info;
      EXPECT_EQ(runCommand("tiffinfo " + tif + " >/dev/null", &info), 0);
      EXPECT_EQ(info, "");
      std::string dump;
      ASSERT_EQ(runCommand("tiffdump " + tif, &dump), 0);
      std::vector<int> tags;
      std::istringstream lines(dump);
      for (std::string line; std::getline(lines, line);) {
        const size_t open = line.find(" ("), close = line.find(") ");
        if (line.rfind("Directory", 0) != 0 && open != std::string::npos &&
            close != std::string::npos && close > open && std::isdigit(line[open + 2]))
          tags.push_back(std::atoi(line.c_str() + open + 2));
      }
      EXPECT_EQ(tags.size(), channels % 2 == 0 ? 13u : 12u);
      EXPECT_TRUE(std::is_sorted(tags.begin(), tags.end()));
    }
  }
}

TEST(DmtoolImage, BmpRowsOfWidthOneCarryTheirPadding) {
  ScratchDir dir;
  std::string out;
  const std::string path = dir.file("narrow.bmp");
  ASSERT_EQ(runTool("image " + path + " --size 1x3 --channels 3", &out), 0) << out;
  const std::string bytes = contents(path);
  ASSERT_EQ(bytes.size(), 54u + 3u * 4u);
  for (size_t row = 0; row < 3; ++row)
    EXPECT_EQ(bytes[54 + row * 4 + 3], '\0');
}

TEST(DmtoolImage, RefusesWhatItCannotDo) {
  ScratchDir dir;
  struct Case {
    const char* name;
    std::string arguments;
    int status;
  };
  const Case cases[] = {
      {"no_file", "image", 2},
      {"unknown_extension", "image " + dir.file("card.xyz"), 2},
      {"five_channels", "image " + dir.file("card.png") + " --channels 5", 2},
      {"bad_size", "image " + dir.file("card.png") + " --size 0x3", 2},
      {"unknown_format", "image " + dir.file("card") + " --format gif", 2},
      {"unwritable", "image /nonexistent-dir/card.png", 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string out;
    EXPECT_EQ(runTool(c.arguments, &out), c.status) << out;
  }
  // --format wins over the extension; the library's writers put their own.
  std::string out;
  ASSERT_EQ(runTool("image " + dir.file("card.img") + " --format tiff --size 4x4", &out), 0);
  EXPECT_NE(out.find("card.tif"), std::string::npos) << out;
  EXPECT_TRUE(std::filesystem::exists(dir.file("card.tif")));
}

} // namespace
