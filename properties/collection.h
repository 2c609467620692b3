//===- collection.h - Base of the array family and its index rules -*- C++ -*-===//
//
// Collection is the shared base of every array class: two virtual queries
// (isReadOnly, isFixedSize) in front of each member's own operations, the
// iteration cursor, and the three rule checks that all writes go through.
//
// Invariants a user must know:
//  - Every write tests read-only first, then the fixed size, then the index;
//    a failing check changes nothing. set() skips the fixed-size test: an
//    element may be replaced in a fixed collection.
//  - Failures are class errors of "Collection": "Collection is readonly",
//    "Collection has a fixed size", "Invalid index".
//  - The interface counts from 0, the stores inside from 1; the conversion
//    lives in ZeroToOneIndexConverter only. An absent element is 0 inside
//    and -1 outside.
//  - Nothing in the system sets the two flags after construction; a derived
//    class or a host may, through setReadOnly/setFixedSize.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/primitive.h"

#include <cstdint>

// The two index conversions between the 0-based interface and the 1-based
// stores. No data; virtual destructor so a derived converter may be owned
// through this type.
class ZeroToOneIndexConverter {
public:
  virtual ~ZeroToOneIndexConverter() = default;
  static constexpr int32_t toInside(int32_t i) { return i + 1; }
  static constexpr int32_t toOutside(int32_t i) { return i - 1; }
};

class Collection : public Primitive {
public:
  virtual bool isReadOnly() const { return readOnly_ != 0; }   // 1
  virtual bool isFixedSize() const { return fixedSize_ != 0; } // 2

  void queryInterface(const char* name, void** out) override;

  // For a host or a derived class: no operation of the system sets them.
  void setReadOnly(bool on) { readOnly_ = on; }
  void setFixedSize(bool on) { fixedSize_ = on; }
  int32_t cursor() const { return cursor_; }

protected:
  Collection() = default;
  Collection(const Collection& other)
      : IKivUnknown(other), Primitive(other), fixedSize_(other.fixedSize_),
        readOnly_(other.readOnly_) {}

  // Fail with the class error of "Collection" when the rule is broken.
  void checkReadOnly() const;
  void checkFixedSize() const;
  // `inside` is an index already converted to the 1-based form.
  static void checkIndex(int32_t inside, int32_t first, int32_t last);
  // Read-only, then fixed size: the test of every resizing write.
  void checkResizable() const {
    checkReadOnly();
    checkFixedSize();
  }

  int32_t cursor_ = 0;
  uint8_t fixedSize_ = 0;
  uint8_t readOnly_ = 0;
};
