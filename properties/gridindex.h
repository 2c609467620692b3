//===- gridindex.h - A position in a grid, and its property -----*- C++ -*-===//
//
// GridIndex is a pair of 32-bit integers (i, j), (0, 0) when new; nothing
// checks a range: callers keep within their grid. GridIndexProperty holds one by strong reference
// ("kivapi.datamodel.GridIndex"). Its text is empty, its section is empty (a
// grid position isn't stored; reading leaves the value as it is), and its
// clone() is the plain Property copy: name and flags, no value.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/primitive.h"
#include "properties/pointerproperty.h"

#include <cstdint>

class IKivGridIndex : public virtual IKivUnknown {
public:
  virtual int32_t i() const = 0;
  virtual int32_t j() const = 0;
  virtual void setI(int32_t v) = 0;
  virtual void setJ(int32_t v) = 0;
  virtual void incrementI() = 0;
  virtual void incrementJ() = 0;
  virtual void decrementI() = 0;
  virtual void decrementJ() = 0;
};

class GridIndex : public Primitive, public IKivGridIndex {
public:
  GridIndex() = default;
  GridIndex(int32_t i, int32_t j) : i_(i), j_(j) {}
  GridIndex(const GridIndex& other)
      : IKivUnknown(other), Primitive(other), IKivGridIndex(other), i_(other.i_), j_(other.j_) {}

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "GridIndex"; }

  int32_t i() const override { return i_; }
  int32_t j() const override { return j_; }
  void setI(int32_t v) override { i_ = v; }
  void setJ(int32_t v) override { j_ = v; }
  void incrementI() override { ++i_; }
  void incrementJ() override { ++j_; }
  void decrementI() override { --i_; }
  void decrementJ() override { --j_; }

private:
  int32_t i_ = 0;
  int32_t j_ = 0;
};

class IKivGridIndexProperty : public IKivValueProperty<GridIndex*> {};

class GridIndexProperty
    : public TPointerProperty<GridIndexProperty, IKivGridIndexProperty, GridIndex> {
public:
  static constexpr const char* kClassName = "GridIndexProperty";
  static constexpr const char* kInterfaceName = "IKivGridIndexProperty";
  static constexpr const char* kTypeName = "kivapi.datamodel.GridIndex";

  using TPointerProperty::TPointerProperty;

  IKivProperty* clone() const override { return Property::clone(); }

  static void textOf(GridIndex*, KivString& out) { out = KivString(); }
  static void writeValue(IKivDataModelWriter*, GridIndex*) {}
  static void readValue(IKivDataModelReader*, GridIndexProperty*) {}
};
