//===- iterstack.h - Growable array counted from 1 --------------*- C++ -*-===//
//
// IterStack<T> keeps its elements in data[1] .. data[count]; slot 0 exists but
// is never used, so `capacity` counts it. at(i) grows the buffer when i is not
// below capacity and never touches count; nothing checks i against count, and
// pop() on an empty stack hands out slot 0. Any growth moves the buffer and
// invalidates references into it (push copes with an argument that lives in
// its own buffer). Buffers come from the guarded allocator, which never gives
// null. For a class element type every slot of the buffer is constructed when
// the buffer is made and destroyed when it goes; other slots are zeroed.
// Iterators hold a raw pointer to the stack and see its later changes.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/tovrealloc.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

// The capacity to grow to: `current` if it is already enough, else doubling
// from max(current, 1) until `needed` is reached. From 0x40000000 on there is
// no more doubling and `needed` itself is the answer.
inline int32_t growSize(int32_t current, int32_t needed) {
  if (current >= needed)
    return current;
  int32_t size = std::max(current, int32_t{1});
  while (size < needed) {
    if (size >= 0x40000000)
      return needed;
    size *= 2;
  }
  return size;
}

template <class T>
class IterStack {
  // Bytes may be moved by realloc and copied by memcpy.
  static constexpr bool kRelocatable = std::is_trivially_copyable_v<T>;
  // A zeroed slot already is a default element.
  static constexpr bool kZeroIsDefault = std::is_trivially_default_constructible_v<T>;

public:
  // Room for n elements: capacity n + 1.
  explicit IterStack(int32_t n = 0) { allocate(n + 1); }

  // The copy has room for max(10, count + 1) slots. Only as many leading slots
  // as the source has are copied (slot 0 included); the rest are fresh.
  IterStack(const IterStack& other) { copyFrom(other); }
  IterStack(IterStack&& other) noexcept
      : capacity_(other.capacity_), data_(other.data_), count_(other.count_) {
    other.capacity_ = 0;
    other.data_ = nullptr;
    other.count_ = 0;
  }
  IterStack& operator=(const IterStack& other) {
    if (this != &other) {
      release();
      copyFrom(other);
    }
    return *this;
  }
  IterStack& operator=(IterStack&& other) noexcept {
    if (this != &other) {
      release();
      std::swap(capacity_, other.capacity_);
      std::swap(data_, other.data_);
      std::swap(count_, other.count_);
    }
    return *this;
  }
  ~IterStack() { release(); }

  int32_t count() const { return count_; }
  int32_t capacity() const { return capacity_; }
  bool isEmpty() const { return count_ == 0; }
  T* data() { return data_; }
  const T* data() const { return data_; }

  // Grows the buffer first if i is not below capacity.
  T& at(int32_t i) {
    if (i >= capacity_)
      grow(std::max(capacity_, growSize(capacity_, i + 1)));
    return data_[i];
  }
  // No growth and no check: i must be below capacity.
  const T& at(int32_t i) const { return data_[i]; }

  void push(const T& x) {
    if (count_ + 1 >= capacity_) {
      // x may live in the buffer that is about to move.
      T copy(x);
      T& slot = at(count_ + 1);
      ++count_;
      slot = std::move(copy);
      return;
    }
    data_[++count_] = x;
  }
  void push(T&& x) {
    if (count_ + 1 >= capacity_) {
      T moved(std::move(x));
      T& slot = at(count_ + 1);
      ++count_;
      slot = std::move(moved);
      return;
    }
    data_[++count_] = std::move(x);
  }
  // The element stays in its slot until the slot is written again.
  T& pop() { return at(count_--); }
  T& last() { return data_[count_]; }

  // count = 0; the buffer and the elements in it stay.
  void clear() { count_ = 0; }
  // Makes room for n elements and sets count to n.
  void setCount(int32_t n) {
    reserve(n);
    count_ = n;
  }
  // Makes room for n elements, growing as at(n) would.
  void reserve(int32_t n) {
    if (n >= capacity_)
      at(n);
  }

private:
  void constructDefaults(int32_t from, int32_t to) {
    if constexpr (!kZeroIsDefault) {
      for (int32_t i = from; i < to; ++i)
        ::new (static_cast<void*>(data_ + i)) T();
    }
  }

  // A fresh buffer of `slots` slots, all of them default elements.
  void allocate(int32_t slots) {
    tovMallocT(&data_, slots);
    capacity_ = slots;
    if constexpr (kRelocatable)
      std::memset(static_cast<void*>(data_), 0, sizeof(T) * static_cast<size_t>(slots));
    constructDefaults(0, slots);
  }

  void copyFrom(const IterStack& other) {
    const int32_t slots = std::max(int32_t{10}, other.count_ + 1);
    const int32_t copied = std::min(slots, other.capacity_);
    tovMallocT(&data_, slots);
    capacity_ = slots;
    count_ = other.count_;
    if constexpr (kRelocatable) {
      if (copied > 0)
        std::memcpy(static_cast<void*>(data_), other.data_, sizeof(T) * static_cast<size_t>(copied));
      std::memset(static_cast<void*>(data_ + copied), 0,
                  sizeof(T) * static_cast<size_t>(slots - copied));
      constructDefaults(copied, slots);
    } else {
      for (int32_t i = 0; i < copied; ++i)
        ::new (static_cast<void*>(data_ + i)) T(other.data_[i]);
      constructDefaults(copied, slots);
    }
  }

  void grow(int32_t slots) {
    if (!data_) {
      allocate(slots);
      return;
    }
    if constexpr (kRelocatable) {
      // The guarded realloc clears the new tail.
      const int32_t old = capacity_;
      capacity_ = tovReallocT(&data_, old, slots);
      constructDefaults(old, capacity_);
    } else {
      T* fresh = nullptr;
      tovMallocT(&fresh, slots);
      for (int32_t i = 0; i < capacity_; ++i) {
        ::new (static_cast<void*>(fresh + i)) T(std::move(data_[i]));
        data_[i].~T();
      }
      for (int32_t i = capacity_; i < slots; ++i)
        ::new (static_cast<void*>(fresh + i)) T();
      tovFree(data_);
      data_ = fresh;
      capacity_ = slots;
    }
  }

  void release() {
    if (!data_)
      return;
    if constexpr (!std::is_trivially_destructible_v<T>) {
      for (int32_t i = 0; i < capacity_; ++i)
        data_[i].~T();
    }
    tovFree(data_);
    data_ = nullptr;
    capacity_ = 0;
    count_ = 0;
  }

  int32_t capacity_ = 0;
  T* data_ = nullptr;
  int32_t count_ = 0;
};

// Stands before the first element until the first next(); value() reads the
// slot at the position without any check.
template <class T>
class IterStackIter {
public:
  explicit IterStackIter(const IterStack<T>* stack) : stack_(stack) {}

  bool next() { return ++index_ <= stack_->count(); }
  const T& value() const { return stack_->at(index_); }
  int32_t count() const { return stack_->count(); }
  void rewind() { index_ = 0; }

private:
  const IterStack<T>* stack_;
  int32_t index_ = 0;
};

// A value iterator over its own copy of a list of pointers, taken when it is
// made. next() comes first; before it, current() gives the list's slot 0.
// current() gives null past the end.
template <class T, class S = IterStack<T>>
class SmallIterStackIter {
public:
  SmallIterStackIter() : last_(0) {}
  explicit SmallIterStackIter(const S& list) : list_(list), last_(list.count()) {}

  virtual bool next() { return ++position_ <= last_; }
  virtual T current() { return position_ <= last_ ? list_.at(position_) : T(); }

protected:
  S list_;
  int32_t position_ = 0;
  int32_t last_;
};
