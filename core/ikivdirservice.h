//===- ikivdirservice.h - The host's named directories ----------*- C++ -*-===//
//
// The component calls only the first operation, with a narrow name such as
// "temp" or "components", and takes the directory text in return (empty when
// the name is unknown).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivString;

class IKivDirService : public virtual IKivUnknown {
public:
  virtual KivString directory(const char* name) = 0;
  virtual void setDirectory(const char* name, const KivString& path) = 0;
};
