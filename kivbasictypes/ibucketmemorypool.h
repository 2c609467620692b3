//===- ibucketmemorypool.h - The pool of small buffers as a service -*- C++ -*-===//
//
// What a host publishes as "IBucketMemoryPool" and what every pool answers.
// Places are counted from 0 after IKivUnknown's and are a contract. Sizes are
// bytes; a buffer must go back with a size of the same size class as the one
// it was got with (the usable size that allocate reported always qualifies).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IBucketMemoryPool : public virtual IKivUnknown {
public:
  // release(size, block) below must not hide the reference count's release().
  using IKivUnknown::release;

  // Frees every cached buffer and every stack; the table stays. True.
  virtual bool clear() = 0;                                          // 0
  // A buffer of at least `size` bytes; *actualSize gets its usable size.
  virtual void* allocate(int32_t size, int32_t* actualSize) = 0;     // 1
  // Takes a buffer back and nulls *block. False if either is 0.
  virtual bool release(int32_t size, void** block) = 0;              // 2
  // Turns pooling on or off; a disabled pool still serves, unpooled.
  virtual void setEnabled(bool flag) = 0;                            // 3
};
