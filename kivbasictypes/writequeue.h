//===- writequeue.h - The singleton queue of objects to write ---*- C++ -*-===//
//
// WriteQueue is built once by the class table's singleton factory; every
// look-up of "IKivWriteQueue" gives that instance. It keeps a Queue of plain
// pointers but takes from the end that was pushed last: the order is last in,
// first out, in spite of the name. A graph writer that pushes the objects one
// object refers to therefore walks the graph depth first, and that walk is
// the order of the objects in the file.
//
// Invariants a user must know:
//  - No references are held; an object on the queue is kept alive elsewhere.
//  - Entries stay until they are popped or clear() runs; nothing else empties
//    the queue, so a writer starts with clear().
//  - pop() on an empty queue reports kivAssert("0", "basic_types/queue", 79)
//    and gives null; ask isEmpty() first.
//  - No lock: one graph is written at a time in a process.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivwritequeue.h"

template <class T>
class Queue;

class WriteQueue : public IKivWriteQueue {
public:
  WriteQueue();
  WriteQueue(const WriteQueue&) = delete;
  WriteQueue& operator=(const WriteQueue&) = delete;
  ~WriteQueue() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "WriteQueue"; }

  void push(IKivDataObject* object) override;
  IKivDataObject* pop() override;
  void clear() override;
  bool isEmpty() override;

private:
  Queue<IKivDataObject*>* queue_;
};
