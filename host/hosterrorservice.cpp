//===- hosterrorservice.cpp - The reference host's error presentation -----===//
#include "host/hosterrorservice.h"

#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivstring.h"

#include <cstdio>

HostErrorService::HostErrorService() = default;

HostErrorService::~HostErrorService() = default;

void HostErrorService::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostErrorService", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivErrorService", static_cast<IKivErrorService*>(this), out);
}

int HostErrorService::reportCount() {
  std::lock_guard<std::mutex> lock(mutex_);
  return count_;
}

std::string HostErrorService::lastMessage() {
  std::lock_guard<std::mutex> lock(mutex_);
  return lastMessage_;
}

void HostErrorService::setEcho(bool echo) {
  std::lock_guard<std::mutex> lock(mutex_);
  echo_ = echo;
}

void HostErrorService::reportError(const KivString& message, const ErrorOptions& /*options*/,
                                   const KivCString& source) {
  // The options ask for a modal or fatal presentation; a console line is
  // both at once, and ending the process is the caller's decision.
  std::string text = message.utf8Text() ? message.utf8Text() : "";
  std::lock_guard<std::mutex> lock(mutex_);
  ++count_;
  lastMessage_ = text;
  if (!echo_)
    return;
  if (source.isEmpty())
    std::fprintf(stderr, "error: %s\n", text.c_str());
  else
    std::fprintf(stderr, "error (%s): %s\n", source.c_str(), text.c_str());
}
