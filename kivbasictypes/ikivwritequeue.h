//===- ikivwritequeue.h - Objects waiting to be written ---------*- C++ -*-===//
//
// The process-wide queue of objects that a graph writer still has to store,
// reached as "IKivWriteQueue". It holds plain pointers without references:
// whoever pushes an object must keep it alive until it is popped or the queue
// is cleared. pop() gives the object pushed *last* (see writequeue.h), and
// popping an empty queue is a programmer's fault that gives null.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class IKivDataObject;

class IKivWriteQueue : public virtual IKivUnknown {
public:
  virtual void push(IKivDataObject* object) = 0;
  virtual IKivDataObject* pop() = 0;
  virtual void clear() = 0;
  virtual bool isEmpty() = 0;
};
