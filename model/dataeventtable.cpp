//===- dataeventtable.cpp - The events of one object, by name -------------===//
#include "model/dataeventtable.h"

#include "model/dataevent.h"

DataEventTable::DataEventTable(uint32_t) {}

// The first event, a member, goes after the others; no event refers to
// another, so the order is free.
DataEventTable::~DataEventTable() {
  for (Entry& entry : more_)
    delete entry.event;
}

DataEvent* DataEventTable::add(const KivCString& name) {
  if (DataEvent* event = find(name))
    return event;
  if (!first_.event) {
    firstEvent_.setName(name);
    first_ = Entry{name, &firstEvent_};
    return &firstEvent_;
  }
  auto* event = new DataEvent;
  event->setName(name);
  more_.push_back(Entry{name, event});
  return event;
}

DataEvent* DataEventTable::find(const KivCString& name) const {
  if (!first_.event)
    return nullptr;
  if (first_.name == name)
    return first_.event;
  for (const Entry& entry : more_)
    if (entry.name == name)
      return entry.event;
  return nullptr;
}

bool DataEventTable::subscribe(const KivCString& name, IKivEventSubscriber* subscriber) {
  DataEvent* event = find(name);
  if (!event)
    return false;
  event->subscribe(subscriber);
  return true;
}

bool DataEventTable::unsubscribe(const KivCString& name, IKivEventSubscriber* subscriber) {
  DataEvent* event = find(name);
  if (!event)
    return false;
  event->unsubscribe(subscriber);
  return true;
}

void DataEventTable::fire(const KivCString& name, IKivDataEventSource* source,
                          IKivDataEventArgs* args) {
  if (DataEvent* event = find(name))
    event->fire(source, args);
}
