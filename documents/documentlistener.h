//===- documentlistener.h - A listener with empty bodies ---------*- C++ -*-===//
//
// DocumentListener implements every call of IKivDocumentListener as an
// empty body, so that a client or a script derives from it and overrides
// what it needs.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "documents/ikivdocument.h"

class DocumentListener : public IKivDocumentListener {
public:
  static constexpr const char* kClassName = "DocumentListener";

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void beginUpdate(IKivDocument*) override {}
  void endUpdate(IKivDocument*) override {}
  void documentPropertyChanged(IKivDocument*, const KivString&) override {}
  void beforeRemoveItem(DocumentItem*) override {}
  void afterRemoveItem(DocumentItem*) override {}
  void beforeAddItem(DocumentItem*) override {}
  void afterAddItem(DocumentItem*) override {}
  void itemPropertyChanged(DocumentItem*, const KivString&) override {}
  void documentClosing(IKivDocument*) override {}
};
