//===- valueproperty.h - The pattern of every value class -------*- C++ -*-===//
//
// TValueProperty<Derived, Interface, T> is the one pattern from which the
// value classes are stamped: a Property with a field `value_` of type T and
// the value interface `Interface` (an IKivValueProperty<T>). Derived supplies
//
//   static constexpr const char* kClassName;      // also the class-table row
//   static constexpr const char* kInterfaceName;
//   static constexpr const char* kTypeName;       // what a map compares
//   static constexpr bool kSkipsEqualValue;       // set() of the held value is silent
//   static void textOf(const T& value, KivString& out);
//   static void writeValue(IKivDataModelWriter* writer, const T& value);
//   static bool readValue(IKivDataModelReader* reader, T* value);  // false: nothing read
//
// and `using TValueProperty::TValueProperty;` for the constructors.
//
// Invariants a user must know:
//  - set() stores first and announces after: a subscriber reads the new
//    value, and a subscriber that writes the property starts a nested
//    delivery. Only classes with kSkipsEqualValue stop at an equal value;
//    all others fire on every set().
//  - Everything that reads the value (valueText, clone, the copy, write)
//    reads it through get(), so that a routed property shows its owner's.
//  - A copy and a clone are plain Derived objects with the value of the
//    moment; a clone holds no reference when it is handed out.
//  - The stored form is a section of version 0 headed by the class
//    identifier: Property's part, then the value. A section of another
//    version is stepped over; reading goes through set(), with its checks
//    and its event.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/classwalk.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "properties/ikivvalueproperty.h"
#include "properties/property.h"

// The query of a value class: its class name, IKivUnknown and its value
// interface, then what Property answers; with a null name, the class walk.
template <class Derived, class Interface>
void queryValueClass(Derived* self, const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, Derived::kClassName);
    self->Property::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, Derived::kInterfaceName);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, Derived::kClassName, self, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(self), out) ||
      kivAnswer(name, Derived::kInterfaceName, static_cast<Interface*>(self), out))
    return;
  self->Property::queryInterface(name, out);
}

template <class Derived, class Interface, class T>
class TValueProperty : public Property, public Interface {
public:
  using ValueType = T;

  TValueProperty() : TValueProperty(KivString(), T(), false, true) {}
  TValueProperty(const KivString& name, bool readOnly) : TValueProperty(name, T(), readOnly, true) {}
  TValueProperty(const KivString& name, const T& value, bool readOnly)
      : TValueProperty(name, value, readOnly, true) {}
  TValueProperty(const KivString& name, const T& value, bool readOnly, bool events)
      : Property(name, readOnly, events), value_(value) {}
  TValueProperty(const TValueProperty& other)
      : IKivUnknown(other), Property(other), Interface(other), value_(other.get()) {}

  void queryInterface(const char* name, void** out) override {
    queryValueClass<Derived, Interface>(static_cast<Derived*>(this), name, out);
  }
  const char* className() const override { return Derived::kClassName; }

  const char* typeName() const override { return Derived::kTypeName; }
  void valueText(const KivString&, KivString& out) const override { Derived::textOf(get(), out); }
  IKivProperty* clone() const override { return new Derived(static_cast<const Derived&>(*this)); }
  // A source of another class is the caller's fault; it is ignored, so that
  // the target keeps its value (copyFrom pairs properties by name only).
  void copyValue(IKivProperty* source) override {
    if (Derived* from = kivQuery<Derived>(source, Derived::kClassName))
      set(from->get());
  }
  uint64_t memorySize() const override { return sizeof(Derived); }

  void init(const KivString& name, const T& value, bool readOnly) override {
    setName(name);
    value_ = value;
    setReadOnly(readOnly);
  }
  T get() const override { return value_; }
  void set(const T& value) override {
    T old = get();
    value_ = value;
    if constexpr (Derived::kSkipsEqualValue) {
      if (value_ == old)
        return;
    }
    notifyChanged<Derived>(old, value_);
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
      T value{};
      if (Derived::readValue(reader, &value))
        set(value);
    }
    reader->endSection(this);
    return true;
  }

protected:
  T value_;
};
