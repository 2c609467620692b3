//===- hostasserthandler.h - The reference host's assertion handler -*- C++ -*-===//
//
// A failed assertion is printed as "assertion failed: <expr> (<file>:<line>)"
// on stderr. Then the process aborts, unless the handler was switched to
// counting, which tests use to watch assertions without dying. Thread-safe.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ikivasserthandlercb.h"

#include <mutex>
#include <string>

class HostAssertHandler : public IKivAssertHandlerCB {
public:
  explicit HostAssertHandler(bool abortOnFailure = true);
  ~HostAssertHandler() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostAssertHandler"; }

  void handleAssert(const char* expression, const char* file, int line) override;

  void setAbortOnFailure(bool abortOnFailure);
  int failureCount();
  // "<expr> (<file>:<line>)" of the last failure; empty before the first.
  std::string lastFailure();

private:
  std::mutex mutex_;
  bool abort_;
  int count_ = 0;
  std::string lastFailure_;
};
