//===- stringbuffer.cpp - Buffers of the string classes ------------------===//
#include "kivbasictypes/stringbuffer.h"

#include "kivbasictypes/bucketmemorypool.h"

// String buffers are the bucket pool's main customers: a freed buffer waits
// on the stack of its size class for the next string of that size.
void* allocBuffer(int32_t size, int32_t* capacity) { return bucketAllocBuffer(size, capacity); }

void freeBuffer(int32_t capacity, void* buffer) { bucketFreeBuffer(capacity, buffer); }
