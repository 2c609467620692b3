//===- ikivdatabaseutil.h - Reports on the live object graph ----*- C++ -*-===//
//
// The dumps write Graphviz DOT text with HTML-like labels to a file they
// create or overwrite; a path that can't be opened gives no file and no
// message. reportLeaks() lists every registered object and relationship on
// the standard log stream. As an IKivWriteable, it writes and reads the
// registered objects without a Document.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivwriteable.h"

class IKivDataObject;
class IKivModifier;

class IKivDatabaseUtil : public virtual IKivUnknown, public IKivWriteable {
public:
  virtual void dumpObject(const char* path, IKivDataObject* object) = 0;     // 1
  virtual void dumpModifier(const char* path, IKivModifier* modifier) = 0;   // 2
  virtual void dumpDatabase(const char* path) = 0;                           // 3
  virtual void reportLeaks() = 0;                                            // 4
};
