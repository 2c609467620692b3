//===- kivteventsubscriber.h - An event routed to a member function -*- C++ -*-===//
//
// KivTEventSubscriber<T> lets an object hear an event without being a
// subscriber itself: onEvent calls (target->*method)(source, name, args) when
// both are set, and does nothing otherwise. The target isn't owned and holds
// no reference; it must unsubscribe the bridge before it dies.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/classwalk.h"
#include "model/ikivdataevent.h"

template <class T>
class KivTEventSubscriber : public IKivEventSubscriber {
public:
  using Method = void (T::*)(IKivDataEventSource*, const KivCString&, IKivDataEventArgs*);

  KivTEventSubscriber() = default;
  KivTEventSubscriber(T* target, Method method) : target(target), method(method) {}

  void queryInterface(const char* name, void** out) override {
    if (!name) {
      KivClassWalk* walk = kivWalkOf(out);
      kivWalkClass(walk, "KivTEventSubscriber<T>");
      kivWalkEnd(walk);
      kivWalkInterface(walk, "IKivEventSubscriber");
      return;
    }
    *out = nullptr;
    if (kivAnswer(name, "KivTEventSubscriber<T>", this, out) ||
        kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      return;
    kivAnswer(name, "IKivEventSubscriber", static_cast<IKivEventSubscriber*>(this), out);
  }
  // The letter T stands in the name whatever the instantiation.
  const char* className() const override { return "KivTEventSubscriber<T>"; }

  void onEvent(IKivDataEventSource* source, const KivCString& name,
               IKivDataEventArgs* args) override {
    if (target && method)
      (target->*method)(source, name, args);
  }

  T* target = nullptr;
  Method method = nullptr;
};
