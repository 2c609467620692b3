//===- ikivdocumentitem.h - The interfaces of the document tree --*- C++ -*-===//
//
// A document's content is a tree of items under one root group. The slot
// order of each interface is a contract.
//
// Invariants a user must know:
//  - The tree stays a tree: addChild and addChildren refuse an item that
//    already has a parent, and an item that is this item or one of its
//    ancestors, with a PlatformException before anything changes.
//  - An item may join only a parent in its own document, or, outside any
//    document, a parent outside one too.
//  - removeChild expects a child of this item (a null one does nothing).
//  - Pointers handed out carry no reference.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class IKivDataObjectArray;
class IKivDocument;

class IKivDocumentItem : public virtual IKivUnknown {
public:
  virtual void addChild(IKivDocumentItem* child) = 0;            // 1
  virtual void removeChild(IKivDocumentItem* child) = 0;         // 2
  virtual void addChildren(IKivDataObjectArray* items) = 0;      // 3
  // Runs on a child directly after it was linked to its parent.
  virtual void onAdded() = 0;                                    // 4
  virtual void removeAllChildren() = 0;                          // 5
  virtual int getChildCount() = 0;                               // 6
  // Fails with "This DocumentItem has no children." without children.
  virtual IKivDocumentItem* getChild(int index) = 0;             // 7
  virtual IKivDocument* getDocument() = 0;                       // 8
  // Null for the root and for a detached item.
  virtual IKivDocumentItem* getParent() = 0;                     // 9
};

class IKivDocumentData : public virtual IKivUnknown {
public:
  // Nobody calls it; it keeps the interface's one place.
  virtual void reserved1() {}                                    // 1
};

class IKivDocumentGroup : public virtual IKivUnknown {
public:
  virtual void removeAllChildren() = 0;                          // 1
};
