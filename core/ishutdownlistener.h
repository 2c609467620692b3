//===- ishutdownlistener.h - Told by the host when it shuts down -*- C++ -*-===//
#pragma once

#include "core/kivobject.h"

class IShutdownListener : public virtual IKivUnknown {
public:
  virtual void onShutdown() = 0;
};

// Run once when created; the work of an initializer is in its constructor.
class IKivInitializer : public virtual IKivUnknown {
public:
  virtual void initialize() = 0;
};
