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

class DataEventArgs : public PropertyMap, public IKivDataEventArgs {
public:
  DataEventArgs();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "DataEventArgs"; }
};
