//===- action.h - Behaviour bound to a relationship and an event -*- C++ -*-===//
//
// An Action is a client's class: this component registers Actions, binds
// them to pairs of relationship and event name, and runs them, but contains
// none. A class derives from Action, gives className() and execute(), and
// answers "Action" in queryInterface (the default here does).
//
// Invariants a user must know:
//  - `id_` is written by the Database alone: at registration (counting from
//    0 per kind, never reused) and back to -1 at unregistration.
//  - The Database holds no reference on an Action and never deletes it; a
//    client unregisters an Action before it dies.
//  - execute() runs on the thread that fired the event, without the
//    Database lock. `children` is the relationship's live list (counted from
//    1): read it, don't change the relationship's children while walking it.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class DataObject;
class IKivDataEventArgs;
class IKivDataEventSource;
class KivCString;
template <class T>
class IterStack;

class Action : public virtual IKivUnknown {
public:
  virtual int64_t id() const { return id_; }
  virtual void execute(IKivDataEventSource* source, const KivCString& event,
                       IKivDataEventArgs* args, const IterStack<DataObject*>* children) = 0;

  // Answers "Action" and "IKivUnknown".
  void queryInterface(const char* name, void** out) override;

private:
  friend class Database;
  int64_t id_ = -1;
};
