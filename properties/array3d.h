//===- array3d.h - A Vector3DArray over a host's point array ----*- C++ -*-===//
//
// Array3D has the interface of Vector3DArray and, behind it, IKivArray3D:
// the twelve core operations again, reaching the same implementations. Its
// points live in an IRealPArray made at construction through the service
// "IRealPArrayFactory" (the plain point-array record), not in the inherited
// stack; a copy asks the source's store for a copy.
//
// Its failures are class errors of "Array3D" in its own words, each ending
// in a stop: "Collection is readonly.", "Collection has a fixed size.",
// "Index is out of range.", and "Collection is empty." for pop().
//
// Without the factory service the points stay in the inherited stack, so
// that nothing given to the array is lost; the rules and texts are the same.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "properties/valuearrays.h"

class IRealPArray;

class IKivArray3D : public virtual IKivUnknown {
public:
  KIV_ARRAY_CORE_OPS(const KivVector&, const KivVector&)
};

class Array3D : public Vector3DArray, public IKivArray3D {
public:
  static constexpr const char* kClassName = "Array3D";
  static constexpr const char* kInterfaceName = "IKivArray3D";

  Array3D();
  Array3D(const Array3D& other);
  Array3D& operator=(const Array3D&) = delete;
  ~Array3D() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  bool reserve(int n) override;
  int capacity() const override;
  int count() const override;
  bool next() override { return ++cursor_ <= count(); }
  const KivVector& current() const override;
  const KivVector& get(int i) const override;
  void set(int i, const KivVector& v) override;
  void append(const KivVector& v) override;
  const KivVector& pop() override;
  void rewind() override { cursor_ = 0; }
  void insert(int i, const KivVector& v) override;
  void remove(int i) override;
  int indexOf(const KivVector& v) const override;
  void clear() override;
  bool setCount(int n) override;

  IRealPArray* store() const { return store_.get(); }

private:
  void checkWrite(bool resizing) const;
  void checkAt(int i, int limit) const;
  // The point at a 0-based position, into scratch_.
  const KivVector& point(int i) const;
  void put(int i, const KivVector& v);

  IPtr<IRealPArray> store_;
  mutable KivVector scratch_;
};
