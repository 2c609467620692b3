//===- dataobjectinstance.h - An object that stands for another -*- C++ -*-===//
//
// DataObjectInstance points at another DataObject through its property
// "data", which is routed to data() and setData(): it holds no value of its
// own, isn't persistent, and so neither the pointer nor the target goes into
// a file. A stored instance has its name and its reference; read back, its
// data is null.
//
// Invariants a user must know:
//  - setData() takes no reference: whoever owns the target clears the
//    pointer or keeps the target alive as long as the instance uses it.
//  - clone() clones the target too and gives it to the new instance, which
//    alone holds the clone (see clone()).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "model/dataobject.h"

class IKivDataObjectInstance : public virtual IKivUnknown {};

class DataObjectInstance : public DataObject, public IKivDataObjectInstance {
public:
  static constexpr const char* kClassName = "DataObjectInstance";

  DataObjectInstance();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* scriptClassName() const override;
  const KivClassId* classId() override;
  IKivDataObject* clone() override;

  virtual void setData(DataObject* data);
  virtual DataObject* data() const { return data_; }

  // Adds "data" only; DataObject's own set-up has run by then.
  void initialize() override;

private:
  DataObject* data_ = nullptr;
  // The target that clone() made for this instance. Nobody else holds such
  // a clone, so the instance keeps it alive until its data changes or it
  // dies.
  IPtr<DataObject> ownedClone_;
};
