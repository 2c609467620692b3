//===- database.cpp - The singleton registry of the data model ------------===//
#include "model/database.h"

#include "core/classwalk.h"
#include "core/lookup.h"
#include "core/servicecache.h"
#include "documents/documentmanager.h"
#include "documents/ikivdocument.h"
#include "model/action.h"
#include "model/dataobject.h"
#include "model/dynamicdataobject.h"
#include "model/ikivmodifier.h"
#include "model/relationship.h"
#include "model/relationshipiter.h"
#include "properties/dataobjectarray.h"

#include <cstring>

struct Database::ClassAction {
  int64_t id;
  int64_t actionId;
  KivCString parentClass;
  KivCString childClass;
  KivCString eventName;
};

// Entry i of `actions` is bound for entry i of `eventNames`, in binding order.
struct Database::ActionBinding {
  IterStack<Action*> actions{20};
  IterStack<KivCString> eventNames{20};
};

namespace {

DataObject* objectOf(IKivUnknown* object) { return kivQuery<DataObject>(object, "DataObject"); }

Relationship* relationshipOf(IKivUnknown* relationship) {
  return kivQuery<Relationship>(relationship, "Relationship");
}

// The id field of a modifier, which the Database writes.
int64_t* modifierIdOf(IKivModifier* modifier) {
  return kivQuery<int64_t>(modifier, "KivDatabaseId");
}

// Holds a reference on a living object for the length of an operation that
// may drop the references others hold. An object without any (just built, or
// dying) isn't held: holding it would end it.
class HoldIfOwned {
public:
  explicit HoldIfOwned(IKivUnknown* object)
      : object_(object && object->refCount() > 0 ? object : nullptr) {
    if (object_)
      object_->addRef();
  }
  HoldIfOwned(const HoldIfOwned&) = delete;
  HoldIfOwned& operator=(const HoldIfOwned&) = delete;
  ~HoldIfOwned() {
    if (object_)
      object_->release();
  }

private:
  IKivUnknown* object_;
};

} // namespace

Database::Database() = default;

Database::~Database() {
  Map<int64_t, ClassAction*>::Iterator rules(classActions_);
  for (bool more = rules.first(); more; more = rules.next())
    delete rules.value();
  Map<IKivRelationship*, ActionBinding*>::Iterator bound(bindings_);
  for (bool more = bound.first(); more; more = bound.next())
    delete bound.value();
  Map<Action*, IterStack<IKivRelationship*>*>::Iterator users(actionUsers_);
  for (bool more = users.first(); more; more = users.next())
    delete users.value();
}

Database* Database::instance() {
  // One look-up for the whole component, so that two threads that construct
  // the first objects at once can't build the singleton twice.
  static CachedService<IKivDatabase> service("IKivDatabase");
  return kivQuery<Database>(service.get(), "Database");
}

void Database::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "Database");
    PropertyMap::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDatabase");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "Database", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<PropertyMap*>(this)),
                out))
    return;
  kivAnswer(name, "IKivDatabase", static_cast<IKivDatabase*>(this), out);
}

// --- Objects -----------------------------------------------------------------

// Every open document is closed through the document manager, one by one
// until none is left; what shutdown() owns itself is the global object.
void Database::shutdown() {
  Lock lock(lock_);
  if (DocumentManager* manager = DocumentManager::instance()) {
    DataObjectArray* documents = manager->getDocuments();
    while (documents && documents->count() > 0)
      manager->closeDocument(kivQuery<IKivDocument>(documents->get(0), "IKivDocument"));
  }
  globalObject_.clear();
}

void Database::registerDataObject(IKivDataObject* object) {
  DataObject* o = objectOf(object);
  if (!o)
    return;
  Lock lock(lock_);
  if (o->id_ != -1)
    return;
  o->id_ = nextDataObjectId_++;
  dataObjects_[o->id_] = o;
  ++dataObjectCount_;
}

IKivDynamicDataObject* Database::globalObject() {
  Lock lock(lock_);
  if (!globalObject_)
    globalObject_ = static_cast<IKivDynamicDataObject*>(new DynamicDataObject);
  return globalObject_.get();
}

void Database::unregisterDataObject(IKivDataObject* object) {
  DataObject* o = objectOf(object);
  if (!o || o->id_ < 0)
    return;
  Lock lock(lock_);
  HoldIfOwned hold(object);
  if (dataObjects_.remove(o->id_))
    --dataObjectCount_;
  // Each call shortens the object's own list, hence the copies.
  if (o->childRelationships_ && o->childRelationships_->count() > 0) {
    IterStack<IKivRelationship*> copy(*o->childRelationships_);
    for (int32_t i = copy.count(); i >= 1; --i)
      copy.at(i)->removeChild(object);
  }
  if (o->parentRelationships_ && o->parentRelationships_->count() > 0) {
    IterStack<IKivRelationship*> copy(*o->parentRelationships_);
    for (int32_t i = copy.count(); i >= 1; --i)
      copy.at(i)->setParent(nullptr);
  }
}

IKivDataObject* Database::getDataObject(int64_t id) {
  Lock lock(lock_);
  auto* node = dataObjects_.find(id);
  return node ? static_cast<IKivDataObject*>(node->value) : nullptr;
}

void Database::setObjectName(IKivDataObject* object, const KivString& name) {
  if (!object)
    return;
  Lock lock(lock_);
  object->setName(name);
}

void Database::objectName(IKivDataObject* object, KivString& out) {
  if (!object)
    return;
  Lock lock(lock_);
  object->name(out);
}

void Database::childrenByName(IKivDataObject* parent, const KivString& name,
                              IterStack<DataObject*>& out) {
  Lock lock(lock_);
  if (IKivRelationship* r = findRelationship(name, parent))
    r->children(out);
}

void Database::allChildren(IKivDataObject* parent, IterStack<DataObject*>& out) {
  DataObject* p = objectOf(parent);
  if (!p)
    return;
  Lock lock(lock_);
  if (const IterStack<IKivRelationship*>* list = p->parentRelationships_)
    for (int32_t i = 1; i <= list->count(); ++i)
      list->at(i)->children(out);
}

// --- Modifiers ---------------------------------------------------------------

void Database::registerModifier(IKivModifier* modifier) {
  int64_t* id = modifierIdOf(modifier);
  if (!id)
    return;
  Lock lock(lock_);
  if (*id != -1)
    return;
  *id = nextModifierId_++;
  modifiers_[*id] = modifier;
  ++modifierCount_;
}

void Database::unregisterModifier(IKivModifier* modifier) {
  int64_t* id = modifierIdOf(modifier);
  if (!id || *id < 0)
    return;
  Lock lock(lock_);
  if (modifiers_.remove(*id))
    --modifierCount_;
}

IKivModifier* Database::getModifier(int64_t id) {
  Lock lock(lock_);
  auto* node = modifiers_.find(id);
  return node ? node->value : nullptr;
}

// --- Relationships -----------------------------------------------------------

IKivRelationship* Database::moveChild(IKivDataObject* oldParent, IKivDataObject* newParent,
                                      IKivDataObject* child, const KivString& name) {
  Lock lock(lock_);
  // The old relationship may hold the only reference on the child.
  HoldIfOwned hold(child);
  if (oldParent)
    if (IKivRelationship* r = findRelationship(name, oldParent))
      r->removeChild(child);
  if (!newParent)
    return nullptr;
  if (IKivRelationship* r = findRelationship(name, newParent)) {
    r->addChild(child);
    return nullptr;
  }
  return createRelationship(0, name, newParent, child);
}

void Database::registerRelationship(IKivRelationship* relationship, const KivString& name,
                                    IKivDataObject* parent) {
  Relationship* r = relationshipOf(relationship);
  if (!r)
    return;
  Lock lock(lock_);
  relationship->setName(name);
  relationship->setParent(parent);
  r->id_ = nextRelationshipId_++;
  relationships_[r->id_] = relationship;
  ++relationshipCount_;
}

void Database::unbindRelationship(IKivRelationship* relationship) {
  auto* node = bindings_.find(relationship);
  if (!node)
    return;
  ActionBinding* binding = node->value;
  for (int32_t i = 1; i <= binding->actions.count(); ++i) {
    auto* users = actionUsers_.find(binding->actions.at(i));
    if (!users)
      continue;
    IterStack<IKivRelationship*>* list = users->value;
    int32_t kept = 0;
    for (int32_t j = 1; j <= list->count(); ++j)
      if (list->at(j) != relationship)
        list->at(++kept) = list->at(j);
    list->setCount(kept);
  }
  bindings_.remove(relationship);
  delete binding;
}

void Database::unregisterRelationship(IKivRelationship* relationship) {
  Relationship* r = relationshipOf(relationship);
  if (!r)
    return;
  Lock lock(lock_);
  unbindRelationship(relationship);
  if (r->id_ < 0)
    return;
  relationships_.remove(r->id_);
  r->id_ = -1;
  --relationshipCount_;
}

void Database::setRelationshipName(IKivRelationship* relationship, const KivString& name) {
  if (!relationship)
    return;
  Lock lock(lock_);
  relationship->setName(name);
}

void Database::relationshipName(IKivRelationship* relationship, KivString& out) {
  if (!relationship)
    return;
  Lock lock(lock_);
  out = relationship->name();
}

IKivRelationship* Database::findRelationship(const KivString& name, IKivDataObject* parent) {
  DataObject* p = objectOf(parent);
  if (!p)
    return nullptr;
  Lock lock(lock_);
  if (const IterStack<IKivRelationship*>* list = p->parentRelationships_)
    for (int32_t i = 1; i <= list->count(); ++i)
      if (list->at(i)->name() == name)
        return list->at(i);
  return nullptr;
}

IterStack<IKivRelationship*> Database::relationshipsNamed(IKivDataObject* parent,
                                                          const KivString& name) {
  IterStack<IKivRelationship*> out;
  DataObject* p = objectOf(parent);
  if (!p)
    return out;
  Lock lock(lock_);
  if (const IterStack<IKivRelationship*>* list = p->parentRelationships_)
    for (int32_t i = 1; i <= list->count(); ++i)
      if (list->at(i)->name() == name)
        out.push(list->at(i));
  return out;
}

IterStack<IKivRelationship*> Database::relationshipsOfChild(IKivDataObject* child) {
  DataObject* c = objectOf(child);
  Lock lock(lock_);
  if (!c || !c->childRelationships_)
    return IterStack<IKivRelationship*>();
  return IterStack<IKivRelationship*>(*c->childRelationships_);
}

IterStack<KivString> Database::distinctNames(const IterStack<IKivRelationship*>* list) {
  IterStack<KivString> out;
  if (!list)
    return out;
  Map<KivString, bool> seen(17);
  for (int32_t i = 1; i <= list->count(); ++i) {
    const KivString& name = list->at(i)->name();
    if (seen.contains(name))
      continue;
    seen[name] = true;
    out.push(name);
  }
  return out;
}

IterStack<KivString> Database::namesAsParent(IKivDataObject* object) {
  DataObject* o = objectOf(object);
  Lock lock(lock_);
  return distinctNames(o ? o->parentRelationships_ : nullptr);
}

IterStack<KivString> Database::namesAsChild(IKivDataObject* object) {
  DataObject* o = objectOf(object);
  Lock lock(lock_);
  return distinctNames(o ? o->childRelationships_ : nullptr);
}

void Database::addChild(IKivRelationship* relationship, IKivDataObject* child) {
  if (!relationship)
    return;
  Lock lock(lock_);
  relationship->addChild(child);
}

void Database::removeChild(IKivRelationship* relationship, IKivDataObject* child) {
  if (!relationship)
    return;
  Lock lock(lock_);
  relationship->removeChild(child);
}

void Database::children(IKivRelationship* relationship, IterStack<DataObject*>& out) {
  if (!relationship)
    return;
  Lock lock(lock_);
  relationship->children(out);
}

IKivDataObject* Database::parent(IKivRelationship* relationship) {
  if (!relationship)
    return nullptr;
  Lock lock(lock_);
  return relationship->parent();
}

void Database::setParent(IKivRelationship* relationship, IKivDataObject* parent) {
  Relationship* r = relationshipOf(relationship);
  if (!r || !parent)
    return;
  Lock lock(lock_);
  if (r->id_ < 0)
    registerRelationship(relationship, relationship->name(), parent);
  relationship->setParent(parent);
}

IKivRelationship* Database::createBoundRelationship(int, const KivString& name,
                                                    IKivDataObject* parent,
                                                    IKivDataObject* child,
                                                    const KivCString& event, Action* action) {
  Lock lock(lock_);
  if (action && action->id_ < 0)
    registerAction(action);
  void* out = nullptr;
  if (!getObject("IKivRelationship", &out) || !out)
    return nullptr;
  auto* relationship = static_cast<IKivRelationship*>(out);
  relationship->setParent(parent);
  relationship->setName(name);
  relationship->addChild(child);
  relationship->addAction(event, action);
  return relationship;
}

IKivRelationship* Database::createRelationship(int, const KivString& name,
                                               IKivDataObject* parent, IKivDataObject* child) {
  Lock lock(lock_);
  IKivRelationship* relationship = new Relationship;
  relationship->setParent(parent);
  relationship->setName(name);
  if (child)
    relationship->addChild(child);
  return relationship;
}

// --- Actions and bindings ----------------------------------------------------

void Database::collectActions(IKivRelationship* relationship, const KivCString& event,
                              IterStack<Action*>& out) {
  Lock lock(lock_);
  auto* node = bindings_.find(relationship);
  if (!node)
    return;
  const ActionBinding* binding = node->value;
  for (int32_t i = 1; i <= binding->actions.count(); ++i)
    if (binding->eventNames.at(i) == event)
      out.push(binding->actions.at(i));
}

IterStack<Action*> Database::actionsForEvent(IKivRelationship* relationship,
                                             const KivCString& event,
                                             IterStack<Action*>& scratch) {
  Lock lock(lock_);
  collectActions(relationship, event, scratch);
  return IterStack<Action*>(scratch);
}

IterStack<Action*> Database::actionsOf(IKivRelationship* relationship) {
  Lock lock(lock_);
  auto* node = bindings_.find(relationship);
  if (!node)
    return IterStack<Action*>();
  return IterStack<Action*>(node->value->actions);
}

void Database::bindAction(IKivRelationship* relationship, const KivCString& event,
                          Action* action) {
  if (!relationship || !action)
    return;
  Lock lock(lock_);
  if (action->id_ < 0)
    registerAction(action);
  ActionBinding*& binding = bindings_[relationship];
  if (!binding)
    binding = new ActionBinding;
  binding->eventNames.push(KivCString(event).makeOwned());
  binding->actions.push(action);
  IterStack<IKivRelationship*>*& users = actionUsers_[action];
  if (!users)
    users = new IterStack<IKivRelationship*>(20);
  users->push(relationship);
}

bool Database::isBound(IKivRelationship* relationship, const KivCString& event, Action* action) {
  Lock lock(lock_);
  auto* node = bindings_.find(relationship);
  if (!node)
    return false;
  const ActionBinding* binding = node->value;
  for (int32_t i = 1; i <= binding->actions.count(); ++i)
    if (binding->actions.at(i) == action && binding->eventNames.at(i) == event)
      return true;
  return false;
}

void Database::registerAction(Action* action) {
  if (!action)
    return;
  Lock lock(lock_);
  if (action->id_ != -1)
    return;
  action->id_ = nextActionId_++;
  actions_[action->id_] = action;
  ++actionCount_;
}

void Database::unregisterAction(Action* action) {
  if (!action || action->id_ < 0)
    return;
  Lock lock(lock_);
  IterStack<int64_t> ruleIds;
  Map<int64_t, ClassAction*>::Iterator rules(classActions_);
  for (bool more = rules.first(); more; more = rules.next())
    if (rules.value()->actionId == action->id_)
      ruleIds.push(rules.key());
  for (int32_t i = 1; i <= ruleIds.count(); ++i) {
    delete classActions_.get(ruleIds.at(i));
    classActions_.remove(ruleIds.at(i));
    --classActionCount_;
  }

  if (auto* users = actionUsers_.find(action)) {
    IterStack<IKivRelationship*>* list = users->value;
    for (int32_t i = 1; i <= list->count(); ++i) {
      auto* node = bindings_.find(list->at(i));
      if (!node)
        continue;
      // Both lists keep their entries of other actions, aligned.
      ActionBinding* binding = node->value;
      int32_t kept = 0;
      for (int32_t j = 1; j <= binding->actions.count(); ++j) {
        if (binding->actions.at(j) == action)
          continue;
        ++kept;
        binding->actions.at(kept) = binding->actions.at(j);
        binding->eventNames.at(kept) = binding->eventNames.at(j);
      }
      binding->actions.setCount(kept);
      binding->eventNames.setCount(kept);
    }
    actionUsers_.remove(action);
    delete list;
  }

  actions_.remove(action->id_);
  action->id_ = -1;
  --actionCount_;
}

void Database::addClassAction(Action* action, const KivCString& event,
                              const KivCString& parentClass, const KivCString& childClass) {
  if (!action)
    return;
  Lock lock(lock_);
  registerAction(action);
  auto* rule = new ClassAction{nextClassActionId_++, action->id_, KivCString(parentClass.c_str()),
                               KivCString(childClass.c_str()), KivCString(event.c_str())};
  classActions_[rule->id] = rule;
  ++classActionCount_;
}

void Database::addClassAction(Action* action, const KivString& event,
                              const KivString& parentClass, const KivString& childClass) {
  addClassAction(action, KivCString(event.c_str()), KivCString(parentClass.c_str()),
                 KivCString(childClass.c_str()));
}

void Database::applyClassActions(IKivRelationship* relationship) {
  Relationship* r = relationshipOf(relationship);
  if (!r)
    return;
  Lock lock(lock_);
  if (!r->parent_ || r->children_.count() < 1 || classActions_.count() == 0)
    return;
  // Exact class names, and only the first child is looked at.
  const char* parentClass = r->parent_->className();
  const char* childClass = r->children_.at(1)->className();
  Map<int64_t, ClassAction*>::Iterator rules(classActions_);
  for (bool more = rules.first(); more; more = rules.next()) {
    const ClassAction* rule = rules.value();
    if (std::strcmp(rule->parentClass.c_str(), parentClass) != 0 ||
        std::strcmp(rule->childClass.c_str(), childClass) != 0)
      continue;
    auto* node = actions_.find(rule->actionId);
    if (!node)
      continue;
    if (!isBound(relationship, rule->eventName, node->value))
      relationship->addAction(rule->eventName, node->value);
  }
}

// --- Scripting types, iterators and counts -----------------------------------

void Database::objectsOfScriptClass(const char* name, IterStack<DataObject*>& out) {
  Lock lock(lock_);
  Map<int64_t, DataObject*>::Iterator it(dataObjects_);
  for (bool more = it.first(); more; more = it.next())
    if (it.value()->scriptClassName() == name)
      out.push(it.value());
}

// A new array, no reference taken: the caller owns it.
DataObjectArray* Database::objectsOfScriptClass(const char* name) {
  IterStack<DataObject*> found;
  objectsOfScriptClass(name, found);
  auto* array = new DataObjectArray;
  for (int32_t i = 1; i <= found.count(); ++i)
    array->append(found.at(i));
  return array;
}

RelationshipIter* Database::relationshipIterNamed(IKivDataObject* parent, const KivString& name) {
  return new RelationshipIter(relationshipsNamed(parent, name));
}

RelationshipIter* Database::relationshipIterOfChild(IKivDataObject* child) {
  return new RelationshipIter(relationshipsOfChild(child));
}

ActionIter* Database::actionIter(IKivRelationship* relationship) {
  return new ActionIter(actionsOf(relationship));
}

uint32_t Database::dataObjectCount() {
  Lock lock(lock_);
  return static_cast<uint32_t>(dataObjectCount_);
}

int64_t Database::modifierCount() {
  Lock lock(lock_);
  return modifierCount_;
}

int64_t Database::relationshipCount() {
  Lock lock(lock_);
  return relationshipCount_;
}

int64_t Database::actionCount() {
  Lock lock(lock_);
  return actionCount_;
}

int64_t Database::classActionCount() {
  Lock lock(lock_);
  return classActionCount_;
}

int64_t Database::nextDataObjectId() {
  Lock lock(lock_);
  return nextDataObjectId_;
}

int64_t Database::nextRelationshipId() {
  Lock lock(lock_);
  return nextRelationshipId_;
}

int64_t Database::nextActionId() {
  Lock lock(lock_);
  return nextActionId_;
}

// --- Walks for reports -------------------------------------------------------

void Database::eachDataObject(const std::function<void(DataObject*)>& visit) {
  Map<int64_t, DataObject*>::Iterator it(dataObjects_);
  for (bool more = it.first(); more; more = it.next())
    visit(it.value());
}

void Database::eachRelationship(const std::function<void(IKivRelationship*)>& visit) {
  Map<int64_t, IKivRelationship*>::Iterator it(relationships_);
  for (bool more = it.first(); more; more = it.next())
    visit(it.value());
}

void Database::eachAction(const std::function<void(Action*)>& visit) {
  Map<int64_t, Action*>::Iterator it(actions_);
  for (bool more = it.first(); more; more = it.next())
    visit(it.value());
}

void Database::eachClassAction(
    const std::function<void(int64_t, int64_t, const KivCString&, const KivCString&)>& visit) {
  Map<int64_t, ClassAction*>::Iterator it(classActions_);
  for (bool more = it.first(); more; more = it.next()) {
    const ClassAction* rule = it.value();
    visit(rule->id, rule->actionId, rule->parentClass, rule->childClass);
  }
}

void Database::eachBinding(
    const std::function<void(IKivRelationship*, Action*, const KivCString&)>& visit) {
  Map<IKivRelationship*, ActionBinding*>::Iterator it(bindings_);
  for (bool more = it.first(); more; more = it.next()) {
    const ActionBinding* binding = it.value();
    for (int32_t i = 1; i <= binding->actions.count(); ++i)
      visit(it.key(), binding->actions.at(i), binding->eventNames.at(i));
  }
}
