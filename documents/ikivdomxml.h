//===- ikivdomxml.h - The host's XML reader, as this component uses it -*- C++ -*-===//
//
// The host supplies "IKivDOMXml"; this component calls it by the places of
// its operations, so every interface here keeps its reserved places. The
// places this component uses: the reader's third (parse a file), ninth (an
// iterator over the top-level elements) and eleventh (the last error text);
// an element's third (its name), tenth (an attribute's text, empty if the
// attribute is missing) and 21st (an iterator over its child elements); an
// iterator's first, second, third and fifth.
//
// Invariants a user must know:
//  - Iterators are new objects owned by the caller, who deletes them.
//  - Elements belong to the parsed document: valid until the next parse or
//    the service's end. Elements are never null while an iterator isn't done.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"
#include "kivbasictypes/kivstring.h"

class IKivDOMXmlElement;

class IKivDOMXmlIterator {
public:
  virtual void first() = 0;                               // 1
  virtual void next() = 0;                                // 2
  virtual bool isDone() const = 0;                        // 3
  virtual void reserved4() {}                             // 4
  virtual IKivDOMXmlElement* current() const = 0;         // 5
  virtual ~IKivDOMXmlIterator() = default;
};

class IKivDOMXmlElement {
public:
  virtual void reserved1() {}                                        // 1
  virtual void reserved2() {}                                        // 2
  virtual KivString name() const = 0;                                // 3
  virtual void reserved4() {}                                        // 4
  virtual void reserved5() {}                                        // 5
  virtual void reserved6() {}                                        // 6
  virtual void reserved7() {}                                        // 7
  virtual void reserved8() {}                                        // 8
  virtual void reserved9() {}                                        // 9
  virtual KivString attribute(const KivString& name) const = 0;      // 10
  virtual void reserved11() {}                                       // 11
  virtual void reserved12() {}                                       // 12
  virtual void reserved13() {}                                       // 13
  virtual void reserved14() {}                                       // 14
  virtual void reserved15() {}                                       // 15
  virtual void reserved16() {}                                       // 16
  virtual void reserved17() {}                                       // 17
  virtual void reserved18() {}                                       // 18
  virtual void reserved19() {}                                       // 19
  virtual void reserved20() {}                                       // 20
  virtual IKivDOMXmlIterator* children() const = 0;                  // 21
  virtual ~IKivDOMXmlElement() = default;
};

class IKivDOMXml : public virtual IKivUnknown {
public:
  virtual void reserved1() {}                                        // 1
  virtual void reserved2() {}                                        // 2
  // False when the file can't be read or isn't well-formed XML.
  virtual bool parseFile(const KivString& path) = 0;                 // 3
  virtual void reserved4() {}                                        // 4
  virtual void reserved5() {}                                        // 5
  virtual void reserved6() {}                                        // 6
  virtual void reserved7() {}                                        // 7
  virtual void reserved8() {}                                        // 8
  virtual IKivDOMXmlIterator* topElements() = 0;                     // 9
  virtual void reserved10() {}                                       // 10
  virtual KivString lastError() const = 0;                           // 11
};
