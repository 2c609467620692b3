//===- property.h - Base of every property ----------------------*- C++ -*-===//
//
// Property holds what all value classes share: the name, the read-only and
// persistence flags, and the table of events with the argument object of the
// next firing.
//
// Invariants a user must know:
//  - Events are either off (no table, no argument object) or on (a table
//    with "property_modified", and an argument object from the class table
//    under "IKivDataEventArgs" unless no component manager is installed, in
//    which case the property never fires).
//  - A change is announced after the value is stored: notifyChanged puts
//    "oldValue" and "newValue" (new properties of the value's own class) into
//    the argument map, fires "property_modified" synchronously with this
//    property as the source, and only then swaps in a fresh argument object.
//    Whoever keeps a reference to the used one keeps it alive.
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
  bool hasEvents() const override { return events_ != nullptr; }
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
  // The argument object of the next firing; null when events are off.
  IKivDataEventArgs* eventArgs() const { return args_.get(); }

protected:
  // Fires the named event with this property as the source; nothing at all
  // if there is no such event.
  void fire(const KivCString& event, IKivDataEventArgs* args);
  // Drops the argument object and fetches a new, empty one. With events off
  // it stays empty, so that an event switched off inside a delivery stays off.
  void refreshArgs();

  // Announces a change of a value class P with value type T. Costs one null
  // test when events are off.
  template <class P, class T>
  void notifyChanged(const T& oldValue, const T& newValue) {
    if (!args_)
      return;
    announceChange(new P(KivString("oldValue"), oldValue, false, true),
                   new P(KivString("newValue"), newValue, false, true));
  }
  // Enters the two new properties (no reference held yet) into the argument
  // map, fires "property_modified" and refreshes the arguments.
  void announceChange(IKivProperty* oldValue, IKivProperty* newValue);

  // The identifier of a class of the class table by its name; for a class
  // without a row, the failure of classId() above.
  const KivClassId* tableClassId(const char* className);

private:
  void switchEventsOn();
  void switchEventsOff();

  uint8_t readOnly_ = 0;
  KivString name_;
  DataEventTable* events_ = nullptr;
  IPtr<IKivDataEventArgs> args_;
  uint8_t persistent_ = 1;
};
