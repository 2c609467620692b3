//===- descriptions.h - The documentation store of properties ---*- C++ -*-===//
//
// One process-wide store of texts keyed by "<class name>:<property name>",
// filled by whoever documents a class (PropertyMap::setDocumentation) and
// read by the documentation printers. get() of a missing key is a
// programmer's fault: it is reported, and gives an empty text. The store
// lives in static storage and outlives every map. No lock.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/map.h"
#include "kivbasictypes/kivstring.h"

class Descriptions {
public:
  Descriptions();
  virtual ~Descriptions();

  virtual void set(const KivString& key, const KivString& text);
  virtual const KivString& get(const KivString& key);
  virtual bool contains(const KivString& key) const;

  // The process-wide store.
  static Descriptions& instance();

private:
  Map<KivString, KivString> texts_;
};
