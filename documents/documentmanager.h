//===- documentmanager.h - The open documents and their configuration -*- C++ -*-===//
//
// DocumentManager is the one place that knows which documents are open and
// which is active. It holds one reference on each open document (in its
// DataObjectArray), none on the active one, and owns the configuration
// records that the constructors of Document, DocumentItem and DocumentData
// apply.
//
// Invariants a user must know:
//  - A singleton of the class table. instance() is the process-wide cached
//    pointer the constructors use; its first use looks the manager up under
//    a lock, later uses read the pointer only. It is null while no host has
//    registered the class.
//  - Listeners are raw pointers, told in order of registration; closeAll
//    tells no active-document change.
//  - readConfigFile appends to what earlier files gave; a second
//    "DocumentData" element of the same "datatype" replaces the first one's
//    records (the old list is freed).
//  - One thread: documents are opened and closed on the host's main thread.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "basic_types/map.h"
#include "core/kivptr.h"
#include "documents/ikivdocumentmanager.h"
#include "kivbasictypes/kivstring.h"

class DataObject;
class DocumentItemConfig;
class IKivDOMXmlElement;

class DocumentManager : public IKivDocumentManager {
public:
  static constexpr const char* kClassName = "DocumentManager";

  DocumentManager();
  DocumentManager(const DocumentManager&) = delete;
  DocumentManager& operator=(const DocumentManager&) = delete;
  ~DocumentManager() override;

  static DocumentManager* instance();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void registerListener(IKivDocumentManagerListener* listener) override;
  void unregisterListener(IKivDocumentManagerListener* listener) override;
  IKivUndoManager* getUndoManager() override { return undoManager_.get(); }
  IKivDocument* createDocument(const KivString& name) override;
  void closeDocument(IKivDocument* document) override;
  IKivDocument* getActiveDocument() override { return activeDocument_; }
  void setActiveDocument(IKivDocument* document) override;
  void readConfigFile(const KivString& path) override;
  DataObjectArray* getDocuments() override { return documents_.get(); }
  void closeAll() override;
  void applyDocumentItemConfig(IKivUnknown* object) override;
  void applyDocumentDataConfig(IKivUnknown* item) override;
  void applyDocumentConfig(IKivUnknown* object) override;
  bool hasDocument(const KivString& name) override;
  IKivDocument* getDocument(const KivString& name) override;

  // Adds an existing document as createDocument would, without creating it.
  void addDocument(IKivDocument* document);
  // Forgets every configuration record, as before the first readConfigFile;
  // for a host that reloads its configuration.
  void clearConfiguration();

private:
  static void appendRecords(const IKivDOMXmlElement& element, DocumentItemConfig* config);

  IPtr<IKivUndoManager> undoManager_;
  IPtr<DataObjectArray> documents_;
  IKivDocument* activeDocument_ = nullptr;
  IterStack<IKivDocumentManagerListener*> listeners_{21};
  DocumentItemConfig* documentConfig_;
  DocumentItemConfig* itemConfig_;
  Map<KivString, DocumentItemConfig*> dataConfigs_{17};
};
