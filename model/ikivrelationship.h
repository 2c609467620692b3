//===- ikivrelationship.h - A named link from a parent to children -*- C++ -*-===//
//
// A relationship holds one strong reference on each child (a child added
// twice stands twice) and none on its parent; the parent's list holds one on
// the relationship. Actions bound to it for an event run whenever the parent
// fires that event, with the children as their argument. It is itself the
// subscriber on the parent, which is why it is an IKivEventSubscriber. The
// slot order is a contract.
//
// Invariants a user must know:
//  - Indices of child() count from 0; out of range fails with code 6.
//  - removeChild() drops a reference on its argument even if it wasn't a
//    child: call it only for a child.
//  - removeAction() unbinds the Action from every relationship, not just
//    this one.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/ikivdataevent.h"

#include <cstdint>

class Action;
class DataObject;
class IKivDataModelReader;
class IKivDataModelWriter;
class IKivDataObject;
class KivString;
template <class T>
class IterStack;

class IKivRelationship : public IKivEventSubscriber {
public:
  virtual int64_t id() const = 0;                                        // 1
  virtual const KivString& name() const = 0;                             // 2
  virtual void setName(const KivString& name) = 0;                       // 3
  // False without a parent; otherwise subscribes to the parent's event and
  // binds the Action (registering it if needed).
  virtual bool addAction(const KivCString& event, Action* action) = 0;   // 4
  // Unsubscribes from the parent's event; the bindings stay.
  virtual bool stopEvent(const KivCString& event) = 0;                   // 5
  virtual bool removeAction(Action* action) = 0;                         // 6
  virtual void setParent(IKivDataObject* parent) = 0;                    // 7
  virtual IKivDataObject* parent() const = 0;                            // 8
  virtual void detachParent() = 0;                                       // 9
  virtual void addChild(IKivDataObject* child) = 0;                      // 10
  virtual void removeChild(IKivDataObject* child) = 0;                   // 11
  // Appends the children in order.
  virtual void children(IterStack<DataObject*>& out) const = 0;          // 12
  virtual int childCount() const = 0;                                    // 13
  virtual DataObject* child(int index) const = 0;                        // 14
  virtual bool write(IKivDataModelWriter* writer) = 0;                   // 15
  virtual bool read(IKivDataModelReader* reader) = 0;                    // 16
};
