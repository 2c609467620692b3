// The copies inside undo pictures start without events, while the pictured
// object and its properties keep theirs, and undo and redo still deliver
// "property_modified" with "oldValue" and "newValue".
#include "undo/pictureundoinfo.h"

#include "model/dynamicdataobject.h"
#include "properties/intproperty.h"
#include "properties/stringproperty.h"
#include "undosupport.h"

#include <gtest/gtest.h>

namespace {

constexpr uint64_t C = 3;

TEST(PictureCopies, PicturesHaveNoEventsAndTheObjectKeepsItsOwn) {
  inProcessHost();
  IPtr<UndoManager> manager(new UndoManager);
  IPtr<DynamicDataObject> object(new DynamicDataObject);
  object->set("x", 1);
  object->set("label", "one");

  manager->startUndoBlock(C);
  IPtr<IKivUndoInfo> record(manager->addUndoObject(C, object, false));
  object->set("x", 2);
  object->set("label", "two");
  manager->endUndoBlock(C);

  auto* picture = dynamic_cast<PictureUndoInfo*>(record.get());
  ASSERT_NE(picture, nullptr);
  for (const PropertyMap* map : {picture->before(), picture->after()}) {
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->flags(), object->flags());
    EXPECT_EQ(map->count(), object->count());
    for (const auto& [key, property] : map->properties()) {
      EXPECT_FALSE(property->hasEvents()) << text(key);
      EXPECT_TRUE(object->getProperty(key)->hasEvents()) << text(key);
    }
  }
  EXPECT_EQ(picture->before()->getInt("x"), 1);
  EXPECT_EQ(picture->after()->getInt("x"), 2);

  Recorder recorder;
  recorder.keys = {"name", "oldValue", "newValue"};
  object->subscribe(KivCString::view("property_modified"), &recorder);
  manager->undo(C);
  manager->redo(C);
  object->unsubscribe(KivCString::view("property_modified"), &recorder);
  // Written back in key order: "label", "name" (unchanged, silent), "x";
  // "name" in the arguments is the changed property's name.
  EXPECT_EQ(recorder.own, (std::vector<std::string>{
                              "property_modified  name=label oldValue=two newValue=one",
                              "property_modified  name=x oldValue=2 newValue=1",
                              "property_modified  name=label oldValue=one newValue=two",
                              "property_modified  name=x oldValue=1 newValue=2",
                          }));
}

TEST(PictureCopies, OnlyTheNextCopyIsSilent) {
  inProcessHost();
  IPtr<IKivProperty> source(new IntProperty(KivString("n"), 4, false));
  ASSERT_TRUE(source->hasEvents());
  IPtr<IKivProperty> first, second, after;
  {
    Property::SilentCopy silent;
    first = source->clone();
    second = source->clone();
  }
  after = source->clone();
  EXPECT_FALSE(first->hasEvents());
  EXPECT_TRUE(second->hasEvents());
  EXPECT_TRUE(after->hasEvents());
  // A silent copy can still be given events like any property without them.
  EXPECT_TRUE(first->enableEvents(true));
  EXPECT_TRUE(first->hasEvents());
}

} // namespace
