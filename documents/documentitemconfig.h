//===- documentitemconfig.h - Property records of the configuration -*- C++ -*-===//
//
// A PropertyConfig says which property a new document or item gets: its
// type, name, default (as text) and whether it is stored. A
// DocumentItemConfig is the ordered list of records of one kind of object;
// it owns them. Applying a record creates the property only if the object
// has none of that name, and sets its storing flag in every case.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "kivbasictypes/kivstring.h"

#include <cstdint>

class DataObject;
class IKivDOMXmlElement;

struct PropertyConfig {
  enum Type : int32_t { kBool = 0, kDouble = 1, kInt = 2, kDataObject = 3, kString = 4 };

  int32_t type = kBool;
  KivString name;
  KivString defaultValue;
  uint8_t persistable = 0;

  // A record from an element's "type", "name", "default" and "persistable".
  static PropertyConfig* parse(const IKivDOMXmlElement& element);
  void applyTo(DataObject* object) const;
};

class DocumentItemConfig {
public:
  DocumentItemConfig() = default;
  DocumentItemConfig(const DocumentItemConfig&) = delete;
  DocumentItemConfig& operator=(const DocumentItemConfig&) = delete;
  virtual ~DocumentItemConfig();

  // Takes ownership.
  void append(PropertyConfig* record) { records_.push(record); }
  int32_t count() const { return records_.count(); }
  const PropertyConfig* at(int32_t i) const { return records_.at(i); }  // 1-based
  // The records in order; nothing for an empty list or a null object.
  void applyTo(DataObject* object) const;

private:
  IterStack<PropertyConfig*> records_{21};
};
