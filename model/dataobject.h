//===- dataobject.h - The unit of the data model ----------------*- C++ -*-===//
//
// A DataObject is a named PropertyMap with a process-wide id, a small table of
// events, membership in relationships, and a stored form. One
// KivTEventSubscriber<DataObject> listens to every property; a property's
// "property_modified" becomes the object's own "property_modified", with
// "name" and the property added to the same argument map.
//
// Invariants a user must know:
//  - Flags (the PropertyMap byte): 0x08 gives the object its events
//    ("property_modified", "deleted", "updated"), 0x10 registers it with the
//    Database in the constructor, so a derived constructor finds it
//    registered. Tables and lists come into being on first use; the three
//    events of 0x08 too, as a group, when anything asks for one of them by
//    name, subscribes or adds an event (until then a firing has nobody to
//    reach).
//  - "Owners" are references: the last release() runs the destructor, which
//    fires "deleted" while the name, id, properties and relationships are
//    still there, then deletes the events, lets go of the properties,
//    unregisters (cutting the relationships, so a tree dies from the root
//    down), tells the lifetime listeners and frees the lists. During that
//    destructor the count stands high, so a subscriber that takes and drops a
//    reference can't delete the object a second time.
//  - parentRelationships stands for one strong reference on each relationship
//    in it (taken and given back by Relationship); childRelationships holds
//    none.
//  - write() and writeGraph() use the process-wide IKivWriteQueue and the
//    host's IKivPersistentRefMap: one load or save at a time per process.
//  - No lock of its own: one thread at a time per object.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "basic_types/map.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivpersistentref.h"
#include "model/ikivdataobject.h"
#include "model/ikivlifetimesubject.h"
#include "properties/propertymap.h"

#include <cstdint>

class DataEvent;
class IKivRelationship;
template <class T>
class KivTEventSubscriber;

class DataObject : public PropertyMap,
                   public KivPersistentRef,
                   public IKivDataObject,
                   public IKivLifetimeSubject {
public:
  static constexpr const char* kClassName = "DataObject";

  DataObject();
  // A new identity with the other's properties, persistence flag and name;
  // no subscribers, relationships or lifetime listeners.
  DataObject(const DataObject& other);
  // Stores flags, name and id as given and creates the "name" property, but
  // no events and no subscriber; registers if 0x10 is set and id is -1.
  DataObject(uint8_t flags, const KivString& name, int64_t id);
  DataObject& operator=(const DataObject&) = delete;
  ~DataObject() override;

  void queryInterface(const char* name, void** out) override;
  // Out of line: classId() tells a plain DataObject by the address of this
  // text, and a literal folded into another translation unit may stand at
  // another address.
  const char* className() const override;

  // IKivDataObject.
  int64_t id() const override { return id_; }
  KivString& name(KivString& out) const override;
  void setName(const KivString& name) override;
  IKivDataObject* clone() override { return nullptr; }
  void addLifetimeListener(IKivLifetimeListener* listener) override;
  void removeLifetimeListener(IKivLifetimeListener* listener) override;
  bool subscribe(const KivCString& event, IKivEventSubscriber* s) override;
  bool unsubscribe(const KivCString& event, IKivEventSubscriber* s) override;
  const KivCString& eventNames() override;
  void fireEvent(const KivCString& event, IKivDataEventArgs* args) override;
  IKivUndoInfo* createUndoInfo(bool) override { return nullptr; }

  // IKivWriteable. classId() is null for a plain DataObject and fails for a
  // derived class that doesn't give its own (code 6).
  const KivClassId* classId() override;
  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;

  // PropertyMap: a property entered is heard by the object's subscriber.
  void addProperty(IKivProperty* p) override;
  void addProperty(IKivProperty* p, const char* name) override;
  void detachProperty(const char* name) override;

  // The scripting class; the text's address is the object's scripting type.
  virtual const char* scriptClassName() const;
  virtual bool readBody(IKivDataModelReader* reader, int version);
  // This object and all that its object properties reach, each once.
  virtual bool writeGraph(IKivDataModelWriter* writer);
  virtual bool readGraph(IKivDataModelReader* reader);
  virtual void onPropertyEvent(IKivDataEventSource* source, const KivCString& name,
                               IKivDataEventArgs* args);
  virtual bool readExtra(IKivDataModelReader* reader, int version);
  virtual bool writeExtra(IKivDataModelWriter* writer);
  // Runs in the constructors: flags, subscriber and events, the "name"
  // property, registration.
  virtual void initialize();

  // The display name, as the "name" property reads it.
  const KivString& nameText() const { return name_; }
  // Builds the owed events first, so that the event found can be subscribed.
  DataEvent* findEvent(const KivCString& name) const;
  // Adds an event of that name if the object has events (flag 0x08).
  DataEvent* addEvent(const KivCString& name);
  // Takes `subscriber` off every event of the object.
  void unsubscribeFromAll(IKivEventSubscriber* subscriber);
  // The relationships in which this object is the parent, or a child; null
  // until the first one.
  const IterStack<IKivRelationship*>* parentRelationships() const { return parentRelationships_; }
  const IterStack<IKivRelationship*>* childRelationships() const { return childRelationships_; }
  int32_t lifetimeListenerCount() const;

protected:
  // The one subscriber that hears every property; null without events.
  IKivEventSubscriber* propertySubscriber() const;

private:
  friend class Database;
  friend class Relationship;

  using EventMap = Map<KivCString, DataEvent*>;

  void createNameProperty();
  void deleteEvents();
  // The event table with the owed events built, in the order the
  // constructor always added them.
  EventMap* eventMap() const;
  // For a firing: an event not built yet has no subscriber to reach.
  DataEvent* builtEvent(const KivCString& name) const;
  DataEvent* addToMap(const KivCString& name) const;

  mutable EventMap* events_ = nullptr;
  // The three events of flag 0x08 are due but not built yet.
  mutable bool eventsOwed_ = false;
  // "property_modified" in events_ once built: every property change is
  // relayed through it, without a look-up by name.
  mutable DataEvent* modified_ = nullptr;
  int64_t id_ = -1;
  KivString name_;
  KivTEventSubscriber<DataObject>* subscriber_ = nullptr;
  IterStack<IKivLifetimeListener*>* lifetimeListeners_ = nullptr;
  IterStack<IKivRelationship*>* parentRelationships_ = nullptr;
  IterStack<IKivRelationship*>* childRelationships_ = nullptr;
};
