#include "properties/vectorproperty.h"

#include "properties/kivboundsproperty.h"
#include "properties/kivcolorproperty.h"
#include "properties/kivgridpointproperty.h"
#include "properties/kivmaterialproperty.h"
#include "properties/kivquaternionproperty.h"
#include "properties/kivrectproperty.h"
#include "properties/transform3dproperty.h"
#include "propertysupport.h"

#include <gtest/gtest.h>

namespace {

struct VectorPropertyTest : ::testing::Test {
  VectorPropertyTest() { inProcessHost(); }
};

template <class P>
std::string textOf(const typename P::ValueType& value) {
  IPtr<P> p(new P(KivString("p"), value, false));
  KivString out;
  p->valueText(p->name(), out);
  return text(out);
}

TEST_F(VectorPropertyTest, ComponentsPrintWithTwoDecimalsOrAsInfinities) {
  struct Case {
    const char* name;
    std::string got;
    const char* expected;
  };
  const Case cases[] = {
      {"beyond_half_the_largest_float", textOf<Vector3DProperty>(KivVector(1, 2e38, -2e38)),
       "[1.00 +INF -INF]"},
      {"two_decimals_only", textOf<Vector2DProperty>(Vector2D(1.5, 2.25)), "[1.50 2.25]"},
      {"each_component_in_its_place", textOf<Vector3DProperty>(KivVector(-0.5, 0, 1e6)),
       "[-0.50 0.00 1000000.00]"},
      {"floats_widened", textOf<Vector2FProperty>(Vector2F(0.25f, -3e38f)), "[0.25 -INF]"},
      {"default_2d_is_the_largest_float", textOf<Vector2DProperty>(Vector2D()), "[+INF +INF]"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(c.got, c.expected) << c.name;
}

// Only bool, int and double skip a write of the value they hold; every
// class here fires for it, once per set().
TEST_F(VectorPropertyTest, EveryValueClassFiresOnTheValueItHolds) {
  auto firings = [](auto* raw) {
    IPtr<IKivProperty> hold(raw);
    Changes changes;
    raw->subscribe(modified(), &changes);
    raw->set(raw->get());
    raw->set(raw->get());
    return changes.calls.size();
  };
  EXPECT_EQ(firings(new Vector2DProperty(KivString("a"), Vector2D(1, 2), false)), 2u);
  EXPECT_EQ(firings(new Vector2FProperty(KivString("a"), Vector2F(1, 2), false)), 2u);
  EXPECT_EQ(firings(new Vector3DProperty(KivString("a"), KivVector(1, 2, 3), false)), 2u);
  EXPECT_EQ(firings(new Transform3DProperty(KivString("a"), false)), 2u);
  EXPECT_EQ(firings(new KivBoundsProperty(KivString("a"), false)), 2u);
  EXPECT_EQ(firings(new KivColorProperty(KivString("a"), false)), 2u);
  EXPECT_EQ(firings(new KivMaterialProperty(KivString("a"), false)), 2u);
  EXPECT_EQ(firings(new KivQuaternionProperty(KivString("a"), false)), 2u);
  EXPECT_EQ(firings(new KivRectProperty(KivString("a"), false)), 2u);
  EXPECT_EQ(firings(new KivGridPointProperty(KivString("a"), false)), 2u);
}

// clearValue() puts back a fixed value without an event, where the class
// has one; the 3D vector keeps its value.
TEST_F(VectorPropertyTest, ClearingIsSilentAndGivesTheTypesStartValue) {
  Changes changes;
  IPtr<Vector2DProperty> v2d(new Vector2DProperty(KivString("a"), Vector2D(1, 2), false));
  IPtr<Vector2FProperty> v2f(new Vector2FProperty(KivString("b"), Vector2F(1, 2), false));
  IPtr<Vector3DProperty> v3d(new Vector3DProperty(KivString("c"), KivVector(1, 2, 3), false));
  IPtr<Transform3DProperty> m(
      new Transform3DProperty(KivString("d"), KivMatrix::scaling(2), false));
  IPtr<KivGridPointProperty> g(new KivGridPointProperty(KivString("e"), KivGridPoint(9), false));
  for (IKivProperty* p : std::initializer_list<IKivProperty*>{v2d.get(), v2f.get(), v3d.get(),
                                                              m.get(), g.get()}) {
    p->subscribe(modified(), &changes);
    p->clearValue();
  }
  EXPECT_TRUE(changes.calls.empty());
  EXPECT_EQ(v2d->get(), Vector2D());
  EXPECT_EQ(v2f->get(), Vector2F(0, 0));
  EXPECT_EQ(v3d->get(), KivVector(1, 2, 3));
  EXPECT_TRUE(m->get().isIdentity());
  EXPECT_EQ(g->get(), KivGridPoint(0));
}

} // namespace
