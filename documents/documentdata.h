//===- documentdata.h - A leaf of the tree that stands for a DataObject -*- C++ -*-===//
//
// DocumentData gives a DataObject its place in a document. Its "dataObject"
// holds the object (stored, by reference number); its "name" is routed to
// the object's "name" and isn't stored with the item.
//
// Invariants a user must know:
//  - The constructor with an object fails for null ("dataObject is NULL.
//    Cannot create a DocumentItem for a NULL DataObject.") and for an item
//    ("Cannot create a DocumentItem for a DataObject of type
//    DocumentItem."); it applies the configuration records for the object's
//    class. The plain constructor (class table, load) applies only those of
//    every item.
//  - "dataObject" is expected to be set before the item enters a document:
//    the document's map keeps the key it was given then.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "documents/documentitem.h"

class DocumentData : public DocumentItem, public IKivDocumentData {
public:
  static constexpr const char* kClassName = "DocumentData";

  DocumentData();
  explicit DocumentData(IKivDataObject* dataObject);

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* scriptClassName() const override;
  const KivClassId* classId() override;

private:
  void addDataProperties();
  // The routed "name": the object's, or empty without one.
  KivString dataName() const;
  void setDataName(const KivString& name);

  // Set while the name is read: an object that leads back to this item
  // reads an empty name instead of recursing.
  mutable bool readingName_ = false;
};
