//===- hostrandom.cpp - The reference host's random numbers ---------------===//
#include "host/hostrandom.h"

void HostRandom::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (!kivAnswer(name, "IKivRandom", static_cast<IKivRandom*>(this), out))
    kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}

int32_t HostRandom::randomBelow(int32_t bound) {
  if (bound < 1)
    return 0;
  uint64_t z;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    z = (state_ += 0x9e3779b97f4a7c15ull);
  }
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
  z ^= z >> 31;
  return static_cast<int32_t>(((z >> 32) * static_cast<uint64_t>(bound)) >> 32);
}

void HostRandom::seed(uint32_t seed) {
  std::lock_guard<std::mutex> lock(mutex_);
  state_ = seed;
}
