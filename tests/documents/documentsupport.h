//===- documentsupport.h - Helpers shared by the document tests --*- C++ -*-===//
//
// DocLog is a document listener that writes one line per call ("beforeAdd
// <name>", "itemProperty <name> <property>", ...), naming items by their
// "name" property. make<T>() creates a class through the class table by its
// interface name and holds it. dataOver() builds a DocumentData over a new
// DynamicDataObject of the given name.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "documents/document.h"
#include "documents/documentdata.h"
#include "documents/documentgroup.h"
#include "documents/documentlistener.h"
#include "documents/documentmanager.h"
#include "kivbasictypes/tempfile.h"
#include "undo/undosupport.h"

#include <functional>
#include <string>
#include <vector>

inline std::string itemName(IKivUnknown* item) {
  auto* map = kivQuery<DataObject>(item, "DataObject");
  if (!map || !map->hasProperty("name"))
    return "?";
  return text(map->getString("name"));
}

class DocLog : public DocumentListener {
public:
  void beginUpdate(IKivDocument*) override { add("beginUpdate"); }
  void endUpdate(IKivDocument*) override { add("endUpdate"); }
  void documentPropertyChanged(IKivDocument*, const KivString& name) override {
    add("documentProperty " + text(name));
  }
  void beforeRemoveItem(DocumentItem* item) override { add("beforeRemove " + itemName(item)); }
  void afterRemoveItem(DocumentItem* item) override { add("afterRemove " + itemName(item)); }
  void beforeAddItem(DocumentItem* item) override { add("beforeAdd " + itemName(item)); }
  void afterAddItem(DocumentItem* item) override { add("afterAdd " + itemName(item)); }
  void itemPropertyChanged(DocumentItem* item, const KivString& name) override {
    add("itemProperty " + itemName(item) + " " + text(name));
  }
  void documentClosing(IKivDocument*) override {
    add("documentClosing");
    if (closingHook)
      closingHook();
  }

  void add(const std::string& line) { lines.push_back(line); }

  std::vector<std::string> lines;
  std::function<void()> closingHook;
};

template <class T>
IPtr<T> make(const char* interfaceName) {
  inProcessHost();
  void* out = nullptr;
  getObject(interfaceName, &out);
  return IPtr<T>(static_cast<T*>(out));
}

inline IPtr<Document> newDocument(const char* name = "") {
  IPtr<IKivDocument> document = make<IKivDocument>("IKivDocument");
  auto* d = kivQuery<Document>(document.get(), "Document");
  d->set("name", KivString(name));
  return IPtr<Document>(d);
}

inline IPtr<DocumentGroup> newGroup(const char* name) {
  IPtr<DocumentGroup> group(kivQuery<DocumentGroup>(
      make<IKivDocumentGroup>("IKivDocumentGroup").get(), "DocumentGroup"));
  group->set("name", KivString(name));
  return group;
}

inline IPtr<DocumentData> dataOver(const char* name, IPtr<DynamicDataObject>* objectOut = nullptr) {
  inProcessHost();
  IPtr<DynamicDataObject> object(new DynamicDataObject);
  object->set("name", KivString(name));
  IPtr<DocumentData> data(new DocumentData(static_cast<IKivDataObject*>(object.get())));
  if (objectOut)
    *objectOut = object;
  return data;
}

inline IKivDocumentItem* asItem(IKivUnknown* object) {
  return kivQuery<IKivDocumentItem>(object, "IKivDocumentItem");
}

// "name(child child ...)" for a subtree, children in order.
inline std::string shape(IKivDocumentItem* item) {
  std::string out = itemName(item);
  if (item->getChildCount() == 0)
    return out;
  out += "(";
  for (int i = 0; i < item->getChildCount(); ++i)
    out += (i ? " " : "") + shape(item->getChild(i));
  return out + ")";
}
