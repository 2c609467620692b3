// Tests of KivGridPoint: its 64 bits pass through the bare form unchanged.
#include "kivbasictypes/kivgridpoint.h"

#include "valuestreams.h"

#include <gtest/gtest.h>

namespace {

TEST(KivGridPoint, BareFormKeepsAllSixtyFourBits) {
  expectBareForm(KivGridPoint(0x0102030405060708ull), "0102030405060708", "ordinary");
  expectBareForm(KivGridPoint(0xFFFFFFFFFFFFFFFEull), "FFFFFFFFFFFFFFFE", "high_bit");
  expectBareForm(KivGridPoint(), "0000000000000000", "default");
}

}  // namespace
