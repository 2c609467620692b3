//===- hostasserthandler.cpp - The reference host's assertion handler -----===//
#include "host/hostasserthandler.h"

#include <cstdio>
#include <cstdlib>

HostAssertHandler::HostAssertHandler(bool abortOnFailure) : abort_(abortOnFailure) {}

HostAssertHandler::~HostAssertHandler() = default;

void HostAssertHandler::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostAssertHandler", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivAssertHandlerCB", static_cast<IKivAssertHandlerCB*>(this), out);
}

void HostAssertHandler::setAbortOnFailure(bool abortOnFailure) {
  std::lock_guard<std::mutex> lock(mutex_);
  abort_ = abortOnFailure;
}

int HostAssertHandler::failureCount() {
  std::lock_guard<std::mutex> lock(mutex_);
  return count_;
}

std::string HostAssertHandler::lastFailure() {
  std::lock_guard<std::mutex> lock(mutex_);
  return lastFailure_;
}

void HostAssertHandler::handleAssert(const char* expression, const char* file, int line) {
  std::string text = std::string(expression ? expression : "?") + " (" + (file ? file : "?") +
                     ":" + std::to_string(line) + ")";
  bool abortNow;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    ++count_;
    lastFailure_ = text;
    abortNow = abort_;
  }
  std::fprintf(stderr, "assertion failed: %s\n", text.c_str());
  if (abortNow) {
    std::fflush(stderr);
    std::abort();
  }
}
