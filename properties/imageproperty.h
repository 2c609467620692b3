//===- imageproperty.h - A property holding one image -----------*- C++ -*-===//
//
// ImageProperty holds one KivImage by strong reference; get() hands out the
// raw pointer. typeName() is "kivapi.datamodel.Image" whatever it holds.
//
// Invariants a user must know:
//  - set() fires on every call, also with the image it holds; the old image
//    lives until the event is over. clearValue() drops the image silently.
//  - A copy (and clone(), copyValue()) shares the image.
//  - The image is stored inside the property's section (version 0), not by
//    reference, when it is writeable itself; the property counts as
//    persistent only then.
//  - memorySize() counts the image's bytes too.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "properties/ikivvalueproperty.h"
#include "properties/property.h"

class KivImage;

class IKivImageProperty : public IKivValueProperty<KivImage*> {};

class ImageProperty : public Property, public IKivImageProperty {
public:
  static constexpr const char* kClassName = "ImageProperty";
  static constexpr const char* kInterfaceName = "IKivImageProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.Image";
  using ValueType = KivImage*;

  ImageProperty();
  ImageProperty(const KivString& name, bool readOnly);
  ImageProperty(const KivString& name, KivImage* value, bool readOnly);
  ImageProperty(const KivString& name, KivImage* value, bool readOnly, bool events);
  ImageProperty(const ImageProperty& other);
  ~ImageProperty() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  const char* typeName() const override { return kTypeName; }
  // "None" without an image, otherwise the image's className().
  void valueText(const KivString& name, KivString& out) const override;
  IKivProperty* clone() const override { return new ImageProperty(*this); }
  void clearValue() override { value_.clear(); }
  void copyValue(IKivProperty* source) override;
  uint64_t memorySize() const override;

  void init(const KivString& name, KivImage* const& value, bool readOnly) override;
  KivImage* get() const override;
  void set(KivImage* const& value) override;

  const KivClassId* classId() override;
  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;
  bool isPersistent() override;

private:
  IPtr<KivImage> value_;
};
