//===- propertymapiter.h - Walking a PropertyMap in name order --*- C++ -*-===//
//
// A new iterator stands on the first name. It holds the map's tree without
// a reference: the map must outlive it, and it isn't safe against removal of
// the entry on which it stands (insertions are fine).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "properties/ikivpropertymap.h"
#include "properties/propertymap.h"

class PropertyMapIter : public IKivPropertyMapIter {
public:
  explicit PropertyMapIter(const PropertyMap::Properties* map);

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "PropertyMapIter"; }

  void first() override;
  void next() override;
  bool isDone() const override;
  IKivProperty* value() const override;
  const KivString& key() const override;

private:
  const PropertyMap::Properties* map_;
  PropertyMap::Properties::const_iterator current_;
};
