//===- routedproperty.h - A property that is a view on its owner -*- C++ -*-===//
//
// RoutedPropertyTemplate<T, P, Owner> stores nothing that is read: get() and
// set() go to member functions of the owner through two routers that the
// property owns and deletes. P is a value class with value type T; its
// `value_` stays unused.
//
// Invariants a user must know:
//  - set() with no setter does nothing; otherwise it only calls the setter.
//    Nothing is compared or fired here: the owner's member decides.
//  - A routed property isn't persistent (the owner stores the value itself)
//    and has events on. Read-only is what the constructor was given.
//  - Everything else is P's, reading through get(): clone() gives a plain P
//    with the owner's value of that moment, no longer tied to the owner.
//  - The owner must outlive the property or drop it first; the routers hold
//    no reference.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/classwalk.h"
#include "kivbasictypes/kivstring.h"
#include "properties/kivmsgrouter.h"

template <class T, class P, class Owner>
class RoutedPropertyTemplate : public P {
public:
  using Getter = KivRetMsgBase<T, void*, void*, void*, void*>;
  using Setter = KivSingleMsgBase<T>;

  // Takes ownership of both routers; `setter` may be null.
  RoutedPropertyTemplate(const KivString& name, bool readOnly, Getter* getter, Setter* setter)
      : P(name, readOnly), getter_(getter), setter_(setter) {
    this->setPersistent(false);
  }
  // Routers for a constant getter `G Owner::g() const` and a setter
  // `void Owner::s(S)` (null for none) of `owner`, where G and S are T or a
  // reference to it.
  template <class G, class S>
  RoutedPropertyTemplate(const KivString& name, bool readOnly, Owner* owner,
                         G (Owner::*getter)() const, void (Owner::*setter)(S))
      : RoutedPropertyTemplate(
            name, readOnly,
            new KivRetMsgRtr_const<Owner, T, void*, void*, void*, void*, G>(owner, getter),
            setter ? new KivSingleMsgRtr<Owner, T, S>(owner, setter) : nullptr) {}
  // Without a setter: set() does nothing.
  template <class G>
  RoutedPropertyTemplate(const KivString& name, bool readOnly, Owner* owner,
                         G (Owner::*getter)() const)
      : RoutedPropertyTemplate(
            name, readOnly,
            new KivRetMsgRtr_const<Owner, T, void*, void*, void*, void*, G>(owner, getter),
            nullptr) {}
  RoutedPropertyTemplate(const RoutedPropertyTemplate&) = delete;
  RoutedPropertyTemplate& operator=(const RoutedPropertyTemplate&) = delete;
  ~RoutedPropertyTemplate() override {
    delete getter_;
    delete setter_;
  }

  void queryInterface(const char* name, void** out) override {
    if (!name) {
      KivClassWalk* walk = kivWalkOf(out);
      kivWalkClass(walk, "RoutedPropertyTemplate");
      P::queryInterface(nullptr, out);
      kivWalkEnd(walk);
      return;
    }
    *out = nullptr;
    if (kivAnswer(name, "RoutedPropertyTemplate", this, out))
      return;
    P::queryInterface(name, out);
  }
  const char* className() const override { return "RoutedPropertyTemplate"; }

  T get() const override { return getter_ ? getter_->call() : T(); }
  void set(const T& value) override {
    if (setter_)
      setter_->call(value);
  }

private:
  Getter* getter_;
  Setter* setter_;
};
