//===- pictureundoinfo.h - A record made of two property pictures -*- C++ -*-===//
//
// A PictureUndoInfo takes a complete copy of an object's properties when it
// is made (`before`) and another at finish() (`after`); undo() and redo()
// write one picture back over the live object through copyValue, so that the
// same "property_modified" events fire as for the edit itself. Properties
// that only the object has are left alone; read-only entries of a picture are
// never written.
//
// Invariants a user must know:
//  - The record holds no reference on its object. It listens to the object's
//    death instead: from then on object() is null, undo() and redo() do
//    nothing and both pictures are freed (a dead object has nothing to
//    restore). Nothing dangles whichever of the two dies first. isValid()
//    stays true all the same, as for every record.
//  - A picture entry whose name the object no longer has is skipped: removing
//    a property is a structural edit, which pictures don't cover.
//  - A failing assignment stops the write-back, leaving the object partly
//    written; the failure reaches the caller.
//  - getSize() is the size of both pictures; DynamicObjectUndoInfo counts the
//    live object instead.
//  - assigned(name) runs after each assignment; a class whose objects live in
//    a document uses it to tell the document.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/ikivlifetimesubject.h"
#include "undo/undoinfo.h"

class DataObject;
class KivString;
class PropertyMap;

class PictureUndoInfo : public UndoInfo, public IKivLifetimeListener {
public:
  // Takes the `before` picture of `object` at once.
  explicit PictureUndoInfo(DataObject* object);
  PictureUndoInfo(const PictureUndoInfo&) = delete;
  PictureUndoInfo& operator=(const PictureUndoInfo&) = delete;
  ~PictureUndoInfo() override;

  // Takes the `after` picture (again, if called twice).
  void finish() override;
  void undo() override;
  void redo() override;
  uint64_t getSize() override;

  void subjectDying(IKivLifetimeSubject* subject) override;

  DataObject* object() const { return object_; }
  const PropertyMap* before() const { return before_; }
  // Null until finish().
  const PropertyMap* after() const { return after_; }

protected:
  virtual void assigned(const KivString&) {}

private:
  static PropertyMap* pictureOf(DataObject* object);
  void writeBack(const PropertyMap* picture);
  void freePictures();

  PropertyMap* before_ = nullptr;
  PropertyMap* after_ = nullptr;
  DataObject* object_ = nullptr;
  // Set while a picture is written back: a death during it frees the
  // pictures only when the write-back is over.
  bool writing_ = false;
};
