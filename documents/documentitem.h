//===- documentitem.h - A node of a document's tree --------------*- C++ -*-===//
//
// DocumentItem is the base of the tree: DocumentGroup for inner nodes,
// DocumentData for leaves that stand for a DataObject. The parent-child link
// is a Relationship named "DocumentGroup" registered with the Database; it
// holds the strong references, so a parent keeps its children alive, and a
// child finds its parent by asking the Database.
//
// Invariants a user must know:
//  - An item enters or leaves a document only through setDocument, which
//    moves the whole subtree and keeps the document's map from data objects
//    to items in step.
//  - The tree stays a tree. addChild and addChildren fail with a
//    PlatformException, before anything changes, for: a null item ("Adding
//    an invalid item to the document."), an item of another document ("The
//    document that is being added is already in a document."), an item that
//    already has a parent ("The item that is being added already has a
//    parent.") and this item or one of its ancestors ("An item cannot be
//    added below itself.").
//  - Bounds and visibility are never cached: "boundingBox" and
//    "viewBoundingBox" walk the subtree at every read. "visible" and
//    "viewTransform" are read if a configuration or a client made them.
//  - Every property change of an item in a document reaches the document's
//    listeners as itemPropertyChanged, except inside an update block.
//  - No lock: the tree belongs to the thread that owns its document.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "documents/ikivdocumentitem.h"
#include "kivbasictypes/kivbounds.h"
#include "model/dynamicdataobject.h"
#include "properties/dataobjectarray.h"

class IKivRelationship;
class KivString;

class DocumentItem : public DynamicDataObject, public IKivDocumentItem {
public:
  static constexpr const char* kClassName = "DocumentItem";

  DocumentItem();
  DocumentItem(const DocumentItem&) = delete;
  DocumentItem& operator=(const DocumentItem&) = delete;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* scriptClassName() const override;
  const KivClassId* classId() override;
  // A DocumentItemUndoInfo, which also tells the document of each value
  // that undo or redo writes back.
  IKivUndoInfo* createUndoInfo(bool option) override;
  void onPropertyEvent(IKivDataEventSource* source, const KivCString& name,
                       IKivDataEventArgs* args) override;
  // Bare count, then each child as a plain object section.
  bool writeExtra(IKivDataModelWriter* writer) override;
  bool readExtra(IKivDataModelReader* reader, int version) override;

  // IKivDocumentItem.
  void addChild(IKivDocumentItem* child) override;
  void removeChild(IKivDocumentItem* child) override;
  void addChildren(IKivDataObjectArray* items) override;
  void onAdded() override {}
  void removeAllChildren() override;
  int getChildCount() override;
  IKivDocumentItem* getChild(int index) override;
  IKivDocument* getDocument() override { return document_; }
  IKivDocumentItem* getParent() override;

  // Fills the member array with the children in order and gives it; valid
  // until the next call.
  virtual DataObjectArray& getChildren();
  // The "boundingBox" of the object in "dataObject", else six zeros.
  virtual KivBounds getBoundingBox() const;
  // getBoundingBox() through "viewTransform", if the item has one.
  virtual KivBounds getViewBoundingBox() const;

  void setDocument(IKivDocument* document);
  // The value of "dataObject", or null (no such property, or none held).
  DataObject* dataObjectValue() const;
  IKivRelationship* childrenRelationship() const { return childrenRelationship_; }

  // The relationship name of the tree, one process-wide text.
  static const KivString& groupRelationName();
  // Six zeros: the bounds of an item without data, and of an empty group.
  static KivBounds originBounds();

protected:
  // Reads children through `readChild` (a plain read or a graph read); a
  // failure of `readChild` counts only where the group's form says so.
  bool readChildren(IKivDataModelReader* reader, bool graphs);
  // The reentrancy guard of bounds: an object that refers back to an item
  // above it would otherwise read its own bounds without end.
  mutable int boundsDepth_ = 0;

private:
  // The checks of addChild for one element; `label` names the operation.
  void checkNewChild(IKivDocumentItem* child, const char* label);
  void link(IKivDocumentItem* child);
  // The document as the class, or null.
  class Document* documentObject() const;

  IKivDocument* document_ = nullptr;
  IKivRelationship* childrenRelationship_ = nullptr;
  DataObjectArray children_;
};
