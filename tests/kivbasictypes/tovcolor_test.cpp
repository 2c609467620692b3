// Tests of the colour values: HSL conversion round the hue circle, byte
// truncation, gamma and contrast with their assertions, material equality and
// the text forms.
#include "kivbasictypes/tovcolor.h"

#include "core/kivassert.h"

#include "valuestreams.h"
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct AssertLog {
  std::vector<std::string> expressions;
  std::string file;
  static void record(void* context, const char* expression, const char* file, int) {
    auto* log = static_cast<AssertLog*>(context);
    log->expressions.push_back(expression);
    log->file = file;
  }
};

TEST(KivHslColor, HueBoundariesRoundTrip) {
  struct Case {
    const char* name;
    KivColor rgb;
    float h, s, l;
  };
  const Case cases[] = {
      {"red", {1, 0, 0}, 0.0f, 1.0f, 0.5f},
      {"yellow", {1, 1, 0}, 1.0f / 6, 1.0f, 0.5f},
      {"green", {0, 1, 0}, 1.0f / 3, 1.0f, 0.5f},
      {"cyan", {0, 1, 1}, 0.5f, 1.0f, 0.5f},
      {"blue", {0, 0, 1}, 2.0f / 3, 1.0f, 0.5f},
      {"magenta", {1, 0, 1}, 5.0f / 6, 1.0f, 0.5f},
      // Red with a little blue lies just below a full turn.
      {"red_blue", {1, 0, 0.1f}, 0.98333335f, 1.0f, 0.5f},
      {"dark_orange", {0.5f, 0.25f, 0}, 1.0f / 12, 1.0f, 0.25f},
      {"pale", {0.9f, 0.8f, 0.7f}, 1.0f / 12, 0.5f, 0.8f},
  };
  for (const Case& c : cases) {
    const KivHslColor hsl(c.rgb);
    EXPECT_NEAR(hsl.h, c.h, 1e-6) << c.name;
    EXPECT_NEAR(hsl.s, c.s, 1e-6) << c.name;
    EXPECT_NEAR(hsl.l, c.l, 1e-6) << c.name;
    KivHslColor back;
    back.setHsl(hsl.h, hsl.s, hsl.l);
    EXPECT_NEAR(back.r, c.rgb.r, 1e-5) << c.name;
    EXPECT_NEAR(back.g, c.rgb.g, 1e-5) << c.name;
    EXPECT_NEAR(back.b, c.rgb.b, 1e-5) << c.name;
  }
  for (float grey : {0.0f, 0.3f, 1.0f}) {
    const KivHslColor hsl(KivColor(grey, grey, grey));
    EXPECT_EQ(hsl.s, 0.0f);
    EXPECT_EQ(hsl.h, 0.6666667f);
    EXPECT_EQ(hsl.l, grey);
  }
  const KivHslColor white;
  EXPECT_EQ(white.toColor(), KivColor(1, 1, 1, 1));
}

TEST(KivColor, BytesConvertByTruncation) {
  EXPECT_EQ(KivColor::toByte(0.999f), 254);
  EXPECT_EQ(KivColor::toByte(1.0f), 255);
  EXPECT_EQ(KivColor::toByte(0.5f), 127);
  EXPECT_EQ(KivColor::toByte(-0.2f), 0);
  EXPECT_EQ(KivColor::toByte(7.0f), 255);
  EXPECT_EQ(KivColor::toByte(std::numeric_limits<float>::quiet_NaN()), 0);
  for (int byte = 0; byte < 256; ++byte)
    EXPECT_EQ(KivColor::toByte(KivColor::fromByte(uint8_t(byte))), byte) << byte;
  EXPECT_EQ(KivColor::fromBytes(255, 0, 128, 255), KivColor(1, 0, 128 / 255.0f, 1));
}

TEST(KivColor, DerivedColoursGammaAndContrast) {
  EXPECT_EQ(KivColor(0.2f, 0.3f, 0.4f).contrasting(), KivColor(1, 1, 1, 1));
  EXPECT_EQ(KivColor(0.2f, 0.3f, 0.5f, 0.1f).contrasting(), KivColor(0, 0, 0, 1));
  EXPECT_NEAR(KivColor(1, 1, 1).luminance(), 1.0, 1e-12);
  EXPECT_NEAR(KivColor::orange.luminance(), 0.595, 1e-7);
  EXPECT_EQ(KivColor(), KivColor(0.5f, 0.5f, 0.5f, 1.0f));

  KivColor c(0.25f, 0.5f, 1.0f, 0.3f);
  c.changeGamma(2.0, 1.0);
  EXPECT_EQ(c, KivColor(0.0625f, 0.25f, 1.0f, 0.3f));
  c.changeGamma(1.0, 2.0);
  EXPECT_EQ(c, KivColor(0.25f, 0.5f, 1.0f, 0.3f));

  // Value 1 leaves the lightness; a higher value pushes it away from 0.5.
  KivColor same(0.2f, 0.4f, 0.6f, 0.7f);
  same.applyContrast(1.0);
  EXPECT_NEAR(same.r, 0.2f, 1e-6);
  EXPECT_NEAR(same.b, 0.6f, 1e-6);
  EXPECT_EQ(same.a, 0.7f);
  KivColor dark(0.2f, 0.2f, 0.2f);
  dark.applyContrast(2.0);
  EXPECT_NEAR(dark.r, 0.5f - std::sqrt(0.6f) * 0.5f, 1e-6);
  KivColor light(0.8f, 0.8f, 0.8f);
  light.applyContrast(2.0);
  EXPECT_NEAR(light.g, 0.5f + std::sqrt(0.6f) * 0.5f, 1e-6);

  AssertLog log;
  setAssertHandler(&AssertLog::record, &log);
  KivColor untouched(0.1f, 0.2f, 0.3f);
  untouched.changeGamma(0.0, 1.0);
  untouched.changeGamma(1.0, -1.0);
  untouched.applyContrast(0.0);
  setAssertHandler(nullptr, nullptr);
  EXPECT_EQ(log.expressions, (std::vector<std::string>{"from > 0.0", "to > 0.0", "value > 0.0"}));
  EXPECT_EQ(log.file, "kivbasictypes/tovcolor");
  EXPECT_EQ(untouched, KivColor(0.1f, 0.2f, 0.3f));
}

TEST(KivMaterial, EqualityAndTextForm) {
  KivMaterial m;
  EXPECT_EQ(m.ambient, KivColor(0, 0, 0, 0));
  EXPECT_EQ(m.face, 0);
  KivMaterial other = m;
  EXPECT_EQ(m, other);
  other.face = KivMaterial::Back;
  EXPECT_NE(m, other);
  other = m;
  other.emission.a = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(other == other);

  m.ambient = KivColor(0.1f, 0.2f, 0.3f, 1);
  m.diffuse = KivColor::red;
  m.transmission = 0.5f;
  m.shininess = 12;
  m.face = KivMaterial::FrontAndBack;
  const std::string lines =
      "ambient:\t 0.1 0.2 0.3 1\n"
      "diffuse:\t 1 0 0 1\n"
      "specular:\t 0 0 0 0\n"
      "emission:\t 0 0 0 0\n"
      "transmission:\t0.5\n"
      "shininess:\t12\n";
  struct Case {
    int32_t face;
    const char* last;
  };
  const Case cases[] = {{0, "face:\t\tFront"}, {1, "face:\t\tBack"}, {2, "face:\t\tFront and Back"},
                        {3, ""},              {-1, ""}};
  for (const Case& c : cases) {
    m.face = c.face;
    std::ostringstream os;
    os << m;
    EXPECT_EQ(os.str(), lines + c.last) << c.face;
  }
}

TEST(KivColor, BareFormsAndTheHslRecord) {
  expectBareForm(KivColor(1, 0.5f, 0, 0.25f), "3F800000 3F000000 00000000 3E800000", "color");
  expectBareForm(KivHslColor(KivColor(1, 0, 0)), "074BB400 3F800000 00000000 00000000", "hsl");

  // h, s, l are not stored: the reader recomputes them from the triple.
  MemoryInput in(hexBytes("074BB400 00000000 3F800000 00000000"));
  KivHslColor green;
  ASSERT_TRUE(readValue(in, green));
  EXPECT_NEAR(green.h, 1.0f / 3, 1e-6);
  EXPECT_EQ(green.s, 1.0f);
  EXPECT_EQ(green.l, 0.5f);

  struct Case {
    const char* name;
    const char* hex;
  };
  const Case refused[] = {
      {"newer_version", "074BB401 00000000 3F800000 00000000"},
      {"other_identifier", "074BB500 00000000 3F800000 00000000"},
      {"negative_word", "FFFFFFFF 00000000 3F800000 00000000"},
  };
  for (const Case& c : refused) {
    MemoryInput bad(hexBytes(c.hex));
    KivHslColor kept;
    EXPECT_FALSE(readValue(bad, kept)) << c.name;
    EXPECT_EQ(kept.toColor(), KivColor(1, 1, 1, 1)) << c.name;
    EXPECT_EQ(kept.h, 0.6666667f) << c.name;
  }
}

TEST(KivColor, TypedBlocksOfColourAndMaterial) {
  const KivColor colour(1, 0.5f, 0, 0.25f);
  const Bytes wide = valueFile(10, [&](KivFileWrite& w) { EXPECT_TRUE(writeBlock(w, colour)); });
  EXPECT_EQ(afterRoot(wide, 10),
            hexText(hexBytes("01000100 000000000000001C 3F800000 3F000000 00000000 3E800000")));
  const Bytes narrow = valueFile(9, [&](KivFileWrite& w) { writeBlock(w, colour); });
  EXPECT_EQ(afterRoot(narrow, 9),
            hexText(hexBytes("01000100 00000018 3F800000 3F000000 00000000 3E800000")));

  KivMaterial m;
  m.ambient = KivColor(0, 0, 0, 1);
  m.diffuse = KivColor::red;
  m.specular = KivColor(0.5f, 0.5f, 0.5f, 0.5f);
  m.emission = KivColor(0, 0, 0, 0);
  m.transmission = 0.25f;
  m.shininess = 2;
  m.face = KivMaterial::FrontAndBack;
  const Bytes file = valueFile(10, [&](KivFileWrite& w) { writeBlock(w, m); });
  EXPECT_EQ(afterRoot(file, 10),
            hexText(hexBytes("01000200 0000000000000088"
                             "01000100 000000000000001C 00000000 00000000 00000000 3F800000"
                             "01000100 000000000000001C 3F800000 00000000 00000000 3F800000"
                             "01000100 000000000000001C 3F000000 3F000000 3F000000 3F000000"
                             "01000100 000000000000001C 00000000 00000000 00000000 00000000"
                             "3E800000 40000000 00000002")));

  // Read back and write again: the same bytes.
  for (int version : {9, 10}) {
    const Bytes first = valueFile(version, [&](KivFileWrite& w) {
      writeBlock(w, m);
      writeBlock(w, colour);
    });
    MemoryInput in(first);
    KivFileRead reader(&in);
    ASSERT_TRUE(reader.readRootHead());
    KivMaterial backM;
    KivColor backC;
    EXPECT_TRUE(readBlock(reader, backM));
    EXPECT_TRUE(readBlock(reader, backC));
    EXPECT_EQ(backM, m);
    EXPECT_EQ(backC, colour);
    EXPECT_EQ(valueFile(version, [&](KivFileWrite& w) {
                writeBlock(w, backM);
                writeBlock(w, backC);
              }),
              first);
  }
}

TEST(KivColor, MismatchedOrShortBlocksTurnTheReaderBad) {
  struct Case {
    const char* name;
    const char* hex;
  };
  // Behind a root head with 64-bit lengths.
  const Case cases[] = {
      {"material_tag", "01000200 000000000000001C 3F800000 3F000000 00000000 3E800000"},
      {"three_floats", "01000100 0000000000000018 3F800000 3F000000 00000000 3E800000"},
      {"no_block", ""},
  };
  for (const Case& c : cases) {
    Bytes data = hexBytes("544F5601 0000000000000000");
    const Bytes body = hexBytes(c.hex);
    data.insert(data.end(), body.begin(), body.end());
    MemoryInput in(data);
    KivFileRead reader(&in);
    ASSERT_TRUE(reader.readRootHead()) << c.name;
    KivColor colour(0.1f, 0.2f, 0.3f, 0.4f);
    EXPECT_FALSE(readBlock(reader, colour)) << c.name;
    EXPECT_FALSE(reader.good()) << c.name;
    EXPECT_EQ(colour, KivColor()) << c.name;
  }
  // A material whose second colour block carries another tag.
  Bytes data = hexBytes("544F5601 0000000000000000 01000200 0000000000000088"
                        "01000100 000000000000001C 00000000 00000000 00000000 3F800000"
                        "01000600 000000000000001C 3F800000 00000000 00000000 3F800000");
  data.resize(data.size() + 136 - 68, 0);
  MemoryInput in(data);
  KivFileRead reader(&in);
  ASSERT_TRUE(reader.readRootHead());
  KivMaterial m;
  m.face = 1;
  EXPECT_FALSE(readBlock(reader, m));
  EXPECT_FALSE(reader.good());
  EXPECT_EQ(m, KivMaterial());
}

}  // namespace
