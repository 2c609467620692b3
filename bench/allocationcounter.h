//===- allocationcounter.h - Heap blocks counted in the bench binary -*- C++ -*-===//
//
// The benchmark binary interposes malloc, calloc and realloc: every heap
// block of the process (operator new, the guarded allocator, string
// buffers, the anchors' libraries) passes through one counter. Counting is
// off unless a measurement switches it on, so other code pays one branch.
// Under a sanitizer nothing is interposed and every count reads 0.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>

// Heap blocks allocated since the process started, while counting was on.
uint64_t allocationsSoFar();
// Switches counting on or off; returns the previous setting.
bool countAllocations(bool on);
// False under a sanitizer, where malloc is the sanitizer's own.
bool allocationsCounted();
