//===- dataevent.h - A named event with deferred list changes ---*- C++ -*-===//
//
// DataEvent delivers to its subscribers synchronously, in list order, on the
// firing thread. A delivery takes the list's length when it begins, so a
// subscriber added during it is first served by the next firing.
//
// Invariants a user must know:
//  - The list may change while it is being delivered. subscribe() appends at
//    once; unsubscribe() during a delivery only marks the entry (a marked
//    entry is skipped, even if its turn had not come yet); subscribeOrdered()
//    during a delivery is held back in `pending`. The marks are swept and the
//    held-back subscriptions applied when the outermost delivery of this
//    event ends ("settling"), never inside a nested one.
//  - Raw pointers, no references: a subscriber unsubscribes before it dies.
//  - A subscriber may delete the event while it is being delivered; the
//    delivery then stops at once and touches nothing of the event.
//  - No lock: one thread at a time, which the owner of the event ensures.
//  - The event is owned by the table it stands in and deleted directly.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "kivbasictypes/kivcstring.h"
#include "model/ikivdataevent.h"

#include <cstdint>

struct SubscriberEntry {
  int32_t order = -1;
  IKivEventSubscriber* subscriber = nullptr;
  uint8_t removed = 0;
};

class DataEvent : public IKivDataObjectEvent {
public:
  DataEvent();
  DataEvent(const DataEvent&) = delete;
  DataEvent& operator=(const DataEvent&) = delete;
  ~DataEvent() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "DataEvent"; }

  const KivCString& name() const override { return name_; }
  // Copied as KivCString copies: owned text deeply, a view (of a literal) as
  // a view, so the text of a view must outlive the event.
  void setName(const KivCString& name) override;
  // Outside a delivery: in front of the first entry (from 1) whose order is
  // strictly greater; with none greater, the path of subscribe(), which keeps
  // order -1 and ignores a subscriber that is already there. With an entry
  // found, no such test is made: the subscriber can then stand twice.
  void subscribeOrdered(IKivEventSubscriber* subscriber, int order) override;
  // Appends with order -1 unless the subscriber already stands (unmarked) in
  // the list.
  void subscribe(IKivEventSubscriber* subscriber) override;
  // The first unmarked entry of the subscriber: removed at once, or marked
  // during a delivery. A subscriber that is only held back isn't found.
  void unsubscribe(IKivEventSubscriber* subscriber) override;
  IKivDataObjectEvent& operator+=(IKivEventSubscriber* subscriber) override;
  IKivDataObjectEvent& operator-=(IKivEventSubscriber* subscriber) override;
  void fire(IKivDataEventSource* source, IKivDataEventArgs* args) override;

  // The delivery list, counted from 1; read-only view for inspection.
  const IterStack<SubscriberEntry>& subscribers() const { return subscribers_; }
  int32_t pendingCount() const { return pending_ ? pending_->count() : 0; }
  uint32_t depth() const { return depth_; }

private:
  struct Delivery;

  void append(IKivEventSubscriber* subscriber, int32_t order);
  void settle();

  KivCString name_;
  // Most events get one subscriber or none: the list starts with room for
  // one and grows by doubling, and the held-back list only exists once an
  // ordered subscription arrives during a delivery.
  IterStack<SubscriberEntry> subscribers_;
  IterStack<SubscriberEntry>* pending_ = nullptr;
  uint8_t hasRemovals_ = 0;
  uint32_t depth_ = 0;
  Delivery* deliveries_ = nullptr;  // innermost running delivery, for the destructor
};
