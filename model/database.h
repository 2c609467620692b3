//===- database.h - The singleton registry of the data model ----*- C++ -*-===//
//
// Database implements IKivDatabase (see ikivdatabase.h for what each
// operation does). It is built once by the class table's singleton factory;
// instance() is how code inside the component reaches it, and the first
// look-up is safe against threads that construct objects at the same time.
//
// Invariants a user must know:
//  - One recursive lock guards every table and counter. It is recursive
//    because unregistering an object drops references whose destructors come
//    back into the Database. Actions never run under it: collectActions()
//    gives a snapshot.
//  - Ids count from 0 per kind and are never reused. Relationships and
//    Actions get -1 back when they leave; objects and modifiers keep theirs.
//  - The tables hold raw pointers. Bindings and class-wide rules are records
//    the Database owns.
//  - A class-wide rule takes effect at the next addChild of a relationship
//    whose parent and first child have exactly those class names.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "basic_types/map.h"
#include "core/kivptr.h"
#include "kivbasictypes/kivcstring.h"
#include "model/ikivdatabase.h"
#include "properties/propertymap.h"

#include <cstdint>
#include <functional>
#include <mutex>

class ActionIter;
class RelationshipIter;

class Database : public IKivDatabase, public PropertyMap {
public:
  Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database() override;

  // The singleton, or null when no manager is installed.
  static Database* instance();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "Database"; }

  void shutdown() override;
  void registerDataObject(IKivDataObject* object) override;
  IKivDynamicDataObject* globalObject() override;
  void unregisterDataObject(IKivDataObject* object) override;
  IKivDataObject* getDataObject(int64_t id) override;
  void setObjectName(IKivDataObject* object, const KivString& name) override;
  void objectName(IKivDataObject* object, KivString& out) override;
  void childrenByName(IKivDataObject* parent, const KivString& name,
                      IterStack<DataObject*>& out) override;
  void allChildren(IKivDataObject* parent, IterStack<DataObject*>& out) override;
  void registerModifier(IKivModifier* modifier) override;
  void unregisterModifier(IKivModifier* modifier) override;
  IKivModifier* getModifier(int64_t id) override;
  IKivRelationship* moveChild(IKivDataObject* oldParent, IKivDataObject* newParent,
                              IKivDataObject* child, const KivString& name) override;
  void registerRelationship(IKivRelationship* relationship, const KivString& name,
                            IKivDataObject* parent) override;
  void unregisterRelationship(IKivRelationship* relationship) override;
  void setRelationshipName(IKivRelationship* relationship, const KivString& name) override;
  void relationshipName(IKivRelationship* relationship, KivString& out) override;
  IKivRelationship* findRelationship(const KivString& name, IKivDataObject* parent) override;
  IterStack<IKivRelationship*> relationshipsNamed(IKivDataObject* parent,
                                                  const KivString& name) override;
  IterStack<IKivRelationship*> relationshipsOfChild(IKivDataObject* child) override;
  IterStack<Action*> actionsForEvent(IKivRelationship* relationship, const KivCString& event,
                                     IterStack<Action*>& scratch) override;
  IterStack<Action*> actionsOf(IKivRelationship* relationship) override;
  IterStack<KivString> namesAsParent(IKivDataObject* object) override;
  IterStack<KivString> namesAsChild(IKivDataObject* object) override;
  void bindAction(IKivRelationship* relationship, const KivCString& event,
                  Action* action) override;
  bool isBound(IKivRelationship* relationship, const KivCString& event, Action* action) override;
  void addChild(IKivRelationship* relationship, IKivDataObject* child) override;
  void removeChild(IKivRelationship* relationship, IKivDataObject* child) override;
  void children(IKivRelationship* relationship, IterStack<DataObject*>& out) override;
  IKivDataObject* parent(IKivRelationship* relationship) override;
  void setParent(IKivRelationship* relationship, IKivDataObject* parent) override;
  IKivRelationship* createBoundRelationship(int reserved, const KivString& name,
                                            IKivDataObject* parent, IKivDataObject* child,
                                            const KivCString& event, Action* action) override;
  IKivRelationship* createRelationship(int reserved, const KivString& name,
                                       IKivDataObject* parent, IKivDataObject* child) override;
  void registerAction(Action* action) override;
  void unregisterAction(Action* action) override;
  void addClassAction(Action* action, const KivCString& event, const KivCString& parentClass,
                      const KivCString& childClass) override;
  DataObjectArray* objectsOfScriptClass(const char* name) override;
  void applyClassActions(IKivRelationship* relationship) override;

  // The same rule with wide-string names.
  void addClassAction(Action* action, const KivString& event, const KivString& parentClass,
                      const KivString& childClass);
  // What actionsForEvent gives, appended to `out` without a copy: the path of
  // a firing.
  void collectActions(IKivRelationship* relationship, const KivCString& event,
                      IterStack<Action*>& out);
  // The registered objects whose scriptClassName() is `name` itself.
  void objectsOfScriptClass(const char* name, IterStack<DataObject*>& out);

  // Iterators over the lists of places 19, 20 and 22; the caller deletes them.
  RelationshipIter* relationshipIterNamed(IKivDataObject* parent, const KivString& name);
  RelationshipIter* relationshipIterOfChild(IKivDataObject* child);
  ActionIter* actionIter(IKivRelationship* relationship);

  uint32_t dataObjectCount();
  int64_t modifierCount();
  int64_t relationshipCount();
  int64_t actionCount();
  int64_t classActionCount();
  // The ids the next registration of each kind will get.
  int64_t nextDataObjectId();
  int64_t nextRelationshipId();
  int64_t nextActionId();

  // Read-only walks of each table in its own hash order, for reports. They
  // take no lock: a caller that needs the tables to hold still takes
  // tableLock() itself.
  std::recursive_mutex& tableLock() { return lock_; }
  void eachDataObject(const std::function<void(DataObject*)>& visit);
  void eachRelationship(const std::function<void(IKivRelationship*)>& visit);
  void eachAction(const std::function<void(Action*)>& visit);
  // Class-wide rules: their own id, the id of the action, the class names.
  void eachClassAction(const std::function<void(int64_t id, int64_t actionId,
                                                const KivCString& parentClass,
                                                const KivCString& childClass)>& visit);
  // Every binding of every relationship, in binding order.
  void eachBinding(const std::function<void(IKivRelationship* relationship, Action* action,
                                            const KivCString& event)>& visit);

private:
  struct ClassAction;
  struct ActionBinding;
  using Lock = std::lock_guard<std::recursive_mutex>;

  void unbindRelationship(IKivRelationship* relationship);
  IterStack<KivString> distinctNames(const IterStack<IKivRelationship*>* list);

  std::recursive_mutex lock_;
  IPtr<IKivDynamicDataObject> globalObject_;
  Map<int64_t, DataObject*> dataObjects_;
  Map<int64_t, IKivModifier*> modifiers_;
  Map<int64_t, IKivRelationship*> relationships_;
  Map<int64_t, Action*> actions_;
  Map<int64_t, ClassAction*> classActions_;
  Map<IKivRelationship*, ActionBinding*> bindings_;
  Map<Action*, IterStack<IKivRelationship*>*> actionUsers_;
  int64_t nextDataObjectId_ = 0;
  int64_t dataObjectCount_ = 0;
  int64_t nextModifierId_ = 0;
  int64_t modifierCount_ = 0;
  int64_t nextRelationshipId_ = 0;
  int64_t relationshipCount_ = 0;
  int64_t nextActionId_ = 0;
  int64_t actionCount_ = 0;
  int64_t nextClassActionId_ = 0;
  int64_t classActionCount_ = 0;
};
