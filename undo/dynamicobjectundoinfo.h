//===- dynamicobjectundoinfo.h - The record of a DynamicDataObject -*- C++ -*-===//
//
// The picture record that DynamicDataObject::createUndoInfo makes, for the
// object and every class derived from it (Document included). It differs
// from its base only in what it reports to the memory budget: the size of
// the live object, not of the two pictures; 0 once the object is gone.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "undo/pictureundoinfo.h"

class DynamicObjectUndoInfo : public PictureUndoInfo {
public:
  using PictureUndoInfo::PictureUndoInfo;
  uint64_t getSize() override;
};
