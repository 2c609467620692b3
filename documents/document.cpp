//===- document.cpp - What a user opens, edits and saves ------------------===//
#include "documents/document.h"

#include "base/basic/kivimage.h"
#include "core/classids.h"
#include "core/classwalk.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "documents/documentdata.h"
#include "documents/documentgroup.h"
#include "documents/documentmanager.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/ikivpersistentrefmap.h"
#include "kivbasictypes/kivfile.h"
#include "kivbasictypes/messageformat.h"
#include "model/stackedit.h"
#include "properties/ikivproperty.h"
#include "undo/ikivundomanager.h"

namespace {

constexpr uint32_t kExtraObjectsTag = 0xB00BBA;
constexpr int kExtraObjectsVersion = 2;
constexpr int kFileVersion = 10;

// An update block that closes on every path out of a load.
class UpdateScope {
public:
  explicit UpdateScope(Document* document) : document_(document) { document_->beginUpdate(); }
  ~UpdateScope() {
    if (document_->inUpdate())
      document_->endUpdate();
  }
  UpdateScope(const UpdateScope&) = delete;
  UpdateScope& operator=(const UpdateScope&) = delete;

private:
  Document* document_;
};

[[noreturn]] void failWithPath(const char* label, const char* key, const KivString& path) {
  KivString text;
  formatMessage(text, key, path);
  throwClassErrorText(label, text);
}

IKivDataObject* objectOf(IKivUnknown* item) {
  return kivQuery<IKivDataObject>(item, "IKivDataObject");
}

} // namespace

Document::Document() {
  void* out = nullptr;
  if (getObject("IKivUndoManager", &out) && out)
    undoManager_ = static_cast<IKivUndoManager*>(out);
  out = nullptr;
  if (getObject("IKivDocumentGroup", &out) && out)
    rootItem_ = static_cast<IKivDocumentGroup*>(out);
  if (auto* root = kivQuery<DocumentItem>(rootItem_.get(), DocumentItem::kClassName))
    root->setDocument(this);
  if (DocumentManager* manager = DocumentManager::instance())
    manager->applyDocumentConfig(static_cast<IKivDocument*>(this));
}

Document::~Document() {
  // As DataObject's destructor does: no reference that a listener takes and
  // drops during the closing can bring the count to zero a second time.
  refCount_ = 0x40000000;
  // A document that dies inside an update block is emptied silently: a
  // second beginUpdate would throw out of the destructor.
  if (inUpdate_) {
    emptyContent();
  } else {
    beginUpdate();
    emptyContent();
    endUpdate();
  }
  closing_ = 1;
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->documentClosing(this);
  listeners_.setCount(0);
  if (auto* root = kivQuery<DocumentItem>(rootItem_.get(), DocumentItem::kClassName))
    root->setDocument(nullptr);
}

void Document::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DynamicDataObject::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDocument");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<DataObject*>(this)),
                out) ||
      kivAnswer(name, "IKivDocument", static_cast<IKivDocument*>(this), out))
    return;
  DynamicDataObject::queryInterface(name, out);
}

const char* Document::scriptClassName() const { return "kivapi.datamodel.Document"; }

const KivClassId* Document::classId() { return &classIdOf(kClassName); }

// --- Listeners and update blocks ---------------------------------------------

void Document::registerListener(IKivDocumentListener* listener) {
  if (closing_)
    return;
  for (int32_t i = listeners_.count(); i >= 1; --i)
    if (listeners_.at(i) == listener)
      throwClassError("Document::registerListener", "Listener has already been registered.");
  listeners_.push(listener);
}

void Document::unregisterListener(IKivDocumentListener* listener) {
  if (closing_)
    return;
  if (!removeLastStackEntry(&listeners_, listener))
    throwClassError("Document::unregisterListener", "Listener has not been registered.");
}

void Document::beginUpdate() {
  if (inUpdate_)
    throwClassError("Document::beginUpdate",
                    "Already in update block. Call endUpdate after calling beginUpdate.");
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->beginUpdate(this);
  inUpdate_ = 1;
}

void Document::endUpdate() {
  if (!inUpdate_)
    throwClassError("Document::endUpdate",
                    "Not in update block. Call beginUpdate before calling endUpdate.");
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->endUpdate(this);
  inUpdate_ = 0;
}

void Document::onPropertyEvent(IKivDataEventSource* source, const KivCString& name,
                               IKivDataEventArgs* args) {
  DataObject::onPropertyEvent(source, name, args);
  if (!source || inUpdate_)
    return;
  if (IKivProperty* property = kivQuery<IKivProperty>(source, "IKivProperty")) {
    const KivString changed = property->name();
    for (int32_t i = 1; i <= listeners_.count(); ++i)
      listeners_.at(i)->documentPropertyChanged(this, changed);
  }
}

void Document::notifyItem(Notify call, IKivDocumentItem* item) {
  if (inUpdate_)
    return;
  DocumentItem* target = kivQuery<DocumentItem>(item, DocumentItem::kClassName);
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    (listeners_.at(i)->*call)(target);
}

void Document::beforeAddItem(IKivDocumentItem* item) {
  notifyItem(&IKivDocumentListener::beforeAddItem, item);
}
void Document::afterAddItem(IKivDocumentItem* item) {
  notifyItem(&IKivDocumentListener::afterAddItem, item);
}
void Document::beforeRemoveItem(IKivDocumentItem* item) {
  notifyItem(&IKivDocumentListener::beforeRemoveItem, item);
}
void Document::afterRemoveItem(IKivDocumentItem* item) {
  notifyItem(&IKivDocumentListener::afterRemoveItem, item);
}

void Document::itemPropertyChanged(IKivDocumentItem* item, const KivString& name) {
  if (inUpdate_)
    return;
  DocumentItem* target = kivQuery<DocumentItem>(item, DocumentItem::kClassName);
  const KivString changed = name;
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->itemPropertyChanged(target, changed);
}

// --- Map, references, content ------------------------------------------------

void Document::addDocumentData(DocumentItem* item) {
  auto* data = kivQuery<IKivDocumentData>(item, "IKivDocumentData");
  if (!data)
    return;
  IKivDataObject* key = item->dataObjectValue();
  documentData_[key] = data;
}

void Document::removeDocumentData(DocumentItem* item) {
  auto* data = kivQuery<IKivDocumentData>(item, "IKivDocumentData");
  if (!data)
    return;
  IKivDataObject* key = item->dataObjectValue();
  auto* node = documentData_.find(key);
  if (node && node->value == data) {
    documentData_.remove(key);
    return;
  }
  // The item's object changed after it entered: find the entry by value, so
  // that no entry outlives its item.
  Map<IKivDataObject*, IKivDocumentData*>::Iterator it(documentData_);
  for (bool more = it.first(); more; more = it.next())
    if (it.value() == data) {
      documentData_.remove(it.key());
      return;
    }
}

IKivDocumentData* Document::getDocumentData(IKivDataObject* object) {
  auto* node = documentData_.find(object);
  return node ? node->value : nullptr;
}

void Document::addReference(void* pointer) {
  for (int32_t i = 1; i <= references_.count(); ++i)
    if (references_.at(i) == pointer)
      return;
  references_.push(pointer);
}

void Document::removeReference(void* pointer) { removeLastStackEntry(&references_, pointer); }

void Document::releaseExtraObjects() {
  for (int32_t i = 1; i <= extraObjects_.count(); ++i)
    extraObjects_.at(i)->release();
  extraObjects_.setCount(0);
}

void Document::emptyContent() {
  if (rootItem_)
    rootItem_->removeAllChildren();
  releaseExtraObjects();
  references_.setCount(0);
}

void Document::clear() {
  beginUpdate();
  emptyContent();
  endUpdate();
}

// --- Stored form -------------------------------------------------------------

bool Document::writeExtra(IKivDataModelWriter* writer) {
  SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
  if (table)
    table->reset();
  auto* root = kivQuery<DocumentItem>(rootItem_.get(), DocumentItem::kClassName);
  if (root) {
    // The hook of derived classes, before the tree is written.
    static_cast<IKivDataObject*>(root)->reserved14();
    for (int i = 0; i < root->getChildCount(); ++i) {
      IKivDocumentItem* child = root->getChild(i);
      if (IKivDataObject* object = objectOf(child))
        object->reserved14();
      if (kivQuery<IKivDocumentData>(child, "IKivDocumentData"))
        if (DataObject* data = kivQuery<DocumentItem>(child, DocumentItem::kClassName)
                                   ->dataObjectValue())
          static_cast<IKivDataObject*>(data)->reserved14();
    }
    root->write(writer);
  }
  if (!table)
    return true;
  IterStack<int32_t> numbers;
  table->getUnwritten(numbers);
  IterStack<IKivWriteable*> unwritten;
  for (int32_t i = 1; i <= numbers.count(); ++i) {
    IKivPersistentRef* object = nullptr;
    if (table->find(static_cast<uint32_t>(numbers.at(i)), &object) && object)
      if (auto* writeable = kivQuery<IKivWriteable>(object, "IKivWriteable"))
        unwritten.push(writeable);
  }
  if (unwritten.count() > 0) {
    writer->beginBlock(kExtraObjectsTag, kExtraObjectsVersion);
    writer->writeInt32(unwritten.count());
    for (int32_t i = 1; i <= unwritten.count(); ++i)
      unwritten.at(i)->write(writer);
    writer->endBlock();
  }
  return true;
}

bool Document::readExtra(IKivDataModelReader* reader, int) {
  extraRead_ = false;
  SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
  if (table)
    table->reset();
  auto* root = kivQuery<IKivWriteable>(rootItem_.get(), "IKivWriteable");
  if (!root || !root->read(reader))
    return false;
  if (reader->peekTag() != kExtraObjectsTag) {
    if (table)
      table->reset();
    extraRead_ = true;
    return true;
  }
  reader->nextBlock();
  int32_t count = 0;
  reader->readInt32(&count);
  bool ok = true;
  for (int32_t i = 0; i < count && reader->good(); ++i) {
    const KivClassId* id = reader->peekClassId();
    if (!id || *id == KivClassId()) {
      reader->nextBlock();
      reader->endBlock();
      break;
    }
    void* out = nullptr;
    IKivWriteable* object = nullptr;
    if (createObject(id, "IKivWriteable", &out) && out)
      object = static_cast<IKivWriteable*>(out);
    if (!object) {
      ok = false;
      break;
    }
    object->addRef();
    if (!object->read(reader)) {
      object->release();
      ok = false;
      break;
    }
    extraObjects_.push(object);
  }
  reader->endBlock();
  if (!ok)
    return false;
  if (table)
    table->reset();
  extraRead_ = true;
  return true;
}

bool Document::save(const KivString& path) {
  KivFileWrite writer;
  writer.setFileVersion(kFileVersion);
  if (!writer.open(path))
    failWithPath("Document::save", "Could not save file %1", path);
  // A write that failed (a full disk) shows in the writer's good(), which
  // the object's own write doesn't look at.
  bool ok = write(&writer);
  ok = writer.good() && ok;
  ok = writer.close() && ok;
  return ok;
}

bool Document::readOpened(KivFileRead& reader) {
  extraRead_ = true;
  bool ok = read(&reader);
  ok = ok && reader.good() && extraRead_;
  reader.close();
  return ok;
}

bool Document::load(const KivString& path) {
  UpdateScope update(this);
  KivFileRead reader;
  if (!reader.open(path))
    failWithPath("Document::load", "Could not open file %1", path);
  return readOpened(reader);
}

bool Document::loadKV(const KivString& path, const KivString& imagePath) {
  UpdateScope update(this);
  KivFileRead reader;
  if (!reader.open(path))
    failWithPath("Document::loadKV", "Could not open file %1", path);
  if (imagePath.isEmpty()) {
    if (!reader.skipBlock())
      throwClassError("Document::loadKV", "Invalid file header.");
  } else if (reader.nextBlock()) {
    if (reader.version() >= 1) {
      reader.skipBlock();
      if (reader.nextBlock()) {
        if (reader.version() >= 1) {
          uint8_t flag = 0;
          if (reader.readUInt8(&flag) && flag != 0)
            readPreviewImage(reader, imagePath);
        }
        reader.endBlock();
      }
    }
    reader.endBlock();
  }
  return readOpened(reader);
}

// The preview is an image in its stored form; it goes to `imagePath` with no
// format named (the extension decides) and quality 100. Whether it could be
// read or saved doesn't change the load: endBlock() of the inner block steps
// over whatever the image left unread.
void Document::readPreviewImage(KivFileRead& reader, const KivString& imagePath) {
  if (!reader.stream())
    return;
  IPtr<KivImage> image(new KivImage);
  image->read(*reader.stream());
  image->save(imagePath, nullptr, false, 100);
}
