//===- duplicate.h - The modifier that copies a DataObject ------*- C++ -*-===//
//
// Duplicate takes the object to copy in "object" and gives the copy in both
// "clonedobject" and "clonedObject" (read-only for PropertyMap callers; run()
// writes them through the properties). A run shows the application busy
// unless it is already, and reports 0 and 1 to the process-wide progress.
//
// Invariants a user must know:
//  - The two result properties always hold the same object after a run, and
//    they are what keeps the copy alive.
//  - A missing "object" throws the internal form of a class error before
//    anything else happens; a class that can't be copied throws too.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/modifier.h"

class IKivDuplicate : public virtual IKivUnknown {
public:
  virtual void run() = 0;  // 1
};

class Duplicate : public Modifier, public IKivDuplicate {
public:
  static constexpr const char* kClassName = "Duplicate";

  Duplicate();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void run() override;
};
