//===- hostmemorymanager.h - The reference host's memory manager -*- C++ -*-===//
//
// Blocks come from the plain allocator; each carries a small header with its
// size so that the bytes in use are known. Figures are in pages of 24 KB,
// rounded up: getCoreNow is what the blocks use, getCoreLimit the machine's
// physical memory, the swap figures the machine's swap. This host keeps no
// cache, so releaseMemory() has nothing to give back and returns false.
// Parallel sections are only counted: blocks may be taken from any thread.
// Thread-safe.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivmmanager.h"

#include <atomic>
#include <cstddef>

class HostMemoryManager : public KivMM::IKivMManager {
public:
  static constexpr long long kPageBytes = 24 * 1024;

  HostMemoryManager();
  ~HostMemoryManager() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostMemoryManager"; }

  // Null when the allocator has nothing; the caller's out-of-memory road
  // takes over from there.
  void* allocBlock(size_t bytes, bool clear) override;
  void freeBlock(void* block) override;
  size_t blockCount() override;
  bool releaseMemory() override;
  void enterParallel() override;
  void leaveParallel() override;
  bool isSingleThreadOnly() override;
  long long getCoreLimit() override;
  long long getSwapLimit() override;
  long long getSwapNow() override;
  long long getCoreNow() override;

  size_t bytesInUse() const { return bytes_.load(); }
  int parallelDepth() const { return parallel_.load(); }

private:
  std::atomic<size_t> blocks_{0};
  std::atomic<size_t> bytes_{0};
  std::atomic<int> parallel_{0};
};
