#include "properties/property.h"

#include "host/hostlog.h"
#include "properties/intproperty.h"
#include "properties/stringproperty.h"
#include "propertysupport.h"

#include <gtest/gtest.h>

namespace {

struct PropertyTest : ::testing::Test {
  PropertyTest() { inProcessHost(); }
};

TEST_F(PropertyTest, EventsSwitchOnAndOffOnceEach) {
  IPtr<IntProperty> p(new IntProperty(KivString("x"), 1, false, false));
  Changes changes;
  EXPECT_FALSE(p->hasEvents());
  EXPECT_EQ(p->eventArgs(), nullptr);
  EXPECT_FALSE(p->subscribe(modified(), &changes));

  EXPECT_TRUE(p->enableEvents(true));
  EXPECT_NE(p->eventArgs(), nullptr);
  EXPECT_TRUE(p->subscribe(modified(), &changes));
  EXPECT_FALSE(p->subscribe(KivCString::view("no_such_event"), &changes));
  EXPECT_FALSE(p->enableEvents(true));  // keeps the subscriber
  p->set(2);
  EXPECT_EQ(changes.calls.size(), 1u);

  EXPECT_TRUE(p->enableEvents(false));
  EXPECT_FALSE(p->enableEvents(false));
  EXPECT_EQ(p->eventArgs(), nullptr);
  p->set(3);
  EXPECT_EQ(changes.calls.size(), 1u);
}

// The value is stored before anyone hears of it; the arguments carry the old
// and the new value in properties of the source's class, and are replaced by
// a fresh, empty map after the firing.
TEST_F(PropertyTest, AChangeIsAnnouncedAfterItIsStored) {
  IPtr<IntProperty> p(new IntProperty(KivString("x"), 1, false));
  Changes changes;
  int seenBySubscriber = 0;
  changes.onCall = [&] { seenBySubscriber = p->get(); };
  p->subscribe(modified(), &changes);
  IKivDataEventArgs* before = p->eventArgs();

  p->set(5);
  EXPECT_EQ(changes.last(), "property_modified 1 5");
  EXPECT_EQ(seenBySubscriber, 5);
  EXPECT_EQ(changes.sources[0], static_cast<DataEventSource*>(p.get()));
  auto* args = kivQuery<DataEventArgs>(changes.kept[0].get(), "DataEventArgs");
  ASSERT_NE(args, nullptr);
  EXPECT_EQ(before, changes.kept[0].get());
  EXPECT_NE(kivQuery<IntProperty>(args->getProperty("oldValue"), "IntProperty"), nullptr);
  EXPECT_EQ(args->getInt("newValue"), 5);

  auto* fresh = kivQuery<DataEventArgs>(p->eventArgs(), "DataEventArgs");
  ASSERT_NE(fresh, nullptr);
  EXPECT_NE(fresh, args);
  EXPECT_EQ(fresh->count(), 0);
}

// A subscriber that writes the property starts a nested delivery; one that
// switches events off ends them for good, even though the firing was still
// running.
TEST_F(PropertyTest, SubscribersMayWriteOrSilenceThePropertyTheyHear) {
  IPtr<IntProperty> p(new IntProperty(KivString("x"), 0, false));
  Changes changes;
  changes.onCall = [&] {
    if (p->get() < 3)
      p->set(p->get() + 1);
  };
  p->subscribe(modified(), &changes);
  p->set(1);
  EXPECT_EQ(changes.calls, (std::vector<std::string>{"property_modified 0 1",
                                                      "property_modified 1 2",
                                                      "property_modified 2 3"}));

  changes.calls.clear();
  changes.onCall = [&] { p->enableEvents(false); };
  p->set(10);
  EXPECT_EQ(changes.calls.size(), 1u);
  EXPECT_FALSE(p->hasEvents());
  EXPECT_EQ(p->eventArgs(), nullptr);
}

// A subscriber's exception leaves the used arguments in place; the next
// change replaces "oldValue" and "newValue" in them.
TEST_F(PropertyTest, AnExceptionKeepsTheArgumentsForTheNextChange) {
  IPtr<StringProperty> p(new StringProperty(KivString("s"), KivString("a"), false));
  Changes changes;
  bool fail = true;
  changes.onCall = [&] {
    if (fail) {
      fail = false;
      throw 1;
    }
  };
  p->subscribe(modified(), &changes);
  EXPECT_THROW(p->set(KivString("b")), int);
  p->set(KivString("c"));
  EXPECT_EQ(changes.calls.back(), "property_modified b c");
  EXPECT_EQ(changes.kept[0].get(), changes.kept[1].get());
  EXPECT_EQ(kivQuery<DataEventArgs>(changes.kept[1].get(), "DataEventArgs")->count(), 2);
}

// Nobody hears a change: the argument object is still swapped, and one that
// somebody holds still receives "oldValue" and "newValue". A subscriber that
// comes after such changes hears the next one.
TEST_F(PropertyTest, AnUnheardChangeStillSwapsAndFillsHeldArguments) {
  IPtr<IntProperty> p(new IntProperty(KivString("x"), 1, false));
  IKivDataEventArgs* before = p->eventArgs();
  p->set(2);
  ASSERT_NE(p->eventArgs(), nullptr);
  EXPECT_NE(p->eventArgs(), before);

  IPtr<IKivDataEventArgs> held(p->eventArgs());
  p->set(3);
  auto* heldMap = kivQuery<DataEventArgs>(held.get(), "DataEventArgs");
  ASSERT_NE(heldMap, nullptr);
  EXPECT_EQ(heldMap->getInt("oldValue"), 2);
  EXPECT_EQ(heldMap->getInt("newValue"), 3);
  EXPECT_NE(p->eventArgs(), held.get());

  Changes changes;
  EXPECT_TRUE(p->unsubscribe(modified(), &changes));
  EXPECT_FALSE(p->unsubscribe(KivCString::view("no_such_event"), &changes));
  EXPECT_TRUE(p->subscribe(modified(), &changes));
  p->set(4);
  EXPECT_EQ(changes.calls, std::vector<std::string>{"property_modified 3 4"});
}

// Hears a change without keeping the arguments.
class Reader : public DataEventSubscriber {
public:
  void onDataEvent(DataEventSource*, const KivCString&, DataEventArgs* args) override {
    onCall(args);
  }
  std::function<void(DataEventArgs*)> onCall;
};

// An argument object that nobody kept is emptied and used again, but never by
// the very next change, and never while a nested change or a holder can still
// read it.
TEST_F(PropertyTest, ArgumentsAreRecycledOnlyWhenNobodyCanSeeThem) {
  IPtr<IntProperty> p(new IntProperty(KivString("x"), 0, false));
  auto* first = kivQuery<DataEventArgs>(p->eventArgs(), "DataEventArgs");
  ASSERT_NE(first, nullptr);
  first->set("left", 1);  // through a bare pointer, then forgotten
  first->setFlags(0);
  p->set(1);
  auto* second = kivQuery<DataEventArgs>(p->eventArgs(), "DataEventArgs");
  p->set(2);
  EXPECT_NE(second, first);
  EXPECT_EQ(p->eventArgs(), static_cast<IKivDataEventArgs*>(first));
  EXPECT_EQ(first->count(), 0);
  EXPECT_EQ(first->flags(), kMapArgsFlag | kMapPropertyEvents);

  // The outer call reads its arguments after a nested change, which shares
  // them, and keeps them; they must still hold what they held.
  std::vector<std::string> seen;
  Reader reader;
  IPtr<IKivDataEventArgs> kept;
  int depth = 0;
  reader.onCall = [&](DataEventArgs* args) {
    if (++depth == 1 && p->get() == 3)
      p->set(4);
    seen.push_back(std::to_string(args->getInt("oldValue")) + " " +
                   std::to_string(args->getInt("newValue")));
    if (depth-- == 1)
      kept = args;
  };
  p->subscribe(modified(), &reader);
  p->set(3);
  EXPECT_EQ(seen, (std::vector<std::string>{"3 4", "3 4"}));
  IPtr<IKivDataEventArgs> last(kept);
  p->set(5);
  p->set(6);
  EXPECT_EQ(kivQuery<DataEventArgs>(last.get(), "DataEventArgs")->getInt("newValue"), 4);
  EXPECT_EQ(seen.back(), "5 6");
  p->unsubscribe(modified(), &reader);
}

// "oldValue" and "newValue" are full properties with events: they can be
// subscribed to, fire with arguments of their own, and copy with events.
TEST_F(PropertyTest, TheArgumentPropertiesOfAChangeHaveEvents) {
  IPtr<IntProperty> p(new IntProperty(KivString("x"), 1, false));
  Changes changes;
  p->subscribe(modified(), &changes);
  p->set(5);
  auto* args = kivQuery<DataEventArgs>(changes.kept[0].get(), "DataEventArgs");
  ASSERT_NE(args, nullptr);
  auto* newValue = kivQuery<IntProperty>(args->getProperty("newValue"), "IntProperty");
  auto* oldValue = kivQuery<IntProperty>(args->getProperty("oldValue"), "IntProperty");
  ASSERT_NE(newValue, nullptr);
  ASSERT_NE(oldValue, nullptr);
  IPtr<IKivProperty> copy(oldValue->clone());  // while its events are untouched
  EXPECT_TRUE(newValue->hasEvents());
  EXPECT_NE(oldValue->eventArgs(), nullptr);
  EXPECT_EQ(text(newValue->name()), "newValue");

  Changes onArgument;
  EXPECT_TRUE(newValue->subscribe(modified(), &onArgument));
  newValue->set(6);
  EXPECT_EQ(onArgument.calls, std::vector<std::string>{"property_modified 5 6"});
  EXPECT_EQ(onArgument.sources[0], static_cast<DataEventSource*>(newValue));
  EXPECT_NE(onArgument.kept[0].get(), changes.kept[0].get());

  auto* c = kivQuery<IntProperty>(copy.get(), "IntProperty");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->hasEvents());
  Changes onCopy;
  EXPECT_TRUE(c->subscribe(modified(), &onCopy));
  c->set(7);
  EXPECT_EQ(onCopy.calls, std::vector<std::string>{"property_modified 1 7"});
  EXPECT_TRUE(onArgument.calls.size() == 1 && changes.calls.size() == 1);
  newValue->unsubscribe(modified(), &onArgument);
}

TEST_F(PropertyTest, ACopyIsPersistentWithEventsOfItsOwn) {
  IPtr<IntProperty> p(new IntProperty(KivString("x"), 4, true));
  Changes changes;
  p->subscribe(modified(), &changes);
  p->setPersistent(false);

  IPtr<IKivProperty> copy(p->clone());
  auto* c = kivQuery<IntProperty>(copy.get(), "IntProperty");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->isPersistent());
  EXPECT_TRUE(c->isReadOnly());
  EXPECT_TRUE(c->hasEvents());
  EXPECT_EQ(c->get(), 4);
  c->set(5);
  EXPECT_TRUE(changes.calls.empty());

  IPtr<IntProperty> quiet(new IntProperty(KivString("q"), 0, false, false));
  IPtr<IKivProperty> quietCopy(quiet->clone());
  EXPECT_FALSE(quietCopy->hasEvents());
}

TEST_F(PropertyTest, APlainPropertyCannotBeStored) {
  IPtr<Property> p(new Property(KivString("p"), false, false));
  const int lines = inProcessHost().log()->lineCount();
  Thrown t = catchCode([&] { p->classId(); });
  EXPECT_EQ(t.code, 6);
  EXPECT_EQ(t.message, "Error in class Document: Serialization not supported for Property.");
  EXPECT_EQ(inProcessHost().log()->lineCount(), lines + 1);
  EXPECT_STREQ(p->typeName(), "Invalid");
}

} // namespace
