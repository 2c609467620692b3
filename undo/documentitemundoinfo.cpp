//===- documentitemundoinfo.cpp - The record of a document item -----------===//
#include "undo/documentitemundoinfo.h"

#include "documents/document.h"
#include "documents/documentitem.h"

DocumentItemUndoInfo::DocumentItemUndoInfo(DocumentItem* item)
    : PictureUndoInfo(item), item_(item) {}

void DocumentItemUndoInfo::assigned(const KivString& name) {
  // assigned() runs only while the item lives (the base stops on its death).
  IKivDocument* document = item_->getDocument();
  if (auto* owner = document ? kivQuery<Document>(document, Document::kClassName) : nullptr)
    owner->itemPropertyChanged(item_, name);
}
