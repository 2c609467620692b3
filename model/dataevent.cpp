//===- dataevent.cpp - A named event with deferred list changes -----------===//
#include "model/dataevent.h"

#include "core/classwalk.h"

// One running fire() of this event. The chain lets the destructor tell every
// running delivery that the event is gone.
// The event keeps the address of this frame only while the frame runs: the
// destructor unlinks it, or the event is gone by then. The compiler can't see
// the second half of that, hence the pragma.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif
struct DataEvent::Delivery {
  explicit Delivery(DataEvent* event) : event(event), outer(event->deliveries_) {
    ++event->depth_;
    event->deliveries_ = this;
  }
  // Also runs when a subscriber's exception passes through fire(): depth is
  // restored and the list settles, so that the event stays usable. (Whether
  // to do this is open; leaving depth raised would freeze the list for good.)
  ~Delivery() {
    if (destroyed)
      return;
    event->deliveries_ = outer;
    --event->depth_;
    event->settle();
  }

  DataEvent* event;
  Delivery* outer;
  bool destroyed = false;
};
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

DataEvent::DataEvent() : subscribers_(1) {}

DataEvent::~DataEvent() {
  for (Delivery* d = deliveries_; d; d = d->outer)
    d->destroyed = true;
  delete pending_;
}

void DataEvent::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "DataEvent");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDataObjectEvent");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "DataEvent", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivDataObjectEvent", static_cast<IKivDataObjectEvent*>(this), out);
}

void DataEvent::setName(const KivCString& name) { name_ = name; }

void DataEvent::append(IKivEventSubscriber* subscriber, int32_t order) {
  SubscriberEntry entry;
  entry.order = order;
  entry.subscriber = subscriber;
  subscribers_.push(entry);
}

void DataEvent::subscribe(IKivEventSubscriber* subscriber) {
  // An entry marked during the running delivery still stands in the list:
  // unsubscribe then subscribe within one delivery adds nothing, and the
  // subscriber is gone once the list settles.
  for (int32_t i = 1; i <= subscribers_.count(); ++i) {
    if (subscribers_.at(i).subscriber == subscriber)
      return;
  }
  append(subscriber, -1);
}

void DataEvent::subscribeOrdered(IKivEventSubscriber* subscriber, int order) {
  if (depth_ > 0) {
    SubscriberEntry entry;
    entry.order = order;
    entry.subscriber = subscriber;
    if (!pending_)
      pending_ = new IterStack<SubscriberEntry>(4);
    pending_->push(entry);
    return;
  }
  const int32_t count = subscribers_.count();
  for (int32_t i = 1; i <= count; ++i) {
    if (subscribers_.at(i).order > order) {
      subscribers_.push(subscribers_.at(count));
      for (int32_t k = count; k > i; --k)
        subscribers_.at(k) = subscribers_.at(k - 1);
      SubscriberEntry& entry = subscribers_.at(i);
      entry.order = order;
      entry.subscriber = subscriber;
      entry.removed = 0;
      return;
    }
  }
  // Nothing greater: the tail, through subscribe(), with the default order.
  // Keeping the given order at the tail is left open; nothing in the system
  // relies on either, and this keeps plain and ordered appends alike.
  subscribe(subscriber);
}

void DataEvent::unsubscribe(IKivEventSubscriber* subscriber) {
  const int32_t count = subscribers_.count();
  for (int32_t i = 1; i <= count; ++i) {
    // The first entry that holds the subscriber, marked or not: a second
    // unsubscribe in one delivery marks the same entry again.
    SubscriberEntry& entry = subscribers_.at(i);
    if (entry.subscriber != subscriber)
      continue;
    if (depth_ > 0) {
      entry.removed = 1;
      hasRemovals_ = 1;
      return;
    }
    for (int32_t k = i; k < count; ++k)
      subscribers_.at(k) = subscribers_.at(k + 1);
    subscribers_.setCount(count - 1);
    return;
  }
}

IKivDataObjectEvent& DataEvent::operator+=(IKivEventSubscriber* subscriber) {
  subscribe(subscriber);
  return *this;
}

IKivDataObjectEvent& DataEvent::operator-=(IKivEventSubscriber* subscriber) {
  unsubscribe(subscriber);
  return *this;
}

void DataEvent::fire(IKivDataEventSource* source, IKivDataEventArgs* args) {
  Delivery delivery(this);
  const int32_t count = subscribers_.count();
  for (int32_t i = 1; i <= count; ++i) {
    // Read afresh each time: a subscribe() may have moved the storage, and an
    // earlier subscriber may have marked this entry.
    const SubscriberEntry& entry = subscribers_.at(i);
    if (entry.removed)
      continue;
    entry.subscriber->onEvent(source, name_, args);
    if (delivery.destroyed)
      return;
  }
}

void DataEvent::settle() {
  if (depth_ != 0)
    return;
  if (hasRemovals_) {
    // Compacted in place: the same survivors in the same order as a copy
    // through a temporary list, without its allocation.
    int32_t kept = 0;
    for (int32_t i = 1; i <= subscribers_.count(); ++i) {
      const SubscriberEntry& entry = subscribers_.at(i);
      if (!entry.removed)
        subscribers_.at(++kept) = entry;
    }
    subscribers_.setCount(kept);
    hasRemovals_ = 0;
  }
  if (pending_ && pending_->count() > 0) {
    for (int32_t i = 1; i <= pending_->count(); ++i) {
      const SubscriberEntry entry = pending_->at(i);
      subscribeOrdered(entry.subscriber, entry.order);
    }
    pending_->clear();
  }
}
