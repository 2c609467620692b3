//===- objectproperty.h - A property referring to a data object -*- C++ -*-===//
//
// ObjectProperty holds one DataObject by strong reference, so that the
// property keeps its object alive; get() hands out the raw pointer.
//
// Invariants a user must know:
//  - typeName() follows the object held: its scriptClassName(), or
//    "kivapi.datamodel.DataObject" without one. A map's type check thus
//    compares the class of the object. declaredType() is what a property may
//    hold; here any DataObject.
//  - set() fires in every case, also with the object it holds; the old
//    object lives until the event is over. The argument properties are
//    ObjectProperty objects holding the objects themselves.
//  - clearValue() drops the object and, if there was one and the property
//    has events, fires "property_modified" with "oldValue" (the object) and
//    "newValue" (none) in an argument object of its own.
//  - A copy (and clone()) shares the object; so does copyValue().
//  - Stored by reference (section version 1): only the object's number in
//    the host's table. It is stored only when the object is writeable and
//    persistent itself. Reading registers the property for the number; the
//    object arrives through resolved() and goes in through set(), whether
//    its own section came before or after. A number nobody claims leaves the
//    property as it was. Version 0, from older files, holds the whole object
//    in the section; any other version is stepped over.
//  - The host's table holds a reference on a property waiting for a number
//    until resolved() or reset(), so that the property may die meanwhile.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "kivbasictypes/ikivpersistentref.h"
#include "properties/ikivvalueproperty.h"
#include "properties/property.h"

class DataObject;

class IKivObjectProperty : public IKivValueProperty<DataObject*> {};

class ObjectProperty : public Property, public IKivObjectProperty, public IKivPersistentRefCallback {
public:
  static constexpr const char* kClassName = "ObjectProperty";
  static constexpr const char* kInterfaceName = "IKivObjectProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.DataObject";
  using ValueType = DataObject*;

  ObjectProperty();
  ObjectProperty(const KivString& name, bool readOnly);
  ObjectProperty(const KivString& name, DataObject* value, bool readOnly);
  ObjectProperty(const KivString& name, DataObject* value, bool readOnly, bool events);
  ObjectProperty(const ObjectProperty& other);
  ~ObjectProperty() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  const char* typeName() const override;
  // "None" without an object, otherwise the object's className().
  void valueText(const KivString& name, KivString& out) const override;
  IKivProperty* clone() const override { return new ObjectProperty(*this); }
  void clearValue() override;
  void copyValue(IKivProperty* source) override;
  uint64_t memorySize() const override { return sizeof(ObjectProperty); }
  // The class of object this property may hold, as a script names it.
  virtual const char* declaredType() const { return kTypeName; }

  void init(const KivString& name, DataObject* const& value, bool readOnly) override;
  DataObject* get() const override { return value_.get(); }
  void set(DataObject* const& value) override;

  const KivClassId* classId() override;
  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;
  bool isPersistent() override;

  // The object of a number that read() asked for; null clears the value.
  void resolved(uint32_t refId, IKivPersistentRef* object) override;

  // The object as the host's table knows it; null without an object.
  IKivPersistentRef* reference() const;

private:
  IPtr<DataObject> value_;
};
