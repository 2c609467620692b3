//===- dataeventtable.h - The events of one object, by name -----*- C++ -*-===//
//
// The events of one source by name. The table owns its events
// and deletes them directly when it goes; their subscribers aren't told.
// Adding a name that is already there changes nothing. Subscribing to a name
// that isn't there gives false; firing it does nothing, silently.
//
// An object without events keeps no table at all (a null pointer), so events
// cost nothing until they are switched on. No lock.
//
// A source has one to a few events, so the names stand in a plain list
// searched from the front: no hashing of the name on every subscription and
// no bucket array to allocate. The first event is kept in the table itself,
// as most sources have only that one: its entry and the event object are
// members, so a table with one event is one allocation. The bucket count of
// the constructor is not needed and is ignored.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/map.h"  // nextPrime, for the bucket hint of the callers
#include "kivbasictypes/kivcstring.h"
#include "model/dataevent.h"

#include <cstdint>
#include <vector>

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

  int32_t count() const { return (first_.event ? 1 : 0) + static_cast<int32_t>(more_.size()); }

private:
  struct Entry {
    KivCString name;
    DataEvent* event = nullptr;
  };
  Entry first_;
  std::vector<Entry> more_;
  // The event of first_ once it is set; goes with the table.
  DataEvent firstEvent_;
};
