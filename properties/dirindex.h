//===- dirindex.h - An index with a direction bit, and its property -*- C++ -*-===//
//
// DirIndex packs an index and a version bit into one 32-bit word,
// (index + 1) * 2 | version, so that index -1 with version 0 is the word 0,
// which is also what a new DirIndex holds. The version is 0 or 1: any other
// value fails with code 6, "Error in class DirIndex: version must have a
// value of 0 or 1..", and changes nothing.
//
// DirIndexProperty holds one by strong reference ("kivapi.mesh.DirIndex").
// Its text is "(index, version)", empty without a value. Stored as one
// int32, index * 2 | version; a property without a DirIndex stores an empty
// section and reads back as it was. Reading takes the DirIndex held, or a new
// one, gives it the stored index and version and hands it to set(), so that
// a read fires.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/primitive.h"
#include "properties/pointerproperty.h"

#include <cstdint>

class IKivDirIndex : public virtual IKivUnknown {
public:
  virtual int32_t index() const = 0;
  virtual int32_t version() const = 0;
  // Keeps the version bit.
  virtual void setIndex(int32_t index) = 0;
  virtual void setVersion(int32_t version) = 0;
  // Inverts the version bit and gives this object.
  virtual IKivDirIndex* flip() = 0;
  // A new DirIndex with the other version; no reference taken.
  virtual IKivDirIndex* flipped() const = 0;
};

class DirIndex : public Primitive, public IKivDirIndex {
public:
  DirIndex() = default;
  DirIndex(int32_t index, int32_t version);
  DirIndex(const DirIndex& other)
      : IKivUnknown(other), Primitive(other), IKivDirIndex(other), word_(other.word_) {}

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "DirIndex"; }

  int32_t index() const override { return (word_ >> 1) - 1; }
  int32_t version() const override { return word_ & 1; }
  void setIndex(int32_t index) override;
  void setVersion(int32_t version) override;
  IKivDirIndex* flip() override;
  IKivDirIndex* flipped() const override;

  int32_t word() const { return word_; }

private:
  int32_t word_ = 0;
};

class IKivDirIndexProperty : public IKivValueProperty<DirIndex*> {};

class DirIndexProperty
    : public TPointerProperty<DirIndexProperty, IKivDirIndexProperty, DirIndex> {
public:
  static constexpr const char* kClassName = "DirIndexProperty";
  static constexpr const char* kInterfaceName = "IKivDirIndexProperty";
  static constexpr const char* kTypeName = "kivapi.mesh.DirIndex";

  using TPointerProperty::TPointerProperty;

  static void textOf(DirIndex* value, KivString& out);
  static void writeValue(IKivDataModelWriter* writer, DirIndex* value);
  static void readValue(IKivDataModelReader* reader, DirIndexProperty* property);
};
