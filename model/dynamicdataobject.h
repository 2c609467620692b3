//===- dynamicdataobject.h - An object whose properties come and go -*- C++ -*-===//
//
// DynamicDataObject takes on any property name: its map never warns about a
// missing name, so set() creates the property on the spot, with events. It
// can be stored (it has its own class identifier), copied by clone(), and
// taken apart by removeProperty() and removeAllProperties(). It is the base
// of the document classes.
//
// Invariants a user must know:
//  - A copy, and a clone, follow the data-store setting for missing names
//    like a plain DataObject; only the two constructors below clear it.
//  - Removing properties fires nothing and doesn't run detachProperty(); the
//    object's own subscriber is taken off the property, so a property held
//    elsewhere no longer calls into the object.
//  - removeProperty("name") leaves the object's name; a later set("name")
//    creates a plain StringProperty, no longer tied to setName().
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/dataobject.h"

class IKivDynamicDataObject : public virtual IKivUnknown {
public:
  // Fails with code 6 if there is no such property.
  virtual void removeProperty(const char* name) = 0;
  virtual void removeAllProperties() = 0;
};

class DynamicDataObject : public DataObject, public IKivDynamicDataObject {
public:
  static constexpr const char* kClassName = "DynamicDataObject";

  DynamicDataObject();
  DynamicDataObject(uint8_t flags, const KivString& name, int64_t id);
  DynamicDataObject(const DynamicDataObject& other);

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* scriptClassName() const override;

  const KivClassId* classId() override;
  IKivDataObject* clone() override;
  // A picture record (DynamicObjectUndoInfo) of the properties as they are
  // now; the option is ignored.
  IKivUndoInfo* createUndoInfo(bool option) override;

  using PropertyMap::removeProperty;
  void removeProperty(const char* name) override;
  void removeAllProperties() override;
};
