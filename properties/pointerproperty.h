//===- pointerproperty.h - The pattern of a property holding an object -*- C++ -*-===//
//
// TPointerProperty<Derived, Interface, Object> is the value pattern for a
// value that is a reference-counted object: the property holds one strong
// reference (`value_`), get() hands out the raw pointer without one, and the
// value interface is an IKivValueProperty<Object*>. Derived supplies
//
//   static constexpr const char* kClassName;      // also the class-table row
//   static constexpr const char* kInterfaceName;
//   static constexpr const char* kTypeName;
//   static void textOf(Object* value, KivString& out);
//   static void writeValue(IKivDataModelWriter* writer, Object* value);
//   // Reads the section's body into the property, through set().
//   static void readValue(IKivDataModelReader* reader, Derived* property);
//
// and `using TPointerProperty::TPointerProperty;` for the constructors.
//
// Invariants a user must know:
//  - set() keeps the old object alive until the event is over, and fires in
//    every case, also with the object held; both argument properties hold
//    the objects themselves, not copies.
//  - A change inside the object tells nobody: only a replacement fires.
//  - The copy constructor (and so clone()) copies the object through its
//    own copy constructor; copyValue() shares the source's object.
//  - clearValue() drops the object without an event.
//  - Stored as a section of version 0; a section of another version is
//    stepped over.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/classwalk.h"
#include "core/kivptr.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "properties/ikivvalueproperty.h"
#include "properties/property.h"
#include "properties/valueproperty.h"

template <class Derived, class Interface, class Object>
class TPointerProperty : public Property, public Interface {
public:
  using ValueType = Object*;

  TPointerProperty() : TPointerProperty(KivString(), nullptr, false, true) {}
  TPointerProperty(const KivString& name, bool readOnly)
      : TPointerProperty(name, nullptr, readOnly, true) {}
  TPointerProperty(const KivString& name, Object* value, bool readOnly)
      : TPointerProperty(name, value, readOnly, true) {}
  TPointerProperty(const KivString& name, Object* value, bool readOnly, bool events)
      : Property(name, readOnly, events), value_(value) {}
  TPointerProperty(const TPointerProperty& other)
      : IKivUnknown(other), Property(other), Interface(other) {
    if (Object* object = other.get())
      value_ = new Object(*object);
  }

  void queryInterface(const char* name, void** out) override {
    queryValueClass<Derived, Interface>(static_cast<Derived*>(this), name, out);
  }
  const char* className() const override { return Derived::kClassName; }

  const char* typeName() const override { return Derived::kTypeName; }
  void valueText(const KivString&, KivString& out) const override { Derived::textOf(get(), out); }
  IKivProperty* clone() const override { return new Derived(static_cast<const Derived&>(*this)); }
  void clearValue() override { value_.clear(); }
  // Shares the source's object; a source of another class is ignored.
  void copyValue(IKivProperty* source) override {
    if (Derived* from = kivQuery<Derived>(source, Derived::kClassName))
      set(from->get());
  }
  uint64_t memorySize() const override {
    return sizeof(Derived) + (get() ? sizeof(Object) : 0);
  }

  void init(const KivString& name, Object* const& value, bool readOnly) override {
    setName(name);
    value_ = value;
    setReadOnly(readOnly);
  }
  Object* get() const override { return value_.get(); }
  void set(Object* const& value) override {
    IPtr<Object> old(value_);
    value_ = value;
    notifyChanged<Derived>(old.get(), value_.get());
  }

  const KivClassId* classId() override { return tableClassId(Derived::kClassName); }
  bool write(IKivDataModelWriter* writer) override {
    writer->beginSection(this, 0);
    Property::write(writer);
    Derived::writeValue(writer, get());
    writer->endSection(this);
    return true;
  }
  bool read(IKivDataModelReader* reader) override {
    int version = -1;
    if (reader->beginSection(this, &version) && version == 0) {
      Property::read(reader);
      Derived::readValue(reader, static_cast<Derived*>(this));
    }
    reader->endSection(this);
    return true;
  }

protected:
  IPtr<Object> value_;
};
