//===- dataobject.cpp - The unit of the data model ------------------------===//
#include "model/dataobject.h"

#include "core/classwalk.h"
#include "core/kivclassid.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/ikivpersistentrefmap.h"
#include "kivbasictypes/ikivwritequeue.h"
#include "kivbasictypes/messageformat.h"
#include "model/database.h"
#include "model/dataevent.h"
#include "model/dataeventargs.h"
#include "model/kivteventsubscriber.h"
#include "model/stackedit.h"
#include "properties/objectproperty.h"
#include "properties/routedproperty.h"
#include "properties/stringproperty.h"

namespace {

constexpr uint32_t kExtraTag = 0xB00BBE;
constexpr int kObjectVersion = 5;
constexpr int kExtraVersion = 2;
// A file whose property entries keep failing is given up after this many
// failures, once it claims more than kManyProperties entries (before
// version 5, whatever it claims).
constexpr int kFailureLimit = 100;
constexpr int32_t kManyProperties = 10000;
// The count a dying object stands at: no reference taken and dropped during
// the destructor can bring it to zero again.
constexpr int32_t kDyingCount = 0x40000000;

const KivCString& propertyModified() {
  static const KivCString name = KivCString::view("property_modified");
  return name;
}
const KivCString& deletedEvent() {
  static const KivCString name = KivCString::view("deleted");
  return name;
}
const KivCString& updatedEvent() {
  static const KivCString name = KivCString::view("updated");
  return name;
}
const KivCString& nameChanged() {
  static const KivCString name = KivCString::view("name_changed");
  return name;
}

// "name" as a view of a 16-bit literal: every property and argument built
// with it shares the text instead of converting and allocating it. Only
// copied, never read directly, so no thread fills its caches.
const KivString& nameKey() {
  static const KivString name = [] {
    KivString s;
    s.adoptWide(const_cast<KivChar*>(u"name"), 0);
    return s;
  }();
  return name;
}

using NameProperty = RoutedPropertyTemplate<KivString, StringProperty, DataObject>;

IKivWriteable* writeableOf(IKivUnknown* object) {
  return kivQuery<IKivWriteable>(object, "IKivWriteable");
}

// An object that a property refers to and that has no number yet waits on
// the write queue; the property itself stores only the number. Once numbered
// the object is known, so a shared object or a cycle is queued once.
void queueReferredObject(IKivProperty* property, IKivPersistentRefMap* table,
                         IKivWriteQueue* queue) {
  auto* reference = kivQuery<ObjectProperty>(property, ObjectProperty::kClassName);
  if (!reference || !reference->get() || !table || !queue)
    return;
  if (!table->contains(reference->reference()))
    queue->push(reference->get());
}

// Steps over the section that stands next, whatever it holds.
void skipSection(IKivDataModelReader* reader) {
  if (reader->nextBlock())
    reader->endBlock();
}

} // namespace

// --- Construction and death --------------------------------------------------

DataObject::DataObject() { initialize(); }

DataObject::DataObject(const DataObject& other)
    : IKivUnknown(other), PropertyMap(other), KivPersistentRef(other), IKivDataObject(other),
      IKivLifetimeSubject(other) {
  initialize();
  // The copied properties are heard like those entered by addProperty; a
  // property's event drops a second subscription of the same subscriber.
  if (subscriber_)
    for (const auto& entry : properties_)
      entry.second->subscribe(propertyModified(), subscriber_);
  setName(other.name_);
}

DataObject::DataObject(uint8_t flags, const KivString& name, int64_t id)
    : id_(id), name_(name) {
  setFlags(flags);
  createNameProperty();
  if ((flags_ & kMapRegisters) != 0)
    if (Database* database = Database::instance())
      database->registerDataObject(this);
}

DataObject::~DataObject() {
  refCount_ = kDyingCount;
  if (DataEvent* deleted = builtEvent(deletedEvent()))
    deleted->fire(static_cast<IKivDataEventSource*>(this), nullptr);
  deleteEvents();
  for (const auto& entry : properties_)
    if (subscriber_)
      entry.second->unsubscribe(propertyModified(), subscriber_);
  properties_.clear();
  if (Database* database = Database::instance())
    database->unregisterDataObject(this);
  if (lifetimeListeners_) {
    for (int32_t i = 1; i <= lifetimeListeners_->count(); ++i)
      lifetimeListeners_->at(i)->subjectDying(static_cast<IKivLifetimeSubject*>(this));
    delete lifetimeListeners_;
    lifetimeListeners_ = nullptr;
  }
  delete parentRelationships_;
  parentRelationships_ = nullptr;
  delete childRelationships_;
  childRelationships_ = nullptr;
  delete subscriber_;
  subscriber_ = nullptr;
}

void DataObject::initialize() {
  setWarnNonExisting(PropertyMap::warnNonExisting());
  flags_ &= static_cast<uint8_t>(~kMapArgsFlag);
  if ((flags_ & kMapObjectEvents) != 0) {
    delete subscriber_;
    subscriber_ = new KivTEventSubscriber<DataObject>(this, &DataObject::onPropertyEvent);
    // Built on first demand: most objects are never subscribed to.
    eventsOwed_ = true;
  }
  createNameProperty();
  if ((flags_ & kMapRegisters) != 0)
    if (Database* database = Database::instance())
      database->registerDataObject(this);
}

void DataObject::createNameProperty() {
  addProperty(new NameProperty(nameKey(), false, this, &DataObject::nameText,
                               &DataObject::setName));
}

void DataObject::deleteEvents() {
  EventMap* events = events_;
  events_ = nullptr;
  eventsOwed_ = false;
  modified_ = nullptr;
  if (!events)
    return;
  EventMap::Iterator it(*events);
  for (bool more = it.first(); more; more = it.next())
    delete it.value();
  delete events;
}

const char* DataObject::className() const { return kClassName; }

void DataObject::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    PropertyMap::queryInterface(nullptr, out);
    KivPersistentRef::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDataObject");
    kivWalkInterface(walk, "IKivLifetimeSubject");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  PropertyMap::queryInterface(name, out);
  if (*out)
    return;
  if (kivAnswer(name, "KivPersistentRef", static_cast<KivPersistentRef*>(this), out) ||
      kivAnswer(name, "IKivPersistentRef", static_cast<IKivPersistentRef*>(this), out) ||
      kivAnswer(name, "IKivWriteable", static_cast<IKivWriteable*>(this), out) ||
      kivAnswer(name, "IKivDataObject", static_cast<IKivDataObject*>(this), out))
    return;
  kivAnswer(name, "IKivLifetimeSubject", static_cast<IKivLifetimeSubject*>(this), out);
}

// --- Name, events and listeners ----------------------------------------------

KivString& DataObject::name(KivString& out) const {
  out = name_;
  return out;
}

void DataObject::setName(const KivString& name) {
  name_ = name;
  if ((flags_ & kMapObjectEvents) == 0)
    return;
  // Nothing in the component creates "name_changed"; the arguments are only
  // built for an object on which somebody has.
  if (!builtEvent(nameChanged()))
    return;
  void* out = nullptr;
  if (!getObject("IKivDataEventArgs", &out) || !out)
    return;
  IPtr<IKivDataEventArgs> args(static_cast<IKivDataEventArgs*>(out));
  if (auto* map = kivQuery<DataEventArgs>(args.get(), "DataEventArgs"))
    map->addProperty(new StringProperty(KivString("name"), name, false, false));
  fireEvent(nameChanged(), args.get());
}

DataObject::EventMap* DataObject::eventMap() const {
  if (eventsOwed_) {
    eventsOwed_ = false;
    for (const KivCString* name : {&propertyModified(), &deletedEvent(), &updatedEvent()})
      addToMap(*name);
  }
  return events_;
}

DataEvent* DataObject::addToMap(const KivCString& name) const {
  if (!events_)
    events_ = new EventMap(11);
  DataEvent*& slot = (*events_)[name];
  if (!slot) {
    slot = new DataEvent;
    slot->setName(name);
    if (name == propertyModified())
      modified_ = slot;
  }
  return slot;
}

DataEvent* DataObject::builtEvent(const KivCString& name) const {
  if (!events_)
    return nullptr;
  auto* node = events_->find(name);
  return node ? node->value : nullptr;
}

DataEvent* DataObject::findEvent(const KivCString& name) const {
  eventMap();
  return builtEvent(name);
}

DataEvent* DataObject::addEvent(const KivCString& name) {
  if ((flags_ & kMapObjectEvents) == 0)
    return nullptr;
  eventMap();
  return addToMap(name);
}

bool DataObject::subscribe(const KivCString& event, IKivEventSubscriber* s) {
  DataEvent* e = findEvent(event);
  if (!e)
    return false;
  e->subscribe(s);
  return true;
}

bool DataObject::unsubscribe(const KivCString& event, IKivEventSubscriber* s) {
  // Nobody stands in an event not built yet; it exists all the same.
  if (eventsOwed_ && !events_)
    return event == propertyModified() || event == deletedEvent() || event == updatedEvent();
  DataEvent* e = findEvent(event);
  if (!e)
    return false;
  e->unsubscribe(s);
  return true;
}

void DataObject::unsubscribeFromAll(IKivEventSubscriber* subscriber) {
  if (!events_)
    return;
  EventMap::Iterator it(*events_);
  for (bool more = it.first(); more; more = it.next())
    it.value()->unsubscribe(subscriber);
}

const KivCString& DataObject::eventNames() {
  static KivCString names;
  names = "";
  if (eventMap()) {
    EventMap::Iterator it(*events_);
    for (bool more = it.first(); more; more = it.next()) {
      names.append(it.key().c_str());
      names.append('\n');
    }
  }
  return names;
}

void DataObject::fireEvent(const KivCString& event, IKivDataEventArgs* args) {
  if (DataEvent* e = builtEvent(event))
    e->fire(static_cast<IKivDataEventSource*>(this), args);
}

void DataObject::addLifetimeListener(IKivLifetimeListener* listener) {
  if (!lifetimeListeners_)
    lifetimeListeners_ = new IterStack<IKivLifetimeListener*>(2);
  lifetimeListeners_->push(listener);
}

void DataObject::removeLifetimeListener(IKivLifetimeListener* listener) {
  removeLastStackEntry(lifetimeListeners_, listener);
}

int32_t DataObject::lifetimeListenerCount() const {
  return lifetimeListeners_ ? lifetimeListeners_->count() : 0;
}

IKivEventSubscriber* DataObject::propertySubscriber() const { return subscriber_; }

// --- Properties --------------------------------------------------------------

void DataObject::addProperty(IKivProperty* p) {
  PropertyMap::addProperty(p);
  if (p && subscriber_)
    p->subscribe(propertyModified(), subscriber_);
}

void DataObject::addProperty(IKivProperty* p, const char* name) {
  PropertyMap::addProperty(p, name);
  if (p && subscriber_)
    p->subscribe(propertyModified(), subscriber_);
}

void DataObject::detachProperty(const char* name) {
  if (!subscriber_)
    return;
  if (IPtr<IKivProperty>* slot = properties_.value(name))
    (*slot)->unsubscribe(propertyModified(), subscriber_);
}

void DataObject::onPropertyEvent(IKivDataEventSource* source, const KivCString&,
                                 IKivDataEventArgs* args) {
  if (!source)
    return;
  IKivProperty* property = kivQuery<IKivProperty>(source, "IKivProperty");
  if (!property)
    return;
  // The usual argument object answers its own class name first; any other
  // is asked for the interface.
  IKivPropertyMap* map = nullptr;
  if (auto* known = kivQuery<DataEventArgs>(args, "DataEventArgs"))
    map = static_cast<PropertyMap*>(known);
  else
    map = kivQuery<IKivPropertyMap>(args, "IKivPropertyMap");
  if (map) {
    if (!map->hasProperty("name"))
      map->addProperty(new StringProperty(nameKey(), property->name(), false, false));
    map->addProperty(property);
  }
  if (modified_)
    modified_->fire(static_cast<IKivDataEventSource*>(this), args);
}

// --- Stored form -------------------------------------------------------------

const char* DataObject::scriptClassName() const { return "kivapi.datamodel.DataObject"; }

const KivClassId* DataObject::classId() {
  static const KivClassId none;
  if (className() == kClassName)
    return &none;
  KivString text;
  formatMessage(text, "Serialization not supported for %1", KivString(className()));
  throwClassErrorText("Document", text);
}

bool DataObject::writeExtra(IKivDataModelWriter*) { return true; }

bool DataObject::readExtra(IKivDataModelReader*, int) { return true; }

bool DataObject::write(IKivDataModelWriter* writer) {
  writer->beginSection(this, kObjectVersion);
  KivString name;
  if (IKivProperty* p = properties_.contains("name") ? getProperty("name") : nullptr)
    if (auto* text = kivQuery<StringProperty>(p, StringProperty::kClassName))
      name = text->get();
  writer->writeString(name);
  writer->beginBlock(kExtraTag, kExtraVersion);
  writeExtra(writer);
  writer->endBlock();
  KivPersistentRef::write(writer);

  IterStack<IKivWriteable*> stored(properties_.count());
  IterStack<const KivString*> keys(properties_.count());
  for (const auto& [key, property] : properties_) {
    IKivWriteable* writeable = writeableOf(property.get());
    if (writeable && !property->isReadOnly() && writeable->isPersistent()) {
      stored.push(writeable);
      keys.push(&key);
    }
  }
  writer->writeInt32(stored.count());

  SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
  SPtr<IKivWriteQueue> queue("IKivWriteQueue");
  for (int32_t i = 1; i <= stored.count(); ++i) {
    queueReferredObject(getProperty(*keys.at(i)), table, queue);
    writer->beginProperty(*keys.at(i));
    stored.at(i)->write(writer);
    writer->endProperty(*keys.at(i));
  }
  writer->endSection(this);
  return true;
}

bool DataObject::writeGraph(IKivDataModelWriter* writer) {
  SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
  if (table)
    table->getId(this);
  writer->beginSection(this, kObjectVersion);
  SPtr<IKivWriteQueue> queue("IKivWriteQueue");
  if (queue) {
    queue->clear();
    queue->push(this);
    while (!queue->isEmpty()) {
      if (IKivWriteable* next = writeableOf(queue->pop()))
        next->write(writer);
      if (!queue->isEmpty())
        writer->writeBool(true);
    }
  }
  writer->writeBool(false);
  writer->endSection(this);
  return true;
}

bool DataObject::read(IKivDataModelReader* reader) {
  int version = 0;
  const bool entered = reader->beginSection(this, &version);
  const bool ok = entered && readBody(reader, version);
  reader->endSection(this);
  return ok;
}

bool DataObject::readBody(IKivDataModelReader* reader, int version) {
  KivString name;
  reader->readString(&name);
  if (hasProperty("name") || (flags_ & kMapWarnNonExisting) == 0)
    set("name", name);

  if (reader->peekTag() == kExtraTag && reader->nextBlock()) {
    readExtra(reader, version);
    reader->endBlock();
  } else {
    // Older files hold the extra data bare.
    readExtra(reader, version);
  }
  if (version >= 3)
    KivPersistentRef::read(reader);

  int32_t count = 0;
  if (!reader->readInt32(&count) || count < 1)
    return true;

  bool ok = true;
  int failures = 0;
  for (int32_t i = 0; i < count; ++i) {
    KivString key;
    KivClassId classId;
    reader->beginProperty(&key, &classId);
    if (classId == KivClassId() || !reader->good())
      return false;

    void* out = nullptr;
    IPtr<IKivProperty> fresh;
    if (createObject(&classId, "IKivProperty", &out) && out)
      fresh = static_cast<IKivProperty*>(out);
    IKivWriteable* freshWriteable = writeableOf(fresh.get());
    if (!freshWriteable) {
      // A class this build doesn't know costs that property only.
      ok = false;
      skipSection(reader);
      reader->endProperty(key);
      if (++failures >= kFailureLimit && count > kManyProperties)
        break;
      continue;
    }

    IKivProperty* existing = properties_.contains(key) ? getProperty(key) : nullptr;
    if (version >= 4 && kivQuery<void>(fresh.get(), "ObjectProperty")) {
      if (IKivWriteable* target = writeableOf(existing)) {
        target->read(reader);
      } else {
        freshWriteable->read(reader);
        fresh->setName(key);
        addProperty(fresh.get());
      }
    } else if (version < 5) {
      if (!freshWriteable->read(reader)) {
        ok = false;
        reader->endProperty(key);
        if (++failures >= kFailureLimit)
          break;
        continue;
      }
      fresh->setName(key);
      if (existing)
        existing->copyValue(fresh.get());
      else
        addProperty(fresh.get());
    } else {
      fresh->setName(key);
      if (IKivWriteable* target = writeableOf(existing)) {
        target->read(reader);
      } else {
        freshWriteable->read(reader);
        addProperty(fresh.get());
      }
    }
    reader->endProperty(key);
  }
  return ok;
}

bool DataObject::readGraph(IKivDataModelReader* reader) {
  int version = 0;
  reader->beginSection(this, &version);
  if (version < 4) {
    readBody(reader, version);
    reader->endSection(this);
    return reader->good();
  }
  if (version == 4) {
    readBody(reader, version);
    reader->endSection(this);
  } else {
    read(reader);
  }

  // The objects behind this one, each a section headed by its class; one
  // this build can't create is stepped over.
  bool more = false;
  reader->readBool(&more);
  while (more && reader->good()) {
    const KivClassId classId = *reader->peekClassId();
    void* out = nullptr;
    IPtr<IKivDataObject> object;
    if (classId != KivClassId() && createObject(&classId, "DataObject", &out) && out)
      object = static_cast<IKivDataObject*>(static_cast<DataObject*>(out));
    if (IKivWriteable* writeable = writeableOf(object.get()))
      writeable->read(reader);
    else
      skipSection(reader);
    more = false;
    reader->readBool(&more);
  }
  if (version >= 5)
    reader->endSection(this);
  return reader->good();
}
