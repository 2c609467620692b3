//===- tovrealloc.h - Guarded allocation ------------------------*- C++ -*-===//
//
// All long-lived buffers come from tovMalloc / tovRealloc. A caller sees a
// buffer or the end of the process, never null: on failure the allocators ask
// the memory manager to give memory back, settle for less, spill the old
// contents through a temporary file, and at the end write memory.log, show a
// message and exit. Memory past the old contents is cleared on growth;
// tovMalloc does not clear.
//
// Decided, and kept: sizes are computed in 64 bits, and a request above the
// signed 32-bit limit (2 GiB) goes the road of a failed allocation to the
// end of the process. That is safer on this platform than a 32-bit product,
// which could wrap round to a small block that the caller then overruns.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>

constexpr uint32_t kTovNoMax = 0xFFFFFFFFu;

// elementSize * count bytes into *out; returns count.
int32_t tovMalloc(void** out, int32_t elementSize, int32_t count);
// Resizes a block of curSize elements; returns the new element count, which
// lies between minNewSize and maxNewSize (kTovNoMax: equal to minNewSize).
int32_t tovRealloc(void** inOut, int32_t elementSize, int32_t curSize, int32_t minNewSize,
                   uint32_t maxNewSize = kTovNoMax);
void tovFree(void* block);

// Typed conveniences over the same road.
template <class T>
inline int32_t tovMallocT(T** out, int32_t count) {
  return tovMalloc(reinterpret_cast<void**>(out), static_cast<int32_t>(sizeof(T)), count);
}
template <class T>
inline int32_t tovReallocT(T** inOut, int32_t curSize, int32_t minNewSize,
                           uint32_t maxNewSize = kTovNoMax) {
  return tovRealloc(reinterpret_cast<void**>(inOut), static_cast<int32_t>(sizeof(T)), curSize,
                    minNewSize, maxNewSize);
}

// Writes memory.log with `size` as the attempted bytes and stops the process.
[[noreturn]] void tovOutOfMemory(int64_t size);
// The last rung alone: the message, then exit with code -1.
[[noreturn]] void stopForMemory(int code);
// Writes memory.log only (attempted size 0 leaves out the first two lines).
void writeMemoryLog(int64_t attempted);

int64_t getMemLimit();
uint32_t getMemoryStatus(uint64_t* sysFree, uint64_t* sysTotal, uint64_t* swapFree,
                         uint64_t* swapTotal, uint64_t unit);
int64_t getAvailableMemory(double swapShare, uint64_t unit);
int64_t getFreePhysicalMemory(uint64_t unit);
int64_t getFreeAddressSpace(double swapShare, uint64_t unit);
int64_t getFreeVirtual(uint64_t unit);
int64_t getProcessMemory(uint64_t unit);
bool getProcessWorkingSet(uint64_t* current, uint64_t* peak, uint64_t unit);

// Test seam: while installed, the plain allocator consults `fail(bytes)` before
// each attempt and treats true as a failure. Not for production use.
using TovAllocFailureInjector = bool (*)(void* context, int64_t bytes);
void setTovAllocFailureInjector(TovAllocFailureInjector fail, void* context);
