//===- dataeventsubscriber.h - Subscriber on implementation classes -*- C++ -*-===//
//
// DataEventSubscriber turns the interface call onEvent into onDataEvent with
// the implementation classes: the source is asked for "DataEventSource" and
// the arguments for "DataEventArgs". Either arrives as null when it is null
// or not of that class. A derived class overrides onDataEvent only.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/ikivdataevent.h"

class DataEventArgs;
class DataEventSource;

class DataEventSubscriber : public IKivEventSubscriber {
public:
  // Does nothing here.
  virtual void onDataEvent(DataEventSource* source, const KivCString& name, DataEventArgs* args);

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "DataEventSubscriber"; }
  void onEvent(IKivDataEventSource* source, const KivCString& name,
               IKivDataEventArgs* args) override;
};
