//===- property.cpp - Base of every property ------------------------------===//
#include "properties/property.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "kivbasictypes/messageformat.h"
#include "model/dataeventargs.h"
#include "model/dataeventtable.h"

namespace {

const KivCString& propertyModified() {
  static const KivCString name = KivCString::view("property_modified");
  return name;
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

Property::Property(const Property& other)
    : DataEventSource(other), IKivProperty(other), IKivWriteable(other),
      readOnly_(other.readOnly_), name_(other.name_) {
  if (other.args_)
    switchEventsOn();
}

Property::~Property() {
  if (events_)
    switchEventsOff();
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
  return events_ && events_->subscribe(event, subscriber);
}

bool Property::unsubscribe(const KivCString& event, IKivEventSubscriber* subscriber) {
  return events_ && events_->unsubscribe(event, subscriber);
}

IKivProperty* Property::clone() const { return new Property(*this); }

void Property::setName(const KivString& name) { name_ = name; }

bool Property::enableEvents(bool on) {
  if (on == (events_ != nullptr))
    return false;
  if (on)
    switchEventsOn();
  else
    switchEventsOff();
  return true;
}

void Property::switchEventsOn() {
  events_ = new DataEventTable(nextPrime(2));
  events_->add(propertyModified());
  refreshArgs();
}

void Property::switchEventsOff() {
  DataEventTable* events = events_;
  events_ = nullptr;
  args_.clear();
  delete events;
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
  args_.clear();
  if (!events_)
    return;
  void* out = nullptr;
  if (getObject("IKivDataEventArgs", &out) && out)
    args_ = static_cast<IKivDataEventArgs*>(out);
}

void Property::announceChange(IKivProperty* oldValue, IKivProperty* newValue) {
  IPtr<IKivProperty> holdOld(oldValue);
  IPtr<IKivProperty> holdNew(newValue);
  // Held here, so that a subscriber that switches events off can't take the
  // argument object away from the rest of the delivery.
  IPtr<IKivDataEventArgs> args(args_);
  if (auto* map = kivQuery<DataEventArgs>(args.get(), "DataEventArgs")) {
    map->addProperty(oldValue);
    map->addProperty(newValue);
  }
  fire(propertyModified(), args.get());
  refreshArgs();
}
