#include "properties/routedproperty.h"

#include "properties/propertymap.h"
#include "properties/stringproperty.h"
#include "propertysupport.h"

#include <gtest/gtest.h>

namespace {

struct Owner {
  const KivString& title() const { return title_; }
  void setTitle(const KivString& title) {
    title_ = title;
    ++writes;
  }
  KivString title_ = KivString("first");
  int writes = 0;
};

using RoutedString = RoutedPropertyTemplate<KivString, StringProperty, Owner>;

TEST(RoutedProperty, ReadsAndWritesGoToTheOwner) {
  inProcessHost();
  Owner owner;
  IPtr<RoutedString> p(new RoutedString(KivString("title"), false, &owner, &Owner::title,
                                        &Owner::setTitle));
  Changes changes;
  p->subscribe(modified(), &changes);
  EXPECT_FALSE(p->isPersistent());
  EXPECT_TRUE(p->hasEvents());
  EXPECT_STREQ(p->className(), "RoutedPropertyTemplate");
  EXPECT_NE(kivQuery<StringProperty>(p.get(), "StringProperty"), nullptr);

  owner.title_ = KivString("second");
  KivString text;
  p->valueText(p->name(), text);
  EXPECT_EQ(text, "second");

  // Through a map: the type check passes and the owner decides; nothing
  // fires on the property itself.
  PropertyMap map;
  map.addProperty(p.get());
  map.set("title", KivString("third"));
  EXPECT_EQ(owner.title_, "third");
  EXPECT_EQ(owner.writes, 1);
  EXPECT_TRUE(changes.calls.empty());
  EXPECT_EQ(map.getString("title"), "third");

  // The clone is a plain value property with the value of the moment.
  IPtr<IKivProperty> clone(p->clone());
  EXPECT_STREQ(clone->className(), "StringProperty");
  kivQuery<StringProperty>(clone.get(), "StringProperty")->set(KivString("elsewhere"));
  EXPECT_EQ(owner.title_, "third");
  EXPECT_TRUE(kivQuery<IKivWriteable>(clone.get(), "IKivWriteable")->isPersistent());
}

TEST(RoutedProperty, WithoutSetterWritesAreIgnored) {
  inProcessHost();
  Owner owner;
  IPtr<RoutedString> p(new RoutedString(KivString("title"), true, &owner, &Owner::title));
  p->set(KivString("ignored"));
  EXPECT_EQ(owner.title_, "first");
  EXPECT_TRUE(p->isReadOnly());
  EXPECT_EQ(p->get(), "first");
}

} // namespace
