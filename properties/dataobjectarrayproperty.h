//===- dataobjectarrayproperty.h - A property holding a DataObjectArray -*- C++ -*-===//
//
// DataObjectArrayProperty holds one DataObjectArray by strong reference,
// typeName() "kivapi.datamodel.DataObjectArray", on the pattern of the other
// array properties (set() fires on every call, clone() copies the array,
// copyValue() shares it).
//
// Stored form, version 1: the count (-1 without an array), then one number
// per element from the persistent-reference table. Before the section is
// written, each element the table doesn't know yet goes on the write queue,
// so an object reachable only through an array is stored once in the graph.
// Reading makes a new array of null elements and asks the table to resolve
// each number; resolved() fills the first pending position with that
// number. The pending list lives as long as the property.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivpersistentref.h"
#include "properties/dataobjectarray.h"
#include "properties/pointerproperty.h"

#include <cstdint>
#include <vector>

class IKivDataObjectArrayProperty : public IKivValueProperty<DataObjectArray*> {};

class DataObjectArrayProperty
    : public TPointerProperty<DataObjectArrayProperty, IKivDataObjectArrayProperty,
                              DataObjectArray>,
      public IKivPersistentRefCallback {
public:
  static constexpr const char* kClassName = "DataObjectArrayProperty";
  static constexpr const char* kInterfaceName = "IKivDataObjectArrayProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.DataObjectArray";
  static constexpr int kReferenceVersion = 1;

  using TPointerProperty::TPointerProperty;
  DataObjectArrayProperty(const DataObjectArrayProperty& other)
      : IKivUnknown(other), TPointerProperty(other), IKivPersistentRefCallback(other) {}

  void queryInterface(const char* name, void** out) override;
  uint64_t memorySize() const override;

  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;
  void resolved(uint32_t refId, IKivPersistentRef* object) override;

  static void textOf(DataObjectArray*, KivString& out) { out = KivString(); }
  static void writeValue(IKivDataModelWriter*, DataObjectArray*) {}
  static void readValue(IKivDataModelReader*, DataObjectArrayProperty*) {}

private:
  std::vector<uint32_t> pendingIds_;
};
