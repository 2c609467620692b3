//===- writequeue.cpp - The singleton queue of objects to write -----------===//
#include "kivbasictypes/writequeue.h"

#include "basic_types/queue.h"
#include "core/classwalk.h"
#include "core/kivassert.h"

WriteQueue::WriteQueue() : queue_(new Queue<IKivDataObject*>) {}

WriteQueue::~WriteQueue() { delete queue_; }

void WriteQueue::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "WriteQueue");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivWriteQueue");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "WriteQueue", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivWriteQueue", static_cast<IKivWriteQueue*>(this), out);
}

void WriteQueue::push(IKivDataObject* object) { queue_->push(object); }

// Not the Queue's own pop: the newest entry of `back` leaves first. Entries
// never reach `front`, since only the Queue's own pop moves them there.
IKivDataObject* WriteQueue::pop() {
  IterStack<IKivDataObject*>& back = queue_->backStack();
  if (back.count() > 0)
    return back.pop();
  kivAssert("0", "basic_types/queue", 79);
  return nullptr;
}

// The Queue's own pop is never called, so its head stays at 1 and emptying
// both stacks is all a clear needs.
void WriteQueue::clear() {
  queue_->backStack().clear();
  queue_->frontStack().clear();
}

bool WriteQueue::isEmpty() { return queue_->isEmpty(); }
