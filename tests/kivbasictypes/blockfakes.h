//===- blockfakes.h - A memory manager that counts its blocks ---*- C++ -*-===//
//
// CountingMManager hands out real blocks from the plain allocator and counts
// what the arrays ask of it; it fails the test when a block is freed twice or
// freed without having been given. BlockFixture installs it behind memfakes'
// component manager, so arrays made inside a test take their blocks from it,
// and fails the test if any block is still alive when the test ends.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/memfakes.h"

#include <cstdlib>
#include <set>

namespace blockfakes {

class CountingMManager : public memfakes::FakeService<KivMM::IKivMManager> {
public:
  CountingMManager() : FakeService("IKivMManager") {}

  void* allocBlock(size_t bytes, bool clear) override {
    void* block = clear ? std::calloc(1, bytes) : std::malloc(bytes);
    if (!clear)
      std::memset(block, 0xA5, bytes); // stale bytes, as a recycled block has
    ++allocs;
    lastBytes = bytes;
    live.insert(block);
    return block;
  }
  void freeBlock(void* block) override {
    if (!block)
      return;
    EXPECT_EQ(live.erase(block), 1u) << "freeBlock of a block not handed out";
    ++frees;
    std::free(block);
  }
  size_t blockCount() override { return live.size(); }
  bool releaseMemory() override { return false; }
  void enterParallel() override {}
  void leaveParallel() override {}
  bool isSingleThreadOnly() override { return false; }
  long long getCoreLimit() override { return 0; }
  long long getSwapLimit() override { return 0; }
  long long getSwapNow() override { return 0; }
  long long getCoreNow() override { return 0; }

  int allocs = 0;
  int frees = 0;
  size_t lastBytes = 0;
  std::set<void*> live;
};

class BlockFixture : public memfakes::MemFixture {
protected:
  void SetUp() override {
    MemFixture::SetUp();
    blocks = install("IKivMManager", new CountingMManager);
  }
  void TearDown() override {
    EXPECT_TRUE(blocks->live.empty()) << blocks->live.size() << " blocks still alive";
    MemFixture::TearDown();
  }

  CountingMManager* blocks = nullptr;
};

} // namespace blockfakes
