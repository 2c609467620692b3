//===- stackarray.h - The array family's shared implementation --*- C++ -*-===//
//
// The members of the family differ in element type and in a few operations
// in front of or behind the twelve core ones; the core itself is one
// template over an IterStack, TStackArray, and one iterator, TStackIter.
//
//   KIV_ARRAY_CORE_OPS(In, Out) declares the twelve core operations of an
//   interface in their slot order: count, next, current, get, set, append,
//   pop, rewind, insert, remove, indexOf, clear. `In` is how an element is
//   given, `Out` how it is handed back.
//
// Invariants a user must know:
//  - Indices go through ZeroToOneIndexConverter: the interface counts from 0
//    and the store from 1; every index check is in the inside form.
//  - current() and iterators don't check the position.
//  - pop() hands back the element it took off; for a value given by
//    reference that is the store's slot, valid until the next write.
//  - An iterator holds a raw pointer to the store and sees later changes;
//    the array must outlive it.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "core/classwalk.h"
#include "core/kivptr.h"
#include "properties/collection.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

#define KIV_ARRAY_CORE_OPS(In, Out)                                                                \
  virtual int count() const = 0;                                                                   \
  virtual bool next() = 0;                                                                         \
  virtual Out current() const = 0;                                                                 \
  virtual Out get(int i) const = 0;                                                                \
  virtual void set(int i, In v) = 0;                                                               \
  virtual void append(In v) = 0;                                                                   \
  virtual Out pop() = 0;                                                                           \
  virtual void rewind() = 0;                                                                       \
  virtual void insert(int i, In v) = 0;                                                            \
  virtual void remove(int i) = 0;                                                                  \
  virtual int indexOf(In v) const = 0;                                                             \
  virtual void clear() = 0;

// How an element type travels through the interface and is kept: small
// values by value, larger ones by reference, objects as raw pointers kept
// by IPtr.
template <class T>
struct ArrayElement {
  static constexpr bool kSmall = std::is_arithmetic_v<T>;
  using Store = T;
  using In = std::conditional_t<kSmall, T, const T&>;
  using Out = std::conditional_t<kSmall, T, const T&>;
  static Out out(const Store& s) { return s; }
  static bool same(const Store& s, In v) { return s == v; }
};

template <class T>
struct ArrayElement<T*> {
  using Store = IPtr<T>;
  using In = T*;
  using Out = T*;
  static Out out(const Store& s) { return s.get(); }
  static bool same(const Store& s, In v) { return s.get() == v; }
};

// The iterator of a stack of values: count, next, value, rewind, in slot
// order (value(out) for a value that doesn't fit a register). Stands before
// the first element when new.
template <class T>
class TStackIter {
public:
  using E = ArrayElement<T>;
  explicit TStackIter(const IterStack<typename E::Store>* stack) : stack_(stack) {}
  virtual ~TStackIter() = default;
  virtual int count() { return stack_->count(); }
  virtual bool next() { return ++index_ <= stack_->count(); }
  virtual typename E::Out value() { return E::out(stack_->at(index_)); }
  virtual void rewind() { index_ = 0; }

private:
  const IterStack<typename E::Store>* stack_;
  int32_t index_ = 0;
};

// As TStackIter for a value that doesn't fit a register: value(out).
template <class T>
class TStackRefIter {
public:
  explicit TStackRefIter(const IterStack<T>* stack) : stack_(stack) {}
  virtual ~TStackRefIter() = default;
  virtual int count() { return stack_->count(); }
  virtual bool next() { return ++index_ <= stack_->count(); }
  virtual void value(T& out) { out = stack_->at(index_); }
  virtual void rewind() { index_ = 0; }

private:
  const IterStack<T>* stack_;
  int32_t index_ = 0;
};

// Answers queryInterface for an array class: its own name, the interface,
// then Collection's.
template <class Derived, class Interface>
void queryArrayClass(Derived* self, const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, Derived::kClassName);
    self->Collection::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, Derived::kInterfaceName);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, Derived::kClassName, self, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<Collection*>(self)),
                out) ||
      kivAnswer(name, Derived::kInterfaceName, static_cast<Interface*>(self), out))
    return;
  self->Collection::queryInterface(name, out);
}

// The core operations over an IterStack. Derived names the class
// (kClassName, kInterfaceName); Interface declares the slots.
template <class Derived, class Interface, class T>
class TStackArray : public Collection, public Interface {
public:
  using E = ArrayElement<T>;
  using Store = typename E::Store;
  using In = typename E::In;
  using Out = typename E::Out;
  using Stack = IterStack<Store>;
  using ElementType = T;

  // Room for 20, as every member made by the class table.
  TStackArray() : stack_(20) {}
  // The copy has room for max(10, count + 1), as a stack's copy does.
  TStackArray(const TStackArray& other)
      : IKivUnknown(other), Collection(other), Interface(other), stack_(other.stack_) {}
  TStackArray& operator=(const TStackArray&) = delete;

  void queryInterface(const char* name, void** out) override {
    queryArrayClass<Derived, Interface>(static_cast<Derived*>(this), name, out);
  }
  const char* className() const override { return Derived::kClassName; }

  int count() const override { return stack_.count(); }
  bool next() override { return ++cursor_ <= stack_.count(); }
  Out current() const override { return E::out(slot(cursor_)); }
  Out get(int i) const override {
    const int32_t inside = ZeroToOneIndexConverter::toInside(i);
    checkIndex(inside, 1, stack_.count());
    return E::out(stack_.at(inside));
  }
  void set(int i, In v) override {
    checkReadOnly();
    const int32_t inside = ZeroToOneIndexConverter::toInside(i);
    checkIndex(inside, 1, stack_.count());
    stack_.at(inside) = Store(v);
  }
  void append(In v) override {
    checkResizable();
    stack_.push(Store(v));
  }
  Out pop() override {
    checkResizable();
    checkIndex(1, 1, stack_.count());
    return E::out(stack_.pop());
  }
  void rewind() override { cursor_ = 0; }
  void insert(int i, In v) override {
    checkResizable();
    const int32_t inside = ZeroToOneIndexConverter::toInside(i);
    checkIndex(inside, 1, stack_.count() + 1);
    Store value(v); // v may live in the store, which may move
    stack_.push(value);
    for (int32_t j = stack_.count(); j > inside; --j)
      stack_.at(j) = stack_.at(j - 1);
    stack_.at(inside) = value;
  }
  void remove(int i) override {
    checkResizable();
    const int32_t inside = ZeroToOneIndexConverter::toInside(i);
    checkIndex(inside, 1, stack_.count());
    const int32_t last = stack_.count();
    for (int32_t j = inside; j < last; ++j)
      stack_.at(j) = stack_.at(j + 1);
    // The vacated slot lets go of an object at once.
    if constexpr (!std::is_trivially_copyable_v<Store>)
      stack_.at(last) = Store();
    stack_.setCount(last - 1);
  }
  int indexOf(In v) const override {
    for (int32_t j = stack_.count(); j >= 1; --j)
      if (E::same(stack_.at(j), v))
        return ZeroToOneIndexConverter::toOutside(j);
    return ZeroToOneIndexConverter::toOutside(0);
  }
  void clear() override {
    checkResizable();
    if constexpr (!std::is_trivially_copyable_v<Store>)
      for (int32_t j = 1; j <= stack_.count(); ++j)
        stack_.at(j) = Store();
    stack_.clear();
  }

  // Room for n elements; true. Used by the members that put it in their
  // interface.
  bool reserveElements(int n) {
    stack_.reserve(std::max(n, 0));
    return true;
  }

  Stack& stack() { return stack_; }
  const Stack& stack() const { return stack_; }

protected:
  // A position outside the stack's buffer reads as a default element rather
  // than outside the block: current() has no check of its own.
  const Store& slot(int32_t inside) const {
    static const Store kNone{};
    return inside >= 0 && inside < stack_.capacity() ? stack_.at(inside) : kNone;
  }

  Stack stack_;
};
