//===- hostrandom.h - The reference host's random numbers -------*- C++ -*-===//
//
// HostRandom is the service behind "IKivRandom": a splitmix64 sequence, so
// the same seed gives the same numbers on every machine. A fresh service is
// seeded with 0. randomBelow(n) gives 0 .. n - 1 by the high half of a
// 64 x 32-bit product (0 for n < 1). Thread-safe; a seed restarts the one
// sequence shared by all callers.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivrandom.h"

#include <cstdint>
#include <mutex>

class HostRandom : public IKivRandom {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostRandom"; }

  int32_t randomBelow(int32_t bound) override;
  void seed(uint32_t seed) override;

private:
  std::mutex mutex_;
  uint64_t state_ = 0;
};
