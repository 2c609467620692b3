//===- dataeventtable.h - The events of one object, by name -----*- C++ -*-===//
//
// A small hash table from event name to DataEvent. The table owns its events
// and deletes them directly when it goes; their subscribers aren't told.
// Adding a name that is already there changes nothing. Subscribing to a name
// that isn't there gives false; firing it does nothing, silently.
//
// An object without events keeps no table at all (a null pointer), so events
// cost nothing until they are switched on. No lock.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/map.h"
#include "kivbasictypes/kivcstring.h"

class DataEvent;
class IKivDataEventArgs;
class IKivDataEventSource;
class IKivEventSubscriber;

class DataEventTable {
public:
  explicit DataEventTable(uint32_t bucketCount);
  DataEventTable(const DataEventTable&) = delete;
  DataEventTable& operator=(const DataEventTable&) = delete;
  ~DataEventTable();

  // The event of that name, created and named if it is new. The name is
  // kept as KivCString copies it: a view of a literal costs no allocation.
  DataEvent* add(const KivCString& name);
  DataEvent* find(const KivCString& name) const;

  bool subscribe(const KivCString& name, IKivEventSubscriber* subscriber);
  bool unsubscribe(const KivCString& name, IKivEventSubscriber* subscriber);
  void fire(const KivCString& name, IKivDataEventSource* source, IKivDataEventArgs* args);

  int32_t count() const { return events_.count(); }

private:
  Map<KivCString, DataEvent*> events_;
};
