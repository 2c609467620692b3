//===- documentitemundoinfo.h - The record of a document item ----*- C++ -*-===//
//
// The picture record that DocumentItem::createUndoInfo makes for items,
// DocumentData and DocumentGroup. Besides writing a picture back it tells
// the item's document of each value written, directly after the assignment:
// listeners hear itemPropertyChanged outside an update block, nothing inside
// one. getSize() is the size of both pictures.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "undo/pictureundoinfo.h"

class DocumentItem;

class DocumentItemUndoInfo : public PictureUndoInfo {
public:
  explicit DocumentItemUndoInfo(DocumentItem* item);

protected:
  void assigned(const KivString& name) override;

private:
  DocumentItem* item_;
};
