//===- dataeventsource.h - Implementation base of what fires ----*- C++ -*-===//
//
// DataEventSource has no data; it marks the objects that fire events
// (properties, property maps and everything built on them) and answers
// "DataEventSource" so that a subscriber can get from the interface handle
// back to the implementation class.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/ikivdataevent.h"
#include "model/primitive.h"

class DataEventSource : public Primitive, public IKivDataEventSource {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "DataEventSource"; }
};
