//===- ikivmmanager.h - The host's memory manager ---------------*- C++ -*-===//
//
// Blocks of bulk arrays come from here; blocks never move. Places are counted
// from 0 and are a contract. Figures are in pages of 24 kilobytes.
// releaseMemory() may be called from several threads at once.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstddef>

namespace KivMM {

class IKivMManager : public virtual IKivUnknown {
public:
  virtual void* allocBlock(size_t bytes, bool clear) = 0;   // 0
  virtual void freeBlock(void* block) = 0;                  // 1
  virtual size_t blockCount() = 0;                          // 2
  virtual bool releaseMemory() = 0;                         // 3
  virtual void enterParallel() = 0;                         // 4
  virtual void leaveParallel() = 0;                         // 5
  virtual bool isSingleThreadOnly() = 0;                    // 6
  virtual void reserved7() {}                               // 7
  virtual void reserved8() {}                               // 8
  virtual void reserved9() {}                               // 9
  virtual long long getCoreLimit() = 0;                     // 10
  virtual long long getSwapLimit() = 0;                     // 11
  virtual long long getSwapNow() = 0;                       // 12
  virtual void reserved13() {}                              // 13
  virtual void reserved14() {}                              // 14
  virtual void reserved15() {}                              // 15
  virtual void reserved16() {}                              // 16
  virtual long long getCoreNow() = 0;                       // 17
};

} // namespace KivMM
