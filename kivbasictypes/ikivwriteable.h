//===- ikivwriteable.h - What a stored object implements --------*- C++ -*-===//
//
// An object that stands in a data-model file as a section: the class
// identifier at the head of the section names the class a reader builds.
// classId() gives a pointer that stays valid as long as the object lives.
// An object that is not persistent is left out of the file by its owner.
// The persistent references that build on this interface live with
// KivPersistentRef; this header is all the file layer needs of them.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

struct KivClassId;
class IKivDataModelWriter;
class IKivDataModelReader;

class IKivWriteable : public virtual IKivUnknown {
public:
  virtual const KivClassId* classId() = 0;
  // Each writes or reads one section.
  virtual bool write(IKivDataModelWriter* writer) = 0;
  virtual bool read(IKivDataModelReader* reader) = 0;
  virtual void setPersistent(bool persistent) = 0;
  virtual bool isPersistent() = 0;
};
