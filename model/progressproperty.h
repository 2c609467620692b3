//===- progressproperty.h - A property that hands a progress object on -*- C++ -*-===//
//
// ProgressProperty holds one reference on an IProgress and gives it to a
// Modifier (the conventional name is "progress"). It is never stored: write()
// and read() put nothing in the property's frame, so after a load the
// property is empty. set() fires "property_modified" even when the value is
// the same object. No lock: one thread at a time.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/iprogress.h"
#include "properties/property.h"

class IProgressProperty : public virtual IKivUnknown {
public:
  virtual void init(const KivString& name, IProgress* value, bool readOnly) = 0;  // 1
  virtual IProgress* get() const = 0;                                             // 2
  virtual void set(IProgress* value) = 0;                                         // 3
};

class ProgressProperty : public Property, public IProgressProperty {
public:
  static constexpr const char* kClassName = "ProgressProperty";

  ProgressProperty();
  ProgressProperty(const KivString& name, bool readOnly, bool events);
  ProgressProperty(const KivString& name, IProgress* value, bool readOnly, bool events);
  ProgressProperty(const ProgressProperty& other);
  ~ProgressProperty() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  // "kivapi.datamodel.Progress".
  const char* typeName() const override;
  // "Progress\n", whatever the value.
  void valueText(const KivString& name, KivString& out) const override;
  IKivProperty* clone() const override { return new ProgressProperty(*this); }
  void clearValue() override { value_.clear(); }
  void copyValue(IKivProperty* source) override;
  uint64_t memorySize() const override { return sizeof(ProgressProperty); }

  void init(const KivString& name, IProgress* value, bool readOnly) override;
  IProgress* get() const override { return value_.get(); }
  void set(IProgress* value) override;

  const KivClassId* classId() override;
  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;

private:
  IPtr<IProgress> value_;
};
