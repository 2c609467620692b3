//===- allocationcounter.cpp - Heap blocks counted in the bench binary ----===//
#include "allocationcounter.h"

#include <atomic>
#include <cstddef>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" void* __libc_malloc(size_t);
extern "C" void* __libc_calloc(size_t, size_t);
extern "C" void* __libc_realloc(void*, size_t);
extern "C" void __libc_free(void*);

namespace {
std::atomic<bool> gCounting{false};
std::atomic<uint64_t> gAllocations{0};
inline void countOne() {
  if (gCounting.load(std::memory_order_relaxed))
    gAllocations.fetch_add(1, std::memory_order_relaxed);
}
} // namespace

extern "C" void* malloc(size_t n) {
  countOne();
  return __libc_malloc(n);
}
extern "C" void* calloc(size_t n, size_t size) {
  countOne();
  return __libc_calloc(n, size);
}
extern "C" void* realloc(void* p, size_t n) {
  countOne();
  return __libc_realloc(p, n);
}
extern "C" void free(void* p) { __libc_free(p); }

uint64_t allocationsSoFar() { return gAllocations.load(); }
bool countAllocations(bool on) { return gCounting.exchange(on); }
bool allocationsCounted() { return true; }
#else
uint64_t allocationsSoFar() { return 0; }
bool countAllocations(bool) { return false; }
bool allocationsCounted() { return false; }
#endif
