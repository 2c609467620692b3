//===- servicecache.h - Cached pointers to services -------------*- C++ -*-===//
//
// A service that is used often is looked up on first use and kept, with one
// reference, for the rest of the process; if it was missing at the first use
// it stays missing. resetServiceCaches() forgets every cached answer so that
// the next use looks again: for a host that installs services late, and tests.
// The first look-up is thread-safe.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"

#include <atomic>
#include <mutex>

namespace kivdetail {
extern std::atomic<unsigned> gServiceCacheGeneration;
}

void resetServiceCaches();

template <class T>
class CachedService {
public:
  explicit constexpr CachedService(const char* name) : name_(name) {}

  T* get() {
    unsigned generation = kivdetail::gServiceCacheGeneration.load(std::memory_order_acquire);
    if (generation_.load(std::memory_order_acquire) != generation) {
      std::lock_guard<std::mutex> lock(mutex_);
      if (generation_.load(std::memory_order_relaxed) != generation) {
        pointer_ = SPtr<T>(name_);
        generation_.store(generation, std::memory_order_release);
      }
    }
    return pointer_.get();
  }
  T* operator->() { return get(); }
  explicit operator bool() { return get() != nullptr; }

private:
  const char* name_;
  std::mutex mutex_;
  std::atomic<unsigned> generation_{~0u};
  SPtr<T> pointer_;
};
