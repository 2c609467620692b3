//===- intarray.h - An array of ints over one of four stores ----*- C++ -*-===//
//
// IntArray keeps its elements in exactly one of four stores, or none: an
// IterStack (the default, room for 20), an IterBlockStack, an
// IterLargeStack, or a KivMM array. A constructor given a store adopts it,
// no copy. Every operation tests the store pointers in that order.
//
// Invariants a user must know:
//  - The KivMM array store has no count: count() is 0, so every operation
//    with an index check fails on it, append/pop/remove/clear leave it
//    alone, and only current() reads it. iterator() gives null then.
//  - unique(): with the IterStack and fewer than 24 elements the result is
//    sorted ascending; from 24 on, and with the other stacks, the first
//    occurrence of each value stays in its order (a bit vector records the
//    values seen; x maps to bit 2x for x >= 0, 1 - 2x below).
//  - subtract(other) keeps the order of what stays.
//  - get() with no store gives 0, as does a position past the written part
//    of an IterLargeStack.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterblockstack.h"
#include "basic_types/iterlargestack.h"
#include "basic_types/iterstack.h"
#include "kivbasictypes/kivmmarray.h"
#include "properties/collection.h"
#include "properties/stackarray.h"

class IntArray;

// The abstract iterator of an IntArray: count, next, value, rewind.
class IntIter {
public:
  virtual ~IntIter() = default;
  virtual int count() = 0;
  virtual bool next() = 0;
  virtual int value() = 0;
  virtual void rewind() = 0;
};

// The iterator over one of the three stacks; sees later changes.
template <class S>
class IntIterBase : public IntIter {
public:
  explicit IntIterBase(const S* stack) : stack_(stack) {}
  int count() override { return stack_->count(); }
  bool next() override { return ++index_ <= stack_->count(); }
  int value() override { return stack_->at(index_); }
  void rewind() override { index_ = 0; }

private:
  const S* stack_;
  int32_t index_ = 0;
};

class IKivIntArray : public virtual IKivUnknown {
public:
  KIV_ARRAY_CORE_OPS(int, int)
};

class IntArray : public Collection, public IKivIntArray {
public:
  static constexpr const char* kClassName = "IntArray";
  static constexpr const char* kInterfaceName = "IKivIntArray";
  using MMArray = KivMM::Array<int, KivMM::Splitter<int>>;
  using ElementType = int;

  IntArray();
  // Adopt the store given; null leaves the array without one.
  explicit IntArray(IterStack<int>* stack);
  explicit IntArray(IterBlockStack<int>* blockStack);
  explicit IntArray(IterLargeStack<int>* largeStack);
  explicit IntArray(MMArray* array);
  IntArray(const IntArray& other);
  IntArray& operator=(const IntArray&) = delete;
  ~IntArray() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  int count() const override;
  bool next() override { return ++cursor_ <= count(); }
  int current() const override;
  int get(int i) const override;
  void set(int i, int v) override;
  void append(int v) override;
  int pop() override;
  void rewind() override { cursor_ = 0; }
  void insert(int i, int v) override;
  void remove(int i) override;
  int indexOf(int v) const override;
  void clear() override;

  // Class operations behind the interface's, in slot order.
  virtual IntIter* iterator() const;
  virtual void append(const IntArray* other);
  virtual void subtract(const IntArray* other);
  virtual void unique();

  const IterStack<int>* stack() const { return stack_; }
  const IterBlockStack<int>* blockStack() const { return blockStack_; }
  const IterLargeStack<int>* largeStack() const { return largeStack_; }
  const MMArray* array() const { return array_; }

  // Size at which unique() and subtract() switch to a bit vector.
  static constexpr int32_t kBitVectorThreshold = 24;

private:
  // The element at a 1-based position of whichever stack is set; 0 without.
  int at(int32_t inside) const;
  void put(int32_t inside, int v);
  void setStoreCount(int32_t n);
  void push(int v);

  IterStack<int>* stack_ = nullptr;
  IterBlockStack<int>* blockStack_ = nullptr;
  IterLargeStack<int>* largeStack_ = nullptr;
  MMArray* array_ = nullptr;
};
