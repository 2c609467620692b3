//===- valuearrays.h - The array members holding plain values ---*- C++ -*-===//
//
// ByteArray, DoubleArray, ColorArray, Vector2DArray, Vector2FArray,
// Vector3DArray, Transform3DArray and StringArray: the core of TStackArray
// with their element type, each with the extra operations of its interface
// in their slot places:
//  - DoubleArray: the twelve core operations only.
//  - ByteArray: the core, then readBytes and writeBytes on a raw stream.
//  - ColorArray, Vector2DArray, Vector2FArray, Vector3DArray,
//    Transform3DArray: reserve and capacity in front of the core; elements
//    go in and come out by reference. Vector3DArray and Transform3DArray
//    add setCount as a class operation, behind the fixed-size check.
//  - StringArray: the core, then iterator (a snapshot) and the store.
// DoubleArray2D and Vector3DArray2D have the 2D interface but no store in
// this system: rows() and columns() give 0, get() the zero value, set()
// does nothing. A host may supply a class with storage.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivmatrix.h"
#include "kivbasictypes/kivstring.h"
#include "kivbasictypes/kivvector.h"
#include "kivbasictypes/tovcolor.h"
#include "properties/stackarray.h"
#include "properties/stringiter.h"

class BinInput;
class BinOutput;

#define KIV_ARRAY_RESERVING_OPS(T)                                                                 \
  virtual bool reserve(int n) = 0;                                                                 \
  virtual int capacity() const = 0;                                                                \
  KIV_ARRAY_CORE_OPS(const T&, const T&)

using ByteIter = TStackIter<unsigned char>;
using DoubleIter = TStackIter<double>;
using ColorIter = TStackRefIter<KivColor>;
using Vector2DIter = TStackRefIter<Vector2D>;
using Vector2FIter = TStackRefIter<Vector2F>;
using Vector3DIter = TStackRefIter<KivVector>;
using Transform3DIter = TStackRefIter<KivMatrix>;

class IKivDoubleArray : public virtual IKivUnknown {
public:
  KIV_ARRAY_CORE_OPS(double, double)
};

class IKivByteArray : public virtual IKivUnknown {
public:
  KIV_ARRAY_CORE_OPS(unsigned char, unsigned char)
  // clear(), a 32-bit count, then that many bytes appended.
  virtual void readBytes(BinInput& in) = 0;
  // A 32-bit count, then each byte.
  virtual void writeBytes(BinOutput& out) = 0;
};

class IKivColorArray : public virtual IKivUnknown {
public:
  KIV_ARRAY_RESERVING_OPS(KivColor)
};
class IKivVector2DArray : public virtual IKivUnknown {
public:
  KIV_ARRAY_RESERVING_OPS(Vector2D)
};
class IKivVector2FArray : public virtual IKivUnknown {
public:
  KIV_ARRAY_RESERVING_OPS(Vector2F)
};
class IKivVector3DArray : public virtual IKivUnknown {
public:
  KIV_ARRAY_RESERVING_OPS(KivVector)
};
class IKivTransform3DArray : public virtual IKivUnknown {
public:
  KIV_ARRAY_RESERVING_OPS(KivMatrix)
};

class IKivStringArray : public virtual IKivUnknown {
public:
  KIV_ARRAY_CORE_OPS(const KivString&, const KivString&)
  // A snapshot of the elements, owned by the caller.
  virtual StringIter* iterator() const = 0;
  virtual IterStack<KivString>* store() = 0;
};

class DoubleArray : public TStackArray<DoubleArray, IKivDoubleArray, double> {
public:
  static constexpr const char* kClassName = "DoubleArray";
  static constexpr const char* kInterfaceName = "IKivDoubleArray";
  DoubleArray() = default;
  DoubleArray(const DoubleArray&) = default;
  virtual DoubleIter* iterator() const { return new DoubleIter(&stack_); }
};

class ByteArray : public TStackArray<ByteArray, IKivByteArray, unsigned char> {
public:
  static constexpr const char* kClassName = "ByteArray";
  static constexpr const char* kInterfaceName = "IKivByteArray";
  ByteArray() = default;
  ByteArray(const ByteArray&) = default;
  void readBytes(BinInput& in) override;
  void writeBytes(BinOutput& out) override;
  virtual ByteIter* iterator() const { return new ByteIter(&stack_); }
};

// reserve and capacity in front of the core; Iter is the member's iterator.
template <class Derived, class Interface, class T>
class TReservingArray : public TStackArray<Derived, Interface, T> {
public:
  using TStackArray<Derived, Interface, T>::TStackArray;
  bool reserve(int n) override { return this->reserveElements(n); }
  int capacity() const override { return this->stack_.capacity(); }
  virtual TStackRefIter<T>* iterator() const { return new TStackRefIter<T>(&this->stack_); }
};

// setCount(n): behind the fixed-size check (and read-only, as every resizing
// write), reserve(n), then n elements, the new ones as they happen to be.
template <class Derived, class Interface, class T>
class TCountedArray : public TReservingArray<Derived, Interface, T> {
public:
  using TReservingArray<Derived, Interface, T>::TReservingArray;
  virtual bool setCount(int n) {
    this->checkResizable();
    // A negative count would make the store read before its first slot.
    const int32_t elements = n < 0 ? 0 : n;
    this->reserve(elements);
    this->stack_.setCount(elements);
    return true;
  }
};

class ColorArray : public TReservingArray<ColorArray, IKivColorArray, KivColor> {
public:
  static constexpr const char* kClassName = "ColorArray";
  static constexpr const char* kInterfaceName = "IKivColorArray";
};
class Vector2DArray : public TReservingArray<Vector2DArray, IKivVector2DArray, Vector2D> {
public:
  static constexpr const char* kClassName = "Vector2DArray";
  static constexpr const char* kInterfaceName = "IKivVector2DArray";
};
class Vector2FArray : public TReservingArray<Vector2FArray, IKivVector2FArray, Vector2F> {
public:
  static constexpr const char* kClassName = "Vector2FArray";
  static constexpr const char* kInterfaceName = "IKivVector2FArray";
};
class Vector3DArray : public TCountedArray<Vector3DArray, IKivVector3DArray, KivVector> {
public:
  static constexpr const char* kClassName = "Vector3DArray";
  static constexpr const char* kInterfaceName = "IKivVector3DArray";
};
class Transform3DArray : public TCountedArray<Transform3DArray, IKivTransform3DArray, KivMatrix> {
public:
  static constexpr const char* kClassName = "Transform3DArray";
  static constexpr const char* kInterfaceName = "IKivTransform3DArray";
};

class StringArray : public TStackArray<StringArray, IKivStringArray, KivString> {
public:
  static constexpr const char* kClassName = "StringArray";
  static constexpr const char* kInterfaceName = "IKivStringArray";
  StringArray() = default;
  StringArray(const StringArray&) = default;
  StringIter* iterator() const override { return new StringIter(stack_); }
  IterStack<KivString>* store() override { return &stack_; }
};

// The 2D interface: rows, columns, get(row, column), set(row, column, v).
template <class T>
class TKivArray2D : public virtual IKivUnknown {
public:
  virtual int rows() const = 0;
  virtual int columns() const = 0;
  virtual T get(int row, int column) const = 0;
  virtual void set(int row, int column, const T& v) = 0;
};
class IKivDoubleArray2D : public TKivArray2D<double> {};
class IKivVector3DArray2D : public TKivArray2D<KivVector> {};

// No store in this system (a host may supply one): empty, reads give the
// zero value and writes are dropped.
template <class Derived, class Interface, class T>
class TEmptyArray2D : public Collection, public Interface {
public:
  using ElementType = T;
  TEmptyArray2D() = default;
  TEmptyArray2D(const TEmptyArray2D& other)
      : IKivUnknown(other), Collection(other), Interface(other) {}
  void queryInterface(const char* name, void** out) override {
    queryArrayClass<Derived, Interface>(static_cast<Derived*>(this), name, out);
  }
  const char* className() const override { return Derived::kClassName; }
  int rows() const override { return 0; }
  int columns() const override { return 0; }
  T get(int, int) const override { return T(); }
  void set(int, int, const T&) override {}
};

class DoubleArray2D : public TEmptyArray2D<DoubleArray2D, IKivDoubleArray2D, double> {
public:
  static constexpr const char* kClassName = "DoubleArray2D";
  static constexpr const char* kInterfaceName = "IKivDoubleArray2D";
};
class Vector3DArray2D : public TEmptyArray2D<Vector3DArray2D, IKivVector3DArray2D, KivVector> {
public:
  static constexpr const char* kClassName = "Vector3DArray2D";
  static constexpr const char* kInterfaceName = "IKivVector3DArray2D";
};
