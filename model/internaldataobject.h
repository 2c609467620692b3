//===- internaldataobject.h - An object carrying a raw pointer --*- C++ -*-===//
//
// InternalDataObject carries one pointer that the data model neither owns nor
// looks into, for state that lives only in the process. It can't be stored:
// writing one fails as a class without its own classId() does.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/dataobject.h"

class IKivInternalDataObject : public virtual IKivUnknown {
public:
  virtual void setData(void* data) = 0;
  virtual void* data() const = 0;
};

class InternalDataObject : public DataObject, public IKivInternalDataObject {
public:
  static constexpr const char* kClassName = "InternalDataObject";

  InternalDataObject() = default;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* scriptClassName() const override;

  void setData(void* data) override { data_ = data; }
  void* data() const override { return data_; }

private:
  void* data_ = nullptr;
};
