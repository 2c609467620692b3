//===- hostdomxml.h - The host's XML reader over libxml2 ---------*- C++ -*-===//
//
// HostDOMXml is "IKivDOMXml": parseFile() reads a whole file into a tree and
// keeps it until the next parse. The top-level elements are the children of
// the document's root element, so a configuration file looks like
//
//   <Configuration>
//     <DocumentItem> <Property type="bool" name="visible" default="true"/> </DocumentItem>
//   </Configuration>
//
// A failed parse leaves no tree and sets lastError() to "file:line: message"
// of libxml2's first error (or "cannot read file" text). Texts reach the
// component as UTF-8 widened to 16-bit units. One thread at a time.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "documents/ikivdomxml.h"

#include <string>

class HostDOMXml : public IKivDOMXml {
public:
  HostDOMXml() = default;
  HostDOMXml(const HostDOMXml&) = delete;
  HostDOMXml& operator=(const HostDOMXml&) = delete;
  ~HostDOMXml() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostDOMXml"; }

  bool parseFile(const KivString& path) override;
  IKivDOMXmlIterator* topElements() override;
  KivString lastError() const override;

private:
  void freeDocument();

  void* document_ = nullptr;  // xmlDoc*
  std::string error_;
};
