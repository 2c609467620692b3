//===- imageproperty.cpp - A property holding one image -------------------===//
#include "properties/imageproperty.h"

#include "base/basic/kivimage.h"
#include "core/classwalk.h"
#include "core/kivclassid.h"
#include "core/lookup.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/ikivwriteable.h"
#include "kivbasictypes/messageformat.h"

namespace {

IKivWriteable* writeableOf(KivImage* image) {
  return kivQuery<IKivWriteable>(image, "IKivWriteable");
}

} // namespace

ImageProperty::ImageProperty() : ImageProperty(KivString(), nullptr, false, true) {}

ImageProperty::ImageProperty(const KivString& name, bool readOnly)
    : ImageProperty(name, nullptr, readOnly, true) {}

ImageProperty::ImageProperty(const KivString& name, KivImage* value, bool readOnly)
    : ImageProperty(name, value, readOnly, true) {}

ImageProperty::ImageProperty(const KivString& name, KivImage* value, bool readOnly, bool events)
    : Property(name, readOnly, events), value_(value) {}

ImageProperty::ImageProperty(const ImageProperty& other)
    : IKivUnknown(other), Property(other), IKivImageProperty(other), value_(other.get()) {}

ImageProperty::~ImageProperty() = default;

void ImageProperty::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    Property::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, kInterfaceName);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, kInterfaceName, static_cast<IKivImageProperty*>(this), out))
    return;
  Property::queryInterface(name, out);
}

void ImageProperty::valueText(const KivString&, KivString& out) const {
  formatMessage(out, "%1", KivString(value_ ? value_->className() : "None"));
}

void ImageProperty::copyValue(IKivProperty* source) {
  if (auto* from = kivQuery<ImageProperty>(source, kClassName))
    set(from->get());
}

uint64_t ImageProperty::memorySize() const {
  uint64_t size = sizeof(ImageProperty);
  if (value_)
    size += static_cast<uint64_t>(value_->byteCount());
  return size;
}

void ImageProperty::init(const KivString& name, KivImage* const& value, bool readOnly) {
  setName(name);
  value_ = value;
  setReadOnly(readOnly);
}

KivImage* ImageProperty::get() const { return kivQuery<KivImage>(value_.get(), "KivImage"); }

void ImageProperty::set(KivImage* const& value) {
  IPtr<KivImage> old(value_);
  value_ = value;
  notifyChanged<ImageProperty>(old.get(), value_.get());
}

const KivClassId* ImageProperty::classId() { return tableClassId(kClassName); }

bool ImageProperty::isPersistent() {
  if (!Property::isPersistent() || !value_)
    return false;
  IKivWriteable* writeable = writeableOf(value_.get());
  return writeable && writeable->isPersistent();
}

bool ImageProperty::write(IKivDataModelWriter* writer) {
  writer->beginSection(this, 0);
  Property::write(writer);
  if (IKivWriteable* writeable = writeableOf(value_.get()))
    writeable->write(writer);
  writer->endSection(this);
  return true;
}

bool ImageProperty::read(IKivDataModelReader* reader) {
  int version = -1;
  bool result = true;
  if (reader->beginSection(this, &version) && version == 0) {
    Property::read(reader);
    const KivClassId id = *reader->peekClassId();
    value_.clear();
    void* out = nullptr;
    if (id != KivClassId() && createObject(&id, "KivImage", &out) && out) {
      IPtr<KivImage> image(static_cast<KivImage*>(out));
      if (IKivWriteable* writeable = writeableOf(image.get())) {
        result = writeable->read(reader);
        value_ = image.get();
      }
    }
  }
  reader->endSection(this);
  return result;
}
