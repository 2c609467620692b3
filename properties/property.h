//===- property.h - Base of every property ----------------------*- C++ -*-===//
//
// Property holds what all value classes share: the name, the read-only and
// persistence flags, and the table of events with the argument object of the
// next firing.
//
// Invariants a user must know:
//  - Events are either off or on (hasEvents()). With events on, the table
//    with "property_modified" is built when the first subscriber comes (or
//    unsubscribes), not before: until then nobody can be told anything. The
//    argument object comes from the class table under "IKivDataEventArgs" at
//    construction, at enableEvents(true) and after each firing (unless a
//    spare serves, below); without a component manager it stays empty and
//    the property never fires. The fetch at construction stays eager on
//    purpose: put off to the first need, it would silence a property whose
//    manager went away in between (as it is, it fires once more), take the
//    object from whichever manager is installed by then, and, when that map
//    is the process's first, move the one read of the map-warning setting.
//  - The "oldValue" and "newValue" properties that a change hands out have
//    events on in the lazy form: no table and no argument object until they
//    get a subscriber, are asked for eventArgs(), or change themselves.
//  - A change is announced after the value is stored: notifyChanged puts
//    "oldValue" and "newValue" (new properties of the value's own class) into
//    the argument map, fires "property_modified" synchronously with this
//    property as the source, and only then swaps in a fresh argument object.
//    Whoever keeps a reference to the used one keeps it alive. When nobody
//    could see them (no subscriber, and nobody else holds the argument
//    object), the two properties aren't built; the swap still happens.
//  - The swap recycles: a used argument object that nobody else holds is
//    emptied, given the flags of a fresh one and kept as the spare, and the
//    next swap takes the spare instead of fetching. Two objects thus take
//    turns, so that the next one is always another object than the used
//    one, as with a fetch. The spare is taken only while a component manager
//    is installed: without one a fetch would fail and silence the property.
//  - A subscriber must not drop the last reference to the property that is
//    firing (the holding map keeps one).
//  - persistent is true after every constructor, also after a copy; a copy
//    has events if the source had an argument object, and no subscribers.
//  - classId() of a class without a row in the class table fails with
//    code 6: such a property can't be stored.
//  - No lock: one thread at a time.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "kivbasictypes/ikivwriteable.h"
#include "kivbasictypes/kivstring.h"
#include "model/dataeventsource.h"
#include "properties/ikivproperty.h"

class DataEvent;
class DataEventArgs;
class DataEventTable;

class Property : public DataEventSource, public IKivProperty, public IKivWriteable {
public:
  Property(const KivString& name, bool readOnly, bool events);
  Property(bool readOnly, bool events);
  Property(const Property& other);
  Property& operator=(const Property&) = delete;
  ~Property() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "Property"; }

  // "Invalid".
  const char* typeName() const override;
  // "Invalid Value".
  void valueText(const KivString& name, KivString& out) const override;
  bool subscribe(const KivCString& event, IKivEventSubscriber* subscriber) override;
  bool unsubscribe(const KivCString& event, IKivEventSubscriber* subscriber) override;
  IKivProperty* clone() const override;
  const KivString& name() const override { return name_; }
  void setName(const KivString& name) override;
  void clearValue() override {}
  // Final: maps read the flag through it and no class may compute it.
  bool isReadOnly() const final { return readOnly_ != 0; }
  void copyValue(IKivProperty*) override {}
  uint64_t memorySize() const override { return 0; }
  bool hasEvents() const override { return eventsOn_ != 0; }
  bool enableEvents(bool on) override;

  // Fails: "Serialization not supported for <className>" in class "Document".
  const KivClassId* classId() override;
  // Nothing to store of the base; every value class calls these between the
  // head and the body of its section.
  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;
  void setPersistent(bool persistent) override { persistent_ = persistent ? 1 : 0; }
  bool isPersistent() override { return persistent_ != 0; }

  void setReadOnly(bool readOnly) { readOnly_ = readOnly ? 1 : 0; }

  // While one lives, the next copy of a property made on this thread starts
  // with events off and fetches no argument object; copies made inside that
  // copy (of values it holds) are ordinary. For copies nobody can reach,
  // which would give their events up at once: the pictures of undo records.
  // A clone that isn't a copy leaves the scope armed; the end disarms it.
  class SilentCopy {
  public:
    SilentCopy() { silentCopy_ = true; }
    ~SilentCopy() { silentCopy_ = false; }
    SilentCopy(const SilentCopy&) = delete;
    SilentCopy& operator=(const SilentCopy&) = delete;
  };
  // The argument object of the next firing; null when events are off. A
  // property with lazy events fetches it here.
  IKivDataEventArgs* eventArgs() const;

protected:
  // Fires the named event with this property as the source; nothing at all
  // if there is no such event.
  void fire(const KivCString& event, IKivDataEventArgs* args);
  // Drops the argument object and fetches a new, empty one. With events off
  // it stays empty, so that an event switched off inside a delivery stays off.
  void refreshArgs();
  // refreshArgs after a change that used `used` (held by the caller; `map`
  // is it as DataEventArgs, or null if it isn't one); keeps `used` as the
  // spare if nobody else holds it. Touches no member after the emptying,
  // which may drop the last reference to this property.
  void refreshArgsAfter(IPtr<IKivDataEventArgs>& used, DataEventArgs* map);

  // Announces a change of a value class P with value type T. Costs one null
  // test when events are off.
  template <class P, class T>
  void notifyChanged(const T& oldValue, const T& newValue) {
    if ((!args_ && !argsPending_) || !changeNeedsArguments())
      return;
    announceChange(withLazyEvents(new P(argumentName(0), oldValue, false, false)),
                   withLazyEvents(new P(argumentName(1), newValue, false, false)));
  }
  // Enters the two new properties (no reference held yet) into the argument
  // map, fires "property_modified" and refreshes the arguments.
  void announceChange(IKivProperty* oldValue, IKivProperty* newValue);

  // "oldValue" (0) or "newValue" (1), as views of literals: copies of the
  // name cost no allocation.
  static const KivString& argumentName(int which);
  // Switches events on in the lazy form on a property made without events.
  static Property* withLazyEvents(Property* p) {
    p->eventsOn_ = 1;
    p->argsPending_ = 1;
    return p;
  }

  // The identifier of a class of the class table by its name; for a class
  // without a row, the failure of classId() above.
  const KivClassId* tableClassId(const char* className);

private:
  void switchEventsOn();
  void switchEventsOff();

  static thread_local bool silentCopy_;
  // The table, built on first need; null with events off.
  DataEventTable* eventTable();
  // Drops any argument object and fetches a new one; false if none can be
  // had (no manager), which leaves the property silent.
  bool fetchArgs() const;
  // Whether a change with events on must build its two argument properties.
  // When nobody could see them (no subscriber, and no other holder of the
  // argument object) it does the rest of the change itself: the argument
  // object is swapped as after a firing, or, if it was never fetched, the
  // property simply stays lazy.
  bool changeNeedsArguments();
  void dropSpare();

  uint8_t readOnly_ = 0;
  uint8_t eventsOn_ = 0;
  // Events are on but the argument object hasn't been fetched yet.
  mutable uint8_t argsPending_ = 0;
  uint8_t persistent_ = 1;
  KivString name_;
  DataEventTable* events_ = nullptr;
  DataEvent* modified_ = nullptr;  // "property_modified" in events_
  mutable IPtr<IKivDataEventArgs> args_;
  // An emptied argument object of which this property holds the only
  // reference (see above); a bare pointer, as an IPtr would take 24 bytes in
  // every property and in every copy an undo picture keeps.
  DataEventArgs* spare_ = nullptr;
};
