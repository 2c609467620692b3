//===- ikiverrorservice.h - The host's error presentation -------*- C++ -*-===//
//
// Used for two things only: the out-of-memory stop ("realloc" as source, both
// option flags 1) and runTests of the component (blank options, empty source).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class KivString;
class KivCString;

// The host's small record of presentation options; blank means defaults.
struct ErrorOptions {
  int32_t modal = 0;
  int32_t fatal = 0;
};

class IKivErrorService : public virtual IKivUnknown {
public:
  virtual void reserved1() {}
  virtual int reportCount() = 0;
  virtual void reportError(const KivString& message, const ErrorOptions& options,
                           const KivCString& source) = 0;
};
