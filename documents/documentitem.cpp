//===- documentitem.cpp - A node of a document's tree ---------------------===//
#include "documents/documentitem.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "documents/document.h"
#include "documents/documentgroup.h"
#include "documents/documentmanager.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/kivmatrix.h"
#include "model/database.h"
#include "model/ikivrelationship.h"
#include "properties/boolproperty.h"
#include "properties/kivboundsproperty.h"
#include "properties/objectproperty.h"
#include "properties/routedproperty.h"
#include "properties/transform3dproperty.h"
#include "undo/documentitemundoinfo.h"

namespace {

using BoundsProperty = RoutedPropertyTemplate<KivBounds, KivBoundsProperty, DocumentItem>;

// A file nests a child's section inside its parent's; deeper than this a
// stored tree is taken as damaged rather than read on a stack without end.
constexpr int kMaxStoredDepth = 512;
thread_local int storedDepth = 0;

struct DepthScope {
  DepthScope() { ++storedDepth; }
  ~DepthScope() { --storedDepth; }
};

IKivDataObject* dataObjectOf(IKivUnknown* item) {
  return kivQuery<IKivDataObject>(item, "IKivDataObject");
}

DocumentItem* itemOf(IKivUnknown* object) {
  return kivQuery<DocumentItem>(object, DocumentItem::kClassName);
}

} // namespace

const KivString& DocumentItem::groupRelationName() {
  static const KivString name("DocumentGroup");
  return name;
}

KivBounds DocumentItem::originBounds() {
  return KivBounds(KivVector(0, 0, 0), KivVector(0, 0, 0));
}

DocumentItem::DocumentItem() {
  addProperty(new BoolProperty(KivString("expanded"), true, false));
  addProperty(new BoundsProperty(KivString("boundingBox"), true, this,
                                 &DocumentItem::getBoundingBox));
  addProperty(new BoundsProperty(KivString("viewBoundingBox"), true, this,
                                 &DocumentItem::getViewBoundingBox));
  if (DocumentManager* manager = DocumentManager::instance())
    manager->applyDocumentItemConfig(static_cast<IKivDocumentItem*>(this));
}

void DocumentItem::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DynamicDataObject::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDocumentItem");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivDocumentItem", static_cast<IKivDocumentItem*>(this), out))
    return;
  DynamicDataObject::queryInterface(name, out);
}

const char* DocumentItem::scriptClassName() const { return "kivapi.datamodel.DocumentItem"; }

const KivClassId* DocumentItem::classId() { return &classIdOf(kClassName); }

IKivUndoInfo* DocumentItem::createUndoInfo(bool) { return new DocumentItemUndoInfo(this); }

Document* DocumentItem::documentObject() const {
  return document_ ? kivQuery<Document>(document_, Document::kClassName) : nullptr;
}

void DocumentItem::onPropertyEvent(IKivDataEventSource* source, const KivCString& name,
                                   IKivDataEventArgs* args) {
  DataObject::onPropertyEvent(source, name, args);
  if (!source)
    return;
  Document* document = documentObject();
  if (!document)
    return;
  if (IKivProperty* property = kivQuery<IKivProperty>(source, "IKivProperty"))
    document->itemPropertyChanged(this, property->name());
}

// --- Tree --------------------------------------------------------------------

DataObject* DocumentItem::dataObjectValue() const {
  IKivProperty* p = hasProperty("dataObject") ? getProperty("dataObject") : nullptr;
  auto* reference = kivQuery<ObjectProperty>(p, ObjectProperty::kClassName);
  return reference ? reference->get() : nullptr;
}

void DocumentItem::setDocument(IKivDocument* document) {
  if (document != document_) {
    if (Document* old = documentObject())
      old->removeDocumentData(this);
    document_ = document;
    if (Document* fresh = documentObject())
      fresh->addDocumentData(this);
  }
  if (!childrenRelationship_)
    return;
  for (int i = 0; i < childrenRelationship_->childCount(); ++i)
    if (DocumentItem* child = itemOf(childrenRelationship_->child(i)))
      child->setDocument(document);
}

void DocumentItem::checkNewChild(IKivDocumentItem* child, const char* label) {
  if (!child)
    throwClassError(label, "Adding an invalid item to the document.");
  IKivDocument* other = child->getDocument();
  if (other && other != document_)
    throwClassError(label, "The document that is being added is already in a document.");
  // Without these two a parent would recurse into itself in setDocument, or
  // an item would hang under two parents.
  if (child->getParent())
    throwClassError(label, "The item that is being added already has a parent.");
  IKivDocumentItem* self = static_cast<IKivDocumentItem*>(this);
  for (IKivDocumentItem* up = self; up; up = up->getParent())
    if (up == child)
      throwClassError(label, "An item cannot be added below itself.");
}

void DocumentItem::link(IKivDocumentItem* child) {
  IKivDataObject* object = dataObjectOf(child);
  if (!childrenRelationship_)
    childrenRelationship_ = Database::instance()->createRelationship(
        0, groupRelationName(), static_cast<IKivDataObject*>(this), object);
  else
    childrenRelationship_->addChild(object);
}

void DocumentItem::addChild(IKivDocumentItem* child) {
  checkNewChild(child, "DocumentItem::addChild");
  IPtr<IKivDocumentItem> hold(child);
  Document* document = documentObject();
  if (document)
    document->beforeAddItem(child);
  if (DocumentItem* item = itemOf(child))
    item->setDocument(document_);
  link(child);
  child->onAdded();
  if (document)
    document->afterAddItem(child);
}

void DocumentItem::addChildren(IKivDataObjectArray* items) {
  const char* label = "DocumentItem::addChildren";
  if (!items)
    throwClassError(label, "Adding an invalid item array to the document.");
  const int count = items->count();
  IterStack<IKivDocumentItem*> batch(count);
  for (int i = 0; i < count; ++i) {
    auto* child = kivQuery<IKivDocumentItem>(items->get(i), "IKivDocumentItem");
    checkNewChild(child, label);
    for (int32_t j = 1; j <= batch.count(); ++j)
      if (batch.at(j) == child)
        throwClassError(label, "The item that is being added already has a parent.");
    batch.push(child);
  }
  Document* document = documentObject();
  if (document)
    for (int32_t i = 1; i <= batch.count(); ++i)
      document->beforeAddItem(batch.at(i));
  for (int32_t i = 1; i <= batch.count(); ++i)
    if (DocumentItem* item = itemOf(batch.at(i)))
      item->setDocument(document_);
  for (int32_t i = 1; i <= batch.count(); ++i)
    link(batch.at(i));
  for (int32_t i = 1; i <= batch.count(); ++i)
    batch.at(i)->onAdded();
  if (document)
    for (int32_t i = 1; i <= batch.count(); ++i)
      document->afterAddItem(batch.at(i));
}

void DocumentItem::removeChild(IKivDocumentItem* child) {
  // Callers pass children; a null one has nothing to take away.
  if (!child)
    return;
  IPtr<IKivDocumentItem> hold(child);
  Document* document = documentObject();
  if (document)
    document->beforeRemoveItem(child);
  if (DocumentItem* item = itemOf(child))
    item->setDocument(nullptr);
  if (childrenRelationship_)
    childrenRelationship_->removeChild(dataObjectOf(child));
  if (document)
    document->afterRemoveItem(child);
  if (childrenRelationship_ && childrenRelationship_->childCount() == 0) {
    IPtr<IKivRelationship> relationship(childrenRelationship_);
    childrenRelationship_ = nullptr;
    relationship->setParent(nullptr);
    Database::instance()->unregisterRelationship(relationship.get());
  }
}

void DocumentItem::removeAllChildren() {
  if (!childrenRelationship_)
    return;
  IPtr<IKivRelationship> relationship(childrenRelationship_);
  while (relationship->childCount() > 0) {
    auto* child = kivQuery<IKivDocumentItem>(relationship->child(0), "IKivDocumentItem");
    if (!child) {
      // Not an item: only the link can be taken away.
      relationship->removeChild(relationship->child(0));
      continue;
    }
    removeChild(child);
  }
}

int DocumentItem::getChildCount() {
  return childrenRelationship_ ? childrenRelationship_->childCount() : 0;
}

IKivDocumentItem* DocumentItem::getChild(int index) {
  if (!childrenRelationship_)
    throwClassError("DocumentItem::getChild", "This DocumentItem has no children.");
  return kivQuery<IKivDocumentItem>(childrenRelationship_->child(index), "IKivDocumentItem");
}

IKivDocumentItem* DocumentItem::getParent() {
  Database* database = Database::instance();
  if (!database)
    return nullptr;
  const IterStack<IKivRelationship*> list =
      database->relationshipsOfChild(static_cast<IKivDataObject*>(this));
  for (int32_t i = 1; i <= list.count(); ++i) {
    if (list.at(i)->name() == groupRelationName()) {
      IKivDataObject* parent = list.at(i)->parent();
      return parent ? kivQuery<IKivDocumentItem>(parent, "IKivDocumentItem") : nullptr;
    }
  }
  return nullptr;
}

DataObjectArray& DocumentItem::getChildren() {
  children_.clear();
  for (int i = 0; i < getChildCount(); ++i)
    children_.append(childrenRelationship_->child(i));
  return children_;
}

// --- Bounds ------------------------------------------------------------------

KivBounds DocumentItem::getBoundingBox() const {
  DataObject* object = dataObjectValue();
  if (!object || boundsDepth_ > 0 || !object->hasProperty("boundingBox"))
    return originBounds();
  ++boundsDepth_;
  KivBounds bounds = originBounds();
  if (auto* p = kivQuery<IKivBoundsProperty>(object->getProperty("boundingBox"),
                                            "IKivBoundsProperty"))
    bounds = p->get();
  --boundsDepth_;
  return bounds;
}

KivBounds DocumentItem::getViewBoundingBox() const {
  const KivBounds b = getBoundingBox();
  // Only a matrix property counts as a view transform; another type would
  // fail on every read of the bounds.
  auto* transform = hasProperty("viewTransform")
                        ? kivQuery<IKivMatrixProperty>(getProperty("viewTransform"),
                                                       "IKivMatrixProperty")
                        : nullptr;
  if (!transform)
    return b;
  const KivMatrix m = transform->get();
  KivBounds result;
  for (int corner = 0; corner < 8; ++corner) {
    const double x = (corner & 1) ? b.max.x : b.min.x;
    const double y = (corner & 2) ? b.max.y : b.min.y;
    const double z = (corner & 4) ? b.max.z : b.min.z;
    double tx = m.m[0] * x + m.m[1] * y + m.m[2] * z + m.m[3];
    double ty = m.m[4] * x + m.m[5] * y + m.m[6] * z + m.m[7];
    double tz = m.m[8] * x + m.m[9] * y + m.m[10] * z + m.m[11];
    const double w = m.m[12] * x + m.m[13] * y + m.m[14] * z + m.m[15];
    if (w != 1.0) {
      const double scale = 1.0 / w;
      tx *= scale;
      ty *= scale;
      tz *= scale;
    }
    const KivVector p(tx, ty, tz);
    if (corner == 0)
      result = KivBounds(p, p);
    else
      result.extend(p);
  }
  return result;
}

// --- Stored form -------------------------------------------------------------

bool DocumentItem::writeExtra(IKivDataModelWriter* writer) {
  const int count = getChildCount();
  writer->writeInt32(count);
  for (int i = 0; i < count; ++i)
    if (auto* child = kivQuery<IKivWriteable>(childrenRelationship_->child(i), "IKivWriteable"))
      child->write(writer);
  return true;
}

bool DocumentItem::readExtra(IKivDataModelReader* reader, int version) {
  if (version < 2)
    return true;
  return readChildren(reader, false);
}

bool DocumentItem::readChildren(IKivDataModelReader* reader, bool graphs) {
  if (storedDepth >= kMaxStoredDepth)
    return false;
  DepthScope depth;
  int32_t count = 0;
  if (!reader->readInt32(&count))
    return false;
  for (int32_t i = 0; i < count && reader->good(); ++i) {
    const KivClassId* id = reader->peekClassId();
    if (!id || *id == KivClassId())
      return false;
    void* out = nullptr;
    IPtr<DataObject> object;
    if (createObject(id, "DataObject", &out) && out)
      object = static_cast<DataObject*>(out);
    if (!object) {
      if (graphs)
        return false;
      // A child of a class this build can't create is stepped over: left
      // standing, it would be met again by every later turn of a count that
      // the file may have made as large as it likes.
      if (reader->nextBlock())
        reader->endBlock();
      continue;
    }
    if (graphs) {
      if (!object->readGraph(reader))
        return false;
    } else {
      object->read(reader);
    }
    auto* child = kivQuery<IKivDocumentItem>(object.get(), "IKivDocumentItem");
    // A stored object that is no item has no place in the tree; a file
    // doesn't get to raise the failure of addChild.
    if (!child)
      continue;
    addChild(child);
  }
  return reader->good();
}
