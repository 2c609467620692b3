#include "properties/kivcolorproperty.h"

#include "kivbasictypes/kivfile.h"
#include "properties/kivmaterialproperty.h"
#include "propertysupport.h"
#include "storedentries.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(KivColorProperty, PacksEachChannelIntoItsOwnRoundedByte) {
  struct Case {
    const char* name;
    KivColor color;
    uint32_t word;
  };
  const Case cases[] = {
      {"red_alpha_in_the_high_byte", {1, 0, 0, 1}, 0xFF0000FFu},
      {"half_rounds_up", {0.5f, 0.5f, 0.5f, 0.5f}, 0x80808080u},
      {"just_below_half_a_step", {0.4f / 255, 1.4f / 255, 0, 0}, 0x00000100u},
      {"out_of_range_held_at_the_ends", {-0.5f, 1.5f, 2.0f, -1.0f}, 0x00FFFF00u},
      {"nan_counts_as_zero", {NAN, 1, 1, 1}, 0xFFFFFF00u},
  };
  for (const Case& c : cases)
    EXPECT_EQ(KivColorProperty::pack(c.color), c.word) << c.name;
  EXPECT_FLOAT_EQ(KivColorProperty::unpack(0x80808080u).g, 0.5019608f);
  EXPECT_EQ(KivColorProperty::unpack(0xFF0000FFu), KivColor(1, 0, 0, 1));
}

// The colour as its one word, and the material as four words, two floats
// and the face, each behind the section head of its class.
TEST(KivColorProperty, ColourAndMaterialStoreTheirPackedWords) {
  inProcessHost();
  KivMaterial m;
  m.ambient = {1, 0, 0, 1};
  m.emission = {0, 0, 1, 0};
  m.transmission = 1.0f;
  m.shininess = -2.0f;
  m.face = KivMaterial::Back;
  PropertyMap map;
  map.addProperty(new KivColorProperty(KivString("c"), KivColor(0, 1, 0, 0.5f), false));
  map.addProperty(new KivMaterialProperty(KivString("m"), m, false));
  const std::string bytes = hexText(writeEntries(map));
  EXPECT_NE(bytes.find("AF 15 13 C7 EB 1A 80 00 FF 00"), std::string::npos) << bytes;
  EXPECT_NE(bytes.find("E8 57 FF 00 00 FF 00 00 00 00 00 00 00 00 00 FF 00 00 "
                       "3F 80 00 00 C0 00 00 00 00 00 00 01"),
            std::string::npos)
      << bytes;
}

} // namespace
