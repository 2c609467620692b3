//===- dataeventargs.h - What travels with an event -------------*- C++ -*-===//
//
// The arguments of a firing are a PropertyMap: any named, typed values,
// found through the ordinary accessors. Its flags are 5 (the argument bit
// and events on properties created by set), so it neither registers with the
// Database nor has events of its own. Always obtained from the class table
// under "IKivDataEventArgs", never by `new`, and counted like every object.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/ikivdataevent.h"
#include "properties/propertymap.h"

#include <vector>

class DataEventArgs : public PropertyMap, public IKivDataEventArgs {
public:
  DataEventArgs();
  DataEventArgs(const DataEventArgs& other) : PropertyMap(other), IKivDataEventArgs(other) {}

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "DataEventArgs"; }

  using PropertyMap::addProperty;
  // As PropertyMap's; a new name takes an entry kept by recycleEntries.
  void addProperty(IKivProperty* p) override;
  // removeAllProperties (every value let go, in key order), keeping the
  // memory of a few entries for the next firing of a property that reuses
  // this object.
  void recycleEntries();

private:
  // A firing enters "oldValue", "newValue" and, through an object, "name"
  // and the property.
  static constexpr size_t kKeptEntries = 4;
  std::vector<Properties::Node> kept_;
};
