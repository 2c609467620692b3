//===- ikivlifetimesubject.h - Being told of an object's death --*- C++ -*-===//
//
// A subject keeps a plain list of listeners, without references, and calls
// each listener's first operation once, from its destructor, with itself as
// the argument. A listener that dies first removes itself. Adding the same
// listener twice makes two entries; a removal takes out the later one.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class IKivLifetimeSubject;

class IKivLifetimeListener : public virtual IKivUnknown {
public:
  // The subject is dying: its derived parts are gone, the Database no longer
  // knows it, and it must not be referenced again.
  virtual void subjectDying(IKivLifetimeSubject* subject) = 0;
};

class IKivLifetimeSubject : public virtual IKivUnknown {
public:
  virtual void addLifetimeListener(IKivLifetimeListener* listener) = 0;
  virtual void removeLifetimeListener(IKivLifetimeListener* listener) = 0;
};
