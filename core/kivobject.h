//===- kivobject.h - Root classes of the object model ----------*- C++ -*-===//
//
// Every object that crosses a boundary is a KivShared reached through an
// interface that derives *virtually* from IKivUnknown, so an object has one
// counter however many interfaces it implements.
//
// Invariants a user must know:
//  - A new object starts with refCount 0, not 1; the first IPtr makes it 1.
//  - Once a component manager is installed (setComponentManager), the counter
//    changes only through the manager's atomic operations; before that it is
//    plain, single-threaded arithmetic.
//  - Without a manager, the last release() leaves the counter at -42.
//  - queryInterface never adds a reference; the caller that keeps the pointer
//    takes one (IPtr does).
//  - weakRef() is not safe against a concurrent first call on the same object.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>
#include <cstring>

class KivWeakRef;
struct KivClassWalk;

// The root of all classes: a virtual destructor and nothing else.
class KivObject {
public:
  virtual ~KivObject();
};

class KivShared : public KivObject {
public:
  KivShared() = default;
  // Copying a shared object never copies its identity (count or weak cell).
  KivShared(const KivShared&) {}
  KivShared& operator=(const KivShared&) { return *this; }
  ~KivShared() override;

  virtual void addRef();
  // Drops one reference; at zero detaches the weak cell and deletes the object.
  virtual void release();
  // As release(), but the object survives at zero.
  virtual void releaseNoDelete();
  virtual uint32_t refCount() const;
  // The weak cell, created on first use. The caller receives no reference.
  virtual KivWeakRef* weakRef();

protected:
  int32_t refCount_ = 0;
  KivWeakRef* weakRef_ = nullptr;

private:
  bool decrement();
  void detachWeakRef();
};

// The counted cell of a weak reference. `target` is null once the object died;
// a holder reads it in place.
class KivWeakRef : public KivShared {
public:
  explicit KivWeakRef(KivShared* target) : target(target) {}
  KivWeakRef* weakRef() override { return this; }

  KivShared* target;
};

class IKivUnknown : public KivShared {
public:
  // name == nullptr selects the enumeration form: `out` is then a KivClassWalk*.
  virtual void queryInterface(const char* name, void** out) = 0;
  virtual const char* className() const = 0;
};

// Sets *out to `p` when `name` equals `key` exactly; true on a hit.
template <class T>
inline bool kivAnswer(const char* name, const char* key, T* p, void** out) {
  if (std::strcmp(name, key) != 0)
    return false;
  *out = static_cast<void*>(p);
  return true;
}

// Typed form of queryInterface: the pointer adjusted to T, or null.
template <class T>
inline T* kivQuery(IKivUnknown* object, const char* name) {
  if (!object)
    return nullptr;
  void* out = nullptr;
  object->queryInterface(name, &out);
  return static_cast<T*>(out);
}
