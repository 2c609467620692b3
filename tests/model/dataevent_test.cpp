#include "model/dataevent.h"

#include "core/kivptr.h"
#include "inprocesshost.h"
#include "model/dataeventargs.h"
#include "model/dataeventsource.h"
#include "model/dataeventsubscriber.h"
#include "model/kivteventsubscriber.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

// A subscriber that records its calls and can be told to disturb the list
// it stands in while it is being delivered.
class Hostile : public IKivEventSubscriber {
public:
  Hostile(const char* id, DataEvent* event, std::vector<std::string>* log)
      : id(id), event(event), log(log) {}

  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name && !kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      kivAnswer(name, "IKivEventSubscriber", static_cast<IKivEventSubscriber*>(this), out);
  }
  const char* className() const override { return "Hostile"; }

  void onEvent(IKivDataEventSource* source, const KivCString& name,
               IKivDataEventArgs* args) override {
    log->push_back(id);
    seenName = name.c_str();
    seenArgs = args;
    if (removeSelf)
      event->unsubscribe(this);
    if (doomed)
      event->unsubscribe(doomed);
    if (added)
      event->subscribe(added);
    if (ordered) {
      event->subscribeOrdered(ordered, order);
      ordered = nullptr;  // once
    }
    if (nestedFires > 0) {
      --nestedFires;
      event->fire(source, args);
      countAfterNested = event->subscribers().count();
    }
    if (deletesEvent)
      delete event;
    if (throws)
      throw std::runtime_error("subscriber failed");
  }

  std::string id;
  DataEvent* event;
  std::vector<std::string>* log;
  bool removeSelf = false;
  IKivEventSubscriber* doomed = nullptr;
  IKivEventSubscriber* added = nullptr;
  IKivEventSubscriber* ordered = nullptr;
  int order = -1;
  int nestedFires = 0;
  int countAfterNested = -1;
  bool deletesEvent = false;
  bool throws = false;
  std::string seenName;
  IKivDataEventArgs* seenArgs = nullptr;
};

std::string joined(const std::vector<std::string>& calls) {
  std::string s;
  for (const std::string& c : calls)
    s += (s.empty() ? "" : " ") + c;
  return s;
}

std::string order(const DataEvent& event) {
  std::string s;
  for (int32_t i = 1; i <= event.subscribers().count(); ++i) {
    auto* h = static_cast<Hostile*>(event.subscribers().at(i).subscriber);
    s += (s.empty() ? "" : " ") + h->id;
  }
  return s;
}

struct EventFixture : ::testing::Test {
  EventFixture() : a("A", &event, &log), b("B", &event, &log), c("C", &event, &log),
                   d("D", &event, &log) {
    event.setName("changed");
    event += &a;
    event += &b;
    event += &c;
  }
  std::string fire() {
    log.clear();
    event.fire(nullptr, nullptr);
    return joined(log);
  }

  DataEvent event;
  std::vector<std::string> log;
  Hostile a, b, c, d;
};

// Removal during delivery is only a mark; the list is compacted afterwards
// and the order of the survivors never changes.
TEST_F(EventFixture, UnsubscribingDuringDeliveryIsSafeForSelfEarlierAndLater) {
  b.removeSelf = true;
  EXPECT_EQ(fire(), "A B C");
  EXPECT_EQ(order(event), "A C");
  EXPECT_EQ(fire(), "A C");

  a.doomed = &c;  // a later one: not called in this very delivery
  EXPECT_EQ(fire(), "A");
  EXPECT_EQ(order(event), "A");

  b.removeSelf = false;
  event += &b;
  event += &c;
  a.doomed = nullptr;
  c.doomed = &a;  // an earlier one: already served, gone afterwards
  EXPECT_EQ(fire(), "A B C");
  EXPECT_EQ(order(event), "B C");
  EXPECT_EQ(event.depth(), 0u);
}

TEST_F(EventFixture, SubscribeDuringDeliveryServesFromTheNextFiring) {
  a.added = &d;
  EXPECT_EQ(fire(), "A B C");
  EXPECT_EQ(fire(), "A B C D");  // a's second subscribe of d adds nothing
  EXPECT_EQ(order(event), "A B C D");

}

// A marked entry still stands in the list until the list settles: subscribe
// finds it and adds nothing, and unsubscribe finds it first again.
TEST_F(EventFixture, AMarkedEntryStillStandsUntilTheListSettles) {
  b.removeSelf = true;  // unsubscribes itself, then subscribes itself again
  b.added = &b;
  EXPECT_EQ(fire(), "A B C");
  EXPECT_EQ(order(event), "A C");
  EXPECT_EQ(fire(), "A C");

  b.removeSelf = false;
  b.added = nullptr;
  event += &b;
  c.removeSelf = true;  // marked by itself, subscribed again by a later one
  d.added = &c;
  event += &d;
  EXPECT_EQ(fire(), "A C B D");
  EXPECT_EQ(order(event), "A B D");

  // C twice, in front and behind; two unsubscribes in one delivery both
  // mark the first entry, so the second stays.
  c.removeSelf = false;
  d.added = nullptr;
  event += &c;
  event.subscribeOrdered(&c, -5);
  EXPECT_EQ(order(event), "C A B D C");
  a.doomed = &c;
  b.doomed = &c;
  EXPECT_EQ(fire(), "C A B D C");
  EXPECT_EQ(order(event), "A B D C");
}

// Held-back subscriptions appear only when the outermost delivery ends; a
// nested firing doesn't reach them.
TEST_F(EventFixture, OrderedSubscriptionDuringDeliveryWaitsForTheOutermost) {
  a.ordered = &d;
  a.order = -5;
  a.nestedFires = 1;
  EXPECT_EQ(fire(), "A A B C B C");
  EXPECT_EQ(event.pendingCount(), 0);
  EXPECT_EQ(order(event), "D A B C");
  EXPECT_EQ(fire(), "D A B C");
}

// A nested firing serves the whole list, including entries behind the
// current position, and marks stay until the outermost delivery settles.
TEST_F(EventFixture, NestedFiringServesEveryoneAndSettlesOnlyAtTheEnd) {
  a.nestedFires = 1;
  b.removeSelf = true;
  EXPECT_EQ(fire(), "A A B C C");
  EXPECT_EQ(a.countAfterNested, 3);  // b was marked, not yet swept
  EXPECT_EQ(order(event), "A C");
}

TEST_F(EventFixture, DoubleSubscribeGivesOneEntryAndOneUnsubscribeRemovesIt) {
  event.subscribe(&a);
  event += &a;
  EXPECT_EQ(order(event), "A B C");
  EXPECT_EQ(fire(), "A B C");
  event -= &a;
  EXPECT_EQ(order(event), "B C");
  event.unsubscribe(&d);  // not there: nothing
  EXPECT_EQ(order(event), "B C");
}

TEST(DataEvent, SubscribeOrderedPlacesInFrontOfTheFirstGreaterOrder) {
  struct Case {
    const char* name;
    int order;
    const char* expected;
  };
  const Case cases[] = {
      {"below_default_goes_first", -3, "X A B Y"},
      {"default_order_appends", -1, "A B X Y"},
      {"greater_than_all_appends", 7, "A B X Y"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    DataEvent event;
    std::vector<std::string> log;
    Hostile a("A", &event, &log), b("B", &event, &log), x("X", &event, &log),
        y("Y", &event, &log);
    event += &a;
    event += &b;
    event.subscribeOrdered(&x, k.order);
    event.subscribeOrdered(&y, -1);
    EXPECT_EQ(order(event), k.expected);
  }

  // With an entry of greater order found there is no test for a subscriber
  // that already stands there: it stands twice and is called twice.
  DataEvent event;
  std::vector<std::string> log;
  Hostile a("A", &event, &log);
  event += &a;
  event.subscribeOrdered(&a, -3);
  event.fire(nullptr, nullptr);
  EXPECT_EQ(joined(log), "A A");
  event.unsubscribe(&a);
  EXPECT_EQ(order(event), "A");
}

TEST_F(EventFixture, ASubscriberMayDeleteTheEventItStandsIn) {
  auto* doomedEvent = new DataEvent;
  Hostile killer("K", doomedEvent, &log), after("L", doomedEvent, &log);
  killer.deletesEvent = true;
  doomedEvent->subscribe(&killer);
  doomedEvent->subscribe(&after);
  doomedEvent->fire(nullptr, nullptr);
  EXPECT_EQ(joined(log), "K");
}

// An exception that passes through fire() leaves the event usable: depth is
// back at 0 and the held-back changes have been applied.
TEST_F(EventFixture, AnExceptionThroughFireRestoresTheEvent) {
  a.removeSelf = true;
  b.ordered = &d;
  b.throws = true;
  EXPECT_THROW(event.fire(nullptr, nullptr), std::runtime_error);
  EXPECT_EQ(event.depth(), 0u);
  EXPECT_EQ(event.pendingCount(), 0);
  EXPECT_EQ(order(event), "B C D");
}

TEST_F(EventFixture, SubscribersReceiveTheNameAndNullArguments) {
  EXPECT_EQ(fire(), "A B C");
  EXPECT_EQ(c.seenName, "changed");
  EXPECT_EQ(c.seenArgs, nullptr);
}

class RecordingSubscriber : public DataEventSubscriber {
public:
  void onDataEvent(DataEventSource* source, const KivCString&, DataEventArgs* args) override {
    ++calls;
    seenSource = source;
    seenArgs = args;
  }
  int calls = 0;
  DataEventSource* seenSource = reinterpret_cast<DataEventSource*>(1);
  DataEventArgs* seenArgs = reinterpret_cast<DataEventArgs*>(1);
};

TEST(DataEventSubscriber, AdaptsToImplementationClassesOrNull) {
  inProcessHost();
  DataEvent event;
  RecordingSubscriber subscriber;
  event += &subscriber;
  event.fire(nullptr, nullptr);
  EXPECT_EQ(subscriber.calls, 1);
  EXPECT_EQ(subscriber.seenSource, nullptr);
  EXPECT_EQ(subscriber.seenArgs, nullptr);

  IPtr<DataEventSource> source(new DataEventSource);
  IPtr<IKivDataEventArgs> args(SPtr<IKivDataEventArgs>("IKivDataEventArgs"));
  ASSERT_TRUE(args);
  event.fire(source.get(), args.get());
  EXPECT_EQ(subscriber.seenSource, source.get());
  EXPECT_EQ(static_cast<void*>(subscriber.seenArgs),
            kivQuery<void>(args.get(), "DataEventArgs"));
}

struct Owner {
  void heard(IKivDataEventSource*, const KivCString& name, IKivDataEventArgs*) {
    names.push_back(name.c_str());
  }
  std::vector<std::string> names;
};

TEST(KivTEventSubscriber, CallsTheMemberOnlyWhenBothAreSet) {
  Owner owner;
  KivTEventSubscriber<Owner> bridge(&owner, &Owner::heard);
  KivTEventSubscriber<Owner> idle;
  DataEvent event;
  event.setName("deleted");
  event += &bridge;
  event += &idle;
  event.fire(nullptr, nullptr);
  ASSERT_EQ(owner.names.size(), 1u);
  EXPECT_EQ(owner.names[0], "deleted");
  EXPECT_STREQ(bridge.className(), "KivTEventSubscriber<T>");
}

// Events and argument maps come from the class table; argument maps are
// never shared and carry the flags 5.
TEST(DataEvent, ClassTableGivesEventsAndFreshArgumentMaps) {
  inProcessHost();
  SPtr<IKivDataObjectEvent> event("IKivDataObjectEvent");
  ASSERT_TRUE(event);
  EXPECT_STREQ(event->className(), "DataEvent");

  SPtr<IKivDataEventArgs> first("IKivDataEventArgs");
  SPtr<IKivDataEventArgs> second("IKivDataEventArgs");
  ASSERT_TRUE(first && second);
  EXPECT_NE(first.get(), second.get());
  auto* args = kivQuery<DataEventArgs>(first.get(), "DataEventArgs");
  ASSERT_NE(args, nullptr);
  EXPECT_EQ(args->flags(), 5);
  EXPECT_NE(kivQuery<void>(first.get(), "IKivPropertyMap"), nullptr);
  EXPECT_NE(kivQuery<void>(first.get(), "IKivDataEventSource"), nullptr);
}

} // namespace
