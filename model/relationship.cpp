//===- relationship.cpp - A named link from a parent to children ----------===//
#include "model/relationship.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "core/kivptr.h"
#include "core/platformexception.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/ikivpersistentrefmap.h"
#include "model/action.h"
#include "model/database.h"
#include "model/dataeventargs.h"
#include "model/dataeventsource.h"
#include "model/dataobject.h"
#include "model/relationshipiter.h"
#include "model/stackedit.h"

namespace {

constexpr int kRelationshipVersion = 1;

DataObject* objectOf(IKivUnknown* object) { return kivQuery<DataObject>(object, "DataObject"); }

} // namespace

namespace {

IterStack<Relationship*> relationshipsOf(const IterStack<IKivRelationship*>& list) {
  IterStack<Relationship*> out(list.count());
  for (int32_t i = 1; i <= list.count(); ++i)
    out.push(kivQuery<Relationship>(list.at(i), Relationship::kClassName));
  return out;
}

IterStack<Action*> actionsOf(const IterStack<Action*>& list) {
  IterStack<Action*> out(list.count());
  for (int32_t i = 1; i <= list.count(); ++i)
    out.push(kivQuery<Action>(list.at(i), "Action"));
  return out;
}

} // namespace

RelationshipIter::RelationshipIter(const IterStack<IKivRelationship*>& list)
    : SmallIterStackIter(relationshipsOf(list)) {}

ActionIter::ActionIter(const IterStack<Action*>& list) : SmallIterStackIter(actionsOf(list)) {}

Relationship::Relationship() {
  if (Database* database = Database::instance())
    database->registerRelationship(this, KivString(), nullptr);
}

Relationship::~Relationship() {
  if (Database* database = Database::instance())
    database->unregisterRelationship(this);
  IterStack<DataObject*> children(std::move(children_));
  children_ = IterStack<DataObject*>();
  for (int32_t i = 1; i <= children.count(); ++i) {
    DataObject* child = children.at(i);
    removeLastStackEntry(child->childRelationships_, static_cast<IKivRelationship*>(this));
    child->release();
  }
  leaveParent();
}

void Relationship::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DataEventSubscriber::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivRelationship");
    kivWalkInterface(walk, "IKivWriteable");
    kivWalkInterface(walk, "IKivPersistentRefCallback");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(asSubscriber()), out) ||
      kivAnswer(name, "IKivRelationship", static_cast<IKivRelationship*>(this), out))
    return;
  DataEventSubscriber::queryInterface(name, out);
  if (*out)
    return;
  if (!kivAnswer(name, "IKivWriteable", static_cast<IKivWriteable*>(this), out))
    kivAnswer(name, "IKivPersistentRefCallback", static_cast<IKivPersistentRefCallback*>(this),
              out);
}

// --- Events and Actions ------------------------------------------------------

void Relationship::onEvent(IKivDataEventSource* source, const KivCString& name,
                           IKivDataEventArgs* args) {
  DataEventSubscriber::onEvent(source, name, args);
}

void Relationship::onDataEvent(DataEventSource* source, const KivCString& name,
                               DataEventArgs* args) {
  Database* database = Database::instance();
  if (!database)
    return;
  // A private snapshot: the Database lock is held for the look-up only.
  IterStack<Action*> actions(2);
  database->collectActions(this, name, actions);
  if (actions.count() == 0)
    return;
  IKivUnknown* self = static_cast<IKivUnknown*>(asSubscriber());
  const bool held = self->refCount() > 0;
  if (held)
    self->addRef();
  IKivDataEventSource* sourceInterface = source;
  IKivDataEventArgs* argsInterface = args;
  for (int32_t i = 1; i <= actions.count(); ++i)
    if (Action* action = actions.at(i))
      action->execute(sourceInterface, name, argsInterface, &children_);
  if (held)
    self->release();
}

bool Relationship::addAction(const KivCString& event, Action* action) {
  if (!parent_)
    return false;
  // The event drops a second subscription of the same subscriber, so the
  // relationship is called once per firing however many Actions it has.
  parent_->subscribe(event, asSubscriber());
  if (Database* database = Database::instance())
    database->bindAction(this, event, action);
  return true;
}

bool Relationship::addAction(const KivString& event, Action* action) {
  return addAction(KivCString(event.c_str()), action);
}

bool Relationship::stopEvent(const KivCString& event) {
  if (!parent_)
    return false;
  parent_->unsubscribe(event, asSubscriber());
  return true;
}

bool Relationship::stopEvent(const KivString& event) {
  return stopEvent(KivCString(event.c_str()));
}

bool Relationship::removeAction(Action* action) {
  if (Database* database = Database::instance())
    database->unregisterAction(action);
  return true;
}

ActionIter* Relationship::actionIter() {
  Database* database = Database::instance();
  return new ActionIter(database ? database->actionsOf(this) : IterStack<Action*>());
}

// --- Parent and children -----------------------------------------------------

bool Relationship::leaveParent() {
  DataObject* old = parent_;
  parent_ = nullptr;
  if (!old)
    return false;
  // No firing of the old parent may reach this relationship any more,
  // whether it moves on or dies: it leaves every event of the parent, under
  // both of its subscriber pointers (addAction uses one; a client holding
  // the IKivRelationship may have subscribed the other). Bindings stay in
  // the Database, so on a new parent nothing runs until addAction
  // subscribes there.
  old->unsubscribeFromAll(asSubscriber());
  old->unsubscribeFromAll(static_cast<IKivRelationship*>(this));
  return removeLastStackEntry(old->parentRelationships_, static_cast<IKivRelationship*>(this));
}

void Relationship::setParent(IKivDataObject* parent) {
  DataObject* next = objectOf(parent);
  if (next == parent_)
    return;  // the same parent again: its list already stands for this one
  // Leaving the old parent gives back its reference, which may be the last;
  // the relationship lives to the end of the call. A new one (count 0) isn't
  // held: nothing can take a reference from it here.
  IKivUnknown* self = static_cast<IKivUnknown*>(asSubscriber());
  const bool held = self->refCount() > 0;
  if (held)
    self->addRef();
  if (leaveParent())
    self->release();
  if (next) {
    self->addRef();
    parent_ = next;
    if (!next->parentRelationships_)
      next->parentRelationships_ = new IterStack<IKivRelationship*>(2);
    next->parentRelationships_->push(static_cast<IKivRelationship*>(this));
  }
  if (held)
    self->release();
}

IKivDataObject* Relationship::parent() const {
  return parent_ ? static_cast<IKivDataObject*>(parent_) : nullptr;
}

void Relationship::detachParent() {
  if (leaveParent())
    static_cast<IKivUnknown*>(asSubscriber())->release();
}

void Relationship::addChild(IKivDataObject* child) {
  DataObject* c = objectOf(child);
  if (!c)
    return;
  children_.push(c);
  if (!c->childRelationships_)
    c->childRelationships_ = new IterStack<IKivRelationship*>(2);
  c->childRelationships_->push(static_cast<IKivRelationship*>(this));
  c->addRef();
  if (Database* database = Database::instance())
    database->applyClassActions(this);
}

void Relationship::removeChild(IKivDataObject* child) {
  DataObject* c = objectOf(child);
  if (!c)
    return;
  removeLastStackEntry(c->childRelationships_, static_cast<IKivRelationship*>(this));
  removeLastStackEntry(&children_, c);
  c->release();
}

void Relationship::children(IterStack<DataObject*>& out) const {
  for (int32_t i = 1; i <= children_.count(); ++i)
    out.push(children_.at(i));
}

DataObject* Relationship::child(int index) const {
  if (index < 0 || index >= children_.count())
    throwClassError("Relationship", "getChild: index is out of range.");
  return children_.at(index + 1);
}

// --- Stored form -------------------------------------------------------------

const KivClassId* Relationship::classId() { return &classIdOf(kClassName); }

bool Relationship::write(IKivDataModelWriter* writer) {
  writer->beginSection(this, kRelationshipVersion);
  writer->writeString(name_);
  SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
  auto numberOf = [&](DataObject* object) -> uint32_t {
    return table ? table->getId(object ? static_cast<IKivPersistentRef*>(object) : nullptr) : 0;
  };
  writer->writeUInt32(numberOf(parent_));
  writer->writeInt32(children_.count());
  for (int32_t i = 1; i <= children_.count(); ++i)
    writer->writeUInt32(numberOf(children_.at(i)));
  writer->endSection(this);
  return true;
}

bool Relationship::read(IKivDataModelReader* reader) {
  int version = 0;
  if (!reader->beginSection(this, &version) || version != kRelationshipVersion) {
    reader->endSection(this);
    return false;
  }
  KivString name;
  reader->readString(&name);
  setName(name);
  SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
  auto* callback = static_cast<IKivPersistentRefCallback*>(this);
  uint32_t number = 0;
  reader->readUInt32(&number);
  parentRefId_ = number;
  // Number 0 stands for no object and never resolves.
  if (table && number != 0)
    table->addCallback(number, callback);
  int32_t count = 0;
  reader->readInt32(&count);
  for (int32_t i = 0; i < count && reader->good(); ++i) {
    number = 0;
    if (reader->readUInt32(&number) && table && number != 0)
      table->addCallback(number, callback);
  }
  reader->endSection(this);
  return reader->good();
}

void Relationship::resolved(uint32_t refId, IKivPersistentRef* object) {
  IKivDataObject* resolvedObject = kivQuery<IKivDataObject>(object, "IKivDataObject");
  if (refId == parentRefId_)
    setParent(resolvedObject);
  else
    addChild(resolvedObject);
}
