#include "undo/pictureundoinfo.h"
#include "undo/dynamicobjectundoinfo.h"

#include "kivbasictypes/kivbounds.h"
#include "kivbasictypes/kivgridpoint.h"
#include "kivbasictypes/kivmatrix.h"
#include "kivbasictypes/kivquaternion.h"
#include "kivbasictypes/kivrect.h"
#include "kivbasictypes/kivvector.h"
#include "kivbasictypes/tovcolor.h"
#include "model/dynamicdataobject.h"
#include "properties/intproperty.h"
#include "properties/objectproperty.h"
#include "undosupport.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr uint64_t C = 7;

class UndoInfoTest : public ::testing::Test {
protected:
  void SetUp() override { inProcessHost(); }

  IPtr<UndoManager> manager{new UndoManager};
};

// One value of every value class.
struct Values {
  const char* name;
  bool flag;
  int count;
  double ratio;
  const char* label;
  Vector2D v2d;
  Vector2F v2f;
  KivVector v3d;
  KivMatrix matrix;
  KivBounds bounds;
  KivColor color;
  float shininess;
  KivQuaternion rotation;
  KivRect rect;
  KivGridPoint cell;
  DataObject* target;
};

KivMaterial materialOf(const Values& v) {
  KivMaterial material;
  material.diffuse = v.color;
  material.shininess = v.shininess;
  return material;
}

ObjectProperty* targetProperty(DataObject* o) {
  return kivQuery<ObjectProperty>(o->getProperty("target"), "ObjectProperty");
}

void apply(DynamicDataObject* o, const Values& v) {
  o->setName(KivString(v.name));
  o->set("flag", v.flag);
  o->set("count", v.count);
  o->set("ratio", v.ratio);
  o->set("label", v.label);
  o->set("v2d", v.v2d);
  o->set("v2f", v.v2f);
  o->set("v3d", v.v3d);
  o->set("matrix", v.matrix);
  o->set("bounds", v.bounds);
  o->set("color", v.color);
  o->set("material", materialOf(v));
  o->set("rotation", v.rotation);
  o->set("rect", v.rect);
  o->set("cell", v.cell);
  if (!o->hasProperty("target"))
    o->addProperty(new ObjectProperty(KivString("target"), v.target, false));
  else
    targetProperty(o)->set(v.target);
}

void expectValues(DynamicDataObject* o, const Values& v, const char* when) {
  EXPECT_EQ(text(o->nameText()), v.name) << when;
  EXPECT_EQ(o->getBool("flag"), v.flag) << when;
  EXPECT_EQ(o->getInt("count"), v.count) << when;
  EXPECT_EQ(o->getDouble("ratio"), v.ratio) << when;
  EXPECT_EQ(text(o->getString("label")), v.label) << when;
  EXPECT_TRUE(o->getVector2D("v2d") == v.v2d) << when;
  EXPECT_TRUE(o->getVector2F("v2f") == v.v2f) << when;
  EXPECT_TRUE(o->getVector3D("v3d") == v.v3d) << when;
  EXPECT_TRUE(o->getMatrix("matrix") == v.matrix) << when;
  EXPECT_TRUE(o->getBounds("bounds") == v.bounds) << when;
  EXPECT_TRUE(o->getColor("color") == v.color) << when;
  EXPECT_TRUE(o->getMaterial("material") == materialOf(v)) << when;
  EXPECT_TRUE(o->getQuaternion("rotation") == v.rotation) << when;
  EXPECT_TRUE(o->getRect("rect") == v.rect) << when;
  EXPECT_TRUE(o->getGridPoint("cell") == v.cell) << when;
  EXPECT_EQ(targetProperty(o)->get(), v.target) << when;
}

TEST_F(UndoInfoTest, EveryValueClassGoesBackAndForthWithItsEvents) {
  IPtr<DynamicDataObject> first(new DynamicDataObject), second(new DynamicDataObject);
  const Values before{"before", false, 3, 0.5, "old", {1, 2}, {3, 4}, {5, 6, 7},
                      KivMatrix(), KivBounds({0, 0, 0}, {1, 1, 1}), KivColor(1, 0, 0),
                      2.0f, KivQuaternion(), KivRect(0, 0, 1, 1), KivGridPoint(11), first};
  const Values after{"after", true, -9, 2.25, "new", {-1, -2}, {-3, -4}, {-5, -6, -7},
                     KivMatrix(2, 0, 0, 1, 0, 2, 0, 2, 0, 0, 2, 3, 0, 0, 0, 1),
                     KivBounds({-1, -1, -1}, {4, 4, 4}), KivColor(0, 0, 1, 0.5f), 8.0f,
                     KivQuaternion(0, 1, 0, 0), KivRect(-2, -2, 3, 3), KivGridPoint(99),
                     second};
  IPtr<DynamicDataObject> object(new DynamicDataObject);
  apply(object, before);

  manager->startUndoBlock(C);
  IKivUndoInfo* record = manager->addUndoObject(C, object, false);
  ASSERT_NE(dynamic_cast<DynamicObjectUndoInfo*>(record), nullptr);
  EXPECT_EQ(dynamic_cast<PictureUndoInfo*>(record)->after(), nullptr);
  apply(object, after);
  EXPECT_TRUE(manager->endUndoBlock(C));
  EXPECT_NE(dynamic_cast<PictureUndoInfo*>(record)->after(), nullptr);
  EXPECT_EQ(record->getSize(), object->memorySize());

  // Undo is heard like an edit: one "property_modified" per value property
  // ("name" goes to setName, which has no property event of its own).
  Recorder recorder;
  recorder.keys = {"name"};
  ASSERT_TRUE(object->subscribe(KivCString::view("property_modified"), &recorder));
  EXPECT_EQ(manager->undo(C), 0);
  expectValues(object, before, "after undo");
  std::vector<std::string> heard;
  for (const std::string& line : recorder.own)
    heard.push_back(line.substr(line.find("name=")));
  std::sort(heard.begin(), heard.end());
  EXPECT_EQ(heard, (std::vector<std::string>{
                       "name=bounds", "name=cell", "name=color", "name=count", "name=flag",
                       "name=label", "name=material", "name=matrix", "name=ratio", "name=rect",
                       "name=rotation", "name=target", "name=v2d", "name=v2f", "name=v3d"}));

  EXPECT_EQ(manager->redo(C), 0);
  expectValues(object, after, "after redo");
  EXPECT_EQ(manager->undoAll(), 0);
  expectValues(object, before, "after undoAll");
  object->unsubscribe(KivCString::view("property_modified"), &recorder);
}

TEST_F(UndoInfoTest, WhatAPictureCoversAndWhatItLeavesAlone) {
  IPtr<DynamicDataObject> object(new DynamicDataObject);
  object->set("x", 1);
  object->addProperty(new IntProperty(KivString("fixed"), 5, true));

  manager->startUndoBlock(C);
  manager->addUndoObject(C, object, true);
  object->set("x", 2);
  kivQuery<IntProperty>(object->getProperty("fixed"), "IntProperty")->set(9);
  object->set("late", 7);  // not in the "before" picture
  manager->endUndoBlock(C);

  manager->undo(C);
  EXPECT_EQ(object->getInt("x"), 1);
  EXPECT_EQ(object->getInt("fixed"), 9);  // read-only: never written back
  EXPECT_EQ(object->getInt("late"), 7);
  object->set("late", 8);
  manager->redo(C);
  EXPECT_EQ(object->getInt("x"), 2);
  EXPECT_EQ(object->getInt("late"), 7);  // it is in the "after" picture

  // A property that left the object is skipped, not recreated.
  object->removeProperty("late");
  manager->undo(C);
  EXPECT_FALSE(object->hasProperty("late"));
  EXPECT_EQ(object->getInt("x"), 1);

  // A cancelled block takes no "after" picture and leaves the edit.
  manager->startUndoBlock(C);
  IPtr<IKivUndoInfo> kept(manager->addUndoObject(C, object, false));
  object->set("x", 3);
  manager->cancelUndoBlock(C);
  EXPECT_EQ(object->getInt("x"), 3);
  EXPECT_EQ(dynamic_cast<PictureUndoInfo*>(kept.get())->after(), nullptr);

  // A plain record makes the block count as holding records.
  manager->startUndoBlock(C);
  manager->addUndoInfo(C, new UndoInfo);
  manager->endUndoBlock(C);
  Log log;
  LogListener listener("L", &log);
  manager->registerListener(&listener);
  EXPECT_EQ(manager->undo(C), 0);
  EXPECT_EQ(log, (Log{"L undo"}));
  manager->unregisterListener(&listener);
}

// Drops the object it pictures after the first assignment.
class Dropping : public PictureUndoInfo {
public:
  Dropping(DataObject* object, IPtr<DynamicDataObject>* holder)
      : PictureUndoInfo(object), holder(holder) {}
  void assigned(const KivString&) override { holder->clear(); }
  IPtr<DynamicDataObject>* holder;
};

TEST_F(UndoInfoTest, ObjectsThatDieBeforeTheirRecords) {
  IPtr<DynamicDataObject> object(new DynamicDataObject);
  object->set("a", 1);
  object->set("b", 2);
  manager->startUndoBlock(C);
  IKivUndoInfo* record = manager->addUndoObject(C, object, false);
  object->set("a", 10);
  manager->endUndoBlock(C);
  EXPECT_EQ(object->lifetimeListenerCount(), 1);
  object.clear();
  EXPECT_TRUE(record->isValid());  // every record is valid; its undo does nothing
  EXPECT_EQ(record->getSize(), 0u);
  EXPECT_EQ(manager->undo(C), 0);  // nothing left to write, nothing dangles
  EXPECT_EQ(manager->redo(C), 0);

  // A record released first takes itself off the object's listeners.
  IPtr<DynamicDataObject> survivor(new DynamicDataObject);
  manager->startUndoBlock(C);
  manager->addUndoObject(C, survivor, false);
  manager->endUndoBlock(C);
  EXPECT_EQ(survivor->lifetimeListenerCount(), 1);
  manager->clear();
  EXPECT_EQ(survivor->lifetimeListenerCount(), 0);

  // The object dies in the middle of a write-back.
  IPtr<DynamicDataObject> doomed(new DynamicDataObject);
  doomed->set("a", 1);
  doomed->set("b", 2);
  IPtr<Dropping> dropping(new Dropping(doomed, &doomed));
  doomed->set("a", 5);
  dropping->undo();
  EXPECT_FALSE(doomed);
  EXPECT_TRUE(dropping->isValid());
  EXPECT_EQ(dropping->before(), nullptr);  // freed once the write-back ended
  dropping->redo();
}

}  // namespace
