//===- pictureundoinfo.cpp - A record made of two property pictures -------===//
#include "undo/pictureundoinfo.h"

#include "core/kivptr.h"
#include "model/dataobject.h"
#include "properties/property.h"
#include "properties/propertymap.h"

PictureUndoInfo::PictureUndoInfo(DataObject* object) : object_(object) {
  if (!object)
    return;  // a record of nothing: invalid from the start, does nothing
  before_ = pictureOf(object);
  object->addLifetimeListener(this);
}

PictureUndoInfo::~PictureUndoInfo() {
  if (object_)
    object_->removeLifetimeListener(this);
  freePictures();
}

namespace {

// A picture is a plain PropertyMap; this only reaches its entries to fill
// them with copies made without events.
class Picture : public PropertyMap {
public:
  // As copyFrom into an empty map, each copy silent from the start.
  void copySilentlyFrom(const PropertyMap& other) {
    flags_ = other.flags();
    for (const auto& [key, property] : other.properties()) {
      IPtr<IKivProperty> copy;
      {
        Property::SilentCopy silent;
        copy = property->clone();
      }
      properties_[key] = copy;
    }
  }
};

} // namespace

PropertyMap* PictureUndoInfo::pictureOf(DataObject* object) {
  auto* picture = new Picture;
  // Nobody ever subscribes to a picture: its copies have no events and no
  // argument objects. A copy that isn't silent (a clone built another way)
  // gives them up here.
  picture->copySilentlyFrom(*object);
  for (const auto& entry : picture->properties())
    entry.second->enableEvents(false);
  return picture;
}

void PictureUndoInfo::freePictures() {
  delete before_;
  before_ = nullptr;
  delete after_;
  after_ = nullptr;
}

void PictureUndoInfo::finish() {
  if (!object_)
    return;
  PropertyMap* picture = pictureOf(object_);
  delete after_;
  after_ = picture;
}

void PictureUndoInfo::undo() { writeBack(before_); }

void PictureUndoInfo::redo() { writeBack(after_); }

void PictureUndoInfo::writeBack(const PropertyMap* picture) {
  if (!picture || !object_ || writing_)
    return;
  writing_ = true;
  struct Reset {
    PictureUndoInfo* self;
    ~Reset() {
      self->writing_ = false;
      if (!self->object_)
        self->freePictures();
    }
  } reset{this};
  for (const auto& entry : picture->properties()) {
    IKivProperty* source = entry.second;
    if (!source || source->isReadOnly())
      continue;
    // Held, so that a subscriber that removes the property from the object
    // during its event doesn't pull it away under copyValue.
    IPtr<IKivProperty> target;
    if (!object_->properties().find(entry.first, &target) || !target)
      continue;
    target->copyValue(source);
    // A subscriber may have let the object die.
    if (!object_)
      return;
    assigned(entry.first);
    if (!object_)
      return;
  }
}

uint64_t PictureUndoInfo::getSize() {
  uint64_t size = 0;
  if (before_)
    size += before_->memorySize();
  if (after_)
    size += after_->memorySize();
  return size;
}

void PictureUndoInfo::subjectDying(IKivLifetimeSubject*) {
  object_ = nullptr;
  if (!writing_)
    freePictures();
}
