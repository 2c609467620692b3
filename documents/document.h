//===- document.h - What a user opens, edits and saves -----------*- C++ -*-===//
//
// A Document is a DynamicDataObject that owns the root DocumentGroup of one
// tree, an UndoManager of its own and a list of listeners. It is stored by
// the same write and read as every object: its extra data holds the tree,
// then the block 0xB00BBA of objects that were numbered but not written
// inside the tree.
//
// Invariants a user must know:
//  - Listeners are raw pointers. Every notification walks them from the
//    first registered on. Between beginUpdate and endUpdate only those two
//    are sent; whatever a listener changes inside endUpdate is silent too.
//  - load and loadKV run in an update block that they close on every path,
//    also when they throw. They append to the document; nothing is rolled
//    back after damage. They give false when the file was damaged (the
//    reader's good() went false, or the tree or the extra objects could not
//    all be read); what was read stays.
//  - save writes in place and gives false when any write failed. It throws
//    only when the file can't be created.
//  - Loading and saving use process-wide state: one at a time per process.
//  - A document destroyed inside an update block is emptied without a
//    second beginUpdate (which would throw in the destructor).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "basic_types/map.h"
#include "core/kivptr.h"
#include "documents/ikivdocument.h"
#include "model/dynamicdataobject.h"

class IKivDocumentItem;
class IKivWriteable;
class KivFileRead;

class Document : public DynamicDataObject, public IKivDocument {
public:
  static constexpr const char* kClassName = "Document";

  Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;
  ~Document() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* scriptClassName() const override;
  const KivClassId* classId() override;
  void onPropertyEvent(IKivDataEventSource* source, const KivCString& name,
                       IKivDataEventArgs* args) override;
  bool writeExtra(IKivDataModelWriter* writer) override;
  bool readExtra(IKivDataModelReader* reader, int version) override;

  // IKivDocument.
  void registerListener(IKivDocumentListener* listener) override;
  void unregisterListener(IKivDocumentListener* listener) override;
  IKivUndoManager* getUndoManager() override { return undoManager_.get(); }
  void beginUpdate() override;
  void endUpdate() override;
  IKivDocumentData* getDocumentData(IKivDataObject* object) override;
  IKivDocumentGroup* getRootItem() override { return rootItem_.get(); }
  void clear() override;
  bool load(const KivString& path) override;
  bool save(const KivString& path) override;
  bool loadKV(const KivString& path, const KivString& imagePath) override;
  void addReference(void* pointer) override;
  void removeReference(void* pointer) override;

  // The notifications of the tree; each is silent inside an update block.
  void beforeAddItem(IKivDocumentItem* item);
  void afterAddItem(IKivDocumentItem* item);
  void beforeRemoveItem(IKivDocumentItem* item);
  void afterRemoveItem(IKivDocumentItem* item);
  void itemPropertyChanged(IKivDocumentItem* item, const KivString& name);

  // The map from data objects to items; setDocument keeps it.
  void addDocumentData(DocumentItem* item);
  void removeDocumentData(DocumentItem* item);

  bool inUpdate() const { return inUpdate_ != 0; }
  int32_t listenerCount() const { return listeners_.count(); }
  int32_t extraObjectCount() const { return extraObjects_.count(); }
  int32_t referenceCount() const { return references_.count(); }

private:
  using Notify = void (IKivDocumentListener::*)(DocumentItem*);
  void notifyItem(Notify call, IKivDocumentItem* item);
  // The steps of clear() without the update block.
  void emptyContent();
  void releaseExtraObjects();
  // Reads the document's section from an opened reader, then closes it:
  // steps 3 and 4 of a load. False on damage.
  bool readOpened(KivFileRead& reader);
  // The preview image that the second file form may carry; the reader
  // stands in the header's second inner block, behind the flag byte.
  void readPreviewImage(KivFileRead& reader, const KivString& imagePath);

  IPtr<IKivUndoManager> undoManager_;
  IPtr<IKivDocumentGroup> rootItem_;
  Map<IKivDataObject*, IKivDocumentData*> documentData_{17};
  IterStack<IKivDocumentListener*> listeners_{21};
  uint8_t inUpdate_ = 0;
  uint8_t closing_ = 0;
  IterStack<IKivWriteable*> extraObjects_{21};
  IterStack<void*> references_{21};
  // Whether the last readExtra read all of the tree and the extra objects.
  bool extraRead_ = true;
};
