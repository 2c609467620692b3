//===- ikivmodifier.h - The unit of work on the data model ------*- C++ -*-===//
//
// A modifier's properties are its arguments and results; run() does the
// work, on whatever thread calls it. The slot order is a contract.
// A registered modifier answers queryInterface("KivDatabaseId") with the
// address of its 64-bit id field, which the Database writes (-1 while
// unregistered).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivString;

class IKivModifier : public virtual IKivUnknown {
public:
  virtual const KivString& name() const = 0;  // 1
  virtual void run() = 0;                     // 2
};
