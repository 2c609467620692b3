//===- documenttree_test.cpp - DocumentItem, DocumentData, DocumentGroup --===//
#include "documentsupport.h"

#include "kivbasictypes/kivmatrix.h"
#include "model/ikivrelationship.h"

#include <gtest/gtest.h>

namespace {

std::string err(const char* label, const char* message) {
  return std::string("Error in class ") + label + ": " + message + ".";
}

TEST(DocumentTree, NewItemHasItsPropertiesAndNoChildren) {
  IPtr<IKivDocumentItem> item = make<IKivDocumentItem>("IKivDocumentItem");
  auto* map = kivQuery<DataObject>(item.get(), "DataObject");
  for (const char* name : {"name", "expanded", "boundingBox", "viewBoundingBox"})
    EXPECT_TRUE(map->hasProperty(name)) << name;
  EXPECT_TRUE(map->getBool("expanded"));
  EXPECT_EQ(item->getChildCount(), 0);
  EXPECT_EQ(failure([&] { item->getChild(0); }),
            err("DocumentItem::getChild", "This DocumentItem has no children."));
  IPtr<DocumentGroup> group = newGroup("g");
  for (const char* name : {"visibleBoundingBox", "visibleViewBoundingBox", "hasVisibleChildren"})
    EXPECT_TRUE(group->hasProperty(name)) << name;
  EXPECT_FALSE(group->hasProperty("dataObject"));
}

TEST(DocumentTree, BrokenRulesFailBeforeAnythingChanges) {
  IPtr<Document> a = newDocument("A");
  IPtr<Document> b = newDocument("B");
  IPtr<DocumentData> inA = dataOver("inA");
  asItem(a->getRootItem())->addChild(inA.get());
  IPtr<DocumentGroup> outside = newGroup("outside");
  IPtr<DocumentGroup> inner = newGroup("inner");
  outside->addChild(inner.get());
  IPtr<DocumentData> loose = dataOver("loose");
  IKivDocumentItem* bRoot = asItem(b->getRootItem());
  IPtr<DocumentGroup> group = newGroup("g");

  struct Case {
    const char* name;
    std::function<void()> call;
    std::string expected;
  };
  const Case cases[] = {
      {"null_child", [&] { bRoot->addChild(nullptr); },
       err("DocumentItem::addChild", "Adding an invalid item to the document.")},
      {"null_array", [&] { bRoot->addChildren(nullptr); },
       err("DocumentItem::addChildren", "Adding an invalid item array to the document.")},
      {"other_document", [&] { bRoot->addChild(inA.get()); },
       err("DocumentItem::addChild", "The document that is being added is already in a document.")},
      {"document_to_outside", [&] { group->addChild(inA.get()); },
       err("DocumentItem::addChild", "The document that is being added is already in a document.")},
      {"already_has_parent", [&] { bRoot->addChild(inner.get()); },
       err("DocumentItem::addChild", "The item that is being added already has a parent.")},
      {"ancestor", [&] { inner->addChild(outside.get()); },
       err("DocumentItem::addChild", "An item cannot be added below itself.")},
      {"itself", [&] { group->addChild(group.get()); },
       err("DocumentItem::addChild", "An item cannot be added below itself.")},
      {"data_of_null", [&] { DocumentData data(nullptr); },
       err("DocumentData::DocumentData",
           "dataObject is NULL. Cannot create a DocumentItem for a NULL DataObject.")},
      {"data_of_item", [&] { new DocumentData(static_cast<IKivDataObject*>(group.get())); },
       err("DocumentData::DocumentData",
           "Cannot create a DocumentItem for a DataObject of type DocumentItem.")},
  };
  DocLog log;
  b->registerListener(&log);
  for (const Case& c : cases)
    EXPECT_EQ(failure(c.call), c.expected) << c.name;
  EXPECT_EQ(bRoot->getChildCount(), 0);
  EXPECT_EQ(shape(outside.get()), "outside(inner)");
  EXPECT_TRUE(log.lines.empty());

  // A good first element and a bad second one: nothing added, nobody told.
  IPtr<DataObjectArray> items(new DataObjectArray);
  items->append(loose.get());
  items->append(inA.get());
  EXPECT_EQ(failure([&] { bRoot->addChildren(items.get()); }),
            err("DocumentItem::addChildren",
                "The document that is being added is already in a document."));
  items->set(1, new DynamicDataObject);
  EXPECT_EQ(failure([&] { bRoot->addChildren(items.get()); }),
            err("DocumentItem::addChildren", "Adding an invalid item to the document."));
  EXPECT_EQ(bRoot->getChildCount(), 0);
  EXPECT_EQ(loose->getDocument(), nullptr);
  EXPECT_TRUE(log.lines.empty());
  b->unregisterListener(&log);
}

TEST(DocumentTree, NotificationsFollowTheTreeAndTheMap) {
  IPtr<Document> document = newDocument("doc");
  DocLog log;
  document->registerListener(&log);
  IKivDocumentItem* root = asItem(document->getRootItem());
  IPtr<DynamicDataObject> objectA;
  IPtr<DocumentData> a = dataOver("a", &objectA);
  IPtr<DocumentData> b = dataOver("b");
  IPtr<DocumentData> c = dataOver("c");
  IPtr<DataObjectArray> batch(new DataObjectArray);
  batch->append(b.get());
  batch->append(c.get());

  root->addChild(a.get());
  root->addChildren(batch.get());
  EXPECT_EQ(document->getDocumentData(objectA.get()), static_cast<IKivDocumentData*>(a.get()));
  a->set("expanded", false);
  document->set("title", KivString("t"));  // made: no change to tell
  document->set("title", KivString("u"));
  root->removeAllChildren();
  EXPECT_EQ(document->getDocumentData(objectA.get()), nullptr);
  EXPECT_EQ(failure([&] { root->getChild(0); }),
            err("DocumentItem::getChild", "This DocumentItem has no children."));
  const std::vector<std::string> expected = {
      "beforeAdd a",          "afterAdd a",         "beforeAdd b",        "beforeAdd c",
      "afterAdd b",           "afterAdd c",         "itemProperty a expanded",
      "documentProperty title", "beforeRemove a",   "afterRemove a",      "beforeRemove b",
      "afterRemove b",        "beforeRemove c",     "afterRemove c"};
  EXPECT_EQ(log.lines, expected);

  // Inside an update block listeners hear only the pair.
  log.lines.clear();
  document->beginUpdate();
  root->addChild(a.get());
  a->set("expanded", true);
  root->removeChild(a.get());
  document->endUpdate();
  EXPECT_EQ(log.lines, (std::vector<std::string>{"beginUpdate", "endUpdate"}));
  document->unregisterListener(&log);
}

TEST(DocumentTree, SubtreeMovesWithItsRootAndParentsAreFound) {
  IPtr<Document> document = newDocument("doc");
  IPtr<DocumentGroup> group = newGroup("g");
  IPtr<DynamicDataObject> object;
  IPtr<DocumentData> data = dataOver("d", &object);
  group->addChild(data.get());
  EXPECT_EQ(data->getParent(), static_cast<IKivDocumentItem*>(group.get()));
  DocLog log;
  document->registerListener(&log);
  asItem(document->getRootItem())->addChild(group.get());
  EXPECT_EQ(log.lines, (std::vector<std::string>{"beforeAdd g", "afterAdd g"}));
  EXPECT_EQ(data->getDocument(), static_cast<IKivDocument*>(document.get()));
  EXPECT_EQ(document->getDocumentData(object.get()), static_cast<IKivDocumentData*>(data.get()));
  EXPECT_EQ(asItem(document->getRootItem())->getParent(), nullptr);
  EXPECT_EQ(shape(asItem(document->getRootItem())), "(g(d))");
  document->unregisterListener(&log);
}

TEST(DocumentTree, DataNameIsTheObjectsName) {
  IPtr<DynamicDataObject> object;
  IPtr<DocumentData> data = dataOver("scan", &object);
  EXPECT_EQ(text(data->getString("name")), "scan");
  data->set("name", KivString("mesh"));
  EXPECT_EQ(text(object->getString("name")), "mesh");
  IPtr<DocumentData> plain(new DocumentData);
  EXPECT_EQ(text(plain->getString("name")), "");
}

KivBounds box(double x0, double y0, double z0, double x1, double y1, double z1) {
  return KivBounds(KivVector(x0, y0, z0), KivVector(x1, y1, z1));
}

IPtr<DocumentData> leaf(const char* name, const KivBounds* bounds, int visible = -1) {
  IPtr<DynamicDataObject> object;
  IPtr<DocumentData> data = dataOver(name, &object);
  if (bounds)
    object->set("boundingBox", *bounds);
  if (visible >= 0)
    data->set("visible", visible != 0);
  return data;
}

TEST(DocumentTree, BoundsAndVisibilityComeFromTheTree) {
  const KivBounds zeros = box(0, 0, 0, 0, 0, 0);
  const KivBounds b1 = box(1, 1, 1, 2, 2, 2);
  const KivBounds b2 = box(-3, 4, 5, -1, 6, 7);
  struct Case {
    const char* name;
    std::function<IPtr<DocumentGroup>()> build;
    KivBounds bounds;
    KivBounds visibleBounds;
    bool hasVisible;
  };
  const Case cases[] = {
      {"empty_group", [] { return newGroup("g"); }, zeros, zeros, false},
      {"leaf_without_data_bounds_is_origin",
       [&] {
         auto g = newGroup("g");
         g->addChild(leaf("a", &b1).get());
         g->addChild(leaf("b", nullptr).get());
         return g;
       },
       box(0, 0, 0, 2, 2, 2), box(0, 0, 0, 2, 2, 2), true},
      {"one_of_two_hidden",
       [&] {
         auto g = newGroup("g");
         g->addChild(leaf("a", &b1, 0).get());
         g->addChild(leaf("b", &b2, 1).get());
         return g;
       },
       box(-3, 1, 1, 2, 6, 7), b2, true},
      {"all_hidden",
       [&] {
         auto g = newGroup("g");
         g->addChild(leaf("a", &b1, 0).get());
         g->addChild(leaf("b", &b2, 0).get());
         return g;
       },
       box(-3, 1, 1, 2, 6, 7), zeros, false},
      {"nested_group_visible_through_its_children",
       [&] {
         auto g = newGroup("g");
         auto inner = newGroup("inner");
         inner->set("visible", false);
         inner->addChild(leaf("a", &b1, 1).get());
         g->addChild(inner.get());
         g->addChild(leaf("b", &b2, 0).get());
         return g;
       },
       box(-3, 1, 1, 2, 6, 7), b1, true},
      {"nested_group_of_hidden_leaves_is_hidden",
       [&] {
         auto g = newGroup("g");
         auto inner = newGroup("inner");
         inner->addChild(leaf("a", &b1, 0).get());
         g->addChild(inner.get());
         return g;
       },
       b1, zeros, false},
  };
  for (const Case& c : cases) {
    IPtr<DocumentGroup> g = c.build();
    EXPECT_EQ(g->getBounds("boundingBox"), c.bounds) << c.name;
    EXPECT_EQ(g->getBounds("visibleBoundingBox"), c.visibleBounds) << c.name;
    EXPECT_EQ(g->getBool("hasVisibleChildren"), c.hasVisible) << c.name;
  }
}

TEST(DocumentTree, ViewBoundsGoThroughTheTransform) {
  const KivBounds b1 = box(1, 1, 1, 2, 2, 2);
  struct Case {
    const char* name;
    KivMatrix transform;
    KivBounds expected;
  };
  const Case cases[] = {
      {"translation", KivMatrix(1, 0, 0, 10, 0, 1, 0, 0, 0, 0, 1, -1, 0, 0, 0, 1),
       box(11, 1, 0, 12, 2, 1)},
      {"projective_row_divides_by_w", KivMatrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 2),
       box(0.5, 0.5, 0.5, 1, 1, 1)},
      {"mirror_reorders_corners", KivMatrix(-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1),
       box(-2, 1, 1, -1, 2, 2)},
  };
  for (const Case& c : cases) {
    IPtr<DocumentData> item = leaf("a", &b1);
    item->set("viewTransform", c.transform);
    EXPECT_EQ(item->getBounds("viewBoundingBox"), c.expected) << c.name;
    IPtr<DocumentGroup> outer = newGroup("outer");
    IPtr<DocumentGroup> g = newGroup("g");
    g->set("viewTransform", KivMatrix(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1));
    g->addChild(item.get());
    outer->addChild(g.get());
    // A group's own transform plays no part: its view bounds is the union
    // of its children's.
    EXPECT_EQ(outer->getBounds("viewBoundingBox"), c.expected) << c.name;
    EXPECT_EQ(outer->getBounds("boundingBox"), b1) << c.name;
  }
}

TEST(DocumentTree, LastChildRemovedDropsTheRelationship) {
  IPtr<DocumentGroup> g = newGroup("g");
  IPtr<DocumentData> a = dataOver("a");
  g->addChild(a.get());
  IPtr<IKivRelationship> relationship(g->childrenRelationship());
  EXPECT_EQ(text(relationship->name()), "DocumentGroup");
  g->removeChild(a.get());
  EXPECT_EQ(g->childrenRelationship(), nullptr);
  EXPECT_EQ(relationship->parent(), nullptr);
  EXPECT_EQ(relationship->id(), -1);
  EXPECT_EQ(a->getParent(), nullptr);
}

} // namespace
