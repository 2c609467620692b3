#include "model/dataobject.h"

#include "core/classids.h"
#include "kivbasictypes/ikivpersistentrefmap.h"
#include "host/hostpersistentrefmap.h"
#include "model/database.h"
#include "model/dataevent.h"
#include "model/dynamicdataobject.h"
#include "model/internaldataobject.h"
#include "model/relationship.h"
#include "modelsupport.h"
#include "properties/boolproperty.h"
#include "properties/intproperty.h"
#include "properties/objectproperty.h"
#include "properties/stringproperty.h"

#include <gtest/gtest.h>

namespace {

class DataObjectTest : public ::testing::Test {
protected:
  void SetUp() override {
    inProcessHost();
    refs()->reset();
  }
  void TearDown() override { refs()->reset(); }
  static HostPersistentRefMap* refs() { return inProcessHost().persistentRefMap(); }
};

// A stored class that this build's class table doesn't know.
constexpr KivClassId kStrangerId =
    makeClassId(0x0BADC0DE, 0x1, 0x2, 0x3, 0x4, 0x5, 0x6, 0x7, 0x8, 0x9, 0xA);

class Stranger : public DynamicDataObject {
public:
  const KivClassId* classId() override { return &kStrangerId; }
};

class StrangeProperty : public BoolProperty {
public:
  using BoolProperty::BoolProperty;
  const KivClassId* classId() override { return &kStrangerId; }
};

void link(DataObject* from, const char* name, DataObject* to) {
  from->addProperty(new ObjectProperty(KivString(name), to, false));
}

DataObject* target(DataObject* from, const char* name) {
  auto* p = kivQuery<ObjectProperty>(from->getProperty(name), "ObjectProperty");
  return p ? p->get() : nullptr;
}

// Sections directly inside the graph's section: one per stored object.
int objectSections(const Bytes& file) {
  FileReader in(file);
  int count = 0;
  if (!in.reader.nextBlock())  // the graph section
    return -1;
  in.reader.nextBlock();  // the first object
  in.reader.endBlock();
  ++count;
  bool more = false;
  while (in.reader.readBool(&more) && more && in.reader.nextBlock()) {
    in.reader.endBlock();
    ++count;
  }
  return count;
}

TEST_F(DataObjectTest, PropertyChangeReachesTheObjectWithNameAndProperty) {
  IPtr<DataObject> object = makeObject<DataObject>("D");
  object->addProperty(new IntProperty(KivString("x"), 0, false));
  Recorder recorder;
  recorder.keys = {"oldValue", "newValue", "name"};
  // The changed property itself travels in the same map, under its name. The
  // map lives only as long as the delivery, so it is looked at inside it.
  int withProperty = 0;
  recorder.hook = [&](IKivDataEventSource*, IKivDataEventArgs* args) {
    auto* map = kivQuery<IKivPropertyMap>(args, "IKivPropertyMap");
    if (map && map->hasProperty("x") && map->getProperty("x") == object->getProperty("x"))
      ++withProperty;
  };
  ASSERT_TRUE(object->subscribe(KivCString("property_modified"), &recorder));

  object->set("x", 5);
  object->set("x", 5);  // an equal int stops at the property
  object->set("x", 7);

  EXPECT_EQ(recorder.own, (std::vector<std::string>{
                              "property_modified D oldValue=0 newValue=5 name=x",
                              "property_modified D oldValue=5 newValue=7 name=x"}));
  EXPECT_EQ(withProperty, 2);
  object->unsubscribe(KivCString("property_modified"), &recorder);
}

TEST_F(DataObjectTest, DeletedFiresWhileWholeThenListenersAfterUnregistering) {
  Database* database = Database::instance();
  std::vector<std::string> log;
  IPtr<IKivProperty> outlives;
  int64_t id = -1;
  {
    IPtr<DataObject> parent = makeObject<DataObject>("P");
    IPtr<DataObject> child = makeObject<DataObject>("C");
    database->createRelationship(0, KivString("kids"), parent, child);
    id = parent->id();
    // Kept beyond the object's death. Not "name": a routed property calls
    // into its owner, which must outlive it.
    parent->addProperty(new IntProperty(KivString("x"), 0, false));
    outlives = parent->getProperty("x");

    Recorder deleted(&log);
    deleted.hook = [&](IKivDataEventSource* source, IKivDataEventArgs* args) {
      auto* o = kivQuery<DataObject>(source, "DataObject");
      // A reference taken and dropped here must not end the object twice.
      IPtr<DataObject> held(o);
      log.push_back("during: " + objectName(o) + " id " + std::to_string(o->id()) +
                    " registered " + std::to_string(database->getDataObject(id) != nullptr) +
                    " relationships " + std::to_string(o->parentRelationships()->count()) +
                    " args " + std::to_string(args != nullptr));
    };
    ASSERT_TRUE(parent->subscribe(KivCString("deleted"), &deleted));
    DeathCounter listener;
    listener.hook = [&] {
      log.push_back("listener: registered " +
                    std::to_string(database->getDataObject(id) != nullptr));
    };
    parent->addLifetimeListener(&listener);
    parent.clear();
    EXPECT_EQ(listener.deaths, 1);
  }
  EXPECT_EQ(log, (std::vector<std::string>{
                     "deleted P",
                     "during: P id " + std::to_string(id) + " registered 1 relationships 1 args 0",
                     "listener: registered 0"}));
  EXPECT_EQ(database->getDataObject(id), nullptr);
  // The object no longer hears a property that somebody else kept.
  kivQuery<IntProperty>(outlives.get(), "IntProperty")->set(1);
}

TEST_F(DataObjectTest, EventsAndListenersFollowTheFlags) {
  IPtr<DataObject> plain(new DataObject);
  IPtr<DataObject> silent(new DataObject(kMapRegisters, KivString("S"), -1));
  Recorder recorder;
  EXPECT_EQ(std::string(plain->eventNames().c_str()).size(),
            std::string("property_modified\ndeleted\nupdated\n").size());
  EXPECT_TRUE(plain->subscribe(KivCString("updated"), &recorder));
  EXPECT_FALSE(plain->subscribe(KivCString("name_changed"), &recorder));
  EXPECT_FALSE(silent->subscribe(KivCString("deleted"), &recorder));
  EXPECT_STREQ(silent->eventNames().c_str(), "");
  EXPECT_GE(silent->id(), 0);
  silent->setName(KivString("T"));
  EXPECT_EQ(objectName(silent), "T");

  plain->fireEvent(KivCString("updated"), nullptr);
  plain->fireEvent(KivCString("no_such_event"), nullptr);
  EXPECT_EQ(recorder.own.size(), 1u);
  plain->unsubscribe(KivCString("updated"), &recorder);

  // "name_changed" exists only where somebody created it; then every
  // setName fires, the same name included.
  plain->addEvent(KivCString("name_changed"));
  recorder.keys = {"name"};
  plain->subscribe(KivCString("name_changed"), &recorder);
  plain->setName(KivString("N"));
  plain->setName(KivString("N"));
  EXPECT_EQ(recorder.own.back(), "name_changed N name=N");
  EXPECT_EQ(recorder.own.size(), 3u);
  plain->unsubscribe(KivCString("name_changed"), &recorder);

  DeathCounter listener;
  plain->addLifetimeListener(&listener);
  plain->addLifetimeListener(&listener);
  plain->removeLifetimeListener(&listener);
  plain.clear();
  EXPECT_EQ(listener.deaths, 1);
}

// The three standard events are only built when somebody needs them; every
// way in must find them as if they had been there from the start.
TEST_F(DataObjectTest, StandardEventsAreThereWhicheverWayTheyAreFirstReached) {
  Recorder recorder;
  std::string names;
  {
    IPtr<DataObject> fresh(new DataObject);
    names = fresh->eventNames().c_str();
  }
  IPtr<DataObject> viaUnsubscribe(new DataObject);
  EXPECT_TRUE(viaUnsubscribe->unsubscribe(KivCString("updated"), &recorder));
  EXPECT_FALSE(viaUnsubscribe->unsubscribe(KivCString("no_such_event"), &recorder));
  viaUnsubscribe->fireEvent(KivCString("updated"), nullptr);  // nobody to reach yet
  ASSERT_TRUE(viaUnsubscribe->subscribe(KivCString("updated"), &recorder));
  viaUnsubscribe->fireEvent(KivCString("updated"), nullptr);
  EXPECT_EQ(recorder.own.size(), 1u);
  EXPECT_EQ(viaUnsubscribe->eventNames().c_str(), names);
  viaUnsubscribe->unsubscribe(KivCString("updated"), &recorder);

  // An event added first still comes with the standard ones.
  IPtr<DataObject> viaAdd(new DataObject);
  ASSERT_NE(viaAdd->addEvent(KivCString("custom")), nullptr);
  EXPECT_EQ(std::string(viaAdd->eventNames().c_str()).size(), names.size() + 7);
  ASSERT_NE(viaAdd->findEvent(KivCString("deleted")), nullptr);
  viaAdd->findEvent(KivCString("deleted"))->subscribe(&recorder);
  viaAdd.clear();
  EXPECT_EQ(recorder.own.back(), "deleted ");
}

TEST_F(DataObjectTest, CloneIsANewIdentityThatHearsItsOwnProperties) {
  IPtr<DynamicDataObject> original = makeObject<DynamicDataObject>("O");
  original->set("count", 3);
  Recorder onOriginal;
  original->subscribe(KivCString("property_modified"), &onOriginal);

  IPtr<IKivDataObject> copyHandle(original->clone());
  auto* copy = kivQuery<DynamicDataObject>(copyHandle.get(), "DynamicDataObject");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(objectName(copy), "O");
  EXPECT_EQ(copy->getInt("count"), 3);
  EXPECT_GT(copy->id(), original->id());
  EXPECT_EQ(copy->parentRelationships(), nullptr);
  EXPECT_EQ(copy->lifetimeListenerCount(), 0);

  Recorder onCopy;
  copy->subscribe(KivCString("property_modified"), &onCopy);
  copy->set("count", 4);
  copy->set("name", KivString("Copy"));
  EXPECT_EQ(onCopy.own.size(), 1u);  // the routed name fires nothing itself
  EXPECT_TRUE(onOriginal.own.empty());
  EXPECT_EQ(objectName(copy), "Copy");
  EXPECT_EQ(original->getInt("count"), 3);
  copy->unsubscribe(KivCString("property_modified"), &onCopy);
  original->unsubscribe(KivCString("property_modified"), &onOriginal);
}

TEST_F(DataObjectTest, ObjectSectionBytes) {
  IPtr<DynamicDataObject> object = makeObject<DynamicDataObject>("A");
  object->set("expanded", true);
  object->set("hidden", false);
  kivQuery<Property>(object->getProperty("hidden"), "Property")->setPersistent(false);
  Bytes file = fileOf([&](KivFileWrite& w) { object->write(&w); });

  const std::string classId = "D7 DF 40 BF 33 32 48 97 83 DF 1F D6 3F 00 38 9F";
  const std::string expected =
      "54 4F 56 01 00 00 00 00 00 00 00 9F "  // root, 159 bytes
      "0B 00 02 05 00 00 00 00 00 00 00 93 " + classId +  // object section, version 5, 147 bytes
      " 01 00 05 00 00 00 00 00 00 00 00 0E 00 41"  // name "A"
      " B0 0B BE 02 00 00 00 00 00 00 00 0C"  // extra data, empty
      " 0B 00 02 00 00 00 00 00 00 00 00 20 " + classId + " 00 00 00 01"  // reference
      " 00 00 00 01"  // one stored property ("name" is routed, "hidden" isn't persistent)
      " 01 00 05 00 00 00 00 00 00 00 00 1C"
      " 00 65 00 78 00 70 00 61 00 6E 00 64 00 65 00 64"
      " 0B 00 02 00 00 00 00 00 00 00 00 1D"
      " BB 34 60 9A 22 FD 4E B0 90 9C 7E 7B C8 19 51 5C 01";
  EXPECT_EQ(hexText(file), expected);

  // Read into a fresh object and written again: the same bytes.
  refs()->reset();
  IPtr<DynamicDataObject> back(new DynamicDataObject);
  FileReader in(file);
  EXPECT_TRUE(back->read(&in.reader));
  EXPECT_EQ(objectName(back), "A");
  EXPECT_TRUE(back->getBool("expanded"));
  refs()->reset();
  EXPECT_EQ(hexText(fileOf([&](KivFileWrite& w) { back->write(&w); })), expected);
}

TEST_F(DataObjectTest, WritingAClassWithoutItsOwnIdentifierFails) {
  IPtr<InternalDataObject> object(new InternalDataObject);
  PlatformException* e = nullptr;
  fileOf([&](KivFileWrite& w) { e = caught([&] { object->write(&w); }); });
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->code, 6);
  EXPECT_EQ(text(e->message),
            "Error in class Document: Serialization not supported for InternalDataObject.");
  delete e;
  EXPECT_EQ(*IPtr<DataObject>(new DataObject)->classId(), KivClassId());
}

TEST_F(DataObjectTest, GraphWithASharedChildAndACycleLoadsOneInstanceEach) {
  Bytes file;
  {
    IPtr<DynamicDataObject> root = makeObject<DynamicDataObject>("root");
    IPtr<DynamicDataObject> a = makeObject<DynamicDataObject>("a");
    IPtr<DynamicDataObject> b = makeObject<DynamicDataObject>("b");
    IPtr<DynamicDataObject> shared = makeObject<DynamicDataObject>("shared");
    link(root, "a", a);
    link(root, "b", b);
    link(a, "s", shared);
    link(b, "s", shared);
    link(shared, "back", root);
    file = fileOf([&](KivFileWrite& w) { root->writeGraph(&w); });
    link(shared, "back", nullptr);  // let the cycle go
  }
  EXPECT_EQ(objectSections(file), 4);

  refs()->reset();
  IPtr<DynamicDataObject> root(new DynamicDataObject);
  {
    FileReader in(file);
    EXPECT_TRUE(root->readGraph(&in.reader));
  }
  refs()->reset();
  DataObject* a = target(root, "a");
  DataObject* b = target(root, "b");
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(objectName(root), "root");
  EXPECT_EQ(objectName(a), "a");
  EXPECT_EQ(objectName(b), "b");
  DataObject* shared = target(a, "s");
  ASSERT_NE(shared, nullptr);
  EXPECT_EQ(target(b, "s"), shared);
  EXPECT_EQ(objectName(shared), "shared");
  EXPECT_EQ(target(shared, "back"), root.get());
  link(shared, "back", nullptr);
}

TEST_F(DataObjectTest, UnknownClassesAreSkippedAndTheRestIsRead) {
  Bytes file;
  {
    IPtr<DynamicDataObject> root = makeObject<DynamicDataObject>("root");
    IPtr<Stranger> stranger = makeObject<Stranger>("stranger");
    IPtr<DynamicDataObject> known = makeObject<DynamicDataObject>("known");
    link(root, "a", stranger);  // written after "z": the queue gives last first
    link(root, "z", known);
    link(stranger, "next", known);
    root->addProperty(new StrangeProperty(KivString("odd"), true, false));
    root->set("plain", 9);
    file = fileOf([&](KivFileWrite& w) { root->writeGraph(&w); });
  }
  refs()->reset();
  IPtr<DynamicDataObject> root(new DynamicDataObject);
  FileReader in(file);
  root->readGraph(&in.reader);
  EXPECT_TRUE(in.reader.good());
  refs()->reset();
  EXPECT_EQ(target(root, "a"), nullptr);
  ASSERT_NE(target(root, "z"), nullptr);
  EXPECT_EQ(objectName(target(root, "z")), "known");
  EXPECT_FALSE(root->hasProperty("odd"));
  EXPECT_EQ(root->getInt("plain"), 9);
}

} // namespace
