#include "core/lookup.h"
#include "host/hostpersistentrefmap.h"
#include "model/dataobjectarraylistener.h"
#include "model/dataobjectinstance.h"
#include "model/dynamicdataobject.h"
#include "model/internaldataobject.h"
#include "model/opaquedata.h"
#include "modelsupport.h"
#include "properties/intproperty.h"
#include "properties/objectproperty.h"
#include "properties/stringproperty.h"
#include "undo/ikivundoinfo.h"

#include <gtest/gtest.h>

namespace {

class VariantsTest : public ::testing::Test {
protected:
  void SetUp() override {
    inProcessHost();
    refs()->reset();
  }
  void TearDown() override { refs()->reset(); }
  static HostPersistentRefMap* refs() { return inProcessHost().persistentRefMap(); }

  // Reads the one object of `file` as the class table builds it.
  static IPtr<DataObject> readBack(const Bytes& file) {
    refs()->reset();
    FileReader in(file);
    const KivClassId id = *in.reader.peekClassId();
    void* out = nullptr;
    if (!createObject(&id, "DataObject", &out) || !out)
      return IPtr<DataObject>();
    IPtr<DataObject> object(static_cast<DataObject*>(out));
    object->read(&in.reader);
    EXPECT_TRUE(in.reader.good());
    return object;
  }
};

// The class of what the class table builds for an interface name.
template <class I>
std::string classOf(const char* interfaceName) {
  void* out = nullptr;
  if (!getObject(interfaceName, &out) || !out)
    return "(none)";
  IPtr<IKivUnknown> held(static_cast<I*>(out));
  return held->className();
}

TEST_F(VariantsTest, EveryVariantComesFromTheClassTable) {
  EXPECT_EQ(classOf<IKivDynamicDataObject>("IKivDynamicDataObject"), "DynamicDataObject");
  EXPECT_EQ(classOf<IKivInternalDataObject>("IKivInternalDataObject"), "InternalDataObject");
  EXPECT_EQ(classOf<IKivOpaqueData>("IKivOpaqueData"), "OpaqueData");
  EXPECT_EQ(classOf<IKivDataObjectInstance>("IKivDataObjectInstance"), "DataObjectInstance");
  EXPECT_EQ(classOf<IKivDataObjectArrayListener>("IKivDataObjectArrayListener"),
            "DataObjectArrayListener");
}

TEST_F(VariantsTest, DynamicObjectsTakeAnyNameAndLoseProperties) {
  IPtr<DynamicDataObject> o = makeObject<DynamicDataObject>("O");
  o->set("fresh", 1);
  EXPECT_EQ(o->getInt("fresh"), 1);
  Recorder heard;
  o->subscribe(KivCString("property_modified"), &heard);

  // A removed property held elsewhere no longer reaches the object.
  IPtr<IKivProperty> kept(o->getProperty("fresh"));
  o->removeProperty("fresh");
  kivQuery<IntProperty>(kept.get(), "IntProperty")->set(2);
  EXPECT_TRUE(heard.own.empty());
  PlatformException* e = caught([&] { o->removeProperty("missing"); });
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(text(e->message),
            "Error in class PropertyMap::removeProperty: Property 'missing' does not exist..");
  delete e;

  // Without its routed "name" the object keeps its name; a later "name" is
  // a plain value.
  o->removeProperty("name");
  EXPECT_EQ(objectName(o), "O");
  o->removeAllProperties();
  EXPECT_FALSE(o->hasProperty("fresh"));
  o->set("name", KivString("N"));
  EXPECT_STREQ(o->getProperty("name")->className(), "StringProperty");
  EXPECT_EQ(objectName(o), "O");
  o->unsubscribe(KivCString("property_modified"), &heard);

  IPtr<IKivUndoInfo> undo(o->createUndoInfo(false));
  EXPECT_NE(undo.get(), nullptr);
}

TEST_F(VariantsTest, OpaqueAndInternalDataStayOutOfTheModel) {
  IPtr<DataObject> payload(new DataObject);
  IPtr<OpaqueData> opaque = makeObject<OpaqueData>("O");
  opaque->setData(payload);
  opaque->setData(payload);
  EXPECT_EQ(payload->refCount(), 2);
  {
    IPtr<OpaqueData> copy(new OpaqueData(*opaque));
    EXPECT_EQ(copy->data(), static_cast<IKivUnknown*>(payload.get()));
    EXPECT_EQ(payload->refCount(), 3);
  }
  EXPECT_EQ(opaque->clone(), nullptr);
  IPtr<InternalDataObject> internal(new InternalDataObject);
  internal->setData(&payload);
  EXPECT_EQ(internal->data(), &payload);
  EXPECT_EQ(internal->clone(), nullptr);

  // In a file an OpaqueData is its class identifier alone.
  Bytes file = fileOf([&](KivFileWrite& w) { opaque->write(&w); });
  EXPECT_EQ(hexText(file), "54 4F 56 01 00 00 00 00 00 00 00 28 "
                           "0B 00 02 00 00 00 00 00 00 00 00 1C "
                           "D6 0F C5 27 F7 95 47 0E BD 5B A0 B2 CA 7B 21 72");
  IPtr<DataObject> back = readBack(file);
  auto* opaqueBack = kivQuery<OpaqueData>(back.get(), "OpaqueData");
  ASSERT_NE(opaqueBack, nullptr);
  EXPECT_EQ(opaqueBack->data(), nullptr);
}

TEST_F(VariantsTest, InstanceStandsForATargetThatIsntStored) {
  IPtr<DataObjectInstance> instance = makeObject<DataObjectInstance>("I");
  IPtr<DynamicDataObject> target = makeObject<DynamicDataObject>("T");
  target->set("v", 4);
  auto* data = kivQuery<ObjectProperty>(instance->getProperty("data"), "ObjectProperty");
  ASSERT_NE(data, nullptr);
  data->set(target);
  EXPECT_EQ(instance->data(), target.get());
  EXPECT_EQ(target->refCount(), 1);  // the pointer holds nothing
  EXPECT_FALSE(data->isPersistent());

  // A clone has a clone of the target, alive as long as the clone.
  IPtr<IKivDataObject> cloneHandle(instance->clone());
  auto* clone = kivQuery<DataObjectInstance>(cloneHandle.get(), "DataObjectInstance");
  ASSERT_NE(clone, nullptr);
  ASSERT_NE(clone->data(), nullptr);
  EXPECT_NE(clone->data(), target.get());
  EXPECT_EQ(objectName(clone->data()), "T");
  EXPECT_EQ(clone->data()->getInt("v"), 4);

  // Stored: the name and the reference, not the target.
  IPtr<DataObject> back =
      readBack(fileOf([&](KivFileWrite& w) { EXPECT_TRUE(instance->write(&w)); }));
  auto* instanceBack = kivQuery<DataObjectInstance>(back.get(), "DataObjectInstance");
  ASSERT_NE(instanceBack, nullptr);
  EXPECT_EQ(objectName(instanceBack), "I");
  EXPECT_EQ(instanceBack->data(), nullptr);
}

} // namespace
