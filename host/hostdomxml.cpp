//===- hostdomxml.cpp - The host's XML reader over libxml2 ----------------===//
#include "host/hostdomxml.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <string>

namespace {

KivString textOf(const xmlChar* text) {
  return KivString::fromUtf8(text ? reinterpret_cast<const char*>(text) : "");
}

// Iterates the element nodes among the children of `parent`.
class ElementIterator;

class Element : public IKivDOMXmlElement {
public:
  explicit Element(xmlNode* node) : node_(node) {}
  KivString name() const override { return textOf(node_->name); }
  KivString attribute(const KivString& name) const override {
    const char* key = name.utf8Text();
    xmlChar* value = xmlGetProp(node_, reinterpret_cast<const xmlChar*>(key ? key : ""));
    KivString result = textOf(value);
    xmlFree(value);
    return result;
  }
  IKivDOMXmlIterator* children() const override;

private:
  xmlNode* node_;
};

class ElementIterator : public IKivDOMXmlIterator {
public:
  explicit ElementIterator(xmlNode* parent) : parent_(parent) { first(); }
  void first() override { settle(parent_ ? parent_->children : nullptr); }
  void next() override { settle(node_ ? node_->next : nullptr); }
  bool isDone() const override { return node_ == nullptr; }
  IKivDOMXmlElement* current() const override { return node_ ? &element_ : nullptr; }

private:
  void settle(xmlNode* from) {
    while (from && from->type != XML_ELEMENT_NODE)
      from = from->next;
    node_ = from;
    element_ = Element(from);
  }

  xmlNode* parent_;
  xmlNode* node_ = nullptr;
  mutable Element element_{nullptr};
};

IKivDOMXmlIterator* Element::children() const { return new ElementIterator(node_); }

// libxml2 prints some failures (a file it can't open) through its global
// handlers whatever the parse options say; the caller gets the text instead.
void ignoreStructured(void*, const xmlError*) {}
void ignoreGeneric(void*, const char*, ...) {}

struct QuietHandlers {
  QuietHandlers() {
    xmlSetStructuredErrorFunc(nullptr, reinterpret_cast<xmlStructuredErrorFunc>(ignoreStructured));
    xmlSetGenericErrorFunc(nullptr, ignoreGeneric);
  }
  ~QuietHandlers() {
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    xmlSetGenericErrorFunc(nullptr, nullptr);
  }
};

} // namespace

HostDOMXml::~HostDOMXml() { freeDocument(); }

void HostDOMXml::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (!kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    kivAnswer(name, "IKivDOMXml", static_cast<IKivDOMXml*>(this), out);
}

void HostDOMXml::freeDocument() {
  if (document_)
    xmlFreeDoc(static_cast<xmlDoc*>(document_));
  document_ = nullptr;
}

bool HostDOMXml::parseFile(const KivString& path) {
  freeDocument();
  error_.clear();
  const char* file = path.utf8Text();
  const std::string name = file ? file : "";
  QuietHandlers quiet;
  xmlParserCtxtPtr context = xmlNewParserCtxt();
  if (!context) {
    error_ = name + ": cannot create an XML parser";
    return false;
  }
  // No network, no entity expansion beyond the document, no messages on
  // stderr: the error text goes to the caller.
  xmlDoc* doc = xmlCtxtReadFile(context, name.c_str(), nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  if (!doc || !xmlDocGetRootElement(doc)) {
    const xmlError* e = xmlCtxtGetLastError(context);
    if (e && e->message) {
      std::string message = e->message;
      while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
        message.pop_back();
      error_ = (e->file ? std::string(e->file) : name) + ":" + std::to_string(e->line) + ": " +
               message;
    } else {
      error_ = name + ": no XML document could be read";
    }
    if (doc)
      xmlFreeDoc(doc);
    xmlFreeParserCtxt(context);
    return false;
  }
  xmlFreeParserCtxt(context);
  document_ = doc;
  return true;
}

IKivDOMXmlIterator* HostDOMXml::topElements() {
  xmlNode* root = document_ ? xmlDocGetRootElement(static_cast<xmlDoc*>(document_)) : nullptr;
  return new ElementIterator(root);
}

KivString HostDOMXml::lastError() const { return KivString::fromUtf8(error_.c_str()); }
