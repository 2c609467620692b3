#include "host/hostpointextrainfo.h"
#include "host/hostrandom.h"
#include "host/hostrealparrayfactory.h"

#include "core/kivptr.h"
#include "kivbasictypes/irealparray.h"
#include "kivbasictypes/kivvectorarray.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(HostRandom, SeededSequencesRepeatAndStayBelowTheBound) {
  IPtr<HostRandom> a(new HostRandom);
  IPtr<HostRandom> b(new HostRandom);
  a->seed(420);
  b->seed(420);
  std::vector<int> counts(7);
  for (int i = 0; i < 7000; ++i) {
    const int32_t x = a->randomBelow(7);
    ASSERT_EQ(x, b->randomBelow(7));
    ASSERT_GE(x, 0);
    ASSERT_LT(x, 7);
    ++counts[x];
  }
  for (int c : counts)
    EXPECT_GT(c, 800);  // every value turns up
  EXPECT_EQ(a->randomBelow(0), 0);
  EXPECT_EQ(a->randomBelow(-3), 0);
  a->seed(1);
  b->seed(2);
  int differ = 0;
  for (int i = 0; i < 10; ++i)
    differ += a->randomBelow(1000000) != b->randomBelow(1000000);
  EXPECT_GT(differ, 5);
}

TEST(HostPointExtraInfo, PackedColoursFollowTheArraysEdits) {
  IPtr<HostPointExtraInfo> store(new HostPointExtraInfo);
  EXPECT_FALSE(store->hasData());
  store->setSize(3);
  EXPECT_TRUE(store->hasData());
  EXPECT_EQ(store->count(), 4);
  const float colours[4][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.2f, 0.4f, 2.0f}};
  for (int i = 1; i <= 3; ++i)
    store->setColour(i, colours[i]);
  EXPECT_EQ(store->getPacked(3), 0xffff6633u);  // 2.0 is limited to 255
  EXPECT_EQ(store->getPacked(1), 0xff0000ffu);

  IKivPointExtraInfo::OrderArray order(8);
  for (int i = 0; i < 4; ++i)
    order.set(i, i == 0 ? 0 : 4 - i);  // reverse 1..3
  store->permute(order, 1, 3);
  EXPECT_EQ(store->getPacked(1), 0xffff6633u);
  EXPECT_EQ(store->getPacked(3), 0xff0000ffu);

  IPtr<IKivPointExtraInfo> copy(store->clone());
  EXPECT_TRUE(copy->equals(store.get(), 4));
  store->onInsert(1, 2);
  EXPECT_EQ(store->count(), 6);
  EXPECT_EQ(store->getPacked(1), 0u);
  EXPECT_EQ(store->getPacked(3), 0xffff6633u);
  store->onRemove(1, 2);
  EXPECT_TRUE(copy->equals(store.get(), 4));
  store->resize(1);
  EXPECT_EQ(store->getPacked(2), 0u);
  EXPECT_EQ(store->count(), 2);
  store->clear();
  EXPECT_TRUE(store->isDisposable());
  store->assign(copy.get());
  EXPECT_EQ(store->getPacked(1), 0xffff6633u);
}

TEST(HostRealPArrayFactory, KnowsTheStoringArraysWordOnly) {
  IPtr<HostRealPArrayFactory> factory(new HostRealPArrayFactory);
  IPtr<IRealPArray> made(factory->createForWord(0x0b916b00u, 1024));
  ASSERT_NE(made.get(), nullptr);
  EXPECT_STREQ(made->className(), "KivVectorArray");
  EXPECT_EQ(made->count(), 0);
  EXPECT_EQ(factory->createForWord(0x0b916b01u, 16), nullptr);
  EXPECT_EQ(factory->createForWord(0xffffffffu, 16), nullptr);
}

} // namespace
