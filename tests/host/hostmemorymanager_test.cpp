#include "host/hostmemorymanager.h"

#include "core/kivptr.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace {

TEST(HostMemoryManager, CountsBlocksAndPagesAcrossThreads) {
  IPtr<HostMemoryManager> manager(new HostMemoryManager);
  EXPECT_EQ(manager->getCoreNow(), 0);

  // 10 + 24K + (24K + 1) bytes round up to three pages.
  void* small = manager->allocBlock(10, false);
  auto* page = static_cast<unsigned char*>(manager->allocBlock(HostMemoryManager::kPageBytes, true));
  void* more = manager->allocBlock(HostMemoryManager::kPageBytes + 1, false);
  ASSERT_TRUE(small && page && more);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(page) % 16, 0u);
  EXPECT_EQ(manager->blockCount(), 3u);
  EXPECT_EQ(manager->getCoreNow(), 3);
  std::vector<unsigned char> zeros(HostMemoryManager::kPageBytes, 0);
  EXPECT_EQ(std::memcmp(page, zeros.data(), zeros.size()), 0);
  manager->freeBlock(more);
  EXPECT_EQ(manager->getCoreNow(), 2);
  manager->freeBlock(page);
  manager->freeBlock(small);
  manager->freeBlock(nullptr);
  EXPECT_EQ(manager->blockCount(), 0u);
  EXPECT_EQ(manager->bytesInUse(), 0u);
  EXPECT_GT(manager->getCoreLimit(), 0);

  manager->leaveParallel();  // unmatched: the depth stays at zero
  manager->enterParallel();
  manager->enterParallel();
  manager->leaveParallel();
  EXPECT_EQ(manager->parallelDepth(), 1);

  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&manager] {
      std::vector<void*> blocks;
      for (int i = 0; i < 1000; ++i)
        blocks.push_back(manager->allocBlock(8192, i % 2 == 0));
      for (void* block : blocks)
        manager->freeBlock(block);
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(manager->blockCount(), 0u);
  EXPECT_EQ(manager->bytesInUse(), 0u);
}

} // namespace
