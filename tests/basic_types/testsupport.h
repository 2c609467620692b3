//===- testsupport.h - Helpers shared by the container tests ----*- C++ -*-===//
//
// Counted tracks how many of its objects are alive, so that a test can see
// that a container constructs and destroys exactly the slots it should.
// AssertCapture installs itself as the assertion handler for its lifetime and
// records every report instead of ending the process.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivassert.h"

#include <string>
#include <vector>

struct Counted {
  static inline int live = 0;
  static inline int constructions = 0;

  int value = 0;

  Counted() { born(); }
  Counted(int v) : value(v) { born(); }
  Counted(const Counted& other) : value(other.value) { born(); }
  Counted(Counted&& other) noexcept : value(other.value) {
    other.value = -1;
    born();
  }
  Counted& operator=(const Counted&) = default;
  Counted& operator=(Counted&& other) noexcept {
    value = other.value;
    other.value = -1;
    return *this;
  }
  ~Counted() { --live; }

  static void reset() {
    live = 0;
    constructions = 0;
  }

private:
  void born() {
    ++live;
    ++constructions;
  }
};

struct AssertReport {
  std::string expression;
  std::string file;
  int line;
};

class AssertCapture {
public:
  AssertCapture() { setAssertHandler(&AssertCapture::record, this); }
  ~AssertCapture() { setAssertHandler(nullptr, nullptr); }
  AssertCapture(const AssertCapture&) = delete;
  AssertCapture& operator=(const AssertCapture&) = delete;

  std::vector<AssertReport> reports;

private:
  static void record(void* context, const char* expression, const char* file, int line) {
    static_cast<AssertCapture*>(context)->reports.push_back({expression, file, line});
  }
};
