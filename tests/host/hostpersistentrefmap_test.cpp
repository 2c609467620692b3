#include "host/hostpersistentrefmap.h"

#include "basic_types/iterstack.h"
#include "core/kivclassid.h"
#include "host/referencehost.h"
#include "kivbasictypes/binstreams.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/kivfile.h"
#include "kivbasictypes/kivpersistentref.h"
#include "kivbasictypes/kivstring.h"
#include "kivbasictypes/writequeue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr KivClassId kNodeId =
    makeClassId(0x5E1F0001, 0x0002, 0x0003, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B);

ReferenceHostOptions quietHost() {
  ReferenceHostOptions options;
  options.echo = false;
  options.logFile = false;
  options.abortOnAssert = false;
  return options;
}

class Target : public KivPersistentRef {
public:
  const KivClassId* classId() override { return &kNodeId; }
};

// Remembers every resolution, and can turn on the table while it is told.
class Waiter : public IKivPersistentRefCallback {
public:
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name && !kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      kivAnswer(name, "IKivPersistentRefCallback", static_cast<IKivPersistentRefCallback*>(this),
                out);
  }
  const char* className() const override { return "Waiter"; }
  void resolved(uint32_t refId, IKivPersistentRef* object) override {
    calls.push_back({refId, object});
    if (hostile)
      hostile();
  }

  std::vector<std::pair<uint32_t, IKivPersistentRef*>> calls;
  std::function<void()> hostile;
};

IKivPersistentRef* asRef(Target* t) { return static_cast<IKivPersistentRef*>(t); }

TEST(HostPersistentRefMap, NumbersOnWriteAndListsWhatWasNotWritten) {
  IPtr<HostPersistentRefMap> table(new HostPersistentRefMap);
  IPtr<Target> a(new Target), b(new Target), c(new Target);

  EXPECT_EQ(table->getId(nullptr), 0u);
  EXPECT_FALSE(table->contains(asRef(a.get())));
  EXPECT_EQ(table->getId(asRef(a.get())), 1u);
  EXPECT_EQ(table->getId(asRef(b.get())), 2u);
  EXPECT_EQ(table->getId(asRef(a.get())), 1u) << "an object keeps its number";
  EXPECT_TRUE(table->contains(asRef(a.get())));
  EXPECT_EQ(a->refCount(), 1u) << "numbering takes no reference";

  IKivPersistentRef* found = nullptr;
  EXPECT_TRUE(table->find(2, &found));
  EXPECT_EQ(found, asRef(b.get()));
  EXPECT_FALSE(table->find(9, &found));
  EXPECT_EQ(found, nullptr);

  // A number a read has claimed is not handed out again.
  table->setObject(3, asRef(c.get()));
  IPtr<Target> d(new Target);
  EXPECT_EQ(table->getId(asRef(d.get())), 4u);

  table->setWritten(2);
  table->setWritten(77);  // never handed out: no effect
  IterStack<int32_t> unwritten;
  unwritten.push(-5);  // appended to, not replaced
  table->getUnwritten(unwritten);
  ASSERT_EQ(unwritten.count(), 3);
  EXPECT_EQ(unwritten.at(2), 1);
  EXPECT_EQ(unwritten.at(3), 4) << "3 came from a read, so it was never handed out";

  table->reset();
  EXPECT_FALSE(table->contains(asRef(a.get())));
  EXPECT_EQ(table->getId(asRef(b.get())), 1u) << "numbering starts again";
  EXPECT_EQ(c->refCount(), 1u) << "reset drops the claimed object's reference";
}

TEST(HostPersistentRefMap, ResolvesWhicheverComesFirst) {
  IPtr<HostPersistentRefMap> table(new HostPersistentRefMap);
  IPtr<Target> a(new Target), b(new Target);
  IPtr<Waiter> early(new Waiter), late(new Waiter), second(new Waiter), orphan(new Waiter);

  // The reference is read before its object: it waits, held.
  table->addCallback(5, late.get());
  table->addCallback(5, second.get());
  EXPECT_TRUE(late->calls.empty());
  EXPECT_EQ(late->refCount(), 2u);
  EXPECT_EQ(table->waitingCount(), 2u);

  table->setObject(5, asRef(a.get()));
  ASSERT_EQ(late->calls.size(), 1u);
  EXPECT_EQ(late->calls[0].first, 5u);
  EXPECT_EQ(late->calls[0].second, asRef(a.get()));
  EXPECT_EQ(second->calls.size(), 1u);
  EXPECT_EQ(late->refCount(), 1u) << "released once resolved";
  EXPECT_EQ(a->refCount(), 2u) << "the table holds the object";

  // The reference is read after its object: resolved at once.
  table->addCallback(5, early.get());
  ASSERT_EQ(early->calls.size(), 1u);
  EXPECT_EQ(early->calls[0].second, asRef(a.get()));
  EXPECT_EQ(early->refCount(), 1u);

  // A second claim of the number changes nothing: one instance per number.
  table->setObject(5, asRef(b.get()));
  IKivPersistentRef* found = nullptr;
  table->find(5, &found);
  EXPECT_EQ(found, asRef(a.get()));
  EXPECT_EQ(b->refCount(), 1u);
  EXPECT_EQ(late->calls.size(), 1u);

  // Numbers 0 are not registered, in either direction.
  table->setObject(0, asRef(b.get()));
  table->addCallback(0, orphan.get());
  EXPECT_FALSE(table->find(0, &found));
  EXPECT_TRUE(orphan->calls.empty());

  // A number nobody claims: never resolved, dropped by reset.
  table->addCallback(6, orphan.get());
  EXPECT_EQ(orphan->refCount(), 2u);
  table->reset();
  EXPECT_TRUE(orphan->calls.empty());
  EXPECT_EQ(orphan->refCount(), 1u);
  EXPECT_EQ(a->refCount(), 1u);
  EXPECT_EQ(table->objectCount(), 0u);
}

TEST(HostPersistentRefMap, SurvivesCallbacksThatTurnOnTheTable) {
  IPtr<HostPersistentRefMap> table(new HostPersistentRefMap);
  IPtr<Waiter> resetter(new Waiter), adder(new Waiter), after(new Waiter), nested(new Waiter);

  // A callback that adds another for the same number while it is told: the
  // newcomer is resolved at once, the rest of the list still comes.
  {
    IPtr<Target> a(new Target);
    table->addCallback(1, adder.get());
    table->addCallback(1, after.get());
    adder->hostile = [&] { table->addCallback(1, nested.get()); };
    table->setObject(1, asRef(a.get()));
    EXPECT_EQ(adder->calls.size(), 1u);
    EXPECT_EQ(nested->calls.size(), 1u);
    EXPECT_EQ(after->calls.size(), 1u);
    adder->hostile = nullptr;
  }

  // A callback that resets the table while it is told: the object it was
  // handed stays alive through the call, and the others are still told.
  Target* raw = nullptr;
  {
    IPtr<Target> b(new Target);
    raw = b.get();
    table->addCallback(2, resetter.get());
    table->addCallback(2, after.get());
    table->setObject(2, asRef(b.get()));
  }
  // Only the table holds the object now.
  EXPECT_EQ(raw->refCount(), 1u);
  IPtr<Waiter> killer(new Waiter);
  killer->hostile = [&] {
    table->reset();
    EXPECT_EQ(raw->refCount(), 1u) << "kept by the delivery, not by the table";
  };
  table->addCallback(2, killer.get());
  EXPECT_EQ(killer->calls.size(), 1u);
  EXPECT_EQ(table->objectCount(), 0u);

  IPtr<Target> c(new Target);
  table->addCallback(3, resetter.get());
  table->addCallback(3, after.get());
  resetter->hostile = [&] { table->reset(); };
  size_t before = after->calls.size();
  table->setObject(3, asRef(c.get()));
  EXPECT_EQ(after->calls.size(), before + 1);
  EXPECT_EQ(table->objectCount(), 0u);
  EXPECT_EQ(c->refCount(), 1u);
}

//===----------------------------------------------------------------------===//
// A graph of objects through a real data-model file
//===----------------------------------------------------------------------===//

class Node;

// One reference held by a node, resolved like an object property: the slot
// asks the table for its number and takes the object when it is told.
class Slot : public IKivPersistentRefCallback {
public:
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name && !kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      kivAnswer(name, "IKivPersistentRefCallback", static_cast<IKivPersistentRefCallback*>(this),
                out);
  }
  const char* className() const override { return "Slot"; }
  void resolved(uint32_t, IKivPersistentRef* object) override;

  IPtr<Node> target;
  int resolutions = 0;
  bool atOnce = false;   // resolved inside its own addCallback
  bool adding = false;
};

// A writeable object with a name and references to other nodes. The queue
// stores data objects without looking at them; the nodes stand in for them.
class Node : public KivPersistentRef {
public:
  explicit Node(const char* name = "") : name(name) {}
  const KivClassId* classId() override { return &kNodeId; }
  void queryInterface(const char* n, void** out) override {
    if (n && kivAnswer(n, "Node", this, out))
      return;
    KivPersistentRef::queryInterface(n, out);
  }

  bool write(IKivDataModelWriter* w) override {
    SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
    w->beginSection(this, 1);
    w->writeString(KivString(name.c_str()));
    KivPersistentRef::write(w);
    w->writeInt32(static_cast<int32_t>(slots.size()));
    for (IPtr<Slot>& slot : slots) {
      IKivPersistentRef* target = slot->target.get();
      if (target && !table->contains(target))
        queue->push(reinterpret_cast<IKivDataObject*>(slot->target.get()));
      w->writeUInt32(table->getId(target));
    }
    w->endSection(this);
    return true;
  }

  bool read(IKivDataModelReader* r) override {
    SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
    int version = 0;
    if (!r->beginSection(this, &version))
      return false;
    KivString text;
    r->readString(&text);
    name = text.utf8Text() ? text.utf8Text() : "";
    KivPersistentRef::read(r);
    int32_t count = 0;
    r->readInt32(&count);
    for (int32_t i = 0; i < count && r->good() && !r->atBlockEnd(); ++i) {
      uint32_t number = 0;
      r->readUInt32(&number);
      IPtr<Slot> slot(new Slot);
      slots.push_back(slot);
      slot->adding = true;
      table->addCallback(number, slot.get());
      slot->adding = false;
    }
    r->endSection(this);
    return true;
  }

  Node* ref(size_t i) const { return i < slots.size() ? slots[i]->target.get() : nullptr; }
  void refer(Node* other) {
    IPtr<Slot> slot(new Slot);
    slot->target = other;
    slots.push_back(slot);
  }

  std::string name;
  std::vector<IPtr<Slot>> slots;
  static WriteQueue* queue;
};

WriteQueue* Node::queue = nullptr;

void Slot::resolved(uint32_t, IKivPersistentRef* object) {
  ++resolutions;
  atOnce = adding;
  target = kivQuery<Node>(object, "Node");
}

// Cycles of strong references are cut by hand at the end of a test.
void cutCycles(const std::vector<IPtr<Node>>& nodes) {
  for (const IPtr<Node>& node : nodes)
    node->slots.clear();
}

// The top node gets its number first, so that a reference back to it is
// known; then objects are written until the queue is empty, each followed by
// a bool that says whether another one comes.
void writeGraph(IKivDataModelWriter* w, Node* top) {
  SPtr<IKivPersistentRefMap> table("IKivPersistentRefMap");
  Node::queue->clear();
  table->getId(top);
  Node::queue->push(reinterpret_cast<IKivDataObject*>(top));
  while (!Node::queue->isEmpty()) {
    Node* node = reinterpret_cast<Node*>(Node::queue->pop());
    node->write(w);
    w->writeBool(!Node::queue->isEmpty());
  }
}

// Every node in file order. The table is reset at the end of a good read.
std::vector<IPtr<Node>> readGraph(KivFileRead& r) {
  std::vector<IPtr<Node>> nodes;
  bool more = true;
  while (more && r.good() && !r.atBlockEnd()) {
    if (*r.peekClassId() != kNodeId)
      break;
    IPtr<Node> node(new Node);
    node->read(&r);
    nodes.push_back(node);
    more = false;
    r.readBool(&more);
  }
  return nodes;
}

std::vector<uint8_t> fileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

TEST(HostPersistentRefMap, GraphWithSharedAndCircularReferencesComesBackWhole) {
  ReferenceHost host(quietHost());
  HostPersistentRefMap* table = host.persistentRefMap();
  IPtr<WriteQueue> queue(new WriteQueue);
  Node::queue = queue.get();

  // root -> a, b;  a -> c, root;  b -> c, b;  c -> a
  std::vector<IPtr<Node>> original;
  for (const char* name : {"root", "a", "b", "c"})
    original.push_back(IPtr<Node>(new Node(name)));
  Node* root = original[0].get();
  Node* a = original[1].get();
  Node* b = original[2].get();
  Node* c = original[3].get();
  root->refer(a);
  root->refer(b);
  a->refer(c);
  a->refer(root);
  b->refer(c);
  b->refer(b);
  c->refer(a);

  const std::string path =
      ::testing::TempDir() + "refgraph-" + std::to_string(getpid()) + ".kiv";
  {
    table->reset();
    KivFileWrite w;
    w.setFileVersion(10);
    ASSERT_TRUE(w.open(KivString(path.c_str())));
    writeGraph(&w, root);
    EXPECT_TRUE(w.good());
    IterStack<int32_t> unwritten;
    table->getUnwritten(unwritten);
    EXPECT_EQ(unwritten.count(), 0) << "everything numbered was written";
    EXPECT_TRUE(w.close());
  }
  const std::vector<uint8_t> first = fileBytes(path);

  std::vector<IPtr<Node>> back;
  {
    table->reset();
    KivFileRead r;
    ASSERT_TRUE(r.open(KivString(path.c_str())));
    back = readGraph(r);
    EXPECT_TRUE(r.good());
    r.close();
  }
  // Depth first, newest first: root, then its last new reference b, then
  // what b brought (c), and a last.
  ASSERT_EQ(back.size(), 4u);
  std::vector<std::string> order;
  std::map<std::string, Node*> byName;
  for (const IPtr<Node>& node : back) {
    order.push_back(node->name);
    byName[node->name] = node.get();
  }
  EXPECT_EQ(order, (std::vector<std::string>{"root", "b", "c", "a"}));

  Node* root2 = byName["root"];
  Node* a2 = byName["a"];
  Node* b2 = byName["b"];
  Node* c2 = byName["c"];
  EXPECT_EQ(root2->ref(0), a2);
  EXPECT_EQ(root2->ref(1), b2);
  EXPECT_EQ(a2->ref(0), c2);
  EXPECT_EQ(a2->ref(1), root2);
  EXPECT_EQ(b2->ref(0), c2) << "shared: the same instance as a's";
  EXPECT_EQ(b2->ref(1), b2);
  EXPECT_EQ(c2->ref(0), a2);

  // Both orders happened: references read before their object, and after.
  int atOnce = 0, waited = 0;
  for (const IPtr<Node>& node : back)
    for (const IPtr<Slot>& slot : node->slots) {
      EXPECT_EQ(slot->resolutions, 1);
      (slot->atOnce ? atOnce : waited)++;
    }
  EXPECT_EQ(atOnce, 3);  // b -> b, a -> c, a -> root
  EXPECT_EQ(waited, 4);  // root -> a, root -> b, b -> c, c -> a
  table->reset();
  EXPECT_EQ(table->waitingCount(), 0u);

  // Written again from what was read, the file is the same to the byte.
  {
    table->reset();
    KivFileWrite w;
    w.setFileVersion(10);
    ASSERT_TRUE(w.open(KivString(path.c_str())));
    writeGraph(&w, root2);
    EXPECT_TRUE(w.close());
  }
  EXPECT_EQ(fileBytes(path), first);

  // An object reached outside the graph writer: it gets a number, stays on
  // the queue, and getUnwritten names it until it is written.
  {
    table->reset();
    MemoryOutput out;
    out.setFileVersion(10);
    KivFileWrite w(&out, true);
    w.writeRootHead();
    IPtr<Node> loner(new Node("loner"));
    loner->refer(c);
    loner->write(&w);
    IterStack<int32_t> unwritten;
    table->getUnwritten(unwritten);
    ASSERT_EQ(unwritten.count(), 1);
    IKivPersistentRef* found = nullptr;
    ASSERT_TRUE(table->find(static_cast<uint32_t>(unwritten.at(1)), &found));
    EXPECT_EQ(found, static_cast<IKivPersistentRef*>(c));
    EXPECT_FALSE(queue->isEmpty());
    c->write(&w);
    IterStack<int32_t> after;
    table->getUnwritten(after);
    EXPECT_EQ(after.count(), 1) << "c's reference to a is numbered but not written";
    table->reset();
  }

  std::remove(path.c_str());
  cutCycles(original);
  cutCycles(back);
  Node::queue = nullptr;
}

TEST(HostPersistentRefMap, CutFilesAndWrongNumbersLeaveReferencesEmptyWithoutHarm) {
  ReferenceHost host(quietHost());
  HostPersistentRefMap* table = host.persistentRefMap();
  IPtr<WriteQueue> queue(new WriteQueue);
  Node::queue = queue.get();

  std::vector<IPtr<Node>> original;
  for (const char* name : {"root", "a", "b"})
    original.push_back(IPtr<Node>(new Node(name)));
  original[0]->refer(original[1].get());
  original[0]->refer(original[2].get());
  original[1]->refer(original[0].get());
  original[2]->refer(original[1].get());

  MemoryOutput out;
  out.setFileVersion(10);
  {
    table->reset();
    KivFileWrite w(&out, true);
    w.writeRootHead();
    writeGraph(&w, original[0].get());
    w.close();
  }
  Bytes whole = out.bytes();

  // Every cut of the file, with the root's length zeroed so that the reader
  // takes the root to reach the end of what is there.
  for (size_t size = 12; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    Bytes cut(whole.begin(), whole.begin() + static_cast<long>(size));
    for (size_t i = 4; i < 12; ++i)
      cut[i] = 0;
    table->reset();
    MemoryInput in(cut);
    KivFileRead r(&in);
    ASSERT_TRUE(r.readRootHead());
    std::vector<IPtr<Node>> nodes = readGraph(r);
    for (const IPtr<Node>& node : nodes)
      for (const IPtr<Slot>& slot : node->slots)
        EXPECT_LE(slot->resolutions, 1);
    table->reset();
    cutCycles(nodes);
  }

  // Every number in the file replaced by one nobody claims: each node is
  // read, and every reference stays empty.
  Bytes wrong = whole;
  {
    // The numbers of the root's two references follow its count of 2.
    const uint8_t count2[] = {0, 0, 0, 2};
    auto at = std::search(wrong.begin(), wrong.end(), std::begin(count2), std::end(count2));
    ASSERT_NE(at, wrong.end());
    for (int i = 4; i < 12; ++i)
      at[i] = 0xEE;
  }
  table->reset();
  MemoryInput in(wrong);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  std::vector<IPtr<Node>> nodes = readGraph(r);
  ASSERT_EQ(nodes.size(), 3u);
  EXPECT_EQ(nodes[0]->ref(0), nullptr);
  EXPECT_EQ(nodes[0]->ref(1), nullptr);
  EXPECT_EQ(table->waitingCount(), 2u);
  table->reset();
  EXPECT_EQ(table->waitingCount(), 0u);
  cutCycles(nodes);
  cutCycles(original);
  Node::queue = nullptr;
}

} // namespace
