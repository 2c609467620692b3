#include "properties/kivboundsproperty.h"

#include "propertysupport.h"
#include "storedentries.h"

#include <gtest/gtest.h>

namespace {

// The text is min then max in the plain number form; reading builds the box
// from its two corners, so reversed corners come back sorted and a stored
// empty box as the shared empty value.
TEST(KivBoundsProperty, PrintsBothCornersAndReadsThroughTheCornerRule) {
  inProcessHost();
  IPtr<KivBoundsProperty> p(new KivBoundsProperty(
      KivString("b"), KivBounds(KivVector(0, 0.5, -1), KivVector(2, 1.25, 3e12)), false));
  KivString out;
  p->valueText(p->name(), out);
  EXPECT_EQ(text(out), "[0.000000 0.500000 -1.000000]\n[2.000000 1.250000 3.000000e+12]\n");

  KivBounds reversed;
  reversed.min = KivVector(5, 5, 5);
  reversed.max = KivVector(1, 2, 3);
  PropertyMap map;
  map.addProperty(new KivBoundsProperty(KivString("reversed"), reversed, false));
  map.addProperty(new KivBoundsProperty(KivString("empty"), KivBounds::emptyBounds, false));
  PropertyMap read;
  ASSERT_EQ(readEntries(writeEntries(map), read), 0);
  auto boundsOf = [&](const char* name) {
    return kivQuery<KivBoundsProperty>(read.getProperty(name), "KivBoundsProperty")->get();
  };
  EXPECT_EQ(boundsOf("reversed"), KivBounds(KivVector(1, 2, 3), KivVector(5, 5, 5)));
  EXPECT_EQ(boundsOf("empty"), KivBounds::emptyBounds);
}

} // namespace
