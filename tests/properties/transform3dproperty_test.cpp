#include "properties/transform3dproperty.h"

#include "propertysupport.h"

#include <gtest/gtest.h>

namespace {

TEST(Transform3DProperty, PrintsFourRowsWithTwoDecimalsAndNoInfinities) {
  inProcessHost();
  KivMatrix m = KivMatrix::translation(KivVector(1.5, -2, 1e39));
  m(3, 0) = 0.125;
  IPtr<Transform3DProperty> p(new Transform3DProperty(KivString("t"), m, false));
  KivString out("stale text");
  p->valueText(p->name(), out);
  EXPECT_EQ(text(out), "[1.00 0.00 0.00 1.50]\n"
                       "[0.00 1.00 0.00 -2.00]\n"
                       "[0.00 0.00 1.00 "
                       "999999999999999939709166371603178586112.00]\n"
                       "[0.12 0.00 0.00 1.00]\n");
  p->set(KivMatrix::identity);
  p->valueText(p->name(), out);
  EXPECT_EQ(text(out).substr(0, 22), "[1.00 0.00 0.00 0.00]\n");
}

} // namespace
