//===- ikivdocument.h - What a user opens, edits and saves -------*- C++ -*-===//
//
// IKivDocument and the listener interface it talks to. The slot order of
// both is a contract.
//
// Invariants a user must know:
//  - Listeners are raw pointers without a reference: whoever registers must
//    unregister before dying (inside documentClosing both calls are ignored).
//  - Between beginUpdate and endUpdate listeners hear only those two calls;
//    update blocks don't nest.
//  - load appends to what the document holds; clear() first to replace it.
//    load, loadKV and save throw only when the file can't be opened or
//    created; damage in a file gives false and keeps what was read.
//  - Only one load or save may run at a time in a process.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class DocumentItem;
class IKivDataObject;
class IKivDocumentData;
class IKivDocumentGroup;
class IKivUndoManager;
class KivString;

class IKivDocument;

class IKivDocumentListener : public virtual IKivUnknown {
public:
  virtual void beginUpdate(IKivDocument* document) = 0;                                  // 1
  virtual void endUpdate(IKivDocument* document) = 0;                                    // 2
  virtual void documentPropertyChanged(IKivDocument* document, const KivString& name) = 0; // 3
  virtual void beforeRemoveItem(DocumentItem* item) = 0;                                 // 4
  virtual void afterRemoveItem(DocumentItem* item) = 0;                                  // 5
  virtual void beforeAddItem(DocumentItem* item) = 0;                                    // 6
  virtual void afterAddItem(DocumentItem* item) = 0;                                     // 7
  virtual void itemPropertyChanged(DocumentItem* item, const KivString& name) = 0;       // 8
  // The tree is already empty when this comes.
  virtual void documentClosing(IKivDocument* document) = 0;                              // 9
};

class IKivDocument : public virtual IKivUnknown {
public:
  // Fails with "Listener has already been registered." for a listener held.
  virtual void registerListener(IKivDocumentListener* listener) = 0;          // 1
  // Fails with "Listener has not been registered." for an unknown one.
  virtual void unregisterListener(IKivDocumentListener* listener) = 0;        // 2
  virtual void reserved3() {}                                                 // 3
  virtual IKivUndoManager* getUndoManager() = 0;                              // 4
  virtual void beginUpdate() = 0;                                             // 5
  virtual void endUpdate() = 0;                                               // 6
  // Null if no item of the document holds that object.
  virtual IKivDocumentData* getDocumentData(IKivDataObject* object) = 0;      // 7
  virtual IKivDocumentGroup* getRootItem() = 0;                               // 8
  // Empties the tree, the extra objects and the references; the name,
  // the properties and the undo history stay.
  virtual void clear() = 0;                                                   // 9
  virtual bool load(const KivString& path) = 0;                               // 10
  virtual bool save(const KivString& path) = 0;                               // 11
  // The second file form, with a header in front; a preview image in it is
  // written to imagePath when that isn't empty.
  virtual bool loadKV(const KivString& path, const KivString& imagePath) = 0; // 12
  // A list of opaque pointers that the document keeps and never reads.
  virtual void addReference(void* pointer) = 0;                               // 13
  virtual void removeReference(void* pointer) = 0;                            // 14
};
