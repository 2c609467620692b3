//===- ikivdataevent.h - Interfaces of the event mechanism ------*- C++ -*-===//
//
// An event is an object with a name and a list of subscribers; firing it
// calls each subscriber's onEvent synchronously, on the firing thread, in
// list order. IKivDataEventSource and IKivDataEventArgs are typed handles
// without operations: the source is whatever fires, the arguments are a
// property map (DataEventArgs) or null.
//
// An event holds raw subscriber pointers and no references: a subscriber
// must unsubscribe before it dies. Neither source nor args are referenced by
// the event; they only have to live through the call.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivCString;

class IKivDataEventSource : public virtual IKivUnknown {};

class IKivDataEventArgs : public virtual IKivUnknown {};

class IKivEventSubscriber : public virtual IKivUnknown {
public:
  // Must not let an exception out (see DataEvent::fire).
  virtual void onEvent(IKivDataEventSource* source, const KivCString& name,
                       IKivDataEventArgs* args) = 0;
};

class IKivDataObjectEvent : public virtual IKivUnknown {
public:
  virtual const KivCString& name() const = 0;
  virtual void setName(const KivCString& name) = 0;
  virtual void subscribeOrdered(IKivEventSubscriber* subscriber, int order) = 0;
  virtual void subscribe(IKivEventSubscriber* subscriber) = 0;
  virtual void unsubscribe(IKivEventSubscriber* subscriber) = 0;
  // The same as subscribe and unsubscribe.
  virtual IKivDataObjectEvent& operator+=(IKivEventSubscriber* subscriber) = 0;
  virtual IKivDataObjectEvent& operator-=(IKivEventSubscriber* subscriber) = 0;
  virtual void fire(IKivDataEventSource* source, IKivDataEventArgs* args) = 0;
};
