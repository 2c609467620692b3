//===- ikivasserthandlercb.h - The host's assertion handler -----*- C++ -*-===//
#pragma once

#include "core/kivobject.h"

class IKivAssertHandlerCB : public virtual IKivUnknown {
public:
  // Told of a failed kivAssert; execution goes on after it returns.
  virtual void handleAssert(const char* expression, const char* file, int line) = 0;
};
