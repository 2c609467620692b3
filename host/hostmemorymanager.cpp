//===- hostmemorymanager.cpp - The reference host's memory manager --------===//
#include "host/hostmemorymanager.h"

#include <cstdlib>
#include <cstring>
#include <sys/sysinfo.h>

namespace {

// The header in front of each block keeps the block's alignment at 16.
constexpr size_t kHeaderBytes = 16;

long long pagesOf(unsigned long long bytes) {
  return static_cast<long long>((bytes + HostMemoryManager::kPageBytes - 1) /
                                HostMemoryManager::kPageBytes);
}

struct MachineMemory {
  unsigned long long ram = 0;
  unsigned long long swapTotal = 0;
  unsigned long long swapFree = 0;
};

MachineMemory machineMemory() {
  MachineMemory memory;
  struct sysinfo info {};
  if (sysinfo(&info) != 0)
    return memory;
  unsigned long long unit = info.mem_unit ? info.mem_unit : 1;
  memory.ram = info.totalram * unit;
  memory.swapTotal = info.totalswap * unit;
  memory.swapFree = info.freeswap * unit;
  return memory;
}

} // namespace

HostMemoryManager::HostMemoryManager() = default;

HostMemoryManager::~HostMemoryManager() = default;

void HostMemoryManager::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostMemoryManager", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, "IKivMManager", static_cast<KivMM::IKivMManager*>(this), out))
    return;
  kivAnswer(name, "KivMM::IKivMManager", static_cast<KivMM::IKivMManager*>(this), out);
}

void* HostMemoryManager::allocBlock(size_t bytes, bool clear) {
  if (bytes > static_cast<size_t>(-1) - kHeaderBytes)
    return nullptr;
  void* raw = clear ? std::calloc(1, bytes + kHeaderBytes) : std::malloc(bytes + kHeaderBytes);
  if (!raw)
    return nullptr;
  std::memcpy(raw, &bytes, sizeof bytes);
  blocks_.fetch_add(1, std::memory_order_relaxed);
  bytes_.fetch_add(bytes, std::memory_order_relaxed);
  return static_cast<char*>(raw) + kHeaderBytes;
}

void HostMemoryManager::freeBlock(void* block) {
  if (!block)
    return;
  char* raw = static_cast<char*>(block) - kHeaderBytes;
  size_t bytes = 0;
  std::memcpy(&bytes, raw, sizeof bytes);
  blocks_.fetch_sub(1, std::memory_order_relaxed);
  bytes_.fetch_sub(bytes, std::memory_order_relaxed);
  std::free(raw);
}

size_t HostMemoryManager::blockCount() { return blocks_.load(std::memory_order_relaxed); }

bool HostMemoryManager::releaseMemory() { return false; }

void HostMemoryManager::enterParallel() { parallel_.fetch_add(1, std::memory_order_relaxed); }

void HostMemoryManager::leaveParallel() {
  // An unmatched leave must not drive the depth negative.
  int depth = parallel_.load(std::memory_order_relaxed);
  while (depth > 0 &&
         !parallel_.compare_exchange_weak(depth, depth - 1, std::memory_order_relaxed)) {
  }
}

bool HostMemoryManager::isSingleThreadOnly() { return false; }

long long HostMemoryManager::getCoreLimit() { return pagesOf(machineMemory().ram); }

long long HostMemoryManager::getSwapLimit() { return pagesOf(machineMemory().swapTotal); }

long long HostMemoryManager::getSwapNow() {
  MachineMemory memory = machineMemory();
  return pagesOf(memory.swapTotal - memory.swapFree);
}

long long HostMemoryManager::getCoreNow() {
  return pagesOf(bytes_.load(std::memory_order_relaxed));
}
