//===- dataobjectproperty.h - An object property typed as DataObject -*- C++ -*-===//
//
// DataObjectProperty is an ObjectProperty whose type name is always
// "kivapi.datamodel.DataObject", whatever object it holds, so that a map's
// type check lets any DataObject in. copyValue() takes the object of any
// ObjectProperty. Everything else, the reference held and the stored form
// included, is ObjectProperty's.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/objectproperty.h"

class DataObjectProperty : public ObjectProperty {
public:
  static constexpr const char* kClassName = "DataObjectProperty";

  DataObjectProperty() = default;
  DataObjectProperty(const KivString& name, bool readOnly) : ObjectProperty(name, readOnly) {}
  DataObjectProperty(const KivString& name, DataObject* value, bool readOnly)
      : ObjectProperty(name, value, readOnly) {}
  DataObjectProperty(const DataObjectProperty& other) = default;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* typeName() const override { return kTypeName; }
  IKivProperty* clone() const override { return new DataObjectProperty(*this); }
  void copyValue(IKivProperty* source) override;
};
