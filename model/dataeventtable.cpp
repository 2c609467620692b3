//===- dataeventtable.cpp - The events of one object, by name -------------===//
#include "model/dataeventtable.h"

#include "model/dataevent.h"

DataEventTable::DataEventTable(uint32_t) {}

DataEventTable::~DataEventTable() {
  delete first_.event;
  for (Entry& entry : more_)
    delete entry.event;
}

DataEvent* DataEventTable::add(const KivCString& name) {
  if (DataEvent* event = find(name))
    return event;
  auto* event = new DataEvent;
  event->setName(name);
  if (!first_.event)
    first_ = Entry{name, event};
  else
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
