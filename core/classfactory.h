//===- classfactory.h - Item factories and the class factory ----*- C++ -*-===//
//
// One KivItemFactory per class builds its objects; constructing a factory
// registers it in the process-wide class factory under its class identifier,
// so factories are static objects that outlive the map. Kinds of creation:
// 0 no class with that identifier, 1 a new instance handed out with refCount 0,
// 2 the class's single instance, which its factory holds one reference on for
// good. Item factories take no lock: a singleton's first creation must happen
// before threads ask for it.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivclassid.h"
#include "core/kivobject.h"

#include <cstdint>

class KivItemFactory {
public:
  KivItemFactory(const KivClassId& id, const char* name, void* info = nullptr);
  virtual ~KivItemFactory();
  virtual IKivUnknown* create(int32_t* kind) = 0;
  virtual const char* name() const { return name_; }
  virtual void* info() const { return info_; }
  const KivClassId& classId() const { return classId_; }

private:
  const char* name_;
  void* info_;
  KivClassId classId_;
};

template <class T>
class KivTClassItemFactory : public KivItemFactory {
public:
  KivTClassItemFactory(const KivClassId& id, const char* name) : KivItemFactory(id, name) {}
  IKivUnknown* create(int32_t* kind) override {
    *kind = 1;
    T* object = new T();
    return object ? static_cast<IKivUnknown*>(object) : nullptr;
  }
};

template <class T>
class KivSingletonTClassItemFactory : public KivItemFactory {
public:
  KivSingletonTClassItemFactory(const KivClassId& id, const char* name)
      : KivItemFactory(id, name) {}
  IKivUnknown* create(int32_t* kind) override {
    if (!instance) {
      instance = new T();
      static_cast<IKivUnknown*>(instance)->addRef();  // the factory's own, never dropped
    }
    *kind = 2;
    return static_cast<IKivUnknown*>(instance);
  }

  T* instance = nullptr;
};

class IKivClassFactory {
public:
  virtual ~IKivClassFactory();
  virtual int32_t createInstance(const KivClassId& id, IKivUnknown** out) = 0;
  virtual int32_t count() = 0;
  virtual bool first(KivClassId* out) = 0;
  virtual bool next(KivClassId* out) = 0;
  virtual const char* classNameOf(const KivClassId& id) = 0;
};

// The process-wide factory, over a hash map from class identifier to item
// factory (131 buckets at the start). first() restarts the one enumeration
// that next() continues.
class KivDefaultClassFactory : public IKivClassFactory {
public:
  KivDefaultClassFactory();
  ~KivDefaultClassFactory() override;

  int32_t createInstance(const KivClassId& id, IKivUnknown** out) override;
  int32_t count() override;
  bool first(KivClassId* out) override;
  bool next(KivClassId* out) override;
  const char* classNameOf(const KivClassId& id) override;

  void add(KivItemFactory* factory);
  KivItemFactory* find(const KivClassId& id);

private:
  struct State;
  State* state_;
};

KivDefaultClassFactory* defaultClassFactory();
