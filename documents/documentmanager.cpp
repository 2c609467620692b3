//===- documentmanager.cpp - The open documents and their configuration ---===//
#include "documents/documentmanager.h"

#include "core/classwalk.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "documents/document.h"
#include "documents/documentitemconfig.h"
#include "documents/documentmanagerlistener.h"
#include "documents/ikivdomxml.h"
#include "kivbasictypes/messageformat.h"
#include "model/dynamicdataobject.h"
#include "model/stackedit.h"
#include "properties/dataobjectarray.h"
#include "properties/objectproperty.h"
#include "undo/ikivundomanager.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace {

std::atomic<DocumentManager*> cachedManager{nullptr};

// The object as the class the records are applied to.
DataObject* dynamicObject(IKivUnknown* object) {
  auto* dynamic = kivQuery<DynamicDataObject>(object, DynamicDataObject::kClassName);
  return dynamic ? static_cast<DataObject*>(dynamic) : nullptr;
}
std::mutex cacheLock;

Document* documentOf(IKivUnknown* document) {
  return document ? kivQuery<Document>(document, Document::kClassName) : nullptr;
}

KivString documentName(IKivDocument* document) {
  KivString name;
  if (Document* d = documentOf(document))
    d->name(name);
  return name;
}

} // namespace

DocumentManager* DocumentManager::instance() {
  DocumentManager* manager = cachedManager.load(std::memory_order_acquire);
  if (manager)
    return manager;
  std::lock_guard<std::mutex> lock(cacheLock);
  manager = cachedManager.load(std::memory_order_relaxed);
  if (!manager) {
    void* out = nullptr;
    if (getObject("IKivDocumentManager", &out) && out)
      manager = kivQuery<DocumentManager>(static_cast<IKivDocumentManager*>(out), kClassName);
    cachedManager.store(manager, std::memory_order_release);
  }
  return manager;
}

DocumentManager::DocumentManager()
    : documents_(new DataObjectArray), documentConfig_(new DocumentItemConfig),
      itemConfig_(new DocumentItemConfig) {
  void* out = nullptr;
  if (getObject("IKivUndoManager", &out) && out)
    undoManager_ = static_cast<IKivUndoManager*>(out);
}

DocumentManager::~DocumentManager() {
  DocumentManager* self = this;
  cachedManager.compare_exchange_strong(self, nullptr);
  clearConfiguration();
  delete documentConfig_;
  delete itemConfig_;
}

void DocumentManager::clearConfiguration() {
  delete documentConfig_;
  documentConfig_ = new DocumentItemConfig;
  delete itemConfig_;
  itemConfig_ = new DocumentItemConfig;
  Map<KivString, DocumentItemConfig*>::Iterator it(dataConfigs_);
  for (bool more = it.first(); more; more = it.next())
    delete it.value();
  dataConfigs_.clear();
}

void DocumentManager::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDocumentManager");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivDocumentManager", static_cast<IKivDocumentManager*>(this), out);
}

void DocumentManager::registerListener(IKivDocumentManagerListener* listener) {
  for (int32_t i = listeners_.count(); i >= 1; --i)
    if (listeners_.at(i) == listener)
      throwClassError("DocumentManager::registerListener", "Listener has already been registered.");
  listeners_.push(listener);
}

void DocumentManager::unregisterListener(IKivDocumentManagerListener* listener) {
  removeLastStackEntry(&listeners_, listener);
}

bool DocumentManager::hasDocument(const KivString& name) { return getDocument(name) != nullptr; }

IKivDocument* DocumentManager::getDocument(const KivString& name) {
  for (int i = 0; i < documents_->count(); ++i) {
    auto* document = kivQuery<IKivDocument>(documents_->get(i), "IKivDocument");
    if (document && documentName(document) == name)
      return document;
  }
  return nullptr;
}

IKivDocument* DocumentManager::createDocument(const KivString& name) {
  if (hasDocument(name))
    return nullptr;
  void* out = nullptr;
  if (!getObject("IKivDocument", &out) || !out)
    return nullptr;
  IPtr<IKivDocument> document(static_cast<IKivDocument*>(out));
  if (Document* d = documentOf(document.get()))
    d->set("name", name);
  addDocument(document.get());
  return document.get();
}

void DocumentManager::addDocument(IKivDocument* document) {
  Document* d = documentOf(document);
  if (!d)
    return;
  IPtr<IKivDocument> hold(document);
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->beforeAddDocument(document);
  documents_->append(d);
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->afterAddDocument(document);
}

void DocumentManager::closeDocument(IKivDocument* document) {
  Document* d = documentOf(document);
  const int index = d ? documents_->indexOf(d) : -1;
  if (index < 0)
    throwClassError("DocumentManager", "Could not find document in documentManager.");
  if (activeDocument_ == document)
    setActiveDocument(nullptr);
  IPtr<IKivDocument> hold(document);
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->beforeRemoveDocument(document);
  // A listener may have changed the array: remove what stands there now.
  const int now = documents_->indexOf(d);
  if (now >= 0)
    documents_->remove(now);
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->afterRemoveDocument(document);
}

void DocumentManager::closeAll() {
  activeDocument_ = nullptr;
  while (documents_->count() > 0)
    closeDocument(kivQuery<IKivDocument>(documents_->get(0), "IKivDocument"));
}

void DocumentManager::setActiveDocument(IKivDocument* document) {
  if (document == activeDocument_)
    return;
  Document* oldDocument = documentOf(activeDocument_);
  Document* newDocument = documentOf(document);
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->beforeActiveDocumentChange(oldDocument, newDocument);
  activeDocument_ = document;
  for (int32_t i = 1; i <= listeners_.count(); ++i)
    listeners_.at(i)->afterActiveDocumentChange(oldDocument, newDocument);
}

// --- Configuration -----------------------------------------------------------

void DocumentManager::appendRecords(const IKivDOMXmlElement& element, DocumentItemConfig* config) {
  std::unique_ptr<IKivDOMXmlIterator> children(element.children());
  if (!children)
    return;
  for (children->first(); !children->isDone(); children->next())
    if (IKivDOMXmlElement* child = children->current())
      config->append(PropertyConfig::parse(*child));
}

void DocumentManager::readConfigFile(const KivString& path) {
  SPtr<IKivDOMXml> xml("IKivDOMXml");
  if (!xml || !xml->parseFile(path)) {
    // Without the service there is no reader's text to give.
    const KivString error = xml ? xml->lastError() : KivString("no IKivDOMXml service");
    KivString text;
    formatMessage(text, "Could not open config file '%1'. Error: %2", path, error);
    throwClassErrorText("Document::readConfigFile", text);
  }
  std::unique_ptr<IKivDOMXmlIterator> top(xml->topElements());
  if (!top)
    return;
  for (top->first(); !top->isDone(); top->next()) {
    IKivDOMXmlElement* element = top->current();
    if (!element)
      continue;
    const KivString name = element->name();
    if (name == "Document") {
      appendRecords(*element, documentConfig_);
    } else if (name == "DocumentItem") {
      appendRecords(*element, itemConfig_);
    } else if (name == "DocumentData") {
      auto* config = new DocumentItemConfig;
      appendRecords(*element, config);
      DocumentItemConfig*& slot = dataConfigs_[element->attribute(KivString("datatype"))];
      delete slot;
      slot = config;
    }
  }
}

void DocumentManager::applyDocumentItemConfig(IKivUnknown* object) {
  if (itemConfig_->count() == 0 || !object)
    return;
  itemConfig_->applyTo(dynamicObject(object));
}

void DocumentManager::applyDocumentConfig(IKivUnknown* object) {
  if (documentConfig_->count() == 0 || !object)
    return;
  documentConfig_->applyTo(dynamicObject(object));
}

void DocumentManager::applyDocumentDataConfig(IKivUnknown* item) {
  auto* map = item ? kivQuery<DataObject>(item, DataObject::kClassName) : nullptr;
  if (!map)
    return;
  DataObject* object = nullptr;
  if (map->hasProperty("dataObject"))
    if (auto* reference = kivQuery<ObjectProperty>(map->getProperty("dataObject"),
                                                   ObjectProperty::kClassName))
      object = reference->get();
  KivString key;
  if (object) {
    const KivString script(object->scriptClassName());
    int32_t dot = -1;
    for (int32_t i = script.length() - 1; i >= 0 && dot < 0; --i)
      if (script.at(i) == u'.')
        dot = i;
    key = script.from(dot + 1);
  }
  auto* node = dataConfigs_.find(key);
  if (!node || !node->value || node->value->count() == 0)
    return;
  node->value->applyTo(dynamicObject(item));
}

// --- DocumentManagerListener -------------------------------------------------

void DocumentManagerListener::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDocumentManagerListener");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivDocumentManagerListener",
            static_cast<IKivDocumentManagerListener*>(this), out);
}
