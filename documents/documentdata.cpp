//===- documentdata.cpp - A leaf of the tree that stands for a DataObject -===//
#include "documents/documentdata.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "core/platformexception.h"
#include "documents/documentmanager.h"
#include "properties/objectproperty.h"
#include "properties/routedproperty.h"
#include "properties/stringproperty.h"

namespace {
using NameProperty = RoutedPropertyTemplate<KivString, StringProperty, DocumentData>;
} // namespace

DocumentData::DocumentData() { addDataProperties(); }

DocumentData::DocumentData(IKivDataObject* dataObject) {
  const char* label = "DocumentData::DocumentData";
  if (!dataObject)
    throwClassError(label, "dataObject is NULL. Cannot create a DocumentItem for a NULL DataObject.");
  if (kivQuery<IKivDocumentItem>(dataObject, "IKivDocumentItem"))
    throwClassError(label, "Cannot create a DocumentItem for a DataObject of type DocumentItem.");
  addDataProperties();
  auto* object = kivQuery<DataObject>(dataObject, DataObject::kClassName);
  if (auto* reference = kivQuery<ObjectProperty>(getProperty("dataObject"),
                                                 ObjectProperty::kClassName))
    reference->set(object);
  KivString name;
  if (object && object->hasProperty("name"))
    if (auto* text = kivQuery<StringProperty>(object->getProperty("name"),
                                              StringProperty::kClassName))
      name = text->get();
  set("name", name);
  if (DocumentManager* manager = DocumentManager::instance())
    manager->applyDocumentDataConfig(static_cast<IKivDocumentItem*>(this));
}

void DocumentData::addDataProperties() {
  addProperty(new ObjectProperty(KivString("dataObject"), nullptr, false));
  replaceProperty("name", new NameProperty(KivString("name"), false, this,
                                           &DocumentData::dataName, &DocumentData::setDataName));
}

void DocumentData::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DocumentItem::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDocumentData");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivDocumentData", static_cast<IKivDocumentData*>(this), out))
    return;
  DocumentItem::queryInterface(name, out);
}

const char* DocumentData::scriptClassName() const { return "kivapi.datamodel.DocumentData"; }

const KivClassId* DocumentData::classId() { return &classIdOf(kClassName); }

KivString DocumentData::dataName() const {
  DataObject* object = dataObjectValue();
  if (!object || readingName_ || !object->hasProperty("name"))
    return KivString();
  readingName_ = true;
  KivString name;
  if (auto* text = kivQuery<StringProperty>(object->getProperty("name"),
                                            StringProperty::kClassName))
    name = text->get();
  readingName_ = false;
  return name;
}

void DocumentData::setDataName(const KivString& name) {
  DataObject* object = dataObjectValue();
  if (!object || readingName_)
    return;
  readingName_ = true;
  struct Reset {
    bool& flag;
    ~Reset() { flag = false; }
  } reset{readingName_};
  object->set("name", name);
}
