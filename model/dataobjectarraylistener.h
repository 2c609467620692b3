//===- dataobjectarraylistener.h - Base of a listener on object arrays -*- C++ -*-===//
//
// An object array tells its listeners of elements that come (second
// operation, on append and insert) and go (third, on pop, remove and set);
// nothing calls the first. The bodies here are empty: what a listener does is
// the affair of the class a host derives from DataObjectArrayListener.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class DataObject;

class IKivDataObjectArrayListener : public virtual IKivUnknown {
public:
  virtual void reserved1() = 0;
  virtual void onAdded(DataObject* object, int index) = 0;
  virtual void onRemoved(DataObject* object, int index) = 0;
};

class DataObjectArrayListener : public IKivDataObjectArrayListener {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "DataObjectArrayListener"; }

  void reserved1() override {}
  void onAdded(DataObject*, int) override {}
  void onRemoved(DataObject*, int) override {}
};
