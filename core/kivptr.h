//===- kivptr.h - Strong smart pointers IPtr and SPtr -----------*- C++ -*-===//
//
// IPtr holds one strong reference, taken on the object's IKivUnknown part.
// Assigning a raw pointer takes a reference; a null pointer leaves it empty.
// SPtr fills itself from a service (or class-table interface) name through
// getObject; a missing service leaves it empty, and every user tests it.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"
#include "core/lookup.h"

#include <utility>

template <class T, class U = IKivUnknown>
class IPtr {
public:
  IPtr() = default;
  IPtr(T* p) { acquire(p); }
  IPtr(const IPtr& other) { acquire(other.ptr); }
  IPtr(IPtr&& other) noexcept : ptr(other.ptr), unknown(other.unknown) {
    other.ptr = nullptr;
    other.unknown = nullptr;
  }
  virtual ~IPtr() { clear(); }

  IPtr& operator=(T* p) {
    if (p != ptr) {
      U* old = unknown;
      acquire(p);
      if (old)
        old->release();
    }
    return *this;
  }
  IPtr& operator=(const IPtr& other) { return *this = other.ptr; }
  IPtr& operator=(IPtr&& other) noexcept {
    if (this != &other) {
      clear();
      std::swap(ptr, other.ptr);
      std::swap(unknown, other.unknown);
    }
    return *this;
  }

  // Drops the reference and empties the pointer.
  void clear() {
    U* old = unknown;
    ptr = nullptr;
    unknown = nullptr;
    if (old)
      old->release();
  }
  // Hands the pointer out without dropping the reference; the caller owns it.
  T* detach() {
    T* p = ptr;
    ptr = nullptr;
    unknown = nullptr;
    return p;
  }

  T* get() const { return ptr; }
  T* operator->() const { return ptr; }
  T& operator*() const { return *ptr; }
  operator T*() const { return ptr; }
  explicit operator bool() const { return ptr != nullptr; }

protected:
  void acquire(T* p) {
    ptr = p;
    unknown = p ? static_cast<U*>(p) : nullptr;
    if (unknown)
      unknown->addRef();
  }

  T* ptr = nullptr;
  U* unknown = nullptr;
};

template <class T, class U = IKivUnknown>
class SPtr : public IPtr<T, U> {
public:
  SPtr() = default;
  explicit SPtr(const char* serviceName) {
    void* out = nullptr;
    if (getObject(serviceName, &out) && out)
      this->acquire(static_cast<T*>(out));
  }
  SPtr(T* p) : IPtr<T, U>(p) {}
  using IPtr<T, U>::operator=;
};
