//===- documentmanagerlistener.h - A manager listener with empty bodies -*- C++ -*-===//
//
// DocumentManagerListener implements every call of
// IKivDocumentManagerListener as an empty body, for clients and scripts to
// derive from.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "documents/ikivdocumentmanager.h"

class DocumentManagerListener : public IKivDocumentManagerListener {
public:
  static constexpr const char* kClassName = "DocumentManagerListener";

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void beforeAddDocument(IKivDocument*) override {}
  void afterAddDocument(IKivDocument*) override {}
  void beforeRemoveDocument(IKivDocument*) override {}
  void afterRemoveDocument(IKivDocument*) override {}
  void beforeActiveDocumentChange(Document*, Document*) override {}
  void afterActiveDocumentChange(Document*, Document*) override {}
};
