//===- relationship.h - A named link from a parent to children --*- C++ -*-===//
//
// Relationship carries ownership down a tree and behaviour across the link:
// the parent's list holds it, it holds its children (one reference per
// entry), and the Actions bound to it for an event run whenever the parent
// fires that event, with the children as their argument.
//
// Invariants a user must know:
//  - Registered with the Database from construction to destruction.
//  - A firing asks the Database for the Actions bound to this relationship
//    and the event (under the Database lock), then runs them in binding order
//    without the lock, on the firing thread, each with the live child list.
//    An Action unregistered by an earlier one in the same round still runs.
//  - Subscriptions on the parent are made by addAction() and taken back when
//    the relationship leaves the parent (setParent, detachParent) or dies:
//    no later firing of a living parent reaches a relationship that left it
//    or a dead one. Bindings stay in the Database until unregistration, so
//    a relationship moved to a new parent runs nothing there until
//    addAction() subscribes it again.
//  - While its Actions run, the relationship holds a reference on itself, so
//    an Action may cut it loose without ending the round under it.
//  - No lock of its own.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "kivbasictypes/ikivpersistentref.h"
#include "kivbasictypes/ikivwriteable.h"
#include "kivbasictypes/kivstring.h"
#include "model/dataeventsubscriber.h"
#include "model/ikivrelationship.h"

#include <cstdint>

class ActionIter;

class Relationship : public DataEventSubscriber,
                     public IKivWriteable,
                     public IKivPersistentRefCallback,
                     public IKivRelationship {
public:
  static constexpr const char* kClassName = "Relationship";

  Relationship();
  Relationship(const Relationship&) = delete;
  Relationship& operator=(const Relationship&) = delete;
  ~Relationship() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  // Both event interfaces lead to the adapter of DataEventSubscriber.
  void onEvent(IKivDataEventSource* source, const KivCString& name,
               IKivDataEventArgs* args) override;
  void onDataEvent(DataEventSource* source, const KivCString& name, DataEventArgs* args) override;

  int64_t id() const override { return id_; }
  const KivString& name() const override { return name_; }
  void setName(const KivString& name) override { name_ = name; }
  bool addAction(const KivCString& event, Action* action) override;
  bool stopEvent(const KivCString& event) override;
  bool removeAction(Action* action) override;
  void setParent(IKivDataObject* parent) override;
  IKivDataObject* parent() const override;
  void detachParent() override;
  void addChild(IKivDataObject* child) override;
  void removeChild(IKivDataObject* child) override;
  void children(IterStack<DataObject*>& out) const override;
  int childCount() const override { return children_.count(); }
  DataObject* child(int index) const override;

  // IKivWriteable; write and read are also places 15 and 16 above.
  const KivClassId* classId() override;
  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;
  void setPersistent(bool persistent) override { persistent_ = persistent ? 1 : 0; }
  bool isPersistent() override { return persistent_ != 0; }

  // A number read by read() has its object: the parent's number sets the
  // parent, any other adds a child.
  void resolved(uint32_t refId, IKivPersistentRef* object) override;

  bool addAction(const KivString& event, Action* action);
  bool stopEvent(const KivString& event);
  // Over the Actions bound to this relationship; the caller deletes it.
  ActionIter* actionIter();

  // The child list, counted from 1, as Actions receive it.
  const IterStack<DataObject*>& childList() const { return children_; }
  DataObject* parentObject() const { return parent_; }
  // The one subscriber pointer under which this relationship stands in the
  // parent's events.
  IKivEventSubscriber* asSubscriber() {
    return static_cast<IKivEventSubscriber*>(static_cast<DataEventSubscriber*>(this));
  }

private:
  friend class Database;

  // Takes this relationship off the parent's events and out of its list;
  // true if it stood there (the list's reference is then the caller's).
  bool leaveParent();

  uint32_t parentRefId_ = 0;
  int64_t id_ = -1;
  KivString name_;
  uint8_t persistent_ = 1;
  DataObject* parent_ = nullptr;
  IterStack<DataObject*> children_{20};
};
