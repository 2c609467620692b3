//===- dataeventtable.cpp - The events of one object, by name -------------===//
#include "model/dataeventtable.h"

#include "model/dataevent.h"

DataEventTable::DataEventTable(uint32_t bucketCount) : events_(bucketCount) {}

DataEventTable::~DataEventTable() {
  Map<KivCString, DataEvent*>::Iterator it(events_);
  for (bool more = it.first(); more; more = it.next())
    delete it.value();
}

DataEvent* DataEventTable::add(const KivCString& name) {
  if (auto* node = events_.find(name))
    return node->value;
  auto* event = new DataEvent;
  event->setName(name);
  events_[name] = event;
  return event;
}

DataEvent* DataEventTable::find(const KivCString& name) const {
  auto* node = events_.find(name);
  return node ? node->value : nullptr;
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
