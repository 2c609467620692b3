#include "model/database.h"
#include "properties/dataobjectarray.h"

#include "model/dynamicdataobject.h"
#include "model/relationship.h"
#include "modelsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <thread>

namespace {

class DatabaseTest : public ::testing::Test {
protected:
  void SetUp() override { inProcessHost(); }
  Database* db() { return Database::instance(); }
  IKivRelationship* link(DataObject* parent, DataObject* child, const char* name = "kids") {
    return db()->createRelationship(0, KivString(name), parent, child);
  }
};

const KivCString kUpdated("updated");

std::vector<std::string> names(const IterStack<DataObject*>& list);

std::vector<std::string> names(IKivRelationship* r) {
  IterStack<DataObject*> out;
  r->children(out);
  return names(out);
}

std::vector<std::string> names(const IterStack<DataObject*>& list) {
  std::vector<std::string> out;
  for (int32_t i = 1; i <= list.count(); ++i)
    out.push_back(objectName(list.at(i)));
  return out;
}

TEST_F(DatabaseTest, IdsCountPerKindAndAreNeverReused) {
  int64_t firstObject = -1;
  {
    IPtr<DataObject> a(new DataObject);
    firstObject = a->id();
    EXPECT_EQ(db()->getDataObject(firstObject), static_cast<IKivDataObject*>(a.get()));
  }
  EXPECT_EQ(db()->getDataObject(firstObject), nullptr);
  const uint32_t count = db()->dataObjectCount();
  const int64_t relationshipId = db()->nextRelationshipId();
  IPtr<DataObject> b(new DataObject);
  EXPECT_GT(b->id(), firstObject);
  EXPECT_EQ(db()->dataObjectCount(), count + 1);
  // A second registration changes nothing, and other kinds keep counting on
  // their own.
  db()->registerDataObject(b);
  EXPECT_EQ(db()->dataObjectCount(), count + 1);
  EXPECT_EQ(db()->nextRelationshipId(), relationshipId);

  // Leaving the table keeps the object's id; nobody else gets it.
  const int64_t bId = b->id();
  db()->unregisterDataObject(b);
  EXPECT_EQ(b->id(), bId);
  EXPECT_EQ(db()->getDataObject(bId), nullptr);
  EXPECT_EQ(db()->dataObjectCount(), count);
  IPtr<DataObject> c(new DataObject);
  EXPECT_GT(c->id(), bId);

  // Relationships and Actions get -1 back when they leave, and a new id if
  // they come again.
  int64_t firstRelationship = -1;
  {
    IPtr<Relationship> r(new Relationship);
    firstRelationship = r->id();
    EXPECT_EQ(firstRelationship, relationshipId);
  }
  IPtr<Relationship> r(new Relationship);
  EXPECT_GT(r->id(), firstRelationship);
  std::vector<std::string> log;
  ScriptedAction action("a", &log);
  db()->registerAction(&action);
  const int64_t actionId = action.id();
  EXPECT_GE(actionId, 0);
  db()->unregisterAction(&action);
  EXPECT_EQ(action.id(), -1);
  db()->registerAction(&action);
  EXPECT_GT(action.id(), actionId);
}

TEST_F(DatabaseTest, UnregisteringCutsEveryRelationshipOfTheObject) {
  IPtr<DataObject> o = makeObject<DataObject>("O");
  IPtr<DataObject> c1 = makeObject<DataObject>("c1");
  IPtr<DataObject> c2 = makeObject<DataObject>("c2");
  IPtr<DataObject> p1 = makeObject<DataObject>("p1");
  IPtr<DataObject> p2 = makeObject<DataObject>("p2");
  IPtr<DataObject> p3 = makeObject<DataObject>("p3");
  IPtr<IKivRelationship> own1(link(o, c1, "first"));
  IPtr<IKivRelationship> own2(link(o, c2, "second"));
  link(p1, o);
  link(p2, o);
  IKivRelationship* twice = link(p3, o);
  twice->addChild(c1);
  const int32_t refs = o->refCount();

  db()->unregisterDataObject(o);
  EXPECT_EQ(o->parentRelationships()->count(), 0);
  EXPECT_EQ(o->childRelationships()->count(), 0);
  EXPECT_EQ(own1->parent(), nullptr);
  EXPECT_EQ(own2->parent(), nullptr);
  EXPECT_EQ(own1->childCount(), 1);
  for (DataObject* p : {p1.get(), p2.get()})
    EXPECT_EQ(p->parentRelationships()->at(1)->childCount(), 0);
  EXPECT_EQ(names(twice), (std::vector<std::string>{"c1"}));
  EXPECT_EQ(o->refCount(), refs - 3);
}

TEST_F(DatabaseTest, LookUpsByParentNameAndChild) {
  IPtr<DataObject> p = makeObject<DataObject>("P");
  IPtr<DataObject> q = makeObject<DataObject>("Q");
  IPtr<DataObject> a = makeObject<DataObject>("a");
  IPtr<DataObject> b = makeObject<DataObject>("b");
  IKivRelationship* older = link(p, a);
  link(p, b, "other");
  link(p, b);
  EXPECT_EQ(db()->findRelationship(KivString("kids"), p), older);
  EXPECT_EQ(db()->relationshipsNamed(p, KivString("kids")).count(), 2);
  EXPECT_EQ(db()->relationshipsNamed(p, KivString("none")).count(), 0);
  EXPECT_EQ(db()->namesAsParent(p).count(), 2);
  EXPECT_EQ(db()->namesAsChild(b).count(), 2);
  EXPECT_EQ(db()->relationshipsOfChild(b).count(), 2);
  IterStack<DataObject*> out;
  db()->childrenByName(p, KivString("kids"), out);
  EXPECT_EQ(names(out), (std::vector<std::string>{"a"}));
  out.setCount(0);
  db()->allChildren(p, out);
  EXPECT_EQ(names(out), (std::vector<std::string>{"a", "b", "b"}));

  // Into a parent without such a relationship: one is created and given;
  // into one that has it: the child joins it.
  IKivRelationship* made = db()->moveChild(p, q, a, KivString("kids"));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->parent(), static_cast<IKivDataObject*>(q.get()));
  EXPECT_EQ(older->childCount(), 0);
  EXPECT_EQ(db()->moveChild(nullptr, q, b, KivString("kids")), nullptr);
  EXPECT_EQ(names(made), (std::vector<std::string>{"a", "b"}));

  // The type of a script class is the text's address.
  IterStack<DataObject*> typed;
  db()->objectsOfScriptClass(p->scriptClassName(), typed);
  EXPECT_GE(typed.count(), 4);
  std::string equalText = p->scriptClassName();
  typed.setCount(0);
  db()->objectsOfScriptClass(equalText.c_str(), typed);
  EXPECT_EQ(typed.count(), 0);
  // The interface's form gives the same objects as a new DataObjectArray.
  typed.setCount(0);
  db()->objectsOfScriptClass(p->scriptClassName(), typed);
  IPtr<DataObjectArray> asArray(db()->objectsOfScriptClass(p->scriptClassName()));
  ASSERT_EQ(asArray->count(), typed.count());
  EXPECT_EQ(asArray->indexOf(typed.at(1)), 0);
  IPtr<DataObjectArray> none(db()->objectsOfScriptClass(equalText.c_str()));
  EXPECT_EQ(none->count(), 0);

  // The global object is made once and dropped by shutdown().
  IKivDynamicDataObject* global = db()->globalObject();
  EXPECT_EQ(db()->globalObject(), global);
  const int64_t globalId = kivQuery<DataObject>(global, "DataObject")->id();
  db()->shutdown();
  EXPECT_EQ(db()->getDataObject(globalId), nullptr);
}

TEST_F(DatabaseTest, ClassRulesBindByExactClassNamesOfParentAndFirstChild) {
  std::vector<std::string> log;
  ScriptedAction rule("rule", &log);
  ScriptedAction other("other", &log);
  const int64_t rulesBefore = db()->classActionCount();
  db()->addClassAction(&rule, KivString("updated"), KivString("DataObject"),
                       KivString("DynamicDataObject"));
  EXPECT_EQ(db()->classActionCount(), rulesBefore + 1);

  IPtr<DataObject> p = makeObject<DataObject>("P");
  IPtr<DataObject> q = makeObject<DataObject>("Q");
  IPtr<DataObject> plainChild = makeObject<DataObject>("plain");
  IPtr<DynamicDataObject> dynamicChild = makeObject<DynamicDataObject>("dyn");
  IKivRelationship* r = link(p, nullptr);
  r->addAction(kUpdated, &other);
  db()->applyClassActions(r);
  EXPECT_FALSE(db()->isBound(r, kUpdated, &rule));  // no child yet
  r->addChild(dynamicChild);
  EXPECT_TRUE(db()->isBound(r, kUpdated, &rule));
  r->addChild(plainChild);
  db()->applyClassActions(r);
  EXPECT_EQ(db()->actionsOf(r).count(), 2);  // applied again: nothing new
  IKivRelationship* s = link(q, plainChild);
  EXPECT_FALSE(db()->isBound(s, kUpdated, &rule));  // the first child decides
  IKivRelationship* t = link(q, dynamicChild);
  t->addAction(kUpdated, &other);

  p->fireEvent(kUpdated, nullptr);
  q->fireEvent(kUpdated, nullptr);
  EXPECT_EQ(log, (std::vector<std::string>{"other updated P [dyn,plain]",
                                           "rule updated P [dyn,plain]", "rule updated Q [dyn]",
                                           "other updated Q [dyn]"}));

  // Gone from both relationships and from the rules; the other Action keeps
  // its place.
  db()->unregisterAction(&rule);
  EXPECT_EQ(db()->classActionCount(), rulesBefore);
  IterStack<Action*> left = db()->actionsOf(r);
  ASSERT_EQ(left.count(), 1);
  EXPECT_EQ(left.at(1), &other);
  EXPECT_EQ(db()->actionsOf(t).count(), 1);
}

// Objects with relationships made and dropped on two threads at once: every
// registration and unregistration lands, and no id is handed out twice.
TEST_F(DatabaseTest, ObjectsMadeAndDroppedOnTwoThreadsAtOnce) {
  constexpr int kRounds = 1500;
  Database* database = db();
  const uint32_t countBefore = database->dataObjectCount();
  const int64_t relationshipsBefore = database->relationshipCount();
  const int64_t firstId = database->nextDataObjectId();
  std::vector<int64_t> ids[2];
  auto work = [&](int t) {
    IPtr<DataObject> kept(new DataObject);
    ids[t].push_back(kept->id());
    for (int i = 0; i < kRounds; ++i) {
      IPtr<DataObject> parent(new DataObject);
      IPtr<DataObject> child(new DynamicDataObject);
      database->createRelationship(0, KivString("kids"), parent, child);
      database->createRelationship(0, KivString("kept"), parent, kept);
      ids[t].push_back(parent->id());
      ids[t].push_back(child->id());
    }
  };
  std::thread first(work, 0);
  std::thread second(work, 1);
  first.join();
  second.join();

  EXPECT_EQ(database->dataObjectCount(), countBefore);
  EXPECT_EQ(database->relationshipCount(), relationshipsBefore);
  const int64_t made = 2 * (2 * kRounds + 1);
  EXPECT_EQ(database->nextDataObjectId(), firstId + made);
  std::set<int64_t> all(ids[0].begin(), ids[0].end());
  all.insert(ids[1].begin(), ids[1].end());
  EXPECT_EQ(static_cast<int64_t>(all.size()), made);
  EXPECT_EQ(*all.begin(), firstId);
}

} // namespace
