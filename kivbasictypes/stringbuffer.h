//===- stringbuffer.h - Buffers of the string classes -----------*- C++ -*-===//
//
// Owned string buffers come from allocBuffer and go back through freeBuffer.
// The reported capacity may exceed the size asked for; it is what the string
// stores, and a capacity of 0 means "not owned" (never freed). Allocation
// never fails visibly: the guarded allocator ends the process instead.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>

void* allocBuffer(int32_t size, int32_t* capacity);
void freeBuffer(int32_t capacity, void* buffer);
