#include "properties/dataobjectarrayproperty.h"

#include "documentsupport.h"
#include "documents/document.h"
#include "kivbasictypes/tempfile.h"
#include "model/dynamicdataobject.h"

#include <gtest/gtest.h>

namespace {

DataObjectArray* arrayIn(DataObject* o) {
  auto* p = kivQuery<DataObjectArrayProperty>(o->getProperty("items"), "DataObjectArrayProperty");
  return p ? p->get() : nullptr;
}

DataObject* objectOf(IKivDocumentItem* item) {
  return kivQuery<DocumentItem>(item, "DocumentItem")->dataObjectValue();
}

// The array holds one object twice and an object that holds the array's
// owner back (a cycle); after a load each object exists once and the
// cycle closes on the owner itself.
TEST(DataObjectArrayDocument, SharedObjectsAndCyclesLoadAsOneInstanceEach) {
  TempPath path(".kiv");
  {
    IPtr<Document> document = newDocument("arrays");
    IPtr<DynamicDataObject> owner;
    IPtr<DocumentData> data = dataOver("owner", &owner);
    IPtr<DynamicDataObject> shared(new DynamicDataObject);
    shared->set("weight", 4.5);
    IPtr<DynamicDataObject> back(new DynamicDataObject);
    IPtr<DataObjectArray> backItems(new DataObjectArray);
    backItems->append(owner.get());
    back->addProperty(new DataObjectArrayProperty(KivString("items"), backItems.get(), false));
    IPtr<DataObjectArray> items(new DataObjectArray);
    items->append(shared.get());
    items->append(back.get());
    items->append(nullptr);
    items->append(shared.get());
    owner->addProperty(new DataObjectArrayProperty(KivString("items"), items.get(), false));
    owner->addProperty(new DataObjectArrayProperty(KivString("none"), nullptr, false));
    asItem(document->getRootItem())->addChild(data.get());
    ASSERT_TRUE(document->save(path.kiv()));
  }
  IPtr<Document> loaded = newDocument();
  ASSERT_TRUE(loaded->load(path.kiv()));
  DataObject* owner = objectOf(asItem(loaded->getRootItem())->getChild(0));
  ASSERT_NE(owner, nullptr);
  DataObjectArray* items = arrayIn(owner);
  ASSERT_NE(items, nullptr);
  ASSERT_EQ(items->count(), 4);
  DataObject* shared = items->get(0);
  ASSERT_NE(shared, nullptr);
  EXPECT_EQ(shared->getDouble("weight"), 4.5);
  EXPECT_EQ(items->get(2), nullptr);
  // The same object held twice stores its number twice; the first pending
  // position takes it, the later one stays null.
  EXPECT_EQ(items->get(3), nullptr);
  DataObject* back = items->get(1);
  ASSERT_NE(back, nullptr);
  ASSERT_NE(arrayIn(back), nullptr);
  EXPECT_EQ(arrayIn(back)->get(0), owner);
  auto* none = kivQuery<DataObjectArrayProperty>(owner->getProperty("none"), "DataObjectArrayProperty");
  ASSERT_NE(none, nullptr);
  EXPECT_EQ(none->get(), nullptr);
}

} // namespace
