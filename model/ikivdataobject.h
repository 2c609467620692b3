//===- ikivdataobject.h - The unit of the data model ------------*- C++ -*-===//
//
// What a client sees of a DataObject beyond its properties: an id handed out
// by the Database (-1 while unregistered, never reused), a display name, a
// table of events by name, and the listeners told of its death. The slot
// order is a contract; the reserved places exist only to keep it.
//
// Invariants a user must know:
//  - subscribe() and unsubscribe() give false when the object has no event
//    of that name; fireEvent() of an unknown name does nothing.
//  - Pointers handed out (clone, createUndoInfo) carry no reference.
//  - eventNames() fills one process-wide string: no two threads at once.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IKivDataEventArgs;
class IKivEventSubscriber;
class IKivLifetimeListener;
class IKivUndoInfo;
class KivCString;
class KivString;

class IKivDataObject : public virtual IKivUnknown {
public:
  virtual int64_t id() const = 0;                                                 // 1
  // Copies the name into `out` and gives `out`.
  virtual KivString& name(KivString& out) const = 0;                              // 2
  // Assigns without comparing, then fires "name_changed" if the object has it.
  virtual void setName(const KivString& name) = 0;                                // 3
  // A new object, or null for a class that can't be copied.
  virtual IKivDataObject* clone() = 0;                                            // 4
  virtual void reserved5() {}                                                     // 5
  virtual void reserved6() {}                                                     // 6
  virtual void addLifetimeListener(IKivLifetimeListener* listener) = 0;           // 7
  // Removes the last entry equal to `listener`.
  virtual void removeLifetimeListener(IKivLifetimeListener* listener) = 0;        // 8
  virtual bool subscribe(const KivCString& event, IKivEventSubscriber* s) = 0;    // 9
  virtual bool unsubscribe(const KivCString& event, IKivEventSubscriber* s) = 0;  // 10
  // All event names, each followed by a line feed, in table order.
  virtual const KivCString& eventNames() = 0;                                     // 11
  // Fires with the object as the source.
  virtual void fireEvent(const KivCString& event, IKivDataEventArgs* args) = 0;   // 12
  // Null for a class without undo support.
  virtual IKivUndoInfo* createUndoInfo(bool option) = 0;                          // 13
  virtual void reserved14() {}                                                    // 14
};
