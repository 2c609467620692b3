//===- ikivdatabase.h - The process-wide registry of objects ----*- C++ -*-===//
//
// The one directory of the data model: it hands out ids to data objects,
// modifiers, relationships and Actions (separately per kind, counting from
// 0, never reused; -1 means unregistered), finds them by id, and holds the
// bindings of relationships, event names and Actions with the class-wide
// rules that make such bindings by themselves. The slot order is a contract.
//
// Invariants a user must know:
//  - Every operation takes the Database's one recursive lock, also those that
//    only forward to an object; the forwarded code runs under it (an event
//    fired by setObjectName is delivered with the lock held).
//  - Nothing is owned: the tables hold raw pointers, and objects take
//    themselves out when they die. Results carry no reference.
//  - A null object or relationship argument does nothing, or gives null,
//    false or an empty list.
//  - Lists given by value are snapshots; `out` lists are appended to.
//  - A modifier is reached through queryInterface("KivDatabaseId"), which
//    must give the address of its 64-bit id field; the Database writes it.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "core/kivobject.h"
#include "kivbasictypes/kivstring.h"

#include <cstdint>

class Action;
class DataObject;
class DataObjectArray;
class IKivDataObject;
class IKivDynamicDataObject;
class IKivModifier;
class IKivRelationship;
class KivCString;

class IKivDatabase : public virtual IKivUnknown {
public:
  // Ends the database's activity: closes every document, one by one, and
  // drops the global object.
  virtual void shutdown() = 0;                                                         // 1
  // Gives an id to an object whose id is -1; one with an id isn't touched.
  virtual void registerDataObject(IKivDataObject* object) = 0;                         // 2
  // Created at the first call, dropped by shutdown().
  virtual IKivDynamicDataObject* globalObject() = 0;                                   // 3
  // Out of the table (the object keeps its id), and out of every
  // relationship: child relationships let go of it, parent ones lose it.
  virtual void unregisterDataObject(IKivDataObject* object) = 0;                       // 4
  virtual IKivDataObject* getDataObject(int64_t id) = 0;                               // 5
  virtual void setObjectName(IKivDataObject* object, const KivString& name) = 0;       // 6
  virtual void objectName(IKivDataObject* object, KivString& out) = 0;                 // 7
  // The children of the first relationship of `parent` with that name.
  virtual void childrenByName(IKivDataObject* parent, const KivString& name,
                              IterStack<DataObject*>& out) = 0;                        // 8
  // The children of all of `parent`'s relationships, in the parent's order.
  virtual void allChildren(IKivDataObject* parent, IterStack<DataObject*>& out) = 0;   // 9
  virtual void registerModifier(IKivModifier* modifier) = 0;                           // 10
  virtual void unregisterModifier(IKivModifier* modifier) = 0;                         // 11
  virtual IKivModifier* getModifier(int64_t id) = 0;                                   // 12
  // Takes `child` out of `oldParent`'s relationship of that name and into
  // `newParent`'s, creating it; gives the relationship created, else null.
  virtual IKivRelationship* moveChild(IKivDataObject* oldParent, IKivDataObject* newParent,
                                      IKivDataObject* child, const KivString& name) = 0;  // 13
  // Names the relationship, sets its parent and gives it a new id.
  virtual void registerRelationship(IKivRelationship* relationship, const KivString& name,
                                    IKivDataObject* parent) = 0;                       // 14
  // Drops its bindings and its id (which becomes -1).
  virtual void unregisterRelationship(IKivRelationship* relationship) = 0;             // 15
  virtual void setRelationshipName(IKivRelationship* relationship,
                                   const KivString& name) = 0;                         // 16
  virtual void relationshipName(IKivRelationship* relationship, KivString& out) = 0;   // 17
  // The oldest of `parent`'s relationships with that name, or null.
  virtual IKivRelationship* findRelationship(const KivString& name,
                                             IKivDataObject* parent) = 0;              // 18
  virtual IterStack<IKivRelationship*> relationshipsNamed(IKivDataObject* parent,
                                                          const KivString& name) = 0;  // 19
  virtual IterStack<IKivRelationship*> relationshipsOfChild(IKivDataObject* child) = 0; // 20
  // Appends the Actions bound for `event`, in binding order, to `scratch`
  // and gives a copy of it.
  virtual IterStack<Action*> actionsForEvent(IKivRelationship* relationship,
                                             const KivCString& event,
                                             IterStack<Action*>& scratch) = 0;         // 21
  virtual IterStack<Action*> actionsOf(IKivRelationship* relationship) = 0;            // 22
  // Distinct names of the relationships in which `object` is the parent
  // (or a child).
  virtual IterStack<KivString> namesAsParent(IKivDataObject* object) = 0;              // 23
  virtual IterStack<KivString> namesAsChild(IKivDataObject* object) = 0;               // 24
  // Appends the pair to the relationship's binding (no duplicate test) and
  // registers the Action if it has no id.
  virtual void bindAction(IKivRelationship* relationship, const KivCString& event,
                          Action* action) = 0;                                         // 25
  virtual bool isBound(IKivRelationship* relationship, const KivCString& event,
                       Action* action) = 0;                                            // 26
  virtual void addChild(IKivRelationship* relationship, IKivDataObject* child) = 0;    // 27
  virtual void removeChild(IKivRelationship* relationship, IKivDataObject* child) = 0; // 28
  virtual void children(IKivRelationship* relationship, IterStack<DataObject*>& out) = 0; // 29
  virtual IKivDataObject* parent(IKivRelationship* relationship) = 0;                  // 30
  // Nothing for a null parent; registers an unregistered relationship first.
  virtual void setParent(IKivRelationship* relationship, IKivDataObject* parent) = 0;  // 31
  // `reserved` is not read. The caller receives the relationship without a
  // reference.
  virtual IKivRelationship* createBoundRelationship(int reserved, const KivString& name,
                                                    IKivDataObject* parent,
                                                    IKivDataObject* child,
                                                    const KivCString& event,
                                                    Action* action) = 0;               // 32
  virtual IKivRelationship* createRelationship(int reserved, const KivString& name,
                                               IKivDataObject* parent,
                                               IKivDataObject* child) = 0;             // 33
  virtual void registerAction(Action* action) = 0;                                     // 34
  // Unbinds it everywhere and drops its class-wide rules; it isn't deleted.
  virtual void unregisterAction(Action* action) = 0;                                   // 35
  // A rule: every relationship whose parent and first child have exactly
  // these class names gets the Action for `event` at its next addChild.
  virtual void addClassAction(Action* action, const KivCString& event,
                              const KivCString& parentClass,
                              const KivCString& childClass) = 0;                       // 36
  // The registered objects whose scriptClassName() is this very pointer (an
  // equal text elsewhere doesn't match). The caller takes the reference.
  virtual DataObjectArray* objectsOfScriptClass(const char* name) = 0;                 // 37
  virtual void applyClassActions(IKivRelationship* relationship) = 0;                  // 38
};
