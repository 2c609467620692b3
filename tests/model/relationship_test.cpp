#include "model/relationship.h"

#include "host/hostpersistentrefmap.h"
#include "model/database.h"
#include "model/dynamicdataobject.h"
#include "modelsupport.h"
#include "properties/intproperty.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <set>

namespace {

class RelationshipTest : public ::testing::Test {
protected:
  void SetUp() override { inProcessHost(); }
  Database* db() { return Database::instance(); }
  IKivRelationship* link(DataObject* parent, DataObject* child, const char* name = "kids") {
    return db()->createRelationship(0, KivString(name), parent, child);
  }
};

const KivCString kModified("property_modified");
const KivCString kDeleted("deleted");
const KivCString kUpdated("updated");

int newValue(IKivDataEventArgs* args) {
  auto* map = kivQuery<IKivPropertyMap>(args, "IKivPropertyMap");
  auto* p = map ? kivQuery<IntProperty>(map->getProperty("newValue"), "IntProperty") : nullptr;
  return p ? p->get() : -1;
}

// Logs its own death, after the object's "deleted" and unregistration.
class DeathLog : public IKivLifetimeListener {
public:
  DeathLog(std::vector<std::string>* log, std::string name) : log(log), name(std::move(name)) {}
  void queryInterface(const char* n, void** out) override {
    *out = nullptr;
    if (n)
      kivAnswer(n, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
  }
  const char* className() const override { return "DeathLog"; }
  void subjectDying(IKivLifetimeSubject*) override { log->push_back("died " + name); }
  std::vector<std::string>* log;
  std::string name;
};

TEST_F(RelationshipTest, ChangeChainRunsDownTheTreeNestedAndOutsideTheLock) {
  std::vector<std::string> log;
  IPtr<DynamicDataObject> p = makeObject<DynamicDataObject>("P");
  IPtr<DynamicDataObject> c1 = makeObject<DynamicDataObject>("C1");
  IPtr<DynamicDataObject> c2 = makeObject<DynamicDataObject>("C2");
  IPtr<DynamicDataObject> g = makeObject<DynamicDataObject>("G");
  p->set("x", 0);
  c1->set("y", 0);
  c2->set("y", 0);
  g->set("z", 0);

  std::future<void> other;
  bool otherGotIn = false;
  ScriptedAction copy("copy", &log, [&](IKivDataEventSource*, const KivCString&,
                                        IKivDataEventArgs* args,
                                        const IterStack<DataObject*>* children) {
    // Actions run without the Database lock: another thread gets through.
    other = std::async(std::launch::async, [this] { db()->dataObjectCount(); });
    otherGotIn = other.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    for (int32_t i = 1; i <= children->count(); ++i)
      children->at(i)->set("y", newValue(args));
  });
  ScriptedAction count("count", &log);
  ScriptedAction twice("twice", &log, [](IKivDataEventSource*, const KivCString&,
                                         IKivDataEventArgs* args,
                                         const IterStack<DataObject*>* children) {
    children->at(1)->set("z", 2 * newValue(args));
  });

  IKivRelationship* top = link(p, c1);
  top->addChild(c2);
  ASSERT_TRUE(top->addAction(kModified, &copy));
  ASSERT_TRUE(top->addAction(kModified, &count));
  ASSERT_TRUE(link(c1, g)->addAction(kModified, &twice));
  Recorder onC1(&log);
  onC1.keys = {"name", "newValue"};
  c1->subscribe(kModified, &onC1);

  p->set("x", 3);
  EXPECT_TRUE(otherGotIn);
  // One call of the relationship runs both Actions in binding order; the
  // change of C1 runs C1's own relationship before C1's later subscriber.
  EXPECT_EQ(log, (std::vector<std::string>{"copy property_modified P [C1,C2]",
                                           "twice property_modified C1 [G]",
                                           "property_modified C1 name=y newValue=3",
                                           "count property_modified P [C1,C2]"}));
  EXPECT_EQ(c2->getInt("y"), 3);
  EXPECT_EQ(g->getInt("z"), 6);

  // Nothing travels up: a child's change doesn't run its parent's Actions.
  log.clear();
  c2->set("y", 9);
  g->set("z", 1);
  EXPECT_TRUE(log.empty());
  c1->unsubscribe(kModified, &onC1);
}

TEST_F(RelationshipTest, BindingsDecideWhatRuns) {
  std::vector<std::string> log;
  IPtr<DataObject> p = makeObject<DataObject>("P");
  IPtr<DataObject> q = makeObject<DataObject>("Q");
  ScriptedAction a("a", &log);
  ScriptedAction b("b", &log);
  IKivRelationship* empty = link(p, nullptr, "none");
  IKivRelationship* other = link(q, nullptr, "none");

  // One Action for two events runs for each, with the event's name; a
  // relationship without children runs its Actions with an empty list.
  empty->addAction(kUpdated, &a);
  empty->addAction(kDeleted, &b);
  empty->addAction(kModified, &a);
  other->addAction(kUpdated, &a);
  other->addAction(kUpdated, &b);
  p->fireEvent(kUpdated, nullptr);
  p->addProperty(new IntProperty(KivString("x"), 0, false));
  p->set("x", 1);
  EXPECT_EQ(log, (std::vector<std::string>{"a updated P []", "a property_modified P []"}));

  // removeAction unbinds from every relationship; the others keep their
  // order, and the subscriptions stay with nothing to run.
  log.clear();
  EXPECT_TRUE(empty->removeAction(&a));
  EXPECT_EQ(a.id(), -1);
  p->fireEvent(kUpdated, nullptr);
  q->fireEvent(kUpdated, nullptr);
  EXPECT_EQ(log, (std::vector<std::string>{"b updated Q []"}));
  EXPECT_EQ(db()->actionsOf(empty).count(), 1);

  // stopEvent takes the relationship off the parent's event only.
  log.clear();
  empty->addAction(kUpdated, &b);
  EXPECT_TRUE(empty->stopEvent(kUpdated));
  p->fireEvent(kUpdated, nullptr);
  EXPECT_TRUE(log.empty());
  IPtr<Relationship> loose(new Relationship);
  EXPECT_FALSE(loose->addAction(kUpdated, &b));
  EXPECT_FALSE(loose->stopEvent(kUpdated));
}

TEST_F(RelationshipTest, TreeDiesFromTheRootDown) {
  std::vector<std::string> log;
  DeathLog rootDeath(&log, "R"), aDeath(&log, "A"), bDeath(&log, "B");
  ScriptedAction gone("gone", &log, [&](IKivDataEventSource* source, const KivCString&,
                                        IKivDataEventArgs*, const IterStack<DataObject*>*) {
    // The dying parent is whole: registered, with its relationships.
    auto* o = kivQuery<DataObject>(source, "DataObject");
    log.push_back("  registered " + std::to_string(db()->getDataObject(o->id()) == o) +
                  " relationships " + std::to_string(o->parentRelationships()->count()));
  });
  IPtr<DataObject> shared = makeObject<DataObject>("S");
  {
    IPtr<DataObject> root = makeObject<DataObject>("R");
    IPtr<DataObject> a = makeObject<DataObject>("A");
    IPtr<DataObject> b = makeObject<DataObject>("B");
    link(root, a)->addAction(kDeleted, &gone);
    link(root, shared, "other");
    link(a, b)->addAction(kDeleted, &gone);
    root->addLifetimeListener(&rootDeath);
    a->addLifetimeListener(&aDeath);
    b->addLifetimeListener(&bDeath);
    b.clear();
    a.clear();
    EXPECT_TRUE(log.empty());  // held by the relationships
  }
  EXPECT_EQ(log, (std::vector<std::string>{"gone deleted R [A]", "  registered 1 relationships 2",
                                           "gone deleted A [B]", "  registered 1 relationships 1",
                                           "died B", "died A", "died R"}));
  // A child with an owner of its own lives on, out of the dead tree.
  EXPECT_EQ(objectName(shared), "S");
  EXPECT_EQ(shared->childRelationships()->count(), 0);
}

TEST_F(RelationshipTest, ARelationshipThatLeftItsParentIsNeverReachedAgain) {
  std::vector<std::string> log;
  DeathLog childDeath(&log, "C");
  IPtr<DataObject> p = makeObject<DataObject>("P");
  IPtr<DataObject> q = makeObject<DataObject>("Q");
  ScriptedAction a("a", &log);
  ScriptedAction b("b", &log);
  const int64_t before = db()->relationshipCount();
  {
    IPtr<DataObject> c = makeObject<DataObject>("C");
    c->addLifetimeListener(&childDeath);
    IPtr<IKivRelationship> r(link(p, c));
    r->addAction(kUpdated, &a);
  }
  // The parent's list holds it: dropping the last outside reference doesn't
  // end it.
  EXPECT_EQ(db()->relationshipCount(), before + 1);
  IKivRelationship* r = db()->findRelationship(KivString("kids"), p);
  ASSERT_NE(r, nullptr);

  // Moved to another parent: the old parent's firings don't reach it, and
  // the new parent's don't either until it subscribes there.
  {
    IPtr<IKivRelationship> hold(r);
    r->setParent(q);
    p->fireEvent(kUpdated, nullptr);
    q->fireEvent(kUpdated, nullptr);
    EXPECT_TRUE(log.empty());
    r->addAction(kUpdated, &b);
    q->fireEvent(kUpdated, nullptr);
    EXPECT_EQ(log, (std::vector<std::string>{"a updated Q [C]", "b updated Q [C]"}));
  }

  // Cut loose by its own Action in the middle of a round: the round ends (the
  // snapshot still runs the second Action), then it dies with its child, and
  // the parent's next firing finds nothing.
  log.clear();
  ScriptedAction cut("cut", &log, [&](IKivDataEventSource*, const KivCString&, IKivDataEventArgs*,
                                      const IterStack<DataObject*>*) { r->detachParent(); });
  db()->bindAction(r, kUpdated, &cut);
  db()->bindAction(r, kUpdated, &a);
  q->fireEvent(kUpdated, nullptr);
  EXPECT_EQ(log, (std::vector<std::string>{"a updated Q [C]", "b updated Q [C]",
                                           "cut updated Q [C]", "a updated Q [C]", "died C"}));
  EXPECT_EQ(db()->relationshipCount(), before);
  EXPECT_EQ(q->parentRelationships()->count(), 0);
  log.clear();
  q->fireEvent(kUpdated, nullptr);
  p->fireEvent(kUpdated, nullptr);
  EXPECT_TRUE(log.empty());
}

TEST_F(RelationshipTest, ChildrenAreCountedPerEntryAndIndexedFromZero) {
  IPtr<DataObject> p = makeObject<DataObject>("P");
  IPtr<DataObject> c = makeObject<DataObject>("C");
  IKivRelationship* r = link(p, c);
  r->addChild(c);
  EXPECT_EQ(r->childCount(), 2);
  EXPECT_EQ(c->childRelationships()->count(), 2);
  EXPECT_EQ(c->refCount(), 3);
  r->removeChild(c);
  EXPECT_EQ(r->childCount(), 1);
  EXPECT_EQ(c->childRelationships()->count(), 1);
  EXPECT_EQ(c->refCount(), 2);
  EXPECT_EQ(r->child(0), c.get());

  for (int index : {-1, 1}) {
    PlatformException* e = caught([&] { r->child(index); });
    ASSERT_NE(e, nullptr) << index;
    EXPECT_EQ(e->code, 6);
    // The shape adds its own full stop behind the text's.
    EXPECT_EQ(text(e->message), "Error in class Relationship: getChild: index is out of range..");
    delete e;
  }
}

// Stored as numbers; read back, the numbers come home in whatever order the
// table resolves them: the parent's sets the parent, the others add children.
TEST_F(RelationshipTest, StoredAsNumbersAndRebuiltAsTheyResolve) {
  HostPersistentRefMap* refs = inProcessHost().persistentRefMap();
  refs->reset();
  IPtr<DataObject> p = makeObject<DataObject>("P");
  IPtr<DataObject> a = makeObject<DataObject>("a");
  IPtr<DataObject> b = makeObject<DataObject>("b");
  IKivRelationship* r = link(p, a);
  r->addChild(b);
  Bytes file = fileOf([&](KivFileWrite& w) { EXPECT_TRUE(r->write(&w)); });
  const uint32_t np = refs->getId(p.get()), na = refs->getId(a.get()), nb = refs->getId(b.get());
  EXPECT_EQ(std::set<uint32_t>({np, na, nb}).size(), 3u);

  refs->reset();
  IPtr<Relationship> back(new Relationship);
  {
    FileReader in(file);
    EXPECT_TRUE(back->read(&in.reader));
  }
  EXPECT_EQ(text(back->name()), "kids");
  IPtr<DataObject> p2 = makeObject<DataObject>("P2");
  IPtr<DataObject> a2 = makeObject<DataObject>("a2");
  IPtr<DataObject> b2 = makeObject<DataObject>("b2");
  refs->setObject(nb, b2.get());
  refs->setObject(np, p2.get());
  refs->setObject(na, a2.get());
  refs->reset();
  EXPECT_EQ(back->parent(), static_cast<IKivDataObject*>(p2.get()));
  ASSERT_EQ(back->childCount(), 2);
  EXPECT_EQ(back->child(0), b2.get());
  EXPECT_EQ(back->child(1), a2.get());
  EXPECT_EQ(p2->parentRelationships()->count(), 1);
}

} // namespace
