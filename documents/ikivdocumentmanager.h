//===- ikivdocumentmanager.h - The open documents and their configuration -*- C++ -*-===//
//
// IKivDocumentManager knows the open documents and the active one, and holds
// what a configuration file says about the properties of new documents and
// items. The slot order of both interfaces is a contract.
//
// Invariants a user must know:
//  - Listeners are raw pointers without a reference.
//  - Names of open documents are unique: createDocument of a taken name
//    gives null and tells nobody.
//  - Configuration records work only for objects constructed later.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class DataObjectArray;
class Document;
class IKivDocument;
class IKivUndoManager;
class KivString;

class IKivDocumentManagerListener : public virtual IKivUnknown {
public:
  virtual void beforeAddDocument(IKivDocument* document) = 0;                             // 1
  virtual void afterAddDocument(IKivDocument* document) = 0;                              // 2
  virtual void beforeRemoveDocument(IKivDocument* document) = 0;                          // 3
  virtual void afterRemoveDocument(IKivDocument* document) = 0;                           // 4
  virtual void beforeActiveDocumentChange(Document* oldDocument, Document* newDocument) = 0; // 5
  virtual void afterActiveDocumentChange(Document* oldDocument, Document* newDocument) = 0;  // 6
};

class IKivDocumentManager : public virtual IKivUnknown {
public:
  virtual void registerListener(IKivDocumentManagerListener* listener) = 0;    // 1
  // An unknown listener is ignored.
  virtual void unregisterListener(IKivDocumentManagerListener* listener) = 0;  // 2
  virtual IKivUndoManager* getUndoManager() = 0;                               // 3
  virtual IKivDocument* createDocument(const KivString& name) = 0;             // 4
  // Fails with "Could not find document in documentManager." for a document
  // that isn't open.
  virtual void closeDocument(IKivDocument* document) = 0;                      // 5
  virtual IKivDocument* getActiveDocument() = 0;                               // 6
  virtual void setActiveDocument(IKivDocument* document) = 0;                  // 7
  // Fails with "Could not open config file '%1'. Error: %2" when the file
  // can't be parsed.
  virtual void readConfigFile(const KivString& path) = 0;                      // 8
  virtual DataObjectArray* getDocuments() = 0;                                 // 9
  virtual void closeAll() = 0;                                                 // 10
  virtual void applyDocumentItemConfig(IKivUnknown* object) = 0;               // 11
  virtual void applyDocumentDataConfig(IKivUnknown* item) = 0;                 // 12
  virtual void applyDocumentConfig(IKivUnknown* object) = 0;                   // 13
  virtual bool hasDocument(const KivString& name) = 0;                         // 14
  virtual IKivDocument* getDocument(const KivString& name) = 0;                // 15
};
