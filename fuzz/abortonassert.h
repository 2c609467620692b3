//===- abortonassert.h - Assertions as fuzzing findings ----------*- C++ -*-===//
//
// Bad input must never reach an assertion: the fuzz targets that read bytes
// straight through the library turn one into an abort, which libFuzzer
// reports with its input. Installed once, at the first input.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivassert.h"

#include <cstdio>
#include <cstdlib>

inline void abortOnAssert(void*, const char* expression, const char* file, int line) {
  std::fprintf(stderr, "assertion %s at %s:%d\n", expression, file, line);
  std::abort();
}

inline void installAbortingAssertHandler() {
  static const bool installed = [] {
    setAssertHandler(abortOnAssert, nullptr);
    return true;
  }();
  (void)installed;
}
