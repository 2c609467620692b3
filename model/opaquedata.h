//===- opaquedata.h - An object carrying a counted object -------*- C++ -*-===//
//
// OpaqueData holds one reference on an object that the data model doesn't
// look into. In a file it is its class identifier alone: an empty section,
// without name or properties, which reads back as an OpaqueData without
// data. A copy shares the other's data; clone() gives null.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "model/dataobject.h"

class IKivOpaqueData : public virtual IKivUnknown {
public:
  // No reference comes with the result.
  virtual IKivUnknown* data() const = 0;
  // Takes a reference; the present value again takes no further one.
  virtual void setData(IKivUnknown* data) = 0;
};

class OpaqueData : public DataObject, public IKivOpaqueData {
public:
  static constexpr const char* kClassName = "OpaqueData";

  OpaqueData() = default;
  OpaqueData(const OpaqueData& other);

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* scriptClassName() const override;

  IKivUnknown* data() const override { return data_.get(); }
  void setData(IKivUnknown* data) override { data_ = data; }

  const KivClassId* classId() override;
  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;

private:
  IPtr<IKivUnknown> data_;
};
