//===- imemchecker.h - Optional replacement of memory figures ---*- C++ -*-===//
//
// IMemChecker stands in for the operating system's memory figures when it is
// active. IGfxRenderer is the host's renderer; the component knows only the two
// hooks it calls around the last out-of-memory message.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IMemChecker : public virtual IKivUnknown {
public:
  virtual bool isActive() = 0;
  // 0xFFFFFFFF or above on failure.
  virtual uint32_t getStatus(uint64_t* sysFree, uint64_t* sysTotal, uint64_t* swapFree,
                             uint64_t* swapTotal, uint64_t unit) = 0;
  virtual int64_t getProcessMemory(uint64_t unit) = 0;
};

class IGfxRenderer : public virtual IKivUnknown {
public:
  virtual void beforeFatalMessage() = 0;
  virtual void afterFatalMessage() = 0;
};
