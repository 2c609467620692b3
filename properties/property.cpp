//===- property.cpp - Base of every property ------------------------------===//
#include "properties/property.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "kivbasictypes/messageformat.h"
#include "model/dataevent.h"
#include "model/dataeventargs.h"
#include "model/dataeventtable.h"

namespace {

const KivCString& propertyModified() {
  static const KivCString name = KivCString::view("property_modified");
  return name;
}

// A view of a 16-bit literal: the string never frees it, and its copies stay
// views too.
KivString literalView(const KivChar* literal) {
  KivString s;
  s.adoptWide(const_cast<KivChar*>(literal), 0);
  return s;
}

} // namespace

Property::Property(const KivString& name, bool readOnly, bool events)
    : readOnly_(readOnly ? 1 : 0), name_(name) {
  if (events)
    switchEventsOn();
}

Property::Property(bool readOnly, bool events) : readOnly_(readOnly ? 1 : 0) {
  if (events)
    switchEventsOn();
}

thread_local bool Property::silentCopy_ = false;

// A source with lazy events counts as one with an argument object: it gets
// one whenever it needs it. Bases are built before members, so a silent
// copy is used up by the outermost copy, not by copies of values it holds.
Property::Property(const Property& other)
    : DataEventSource(other), IKivProperty(other), IKivWriteable(other),
      readOnly_(other.readOnly_), name_(other.name_) {
  if (silentCopy_) {
    silentCopy_ = false;
    return;
  }
  if (other.args_ || other.argsPending_)
    switchEventsOn();
}

Property::~Property() {
  if (events_)
    switchEventsOff();
  dropSpare();
}

void Property::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "Property");
    DataEventSource::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivProperty");
    kivWalkInterface(walk, "IKivWriteable");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "Property", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, "IKivProperty", static_cast<IKivProperty*>(this), out) ||
      kivAnswer(name, "IKivWriteable", static_cast<IKivWriteable*>(this), out))
    return;
  DataEventSource::queryInterface(name, out);
}

const char* Property::typeName() const { return "Invalid"; }

void Property::valueText(const KivString&, KivString& out) const { out = "Invalid Value"; }

bool Property::subscribe(const KivCString& event, IKivEventSubscriber* subscriber) {
  DataEventTable* table = eventTable();
  return table && table->subscribe(event, subscriber);
}

bool Property::unsubscribe(const KivCString& event, IKivEventSubscriber* subscriber) {
  if (!events_)  // nobody can stand in a list not yet built
    return eventsOn_ && event == propertyModified();
  return events_->unsubscribe(event, subscriber);
}

IKivProperty* Property::clone() const { return new Property(*this); }

void Property::setName(const KivString& name) { name_ = name; }

bool Property::enableEvents(bool on) {
  if (on == (eventsOn_ != 0))
    return false;
  if (on)
    switchEventsOn();
  else
    switchEventsOff();
  return true;
}

void Property::switchEventsOn() {
  eventsOn_ = 1;
  refreshArgs();
}

void Property::switchEventsOff() {
  DataEventTable* events = events_;
  events_ = nullptr;
  modified_ = nullptr;
  eventsOn_ = 0;
  argsPending_ = 0;
  args_.clear();
  dropSpare();
  delete events;
}

DataEventTable* Property::eventTable() {
  if (!events_ && eventsOn_) {
    events_ = new DataEventTable(nextPrime(2));
    modified_ = events_->add(propertyModified());
  }
  return events_;
}

IKivDataEventArgs* Property::eventArgs() const {
  if (argsPending_)
    fetchArgs();
  return args_.get();
}

bool Property::fetchArgs() const {
  args_.clear();
  argsPending_ = 0;
  void* out = nullptr;
  if (getObject("IKivDataEventArgs", &out) && out)
    args_ = static_cast<IKivDataEventArgs*>(out);
  return args_.get() != nullptr;
}

bool Property::changeNeedsArguments() {
  const bool subscribed = modified_ && modified_->subscribers().count() > 0;
  if (!args_)  // lazy: nobody has seen an argument object of this property
    return subscribed && fetchArgs();
  if (subscribed || args_->refCount() > 1)
    return true;
  // Swapped while the used one is still alive, so that the two differ.
  IPtr<IKivDataEventArgs> used(args_);
  refreshArgsAfter(used, kivQuery<DataEventArgs>(used.get(), "DataEventArgs"));
  return false;
}

void Property::dropSpare() {
  if (DataEventArgs* spare = spare_) {
    spare_ = nullptr;
    static_cast<IKivDataEventArgs*>(spare)->release();
  }
}

const KivClassId* Property::classId() {
  KivString text;
  formatMessage(text, "Serialization not supported for %1", KivString(className()));
  throwClassErrorText("Document", text);
}

const KivClassId* Property::tableClassId(const char* className) {
  if (const KivClassRow* row = findClassRow(className))
    return &row->id;
  return Property::classId();
}

bool Property::write(IKivDataModelWriter*) { return true; }

bool Property::read(IKivDataModelReader*) { return true; }

void Property::fire(const KivCString& event, IKivDataEventArgs* args) {
  if (events_)
    events_->fire(event, static_cast<IKivDataEventSource*>(this), args);
}

void Property::refreshArgs() {
  if (eventsOn_) {
    fetchArgs();
  } else {
    args_.clear();
    argsPending_ = 0;
  }
}

const KivString& Property::argumentName(int which) {
  static const KivString names[2] = {literalView(u"oldValue"), literalView(u"newValue")};
  return names[which];
}

void Property::announceChange(IKivProperty* oldValue, IKivProperty* newValue) {
  IPtr<IKivProperty> holdOld(oldValue);
  IPtr<IKivProperty> holdNew(newValue);
  // Held here, so that a subscriber that switches events off can't take the
  // argument object away from the rest of the delivery.
  IPtr<IKivDataEventArgs> args(args_);
  auto* map = kivQuery<DataEventArgs>(args.get(), "DataEventArgs");
  if (map) {
    map->addProperty(oldValue);
    map->addProperty(newValue);
  }
  // The table holds no other event: no look-up by name.
  if (modified_)
    modified_->fire(static_cast<IKivDataEventSource*>(this), args.get());
  refreshArgsAfter(args, map);
}

void Property::refreshArgsAfter(IPtr<IKivDataEventArgs>& used, DataEventArgs* map) {
  // Ours alone: the caller's reference, and args_ unless a nested change or
  // a subscriber replaced it.
  const uint32_t ours = args_.get() == used.get() ? 2 : 1;
  DataEventArgs* reusable = eventsOn_ && used->refCount() == ours ? map : nullptr;
  if (eventsOn_ && spare_ && componentManager()) {
    args_ = static_cast<IKivDataEventArgs*>(spare_);
    argsPending_ = 0;
    dropSpare();  // args_ holds it now
  } else {
    dropSpare();  // without a manager the property falls silent
    refreshArgs();
  }
  if (!reusable || !args_)
    return;
  spare_ = reusable;
  static_cast<IKivDataEventArgs*>(reusable)->addRef();
  // As a fresh one from the class table: no entries, the flags its
  // constructor sets. Documentation lives outside the map.
  reusable->setFlags(kMapArgsFlag | kMapPropertyEvents);
  reusable->recycleEntries();
}
